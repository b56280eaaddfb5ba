#include "core/CallCounter.h"
#include "EventFixture.h"

#include <atomic>
#include <memory>
#include <thread>

namespace {

using GenICam::Client::CCallCounter;

TEST(CallCounterTest, DrainsAtOnceWhenNoCallIsInside) {
    CCallCounter counter;
    counter.Drain();
    {
        const CCallCounter::CScope call(counter);
        const CCallCounter::CScope nested(counter);
    }
    counter.Drain();
}

TEST(CallCounterTest, DrainsWhenTheLastCallHasLeft) {
    CCallCounter counter;
    auto first = std::make_unique<CCallCounter::CScope>(counter);
    auto second = std::make_unique<CCallCounter::CScope>(counter);
    std::atomic<bool> drained{false};
    std::thread waiter([&] {
        counter.Drain();
        drained = true;
    });
    first.reset();
    std::this_thread::sleep_for(20ms);
    EXPECT_FALSE(drained);
    second.reset();
    EXPECT_TRUE(Eventually([&] { return drained.load(); }));
    waiter.join();
}

} // namespace
