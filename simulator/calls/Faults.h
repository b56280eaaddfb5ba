// The faults that a test has planned, and the calls that hang because of one. Knows nothing of what
// the operations do.
#pragma once

#include "base/Sync.h"
#include "calls/CallShape.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <list>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <tuple>
#include <vector>

namespace OptivoSim {

using namespace OptivoBase;

struct SFaultVerdict {
    OptivoFaultKind kind;
    std::int32_t result;
    std::uint64_t release; // the release that a hang waits for
};

// A fault, and the calls that it is meant for.
struct SFaultPlan {
    OptivoFault fault{};
    std::string object;     // interface or camera by name; empty is any
    double probability = 1; // 0 and 1 are every matching call
    std::uint64_t seed = 0; // of what is drawn otherwise
};

// Thread-safe; a call of an operation without faults takes no lock.
class CFaults {
public:
    void Add(const SFaultPlan& plan);
    void Clear();
    // Clears, and adds them all.
    void Replace(const std::vector<SFaultPlan>& plans);

    // What goes wrong with this call. The first fault that matches, has no call left to skip and
    // is not drawn to spare it decides; those behind it do not count the call.
    std::optional<SFaultVerdict> Take(const SCallShape& call);

    // The calls that were spoilt with this result by faults of exactly that object, since faults
    // were last cleared or replaced.
    std::uint64_t NumSpoilt(OptivoOperation operation, std::int32_t result,
                            const std::string& object) const;

    void WaitForRelease(const SFaultVerdict& verdict);
    void Release();

private:
    struct SPlanned {
        SFaultPlan plan;
        std::mt19937_64 generator;
    };

    using Spoiling = std::tuple<OptivoOperation, std::int32_t, std::string>;

    static bool Matches(const SFaultPlan& plan, const SCallShape& call);
    static bool IsDrawn(SPlanned& planned);

    std::array<std::atomic<std::uint32_t>, OPTIVO_NUM_OPERATIONS> m_numPlanned{};
    mutable CMutex m_lock;
    CCondition m_released;
    std::list<SPlanned> m_planned;
    std::map<Spoiling, std::uint64_t> m_numSpoilt;
    std::uint64_t m_numReleases = 0;
};

} // namespace OptivoSim
