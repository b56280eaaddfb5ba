#include "StreamFixtures.h"

namespace {

constexpr OptivoOperation START = OPTIVO_STREAM_START_ACQUISITION;
constexpr OptivoOperation STOP = OPTIVO_STREAM_STOP_ACQUISITION;
constexpr OptivoOperation GRAB = OPTIVO_STREAM_GRAB_IMAGE;
constexpr OptivoOperation POLL = OPTIVO_STREAM_GET_STREAM_INFO;

class AcquisitionTest : public MonoStreamTest {
protected:
    struct State {
        const char* name;
        bool isGrabbing;
        bool hasThread;
        std::function<void()> enter;
    };

    std::vector<State> States() {
        return {{"Open", false, false, [] {}},
                {"Acquiring", true, true, [this] { Start(); }},
                {"Run out", false, true,
                 [this] {
                     Start(0);
                     EXPECT_TRUE(Eventually([&] { return !IsGrabbing(); }));
                 }},
                {"Stopped", false, false, [this] {
                     Start();
                     Stop();
                 }}};
    }

    // Each time with a stream that was opened anew and has entered the state.
    void InEveryState(const std::function<void(const State&)>& body) {
        for (const State& state : States()) {
            SCOPED_TRACE(state.name);
            state.enter();
            body(state);
            RenewStream();
        }
    }

    void ExpectDelivers() {
        AnnounceBuffers(1);
        ASSERT_OK(gentl.DSQueueBuffer(stream, buffers.back()));
        RegisterNewBuffer();
        Produce(1);
        EXPECT_EQ(WaitBuffer().handle, buffers.back());
    }

    bool RunsOut() {
        return Eventually([&] { return !IsGrabbing(); });
    }
};

TEST_F(AcquisitionTest, GrabbingFlagTellsTheState) {
    InEveryState([&](const State& state) { EXPECT_EQ(IsGrabbing(), state.isGrabbing); });
}

TEST_F(AcquisitionTest, StartsFromEveryState) {
    InEveryState([&](const State&) {
        const uint64_t numStarts = OptivoSim_NumCalls(START);
        const uint64_t numStops = OptivoSim_NumCalls(STOP);
        EXPECT_OK(gentl.DSStartAcquisition(stream, 0, GENTL_INFINITE));
        EXPECT_TRUE(IsGrabbing());
        EXPECT_EQ(OptivoSim_NumCalls(START), numStarts + 1);
        EXPECT_EQ(OptivoSim_NumCalls(STOP), numStops);
        ExpectDelivers();
    });
}

TEST_F(AcquisitionTest, StopsFromEveryState) {
    InEveryState([&](const State&) {
        const uint64_t numStops = OptivoSim_NumCalls(STOP);
        EXPECT_OK(gentl.DSStopAcquisition(stream, 0));
        EXPECT_FALSE(IsGrabbing());
        EXPECT_EQ(OptivoSim_NumCalls(STOP), numStops + 1);
        EXPECT_EQ(OptivoSim_LastArgument(STOP), 0U);
    });
}

TEST_F(AcquisitionTest, ClosesInEveryState) {
    for (const State& state : States()) {
        SCOPED_TRACE(state.name);
        state.enter();
        const uint64_t numStops = OptivoSim_NumCalls(STOP);
        const uint64_t numCloses = OptivoSim_NumCalls(OPTIVO_STREAM_CLOSE);
        CloseStream();
        EXPECT_EQ(OptivoSim_NumCalls(STOP), numStops + (state.hasThread ? 1 : 0));
        EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_STREAM_CLOSE), numCloses + 1);
        OpenStream();
    }
}

TEST_F(AcquisitionTest, BuffersAreManagedInEveryState) {
    InEveryState([&](const State&) {
        AnnounceBuffers(2);
        EXPECT_EQ(NumAnnounced(), 2U);
        EXPECT_OK(gentl.DSQueueBuffer(stream, buffers[0]));
        ExpectLengths(1, 0);
        EXPECT_OK(gentl.DSFlushQueue(stream, 3));
        ExpectLengths(2, 0);
        EXPECT_OK(gentl.DSFlushQueue(stream, 0));
        ExpectLengths(0, 2);
        EXPECT_OK(gentl.DSFlushQueue(stream, 4));
        for (BUFFER_HANDLE buffer : buffers) {
            EXPECT_OK(gentl.DSRevokeBuffer(stream, buffer, nullptr, nullptr));
        }
        EXPECT_EQ(NumAnnounced(), 0U);
        ExpectLengths(0, 0);
    });
}

TEST_F(AcquisitionTest, FailingStartEndsEveryState) {
    for (const int32_t result : {-1001, -1, 1, -1010}) {
        SCOPED_TRACE(result);
        InEveryState([&](const State&) {
            AddFault(START, OPTIVO_FAULT_RESULT, result, 1);
            EXPECT_FAILS(-1001, "Unable to start acquisition",
                         gentl.DSStartAcquisition(stream, 0, 7));
            EXPECT_FALSE(IsGrabbing());
            EXPECT_OK(gentl.DSStartAcquisition(stream, 0, GENTL_INFINITE));
            ExpectDelivers();
        });
    }
}

TEST_F(AcquisitionTest, FailingStopEndsEveryState) {
    for (const int32_t result : {-1001, -1, 1, -1010}) {
        SCOPED_TRACE(result);
        InEveryState([&](const State&) {
            AddFault(STOP, OPTIVO_FAULT_RESULT, result, 1);
            EXPECT_FAILS(-1010, "Unable to stop acquisition", gentl.DSStopAcquisition(stream, 0));
            EXPECT_TRUE(RunsOut());
            EXPECT_OK(gentl.DSStopAcquisition(stream, 0));
            EXPECT_OK(gentl.DSStartAcquisition(stream, 0, GENTL_INFINITE));
            ExpectDelivers();
        });
    }
}

TEST_F(AcquisitionTest, StartsAfterAFailingStop) {
    Start();
    AddFault(STOP, OPTIVO_FAULT_RESULT, -1001, 1);
    EXPECT_FAILS(-1010, "Unable to stop acquisition", gentl.DSStopAcquisition(stream, 0));
    EXPECT_OK(gentl.DSStartAcquisition(stream, 0, GENTL_INFINITE));
    ExpectDelivers();
}

TEST_F(AcquisitionTest, FailingStopDoesNotWaitForTheThread) {
    StartWith(1);
    HangInGrab();
    AddFault(STOP, OPTIVO_FAULT_RESULT, -1001, 1);
    int32_t answer = 77;
    EXPECT_TRUE(EndsDuringHang([&] { return gentl.DSStopAcquisition(stream, 0); }, &answer));
    EXPECT_CODE(-1010, answer);
    EXPECT_LAST_ERROR(-1010, "Unable to stop acquisition");
    EXPECT_TRUE(IsGrabbing());
    OptivoSim_Release();
    EXPECT_TRUE(RunsOut());
}

TEST_F(AcquisitionTest, StopWaitsForTheThreadAfterTheLibraryStopped) {
    StartWith(1);
    HangInGrab();
    auto answer =
        std::async(std::launch::async, [this] { return gentl.DSStopAcquisition(stream, 0); });
    EXPECT_TRUE(Eventually([] { return OptivoSim_NumCalls(STOP) == 1; }));
    EXPECT_FALSE(IsReady(answer, 30));
    EXPECT_TRUE(IsGrabbing());
    OptivoSim_Release();
    EXPECT_OK(answer.get());
    EXPECT_FALSE(IsGrabbing());
}

TEST_F(AcquisitionTest, RestartWaitsForTheThreadBeforeTheLibraryStarts) {
    StartWith(2);
    HangInGrab();
    auto answer =
        std::async(std::launch::async, [this] { return gentl.DSStartAcquisition(stream, 0, 1); });
    EXPECT_FALSE(IsReady(answer, 30));
    EXPECT_EQ(OptivoSim_NumCalls(START), 1U);
    OptivoSim_Release();
    EXPECT_OK(answer.get());
    EXPECT_EQ(OptivoSim_NumCalls(START), 2U);
    EXPECT_EQ(OptivoSim_NumCalls(STOP), 0U);
}

TEST_F(AcquisitionTest, FlagsAreIgnored) {
    for (const ACQ_START_FLAGS flags : {0, 1, 2, 1000, -1}) {
        SCOPED_TRACE(flags);
        EXPECT_OK(gentl.DSStartAcquisition(stream, flags, GENTL_INFINITE));
        EXPECT_TRUE(IsGrabbing());
        EXPECT_OK(gentl.DSStopAcquisition(stream, flags));
        EXPECT_FALSE(IsGrabbing());
    }
}

TEST_F(AcquisitionTest, CountReachesTheLibraryInThirtyTwoBits) {
    const std::pair<uint64_t, uint64_t> rows[] = {
        {0, 0},
        {1, 1},
        {2, 2},
        {4294967294, 4294967294},
        {4294967295, 4294967295},
        {4294967296, 4294967295},
        {4294967298, 4294967295},
        {GENTL_INFINITE - 1, 4294967295},
        {GENTL_INFINITE, 4294967295},
    };
    for (const auto& [count, expected] : rows) {
        SCOPED_TRACE(count);
        Start(count);
        EXPECT_EQ(OptivoSim_LastArgument(START), expected);
        Stop();
    }
}

TEST_F(AcquisitionTest, ZeroImagesRunOutAtOnce) {
    AnnounceBuffers(1);
    QueueAll();
    Start(0);
    EXPECT_TRUE(RunsOut());
    EXPECT_EQ(OptivoSim_NumCalls(GRAB), 0U);
    std::array<uint64_t, 64> asked{};
    const size_t count = OptivoSim_Selectors(POLL, asked.data(), asked.size());
    EXPECT_EQ(std::count(asked.begin(), asked.begin() + count, 3U), 0);
    ExpectLengths(1, 0);
}

// The library goes on delivering, but the thread has ended.
TEST_F(AcquisitionTest, RunsOutAfterTheWantedNumberOfImages) {
    for (const uint64_t count : {1U, 2U, 3U}) {
        SCOPED_TRACE(count);
        AnnounceBuffers(5);
        QueueAll();
        GrabAnswers(0, OPTIVO_FOREVER);
        const uint64_t numGrabs = OptivoSim_NumCalls(GRAB);
        Start(count);
        Produce(1);
        EXPECT_TRUE(RunsOut());
        ExpectLengths(5 - count, count);
        EXPECT_EQ(NumDelivered(), count);
        EXPECT_EQ(OptivoSim_NumCalls(GRAB), numGrabs + count);
        RenewStream();
    }
}

TEST_F(AcquisitionTest, LostImagesAreNotCountedAsWanted) {
    AnnounceBuffers(3);
    QueueAll();
    GrabAnswers(-3, 4);
    GrabAnswers(-1, 3);
    Start(2);
    Produce(2);
    EXPECT_TRUE(RunsOut());
    EXPECT_EQ(NumDelivered(), 2U);
    EXPECT_EQ(NumUnderrun(), 4U);
    ExpectLengths(1, 2);
}

TEST_F(AcquisitionTest, DroppedImagesAreNotCountedAsWanted) {
    GrabAnswers(0, 2);
    Start(2);
    Produce(2);
    EXPECT_TRUE(Eventually([&] { return NumUnderrun() == 4; }));
    EXPECT_EQ(NumDelivered(), 0U);
    EXPECT_TRUE(IsGrabbing());
}

TEST_F(AcquisitionTest, StartResetsTheCounters) {
    AnnounceBuffers(1);
    QueueAll();
    Start();
    Produce(3);
    EXPECT_TRUE(Eventually([&] { return NumUnderrun() == 2; }));
    EXPECT_EQ(NumDelivered(), 1U);
    Stop();
    EXPECT_EQ(NumDelivered(), 1U);
    EXPECT_EQ(NumUnderrun(), 2U);
    AddFault(START, OPTIVO_FAULT_RESULT, -1001, 1);
    EXPECT_CODE(-1001, gentl.DSStartAcquisition(stream, 0, 1));
    EXPECT_EQ(NumDelivered(), 1U);
    EXPECT_EQ(NumUnderrun(), 2U);
    Start();
    EXPECT_EQ(NumDelivered(), 0U);
    EXPECT_EQ(NumUnderrun(), 0U);
}

TEST_F(AcquisitionTest, QueuesOutliveStopAndStart) {
    AnnounceBuffers(3);
    QueueAll();
    RegisterNewBuffer();
    Start(1);
    Produce(1);
    EXPECT_TRUE(RunsOut());
    Stop();
    ExpectLengths(2, 1);
    Start(2);
    ExpectLengths(2, 1);
    Produce(2);
    EXPECT_TRUE(RunsOut());
    EXPECT_EQ(FetchAll(), buffers);
}

TEST_F(AcquisitionTest, ThreadSetsTheWaitTimeOncePerStart) {
    for (uint64_t numStarts = 1; numStarts <= 3; ++numStarts) {
        Start();
        EXPECT_TRUE(Eventually(
            [&] { return OptivoSim_NumCalls(OPTIVO_STREAM_SET_STREAM_PARAMETER) == numStarts; }));
        EXPECT_EQ(OptivoSim_LastSelector(OPTIVO_STREAM_SET_STREAM_PARAMETER), 2U);
        EXPECT_EQ(OptivoSim_LastArgument(OPTIVO_STREAM_SET_STREAM_PARAMETER), 1000U);
        EXPECT_EQ(OptivoSim_LastSize(OPTIVO_STREAM_SET_STREAM_PARAMETER), 4U);
        Produce(2);
        EXPECT_TRUE(Eventually([&] { return NumUnderrun() == 2; }));
        EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_STREAM_SET_STREAM_PARAMETER), numStarts);
    }
}

TEST_F(AcquisitionTest, ThreadSetsTheWaitTimeFirst) {
    AddFault(OPTIVO_STREAM_SET_STREAM_PARAMETER, OPTIVO_FAULT_HANG, 0, 1);
    StartWith(1);
    Produce(1);
    EXPECT_TRUE(
        Eventually([] { return OptivoSim_NumCalls(OPTIVO_STREAM_SET_STREAM_PARAMETER) == 1; }));
    EXPECT_TRUE(IsGrabbing());
    EXPECT_EQ(WaitBuffer(20).code, -1011);
    EXPECT_EQ(OptivoSim_NumCalls(GRAB), 0U);
    OptivoSim_Release();
    EXPECT_EQ(WaitBuffer().handle, buffers[0]);
}

TEST_F(AcquisitionTest, ResultOfSettingTheWaitTimeDoesNotMatter) {
    AddFault(OPTIVO_STREAM_SET_STREAM_PARAMETER, OPTIVO_FAULT_RESULT, -1001);
    StartWith(1);
    Produce(1);
    EXPECT_EQ(WaitBuffer().handle, buffers[0]);
}

TEST_F(AcquisitionTest, ThreadPollsForAnImageBeforeItGrabs) {
    AddFault(POLL, OPTIVO_FAULT_RESULT, 0, OPTIVO_FOREVER, 3);
    StartWith(1);
    Produce(1);
    const uint64_t numPolls = OptivoSim_NumCalls(POLL);
    EXPECT_TRUE(Eventually([&] { return OptivoSim_NumCalls(POLL) > numPolls + 100; }));
    EXPECT_EQ(OptivoSim_LastSelector(POLL), 3U);
    EXPECT_EQ(OptivoSim_LastArgument(POLL), 4U);
    EXPECT_EQ(OptivoSim_NumCalls(GRAB), 0U);
    ExpectLengths(1, 0);
    OptivoSim_ClearFaults();
    EXPECT_EQ(WaitBuffer().handle, buffers[0]);
    EXPECT_EQ(OptivoSim_LastArgument(GRAB), 100U);
    EXPECT_EQ(OptivoSim_LastSelector(GRAB), reinterpret_cast<uintptr_t>(Memory(buffers[0])));
}

TEST_F(AcquisitionTest, ThreadLooksAtTheFlagNotAtTheResultOfAPoll) {
    AddFault(POLL, OPTIVO_FAULT_RESULT, -1001, OPTIVO_FOREVER, 3);
    StartWith(1);
    Produce(1);
    EXPECT_EQ(WaitBuffer(20).code, -1011);
    EXPECT_EQ(OptivoSim_NumCalls(GRAB), 0U);
    OptivoSim_ClearFaults();
    AddFault(POLL, OPTIVO_FAULT_RESULT_AFTER, -1001, OPTIVO_FOREVER, 3);
    EXPECT_EQ(WaitBuffer().handle, buffers[0]);
}

// A pause of a millisecond would already show.
TEST_F(AcquisitionTest, ThreadPollsWithoutAPause) {
    AddFault(POLL, OPTIVO_FAULT_RESULT, 0, OPTIVO_FOREVER, 3);
    Start();
    EXPECT_TRUE(Try([](std::chrono::milliseconds pause) {
        const uint64_t numPolls = OptivoSim_NumCalls(POLL);
        std::this_thread::sleep_for(pause);
        return OptivoSim_NumCalls(POLL) - numPolls > 5 * static_cast<uint64_t>(pause.count());
    }));
}

TEST_F(AcquisitionTest, ThrowingLibraryLeavesTheStreamUsable) {
    struct Call {
        OptivoOperation operation;
        uint64_t selector;
    };
    for (const Call call : {Call{OPTIVO_STREAM_SET_STREAM_PARAMETER, 2}, Call{POLL, 3}}) {
        for (const OptivoFaultKind kind :
             {OPTIVO_FAULT_GENERIC_EXCEPTION, OPTIVO_FAULT_FOREIGN_EXCEPTION}) {
            AddFault(call.operation, kind, 0, 1, call.selector);
            const uint64_t numCalls = OptivoSim_NumCalls(call.operation);
            ASSERT_EQ(PayloadSize(), IMAGE_SIZE);
            Start();
            EXPECT_TRUE(Eventually([&] {
                return OptivoSim_NumCalls(call.operation) > numCalls &&
                       OptivoSim_LastSelector(call.operation) == call.selector;
            }));
            Stop();
            Start();
            ExpectDelivers();
            RenewStream();
        }
    }
}

} // namespace
