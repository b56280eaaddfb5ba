// A place where threads wait with a time-out and are woken one by one.
// This file knows nothing of what they wait for.
#pragma once

#include "core/Patience.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/smart_ptr/detail/sp_thread_pause.hpp>
#include <boost/thread/lock_types.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <limits>
#include <thread>

namespace GenICam::Client {

// Milliseconds that mean waiting without limit.
inline constexpr std::uint64_t kWaitForever = std::numeric_limits<std::uint64_t>::max();

enum class WaitResult { Woken, TimedOut, Closed };

// Takes a lock that others hold for moments: asking again costs less than to sleep and be woken.
// Whoever holds it longer is waited for asleep. The processor is kept meanwhile: it might come back
// after a whole turn of somebody else's.
template <class Lock>
void LockSoon(Lock& lock) {
    constexpr int kAttempts = 100;
    for (int i = 0; i < kAttempts; ++i) {
        if (lock.try_lock()) {
            return;
        }
        boost::detail::sp_thread_pause();
    }
    lock.lock();
}

// Owns the mutex, taken like that.
template <class Mutex>
boost::unique_lock<Mutex> LockedSoon(Mutex& mutex) {
    boost::unique_lock<Mutex> lock(mutex, boost::defer_lock);
    LockSoon(lock);
    return lock;
}

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
        CWaiter waiter(*this);
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
        CWaiter* waiter = m_oldest;
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
    struct CWaiter {
        explicit CWaiter(CWaitPoint& point) noexcept : m_point(point) {
            CWaiter** end = &m_point.m_oldest;
            while (*end != nullptr) {
                end = &(*end)->m_next;
            }
            *end = this;
        }
        ~CWaiter() {
            CWaiter** link = &m_point.m_oldest;
            while (*link != this) {
                link = &(*link)->m_next;
            }
            *link = m_next;
            if (m_granted && m_point.Grant()) {
                m_point.Notify();
            }
        }
        CWaiter(const CWaiter&) = delete;
        CWaiter& operator=(const CWaiter&) = delete;

        bool Take() noexcept { return m_granted.exchange(false); }

        CWaitPoint& m_point;
        CWaiter* m_next = nullptr;
        std::atomic<bool> m_granted{false};
        bool m_asleep = false;
    };

    // Looks out for a grant before the wait sleeps, unless that was in vain lately: after each
    // failure twice as many waits sleep at once, up to kLongestBackOff.
    template <class Lock>
    void WaitAwake(Lock& lock, const CWaiter& waiter, Clock::time_point end) {
        if (m_numToSleep != 0) {
            --m_numToSleep;
            return;
        }
        lock.unlock();
        do {
            boost::detail::sp_thread_pause();
        } while (!waiter.m_granted && !m_closed && Clock::now() < end);
        LockSoon(lock);
        m_backOff = waiter.m_granted ? 0 : std::min(2 * m_backOff + 1, kLongestBackOff);
        m_numToSleep = m_backOff;
    }

    Condition m_condition;
    CWaiter* m_oldest = nullptr;
    std::atomic<bool> m_closed{false};
    // How many waits sleep at once after the last one that stayed awake, and how many still do.
    unsigned m_backOff = 0;
    unsigned m_numToSleep = 0;
};

// Counts the calls that are inside an object, so that its destruction can wait for them.
class CCallCounter {
public:
    class CScope {
    public:
        explicit CScope(CCallCounter& counter) noexcept : m_counter(counter) {
            m_counter.m_numInside.fetch_add(1, std::memory_order_relaxed);
        }
        ~CScope() { m_counter.m_numInside.fetch_sub(1, std::memory_order_release); }
        CScope(const CScope&) = delete;
        CScope& operator=(const CScope&) = delete;

    private:
        CCallCounter& m_counter;
    };

    // Returns when no call is inside.
    void Drain() const noexcept {
        for (CPatience patience; IsInside();) {
            patience.Pause();
        }
    }

    // The same, but after that time at the latest. Without patience, as images come meanwhile.
    void DrainFor(std::chrono::microseconds time) const noexcept {
        const auto end = std::chrono::steady_clock::now() + time;
        while (IsInside() && std::chrono::steady_clock::now() < end) {
            std::this_thread::yield();
        }
    }

private:
    bool IsInside() const noexcept { return m_numInside.load(std::memory_order_acquire) != 0; }

    std::atomic<int> m_numInside{0};
};

} // namespace GenICam::Client
