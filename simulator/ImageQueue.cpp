#include "ImageQueue.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

namespace OptivoSim {

namespace {

constexpr UInt32 kNoLimit = 0xFFFFFFFF;
constexpr std::uint64_t kUnbounded = std::numeric_limits<std::uint64_t>::max();
constexpr std::uint64_t kNumInternalBuffers = 16;
constexpr std::chrono::milliseconds kReadyWait(20);
constexpr std::chrono::milliseconds kIdleWait(2);
constexpr double kMostImages = 1e18;
constexpr double kLongestWaitSeconds = 1e9;

} // namespace

void CImageQueue::Start(UInt32 count, double rate, std::shared_ptr<const CTestPattern> pattern) {
    const std::lock_guard lock(m_lock);
    m_isStarted = true;
    m_isHalted = false;
    m_rate = rate;
    m_pattern = std::move(pattern);
    m_allowance = count == kNoLimit ? kUnbounded : count;
    m_next = 0;
    m_pending = 0;
    m_lost = 0;
    RestartClock();
    ++m_epoch;
    m_changed.notify_all();
}

void CImageQueue::Stop() {
    const std::lock_guard lock(m_lock);
    AdvanceClock(Clock::now());
    m_isStarted = false;
    m_next += m_pending;
    m_pending = 0;
    ++m_epoch;
    m_changed.notify_all();
}

bool CImageQueue::IsStarted() const {
    const std::lock_guard lock(m_lock);
    return m_isStarted;
}

void CImageQueue::SetRate(double rate) {
    const std::lock_guard lock(m_lock);
    AdvanceClock(Clock::now());
    m_rate = rate;
    RestartClock();
    m_changed.notify_all();
}

void CImageQueue::SetHalted(bool isHalted) {
    const std::lock_guard lock(m_lock);
    if (m_isHalted != isHalted) {
        AdvanceClock(Clock::now());
        m_isHalted = isHalted;
        RestartClock();
        m_changed.notify_all();
    }
}

void CImageQueue::Produce(std::uint64_t count) {
    const std::lock_guard lock(m_lock);
    if (m_isStarted) {
        Book(count, kUnbounded);
        m_changed.notify_all();
    }
}

Int32 CImageQueue::Grab(void* destination, UInt32 timeoutMs) {
    std::unique_lock lock(m_lock);
    if (!WaitForImage(lock, std::chrono::milliseconds(timeoutMs))) {
        return Optivo::kGrabNothingYet;
    }
    const std::uint64_t number = m_next++;
    --m_pending;
    if (destination != nullptr) {
        const std::shared_ptr<const CTestPattern> pattern = m_pattern;
        lock.unlock();
        std::memcpy(destination, pattern->Image(number), pattern->PayloadSize());
    }
    return Optivo::kGrabDelivered;
}

bool CImageQueue::WaitReady() {
    std::unique_lock lock(m_lock);
    if (!m_isStarted) {
        const std::uint64_t epoch = m_epoch;
        m_changed.wait_for(lock, kIdleWait, [&] { return m_epoch != epoch; });
        return false;
    }
    return WaitForImage(lock, kReadyWait);
}

std::uint64_t CImageQueue::NumStarted() {
    const std::lock_guard lock(m_lock);
    AdvanceClock(Clock::now());
    return m_next + m_pending;
}

std::uint64_t CImageQueue::NumLost() {
    const std::lock_guard lock(m_lock);
    AdvanceClock(Clock::now());
    return m_lost;
}

void CImageQueue::RestartClock() {
    m_clockStart = Clock::now();
    m_clockImages = 0;
}

// A lost image is made up for, so that an acquisition of a given length still delivers all of it.
void CImageQueue::Book(std::uint64_t count, std::uint64_t maxPending) {
    const std::uint64_t room = maxPending - std::min(maxPending, m_pending);
    const std::uint64_t kept = std::min({count, m_allowance, room});
    m_pending += kept;
    if (m_allowance != kUnbounded) {
        m_allowance -= kept;
    }
    if (m_allowance > 0) {
        // Whatever found no room pushed out as many of the oldest images.
        m_next += count - kept;
        m_lost += count - kept;
    }
}

void CImageQueue::AdvanceClock(Clock::time_point now) {
    if (!IsClocked()) {
        return;
    }
    const double seconds = std::chrono::duration<double>(now - m_clockStart).count();
    const auto due = static_cast<std::uint64_t>(std::clamp(seconds * m_rate, 0.0, kMostImages));
    if (due > m_clockImages) {
        Book(due - m_clockImages, kNumInternalBuffers);
        m_clockImages = due;
    }
}

CImageQueue::Clock::time_point CImageQueue::NextDue() const {
    const std::chrono::duration<double> seconds(
        std::min(static_cast<double>(m_clockImages + 1) / m_rate, kLongestWaitSeconds));
    return m_clockStart + std::chrono::ceil<Clock::duration>(seconds);
}

// Without a clock, an image is there as soon as it is asked for.
void CImageQueue::MakeOnDemand() {
    if (m_isStarted && !m_isHalted && m_rate == 0 && m_pending == 0) {
        Book(1, kUnbounded);
    }
}

bool CImageQueue::WaitForImage(std::unique_lock<std::mutex>& lock,
                               std::chrono::milliseconds timeout) {
    MakeOnDemand();
    if (m_pending > 0 && !IsClocked()) {
        return true;
    }
    const std::uint64_t epoch = m_epoch;
    const Clock::time_point deadline = Clock::now() + timeout;
    for (;;) {
        const Clock::time_point now = Clock::now();
        AdvanceClock(now);
        MakeOnDemand();
        if (m_pending > 0) {
            return true;
        }
        if (!m_isStarted || m_epoch != epoch || now >= deadline) {
            return false;
        }
        m_changed.wait_until(lock, IsClocked() ? std::min(deadline, NextDue()) : deadline);
    }
}

} // namespace OptivoSim
