// The faults that a test has planned, and the calls that hang because of one. Knows nothing of what
// the operations do.
#pragma once

#include "OptivoSim.h"

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <vector>

namespace OptivoSim {

struct FaultVerdict {
    OptivoFaultKind kind;
    std::int32_t result;
    std::uint64_t release; // the release that a hang waits for
};

// Thread-safe; a call of an operation without faults takes no lock.
class CFaults {
public:
    void Add(const OptivoFault& fault);
    void Clear();

    // What goes wrong with this call. The first fault that matches and has no call left to skip
    // decides; those behind it do not count the call.
    std::optional<FaultVerdict> Take(OptivoOperation operation, std::uint64_t selector);

    void WaitForRelease(const FaultVerdict& verdict);
    void Release();

private:
    std::array<std::atomic<std::uint32_t>, OPTIVO_NUM_OPERATIONS> m_numPlanned{};
    std::mutex m_lock;
    std::condition_variable m_released;
    std::vector<OptivoFault> m_planned;
    std::uint64_t m_numReleases = 0;
};

} // namespace OptivoSim
