#include "Streams.h"

#include <algorithm>
#include <set>

namespace {

// What every consumer does between two acquisitions: stop, discard, revoke, announce, start.
class BufferCycleTest : public SmallStreamTest {
protected:
    static constexpr size_t NUM_BUFFERS = 4;

    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(SmallStreamTest::SetUp());
        Unpace();
    }

    // Announces buffers whose private pointers belong to this cycle alone.
    void AnnounceAnew(size_t cycle) {
        m_users.clear();
        buffers.clear();
        for (size_t i = 0; i < NUM_BUFFERS; ++i) {
            void* user = UserPointer(cycle * NUM_BUFFERS + i);
            BUFFER_HANDLE buffer = nullptr;
            ASSERT_OK(gentl.DSAllocAndAnnounceBuffer(stream, PAYLOAD, user, &buffer));
            buffers.push_back(buffer);
            m_users.insert(user);
        }
    }

    void ReceiveAndRequeue(size_t count) {
        for (size_t i = 0; i < count; ++i) {
            const NewBuffer image = WaitBuffer();
            ASSERT_OK(image.code);
            ASSERT_EQ(m_users.count(image.user), 1U) << "a buffer of an earlier cycle";
            ASSERT_EQ(std::count(buffers.begin(), buffers.end(), image.handle), 1);
            ASSERT_OK(gentl.DSQueueBuffer(stream, image.handle));
        }
    }

    void RevokeAll() {
        for (BUFFER_HANDLE buffer : buffers) {
            ASSERT_OK(gentl.DSRevokeBuffer(stream, buffer, nullptr, nullptr));
        }
    }

    void ExpectNothingLeft() {
        EXPECT_EQ(NumAnnounced(), 0U);
        EXPECT_EQ(NumQueued(), 0U);
        EXPECT_EQ(NumAwaitDelivery(), 0U);
    }

private:
    std::set<void*> m_users;
};

TEST_F(BufferCycleTest, NoRevokedBufferIsEverDelivered) {
    for (size_t cycle = 0; cycle < 50; ++cycle) {
        SCOPED_TRACE(cycle);
        ASSERT_NO_FATAL_FAILURE(AnnounceAnew(cycle));
        ASSERT_NO_FATAL_FAILURE(QueueAll());
        ASSERT_NO_FATAL_FAILURE(RegisterNewBuffer());
        ASSERT_NO_FATAL_FAILURE(Start());
        ASSERT_NO_FATAL_FAILURE(ReceiveAndRequeue(6));
        ASSERT_NO_FATAL_FAILURE(Stop());
        ASSERT_OK(gentl.GCUnregisterEvent(stream, 1));
        ASSERT_OK(gentl.DSFlushQueue(stream, 4));
        ASSERT_EQ(NumAwaitDelivery(), NUM_BUFFERS);
        ASSERT_NO_FATAL_FAILURE(RevokeAll());
        ExpectNothingLeft();
    }
}

// As a consumer does that is in a hurry: the images flow on while it discards and revokes.
TEST_F(BufferCycleTest, BuffersMayGoWhileImagesFlow) {
    ASSERT_NO_FATAL_FAILURE(RegisterNewBuffer());
    ASSERT_NO_FATAL_FAILURE(Start());
    for (size_t cycle = 0; cycle < 50; ++cycle) {
        SCOPED_TRACE(cycle);
        ASSERT_NO_FATAL_FAILURE(AnnounceAnew(cycle));
        ASSERT_NO_FATAL_FAILURE(QueueAll());
        ASSERT_NO_FATAL_FAILURE(ReceiveAndRequeue(6));
        for (BUFFER_HANDLE buffer : buffers) {
            // A buffer that is filled just then is delivered after the discard.
            int32_t code = -1001;
            while (code == -1001) {
                ASSERT_OK(gentl.DSFlushQueue(stream, 4));
                code = gentl.DSRevokeBuffer(stream, buffer, nullptr, nullptr);
            }
            ASSERT_OK(code);
        }
        ExpectNothingLeft();
    }
}

TEST_F(BufferCycleTest, RevokedAfterADiscardTheyLeaveTheOutputQueue) {
    ASSERT_NO_FATAL_FAILURE(AnnounceAnew(0));
    ASSERT_NO_FATAL_FAILURE(QueueAll());
    ASSERT_NO_FATAL_FAILURE(RegisterNewBuffer());
    ASSERT_OK(gentl.DSFlushQueue(stream, 4));
    ASSERT_OK(gentl.DSRevokeBuffer(stream, buffers[1], nullptr, nullptr));
    EXPECT_EQ(NumAwaitDelivery(), 3U);
    EXPECT_EQ(WaitBuffer(0).handle, buffers[0]);
    EXPECT_EQ(WaitBuffer(0).handle, buffers[2]);
    EXPECT_EQ(WaitBuffer(0).handle, buffers[3]);
    EXPECT_CODE(-1011, WaitBuffer(0).code);
}

// A delivered buffer that is queued before it is fetched is in both queues, and fetching it makes
// it look as if it were in none.
TEST_F(BufferCycleTest, RevokedItLeavesBothQueues) {
    ASSERT_NO_FATAL_FAILURE(AnnounceAnew(0));
    ASSERT_OK(gentl.DSFlushQueue(stream, 4));
    const BUFFER_HANDLE buffer = buffers[0];
    ASSERT_OK(gentl.DSQueueBuffer(stream, buffer));
    EXPECT_EQ(NumQueued(), 1U);
    EXPECT_EQ(NumAwaitDelivery(), 4U);
    ASSERT_NO_FATAL_FAILURE(RegisterNewBuffer());
    ASSERT_EQ(WaitBuffer(0).handle, buffer);
    ASSERT_FALSE(BufferFlag(buffer, 5));
    ASSERT_OK(gentl.DSQueueBuffer(stream, buffer));
    EXPECT_EQ(NumQueued(), 2U);
    ASSERT_OK(gentl.DSFlushQueue(stream, 0));
    EXPECT_EQ(NumAwaitDelivery(), 5U);
    ASSERT_EQ(WaitBuffer(0).handle, buffers[1]);
    ASSERT_EQ(WaitBuffer(0).handle, buffers[2]);
    ASSERT_EQ(WaitBuffer(0).handle, buffers[3]);
    ASSERT_EQ(WaitBuffer(0).handle, buffer);
    EXPECT_EQ(NumAwaitDelivery(), 1U);

    ASSERT_OK(gentl.DSRevokeBuffer(stream, buffer, nullptr, nullptr));
    EXPECT_EQ(NumQueued(), 0U);
    EXPECT_EQ(NumAwaitDelivery(), 0U);
    EXPECT_CODE(-1011, WaitBuffer(0).code);
}

// The camera library is writing an image into the buffer when the consumer discards and revokes it.
class BufferBeingFilledTest : public SmallStreamTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(SmallStreamTest::SetUp());
        m_memory = std::make_unique<unsigned char[]>(PAYLOAD);
        ASSERT_OK(gentl.DSAnnounceBuffer(stream, m_memory.get(), PAYLOAD, this, &m_buffer));
        ASSERT_OK(gentl.DSQueueBuffer(stream, m_buffer));
        ASSERT_NO_FATAL_FAILURE(RegisterNewBuffer());
        ASSERT_NO_FATAL_FAILURE(Start());
        ASSERT_NO_FATAL_FAILURE(HangNextGrab());
        ASSERT_OK(gentl.DSFlushQueue(stream, 4));
    }

    std::unique_ptr<Background> Revoke() {
        auto revoking = std::make_unique<Background>(
            [this] { return gentl.DSRevokeBuffer(stream, m_buffer, nullptr, nullptr); });
        revoking->AwaitSleep();
        EXPECT_FALSE(revoking->IsDone()) << "the library still writes into the buffer";
        return revoking;
    }

    // A consumer that revoked a buffer frees its memory.
    void ExpectGone() {
        m_memory.reset();
        EXPECT_EQ(NumAnnounced(), 0U);
        EXPECT_EQ(NumQueued(), 0U);
        EXPECT_EQ(NumAwaitDelivery(), 0U);
        EXPECT_CODE(-1011, WaitBuffer(5).code);
    }

    std::unique_ptr<unsigned char[]> m_memory;
    BUFFER_HANDLE m_buffer = nullptr;
};

TEST_F(BufferBeingFilledTest, RevokingWaitsForTheFillAndTheThreadDropsIt) {
    const auto revoking = Revoke();
    OptivoSim_Release();
    EXPECT_OK(revoking->Finish());
    ExpectGone();
    EXPECT_TRUE(IsGrabbing());

    AnnounceBuffers(1);
    QueueAll();
    Produce(1);
    EXPECT_EQ(WaitBuffer().handle, buffers[0]);
}

TEST_F(BufferBeingFilledTest, RevokedItIsNotPutBackIntoTheInputQueue) {
    Background stopping([this] { return gentl.DSStopAcquisition(stream, 0); });
    ASSERT_TRUE(Eventually([] { return NumCalls(OPTIVO_STREAM_STOP_ACQUISITION) > 0; }));
    const auto revoking = Revoke();
    OptivoSim_Release();
    EXPECT_OK(revoking->Finish());
    EXPECT_OK(stopping.Finish());
    ExpectGone();
}

TEST_F(BufferBeingFilledTest, ItIsDeliveredWhenItWasOnlyDiscarded) {
    EXPECT_CODE(-1011, WaitBuffer(0).code);
    OptivoSim_Release();
    EXPECT_EQ(WaitBuffer().handle, m_buffer);
    EXPECT_EQ(NumDelivered(), 1U);
    EXPECT_CODE(-1011, WaitBuffer(0).code);
    EXPECT_OK(gentl.DSRevokeBuffer(stream, m_buffer, nullptr, nullptr));
    ExpectGone();
}

TEST_F(BufferBeingFilledTest, RevokingOneThatWasQueuedAgainTakesItOutOfTheInputQueueToo) {
    ASSERT_OK(gentl.DSQueueBuffer(stream, m_buffer));
    EXPECT_FAILS(-1001, "Buffer queued", gentl.DSRevokeBuffer(stream, m_buffer, nullptr, nullptr));
    ASSERT_OK(gentl.DSFlushQueue(stream, 4));
    const auto revoking = Revoke();
    OptivoSim_Release();
    EXPECT_OK(revoking->Finish());
    ExpectGone();
}

} // namespace
