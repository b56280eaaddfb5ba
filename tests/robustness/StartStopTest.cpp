#include "Streams.h"

#include <algorithm>

namespace {

// No buffer is free: the acquisition thread takes the input lock for every image that it drops, and
// keeps it while it does.
class StarvedStreamTest : public SmallStreamTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(SmallStreamTest::SetUp());
        ASSERT_NO_FATAL_FAILURE(RegisterNewBuffer());
        ASSERT_NO_FATAL_FAILURE(AnnounceBuffers(1));
        Unpace();
    }

    void SlowGrabsDown() {
        AddFault(OPTIVO_STREAM_GRAB_IMAGE, OPTIVO_FAULT_DELAY, 10, OPTIVO_FOREVER);
    }

    // Ten grabs last as long as twenty of these calls may take; without its turn, a call waits for
    // as long as the stream is starved.
    void ExpectAtOnce(const std::function<int32_t()>& call) {
        const uint64_t before = NumCalls(OPTIVO_STREAM_GRAB_IMAGE);
        const auto start = std::chrono::steady_clock::now();
        EXPECT_OK(call());
        const auto passed = std::chrono::steady_clock::now() - start;
        EXPECT_LE(NumCalls(OPTIVO_STREAM_GRAB_IMAGE) - before, 5U);
        EXPECT_LT(passed, std::chrono::milliseconds(1000));
    }
};

TEST_F(StarvedStreamTest, QueuingGetsItsTurnAtOnce) {
    SlowGrabsDown();
    Start();
    for (int i = 0; i < 50; ++i) {
        SCOPED_TRACE(i);
        const uint64_t numDropped = NumUnderrun();
        ASSERT_TRUE(Eventually([&] { return NumUnderrun() > numDropped; }));
        ExpectAtOnce([this] { return gentl.DSQueueBuffer(stream, buffers[0]); });
        ASSERT_EQ(WaitBuffer().handle, buffers[0]);
    }
}

TEST_F(StarvedStreamTest, QueuingIsQuickWhenImagesAreFast) {
    Start();
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 50; ++i) {
        ASSERT_OK(gentl.DSQueueBuffer(stream, buffers[0]));
        ASSERT_EQ(WaitBuffer().handle, buffers[0]);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50 * 50));
    EXPECT_TRUE(Eventually([this] { return NumUnderrun() > 0; }));
}

TEST_F(StarvedStreamTest, FlushingGetsItsTurnAtOnce) {
    SlowGrabsDown();
    Start();
    for (const ACQ_QUEUE_TYPE operation : {0, 1, 4, 0, 1, 4}) {
        ExpectAtOnce([&] { return gentl.DSFlushQueue(stream, operation); });
    }
    ExpectAtOnce([this] { return gentl.DSFlushQueue(stream, 3); });
    ASSERT_EQ(WaitBuffer().handle, buffers[0]);
}

TEST_F(StarvedStreamTest, RevokingGetsItsTurnAtOnce) {
    SlowGrabsDown();
    AnnounceBuffers(4);
    Start();
    for (BUFFER_HANDLE buffer : buffers) {
        ExpectAtOnce([&] { return gentl.DSRevokeBuffer(stream, buffer, nullptr, nullptr); });
    }
}

TEST_F(StarvedStreamTest, StoppingAndStartingGetTheirTurnAtOnce) {
    SlowGrabsDown();
    Start();
    for (int i = 0; i < 5; ++i) {
        ExpectAtOnce([this] { return gentl.DSStartAcquisition(stream, 0, GENTL_INFINITE); });
        ExpectAtOnce([this] { return gentl.DSStopAcquisition(stream, 0); });
    }
}

TEST_F(StarvedStreamTest, ManyQueuingThreadsEachGetTheirTurn) {
    AnnounceBuffers(3);
    Start();
    std::vector<std::function<int32_t()>> calls;
    for (BUFFER_HANDLE buffer : buffers) {
        calls.emplace_back([this, buffer] {
            int32_t worst = 0;
            for (int i = 0; i < 50; ++i) {
                worst = std::min<int32_t>(worst, gentl.DSQueueBuffer(stream, buffer));
            }
            return worst;
        });
    }
    EXPECT_EQ(RunTogether(calls), (std::vector<int32_t>{0, 0, 0, 0}));
    EXPECT_TRUE(IsGrabbing());
}

// An acquisition is started anew while its thread needs the input lock to go on, and so to end.
class RestartTest : public SmallStreamTest {
protected:
    void ExpectRestart() {
        Background starting([this] { return gentl.DSStartAcquisition(stream, 0, GENTL_INFINITE); });
        EXPECT_OK(starting.Finish());
        EXPECT_TRUE(IsGrabbing());
    }

    void ExpectImage() {
        OptivoSim_ClearFaults();
        AnnounceBuffers(1);
        ASSERT_OK(gentl.DSQueueBuffer(stream, buffers.back()));
        EXPECT_OK(WaitBuffer().code);
    }
};

TEST_F(RestartTest, WhileImagesAreDropped) {
    RegisterNewBuffer();
    Unpace();
    Start();
    for (int i = 0; i < 30; ++i) {
        ExpectRestart();
    }
    ExpectImage();
}

TEST_F(RestartTest, WhileBuffersArePutBack) {
    for (const int32_t result : {-1, -3}) {
        SCOPED_TRACE(result);
        AddFault(OPTIVO_STREAM_GRAB_IMAGE, OPTIVO_FAULT_RESULT, result, OPTIVO_FOREVER);
        AnnounceBuffers(2);
        QueueAll();
        RegisterNewBuffer();
        Unpace();
        Start();
        for (int i = 0; i < 30; ++i) {
            ExpectRestart();
        }
        EXPECT_EQ(NumAwaitDelivery(), 0U);
        ExpectImage();
        Stop();
        ASSERT_OK(gentl.DSFlushQueue(stream, 1));
    }
}

TEST_F(RestartTest, WhileAGrabIsUnderWay) {
    StartWith(2);
    HangNextGrab();
    Background starting([this] { return gentl.DSStartAcquisition(stream, 0, GENTL_INFINITE); });
    starting.AwaitSleep();
    EXPECT_FALSE(starting.IsDone());
    // The input lock is free meanwhile.
    EXPECT_OK(gentl.DSQueueBuffer(stream, buffers[1]));
    EXPECT_OK(gentl.DSFlushQueue(stream, 1));
    OptivoSim_Release();
    EXPECT_OK(starting.Finish());
    EXPECT_EQ(NumCalls(OPTIVO_STREAM_START_ACQUISITION), 2U);
    EXPECT_EQ(NumCalls(OPTIVO_STREAM_STOP_ACQUISITION), 0U);
    EXPECT_TRUE(IsGrabbing());
}

TEST_F(RestartTest, WhileImagesAreDelivered) {
    AnnounceBuffers(4);
    RegisterNewBuffer();
    Unpace();
    for (int i = 0; i < 30; ++i) {
        QueueAll();
        ExpectRestart();
        ASSERT_OK(WaitBuffer().code);
    }
}

// Threads of the consumer that do not know of each other control one stream.
class TwoThreadsTest : public SmallStreamTest {
protected:
    using Call = std::function<int32_t()>;

    Call Repeat(const Call& call) {
        return [call] {
            int32_t worst = 0;
            for (int i = 0; i < 100; ++i) {
                worst = std::min(worst, call());
            }
            return worst;
        };
    }

    Call Starts() {
        return Repeat([this] { return gentl.DSStartAcquisition(stream, 0, GENTL_INFINITE); });
    }

    Call Stops() {
        return Repeat([this] { return gentl.DSStopAcquisition(stream, 0); });
    }

    Call StartsAndStops() {
        return Repeat([this] {
            return std::min(gentl.DSStartAcquisition(stream, 0, GENTL_INFINITE),
                            gentl.DSStopAcquisition(stream, 0));
        });
    }

    void ExpectWorks(const std::vector<Call>& calls) {
        AnnounceBuffers(2);
        QueueAll();
        RegisterNewBuffer();
        Unpace();
        EXPECT_EQ(RunTogether(calls), std::vector<int32_t>(calls.size(), 0));
        Start();
        EXPECT_OK(WaitBuffer().code);
        Stop();
        EXPECT_FALSE(IsGrabbing());
    }
};

TEST_F(TwoThreadsTest, BothStart) {
    ExpectWorks({Starts(), Starts()});
}

TEST_F(TwoThreadsTest, BothStop) {
    Start();
    ExpectWorks({Stops(), Stops()});
}

TEST_F(TwoThreadsTest, OneStartsAndTheOtherStops) {
    ExpectWorks({Starts(), Stops()});
}

TEST_F(TwoThreadsTest, AllStartAndStop) {
    ExpectWorks({StartsAndStops(), StartsAndStops(), StartsAndStops()});
}

// What a consumer asks for while another of its threads acquires.
TEST_F(TwoThreadsTest, OneAcquiresAndTheOthersAsk) {
    StartWith(4);
    Unpace();
    std::atomic<bool> done = false;
    const auto ask = [&] {
        int32_t worst = 0;
        while (!done) {
            worst = std::min(
                worst, AskAll({0, 1, 2, 3, 4, 5, 6, 8, 9, 10, 1001, 1003}, {0, 1, 2, 4, 5, 6, 9}));
        }
        return worst;
    };
    const auto acquire = [&]() -> int32_t {
        int32_t worst = 0;
        for (int i = 0; i < 500; ++i) {
            EVENT_NEW_BUFFER_DATA data = {};
            size_t size = sizeof data;
            worst =
                std::min<int32_t>(worst, gentl.EventGetData(newBuffer, &data, &size, LONG_WAIT));
            worst = std::min<int32_t>(worst, gentl.DSQueueBuffer(stream, data.BufferHandle));
        }
        done = true;
        return worst;
    };
    EXPECT_EQ(RunTogether({acquire, ask, ask}), (std::vector<int32_t>{0, 0, 0}));
}

TEST_F(TwoThreadsTest, BothWaitForImages) {
    StartWith(4);
    Unpace();
    const auto acquire = [this] {
        int32_t worst = 0;
        for (int i = 0; i < 300; ++i) {
            EVENT_NEW_BUFFER_DATA data = {};
            size_t size = sizeof data;
            const int32_t code = gentl.EventGetData(newBuffer, &data, &size, LONG_WAIT);
            // The other thread may have taken the image that woke this one.
            if (code != -1008) {
                worst = std::min(worst, code);
                worst = std::min<int32_t>(worst, gentl.DSQueueBuffer(stream, data.BufferHandle));
            }
        }
        return worst;
    };
    EXPECT_EQ(RunTogether({acquire, acquire}), (std::vector<int32_t>{0, 0}));
}

} // namespace
