// What the tests of events share: a thread that waits for an event's data, and the time-outs that
// must all be long.
#pragma once

#include "Thrown.h"
#include "events/EventObj.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <string>
#include <thread>

using namespace std::chrono_literals;

// Long enough for any machine; a test that waits that long has failed.
inline constexpr auto LONG_WAIT = 30s;
// Long enough for a thread that does not wait to be done.
inline constexpr auto SHORT_WAIT = 50ms;

inline constexpr uint64_t INFINITE_TIMEOUT = 0xFFFFFFFFFFFFFFFF;

// Milliseconds that a clock's own unit, or 32 bits, cannot hold.
inline constexpr std::array<uint64_t, 9> ENDLESS_TIMEOUTS = {
    0x100000000,        0xFFFFFFFF,         0x7FFFFFFFFFFFFFFF,
    0x8000000000000000, 0xFFFFFFFFFFFFFFFE, 0xFFFFFFFF00000000,
    0xFFFFFFFEFFFFFFFF, 0xFFFFFFFFFFF7FFFF, INFINITE_TIMEOUT};

// Asks again and again until the condition holds; false after LONG_WAIT.
inline bool Eventually(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + LONG_WAIT;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

// A thread in GetData of an event. What it brought home may be looked at once it has ended.
class CWaitingThread {
public:
    static constexpr size_t CAPACITY = 256;

    CWaitingThread(GenICam::Client::CEventObj& event, uint64_t timeout)
        : m_thread([this, &event, timeout] { Run(event, timeout); }) {
        Eventually([this] { return m_started.load(); });
    }
    ~CWaitingThread() {
        if (!Ends()) {
            std::cerr << "A thread waits for an event without end.\n";
            std::abort();
        }
        m_thread.join();
    }
    CWaitingThread(const CWaitingThread&) = delete;
    CWaitingThread& operator=(const CWaitingThread&) = delete;

    bool HasEnded() const { return m_ended; }
    bool Ends() const {
        return Eventually([this] { return m_ended.load(); });
    }

    GC_ERROR code = 1;
    Failure failure;
    size_t size = CAPACITY;
    std::array<char, CAPACITY> data{};

private:
    void Run(GenICam::Client::CEventObj& event, uint64_t timeout) {
        m_started = true;
        failure = FailureOf([&] { code = event.GetData(data.data(), &size, timeout); });
        m_ended = true;
    }

    std::atomic<bool> m_started{false};
    std::atomic<bool> m_ended{false};
    std::thread m_thread;
};
