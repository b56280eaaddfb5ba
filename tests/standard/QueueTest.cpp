// Buffers and their queues: each is delivered once for each time that it was queued.
#include "Background.h"
#include "StandardFixtures.h"

#include <algorithm>

namespace {

class StandardQueueTest : public StandardStreamTest {
protected:
    void ExpectQueuedFlag(BUFFER_HANDLE buffer, bool isQueued) {
        ExpectAnswer(BufferInfo(buffer, 5), BoolInfo(isQueued));
    }

    // Nothing of an image before stays in the memory.
    void Blank() {
        for (BUFFER_HANDLE buffer : buffers) {
            std::memset(Memory(buffer), 0, IMAGE_SIZE);
        }
    }

    // What is queued or delivered is refused.
    void QueueWhatIsFree() {
        for (BUFFER_HANDLE buffer : buffers) {
            gentl.DSQueueBuffer(stream, buffer);
        }
    }

    void DiscardAll() { ASSERT_OK(gentl.DSFlushQueue(stream, 4)); }
};

TEST_F(StandardQueueTest, RefusesABufferThatIsQueued) {
    AnnounceBuffers(1);
    ASSERT_NO_FATAL_FAILURE(QueueAll());
    EXPECT_REFUSES(-1004, gentl.DSQueueBuffer(stream, buffers[0]));
    EXPECT_EQ(NumQueued(), 1U);
}

TEST_F(StandardQueueTest, OfThreadsThatQueueABufferAtOnceOneDoes) {
    AnnounceBuffers(1);
    const auto queue = [this] { return gentl.DSQueueBuffer(stream, buffers[0]); };
    for (int i = 0; i < 300; ++i) {
        auto codes = RunTogether({queue, queue, queue});
        std::sort(codes.begin(), codes.end());
        ASSERT_EQ(codes, (std::vector<int32_t>{-1004, -1004, 0}));
        ASSERT_EQ(NumQueued(), 1U);
        DiscardAll();
    }
}

TEST_F(StandardQueueTest, RefusesABufferThatIsDelivered) {
    Deliver(1);
    EXPECT_REFUSES(-1004, gentl.DSQueueBuffer(stream, buffers[0]));
    EXPECT_EQ(Fetch(), buffers[0]);
    EXPECT_OK(gentl.DSQueueBuffer(stream, buffers[0]));
}

TEST_F(StandardQueueTest, RevokesNoBufferThatIsQueued) {
    AnnounceBuffers(1);
    ASSERT_NO_FATAL_FAILURE(QueueAll());
    EXPECT_REFUSES(-1004, gentl.DSRevokeBuffer(stream, buffers[0], nullptr, nullptr));
    EXPECT_EQ(NumAnnounced(), 1U);
}

TEST_F(StandardQueueTest, RevokesNoBufferThatIsDelivered) {
    Deliver(1);
    EXPECT_REFUSES(-1004, gentl.DSRevokeBuffer(stream, buffers[0], nullptr, nullptr));
    EXPECT_EQ(Fetch(), buffers[0]) << "it is still there";
}

TEST_F(StandardQueueTest, RevokesABufferThatWasFetched) {
    Deliver(1);
    Fetch();
    EXPECT_OK(gentl.DSRevokeBuffer(stream, buffers[0], nullptr, nullptr));
    EXPECT_EQ(NumAnnounced(), 0U);
}

TEST_F(StandardQueueTest, RevokesABufferThatWasDiscarded) {
    Deliver(1);
    AnnounceBuffers(1);
    EXPECT_OK(gentl.DSQueueBuffer(stream, buffers[1]));
    DiscardAll();
    EXPECT_OK(gentl.DSRevokeBuffer(stream, buffers[0], nullptr, nullptr));
    EXPECT_OK(gentl.DSRevokeBuffer(stream, buffers[1], nullptr, nullptr));
}

TEST_F(StandardQueueTest, GivesTheMemoryBack) {
    std::vector<unsigned char> memory(IMAGE_SIZE);
    BUFFER_HANDLE buffer = nullptr;
    ASSERT_OK(
        gentl.DSAnnounceBuffer(stream, memory.data(), memory.size(), UserPointer(3), &buffer));
    void* base = nullptr;
    void* user = nullptr;
    EXPECT_OK(gentl.DSRevokeBuffer(stream, buffer, &base, &user));
    EXPECT_EQ(base, memory.data());
    EXPECT_EQ(user, UserPointer(3));
}

TEST_F(StandardQueueTest, RefusesABufferOfNothing) {
    BUFFER_HANDLE buffer = this;
    char memory[1];
    EXPECT_REFUSES(-1009, gentl.DSAnnounceBuffer(stream, nullptr, 1, nullptr, &buffer));
    EXPECT_REFUSES(-1009, gentl.DSAnnounceBuffer(stream, memory, 0, nullptr, &buffer));
    EXPECT_REFUSES(-1009, gentl.DSAllocAndAnnounceBuffer(stream, 0, nullptr, &buffer));
    EXPECT_REFUSES(-1009, gentl.DSAnnounceBuffer(stream, memory, 1, nullptr, nullptr));
    EXPECT_REFUSES(-1009, gentl.DSAllocAndAnnounceBuffer(stream, 1, nullptr, nullptr));
    EXPECT_EQ(buffer, this);
    EXPECT_EQ(NumAnnounced(), 0U);
}

TEST_F(StandardQueueTest, RefusesABufferWithoutMemory) {
    BUFFER_HANDLE buffer = this;
    EXPECT_REFUSES(-1021, gentl.DSAllocAndAnnounceBuffer(stream, SIZE_MAX / 2, nullptr, &buffer));
    EXPECT_EQ(buffer, this);
    EXPECT_EQ(NumAnnounced(), 0U);
}

TEST_F(StandardQueueTest, ListsBuffersByIndex) {
    AnnounceBuffers(2);
    for (uint32_t i = 0; i < 2; ++i) {
        BUFFER_HANDLE buffer = nullptr;
        EXPECT_OK(gentl.DSGetBufferID(stream, i, &buffer));
        EXPECT_EQ(buffer, buffers[i]);
    }
    for (const uint32_t index : {2U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        BUFFER_HANDLE buffer = this;
        EXPECT_REFUSES(-1017, gentl.DSGetBufferID(stream, index, &buffer));
        EXPECT_EQ(buffer, this);
    }
    EXPECT_REFUSES(-1009, gentl.DSGetBufferID(stream, 0, nullptr));
}

TEST_F(StandardQueueTest, DeliversTheUserPointer) {
    Deliver(2);
    EXPECT_EQ(WaitBuffer().user, UserPointer(0));
    EXPECT_EQ(WaitBuffer().user, UserPointer(1));
}

TEST_F(StandardQueueTest, DeliversNothingAfterADiscard) {
    Deliver(2);
    DiscardAll();
    ExpectNothing();
    ExpectLengths(0, 0);
    ExpectQueuedFlag(buffers[0], false);
    ExpectAnswer(BufferInfo(buffers[0], 4), BoolInfo(false));
}

TEST_F(StandardQueueTest, DeliversNothingOldAfterADiscardAndQueueing) {
    Deliver(2);
    DiscardAll();
    ASSERT_NO_FATAL_FAILURE(QueueAll());
    ExpectNothing();
    ExpectLengths(2, 0);
}

TEST_F(StandardQueueTest, DeliversOnlyNewImagesWhenAStreamStartsAgain) {
    AnnounceBuffers(4);
    RegisterNewBuffer();
    for (int start = 0; start < 20 && !HasFailure(); ++start) {
        SCOPED_TRACE(start);
        Blank();
        ASSERT_NO_FATAL_FAILURE(QueueAll());
        Start();
        Produce(3);
        for (uint64_t number = 0; number < 2; ++number) {
            const BUFFER_HANDLE image = Fetch();
            EXPECT_TRUE(HoldsImage(Memory(image), number));
            ExpectAnswer(BufferInfo(image, 16), NumberInfo<uint64_t>(8, number));
        }
        // One is delivered and not fetched, and one is queued.
        ASSERT_TRUE(Eventually([&] { return NumAwaitDelivery() == 1; }));
        Stop();
        DiscardAll();
        ExpectNothing();
    }
}

TEST_F(StandardQueueTest, DeliversNoImageThatWasUnderWayWhenItWasDiscarded) {
    StartWith(1);
    ASSERT_NO_FATAL_FAILURE(HangInGrab());
    DiscardAll();
    OptivoSim_Release();
    ExpectNothing();
    ASSERT_NO_FATAL_FAILURE(QueueAll());
    Blank();
    FetchNew();
    EXPECT_TRUE(HoldsImage(Memory(buffers[0]), 1));
}

TEST_F(StandardQueueTest, DeliversNoImageThatWasUnderWayWhenItWasDiscardedAndQueuedAgain) {
    StartWith(1);
    ASSERT_NO_FATAL_FAILURE(HangInGrab());
    DiscardAll();
    ASSERT_NO_FATAL_FAILURE(QueueAll());
    OptivoSim_Release();
    ExpectNothing();
    FetchNew();
    EXPECT_TRUE(HoldsImage(Memory(buffers[0]), 1));
    ExpectNothing();
}

TEST_F(StandardQueueTest, RevokesABufferThatIsFilledWhenThatIsOver) {
    StartWith(1);
    ASSERT_NO_FATAL_FAILURE(HangInGrab());
    DiscardAll();
    auto revoked = std::async(std::launch::async, [&] {
        return gentl.DSRevokeBuffer(stream, buffers[0], nullptr, nullptr);
    });
    EXPECT_FALSE(IsReady(revoked, 50)) << "the camera library writes to it";
    OptivoSim_Release();
    EXPECT_OK(revoked.get());
}

TEST_F(StandardQueueTest, RevokesNoBufferThatIsFilled) {
    StartWith(1);
    ASSERT_NO_FATAL_FAILURE(HangInGrab());
    EXPECT_REFUSES(-1004, gentl.DSRevokeBuffer(stream, buffers[0], nullptr, nullptr));
    OptivoSim_Release();
    EXPECT_EQ(Fetch(), buffers[0]);
}

TEST_F(StandardQueueTest, DiscardsWhatIsDelivered) {
    Deliver(2);
    EXPECT_OK(gentl.DSFlushQueue(stream, 1));
    ExpectNothing();
    EXPECT_OK(gentl.DSQueueBuffer(stream, buffers[0]));
    EXPECT_OK(gentl.DSRevokeBuffer(stream, buffers[1], nullptr, nullptr));
}

TEST_F(StandardQueueTest, LeavesWhatIsQueuedWhenItDiscardsWhatIsDelivered) {
    StartWith(2);
    Produce(1);
    ASSERT_TRUE(Eventually([&] { return NumAwaitDelivery() == 1; }));
    EXPECT_OK(gentl.DSFlushQueue(stream, 1));
    ExpectLengths(1, 0);
    EXPECT_EQ(FetchNew(), buffers[1]);
}

TEST_F(StandardQueueTest, QueuesAllAnew) {
    Deliver(2);
    EXPECT_OK(gentl.DSFlushQueue(stream, 2));
    ExpectLengths(2, 0);
    ExpectNothing();
    EXPECT_REFUSES(-1004, gentl.DSQueueBuffer(stream, buffers[0]));
    Blank();
    const BUFFER_HANDLE image = FetchNew();
    EXPECT_TRUE(HoldsImage(Memory(image), 2));
}

TEST_F(StandardQueueTest, QueuesWhatIsNotQueued) {
    StartWith(3);
    Produce(2);
    ASSERT_TRUE(Eventually([&] { return NumAwaitDelivery() == 2; }));
    EXPECT_EQ(Fetch(), buffers[0]);
    EXPECT_OK(gentl.DSFlushQueue(stream, 3));
    ExpectLengths(2, 1);
    EXPECT_EQ(Fetch(), buffers[1]) << "what was delivered stays so";
    EXPECT_EQ(FetchNew(), buffers[2]);
    EXPECT_EQ(FetchNew(), buffers[0]);
}

TEST_F(StandardQueueTest, RefusesAnUnknownFlush) {
    for (const ACQ_QUEUE_TYPE operation : {-1, 5, 1000}) {
        EXPECT_REFUSES(-1009, gentl.DSFlushQueue(stream, operation)) << operation;
    }
}

TEST_F(StandardQueueTest, HandsOverWhatIsQueuedWithoutImage) {
    AnnounceBuffers(2);
    ASSERT_NO_FATAL_FAILURE(QueueAll());
    RegisterNewBuffer();
    EXPECT_OK(gentl.DSFlushQueue(stream, 0));
    for (BUFFER_HANDLE buffer : buffers) {
        const NewBuffer got = WaitBuffer();
        EXPECT_OK(got.code);
        EXPECT_EQ(got.handle, buffer);
        ExpectAnswer(BufferInfo(buffer, 4), BoolInfo(false));
        ExpectAnswer(BufferInfo(buffer, 9), NumberInfo<size_t>(12, 0));
        EXPECT_REFUSES(-1014, BufferInfoCode(buffer, 17));
        EXPECT_REFUSES(-1014, BufferInfoCode(buffer, 10));
        EXPECT_REFUSES(-1014, BufferInfoCode(buffer, 16));
    }
    ExpectNothing();
}

TEST_F(StandardQueueTest, SaysOfNoBufferThatItIsNewBeforeItIsHandedOverWithoutImage) {
    AnnounceBuffers(1);
    ASSERT_NO_FATAL_FAILURE(QueueAll());
    EXPECT_OK(gentl.DSFlushQueue(stream, 0));
    ExpectAnswer(BufferInfo(buffers[0], 4), BoolInfo(false));
    EXPECT_REFUSES(-1004, gentl.DSQueueBuffer(stream, buffers[0]));
}

TEST_F(StandardQueueTest, HandsOverTheImageThatCameBeforeWhatHasNone) {
    StartWith(2);
    Produce(1);
    ASSERT_TRUE(Eventually([&] { return NumAwaitDelivery() == 1; }));
    EXPECT_OK(gentl.DSFlushQueue(stream, 0));
    EXPECT_EQ(Fetch(), buffers[0]);
    ExpectAnswer(BufferInfo(buffers[0], 4), BoolInfo(true));
    ExpectAnswer(BufferInfo(buffers[0], 17), BoolInfo(true));
    EXPECT_EQ(Fetch(), buffers[1]);
    ExpectAnswer(BufferInfo(buffers[1], 4), BoolInfo(false));
}

TEST_F(StandardQueueTest, FillsABufferThatWasHandedOverWithoutImage) {
    StartWith(1);
    EXPECT_OK(gentl.DSFlushQueue(stream, 0));
    Fetch();
    ASSERT_NO_FATAL_FAILURE(QueueAll());
    FetchNew();
    ExpectAnswer(BufferInfo(buffers[0], 4), BoolInfo(true));
    EXPECT_TRUE(HoldsImage(Memory(buffers[0]), 0));
}

// The thread that waits gets them while they are still being moved.
TEST_F(StandardQueueTest, HandsOverWithoutImageToAThreadThatWaits) {
    AnnounceBuffers(64, 64);
    RegisterNewBuffer();
    for (int round = 0; round < 20 && !HasFailure(); ++round) {
        ASSERT_NO_FATAL_FAILURE(QueueAll());
        auto numWithImage = std::async(std::launch::async, [&] {
            int count = 0;
            for (size_t i = 0; i < buffers.size(); ++i) {
                const NewBuffer got = WaitBuffer();
                bool8_t isNew = 1;
                size_t size = sizeof isNew;
                gentl.DSGetBufferInfo(stream, got.handle, 4, nullptr, &isNew, &size);
                count += got.code == 0 ? isNew : 1000;
            }
            return count;
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        EXPECT_OK(gentl.DSFlushQueue(stream, 0));
        EXPECT_EQ(numWithImage.get(), 0);
    }
}

// Images come as fast as they are taken, so that some come in the middle of a flush.
TEST_F(StandardQueueTest, LosesNoBufferAndTearsNoImageWhenItIsFlushedWhileImagesCome) {
    AnnounceBuffers(32);
    RegisterNewBuffer();
    for (const ACQ_QUEUE_TYPE operation : {1, 2, 4}) {
        SCOPED_TRACE(operation);
        ASSERT_EQ(OptivoSim_SetFrameRate(camera.c_str(), 0), 1);
        Start();
        uint64_t next = 0;
        for (int i = 0; i < 500 && !HasFailure(); ++i) {
            QueueWhatIsFree();
            EXPECT_OK(gentl.DSFlushQueue(stream, operation));
            QueueWhatIsFree();
            for (int image = 0; image < 3; ++image) {
                const BUFFER_HANDLE buffer = Fetch();
                OptivoImageStamp stamp = {};
                EXPECT_EQ(OptivoImage_Read(Memory(buffer), IMAGE_SIZE, &stamp), 1);
                EXPECT_GE(stamp.number, next);
                next = stamp.number + 1;
                EXPECT_OK(gentl.DSQueueBuffer(stream, buffer));
            }
        }
        Stop();
        FetchAll();
        QueueWhatIsFree();
        ExpectLengths(buffers.size(), 0);
        DiscardAll();
    }
}

TEST_F(StandardQueueTest, FreesTheBufferThatAFailedGrabLeftBehind) {
    GrabAnswers(-5);
    StartWith(1);
    Produce(1);
    ASSERT_TRUE(Eventually([&] { return !IsGrabbing(); }));
    DiscardAll();
    EXPECT_OK(gentl.DSRevokeBuffer(stream, buffers[0], nullptr, nullptr));
}

} // namespace
