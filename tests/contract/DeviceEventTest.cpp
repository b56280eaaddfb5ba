#include "DeviceFixtures.h"

namespace {

class RemoteEventTest : public RemoteEventFixture {
protected:
    // The library leaves the callback where it is.
    void UnregisterButKeepTheCallback() {
        AddLastingFault(OPTIVO_DEVICE_REGISTER_EVENT_CALLBACK, OPTIVO_FAULT_RESULT, -1001, 1);
        ASSERT_OK(Unregister());
        ASSERT_EQ(OptivoSim_HasCallback(camera.c_str()), 1);
    }

    // The call fails, changes nothing that it was offered, and leaves the entry queued.
    void ExpectDataRefused(int32_t code, const std::string& text, void* buffer, size_t offered) {
        size_t size = offered;
        EXPECT_FAILS(code, text, gentl.EventGetData(event, buffer, &size, 0));
        EXPECT_EQ(size, offered);
        EXPECT_EQ(NumInQueue(), 1U);
    }
};

TEST_F(RemoteEventTest, TakesNoOtherType) {
    for (const EVENT_TYPE type : {0, 1, 2, 3, 5, 1000, -1}) {
        const std::string text = "Event ID " + std::to_string(type) + " not implemented";
        EVENT_HANDLE none = this;
        EXPECT_FAILS(-1009, text, gentl.GCRegisterEvent(remote, type, &none));
        EXPECT_FAILS(-1009, text, gentl.GCRegisterEvent(remote, type, nullptr));
        EXPECT_FAILS(-1009, text, gentl.GCUnregisterEvent(remote, type));
        EXPECT_EQ(none, this);
    }
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_DEVICE_REGISTER_EVENT_CALLBACK), 1U);
}

TEST_F(RemoteEventTest, RegisteringNeedsARoomForTheHandle) {
    ASSERT_OK(Unregister());
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.GCRegisterEvent(remote, 4, nullptr));
    EXPECT_EQ(OptivoSim_HasCallback(camera.c_str()), 0);
}

TEST_F(RemoteEventTest, InstallsACallbackAndRemovesIt) {
    EXPECT_EQ(OptivoSim_HasCallback(camera.c_str()), 1);
    EXPECT_EQ(OptivoSim_LastArgument(OPTIVO_DEVICE_REGISTER_EVENT_CALLBACK), 1U);
    EXPECT_OK(Unregister());
    EXPECT_EQ(OptivoSim_HasCallback(camera.c_str()), 0);
    EXPECT_EQ(OptivoSim_LastArgument(OPTIVO_DEVICE_REGISTER_EVENT_CALLBACK), 0U);
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_DEVICE_REGISTER_EVENT_CALLBACK), 2U);
    EXPECT_OK(Unregister());
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_DEVICE_REGISTER_EVENT_CALLBACK), 3U);
}

TEST_F(RemoteEventTest, IsTheSameAtEachRegistration) {
    const EVENT_HANDLE first = event;
    EXPECT_OK(Register());
    EXPECT_EQ(event, first);
    EXPECT_OK(Unregister());
    EXPECT_OK(Register());
    EXPECT_EQ(event, first);
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_DEVICE_REGISTER_EVENT_CALLBACK), 4U);
    EXPECT_NE(event, remote);
}

TEST_F(RemoteEventTest, OfEachDeviceIsItsOwn) {
    DEV_HANDLE other = nullptr;
    PORT_HANDLE otherRemote = nullptr;
    EVENT_HANDLE otherEvent = nullptr;
    ASSERT_OK(gentl.IFOpenDevice(iface, DeviceId(1).c_str(), 4, &other));
    ASSERT_OK(gentl.DevGetPort(other, &otherRemote));
    ASSERT_OK(gentl.GCRegisterEvent(otherRemote, 4, &otherEvent));
    EXPECT_NE(otherEvent, event);
    ASSERT_TRUE(Fire(5, 6));
    ASSERT_EQ(OptivoSim_FireEvent(DeviceId(1).c_str(), 7, 8), 1);
    EXPECT_EQ(DeviceEvent::Read(otherEvent, LONG_WAIT), DeviceEvent::Of(7, 8));
    EXPECT_EQ(Read(), DeviceEvent::Of(5, 6));
    EXPECT_OK(gentl.DevClose(other));
}

TEST_F(RemoteEventTest, RegistersWhateverTheLibraryAnswers) {
    ASSERT_OK(Unregister());
    AddLastingFault(OPTIVO_DEVICE_REGISTER_EVENT_CALLBACK, OPTIVO_FAULT_RESULT_AFTER, -1001, 1);
    EXPECT_OK(Register());
    ASSERT_TRUE(Fire(1, 2));
    EXPECT_EQ(Read(), DeviceEvent::Of(1, 2));
    AddLastingFault(OPTIVO_DEVICE_REGISTER_EVENT_CALLBACK, OPTIVO_FAULT_RESULT, 7, 1);
    EXPECT_OK(Unregister());
}

TEST_F(RemoteEventTest, IsLostWhileNobodyIsRegistered) {
    UnregisterButKeepTheCallback();
    ASSERT_TRUE(Fire(1));
    EXPECT_EQ(NumInQueue(), 0U);
    EXPECT_EQ(Read(0), DeviceEvent::Nothing());
    ASSERT_OK(Register());
    EXPECT_EQ(NumInQueue(), 0U);
    ASSERT_TRUE(Fire(2));
    EXPECT_EQ(Read(), DeviceEvent::Of(2, 0));
    EXPECT_EQ(Read(0), DeviceEvent::Nothing());
}

TEST_F(RemoteEventTest, CountsWhileNobodyIsRegistered) {
    EXPECT_EQ(NumFired(), 0U);
    ASSERT_TRUE(Fire(1));
    UnregisterButKeepTheCallback();
    ASSERT_TRUE(Fire(2));
    ASSERT_TRUE(Fire(3));
    EXPECT_EQ(NumFired(), 3U);
    EXPECT_EQ(NumInQueue(), 1U);
    ASSERT_OK(Register());
    EXPECT_EQ(NumFired(), 3U);
}

TEST_F(RemoteEventTest, QueuedBeforeUnregisteringCanStillBeRead) {
    ASSERT_TRUE(Fire(1));
    ASSERT_TRUE(Fire(2));
    ASSERT_OK(Unregister());
    EXPECT_EQ(Read(), DeviceEvent::Of(1, 0));
    ASSERT_OK(Register());
    EXPECT_EQ(NumInQueue(), 1U);
    EXPECT_EQ(Read(), DeviceEvent::Of(2, 0));
}

// The callback comes first both times: when the library fails there, nothing is switched yet.
TEST_F(RemoteEventTest, FailedUnregisteringLeavesItRegistered) {
    AddLastingFault(OPTIVO_DEVICE_REGISTER_EVENT_CALLBACK, OPTIVO_FAULT_GENERIC_EXCEPTION, 0, 1);
    EXPECT_FAILS(-1001, UNSPECIFIED, Unregister());
    ASSERT_TRUE(Fire(1));
    EXPECT_EQ(Read(), DeviceEvent::Of(1, 0));
}

TEST_F(RemoteEventTest, FailedRegisteringLeavesItUnregistered) {
    UnregisterButKeepTheCallback();
    AddLastingFault(OPTIVO_DEVICE_REGISTER_EVENT_CALLBACK, OPTIVO_FAULT_GENERIC_EXCEPTION, 0, 1);
    EXPECT_FAILS(-1001, UNSPECIFIED, Register());
    ASSERT_TRUE(Fire(1));
    EXPECT_EQ(NumInQueue(), 0U);
    EXPECT_EQ(NumFired(), 1U);
}

TEST_F(RemoteEventTest, CallbackThatOutlivedUnregisteringGoesWithTheDevice) {
    UnregisterButKeepTheCallback();
    AddLastingFault(OPTIVO_DEVICE_CLOSE, OPTIVO_FAULT_RESULT, -1001, 1);
    LeavesAlive(OPTIVO_OBJECT_DEVICE, 1);
    CloseDevice();
    // A later event would reach a port that is gone.
    EXPECT_EQ(OptivoSim_HasCallback(camera.c_str()), 0);
}

TEST_F(RemoteEventTest, DataIsARecordOf24Bytes) {
    ASSERT_TRUE(Fire(0xFEDCBA98, 0x1122334455667788));
    unsigned char bytes[40];
    std::memset(bytes, 0x5A, sizeof bytes);
    size_t size = sizeof bytes;
    EXPECT_OK(gentl.EventGetData(event, bytes, &size, LONG_WAIT));
    EXPECT_EQ(size, 25U);
    const unsigned char expected[40] = {0x98, 0xBA, 0xDC, 0xFE, 0,    0,    0,    0,    0x88, 0x77,
                                        0x66, 0x55, 0x44, 0x33, 0x22, 0x11, 0,    0,    0,    0,
                                        0,    0,    0,    0,    0x5A, 0x5A, 0x5A, 0x5A, 0x5A, 0x5A,
                                        0x5A, 0x5A, 0x5A, 0x5A, 0x5A, 0x5A, 0x5A, 0x5A, 0x5A, 0x5A};
    EXPECT_EQ(std::memcmp(bytes, expected, sizeof bytes), 0) << testing::PrintToString(bytes);
    EXPECT_EQ(NumInQueue(), 0U);
}

TEST_F(RemoteEventTest, ValueKeepsAll64Bits) {
    for (const uint64_t value : {uint64_t{0}, uint64_t{0xFFFFFFFF}, uint64_t{0x100000000},
                                 uint64_t{0xFFFFFFFF00000000}, UINT64_MAX}) {
        ASSERT_TRUE(Fire(UINT32_MAX, value));
        EXPECT_EQ(Read(), DeviceEvent::Of(UINT32_MAX, value));
    }
    ASSERT_TRUE(Fire(0, 0));
    EXPECT_EQ(Read(), DeviceEvent::Of(0, 0));
}

TEST_F(RemoteEventTest, ComesInTheOrderOfItsArrival) {
    for (uint32_t id = 1; id <= 20; ++id) {
        ASSERT_TRUE(Fire(id, 1000 - id));
    }
    EXPECT_EQ(NumInQueue(), 20U);
    for (uint32_t id = 1; id <= 20; ++id) {
        EXPECT_EQ(Read(), DeviceEvent::Of(id, 1000 - id));
        EXPECT_EQ(NumInQueue(), 20 - id);
    }
    EXPECT_EQ(Read(0), DeviceEvent::Nothing());
}

TEST_F(RemoteEventTest, SizeZeroAsksForTheSizeAndLeavesTheEntry) {
    ASSERT_TRUE(Fire(1, 2));
    std::string bytes(32, '\x5A');
    for (void* buffer : {static_cast<void*>(bytes.data()), static_cast<void*>(nullptr)}) {
        size_t size = 0;
        EXPECT_OK(gentl.EventGetData(event, buffer, &size, 0));
        EXPECT_EQ(size, 5U);
    }
    EXPECT_EQ(bytes, std::string(32, '\x5A'));
    EXPECT_EQ(Read(0), DeviceEvent::Of(1, 2));
}

TEST_F(RemoteEventTest, SizeFiveIsEnoughForAllBytes) {
    for (const size_t offered : {size_t{5}, size_t{6}, size_t{23}, size_t{24}, SIZE_MAX}) {
        SCOPED_TRACE(offered);
        ASSERT_TRUE(Fire(3, 4));
        DeviceEvent found;
        found.size = offered;
        found.code = gentl.EventGetData(event, found.bytes.data(), &found.size, 0);
        EXPECT_EQ(found, DeviceEvent::Of(3, 4));
    }
}

TEST_F(RemoteEventTest, SizeBelowFiveIsTooSmall) {
    ASSERT_TRUE(Fire(3, 4));
    std::string bytes(32, '\x5A');
    for (size_t offered = 1; offered < 5; ++offered) {
        ExpectDataRefused(-1001, UNSPECIFIED, bytes.data(), offered);
    }
    EXPECT_EQ(bytes, std::string(32, '\x5A'));
    EXPECT_EQ(Read(0), DeviceEvent::Of(3, 4));
}

TEST_F(RemoteEventTest, DataNeedsABufferAndASize) {
    ASSERT_TRUE(Fire(3, 4));
    ExpectDataRefused(-1001, UNSPECIFIED, nullptr, 24);
    ExpectDataRefused(-1001, UNSPECIFIED, nullptr, 4);
    std::string bytes(32, '\x5A');
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.EventGetData(event, bytes.data(), nullptr, 0));
    EXPECT_EQ(bytes, std::string(32, '\x5A'));
    EXPECT_EQ(Read(0), DeviceEvent::Of(3, 4));
}

TEST_F(RemoteEventTest, EmptyQueueNeedsNeither) {
    EXPECT_OK(gentl.EventGetData(event, nullptr, nullptr, 0));
    size_t size = 0;
    EXPECT_OK(gentl.EventGetData(event, nullptr, &size, 1));
    EXPECT_EQ(size, 0U);
}

TEST_F(RemoteEventTest, FlushDropsWhatIsQueued) {
    EXPECT_OK(gentl.EventFlush(event));
    ASSERT_TRUE(Fire(1));
    ASSERT_TRUE(Fire(2));
    EXPECT_OK(gentl.EventFlush(event));
    EXPECT_EQ(NumInQueue(), 0U);
    EXPECT_EQ(NumFired(), 2U);
    EXPECT_EQ(Read(0), DeviceEvent::Nothing());
    ASSERT_TRUE(Fire(3));
    EXPECT_EQ(Read(0), DeviceEvent::Of(3, 0));
}

TEST_F(RemoteEventTest, KillDoesNothing) {
    ASSERT_TRUE(Fire(1, 2));
    EXPECT_OK(gentl.EventKill(event));
    EXPECT_EQ(NumInQueue(), 1U);
    EXPECT_EQ(Read(0), DeviceEvent::Of(1, 2));
    EXPECT_OK(gentl.EventKill(event));
    EXPECT_EQ(Read(0), DeviceEvent::Nothing());
}

TEST_F(RemoteEventTest, CounterStartsAgainAfter65535) {
    constexpr uint32_t COUNT = 65535;
    ASSERT_TRUE(FireMany(9, COUNT));
    ASSERT_TRUE(Eventually([&] { return NumInQueue() == COUNT; }));
    EXPECT_EQ(NumFired(), COUNT);
    ASSERT_TRUE(Fire(10));
    EXPECT_EQ(NumFired(), 0U);
    EXPECT_EQ(NumInQueue(), 65536U);
    ASSERT_TRUE(Fire(11));
    EXPECT_EQ(NumFired(), 1U);
    EXPECT_OK(gentl.EventFlush(event));
    EXPECT_EQ(NumInQueue(), 0U);
    EXPECT_EQ(NumFired(), 1U);
}

// What is told about the event itself, after four events of which one was read.
class RemoteEventInfoTest : public RemoteEventFixture {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(RemoteEventFixture::SetUp());
        for (uint32_t id = 1; id <= 4; ++id) {
            ASSERT_TRUE(Fire(id));
        }
        ASSERT_TRUE(Read().IsData());
    }

    struct Row {
        EVENT_INFO_CMD command;
        int32_t type;
        size_t size;
        uint64_t value;
    };
    static constexpr Row ROWS[] = {
        {0, 5, 4, 4}, {1, 5, 8, 3}, {2, 5, 8, 4}, {3, 6, 8, 24}, {4, 6, 8, 24}};
};

TEST_F(RemoteEventInfoTest, HasItsOwnTypesAndSizes) {
    for (const Row& row : ROWS) {
        for (const size_t offered : {row.size, row.size + 1, size_t{1000}}) {
            SCOPED_TRACE(row.command);
            INFO_DATATYPE type = 99;
            unsigned char bytes[16];
            std::memset(bytes, 0x5A, sizeof bytes);
            size_t size = offered;
            EXPECT_OK(gentl.EventGetInfo(event, row.command, &type, bytes, &size));
            EXPECT_EQ(type, row.type);
            EXPECT_EQ(size, row.size);
            unsigned char expected[16];
            std::memset(expected, 0x5A, sizeof expected);
            std::memcpy(expected, &row.value, row.size);
            EXPECT_EQ(std::memcmp(bytes, expected, sizeof bytes), 0);
            size = offered;
            EXPECT_OK(gentl.EventGetInfo(event, row.command, nullptr, bytes, &size));
        }
    }
}

TEST_F(RemoteEventInfoTest, TellsFourBytesWhenTheRoomIsTooSmall) {
    for (const Row& row : ROWS) {
        for (size_t offered = 0; offered < row.size; ++offered) {
            SCOPED_TRACE(row.command);
            std::string bytes(16, '\x5A');
            size_t size = offered;
            INFO_DATATYPE type = 99;
            EXPECT_FAILS(-1001, UNSPECIFIED,
                         gentl.EventGetInfo(event, row.command, &type, bytes.data(), &size));
            EXPECT_EQ(size, 4U);
            EXPECT_EQ(type, 99);
            EXPECT_EQ(bytes, std::string(16, '\x5A'));
        }
    }
}

TEST_F(RemoteEventInfoTest, NeedsABufferForEveryCommand) {
    for (const EVENT_INFO_CMD command : {0, 1, 2, 3, 4, 5, -1}) {
        SCOPED_TRACE(command);
        INFO_DATATYPE type = 99;
        size_t size = 8;
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.EventGetInfo(event, command, &type, nullptr, &size));
        EXPECT_FAILS(-1001, UNSPECIFIED,
                     gentl.EventGetInfo(event, command, &type, nullptr, nullptr));
        EXPECT_EQ(type, 99);
        EXPECT_EQ(size, 8U);
    }
}

TEST_F(RemoteEventInfoTest, NeedsASize) {
    for (const Row& row : ROWS) {
        SCOPED_TRACE(row.command);
        std::string bytes(16, '\x5A');
        EXPECT_FAILS_WITH_TEXT(
            -1009, gentl.EventGetInfo(event, row.command, nullptr, bytes.data(), nullptr));
        EXPECT_EQ(bytes, std::string(16, '\x5A'));
    }
}

TEST_F(RemoteEventInfoTest, OfAnotherCommandIsSilent) {
    for (const EVENT_INFO_CMD command : {5, 6, 1000, -1, INT32_MIN}) {
        SCOPED_TRACE(command);
        INFO_DATATYPE type = 99;
        char bytes[16] = "before";
        size_t size = 1;
        EXPECT_OK(gentl.EventGetInfo(event, command, &type, bytes, &size));
        EXPECT_OK(gentl.EventGetInfo(event, command, nullptr, bytes, nullptr));
        EXPECT_EQ(type, 99);
        EXPECT_EQ(size, 1U);
        EXPECT_STREQ(bytes, "before");
    }
}

// What is told about a record that was read.
class RemoteEventDataInfoTest : public RemoteEventFixture {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(RemoteEventFixture::SetUp());
        ASSERT_TRUE(Fire(0x89ABCDEF, 0x1122334455667788));
        m_record = Read().bytes;
    }

    void ExpectRefused(const void* record, size_t recordSize, EVENT_DATA_INFO_CMD command,
                       void* out, size_t offered, size_t expectedSize) {
        INFO_DATATYPE type = 99;
        size_t size = offered;
        EXPECT_FAILS(-1001, UNSPECIFIED,
                     gentl.EventGetDataInfo(event, record, recordSize, command, &type, out, &size));
        EXPECT_EQ(type, 99);
        EXPECT_EQ(size, expectedSize);
    }

    std::string m_record;
    std::string m_out = std::string(8, '\x5A');
};

TEST_F(RemoteEventDataInfoTest, TellsTheEventId) {
    for (const size_t offered : {size_t{4}, size_t{5}, size_t{8}}) {
        for (const size_t recordSize : {size_t{24}, size_t{25}, size_t{32}}) {
            INFO_DATATYPE type = 99;
            size_t size = offered;
            EXPECT_OK(gentl.EventGetDataInfo(event, m_record.data(), recordSize, 0, &type,
                                             m_out.data(), &size));
            EXPECT_EQ(type, 5);
            EXPECT_EQ(size, 4U);
            EXPECT_EQ(m_out, "\xEF\xCD\xAB\x89\x5A\x5A\x5A\x5A");
        }
    }
    size_t size = 4;
    EXPECT_OK(gentl.EventGetDataInfo(event, m_record.data(), 24, 0, nullptr, m_out.data(), &size));
}

TEST_F(RemoteEventDataInfoTest, ReadsTheRecordThatItIsGiven) {
    m_record[0] = 1;
    size_t size = 4;
    EXPECT_OK(gentl.EventGetDataInfo(event, m_record.data(), 24, 0, nullptr, m_out.data(), &size));
    EXPECT_EQ(m_out.substr(0, 4), "\x01\xCD\xAB\x89");
}

TEST_F(RemoteEventDataInfoTest, TellsFourBytesWhenTheRoomIsTooSmall) {
    for (size_t offered = 0; offered < 4; ++offered) {
        ExpectRefused(m_record.data(), 24, 0, m_out.data(), offered, 4);
    }
    EXPECT_EQ(m_out, std::string(8, '\x5A'));
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.EventGetDataInfo(event, m_record.data(), 24, 0, nullptr,
                                                         m_out.data(), nullptr));
}

TEST_F(RemoteEventDataInfoTest, NeedsBothBuffersAndAWholeRecord) {
    ExpectRefused(nullptr, 24, 0, m_out.data(), 8, 8);
    ExpectRefused(m_record.data(), 24, 0, nullptr, 8, 8);
    ExpectRefused(nullptr, 0, 1, nullptr, 0, 0);
    for (const size_t recordSize : {size_t{0}, size_t{1}, size_t{5}, size_t{23}}) {
        ExpectRefused(m_record.data(), recordSize, 0, m_out.data(), 8, 8);
        // Not even the size is told.
        ExpectRefused(m_record.data(), recordSize, 0, m_out.data(), 3, 3);
    }
    EXPECT_EQ(m_out, std::string(8, '\x5A'));
}

TEST_F(RemoteEventDataInfoTest, KnowsNothingElse) {
    for (const EVENT_DATA_INFO_CMD command : {1, 2, 3, 1000, -1, INT32_MIN}) {
        SCOPED_TRACE(command);
        ExpectRefused(m_record.data(), 24, command, m_out.data(), 8, 8);
        ExpectRefused(m_record.data(), 24, command, m_out.data(), 0, 0);
    }
    EXPECT_EQ(m_out, std::string(8, '\x5A'));
}

} // namespace
