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

namespace GenICam::Client {

// Milliseconds that mean waiting without limit.
inline constexpr std::uint64_t kWaitForever = std::numeric_limits<std::uint64_t>::max();

enum class WaitResult { Woken, TimedOut, Closed };

// A condition variable that neither loses nor invents a wake-up: each grant ends exactly one wait
// that began before it, and a wait that was granted never reports a time-out. All operations but
// Notify are called under the lock of the state that is waited for.
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
        const CWaiter waiter(*this);
        while (m_numGranted == 0 && !m_closed) {
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
        if (m_numGranted == 0) {
            return WaitResult::TimedOut;
        }
        --m_numGranted;
        return WaitResult::Woken;
    }

    // Ends one wait. True when there is one: the caller then calls Notify, best without the lock.
    bool Grant() noexcept {
        if (m_numGranted == m_numWaiting) {
            return false;
        }
        ++m_numGranted;
        return true;
    }

    void Notify() noexcept { m_condition.notify_one(); }

    // Ends all waits, those to come included.
    void Close() noexcept {
        m_closed = true;
        m_condition.notify_all();
    }

private:
    // One waiting thread. A wait that ends by an exception leaves no grant behind.
    class CWaiter {
    public:
        explicit CWaiter(CWaitPoint& point) noexcept : m_point(point) { ++m_point.m_numWaiting; }
        ~CWaiter() {
            --m_point.m_numWaiting;
            m_point.m_numGranted = std::min(m_point.m_numGranted, m_point.m_numWaiting);
        }
        CWaiter(const CWaiter&) = delete;
        CWaiter& operator=(const CWaiter&) = delete;

    private:
        CWaitPoint& m_point;
    };

    Condition m_condition;
    std::uint64_t m_numWaiting = 0;
    std::uint64_t m_numGranted = 0;
    bool m_closed = false;
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
        while (m_numInside.load(std::memory_order_acquire) != 0) {
            std::this_thread::yield();
        }
    }

private:
    std::atomic<int> m_numInside{0};
};

} // namespace GenICam::Client
