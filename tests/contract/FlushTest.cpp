#include "StreamFixtures.h"

namespace {

// Six buffers, announced in this order: one fetched, two in the output queue, two in the input
// queue, and one that was never queued. The acquisition is stopped.
class FlushTest : public MonoStreamTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(MonoStreamTest::SetUp());
        AnnounceBuffers(6);
        ASSERT_EQ(buffers.size(), 6U);
        RegisterNewBuffer();
        fetched = buffers[0];
        delivered = {buffers[1], buffers[2]};
        queued = {buffers[3], buffers[4]};
        idle = buffers[5];
        for (size_t i = 0; i < 3; ++i) {
            ASSERT_OK(gentl.DSQueueBuffer(stream, buffers[i]));
        }
        Start(3);
        Produce(3);
        ASSERT_TRUE(Eventually([&] { return NumAwaitDelivery() == 3; }));
        ASSERT_EQ(WaitBuffer().handle, fetched);
        Stop();
        for (BUFFER_HANDLE buffer : queued) {
            ASSERT_OK(gentl.DSQueueBuffer(stream, buffer));
        }
        ExpectUnchanged();
    }

    void Flush(ACQ_QUEUE_TYPE operation) { ASSERT_OK(gentl.DSFlushQueue(stream, operation)); }

    void ExpectUnchanged() {
        ExpectLengths(2, 2);
        ExpectFlags(fetched, false, true);
        ExpectDelivered();
        ExpectQueued();
        ExpectFlags(idle, false, false);
    }

    void ExpectDelivered() {
        for (BUFFER_HANDLE buffer : delivered) {
            ExpectFlags(buffer, false, true);
            ExpectNotRevocable(buffer);
        }
    }

    void ExpectQueued() {
        for (BUFFER_HANDLE buffer : queued) {
            ExpectFlags(buffer, true, false);
            ExpectNotRevocable(buffer);
        }
    }

    // Neither queued nor delivered, which is gone with the proof.
    void ExpectRevocable(BUFFER_HANDLE buffer) {
        EXPECT_OK(gentl.DSRevokeBuffer(stream, buffer, nullptr, nullptr));
    }

    // The input queue from front to back, which is filled thereby.
    std::vector<BUFFER_HANDLE> FillAll() {
        EXPECT_EQ(NumAwaitDelivery(), 0U);
        const uint64_t count = NumQueued();
        Start(count);
        Produce(count);
        EXPECT_TRUE(Eventually([&] { return NumAwaitDelivery() == count; }));
        Stop();
        return FetchAll();
    }

    BUFFER_HANDLE fetched = nullptr;
    BUFFER_HANDLE idle = nullptr;
    std::vector<BUFFER_HANDLE> delivered;
    std::vector<BUFFER_HANDLE> queued;
};

TEST_F(FlushTest, InputToOutput) {
    Flush(0);
    ExpectLengths(0, 4);
    for (BUFFER_HANDLE buffer : queued) {
        ExpectFlags(buffer, false, false);
        ExpectNotRevocable(buffer);
    }
    ExpectDelivered();
    ExpectFlags(fetched, false, true);
    ExpectFlags(idle, false, false);
    EXPECT_EQ(FetchAll(), (std::vector{delivered[0], delivered[1], queued[0], queued[1]}));
    for (BUFFER_HANDLE buffer : queued) {
        ExpectFlags(buffer, false, true);
    }
    for (BUFFER_HANDLE buffer : buffers) {
        ExpectRevocable(buffer);
    }
}

// Only that flush leaves new data in the input queue.
TEST_F(FlushTest, InputToOutputClearsNewData) {
    Flush(2);
    ExpectFlags(fetched, true, true);
    Flush(0);
    ExpectLengths(0, 6);
    for (BUFFER_HANDLE buffer : buffers) {
        ExpectFlags(buffer, false, false);
        ExpectNotRevocable(buffer);
    }
}

TEST_F(FlushTest, OutputDiscard) {
    Flush(1);
    ExpectLengths(2, 0);
    ExpectQueued();
    ExpectFlags(fetched, false, true);
    ExpectFlags(idle, false, false);
    for (BUFFER_HANDLE buffer : delivered) {
        ExpectFlags(buffer, false, false);
        ExpectRevocable(buffer);
    }
    EXPECT_EQ(FillAll(), queued);
}

TEST_F(FlushTest, OutputDiscardForgetsThatADeliveredBufferIsQueued) {
    ASSERT_OK(gentl.DSQueueBuffer(stream, delivered[0]));
    ExpectLengths(3, 2);
    Flush(1);
    ExpectLengths(3, 0);
    ExpectFlags(delivered[0], false, false);
    EXPECT_EQ(FillAll(), (std::vector{queued[0], queued[1], delivered[0]}));
}

TEST_F(FlushTest, AllToInput) {
    Flush(2);
    ExpectLengths(6, 0);
    ExpectQueued();
    for (BUFFER_HANDLE buffer : {delivered[0], delivered[1], idle}) {
        ExpectFlags(buffer, true, false);
        ExpectNotRevocable(buffer);
    }
    ExpectFlags(fetched, true, true);
    ExpectNotRevocable(fetched);
    EXPECT_EQ(FillAll(),
              (std::vector{queued[0], queued[1], delivered[0], delivered[1], fetched, idle}));
}

TEST_F(FlushTest, UnqueuedToInput) {
    Flush(3);
    ExpectLengths(4, 2);
    ExpectQueued();
    ExpectDelivered();
    for (BUFFER_HANDLE buffer : {fetched, idle}) {
        ExpectFlags(buffer, true, false);
        ExpectNotRevocable(buffer);
    }
    EXPECT_EQ(FetchAll(), delivered);
    EXPECT_EQ(FillAll(), (std::vector{queued[0], queued[1], fetched, idle}));
}

TEST_F(FlushTest, AllDiscard) {
    Flush(4);
    ExpectLengths(0, 6);
    EXPECT_EQ(NumAnnounced(), 6U);
    for (BUFFER_HANDLE buffer : buffers) {
        ExpectFlags(buffer, false, false);
    }
    EXPECT_EQ(FetchAll(), buffers);
    for (BUFFER_HANDLE buffer : buffers) {
        ExpectFlags(buffer, false, true);
    }
}

TEST_F(FlushTest, AllDiscardLeavesEveryBufferRevocable) {
    Flush(4);
    for (size_t i = 0; i < buffers.size(); ++i) {
        ExpectRevocable(buffers[i]);
        ExpectLengths(0, 5 - i);
    }
    EXPECT_EQ(NumAnnounced(), 0U);
}

TEST_F(FlushTest, AllDiscardTwiceLeavesEveryBufferOnce) {
    Flush(4);
    Flush(4);
    ExpectLengths(0, 6);
    EXPECT_EQ(FetchAll(), buffers);
}

TEST_F(FlushTest, AllDiscardFollowsTheOrderOfAnnouncement) {
    ASSERT_OK(gentl.DSRevokeBuffer(stream, fetched, nullptr, nullptr));
    Flush(4);
    EXPECT_EQ(FetchAll(), (std::vector(buffers.begin() + 1, buffers.end())));
}

TEST_F(FlushTest, DiscardedBuffersGoToTheInputOnce) {
    Flush(4);
    Flush(2);
    ExpectLengths(6, 0);
    EXPECT_EQ(FillAll(), buffers);
}

// Their state does not tell that they wait for delivery.
TEST_F(FlushTest, DiscardedBuffersCountAsUnqueued) {
    Flush(4);
    Flush(3);
    ExpectLengths(6, 6);
    EXPECT_EQ(FetchAll(), buffers);
    ExpectLengths(6, 0);
}

TEST_F(FlushTest, DiscardedBufferIsQueuedAgain) {
    Flush(4);
    EXPECT_OK(gentl.DSQueueBuffer(stream, idle));
    ExpectLengths(1, 6);
    ExpectFlags(idle, true, false);
}

TEST_F(FlushTest, DiscardedBuffersAreNotDeliveredOnceTheOutputIsDiscardedToo) {
    Flush(4);
    Flush(1);
    ExpectLengths(0, 0);
    for (BUFFER_HANDLE buffer : buffers) {
        EXPECT_OK(gentl.DSQueueBuffer(stream, buffer));
    }
    ExpectLengths(6, 0);
    EXPECT_EQ(FillAll(), buffers);
}

TEST_F(FlushTest, OtherOperationsDoNothing) {
    for (const ACQ_QUEUE_TYPE operation : {5, 6, 1000, 2147483647, -1, -2147483647 - 1}) {
        SCOPED_TRACE(operation);
        EXPECT_OK(gentl.DSFlushQueue(stream, operation));
        ExpectUnchanged();
    }
}

TEST_F(FlushTest, EmptyQueuesStayEmpty) {
    RenewStream();
    for (const ACQ_QUEUE_TYPE operation : {0, 1, 2, 3, 4}) {
        SCOPED_TRACE(operation);
        EXPECT_OK(gentl.DSFlushQueue(stream, operation));
        ExpectLengths(0, 0);
    }
}

TEST_F(FlushTest, EventFlushIsOutputDiscard) {
    EXPECT_OK(gentl.EventFlush(newBuffer));
    ExpectLengths(2, 0);
    ExpectQueued();
    ExpectFlags(fetched, false, true);
    for (BUFFER_HANDLE buffer : delivered) {
        ExpectFlags(buffer, false, false);
        ExpectRevocable(buffer);
    }
}

class RunningFlushTest : public MonoStreamTest {};

TEST_F(RunningFlushTest, FlushedBuffersAreFilled) {
    for (const ACQ_QUEUE_TYPE operation : {2, 3}) {
        SCOPED_TRACE(operation);
        AnnounceBuffers(2);
        RegisterNewBuffer();
        Start();
        EXPECT_OK(gentl.DSFlushQueue(stream, operation));
        Produce(2);
        ASSERT_TRUE(Eventually([&] { return NumAwaitDelivery() == 2; }));
        EXPECT_EQ(FetchAll(), buffers);
        RenewStream();
    }
}

// The buffer in the thread's hands is in no queue.
TEST_F(RunningFlushTest, BufferThatIsBeingFilledStaysOut) {
    StartWith(2);
    HangInGrab();
    for (const ACQ_QUEUE_TYPE operation : {3, 2}) {
        EXPECT_OK(gentl.DSFlushQueue(stream, operation));
        ExpectLengths(1, 0);
    }
    EXPECT_OK(gentl.DSFlushQueue(stream, 0));
    ExpectLengths(0, 1);
    OptivoSim_Release();
    ASSERT_TRUE(Eventually([&] { return NumAwaitDelivery() == 2; }));
    EXPECT_EQ(FetchAll(), (std::vector{buffers[1], buffers[0]}));
}

// The first of the buffers is being filled when a flush discards all of them.
class DiscardedFillTest : public MonoStreamTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(MonoStreamTest::SetUp());
        StartWith(2);
        HangInGrab();
        EXPECT_OK(gentl.DSFlushQueue(stream, 4));
        ExpectLengths(0, 2);
        ExpectFlags(buffers[0], false, false);
    }

    void EndFill() {
        OptivoSim_Release();
        ASSERT_TRUE(Eventually([&] { return NumDelivered() + NumUnderrun() == 1; }));
    }
};

TEST_F(DiscardedFillTest, ItIsFetchedOnceWithItsImage) {
    EXPECT_EQ(FetchAll(), std::vector{buffers[1]});
    ExpectLengths(0, 1);
    EndFill();
    EXPECT_EQ(NumDelivered(), 1U);
    ExpectFlags(buffers[0], false, true);
    ExpectNotRevocable(buffers[0]);
    EXPECT_EQ(FetchAll(), std::vector{buffers[0]});
    EXPECT_TRUE(HoldsImage(Memory(buffers[0]), 0));
    ExpectLengths(0, 0);
}

TEST_F(DiscardedFillTest, ItKeepsItsPlace) {
    EndFill();
    EXPECT_EQ(FetchAll(), buffers);
}

TEST_F(DiscardedFillTest, AWaitForItEndsWithTheFill) {
    ASSERT_EQ(FetchAll(), std::vector{buffers[1]});
    auto waiting = WaitElsewhere();
    EXPECT_FALSE(IsReady(waiting, 50));
    OptivoSim_Release();
    const NewBuffer image = waiting.get();
    EXPECT_OK(image.code);
    EXPECT_EQ(image.handle, buffers[0]);
}

TEST_F(DiscardedFillTest, AWaitForItEndsWithAFillThatBringsNoImage) {
    ASSERT_EQ(FetchAll(), std::vector{buffers[1]});
    auto waiting = WaitElsewhere();
    EXPECT_FALSE(IsReady(waiting, 50));
    ASSERT_EQ(OptivoSim_Unplug(camera.c_str()), 1);
    OptivoSim_Release();
    const NewBuffer discarded = waiting.get();
    EXPECT_OK(discarded.code);
    EXPECT_EQ(discarded.handle, buffers[0]);
    ExpectLengths(0, 0);
    EXPECT_EQ(NumDelivered(), 0U);
    EXPECT_TRUE(Eventually([&] { return !IsGrabbing(); }));
}

TEST_F(DiscardedFillTest, ADiscardOfTheOutputLosesTheImage) {
    EXPECT_OK(gentl.DSFlushQueue(stream, 1));
    EndFill();
    EXPECT_EQ(NumUnderrun(), 1U);
    ExpectLengths(0, 0);
    ExpectFlags(buffers[0], false, false);
}

TEST_F(DiscardedFillTest, ABufferThatIsQueuedAgainMeanwhileStaysQueued) {
    EXPECT_OK(gentl.DSFlushQueue(stream, 1));
    EXPECT_OK(gentl.DSQueueBuffer(stream, buffers[0]));
    EndFill();
    EXPECT_EQ(NumUnderrun(), 1U);
    ExpectLengths(1, 0);
    ExpectFlags(buffers[0], true, false);
    Produce(1);
    EXPECT_EQ(WaitBuffer().handle, buffers[0]);
    EXPECT_TRUE(HoldsImage(Memory(buffers[0]), 1));
}

TEST_F(DiscardedFillTest, ABufferThatWaitsInBothQueuesIsNotTornByItsFill) {
    EXPECT_OK(gentl.DSQueueBuffer(stream, buffers[0]));
    EndFill();
    EXPECT_EQ(NumUnderrun(), 1U);
    ExpectFlags(buffers[0], true, false);
    EXPECT_EQ(FetchAll(), buffers);
}

TEST_F(DiscardedFillTest, AllGoBackToTheInputQueueWithoutTheImage) {
    EXPECT_OK(gentl.DSFlushQueue(stream, 2));
    ExpectLengths(2, 0);
    EndFill();
    EXPECT_EQ(NumUnderrun(), 1U);
    ExpectLengths(2, 0);
    Produce(2);
    ASSERT_TRUE(Eventually([&] { return NumAwaitDelivery() == 2; }));
    EXPECT_EQ(FetchAll(), buffers);
}

TEST_F(DiscardedFillTest, RevokedItCountsItsImageAsLost) {
    auto revoking = std::async(std::launch::async, [&] {
        return gentl.DSRevokeBuffer(stream, buffers[0], nullptr, nullptr);
    });
    EXPECT_FALSE(IsReady(revoking, 50));
    EndFill();
    EXPECT_OK(revoking.get());
    EXPECT_EQ(NumUnderrun(), 1U);
    EXPECT_EQ(FetchAll(), std::vector{buffers[1]});
}

TEST_F(DiscardedFillTest, TheNextFillIsAnOrdinaryOne) {
    EndFill();
    ASSERT_EQ(FetchAll(), buffers);
    QueueAll();
    Produce(2);
    ASSERT_TRUE(Eventually([&] { return NumAwaitDelivery() == 2; }));
    EXPECT_EQ(FetchAll(), buffers);
}

} // namespace
