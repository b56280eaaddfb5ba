// A place where threads wait with a time-out and are woken one by one.
// This file knows nothing of what they wait for.
#pragma once

#include "core/LockSoon.h"
#include "platform/Pause.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <limits>

namespace GenICam::Client {

// Milliseconds that mean waiting without limit.
inline constexpr std::uint64_t kWaitForever = std::numeric_limits<std::uint64_t>::max();

enum class WaitResult { Woken, TimedOut, Closed };

// A condition variable that neither loses nor invents a wake-up: each grant ends exactly one wait
// that began before it, the oldest one, and a wait that was granted never reports a time-out. All
// operations but Notify are called under the lock of the state that is waited for.
template <class Condition>
class CWaitPoint {
public:
    // Waits until granted, or until that many milliseconds have passed on a clock that is never set
    // back. The lock is released meanwhile.
    template <class Lock>
    WaitResult Wait(Lock& lock, std::uint64_t milliseconds) {
        // Short enough for the conversion to any clock's own unit.
        constexpr std::uint64_t kLongestSlice = 3'600'000;

        const Clock::time_point start = Clock::now();
        SWaiter waiter(*this);
        if (milliseconds != 0) {
            WaitAwake(lock, waiter, start + kTimeAwake);
        }
        while (!waiter.m_granted && !m_closed) {
            waiter.m_asleep = true;
            if (milliseconds == kWaitForever) {
                m_condition.wait(lock); // without the timer that a limit needs on Windows
                continue;
            }
            const auto passed = static_cast<std::uint64_t>(
                std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start)
                    .count());
            if (passed >= milliseconds) {
                break;
            }
            const std::uint64_t slice = std::min(kLongestSlice, milliseconds - passed);
            m_condition.timed_wait(
                lock, boost::posix_time::milliseconds(static_cast<std::int64_t>(slice)));
        }
        if (m_closed) {
            return WaitResult::Closed;
        }
        return waiter.Take() ? WaitResult::Woken : WaitResult::TimedOut;
    }

    // Ends the oldest wait. True when it sleeps: the caller then calls Notify, best without the
    // lock.
    bool Grant() noexcept {
        SWaiter* waiter = m_oldest;
        while (waiter != nullptr && waiter->m_granted) {
            waiter = waiter->m_next;
        }
        if (waiter == nullptr) {
            return false;
        }
        waiter->m_granted = true;
        return waiter->m_asleep;
    }

    // Wakes all, since any of them may be the one that was granted.
    void Notify() noexcept { m_condition.notify_all(); }

    // Ends all waits, those to come included.
    void Close() noexcept {
        m_closed = true;
        Notify();
    }

private:
    using Clock = std::chrono::steady_clock;

    // About what falling asleep and being woken costs.
    static constexpr std::chrono::microseconds kTimeAwake{20};
    static constexpr unsigned kLongestBackOff = 63;

    // One waiting thread, in a list by age. A wait that ends by an exception hands its grant on.
    struct SWaiter {
        explicit SWaiter(CWaitPoint& point) noexcept : m_point(point) {
            SWaiter** end = &m_point.m_oldest;
            while (*end != nullptr) {
                end = &(*end)->m_next;
            }
            *end = this;
        }
        ~SWaiter() {
            SWaiter** link = &m_point.m_oldest;
            while (*link != this) {
                link = &(*link)->m_next;
            }
            *link = m_next;
            if (m_granted && m_point.Grant()) {
                m_point.Notify();
            }
        }
        SWaiter(const SWaiter&) = delete;
        SWaiter& operator=(const SWaiter&) = delete;

        bool Take() noexcept { return m_granted.exchange(false); }

        CWaitPoint& m_point;
        SWaiter* m_next = nullptr;
        std::atomic<bool> m_granted{false};
        bool m_asleep = false;
    };

    // Looks out for a grant before the wait sleeps, unless that was in vain lately: after each
    // failure twice as many waits sleep at once, up to kLongestBackOff.
    template <class Lock>
    void WaitAwake(Lock& lock, const SWaiter& waiter, Clock::time_point end) {
        if (m_numToSleep != 0) {
            --m_numToSleep;
            return;
        }
        lock.unlock();
        do {
            Platform::Pause();
        } while (!waiter.m_granted && !m_closed && Clock::now() < end);
        LockSoon(lock);
        m_backOff = waiter.m_granted ? 0 : std::min(2 * m_backOff + 1, kLongestBackOff);
        m_numToSleep = m_backOff;
    }

    Condition m_condition;
    SWaiter* m_oldest = nullptr;
    std::atomic<bool> m_closed{false};
    // How many waits sleep at once after the last one that stayed awake, and how many still do.
    unsigned m_backOff = 0;
    unsigned m_numToSleep = 0;
};

} // namespace GenICam::Client
