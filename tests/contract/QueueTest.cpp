#include "StreamFixtures.h"

namespace {

class QueueTest : public MonoStreamTest {};

TEST_F(QueueTest, AppendsToTheInputQueue) {
    AnnounceBuffers(2);
    EXPECT_OK(gentl.DSQueueBuffer(stream, buffers[0]));
    ExpectLengths(1, 0);
    ExpectFlags(buffers[0], true, false);
    ExpectFlags(buffers[1], false, false);
    EXPECT_OK(gentl.DSQueueBuffer(stream, buffers[1]));
    ExpectLengths(2, 0);
    ExpectFlags(buffers[1], true, false);
}

TEST_F(QueueTest, QueuedBufferIsNotQueuedTwice) {
    AnnounceBuffers(1);
    for (int i = 0; i < 3; ++i) {
        EXPECT_OK(gentl.DSQueueBuffer(stream, buffers[0]));
        ExpectLengths(1, 0);
    }
}

TEST_F(QueueTest, BuffersAreFilledInTheirOrder) {
    AnnounceBuffers(3);
    RegisterNewBuffer();
    const std::vector order = {buffers[2], buffers[0], buffers[1]};
    for (BUFFER_HANDLE buffer : order) {
        ASSERT_OK(gentl.DSQueueBuffer(stream, buffer));
    }
    Start();
    Produce(3);
    ASSERT_TRUE(Eventually([&] { return NumAwaitDelivery() == 3; }));
    EXPECT_EQ(FetchAll(), order);
}

TEST_F(QueueTest, FetchedBufferIsQueuedAgain) {
    Deliver(1);
    ASSERT_EQ(WaitBuffer().handle, buffers[0]);
    ExpectFlags(buffers[0], false, true);
    EXPECT_OK(gentl.DSQueueBuffer(stream, buffers[0]));
    ExpectFlags(buffers[0], true, false);
    ExpectLengths(1, 0);
    Produce(1);
    EXPECT_EQ(WaitBuffer().handle, buffers[0]);
}

TEST_F(QueueTest, BufferIsQueuedWhileItIsFilled) {
    StartWith(1);
    HangInGrab();
    ExpectLengths(0, 0);
    ExpectFlags(buffers[0], true, false);
    EXPECT_FALSE(BufferFlag(buffers[0], 6)) << "is acquiring";
    EXPECT_OK(gentl.DSQueueBuffer(stream, buffers[0]));
    ExpectLengths(0, 0);
    OptivoSim_Release();
    ASSERT_TRUE(Eventually([&] { return NumAwaitDelivery() == 1; }));
    ExpectFlags(buffers[0], false, true);
}

TEST_F(QueueTest, OtherBuffersAreQueuedWhileOneIsFilled) {
    AnnounceBuffers(2);
    RegisterNewBuffer();
    ASSERT_OK(gentl.DSQueueBuffer(stream, buffers[0]));
    Start();
    HangInGrab();
    int32_t answer = 77;
    EXPECT_TRUE(EndsDuringHang([&] { return gentl.DSQueueBuffer(stream, buffers[1]); }, &answer));
    EXPECT_OK(answer);
    EXPECT_EQ(NumQueued(), 1U);
    OptivoSim_Release();
    EXPECT_EQ(WaitBuffer().handle, buffers[0]);
}

// An image for which there is no buffer is dropped under the lock of the input queue.
TEST_F(QueueTest, WaitsWhileAnImageIsDropped) {
    AnnounceBuffers(1);
    Start();
    HangInGrab();
    auto answer =
        std::async(std::launch::async, [this] { return gentl.DSQueueBuffer(stream, buffers[0]); });
    EXPECT_FALSE(IsReady(answer, 30));
    EXPECT_EQ(NumQueued(), 0U);
    OptivoSim_Release();
    EXPECT_OK(answer.get());
    EXPECT_EQ(NumQueued(), 1U);
    EXPECT_EQ(NumUnderrun(), 1U);
}

// It then sits in both queues.
TEST_F(QueueTest, DeliveredBufferIsQueuedAgain) {
    Deliver(1);
    EXPECT_OK(gentl.DSQueueBuffer(stream, buffers[0]));
    ExpectLengths(1, 1);
    ExpectFlags(buffers[0], true, false);
    ASSERT_EQ(WaitBuffer(0).handle, buffers[0]);
    ExpectLengths(1, 0);
    ExpectFlags(buffers[0], false, true);
    EXPECT_OK(gentl.DSQueueBuffer(stream, buffers[0]));
    ExpectLengths(2, 0);
    Produce(2);
    ASSERT_TRUE(Eventually([&] { return NumAwaitDelivery() == 2; }));
    EXPECT_EQ(FetchAll(), (std::vector{buffers[0], buffers[0]}));
    ExpectLengths(0, 0);
}

TEST_F(QueueTest, BufferMayComeFromAnotherStream) {
    const DS_HANDLE announcer = OpenAnother();
    RegisterNewBuffer();
    BUFFER_HANDLE buffer = nullptr;
    ASSERT_OK(gentl.DSAnnounceBuffer(announcer, nullptr, IMAGE_SIZE, this, &buffer));
    EXPECT_OK(gentl.DSQueueBuffer(stream, buffer));
    ExpectLengths(1, 0);
    EXPECT_EQ(NumAnnounced(), 0U);
    EXPECT_EQ(Ask([&](auto... out) { return gentl.DSGetInfo(announcer, 4, out...); }),
              NumberInfo<uint32_t>(6, 0));
    EXPECT_FAILS(-1001, "Buffer queued", gentl.DSRevokeBuffer(announcer, buffer, nullptr, nullptr));
    Start(1);
    Produce(1);
    const NewBuffer image = WaitBuffer();
    EXPECT_EQ(image.handle, buffer);
    EXPECT_EQ(image.user, this);
    EXPECT_TRUE(HoldsImage(Memory(buffer), 0));
    EXPECT_OK(gentl.DSRevokeBuffer(announcer, buffer, nullptr, nullptr));
}

TEST_F(QueueTest, RefusesWhatIsNoBuffer) {
    for (void* handle : {tl, iface, device, remote, stream, BUFFER_HANDLE{nullptr}}) {
        EXPECT_FAILS(-1001, "Invalid Device Handle", gentl.DSQueueBuffer(stream, handle));
    }
    ExpectLengths(0, 0);
}

} // namespace
