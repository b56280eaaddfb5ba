// Short forms of what tests ask of the simulated camera library.
#pragma once

#include "Cameras.h"
#include "OptivoSim.h"

#include <array>

// How often the camera library was asked for an operation since the test began.
inline uint64_t NumCalls(OptivoOperation operation) {
    return OptivoSim_NumCalls(operation);
}

inline void AddFault(OptivoOperation operation, OptivoFaultKind kind, int32_t result = 0,
                     uint32_t count = 1, uint64_t selector = OPTIVO_ANY_SELECTOR) {
    const OptivoFault fault = {operation, kind, result, selector, 0, count};
    OptivoSim_AddFault(&fault);
}

// The library's objects that are open beyond those that were when this count was made. Tests before
// may have had to leave some open for good.
class AliveCount {
public:
    AliveCount() {
        for (size_t kind = 0; kind < m_before.size(); ++kind) {
            m_before[kind] = Cameras::NumOpen(static_cast<OptivoObjectKind>(kind));
        }
    }

    uint64_t Of(OptivoObjectKind kind) const {
        return Cameras::NumOpen(kind) - m_before[static_cast<size_t>(kind)];
    }
    uint64_t Systems() const { return Of(OPTIVO_OBJECT_SYSTEM); }
    uint64_t Interfaces() const { return Of(OPTIVO_OBJECT_INTERFACE); }
    uint64_t Devices() const { return Of(OPTIVO_OBJECT_DEVICE); }
    uint64_t Streams() const { return Of(OPTIVO_OBJECT_STREAM); }

private:
    std::array<uint64_t, OPTIVO_NUM_OBJECT_KINDS> m_before{};
};
