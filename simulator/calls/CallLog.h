// What was asked of every operation: how often, and with which arguments last. Knows nothing of the
// answers.
#pragma once

#include "base/Sync.h"
#include "calls/CallShape.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>

namespace OptivoSim {

using namespace OptivoBase;

// Thread-safe; a call without a text takes no lock.
class CCallLog {
public:
    void Record(const SCallShape& call);
    void Reset();

    std::uint64_t NumCalls(OptivoOperation operation) const;
    std::uint64_t LastSelector(OptivoOperation operation) const;
    std::uint64_t LastArgument(OptivoOperation operation) const;
    std::uint64_t LastSize(OptivoOperation operation) const;
    std::string LastText(OptivoOperation operation) const;
    // The last capacity selectors at most; answers how many are kept.
    std::size_t Selectors(OptivoOperation operation, std::uint64_t* selectors,
                          std::size_t capacity) const;

private:
    static constexpr std::size_t kNumKept = 64;

    // Apart from its neighbours, as streams of two cameras write here for every image.
    struct alignas(64) SOperation {
        std::atomic<std::uint64_t> numBegun{0};
        std::atomic<std::uint64_t> numCalls{0};
        std::atomic<std::uint64_t> lastArgument{0};
        std::atomic<std::uint64_t> lastSize{0};
        std::array<std::atomic<std::uint64_t>, kNumKept> selectors{};
    };

    std::array<SOperation, OPTIVO_NUM_OPERATIONS> m_operations;
    mutable CMutex m_textLock;
    std::array<std::string, OPTIVO_NUM_OPERATIONS> m_texts;
};

} // namespace OptivoSim
