// A place where threads wait with a time-out and are woken one by one.
// This file knows nothing of what they wait for.
#pragma once

#include "core/LockSoon.h"
#include "platform/Pause.h"
#include "platform/WordSleep.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <limits>

namespace GenICam::Client {

// Milliseconds that mean waiting without limit.
inline constexpr std::uint64_t kWaitForever = std::numeric_limits<std::uint64_t>::max();

enum class WaitResult { Woken, TimedOut, Closed };

// How waiting threads sleep.
struct SSystemSleep {
    static void SleepOn(const Platform::SleepWord& word, std::uint32_t value,
                        std::uint32_t milliseconds) {
        Platform::SleepOn(word, value, milliseconds);
    }
    static void Wake(const Platform::SleepWord* word) noexcept { Platform::Wake(word); }
};

// A condition variable that neither loses nor invents a wake-up: each grant ends exactly one wait
// that began before it, the oldest one, and a wait that was granted never reports a time-out. All
// operations but Wake are called under the lock of the state that is waited for.
template <class System = SSystemSleep>
class CWaitPoint {
public:
    // A wait that was granted while it slept, or none.
    using Sleeper = const Platform::SleepWord*;

    // Waits until granted, or until that many milliseconds have passed on a clock that is never set
    // back. The lock is released meanwhile.
    template <class Lock>
    WaitResult Wait(Lock& lock, std::uint64_t milliseconds) {
        constexpr std::uint64_t kLongestSlice = 3'600'000;

        const Clock::time_point start = Clock::now();
        SWaiter waiter(*this);
        if (milliseconds != 0) {
            WaitAwake(lock, waiter, start + kTimeAwake);
        }
        while (!waiter.HasEnded()) {
            std::uint32_t slice = Platform::kSleepForever; // without a timer
            if (milliseconds != kWaitForever) {
                const auto passed = static_cast<std::uint64_t>(
                    std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start)
                        .count());
                if (passed >= milliseconds) {
                    break;
                }
                slice = static_cast<std::uint32_t>(std::min(kLongestSlice, milliseconds - passed));
            }
            waiter.m_isAsleep = true;
            const CReleased<Lock> released(lock);
            System::SleepOn(waiter.m_end, SWaiter::kNotYet, slice);
        }
        if (m_isClosed) {
            return WaitResult::Closed;
        }
        return waiter.Take() ? WaitResult::Woken : WaitResult::TimedOut;
    }

    // Ends the oldest wait. The caller wakes it when it sleeps, best without the lock.
    [[nodiscard]] Sleeper Grant() noexcept {
        SWaiter* waiter = m_oldest;
        while (waiter != nullptr && waiter->HasEnded()) {
            waiter = waiter->m_next;
        }
        return waiter == nullptr ? nullptr : waiter->End();
    }

    // Its wait may have ended otherwise meanwhile.
    static void Wake(Sleeper sleeper) noexcept {
        if (sleeper != nullptr) {
            System::Wake(sleeper);
        }
    }

    // Ends all waits, those to come included.
    void Close() noexcept {
        m_isClosed = true;
        for (SWaiter* waiter = m_oldest; waiter != nullptr; waiter = waiter->m_next) {
            Wake(waiter->End());
        }
    }

private:
    using Clock = std::chrono::steady_clock;

    // About what falling asleep and being woken costs.
    static constexpr std::chrono::microseconds kTimeAwake{20};
    // So often the end is looked for between two looks at the clock, which may take longer.
    static constexpr int kLooksPerTime = 10;
    static constexpr unsigned kLongestBackOff = 63;

    // One waiting thread, in a list by age. A wait that ends by an exception hands its grant on.
    struct SWaiter {
        static constexpr std::uint32_t kNotYet = 0;
        static constexpr std::uint32_t kEnded = 1;

        explicit SWaiter(CWaitPoint& point) noexcept
            : m_point(point), m_end(point.m_isClosed ? kEnded : kNotYet) {
            SWaiter** last = &m_point.m_oldest;
            while (*last != nullptr) {
                last = &(*last)->m_next;
            }
            *last = this;
        }
        ~SWaiter() {
            SWaiter** link = &m_point.m_oldest;
            while (*link != this) {
                link = &(*link)->m_next;
            }
            *link = m_next;
            if (HasEnded()) {
                Wake(m_point.Grant());
            }
        }
        SWaiter(const SWaiter&) = delete;
        SWaiter& operator=(const SWaiter&) = delete;

        bool HasEnded() const noexcept { return m_end.load(std::memory_order_acquire) == kEnded; }
        Sleeper End() noexcept {
            m_end.store(kEnded, std::memory_order_release);
            return m_isAsleep ? &m_end : nullptr;
        }
        bool Take() noexcept {
            return m_end.exchange(kNotYet, std::memory_order_relaxed) == kEnded;
        }

        CWaitPoint& m_point;
        SWaiter* m_next = nullptr;
        Platform::SleepWord m_end;
        bool m_isAsleep = false;
    };

    // Gives the lock back while it exists.
    template <class Lock>
    class CReleased {
    public:
        explicit CReleased(Lock& lock) : m_lock(lock) { m_lock.unlock(); }
        ~CReleased() { LockSoon(m_lock); }
        CReleased(const CReleased&) = delete;
        CReleased& operator=(const CReleased&) = delete;

    private:
        Lock& m_lock;
    };

    // Looks out for the end before the wait sleeps, unless that was in vain lately: after each
    // failure twice as many waits sleep at once, up to kLongestBackOff.
    template <class Lock>
    void WaitAwake(Lock& lock, const SWaiter& waiter, Clock::time_point end) {
        if (m_numToSleep != 0) {
            --m_numToSleep;
            return;
        }
        {
            const CReleased<Lock> released(lock);
            do {
                for (int i = 0; i < kLooksPerTime && !waiter.HasEnded(); ++i) {
                    Platform::Pause();
                }
            } while (!waiter.HasEnded() && Clock::now() < end);
        }
        m_backOff = waiter.HasEnded() ? 0 : std::min(2 * m_backOff + 1, kLongestBackOff);
        m_numToSleep = m_backOff;
    }

    SWaiter* m_oldest = nullptr;
    bool m_isClosed = false;
    // How many waits sleep at once after the last one that stayed awake, and how many still do.
    unsigned m_backOff = 0;
    unsigned m_numToSleep = 0;
};

} // namespace GenICam::Client
