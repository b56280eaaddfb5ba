#include "Fixtures.h"

#include <algorithm>

namespace {

class TypicalUseTest : public StreamTest {};

TEST_F(TypicalUseTest, ImagesComeInTheOrderOfTheQueue) {
    StartWith(3);
    Produce(2);
    for (size_t i = 0; i < 2; ++i) {
        const NewBuffer image = WaitBuffer();
        ASSERT_EQ(image.code, 0);
        EXPECT_EQ(image.handle, buffers[i]);
        EXPECT_EQ(image.user, UserPointer(i));
        EXPECT_EQ(image.size, 16U);
        EXPECT_TRUE(BufferFlag(image.handle, 4));
        EXPECT_FALSE(BufferFlag(image.handle, 5));
    }
    EXPECT_EQ(NumDelivered(), 2U);
    EXPECT_EQ(NumUnderrun(), 0U);
    EXPECT_TRUE(IsGrabbing());
    EXPECT_FAILS(-1011, "Timeout", WaitBuffer(1).code);
    Stop();
    EXPECT_FALSE(IsGrabbing());
}

TEST_F(TypicalUseTest, BuffersGoRoundAndRound) {
    StartWith(2);
    for (size_t i = 0; i < 20; ++i) {
        Produce(1);
        const NewBuffer image = WaitBuffer();
        ASSERT_EQ(image.code, 0);
        EXPECT_EQ(image.handle, buffers[i % 2]);
        ASSERT_OK(gentl.DSQueueBuffer(stream, image.handle));
    }
    EXPECT_EQ(NumDelivered(), 20U);
    EXPECT_EQ(NumUnderrun(), 0U);
}

TEST_F(TypicalUseTest, ConsumersMemoryIsFilled) {
    const BUFFER_HANDLE buffer = AnnounceMemory(PayloadSize(), this);
    const Info base =
        Ask([&](auto... out) { return gentl.DSGetBufferInfo(stream, buffer, 0, out...); });
    const auto* memory = base.As<const unsigned char*>();
    ASSERT_NE(memory, nullptr);
    ASSERT_EQ(std::count(memory, memory + PayloadSize(), 0), static_cast<long>(PayloadSize()));
    QueueAll();
    RegisterNewBuffer();
    Start(1);
    Produce(1);
    const NewBuffer image = WaitBuffer();
    ASSERT_EQ(image.code, 0);
    EXPECT_EQ(image.handle, buffer);
    EXPECT_EQ(image.user, this);
    EXPECT_LT(std::count(memory, memory + PayloadSize(), 0), static_cast<long>(PayloadSize()) / 2);
    EXPECT_TRUE(Eventually([&] { return !IsGrabbing(); }));
}

TEST_F(TypicalUseTest, EverythingIsClosedInOrder) {
    StartWith(2);
    Produce(1);
    ASSERT_EQ(WaitBuffer().code, 0);
    Stop();
    EXPECT_OK(gentl.GCUnregisterEvent(stream, 1));
    EXPECT_OK(gentl.DSFlushQueue(stream, 4));
    for (size_t i = 0; i < buffers.size(); ++i) {
        void* user = nullptr;
        EXPECT_OK(gentl.DSRevokeBuffer(stream, buffers[i], nullptr, &user));
        EXPECT_EQ(user, UserPointer(i));
    }
    EXPECT_EQ(NumAnnounced(), 0U);
    CloseStream();
    CloseDevice();
    CloseInterface();
    CloseSystem();
}

TEST_F(TypicalUseTest, ClosingTheSystemEndsEverything) {
    StartWith(2);
    Produce(1);
    ASSERT_EQ(WaitBuffer().code, 0);
    CloseSystem();
}

} // namespace
