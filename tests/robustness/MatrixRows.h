// What the tables of the fault matrix share: short forms of rows.
#pragma once

#include "Matrix.h"

namespace Matrix {

inline const Outcome UNSPECIFIED = {-1001, "Unspecified runtime error."};

inline Outcome Sees(const std::string& seen, const std::string& outputs = "unchanged") {
    return {.outputs = outputs, .seen = seen};
}

inline Outcomes Always(const Outcome& outcome) {
    return {.negative = outcome, .positive = outcome};
}

// Its results are not looked at: what it does not do is missing, and that is all.
inline Row Ignored(const std::string& action, OptivoOperation operation, const Expected& idle,
                   uint64_t selector = OPTIVO_ANY_SELECTOR) {
    return {.action = action,
            .operation = operation,
            .selector = selector,
            .idle = {.negative = idle, .positive = idle}};
}

// Every result but success is the same failure.
inline Row Refused(const std::string& action, OptivoOperation operation, const Outcome& failure,
                   uint64_t selector = OPTIVO_ANY_SELECTOR) {
    return {.action = action,
            .operation = operation,
            .selector = selector,
            .idle = Always(failure),
            .worked = Always(failure)};
}

// The tables: the lists of interfaces and devices, ports and openings, closings, and streams.
std::vector<Row> ListRows();
std::vector<Row> ModuleRows();
std::vector<Row> ClosingRows();
std::vector<Row> StreamRows();

} // namespace Matrix
