#include "DeviceFixtures.h"
#include "Maker.h"

namespace {

// The library reports events on a thread of its own.
class EventTest : public RemoteEventFixture {
protected:
    static constexpr uint64_t FIRST = 0xFFFFFFFE; // its successors need both halves
};

TEST_F(EventTest, ArriveWhileTheConsumerWaits) {
    const Waiter waiter(event, LONG_WAIT);
    EXPECT_EQ(Maker_Fire(camera.c_str(), 0x9001, FIRST), 1);
    EXPECT_EQ(waiter.Result(), DeviceEvent::Of(0x9001, FIRST));
}

TEST_F(EventTest, WaitInOrderUntilTheyAreFetched) {
    constexpr uint32_t COUNT = 100;
    EXPECT_EQ(Maker_FireMany(camera.c_str(), 0x9002, FIRST, COUNT), 1);
    ASSERT_TRUE(Eventually([this] { return NumFired() == COUNT; }));
    EXPECT_EQ(NumInQueue(), COUNT);
    for (uint32_t i = 0; i < COUNT; ++i) {
        ASSERT_EQ(Read(0), DeviceEvent::Of(0x9002, FIRST + i));
    }
    EXPECT_FALSE(Read(0).IsData());
}

TEST_F(EventTest, EndWithTheRegistration) {
    ASSERT_EQ(Maker_HasCallback(camera.c_str()), 1);
    ASSERT_OK(Unregister());
    EXPECT_EQ(Maker_HasCallback(camera.c_str()), 0);
    EXPECT_EQ(Maker_Fire(camera.c_str(), 0x9001, 1), 0);
    ASSERT_OK(Register());
    EXPECT_EQ(Maker_Fire(camera.c_str(), 0x9001, 2), 1);
    EXPECT_EQ(Read(), DeviceEvent::Of(0x9001, 2));
}

// The system goes while events are still on their way.
TEST_F(EventTest, ManyArePendingAtTheClose) {
    EXPECT_EQ(Maker_FireMany(camera.c_str(), 0x9001, 0, 1000), 1);
    CloseSystem();
}

} // namespace
