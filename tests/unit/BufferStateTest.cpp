// What threads see of a buffer's state without a lock.
#include "modules/BufferInfo.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace {

using namespace GenICam::Client;

// A buffer that is neither queued nor delivered may be queued by a flush, or revoked.
TEST(BufferStateTest, ABufferIsNeverFreeWhileItIsDelivered) {
    constexpr int kRounds = 30000;
    CBufferInfo buffer(nullptr, 4, nullptr);
    std::atomic<int> numBegun{0};
    std::atomic<int> numEnded{0};
    std::thread acquisition([&] {
        for (int round = 1; round <= kRounds; ++round) {
            while (numBegun.load() != round) {
            }
            buffer.SetState(false, true, true);
            while (numEnded.load() != round) {
            }
        }
    });
    int numFree = 0;
    for (int round = 1; round <= kRounds; ++round) {
        buffer.SetState(true, false, false);
        numBegun = round;
        while (buffer.IsQueued()) {
        }
        numFree += buffer.IsDelivered() ? 0 : 1;
        numEnded = round;
    }
    acquisition.join();
    EXPECT_EQ(numFree, 0);
}

} // namespace
