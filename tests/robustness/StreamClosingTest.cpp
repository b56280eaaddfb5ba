#include "Streams.h"

#include <algorithm>

namespace {

// A stream is closed while calls of other threads are still inside it.
class StreamClosingTest : public SmallStreamTest {
protected:
    std::function<int32_t()> Close(DS_HANDLE handle) {
        return [this, handle] { return gentl.DSClose(handle); };
    }

    void ExpectClosesAfter(Background& inside) {
        Background closing(Close(stream));
        closing.AwaitSleep();
        EXPECT_EQ(alive.Streams(), 1U);
        OptivoSim_Release();
        inside.Finish();
        EXPECT_OK(closing.Finish());
        stream = nullptr;
        EXPECT_EQ(alive.Streams(), 0U);
        EXPECT_EQ(NumCalls(OPTIVO_STREAM_CLOSE), 1U);
    }

    void ExpectClosesAfterStartAnd(const std::function<int32_t()>& call) {
        const auto starting = HangIn(OPTIVO_STREAM_START_ACQUISITION, [this] {
            return gentl.DSStartAcquisition(stream, 0, GENTL_INFINITE);
        });
        Background calling(call);
        calling.AwaitSleep();
        EXPECT_FALSE(calling.IsDone());
        ExpectClosesAfter(calling);
        EXPECT_OK(calling.Finish());
    }
};

TEST_F(StreamClosingTest, AfterAStopOfAnotherThread) {
    StartWith(2);
    const auto stopping = HangIn(OPTIVO_STREAM_STOP_ACQUISITION,
                                 [this] { return gentl.DSStopAcquisition(stream, 0); });
    ExpectClosesAfter(*stopping);
}

TEST_F(StreamClosingTest, AfterAStartOfAnotherThread) {
    AnnounceBuffers(2);
    const auto starting = HangIn(OPTIVO_STREAM_START_ACQUISITION, [this] {
        return gentl.DSStartAcquisition(stream, 0, GENTL_INFINITE);
    });
    ExpectClosesAfter(*starting);
}

TEST_F(StreamClosingTest, AfterARestartOfAnotherThread) {
    StartWith(2);
    HangNextGrab();
    Background starting([this] { return gentl.DSStartAcquisition(stream, 0, GENTL_INFINITE); });
    starting.AwaitSleep();
    ExpectClosesAfter(starting);
}

TEST_F(StreamClosingTest, AfterARevocationOfAnotherThread) {
    StartWith(1);
    HangNextGrab();
    ASSERT_OK(gentl.DSFlushQueue(stream, 4));
    Background revoking(
        [this] { return gentl.DSRevokeBuffer(stream, buffers[0], nullptr, nullptr); });
    revoking.AwaitSleep();
    EXPECT_FALSE(revoking.IsDone());
    ExpectClosesAfter(revoking);
    EXPECT_OK(revoking.Finish());
}

// A start that hangs keeps the input lock, for which the other call waits when the stream closes.
TEST_F(StreamClosingTest, AfterQueuingOfAnotherThread) {
    AnnounceBuffers(1);
    ExpectClosesAfterStartAnd([this] { return gentl.DSQueueBuffer(stream, buffers[0]); });
}

TEST_F(StreamClosingTest, AfterAFlushOfAnotherThread) {
    AnnounceBuffers(2);
    ExpectClosesAfterStartAnd([this] { return gentl.DSFlushQueue(stream, 3); });
}

TEST_F(StreamClosingTest, AStreamThatIsOpenedMeanwhileIsAnother) {
    StartWith(2);
    const auto closing = HangIn(OPTIVO_STREAM_STOP_ACQUISITION, Close(stream));
    const DS_HANDLE opened = OpenOtherStream("DS0");
    OptivoSim_Release();
    EXPECT_OK(closing->Finish());
    const DS_HANDLE closed = std::exchange(stream, nullptr);
    ASSERT_NE(opened, closed);
    stream = opened;
    EXPECT_EQ(NumAnnounced(), 0U);
    EXPECT_EQ(alive.Streams(), 1U);
}

// Nothing of one stream waits for another that the camera library is slow to open.
TEST_F(StreamClosingTest, WaitsForNoOtherStreamThatIsBeingOpened) {
    DS_HANDLE other = nullptr;
    const auto opening = HangIn(OPTIVO_DEVICE_OPEN_DATA_STREAM, [this, &other] {
        return gentl.DevOpenDataStream(device, "DS1", &other);
    });
    Background closing(Close(stream));
    EXPECT_TRUE(Eventually([&] { return closing.IsDone(); }));
    Background closingDevice([this] { return gentl.DevClose(device); });
    closingDevice.AwaitSleep();
    EXPECT_FALSE(closingDevice.IsDone()) << "the stream would be left behind";
    OptivoSim_Release();
    EXPECT_OK(opening->Finish());
    EXPECT_OK(closing.Finish());
    EXPECT_OK(closingDevice.Finish());
    EXPECT_EQ(alive.Streams(), 0U);
    device = remote = stream = nullptr;
}

TEST_F(StreamClosingTest, TwoClosesDestroyItOnce) {
    StartWith(2);
    const auto closing = HangIn(OPTIVO_STREAM_STOP_ACQUISITION, Close(stream));
    Background closingToo(Close(stream));
    closingToo.AwaitSleep();
    OptivoSim_Release();
    EXPECT_OK(closing->Finish());
    closingToo.Finish();
    stream = nullptr;
    EXPECT_EQ(alive.Streams(), 0U);
    EXPECT_EQ(NumCalls(OPTIVO_STREAM_CLOSE), 1U);
}

// A thread that fetches in a loop comes again while the stream is being closed.
TEST_F(StreamClosingTest, ItsEventsMeanNothingAsSoonAsItBegins) {
    StartWith(2);
    EVENT_HANDLE error = nullptr;
    ASSERT_OK(gentl.GCRegisterEvent(stream, 0, &error));
    const auto closing = HangIn(OPTIVO_STREAM_STOP_ACQUISITION, Close(stream));
    for (EVENT_HANDLE event : {newBuffer, error}) {
        char data[64] = {};
        size_t size = sizeof data;
        EXPECT_CODE(-1006, gentl.EventGetData(event, data, &size, LONG_WAIT));
        EXPECT_CODE(-1006, gentl.EventGetInfo(event, EVENT_NUM_IN_QUEUE, nullptr, data, &size));
        EXPECT_CODE(-1006, gentl.EventFlush(event));
        EXPECT_CODE(-1006, gentl.EventKill(event));
        EXPECT_EQ(size, sizeof data);
    }
    OptivoSim_Release();
    EXPECT_OK(closing->Finish());
    stream = nullptr;
}

TEST_F(StreamClosingTest, ADeviceThatClosesMeanwhileDoesNotDestroyItAgain) {
    StartWith(2);
    const auto closing = HangIn(OPTIVO_STREAM_STOP_ACQUISITION, Close(stream));
    Background closingDevice([this] { return gentl.DevClose(device); });
    closingDevice.AwaitSleep();
    EXPECT_FALSE(closingDevice.IsDone()) << "the stream still uses the device";
    OptivoSim_Release();
    EXPECT_OK(closing->Finish());
    EXPECT_OK(closingDevice.Finish());
    device = remote = stream = nullptr;
    EXPECT_EQ(NumCalls(OPTIVO_STREAM_CLOSE), 1U);
    EXPECT_EQ(NumCalls(OPTIVO_DEVICE_CLOSE), 1U + 2U); // two devices were described
}

TEST_F(StreamClosingTest, ItsDeviceStaysUntilTheLibrarysStreamIsClosed) {
    const auto closing = HangIn(OPTIVO_STREAM_CLOSE, Close(stream));
    Background closingDevice([this] { return gentl.DevClose(device); });
    closingDevice.AwaitSleep();
    EXPECT_FALSE(closingDevice.IsDone());
    EXPECT_EQ(NumCalls(OPTIVO_DEVICE_CLOSE), 2U); // two devices were described
    OptivoSim_Release();
    EXPECT_OK(closing->Finish());
    EXPECT_OK(closingDevice.Finish());
    device = remote = stream = nullptr;
    EXPECT_EQ(NumCalls(OPTIVO_DEVICE_CLOSE), 3U);
}

TEST_F(StreamClosingTest, ACloseWhileTheDeviceClosesDoesNotDestroyItAgain) {
    StartWith(2);
    const auto closingDevice =
        HangIn(OPTIVO_STREAM_STOP_ACQUISITION, [this] { return gentl.DevClose(device); });
    Background closing(Close(stream));
    closing.AwaitSleep();
    OptivoSim_Release();
    EXPECT_OK(closingDevice->Finish());
    closing.Finish();
    device = remote = stream = nullptr;
    EXPECT_EQ(NumCalls(OPTIVO_STREAM_CLOSE), 1U);
}

// Both begin at the same moment; the one that comes too late finds no stream.
TEST_F(StreamClosingTest, TogetherWithItsDeviceHappensOnce) {
    for (uint64_t round = 1; round <= 300; ++round) {
        const std::vector<int32_t> codes =
            RunTogether({Close(stream), [this] { return gentl.DevClose(device); }});
        EXPECT_TRUE(codes[0] == 0 || codes[0] == -1001) << codes[0];
        ASSERT_EQ(codes[1], 0);
        ASSERT_EQ(NumCalls(OPTIVO_STREAM_CLOSE), round);
        device = remote = stream = nullptr;
        ASSERT_NO_FATAL_FAILURE(OpenDevice());
        ASSERT_NO_FATAL_FAILURE(OpenStream());
    }
}

TEST_F(StreamClosingTest, EndsAnAcquisitionWhoseImagesFlow) {
    for (int i = 0; i < 20; ++i) {
        buffers.clear();
        StartWith(3);
        Unpace();
        ASSERT_OK(WaitBuffer().code);
        // Without a queued buffer, all of them end with the stream.
        ASSERT_OK(gentl.DSFlushQueue(stream, 4));
        CloseStream();
        ASSERT_NO_FATAL_FAILURE(OpenStream());
    }
    EXPECT_EQ(NumCalls(OPTIVO_STREAM_STOP_ACQUISITION), 20U);
}

TEST_F(StreamClosingTest, EndsAnAcquisitionThatHasRunOut) {
    StartWith(1);
    Start(1);
    Produce(1);
    ASSERT_OK(WaitBuffer().code);
    ASSERT_TRUE(Eventually([this] { return !IsGrabbing(); }));
    CloseStream();
    EXPECT_EQ(NumCalls(OPTIVO_STREAM_STOP_ACQUISITION), 1U);
}

TEST_F(StreamClosingTest, LeavesTheLibraryAloneWhenNothingWasStarted) {
    CloseStream();
    EXPECT_EQ(NumCalls(OPTIVO_STREAM_STOP_ACQUISITION), 0U);
    EXPECT_EQ(NumCalls(OPTIVO_STREAM_CLOSE), 1U);
}

// The camera library cannot be told to stop. The stream goes all the same; the library's own object
// and the buffers, into which it may still write, stay for good.
class FailingStopTest : public SmallStreamTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(SmallStreamTest::SetUp());
        StartWith(3);
        Unpace();
        ASSERT_OK(WaitBuffer().code);
    }

    void FailStops(OptivoFaultKind kind = OPTIVO_FAULT_RESULT) {
        AddFault(OPTIVO_STREAM_STOP_ACQUISITION, kind, -1001, OPTIVO_FOREVER);
    }

    // A thread that still ran would call the library.
    void ExpectThreadHasEnded() {
        const uint64_t numGrabs = NumCalls(OPTIVO_STREAM_GRAB_IMAGE);
        const uint64_t numQueries = NumCalls(OPTIVO_STREAM_GET_STREAM_INFO);
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        EXPECT_EQ(NumCalls(OPTIVO_STREAM_GRAB_IMAGE), numGrabs);
        EXPECT_EQ(NumCalls(OPTIVO_STREAM_GET_STREAM_INFO), numQueries);
    }

    void ExpectParked() {
        LeavesAlive(OPTIVO_OBJECT_STREAM, 1);
        ExpectThreadHasEnded();
        EXPECT_EQ(alive.Streams(), 1U);
        EXPECT_EQ(NumCalls(OPTIVO_STREAM_CLOSE), 0U);
    }
};

TEST_F(FailingStopTest, IsReportedAndTheThreadEndsByItself) {
    FailStops();
    EXPECT_FAILS(-1010, "Unable to stop acquisition", gentl.DSStopAcquisition(stream, 0));
    EXPECT_TRUE(Eventually([this] { return !IsGrabbing(); }));
    ExpectThreadHasEnded();
    OptivoSim_ClearFaults();
    EXPECT_OK(gentl.DSStartAcquisition(stream, 0, GENTL_INFINITE));
    EXPECT_OK(gentl.DSFlushQueue(stream, 2));
    EXPECT_OK(WaitBuffer().code);
    EXPECT_OK(gentl.DSStopAcquisition(stream, 0));
}

TEST_F(FailingStopTest, ClosingEndsTheThreadBeforeTheMemoryGoes) {
    FailStops();
    CloseStream();
    ExpectParked();
}

TEST_F(FailingStopTest, ClosingWithAStopThatThrowsEndsTheThreadToo) {
    FailStops(OPTIVO_FAULT_GENERIC_EXCEPTION);
    CloseStream();
    ExpectParked();
}

TEST_F(FailingStopTest, ClosingDuringAGrabWaitsForItsEnd) {
    OptivoSim_SetFrameRate(camera.c_str(), -1);
    ASSERT_OK(gentl.DSFlushQueue(stream, 2));
    HangNextGrab();
    FailStops();
    Background closing([this] { return gentl.DSClose(stream); });
    closing.AwaitSleep();
    EXPECT_FALSE(closing.IsDone());
    OptivoSim_Release();
    EXPECT_OK(closing.Finish());
    stream = nullptr;
    ExpectParked();
}

TEST_F(FailingStopTest, TheDeviceForgetsTheStream) {
    FailStops();
    CloseStream();
    ExpectParked();
    OptivoSim_ClearFaults();
    ASSERT_NO_FATAL_FAILURE(OpenStream());
    EXPECT_EQ(NumCalls(OPTIVO_DEVICE_OPEN_DATA_STREAM), 2U);
    buffers.clear();
    StartWith(2);
    EXPECT_OK(WaitBuffer().code);
}

TEST_F(FailingStopTest, ClosingTheDeviceEndsTheThread) {
    FailStops();
    CloseDevice();
    ExpectParked();
    OptivoSim_ClearFaults();
    ASSERT_NO_FATAL_FAILURE(OpenDevice());
}

TEST_F(FailingStopTest, ClosingTheSystemEndsTheThread) {
    FailStops();
    CloseSystem();
    ExpectParked();
    EXPECT_EQ(alive.Devices(), 0U);
    EXPECT_EQ(alive.Interfaces(), 0U);
}

// Its own objects that fail to close are given back once, and not asked again.
TEST_F(FailingStopTest, ACloseThatFailsToo) {
    AddFault(OPTIVO_STREAM_CLOSE, OPTIVO_FAULT_RESULT, -1001);
    ASSERT_OK(gentl.DSFlushQueue(stream, 4));
    CloseStream();
    LeavesAlive(OPTIVO_OBJECT_STREAM, 1);
    EXPECT_EQ(NumCalls(OPTIVO_STREAM_CLOSE), 1U);
    ASSERT_NO_FATAL_FAILURE(OpenStream());
}

} // namespace
