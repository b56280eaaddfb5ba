// Waiting for what another thread is about to finish.
#pragma once

#include <chrono>
#include <thread>

namespace GenICam::Client {

// Gives the processor away between two looks, and sleeps once that was in vain for a while: a
// thread of a higher priority would else keep the processor from the one that it waits for.
class CPatience {
public:
    void Pause() {
        constexpr unsigned kRoundsAwake = 100;
        if (m_rounds < kRoundsAwake) {
            ++m_rounds;
            std::this_thread::yield();
        } else {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

private:
    unsigned m_rounds = 0;
};

} // namespace GenICam::Client
