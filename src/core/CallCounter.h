// How an object's destruction waits for the calls that are inside it. This file knows no object.
#pragma once

#include "core/Patience.h"

#include <atomic>
#include <chrono>
#include <thread>

namespace GenICam::Client {

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
