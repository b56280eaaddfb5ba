// A place where threads wait with a time-out and are woken one by one.
// This file knows nothing of what they wait for.
#pragma once

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <limits>
#include <thread>
#include <utility>

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
        using Clock = std::chrono::steady_clock;
        // Short enough for the conversion to any clock's own unit.
        constexpr std::uint64_t kLongestSlice = 3'600'000;

        const Clock::time_point start = Clock::now();
        CWaiter waiter(*this);
        while (!waiter.m_granted && !m_closed) {
            std::uint64_t slice = kLongestSlice;
            if (milliseconds != kWaitForever) {
                const auto passed = static_cast<std::uint64_t>(
                    std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start)
                        .count());
                if (passed >= milliseconds) {
                    break;
                }
                slice = std::min(slice, milliseconds - passed);
            }
            m_condition.timed_wait(
                lock, boost::posix_time::milliseconds(static_cast<std::int64_t>(slice)));
        }
        if (m_closed) {
            return WaitResult::Closed;
        }
        return waiter.Take() ? WaitResult::Woken : WaitResult::TimedOut;
    }

    // Ends the oldest wait. True when there is one: the caller then calls Notify, best without the
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
        return true;
    }

    // Wakes all, since any of them may be the one that was granted.
    void Notify() noexcept { m_condition.notify_all(); }

    // Ends all waits, those to come included.
    void Close() noexcept {
        m_closed = true;
        Notify();
    }

private:
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

        bool Take() noexcept { return std::exchange(m_granted, false); }

        CWaitPoint& m_point;
        CWaiter* m_next = nullptr;
        bool m_granted = false;
    };

    Condition m_condition;
    CWaiter* m_oldest = nullptr;
    bool m_closed = false;
};

// Takes a lock that others hold for moments: asking again costs less than to sleep and be woken.
// Whoever holds it longer is waited for asleep.
template <class Lock>
void LockSoon(Lock& lock) {
    constexpr int kAttempts = 50;
    for (int i = 0; i < kAttempts; ++i) {
        if (lock.try_lock()) {
            return;
        }
        std::this_thread::yield();
    }
    lock.lock();
}

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
        while (IsInside()) {
            std::this_thread::yield();
        }
    }

    // The same, but after that time at the latest.
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
