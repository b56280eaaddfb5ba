// What threads see of a buffer's state without a lock.
#include "modules/BufferInfo.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace {

using namespace GenICam::Client;

// A buffer that is neither queued nor delivered may be queued by a flush, or revoked.
TEST(BufferStateTest, ABufferIsNeverFreeWhileItIsDelivered) {
    constexpr int kRounds = 30000;
    constexpr int kOver = -1;
    constexpr std::chrono::seconds kLongest{5}; // on a busy machine
    CBufferInfo buffer(nullptr, 4, nullptr);
    std::atomic<int> numBegun{0};
    std::atomic<int> numEnded{0};
    std::thread acquisition([&] {
        for (int round = 1;; ++round) {
            while (numBegun.load() != round) {
                if (numBegun.load() == kOver) {
                    return;
                }
            }
            buffer.SetState(false, true, true);
            while (numEnded.load() != round) {
            }
        }
    });
    int numFree = 0;
    const auto end = std::chrono::steady_clock::now() + kLongest;
    for (int round = 1; round <= kRounds && std::chrono::steady_clock::now() < end; ++round) {
        buffer.SetState(true, false, false);
        numBegun = round;
        while (buffer.IsQueued()) {
        }
        numFree += buffer.IsDelivered() ? 0 : 1;
        numEnded = round;
    }
    numBegun = kOver;
    acquisition.join();
    EXPECT_EQ(numFree, 0);
}

} // namespace
