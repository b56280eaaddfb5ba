// Short forms of what a test asks of OptivoSim.h again and again.
#pragma once

#include "OptivoSim.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Steering {

struct Fault {
    OptivoOperation operation;
    OptivoFaultKind kind = OPTIVO_FAULT_RESULT;
    int32_t result = 0;
    uint64_t selector = OPTIVO_ANY_SELECTOR;
    uint32_t skip = 0;
    uint32_t count = OPTIVO_FOREVER;
};

inline void Add(const Fault& fault) {
    const OptivoFault added = {fault.operation, fault.kind, fault.result,
                               fault.selector,  fault.skip, fault.count};
    OptivoSim_AddFault(&added);
}

// The selectors of the last calls, oldest first, 64 at most.
inline std::vector<uint64_t> Selectors(OptivoOperation operation) {
    std::vector<uint64_t> selectors(64);
    selectors.resize(OptivoSim_Selectors(operation, selectors.data(), selectors.size()));
    return selectors;
}

inline std::string LastText(OptivoOperation operation) {
    std::string text(16384, '\0');
    OptivoSim_LastText(operation, text.data(), text.size());
    return text.c_str();
}

} // namespace Steering
