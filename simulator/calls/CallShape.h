// A call of an operation as the log and the faults see it. Knows nothing of what the operation
// does.
#pragma once

#include "OptivoSim.h"

#include <cstdint>

namespace OptivoSim {

// What the log keeps of a call, what a fault looks at, and the outputs that it may spoil.
struct SCallShape {
    OptivoOperation operation;
    std::uint64_t selector = 0;
    std::uint64_t argument = 0;
    const char* text = nullptr;
    void* buffer = nullptr;
    decltype(sizeof 0)* size = nullptr;
    unsigned* count = nullptr;    // of a list's entries
    const char* object = nullptr; // name of the interface or camera that is called
};

} // namespace OptivoSim
