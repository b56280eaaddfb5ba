#include "StreamFixtures.h"

namespace {

class StreamOpenTest : public MonoStreamTest {
protected:
    Info Id(DS_HANDLE of) {
        return Ask([&](auto... out) { return gentl.DSGetInfo(of, 0, out...); });
    }
    Info PortId(DS_HANDLE of) {
        return Ask([&](auto... out) { return gentl.GCGetPortInfo(of, 0, out...); });
    }
};

TEST_F(StreamOpenTest, IndexIsTheNumberFromTheThirdCharacterOn) {
    struct Row {
        const char* id;
        uint64_t index;
    };
    const Row rows[] = {{"DS7", 7},   {"DS42", 42}, {"DS007", 7},  {"xy5", 5},
                        {"777", 7},   {"DS 5", 5},  {"DS+4", 4},   {"DS12ab", 12},
                        {"DSabc", 0}, {"DS1.9", 1}, {"DS%d%s", 0}, {"DS2147483647", 2147483647}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.id);
        const DS_HANDLE another = OpenAnother(row.id);
        EXPECT_EQ(OptivoSim_LastSelector(OPTIVO_DEVICE_OPEN_DATA_STREAM), row.index);
        EXPECT_EQ(Id(another), TextInfo(row.id));
        EXPECT_EQ(PortId(another), TextInfo("DS" + std::to_string(row.index) + '\0'));
        EXPECT_OK(gentl.DSClose(another));
    }
}

TEST_F(StreamOpenTest, IndexOfAShortIdIsZero) {
    for (const char* id : {"", "X", "7", "DS", "77"}) {
        SCOPED_TRACE(id);
        const DS_HANDLE another = OpenAnother(id);
        EXPECT_EQ(OptivoSim_LastSelector(OPTIVO_DEVICE_OPEN_DATA_STREAM), 0U);
        EXPECT_EQ(Id(another), TextInfo(id));
        EXPECT_EQ(PortId(another), TextInfo(std::string("DS0\0", 4)));
        EXPECT_OK(gentl.DSClose(another));
    }
}

TEST_F(StreamOpenTest, NegativeIndexIsTakenAsUnsigned) {
    const DS_HANDLE another = OpenAnother("DS-3");
    EXPECT_EQ(OptivoSim_LastSelector(OPTIVO_DEVICE_OPEN_DATA_STREAM), 4294967293U);
    EXPECT_EQ(Id(another), TextInfo("DS-3"));
    EXPECT_EQ(PortId(another), TextInfo(std::string("DS4294967293\0", 13)));
    EXPECT_OK(gentl.DSClose(another));
}

TEST_F(StreamOpenTest, IdMayBeLong) {
    for (const char filler : {'a', '9'}) {
        SCOPED_TRACE(filler);
        const std::string id = "DS" + std::string(9998, filler);
        const DS_HANDLE another = OpenAnother(id);
        EXPECT_EQ(Id(another), TextInfo(id));
        EXPECT_EQ(Id(another).size, 10001U);
        DS_HANDLE again = nullptr;
        EXPECT_OK(gentl.DevOpenDataStream(device, id.c_str(), &again));
        EXPECT_EQ(again, another);
        EXPECT_OK(gentl.DSClose(another));
    }
}

TEST_F(StreamOpenTest, FailsWithTheLibrary) {
    for (const int32_t result : {-1, -1001, -1004, -1014}) {
        SCOPED_TRACE(result);
        const uint64_t numAlive = OptivoSim_NumAlive(OPTIVO_OBJECT_STREAM);
        AddFault(OPTIVO_DEVICE_OPEN_DATA_STREAM, OPTIVO_FAULT_RESULT, result, 1);
        DS_HANDLE another = this;
        EXPECT_FAILS(-1001, "Unable to open Stream",
                     gentl.DevOpenDataStream(device, "DS1", &another));
        EXPECT_EQ(another, this);
        EXPECT_EQ(OptivoSim_NumAlive(OPTIVO_OBJECT_STREAM), numAlive);
    }
    EXPECT_OK(gentl.DSClose(OpenAnother("DS1")));
}

TEST_F(StreamOpenTest, StreamOfAFailedOpeningIsClosed) {
    const uint64_t numAlive = OptivoSim_NumAlive(OPTIVO_OBJECT_STREAM);
    AddFault(OPTIVO_DEVICE_OPEN_DATA_STREAM, OPTIVO_FAULT_RESULT_AFTER, -1001, 1);
    DS_HANDLE another = this;
    EXPECT_FAILS(-1001, "Unable to open Stream", gentl.DevOpenDataStream(device, "DS1", &another));
    EXPECT_EQ(another, this);
    EXPECT_EQ(OptivoSim_NumAlive(OPTIVO_OBJECT_STREAM), numAlive);
}

TEST_F(StreamOpenTest, NoStreamIsAFailure) {
    AddFault(OPTIVO_DEVICE_OPEN_DATA_STREAM, OPTIVO_FAULT_NULL_OBJECT, 0, 1);
    DS_HANDLE another = this;
    EXPECT_FAILS_WITH_TEXT(-1001, gentl.DevOpenDataStream(device, "DS1", &another));
    EXPECT_EQ(another, this);
}

TEST_F(StreamOpenTest, PositiveResultIsASuccess) {
    AddFault(OPTIVO_DEVICE_OPEN_DATA_STREAM, OPTIVO_FAULT_RESULT_AFTER, 5, 1);
    const DS_HANDLE another = OpenAnother();
    EXPECT_EQ(Id(another), TextInfo("DS1"));
    EXPECT_OK(gentl.DSClose(another));
}

TEST_F(StreamOpenTest, EveryStreamHasItsDeviceForAParent) {
    for (const char* id : {"DS7", "X", "", "DS-3", "DSabc"}) {
        SCOPED_TRACE(id);
        const DS_HANDLE another = OpenAnother(id);
        for (DS_HANDLE of : {another, stream}) {
            DEV_HANDLE parent = nullptr;
            EXPECT_OK(gentl.DSGetParentDev(of, &parent));
            EXPECT_EQ(parent, device);
        }
        EXPECT_OK(gentl.DSClose(another));
    }
}

TEST_F(StreamOpenTest, StreamsAcquireIndependently) {
    StartWith(1);
    const DS_HANDLE another = OpenAnother();
    BUFFER_HANDLE ofAnother = nullptr;
    EXPECT_OK(gentl.DSAnnounceBuffer(another, nullptr, IMAGE_SIZE, this, &ofAnother));
    EXPECT_OK(gentl.DSQueueBuffer(another, ofAnother));
    EVENT_HANDLE eventOfAnother = nullptr;
    EXPECT_OK(gentl.GCRegisterEvent(another, 1, &eventOfAnother));
    EXPECT_NE(eventOfAnother, newBuffer);
    EXPECT_OK(gentl.DSStartAcquisition(another, 0, 1));
    Produce(1);
    EXPECT_EQ(WaitBuffer().handle, buffers[0]);
    EVENT_NEW_BUFFER_DATA data = {};
    size_t size = sizeof data;
    EXPECT_OK(gentl.EventGetData(eventOfAnother, &data, &size, LONG_WAIT));
    EXPECT_EQ(data.BufferHandle, ofAnother);
    EXPECT_EQ(data.pUserPointer, this);
    EXPECT_OK(gentl.DSClose(another));
    EXPECT_TRUE(IsGrabbing());
}

class StreamCloseTest : public MonoStreamTest {
protected:
    // Buffers that the stream could not revoke outlive it, but not as handles: their owner may
    // free the consumer's memory.
    void CloseExpectingMemoryKept(const std::vector<size_t>& indices) {
        std::vector<unsigned char*> memory;
        for (const size_t index : indices) {
            memory.push_back(Memory(buffers[index]));
        }
        const DS_HANDLE another = OpenAnother();
        CloseStream();
        for (size_t i = 0; i < indices.size(); ++i) {
            SCOPED_TRACE(indices[i]);
            std::memset(memory[i], 0x5A, IMAGE_SIZE);
            BUFFER_HANDLE buffer = buffers[indices[i]];
            size_t size = sizeof(void*);
            void* value = nullptr;
            EXPECT_FAILS(-1001, "Invalid Device Handle",
                         gentl.DSGetBufferInfo(another, buffer, 2, nullptr, &value, &size));
            EXPECT_FAILS(-1001, "Invalid Device Handle", gentl.DSQueueBuffer(another, buffer));
            EXPECT_FAILS(-1001, "Invalid Device Handle",
                         gentl.DSRevokeBuffer(another, buffer, nullptr, nullptr));
        }
    }

    uint64_t NumCloses() { return OptivoSim_NumCalls(OPTIVO_STREAM_CLOSE); }
};

TEST_F(StreamCloseTest, ClosesTheLibrarysStreamOnce) {
    const uint64_t numAlive = OptivoSim_NumAlive(OPTIVO_OBJECT_STREAM);
    CloseStream();
    EXPECT_EQ(NumCloses(), 1U);
    EXPECT_EQ(OptivoSim_NumAlive(OPTIVO_OBJECT_STREAM), numAlive - 1);
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_STREAM_STOP_ACQUISITION), 0U);
    CloseDevice();
    EXPECT_EQ(NumCloses(), 1U);
}

TEST_F(StreamCloseTest, ClosedStreamIsForgotten) {
    CloseStream();
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_DEVICE_OPEN_DATA_STREAM), 1U);
    OpenStream();
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_DEVICE_OPEN_DATA_STREAM), 2U);
    EXPECT_EQ(NumAnnounced(), 0U);
}

TEST_F(StreamCloseTest, OtherStreamsStay) {
    for (const char* id : {"DS1", "DS7", "X", "", "DS-3", "DSabc", "DS00"}) {
        SCOPED_TRACE(id);
        const DS_HANDLE another = OpenAnother(id);
        EXPECT_OK(gentl.DSClose(another));
        DS_HANDLE again = nullptr;
        EXPECT_OK(gentl.DevOpenDataStream(device, "DS0", &again));
        EXPECT_EQ(again, stream);
        EXPECT_EQ(NumAnnounced(), 0U);
    }
}

TEST_F(StreamCloseTest, TakesItsBuffersAlong) {
    AnnounceBuffers(3);
    AnnounceMemory(IMAGE_SIZE);
    CloseStream();
    EXPECT_EQ(NumCloses(), 1U);
}

TEST_F(StreamCloseTest, EndsTheAcquisition) {
    Deliver(2);
    ASSERT_OK(gentl.DSFlushQueue(stream, 4));
    CloseStream();
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_STREAM_STOP_ACQUISITION), 1U);
    EXPECT_EQ(NumCloses(), 1U);
}

TEST_F(StreamCloseTest, BuffersFromTheFirstQueuedOneOnAreNotFreed) {
    AnnounceBuffers(3);
    ASSERT_OK(gentl.DSQueueBuffer(stream, buffers[1]));
    CloseExpectingMemoryKept({1, 2});
    EXPECT_EQ(NumCloses(), 1U);
    OpenStream();
    EXPECT_EQ(NumAnnounced(), 0U);
}

TEST_F(StreamCloseTest, BuffersFromTheFirstDeliveredOneOnAreNotFreed) {
    AnnounceBuffers(3);
    ASSERT_OK(gentl.DSQueueBuffer(stream, buffers[1]));
    Start(1);
    Produce(1);
    ASSERT_TRUE(Eventually([&] { return NumAwaitDelivery() == 1; }));
    CloseExpectingMemoryKept({1, 2});
    EXPECT_EQ(NumCloses(), 1U);
}

TEST_F(StreamCloseTest, FailingStopLeavesTheLibrarysStreamAndTheBuffers) {
    LeavesAlive(OPTIVO_OBJECT_STREAM, 1);
    AnnounceBuffers(2);
    Start();
    AddFault(OPTIVO_STREAM_STOP_ACQUISITION, OPTIVO_FAULT_RESULT, -1001, 1);
    CloseExpectingMemoryKept({0, 1});
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_STREAM_STOP_ACQUISITION), 1U);
    EXPECT_EQ(NumCloses(), 0U);
}

TEST_F(StreamCloseTest, FailingStopEndsTheThreadAndTheStreamAllTheSame) {
    LeavesAlive(OPTIVO_OBJECT_STREAM, 1);
    StartWith(1);
    AddFault(OPTIVO_STREAM_STOP_ACQUISITION, OPTIVO_FAULT_RESULT, -1001, 1);
    CloseStream();
    const uint64_t numPolls = OptivoSim_NumCalls(OPTIVO_STREAM_GET_STREAM_INFO);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_STREAM_GET_STREAM_INFO), numPolls);
    OpenStream();
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_DEVICE_OPEN_DATA_STREAM), 2U);
    EXPECT_EQ(NumAnnounced(), 0U);
}

// It ends the release, so that the buffers stay too.
TEST_F(StreamCloseTest, FailingCloseOfTheLibraryIsSilent) {
    for (const OptivoFaultKind kind :
         {OPTIVO_FAULT_GENERIC_EXCEPTION, OPTIVO_FAULT_FOREIGN_EXCEPTION}) {
        LeavesAlive(OPTIVO_OBJECT_STREAM, 1);
        AddFault(OPTIVO_STREAM_CLOSE, kind, 0, 1);
        buffers.clear();
        AnnounceBuffers(2);
        CloseExpectingMemoryKept({0, 1});
        OpenStream();
        EXPECT_EQ(NumAnnounced(), 0U);
    }
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_DEVICE_OPEN_DATA_STREAM), 4U);
}

TEST_F(StreamCloseTest, RecordsNoErrorOfItsOwn) {
    LeavesAlive(OPTIVO_OBJECT_STREAM, 1);
    StartWith(2);
    AddFault(OPTIVO_STREAM_STOP_ACQUISITION, OPTIVO_FAULT_RESULT, -1001, 1);
    EXPECT_FAILS_UNRECORDED(0, gentl.DSClose(stream));
    OpenStream();
    AnnounceBuffers(1);
    ASSERT_OK(gentl.DSQueueBuffer(stream, buffers[2]));
    EXPECT_FAILS_UNRECORDED(0, gentl.DSClose(stream));
    stream = nullptr;
}

class StreamEventTest : public MonoStreamTest {};

TEST_F(StreamEventTest, ThereIsOneOfEachType) {
    EVENT_HANDLE handles[2] = {};
    for (const EVENT_TYPE type : {0, 1}) {
        SCOPED_TRACE(type);
        EXPECT_OK(gentl.GCRegisterEvent(stream, type, &handles[type]));
        ASSERT_NE(handles[type], nullptr);
        EVENT_HANDLE again = nullptr;
        EXPECT_OK(gentl.GCRegisterEvent(stream, type, &again));
        EXPECT_EQ(again, handles[type]);
        EXPECT_OK(gentl.GCUnregisterEvent(stream, type));
        EXPECT_OK(gentl.GCUnregisterEvent(stream, type));
        EXPECT_OK(gentl.GCRegisterEvent(stream, type, &again));
        EXPECT_EQ(again, handles[type]);
    }
    EXPECT_NE(handles[0], handles[1]);
}

TEST_F(StreamEventTest, OtherTypesAreNotImplemented) {
    for (const EVENT_TYPE type : {2, 3, 4, 5, 6, 1000, -1}) {
        const std::string text = "Event ID " + std::to_string(type) + " not implemented";
        EVENT_HANDLE event = this;
        EXPECT_FAILS(-1001, text, gentl.GCRegisterEvent(stream, type, &event));
        EXPECT_EQ(event, this);
        EXPECT_FAILS(-1001, text, gentl.GCRegisterEvent(stream, type, nullptr));
        EXPECT_FAILS(-1001, text, gentl.GCUnregisterEvent(stream, type));
    }
}

TEST_F(StreamEventTest, HandleHasToGoSomewhere) {
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.GCRegisterEvent(stream, 0, nullptr));
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.GCRegisterEvent(stream, 1, nullptr));
}

} // namespace
