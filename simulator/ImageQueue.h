// The images of one stream: which are due by the clock or by request, which wait to be grabbed, and
// which were lost because nobody took them. Knows nothing of cameras, faults or the operation
// tables.
#pragma once

#include "ResultCodes.h"
#include "TestPattern.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>

namespace OptivoSim {

// Thread-safe. Starting and stopping end every wait that is under way.
class CImageQueue {
public:
    // Forgets what waits, and delivers from image 0 on. count is 0xFFFFFFFF for no limit, and a
    // rate is as OptivoSim_SetFrameRate takes it.
    void Start(UInt32 count, double rate, std::shared_ptr<const CTestPattern> pattern);
    void Stop();
    bool IsStarted() const;

    void SetRate(double rate);
    // While halted, the clock makes no image.
    void SetHalted(bool isHalted);
    // Makes images beside the clock; none of them is lost.
    void Produce(std::uint64_t count);

    // Copies the next image, or drops it when destination is null. Answers a GrabResult.
    Int32 Grab(void* destination, UInt32 timeoutMs);
    // True when an image waits; an answer of false takes a while, so that a poll needs little time.
    bool WaitReady();

    // Images made since the start, lost ones included.
    std::uint64_t NumStarted();
    std::uint64_t NumLost();

private:
    using Clock = std::chrono::steady_clock;

    bool IsClocked() const { return m_isStarted && !m_isHalted && m_rate > 0; }
    void RestartClock();
    void Book(std::uint64_t count, std::uint64_t maxPending);
    void AdvanceClock(Clock::time_point now);
    Clock::time_point NextDue() const;
    void MakeOnDemand();
    bool WaitForImage(std::unique_lock<std::mutex>& lock, std::chrono::milliseconds timeout);

    mutable std::mutex m_lock;
    std::condition_variable m_changed;
    bool m_isStarted = false;
    bool m_isHalted = false;
    double m_rate = 0;
    std::uint64_t m_epoch = 0; // counts starts and stops
    std::shared_ptr<const CTestPattern> m_pattern;

    Clock::time_point m_clockStart;
    std::uint64_t m_clockImages = 0; // images that the clock made since m_clockStart
    std::uint64_t m_allowance = 0;   // images that may still be made
    std::uint64_t m_next = 0;        // number of the image that is grabbed next
    std::uint64_t m_pending = 0;
    std::uint64_t m_lost = 0;
};

} // namespace OptivoSim
