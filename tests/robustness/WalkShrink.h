// Shortens a failing walk to what makes it fail.
#pragma once

#include "WalkOperations.h"

#include <functional>
#include <vector>

namespace Walk {

// Whether operations fail, made anew from the first on; false too when there is no time left.
using Failing = std::function<bool(const std::vector<Operation>&)>;

// The operations without those that a failure does not need: ever smaller runs of them are left
// out, down to single ones, as long as what is left fails.
inline std::vector<Operation> Shrink(std::vector<Operation> operations, const Failing& fails) {
    for (size_t length = (operations.size() + 1) / 2; length > 0;) {
        bool isShorter = false;
        for (size_t end = operations.size(); end > 0;) {
            const size_t begin = end > length ? end - length : 0;
            std::vector<Operation> shorter = operations;
            shorter.erase(shorter.begin() + static_cast<std::ptrdiff_t>(begin),
                          shorter.begin() + static_cast<std::ptrdiff_t>(end));
            if (fails(shorter)) {
                operations = std::move(shorter);
                isShorter = true;
            }
            end = begin;
        }
        if (length > 1) {
            length = (length + 1) / 2;
        } else if (!isShorter) {
            break;
        }
    }
    return operations;
}

} // namespace Walk
