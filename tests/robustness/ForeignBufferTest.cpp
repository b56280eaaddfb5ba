#include "Streams.h"

namespace {

// A buffer that one stream announced is queued in another; nothing forbids it.
class ForeignBufferTest : public SmallStreamTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(SmallStreamTest::SetUp());
        m_other = OpenOtherStream("DS1");
        ASSERT_NE(m_other, stream);
        ASSERT_OK(gentl.GCRegisterEvent(m_other, 1, &newBuffer));
        m_buffer = AnnounceMemory(PAYLOAD, this);
    }

    void TearDown() override {
        if (m_other != nullptr) {
            CloseOther();
        }
        SmallStreamTest::TearDown();
    }

    void QueueInOther() {
        ASSERT_OK(gentl.DSQueueBuffer(m_other, m_buffer));
        ASSERT_EQ(NumberOf(m_other, 4), 1U);
    }

    void StartOther() { ASSERT_OK(gentl.DSStartAcquisition(m_other, 0, GENTL_INFINITE)); }

    void CloseOther() {
        EXPECT_OK(gentl.DSClose(m_other));
        m_other = newBuffer = nullptr;
    }

    void Revoke() { ASSERT_OK(gentl.DSRevokeBuffer(stream, m_buffer, nullptr, nullptr)); }

    DS_HANDLE m_other = nullptr;
    BUFFER_HANDLE m_buffer = nullptr;
};

TEST_F(ForeignBufferTest, IsFilledAndDeliveredWhereItIsQueued) {
    QueueInOther();
    EXPECT_EQ(NumQueued(), 0U);
    StartOther();
    Produce(1);
    const NewBuffer image = WaitBuffer();
    EXPECT_OK(image.code);
    EXPECT_EQ(image.handle, m_buffer);
    EXPECT_EQ(image.user, this);
    Revoke();
}

TEST_F(ForeignBufferTest, CanOnlyBeRevokedFromItsOwnStream) {
    QueueInOther();
    EXPECT_FAILS(-1006, "Invalid Buffer Handle",
                 gentl.DSRevokeBuffer(m_other, m_buffer, nullptr, nullptr));
    EXPECT_FAILS(-1001, "Buffer queued", gentl.DSRevokeBuffer(stream, m_buffer, nullptr, nullptr));
    EXPECT_EQ(NumberOf(m_other, 4), 1U);
}

TEST_F(ForeignBufferTest, RevokedItLeavesTheInputQueueOfTheOtherStream) {
    QueueInOther();
    ASSERT_OK(gentl.DSFlushQueue(stream, 4));
    Revoke();
    EXPECT_EQ(NumberOf(m_other, 4), 0U);
    StartOther();
    Produce(1);
    EXPECT_TRUE(Eventually([this] { return NumberOf(m_other, 2) == 1; }));
    EXPECT_EQ(NumberOf(m_other, 5), 0U);
    EXPECT_CODE(-1011, WaitBuffer(0).code);
}

TEST_F(ForeignBufferTest, RevokedItLeavesTheOutputQueueOfTheOtherStream) {
    QueueInOther();
    ASSERT_OK(gentl.DSFlushQueue(m_other, 0));
    ASSERT_EQ(NumberOf(m_other, 5), 1U);
    ASSERT_OK(gentl.DSFlushQueue(stream, 4));
    Revoke();
    EXPECT_EQ(NumberOf(m_other, 5), 0U);
    EXPECT_EQ(NumAwaitDelivery(), 0U);
    EXPECT_CODE(-1011, WaitBuffer(0).code);
}

TEST_F(ForeignBufferTest, RevokingWaitsForTheOtherStreamToFillIt) {
    QueueInOther();
    StartOther();
    HangNextGrab();
    ASSERT_OK(gentl.DSFlushQueue(stream, 4));
    Background revoking(
        [this] { return gentl.DSRevokeBuffer(stream, m_buffer, nullptr, nullptr); });
    revoking.AwaitSleep();
    EXPECT_FALSE(revoking.IsDone());
    OptivoSim_Release();
    EXPECT_OK(revoking.Finish());
    EXPECT_EQ(NumberOf(m_other, 5), 0U);
    EXPECT_CODE(-1011, WaitBuffer(5).code);
}

TEST_F(ForeignBufferTest, RevokingHoldsUpNobodyElse) {
    QueueInOther();
    StartOther();
    HangNextGrab();
    ASSERT_OK(gentl.DSFlushQueue(stream, 4));
    Background revoking(
        [this] { return gentl.DSRevokeBuffer(stream, m_buffer, nullptr, nullptr); });
    revoking.AwaitSleep();
    Background opening([this] {
        DS_HANDLE third = nullptr;
        const int32_t code = gentl.DevOpenDataStream(device, "DS2", &third);
        return code != 0 ? code : gentl.DSClose(third);
    });
    EXPECT_TRUE(Eventually([&] { return opening.IsDone(); }));
    EXPECT_FALSE(revoking.IsDone());
    OptivoSim_Release();
    EXPECT_OK(opening.Finish());
    EXPECT_OK(revoking.Finish());
}

TEST_F(ForeignBufferTest, ClosingTheOtherStreamWaitsForTheRevoking) {
    QueueInOther();
    StartOther();
    HangNextGrab();
    ASSERT_OK(gentl.DSFlushQueue(stream, 4));
    Background revoking(
        [this] { return gentl.DSRevokeBuffer(stream, m_buffer, nullptr, nullptr); });
    revoking.AwaitSleep();
    Background closing([this] { return gentl.DSClose(m_other); });
    closing.AwaitSleep();
    EXPECT_FALSE(closing.IsDone());
    OptivoSim_Release();
    EXPECT_OK(revoking.Finish());
    EXPECT_OK(closing.Finish());
    m_other = newBuffer = nullptr;
}

// It is queued in its own stream too, which therefore keeps it when it closes.
class KeptForeignBufferTest : public ForeignBufferTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(ForeignBufferTest::SetUp());
        QueueInOther();
        CloseStream();
        // Its helpers ask the stream that is left.
        stream = std::exchange(m_other, nullptr);
    }
};

TEST_F(KeptForeignBufferTest, LeavesTheOtherStream) {
    EXPECT_EQ(NumQueued(), 0U);
    Start();
    Produce(1);
    EXPECT_TRUE(Eventually([this] { return NumUnderrun() == 1; }));
}

TEST_F(KeptForeignBufferTest, HasNoHandleAnyMore) {
    EXPECT_FAILS(-1001, "Invalid Device Handle", gentl.DSQueueBuffer(stream, m_buffer));
    EXPECT_FAILS(-1001, "Invalid Device Handle",
                 gentl.DSRevokeBuffer(stream, m_buffer, nullptr, nullptr));
    size_t size = 8;
    uint64_t value = 0;
    EXPECT_FAILS(-1001, "Invalid Device Handle",
                 gentl.DSGetBufferInfo(stream, m_buffer, 1, nullptr, &value, &size));
    EXPECT_FAILS(-1009, "Function call on wrong handle or NULL pointer.", [&] {
        uint32_t count = 0;
        return gentl.GCGetNumPortURLs(m_buffer, &count) == -1006 ? -1009 : 0;
    }());
}

TEST_F(ForeignBufferTest, SurvivesTheStreamThatItIsQueuedIn) {
    QueueInOther();
    CloseOther();
    EXPECT_TRUE(BufferFlag(m_buffer, 5));
    ASSERT_OK(gentl.DSFlushQueue(stream, 4));
    ASSERT_OK(gentl.DSQueueBuffer(stream, m_buffer));
    RegisterNewBuffer();
    ASSERT_EQ(WaitBuffer(0).handle, m_buffer);
    ASSERT_OK(gentl.DSFlushQueue(stream, 4));
    Revoke();
    EXPECT_EQ(NumQueued(), 0U);
    EXPECT_EQ(NumAwaitDelivery(), 0U);
}

TEST_F(ForeignBufferTest, SurvivesTheStreamThatFillsIt) {
    QueueInOther();
    StartOther();
    HangNextGrab();
    Background closing([this] { return gentl.DSClose(m_other); });
    ASSERT_TRUE(Eventually([] { return NumCalls(OPTIVO_STREAM_STOP_ACQUISITION) > 0; }));
    OptivoSim_Release();
    EXPECT_OK(closing.Finish());
    m_other = newBuffer = nullptr;
    ASSERT_OK(gentl.DSFlushQueue(stream, 4));
    Revoke();
}

// A discard clears the state of the buffers that the stream itself announced.
TEST_F(ForeignBufferTest, KeepsItsStateWhenTheOtherStreamDiscardsAll) {
    QueueInOther();
    ASSERT_OK(gentl.DSFlushQueue(m_other, 4));
    EXPECT_EQ(NumberOf(m_other, 4), 0U);
    EXPECT_EQ(NumberOf(m_other, 5), 0U);
    ASSERT_TRUE(BufferFlag(m_buffer, 5));
    EXPECT_FAILS(-1001, "Buffer queued", gentl.DSRevokeBuffer(stream, m_buffer, nullptr, nullptr));
    ASSERT_OK(gentl.DSFlushQueue(stream, 4));
    Revoke();
}

TEST_F(ForeignBufferTest, IsQueuedByItsOwnStreamAlthoughDeliveredElsewhere) {
    QueueInOther();
    ASSERT_OK(gentl.DSFlushQueue(m_other, 0));
    ASSERT_EQ(NumberOf(m_other, 5), 1U);
    EXPECT_FALSE(BufferFlag(m_buffer, 5));
    ASSERT_OK(gentl.DSFlushQueue(stream, 2));
    EXPECT_EQ(NumQueued(), 1U);
    EXPECT_TRUE(BufferFlag(m_buffer, 5));
    EXPECT_EQ(NumberOf(m_other, 5), 1U);
    ASSERT_OK(gentl.DSFlushQueue(stream, 4));
    Revoke();
    EXPECT_EQ(NumberOf(m_other, 5), 0U);
}

// Its own stream goes without it, as it is queued; the other one may go on filling it.
// Its own stream takes it along, as it seems to be in no queue.
TEST_F(ForeignBufferTest, EndsWithItsOwnStreamAfterADiscard) {
    QueueInOther();
    ASSERT_OK(gentl.DSFlushQueue(stream, 4));
    EXPECT_OK(gentl.DSClose(stream));
    stream = nullptr;
    EXPECT_EQ(NumberOf(m_other, 4), 0U);
    StartOther();
    Produce(1);
    EXPECT_TRUE(Eventually([this] { return NumberOf(m_other, 2) == 1; }));
    EXPECT_CODE(-1011, WaitBuffer(0).code);
}

TEST_F(ForeignBufferTest, MayBeQueuedInBothStreamsAtOnce) {
    for (int i = 0; i < 20; ++i) {
        const std::vector<int32_t> codes =
            RunTogether({[this] { return gentl.DSQueueBuffer(stream, m_buffer); },
                         [this] { return gentl.DSQueueBuffer(m_other, m_buffer); }});
        EXPECT_EQ(codes, (std::vector<int32_t>{0, 0}));
        EXPECT_GE(NumQueued() + NumberOf(m_other, 4), 1U);
        ASSERT_OK(gentl.DSFlushQueue(m_other, 4));
        ASSERT_OK(gentl.DSFlushQueue(stream, 4));
    }
    Revoke();
    EXPECT_EQ(NumQueued(), 0U);
    EXPECT_EQ(NumAwaitDelivery(), 0U);
}

} // namespace
