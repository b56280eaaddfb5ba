#include "check/Checks.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <set>

namespace norveltl {

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr int kRestarts = 3;
constexpr size_t kMinImages = 2 * kCheckBuffers;

// What no image begins with: a buffer that is delivered with it was not filled.
constexpr auto kMark = [] {
    std::array<uint8_t, 1024> mark{};
    uint32_t state = 1;
    for (uint8_t& byte : mark) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<uint8_t>(state >> 24);
    }
    return mark;
}();

class CMarkedBuffers {
public:
    CMarkedBuffers(const CProducer& p, CStream& stream) : m_producer(p), m_stream(stream) {}

    void QueueAll() const {
        for (uint32_t i = 0; i < kCheckBuffers; ++i) {
            BUFFER_HANDLE buffer = nullptr;
            m_producer.Call(m_producer.DSGetBufferID, m_stream.Handle(), i, &buffer);
            Queue(buffer);
        }
    }
    void Queue(BUFFER_HANDLE buffer) const {
        const SMemory memory = MemoryOf(buffer);
        std::memcpy(memory.begin, kMark.data(), memory.size);
        m_stream.Queue(buffer);
    }
    bool IsOld(BUFFER_HANDLE buffer) const {
        const SMemory memory = MemoryOf(buffer);
        return std::memcmp(memory.begin, kMark.data(), memory.size) == 0;
    }

private:
    struct SMemory {
        void* begin;
        size_t size; // of the mark in it
    };

    SMemory MemoryOf(BUFFER_HANDLE buffer) const {
        const auto base = m_stream.Info(buffer, BUFFER_INFO_BASE);
        const auto size = m_stream.Info(buffer, BUFFER_INFO_SIZE);
        if (!base || *base == 0 || !size) {
            throw CToolError("the producer does not tell where a buffer's bytes are");
        }
        return {reinterpret_cast<void*>(static_cast<uintptr_t>(*base)),
                std::min(static_cast<size_t>(*size), kMark.size())};
    }

    const CProducer& m_producer;
    CStream& m_stream;
};

struct SRestart {
    std::set<BUFFER_HANDLE> buffers; // those that were filled
    bool hasOld = false;
};

SRestart Restart(const CProducer& p, CStream& stream, const CCameraFacts& camera) {
    const CMarkedBuffers marked(p, stream);
    SRestart result;
    p.Call(p.DSFlushQueue, stream.Handle(), ACQ_QUEUE_ALL_DISCARD);
    marked.QueueAll();
    // What comes before the start is old. It lies in both queues, and a camera could fill it while
    // it is looked at: it is taken out of both, and queued once.
    if (stream.Wait(20ms)) {
        result.hasOld = true;
        p.Call(p.DSFlushQueue, stream.Handle(), ACQ_QUEUE_ALL_DISCARD);
        p.Call(p.DSFlushQueue, stream.Handle(), ACQ_QUEUE_OUTPUT_DISCARD);
        marked.QueueAll();
    }
    const CAcquisition acquisition(stream, camera);
    const Clock::time_point end = Clock::now() + kCheckPatience;
    size_t count = 0;
    while (Clock::now() < end && (count < kMinImages || result.buffers.size() < kCheckBuffers)) {
        auto* const buffer = stream.Wait(100ms);
        if (!buffer) {
            continue;
        }
        if (marked.IsOld(buffer)) {
            result.hasOld = true;
        } else {
            ++count;
            result.buffers.insert(buffer);
        }
        marked.Queue(buffer);
    }
    if (count < kMinImages) {
        throw CToolError("only " + std::to_string(count) + " images came");
    }
    return result;
}

} // namespace

void CheckRestarts(const CProducer& p, CStream& stream, const CCameraFacts& camera,
                   CJudgement& judge) {
    judge.Attempt(p.DSStartAcquisition.name, "a stream can be stopped and started", [&] {
        bool hasOld = false;
        size_t numBuffers = kCheckBuffers;
        for (int i = 0; i < kRestarts; ++i) {
            const SRestart result = Restart(p, stream, camera);
            hasOld = hasOld || result.hasOld;
            numBuffers = std::min(numBuffers, result.buffers.size());
        }
        judge.Want(p.DSFlushQueue.name, "a restarted stream delivers new images only", !hasOld,
                   "after ACQ_QUEUE_ALL_DISCARD a buffer comes once it is filled anew",
                   "buffers as they were");
        judge.Want(p.DSFlushQueue.name, "a restarted stream uses every buffer",
                   numBuffers == kCheckBuffers,
                   "buffers queued after ACQ_QUEUE_ALL_DISCARD are filled",
                   std::to_string(numBuffers) + " of " + std::to_string(kCheckBuffers));
    });
}

} // namespace norveltl
