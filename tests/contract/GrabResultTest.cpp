#include "StreamFixtures.h"

namespace {

// How a grab goes wrong.
struct Fault {
    const char* name;
    OptivoFaultKind kind;
    int32_t result;
};

// Results that end the acquisition, beside -2 and -4 which a wait tells apart.
constexpr Fault FATAL[] = {
    {"-5", OPTIVO_FAULT_RESULT, -5},
    {"1", OPTIVO_FAULT_RESULT, 1},
    {"7", OPTIVO_FAULT_RESULT, 7},
    {"-1010", OPTIVO_FAULT_RESULT, -1010},
    {"-1011", OPTIVO_FAULT_RESULT, -1011},
    {"smallest", OPTIVO_FAULT_RESULT, -2147483647 - 1},
    {"largest", OPTIVO_FAULT_RESULT, 2147483647},
    {"exception", OPTIVO_FAULT_GENERIC_EXCEPTION, 0},
    {"foreign exception", OPTIVO_FAULT_FOREIGN_EXCEPTION, 0},
};

class GrabResultTest : public MonoStreamTest {
protected:
    static void GrabFails(const Fault& fault, uint32_t count = 1) {
        AddFault(OPTIVO_STREAM_GRAB_IMAGE, fault.kind, fault.result, count);
    }

    // Two buffers are queued, the first grab goes wrong and two images are there.
    void StartAgainst(const Fault& fault) {
        GrabFails(fault);
        StartWith(2);
        Produce(2);
    }

    bool RunsOut() {
        return Eventually([&] { return !IsGrabbing(); });
    }

    // A wait that times out succeeds, and touches nothing.
    void ExpectEmptySuccess() {
        char area[32] = "before";
        size_t size = 32;
        EXPECT_FAILS_UNRECORDED(0, gentl.EventGetData(newBuffer, area, &size, 1));
        EXPECT_STREQ(area, "before");
        EXPECT_EQ(size, 32U);
        EXPECT_FAILS_UNRECORDED(0, gentl.EventGetData(newBuffer, nullptr, nullptr, 1));
    }

    // The buffer that was being filled is in neither queue and stays marked.
    void ExpectFirstBufferStranded() {
        ExpectLengths(1, 0);
        ExpectFlags(buffers[0], true, false);
        ExpectFlags(buffers[1], true, false);
        EXPECT_OK(gentl.DSQueueBuffer(stream, buffers[0]));
        EXPECT_OK(gentl.DSFlushQueue(stream, 3));
        EXPECT_OK(gentl.DSFlushQueue(stream, 2));
        ExpectLengths(1, 0);
        ExpectNotRevocable(buffers[0]);
    }
};

TEST_F(GrabResultTest, ImageIsDelivered) {
    StartWith(2);
    Produce(1);
    EXPECT_TRUE(Eventually([&] { return NumAwaitDelivery() == 1; }));
    ExpectLengths(1, 1);
    EXPECT_EQ(NumDelivered(), 1U);
    EXPECT_EQ(NumUnderrun(), 0U);
    ExpectFlags(buffers[0], false, true);
    ExpectFlags(buffers[1], true, false);
    ExpectNotRevocable(buffers[0]);
    EXPECT_TRUE(IsGrabbing());
}

TEST_F(GrabResultTest, NothingYetPutsTheBufferBackAtTheFront) {
    StartAgainst({"-1", OPTIVO_FAULT_RESULT, -1});
    EXPECT_TRUE(Eventually([&] { return NumAwaitDelivery() == 2; }));
    EXPECT_EQ(FetchAll(), buffers);
    EXPECT_TRUE(HoldsImage(Memory(buffers[0]), 0));
    EXPECT_EQ(NumDelivered(), 2U);
    EXPECT_EQ(NumUnderrun(), 0U);
    EXPECT_TRUE(IsGrabbing());
}

TEST_F(GrabResultTest, LostImagePutsTheBufferBackAtTheFront) {
    StartAgainst({"-3", OPTIVO_FAULT_RESULT, -3});
    EXPECT_TRUE(Eventually([&] { return NumAwaitDelivery() == 2; }));
    EXPECT_EQ(FetchAll(), buffers);
    EXPECT_TRUE(HoldsImage(Memory(buffers[0]), 0));
    EXPECT_EQ(NumDelivered(), 2U);
    EXPECT_EQ(NumUnderrun(), 1U);
    EXPECT_TRUE(IsGrabbing());
}

TEST_F(GrabResultTest, BufferPutBackStaysQueued) {
    for (const int32_t result : {-1, -3}) {
        SCOPED_TRACE(result);
        const uint64_t numGrabs = OptivoSim_NumCalls(OPTIVO_STREAM_GRAB_IMAGE);
        GrabAnswers(result, OPTIVO_FOREVER);
        StartWith(2);
        Produce(1);
        EXPECT_TRUE(Eventually(
            [&] { return OptivoSim_NumCalls(OPTIVO_STREAM_GRAB_IMAGE) > numGrabs + 50; }));
        for (int i = 0; i < 20; ++i) {
            ExpectFlags(buffers[0], true, false);
            ExpectNotRevocable(buffers[0]);
        }
        OptivoSim_ClearFaults();
        EXPECT_EQ(WaitBuffer().handle, buffers[0]);
        EXPECT_EQ(NumUnderrun() > 0, result == -3);
        RenewStream();
    }
}

TEST_F(GrabResultTest, EndPutsTheBufferBackAtTheFrontAndRunsOut) {
    StartAgainst({"-2", OPTIVO_FAULT_RESULT, -2});
    EXPECT_TRUE(RunsOut());
    ExpectLengths(2, 0);
    ExpectFlags(buffers[0], true, false);
    EXPECT_EQ(NumDelivered(), 0U);
    EXPECT_EQ(NumUnderrun(), 0U);
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_STREAM_GRAB_IMAGE), 1U);
    EXPECT_FAILS(-1001, "Port is not available", WaitBuffer(1).code);
    Start();
    Produce(2);
    EXPECT_TRUE(Eventually([&] { return NumAwaitDelivery() == 2; }));
    EXPECT_EQ(FetchAll(), buffers);
}

TEST_F(GrabResultTest, MinusFourStrandsTheBufferAndRunsOut) {
    StartAgainst({"-4", OPTIVO_FAULT_RESULT, -4});
    EXPECT_TRUE(RunsOut());
    EXPECT_EQ(NumDelivered(), 0U);
    EXPECT_EQ(NumUnderrun(), 0U);
    ExpectFirstBufferStranded();
    ExpectEmptySuccess();
}

TEST_F(GrabResultTest, OtherResultsStrandTheBufferAndRunOut) {
    for (const Fault& fault : FATAL) {
        SCOPED_TRACE(fault.name);
        const uint64_t numGrabs = OptivoSim_NumCalls(OPTIVO_STREAM_GRAB_IMAGE);
        StartAgainst(fault);
        EXPECT_TRUE(RunsOut());
        EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_STREAM_GRAB_IMAGE), numGrabs + 1);
        EXPECT_EQ(NumDelivered(), 0U);
        EXPECT_EQ(NumUnderrun(), 0U);
        ExpectFirstBufferStranded();
        EXPECT_FAILS(-1011, "Timeout", WaitBuffer(1).code);
        RenewStream();
    }
}

TEST_F(GrabResultTest, DiscardBringsAStrandedBufferBack) {
    StartAgainst(FATAL[0]);
    EXPECT_TRUE(RunsOut());
    EXPECT_OK(gentl.DSFlushQueue(stream, 4));
    ExpectLengths(0, 2);
    EXPECT_EQ(FetchAll(), buffers);
}

TEST_F(GrabResultTest, StrandedBufferIsFilledAgainOnceAllIsDiscardedAndTheOutputToo) {
    StartAgainst(FATAL[0]);
    EXPECT_TRUE(RunsOut());
    EXPECT_OK(gentl.DSFlushQueue(stream, 4));
    EXPECT_OK(gentl.DSFlushQueue(stream, 1));
    QueueAll();
    ExpectLengths(2, 0);
    Start();
    Produce(2);
    EXPECT_TRUE(Eventually([&] { return NumAwaitDelivery() == 2; }));
    EXPECT_EQ(FetchAll(), buffers);
}

TEST_F(GrabResultTest, AcquisitionStartsAgainAfterAFatalResult) {
    StartAgainst(FATAL[0]);
    EXPECT_TRUE(RunsOut());
    Start();
    EXPECT_TRUE(IsGrabbing());
    Produce(1);
    EXPECT_EQ(WaitBuffer().handle, buffers[1]);
}

TEST_F(GrabResultTest, ImagesWithoutABufferAreDropped) {
    RegisterNewBuffer();
    Start();
    for (uint64_t count = 1; count <= 3; ++count) {
        Produce(1);
        EXPECT_TRUE(Eventually([&] { return NumUnderrun() == count; }));
        EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_STREAM_GRAB_IMAGE), count);
        EXPECT_EQ(OptivoSim_LastArgument(OPTIVO_STREAM_GRAB_IMAGE), 100U);
        EXPECT_EQ(OptivoSim_LastSelector(OPTIVO_STREAM_GRAB_IMAGE), 0U) << "it goes nowhere";
    }
    EXPECT_EQ(NumDelivered(), 0U);
    ExpectLengths(0, 0);
    EXPECT_TRUE(IsGrabbing());
    EXPECT_FAILS(-1011, "Timeout", WaitBuffer(1).code);
}

TEST_F(GrabResultTest, BufferGetsTheImageAfterTheDroppedOnes) {
    AnnounceBuffers(1);
    RegisterNewBuffer();
    Start();
    Produce(3);
    EXPECT_TRUE(Eventually([&] { return NumUnderrun() == 3; }));
    QueueAll();
    Produce(1);
    ASSERT_EQ(WaitBuffer().handle, buffers[0]);
    EXPECT_TRUE(HoldsImage(Memory(buffers[0]), 3));
}

TEST_F(GrabResultTest, WithoutABufferNothingYetIsNotCounted) {
    GrabAnswers(-1, 5);
    Start();
    Produce(1);
    EXPECT_TRUE(Eventually([&] { return NumUnderrun() == 1; }));
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_STREAM_GRAB_IMAGE), 6U);
    EXPECT_TRUE(IsGrabbing());
}

TEST_F(GrabResultTest, WithoutABufferALostImageIsCounted) {
    GrabAnswers(-3, 5);
    Start();
    Produce(1);
    EXPECT_TRUE(Eventually([&] { return NumUnderrun() == 6; }));
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_STREAM_GRAB_IMAGE), 6U);
    EXPECT_TRUE(IsGrabbing());
}

TEST_F(GrabResultTest, WithoutABufferTheEndRunsOut) {
    GrabAnswers(-2);
    RegisterNewBuffer();
    Start();
    Produce(1);
    EXPECT_TRUE(RunsOut());
    EXPECT_EQ(NumUnderrun(), 0U);
    EXPECT_FAILS(-1001, "Port is not available", WaitBuffer(1).code);
}

TEST_F(GrabResultTest, WithoutABufferMinusFourRunsOut) {
    GrabAnswers(-4);
    RegisterNewBuffer();
    Start();
    Produce(1);
    EXPECT_TRUE(RunsOut());
    EXPECT_EQ(NumUnderrun(), 0U);
    ExpectEmptySuccess();
}

TEST_F(GrabResultTest, WithoutABufferOtherResultsRunOut) {
    for (const Fault& fault : FATAL) {
        SCOPED_TRACE(fault.name);
        GrabFails(fault);
        RegisterNewBuffer();
        Start();
        Produce(1);
        EXPECT_TRUE(RunsOut());
        EXPECT_EQ(NumUnderrun(), 0U);
        EXPECT_FAILS(-1011, "Timeout", WaitBuffer(1).code);
        AnnounceBuffers(1);
        EXPECT_OK(gentl.DSQueueBuffer(stream, buffers[0]));
        RenewStream();
    }
}

TEST_F(GrabResultTest, TimeoutWhileImagesAreLostIsATimeout) {
    for (const int32_t result : {-1, -3}) {
        SCOPED_TRACE(result);
        GrabAnswers(result, OPTIVO_FOREVER);
        StartWith(1);
        const uint64_t numGrabs = OptivoSim_NumCalls(OPTIVO_STREAM_GRAB_IMAGE);
        Produce(1);
        EXPECT_TRUE(Eventually(
            [&] { return OptivoSim_NumCalls(OPTIVO_STREAM_GRAB_IMAGE) > numGrabs + 1; }));
        EXPECT_FAILS(-1011, "Timeout", WaitBuffer(1).code);
        RenewStream();
    }
}

TEST_F(GrabResultTest, BufferIsFetchedWhateverTheLastResult) {
    for (const int32_t result : {-2, -4, 7}) {
        SCOPED_TRACE(result);
        StartWith(2);
        Produce(1);
        ASSERT_TRUE(Eventually([&] { return NumAwaitDelivery() == 1; }));
        GrabAnswers(result);
        Produce(1);
        EXPECT_TRUE(RunsOut());
        EXPECT_EQ(WaitBuffer(1).handle, buffers[0]);
        RenewStream();
    }
}

// What ended the last acquisition says nothing of this one.
TEST_F(GrabResultTest, IsForgottenByTheNextStart) {
    for (const int32_t result : {-2, -4}) {
        SCOPED_TRACE(result);
        GrabAnswers(result);
        StartWith(1);
        Produce(1);
        ASSERT_TRUE(RunsOut());
        EXPECT_EQ(WaitBuffer(0).code, result == -2 ? -1001 : 0);
        Stop();
        EXPECT_EQ(WaitBuffer(0).code, result == -2 ? -1001 : 0);
        Start();
        EXPECT_FAILS(-1011, "Timeout", gentl.EventGetData(newBuffer, nullptr, nullptr, 1));
        RenewStream();
    }
}

} // namespace
