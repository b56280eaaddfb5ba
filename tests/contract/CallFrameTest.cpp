#include "Fixtures.h"
#include "GuardedCalls.h"

namespace {

constexpr char NOT_INITIALISED[] = "GCInitLib was not called.";
constexpr char NULL_HANDLE[] = "Function call on wrong handle or NULL pointer.";
constexpr char WRONG_TL[] = " Invalid TL handle";
constexpr char WRONG_HANDLE[] = "Invalid Device Handle";

using HandleCall = std::function<int32_t(void*)>;
struct NamedCall {
    std::string name;
    HandleCall call;
};

class GuardTest : public LibraryTest {};

TEST_F(GuardTest, EveryFunctionButThreeIsGuarded) {
    EXPECT_EQ(GuardedCalls().size(), 54U);
}

TEST_F(GuardTest, EveryGuardedFunctionRefusesAfterGCCloseLib) {
    for (const GuardedCall& guarded : GuardedCalls()) {
        SCOPED_TRACE(guarded.name);
        ASSERT_OK(gentl.GCInitLib());
        ASSERT_TRUE(RecordOtherError());
        ASSERT_OK(gentl.GCCloseLib());
        EXPECT_CODE(-1002, guarded.call(gentl));
        EXPECT_LAST_ERROR(-1002, NOT_INITIALISED);
    }
}

// Open handles make no difference, and none of the calls has an effect.
class ClosedLibraryTest : public StreamTest {};

TEST_F(ClosedLibraryTest, RefusesValidHandles) {
    AnnounceBuffers(1);
    RegisterNewBuffer();
    ASSERT_OK(gentl.GCCloseLib());
    uint32_t count = 77;
    void* out = &count;
    size_t size = 4;
    EXPECT_CODE(-1002, gentl.GCGetNumPortURLs(tl, &count));
    EXPECT_CODE(-1002, gentl.GCReadPort(tl, 0x4, out, &size));
    EXPECT_CODE(-1002, gentl.EventGetInfo(newBuffer, 1, nullptr, out, &size));
    EXPECT_CODE(-1002, gentl.TLGetNumInterfaces(tl, &count));
    EXPECT_CODE(-1002, gentl.IFGetNumDevices(iface, &count));
    EXPECT_CODE(-1002, gentl.DevGetNumDataStreams(device, &count));
    EXPECT_CODE(-1002, gentl.DSGetInfo(stream, 3, nullptr, out, &size));
    EXPECT_CODE(-1002, gentl.DSQueueBuffer(stream, buffers[0]));
    EXPECT_CODE(-1002, gentl.DSClose(stream));
    EXPECT_CODE(-1002, gentl.DevClose(device));
    EXPECT_CODE(-1002, gentl.IFClose(iface));
    EXPECT_CODE(-1002, gentl.TLClose(tl));
    EXPECT_EQ(count, 77U);
    EXPECT_EQ(size, 4U);
    EXPECT_LAST_ERROR(-1002, NOT_INITIALISED);
    ASSERT_OK(gentl.GCInitLib());
    EXPECT_EQ(NumAnnounced(), 1U);
    EXPECT_EQ(NumQueued(), 0U);
}

class NullHandleTest : public LibraryTest {};

TEST_F(NullHandleTest, PortAndEventFunctionsAnswerOneCodeAndRecordAnother) {
    char buffer[64] = {};
    size_t size = sizeof buffer;
    uint32_t count = 77;
    INFO_DATATYPE type = 99;
    EVENT_HANDLE event = &count;
    PORT_REGISTER_STACK_ENTRY entry = {0x4, buffer, 4};
    size_t numEntries = 1;
    const std::vector<NamedCall> calls = {
        {"GCReadPort", [&](void* h) { return gentl.GCReadPort(h, 0, buffer, &size); }},
        {"GCWritePort", [&](void* h) { return gentl.GCWritePort(h, 0, buffer, &size); }},
        {"GCReadPortStacked",
         [&](void* h) { return gentl.GCReadPortStacked(h, &entry, &numEntries); }},
        {"GCWritePortStacked",
         [&](void* h) { return gentl.GCWritePortStacked(h, &entry, &numEntries); }},
        {"GCGetPortURL", [&](void* h) { return gentl.GCGetPortURL(h, buffer, &size); }},
        {"GCGetNumPortURLs", [&](void* h) { return gentl.GCGetNumPortURLs(h, &count); }},
        {"GCGetPortURLInfo",
         [&](void* h) { return gentl.GCGetPortURLInfo(h, 0, 0, &type, buffer, &size); }},
        {"GCGetPortInfo", [&](void* h) { return gentl.GCGetPortInfo(h, 0, &type, buffer, &size); }},
        {"GCRegisterEvent", [&](void* h) { return gentl.GCRegisterEvent(h, 0, &event); }},
        {"GCUnregisterEvent", [&](void* h) { return gentl.GCUnregisterEvent(h, 0); }},
        {"EventGetData", [&](void* h) { return gentl.EventGetData(h, buffer, &size, 0); }},
        {"EventGetDataInfo",
         [&](void* h) {
             return gentl.EventGetDataInfo(h, buffer, sizeof buffer, 0, &type, buffer, &size);
         }},
        {"EventGetInfo", [&](void* h) { return gentl.EventGetInfo(h, 1, &type, buffer, &size); }},
        {"EventFlush", [&](void* h) { return gentl.EventFlush(h); }},
        {"EventKill", [&](void* h) { return gentl.EventKill(h); }},
    };
    ASSERT_EQ(calls.size(), 15U);
    for (const NamedCall& named : calls) {
        SCOPED_TRACE(named.name);
        ASSERT_TRUE(RecordOtherError());
        EXPECT_CODE(-1006, named.call(nullptr));
        EXPECT_LAST_ERROR(-1009, NULL_HANDLE);
    }
    EXPECT_EQ(size, sizeof buffer);
    EXPECT_EQ(count, 77U);
    EXPECT_EQ(type, 99);
    EXPECT_EQ(event, &count);
    EXPECT_EQ(numEntries, 1U);
}

TEST_F(NullHandleTest, CountsBeforeEveryOtherArgument) {
    EXPECT_CODE(-1006, gentl.GCReadPortStacked(nullptr, nullptr, nullptr));
    EXPECT_LAST_ERROR(-1009, NULL_HANDLE);
    ASSERT_TRUE(RecordOtherError());
    EXPECT_CODE(-1006, gentl.GCWritePortStacked(nullptr, nullptr, nullptr));
    EXPECT_LAST_ERROR(-1009, NULL_HANDLE);
    ASSERT_TRUE(RecordOtherError());
    EXPECT_CODE(-1006, gentl.EventGetData(nullptr, nullptr, nullptr, GENTL_INFINITE));
    EXPECT_LAST_ERROR(-1009, NULL_HANDLE);
    ASSERT_TRUE(RecordOtherError());
    EXPECT_CODE(-1006, gentl.GCRegisterEvent(nullptr, 77, nullptr));
    EXPECT_LAST_ERROR(-1009, NULL_HANDLE);
}

// Every kind of module is open; each typed function gets each of the others.
class WrongHandleTest : public StreamTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(StreamTest::SetUp());
        AnnounceBuffers(1);
    }

    struct NamedHandle {
        std::string name;
        void* handle;
    };
    std::vector<NamedHandle> AllBut(void* rightOne) const {
        std::vector<NamedHandle> handles = {{"null", nullptr},       {"System", tl},
                                            {"Interface", iface},    {"Device", device},
                                            {"remote port", remote}, {"Data Stream", stream},
                                            {"buffer", buffers[0]}};
        std::erase_if(handles, [&](const NamedHandle& named) { return named.handle == rightOne; });
        EXPECT_EQ(handles.size(), 6U);
        return handles;
    }

    void ExpectRefused(void* rightOne, int32_t code, const char* text,
                       const std::vector<NamedCall>& calls) {
        for (const NamedCall& named : calls) {
            for (const NamedHandle& wrong : AllBut(rightOne)) {
                SCOPED_TRACE(named.name + " on " + wrong.name);
                EXPECT_FAILS(code, text, named.call(wrong.handle));
            }
        }
        EXPECT_EQ(m_count, 77U);
        EXPECT_EQ(m_size, sizeof m_buffer);
        EXPECT_EQ(m_type, 99);
        EXPECT_EQ(m_changed, 9);
        EXPECT_EQ(m_handle, this);
    }

    uint32_t m_count = 77;
    char m_buffer[256] = {};
    size_t m_size = sizeof m_buffer;
    INFO_DATATYPE m_type = 99;
    bool8_t m_changed = 9;
    void* m_handle = this;
};

TEST_F(WrongHandleTest, SystemFunctions) {
    const char* id = interfaceId.c_str();
    ExpectRefused(
        tl, -1006, WRONG_TL,
        {{"TLClose", [&](void* h) { return gentl.TLClose(h); }},
         {"TLGetInfo", [&](void* h) { return gentl.TLGetInfo(h, 1, &m_type, m_buffer, &m_size); }},
         {"TLGetNumInterfaces", [&](void* h) { return gentl.TLGetNumInterfaces(h, &m_count); }},
         {"TLGetInterfaceID",
          [&](void* h) { return gentl.TLGetInterfaceID(h, 0, m_buffer, &m_size); }},
         {"TLGetInterfaceInfo",
          [&](void* h) { return gentl.TLGetInterfaceInfo(h, id, 0, &m_type, m_buffer, &m_size); }},
         {"TLOpenInterface", [&](void* h) { return gentl.TLOpenInterface(h, id, &m_handle); }},
         {"TLUpdateInterfaceList",
          [&](void* h) { return gentl.TLUpdateInterfaceList(h, &m_changed, 200); }}});
}

TEST_F(WrongHandleTest, InterfaceFunctionsThatLoseTheText) {
    ExpectRefused(
        iface, -1001, UNSPECIFIED,
        {{"IFClose", [&](void* h) { return gentl.IFClose(h); }},
         {"IFGetInfo", [&](void* h) { return gentl.IFGetInfo(h, 0, &m_type, m_buffer, &m_size); }},
         {"IFGetNumDevices", [&](void* h) { return gentl.IFGetNumDevices(h, &m_count); }},
         {"IFGetDeviceID", [&](void* h) { return gentl.IFGetDeviceID(h, 0, m_buffer, &m_size); }}});
}

TEST_F(WrongHandleTest, InterfaceFunctionsThatSpeakOfADevice) {
    const char* id = camera.c_str();
    ExpectRefused(
        iface, -1001, WRONG_HANDLE,
        {{"IFUpdateDeviceList",
          [&](void* h) { return gentl.IFUpdateDeviceList(h, &m_changed, 200); }},
         {"IFGetDeviceInfo",
          [&](void* h) { return gentl.IFGetDeviceInfo(h, id, 0, &m_type, m_buffer, &m_size); }},
         {"IFOpenDevice", [&](void* h) { return gentl.IFOpenDevice(h, id, 4, &m_handle); }},
         {"IFGetParentTL", [&](void* h) { return gentl.IFGetParentTL(h, &m_handle); }}});
}

TEST_F(WrongHandleTest, DeviceFunctions) {
    ExpectRefused(
        device, -1001, WRONG_HANDLE,
        {{"DevGetPort", [&](void* h) { return gentl.DevGetPort(h, &m_handle); }},
         {"DevGetNumDataStreams", [&](void* h) { return gentl.DevGetNumDataStreams(h, &m_count); }},
         {"DevGetDataStreamID",
          [&](void* h) { return gentl.DevGetDataStreamID(h, 0, m_buffer, &m_size); }},
         {"DevOpenDataStream",
          [&](void* h) { return gentl.DevOpenDataStream(h, "DS0", &m_handle); }},
         {"DevGetInfo",
          [&](void* h) { return gentl.DevGetInfo(h, 0, &m_type, m_buffer, &m_size); }},
         {"DevGetParentIF", [&](void* h) { return gentl.DevGetParentIF(h, &m_handle); }}});
}

TEST_F(WrongHandleTest, DevCloseRecordsNothing) {
    for (const NamedHandle& wrong : AllBut(device)) {
        SCOPED_TRACE(wrong.name);
        EXPECT_FAILS_UNRECORDED(-1006, gentl.DevClose(wrong.handle));
    }
}

TEST_F(WrongHandleTest, StreamFunctions) {
    BUFFER_HANDLE buffer = buffers[0];
    ExpectRefused(
        stream, -1001, WRONG_HANDLE,
        {{"DSAnnounceBuffer",
          [&](void* h) {
              return gentl.DSAnnounceBuffer(h, m_buffer, sizeof m_buffer, nullptr, &m_handle);
          }},
         {"DSAllocAndAnnounceBuffer",
          [&](void* h) { return gentl.DSAllocAndAnnounceBuffer(h, 16, nullptr, &m_handle); }},
         {"DSRevokeBuffer",
          [&](void* h) { return gentl.DSRevokeBuffer(h, buffer, &m_handle, &m_handle); }},
         {"DSQueueBuffer", [&](void* h) { return gentl.DSQueueBuffer(h, buffer); }},
         {"DSFlushQueue", [&](void* h) { return gentl.DSFlushQueue(h, 4); }},
         {"DSStartAcquisition", [&](void* h) { return gentl.DSStartAcquisition(h, 0, 1); }},
         {"DSStopAcquisition", [&](void* h) { return gentl.DSStopAcquisition(h, 0); }},
         {"DSGetInfo", [&](void* h) { return gentl.DSGetInfo(h, 0, &m_type, m_buffer, &m_size); }},
         {"DSGetBufferInfo",
          [&](void* h) { return gentl.DSGetBufferInfo(h, buffer, 1, &m_type, m_buffer, &m_size); }},
         {"DSGetBufferID", [&](void* h) { return gentl.DSGetBufferID(h, 0, &m_handle); }},
         {"DSClose", [&](void* h) { return gentl.DSClose(h); }},
         {"DSGetParentDev", [&](void* h) { return gentl.DSGetParentDev(h, &m_handle); }},
         {"DSGetBufferChunkData",
          [&](void* h) { return gentl.DSGetBufferChunkData(h, buffer, nullptr, &m_size); }},
         {"DSGetNumBufferParts",
          [&](void* h) { return gentl.DSGetNumBufferParts(h, buffer, &m_count); }},
         {"DSGetBufferPartInfo", [&](void* h) {
              return gentl.DSGetBufferPartInfo(h, buffer, 0, 0, &m_type, m_buffer, &m_size);
          }}});
    EXPECT_EQ(NumAnnounced(), 1U);
    EXPECT_EQ(NumQueued(), 0U);
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_STREAM_START_ACQUISITION), 0U);
}

TEST_F(WrongHandleTest, BufferArguments) {
    for (const NamedHandle& wrong : AllBut(buffers[0])) {
        SCOPED_TRACE(wrong.name);
        EXPECT_FAILS(-1001, WRONG_HANDLE,
                     gentl.DSRevokeBuffer(stream, wrong.handle, &m_handle, &m_handle));
        EXPECT_FAILS(-1001, WRONG_HANDLE, gentl.DSQueueBuffer(stream, wrong.handle));
        EXPECT_FAILS(-1001, WRONG_HANDLE,
                     gentl.DSGetBufferInfo(stream, wrong.handle, 1, &m_type, m_buffer, &m_size));
    }
    EXPECT_EQ(m_handle, this);
    EXPECT_EQ(m_size, sizeof m_buffer);
}

// What the camera library throws loses its text, whatever operation it comes from.
class ForeignExceptionTest : public StreamTest,
                             public testing::WithParamInterface<OptivoFaultKind> {
protected:
    void ExpectCaught(OptivoOperation operation, const std::function<int32_t()>& call) {
        SCOPED_TRACE(operation);
        const OptivoFault fault = {operation, GetParam(), 0, OPTIVO_ANY_SELECTOR, 0, 1};
        OptivoSim_AddFault(&fault);
        const uint64_t before = OptivoSim_NumCalls(operation);
        EXPECT_TRUE(CallFails(-1001, UNSPECIFIED, call));
        EXPECT_GT(OptivoSim_NumCalls(operation), before);
        OptivoSim_ClearFaults();
    }
};

TEST_P(ForeignExceptionTest, OfTheSystem) {
    TL_HANDLE second = this;
    ExpectCaught(OPTIVO_GET_SYSTEM, [&] { return gentl.TLOpen(&second); });
    EXPECT_EQ(second, this);

    bool8_t changed = 9;
    const auto update = [&] { return gentl.TLUpdateInterfaceList(tl, &changed, 200); };
    ExpectCaught(OPTIVO_SYSTEM_UPDATE_INTERFACE_LIST, update);
    ExpectCaught(OPTIVO_SYSTEM_GET_INTERFACE_NAME, update);
    ExpectCaught(OPTIVO_SYSTEM_GET_INTERFACE, update);
    ExpectCaught(OPTIVO_INTERFACE_READ_PORT, update);
    EXPECT_EQ(changed, 9);

    ASSERT_GE(NumInterfaces(), 2U);
    const std::string otherId = InterfaceId(1);
    IF_HANDLE other = this;
    ExpectCaught(OPTIVO_SYSTEM_OPEN_INTERFACE,
                 [&] { return gentl.TLOpenInterface(tl, otherId.c_str(), &other); });
    EXPECT_EQ(other, this);
    EXPECT_OK(gentl.TLOpenInterface(tl, otherId.c_str(), &other));
}

TEST_P(ForeignExceptionTest, OfTheInterface) {
    const auto update = [&] { return gentl.IFUpdateDeviceList(iface, nullptr, 200); };
    ExpectCaught(OPTIVO_INTERFACE_UPDATE_DEVICE_LIST, update);
    ExpectCaught(OPTIVO_INTERFACE_GET_DEVICE_NAME, update);
    ExpectCaught(OPTIVO_INTERFACE_GET_DEVICE, update);
    ExpectCaught(OPTIVO_DEVICE_GET_INFO, update);

    uint32_t value = 0;
    size_t size = sizeof value;
    ExpectCaught(OPTIVO_INTERFACE_READ_PORT,
                 [&] { return gentl.GCReadPort(iface, 0x100, &value, &size); });
    ExpectCaught(OPTIVO_INTERFACE_WRITE_PORT,
                 [&] { return gentl.GCWritePort(iface, 0x100, &value, &size); });

    CloseDevice();
    ASSERT_OK(update());
    DEV_HANDLE again = this;
    ExpectCaught(OPTIVO_INTERFACE_OPEN_DEVICE,
                 [&] { return gentl.IFOpenDevice(iface, camera.c_str(), 4, &again); });
    EXPECT_EQ(again, this);
    OpenDevice();
}

TEST_P(ForeignExceptionTest, OfTheDevice) {
    uint32_t count = 77;
    ExpectCaught(OPTIVO_DEVICE_GET_NUM_DATA_STREAMS,
                 [&] { return gentl.DevGetNumDataStreams(device, &count); });
    EXPECT_EQ(count, 77U);
    size_t size = sizeof count;
    ExpectCaught(OPTIVO_DEVICE_READ_PORT,
                 [&] { return gentl.GCReadPort(remote, 0, &count, &size); });
    ExpectCaught(OPTIVO_DEVICE_WRITE_PORT,
                 [&] { return gentl.GCWritePort(remote, 0, &count, &size); });
    char url[512] = {};
    size = sizeof url;
    ExpectCaught(OPTIVO_DEVICE_GET_INFO, [&] { return gentl.GCGetPortURL(remote, url, &size); });
    EVENT_HANDLE event = this;
    ExpectCaught(OPTIVO_DEVICE_REGISTER_EVENT_CALLBACK,
                 [&] { return gentl.GCRegisterEvent(remote, 4, &event); });
    EXPECT_EQ(event, this);

    CloseStream();
    DS_HANDLE again = this;
    ExpectCaught(OPTIVO_DEVICE_OPEN_DATA_STREAM,
                 [&] { return gentl.DevOpenDataStream(device, "DS0", &again); });
    EXPECT_EQ(again, this);
    OpenStream();
}

TEST_P(ForeignExceptionTest, OfTheStream) {
    ExpectCaught(OPTIVO_STREAM_START_ACQUISITION,
                 [&] { return gentl.DSStartAcquisition(stream, 0, 1); });
    ExpectCaught(OPTIVO_STREAM_STOP_ACQUISITION,
                 [&] { return gentl.DSStopAcquisition(stream, 0); });
    uint64_t value = 0;
    size_t size = sizeof value;
    ExpectCaught(OPTIVO_STREAM_GET_STREAM_INFO,
                 [&] { return gentl.DSGetInfo(stream, 9, nullptr, &value, &size); });
}

INSTANTIATE_TEST_SUITE_P(Kinds, ForeignExceptionTest,
                         testing::Values(OPTIVO_FAULT_GENERIC_EXCEPTION,
                                         OPTIVO_FAULT_FOREIGN_EXCEPTION),
                         [](const auto& kind) {
                             return std::string(kind.param == OPTIVO_FAULT_GENERIC_EXCEPTION
                                                    ? "GenericException"
                                                    : "ForeignException");
                         });

// Each kind of error keeps its code and its text on the way to the consumer.
class ErrorKindTest : public DeviceTest {
protected:
    int32_t ReadWith(OptivoOperation operation, PORT_HANDLE port, int32_t result) {
        const OptivoFault fault = {operation, OPTIVO_FAULT_RESULT, result, OPTIVO_ANY_SELECTOR, 0,
                                   1};
        OptivoSim_AddFault(&fault);
        uint32_t value = 0;
        size_t size = sizeof value;
        return gentl.GCReadPort(port, 0x1A0, &value, &size);
    }
};

TEST_F(ErrorKindTest, HasItsCode) {
    struct Row {
        int32_t result;
        int32_t code;
        const char* text;
    };
    const Row rows[] = {
        {-1001, -1001, "Unspecified runtime error."},
        {-1003, -1003, "Register 0x1A0 is not implemented"},
        {-1004, -1004, "Resource in use."},
        {-1005, -1005, "Register 0x1A0 is not readable."},
        {-1006, -1006, "Not invalid handle."},
        {-1007, -1007, "Invalid id."},
        {-1008, -1008, "No data."},
        {-1009, -1009, "Invalid parameter"},
        {-1010, -1010, "Read register 0x1A0 is failed."},
        {-1011, -1011, "Timeout"},
        {-1012, -1012, "Wait terminated."},
        {-1013, -1013, "Invalid Buffer"},
        {-1014, -1014, "Port is not available"},
        {-1015, -1015, "Invalid Address"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.result);
        EXPECT_FAILS(row.code, row.text, ReadWith(OPTIVO_DEVICE_READ_PORT, remote, row.result));
    }
    EXPECT_FAILS(-1002, "Not invalid.", ReadWith(OPTIVO_INTERFACE_READ_PORT, iface, -1002));
}

// Where nothing else is laid down, a missing argument is an invalid parameter and changes nothing.
class NullArgumentTest : public StreamTest {};

TEST_F(NullArgumentTest, OfTheSystem) {
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.TLOpen(nullptr));
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.TLGetNumInterfaces(tl, nullptr));
    IF_HANDLE other = this;
    size_t size = SIZE_NOT_WRITTEN;
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.TLOpenInterface(tl, nullptr, &other));
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.TLOpenInterface(tl, interfaceId.c_str(), nullptr));
    EXPECT_FAILS_WITH_TEXT(-1009,
                           gentl.TLGetInterfaceInfo(tl, nullptr, 0, nullptr, nullptr, &size));
    EXPECT_EQ(other, this);
    EXPECT_EQ(size, SIZE_NOT_WRITTEN);
    EXPECT_OK(gentl.TLUpdateInterfaceList(tl, nullptr, 200));
}

TEST_F(NullArgumentTest, OfTheInterface) {
    CloseDevice();
    DEV_HANDLE other = this;
    size_t size = SIZE_NOT_WRITTEN;
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.IFGetNumDevices(iface, nullptr));
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.IFOpenDevice(iface, nullptr, 4, &other));
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.IFOpenDevice(iface, camera.c_str(), 4, nullptr));
    EXPECT_FAILS_WITH_TEXT(-1009,
                           gentl.IFGetDeviceInfo(iface, nullptr, 0, nullptr, nullptr, &size));
    EXPECT_EQ(other, this);
    EXPECT_EQ(size, SIZE_NOT_WRITTEN);
    EXPECT_OK(gentl.IFUpdateDeviceList(iface, nullptr, 200));
    // Nothing was left open.
    OpenDevice();
}

TEST_F(NullArgumentTest, OfTheDevice) {
    DS_HANDLE other = this;
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.DevGetPort(device, nullptr));
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.DevGetNumDataStreams(device, nullptr));
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.DevOpenDataStream(device, nullptr, &other));
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.DevOpenDataStream(device, "DS0", nullptr));
    EXPECT_EQ(other, this);
}

TEST_F(NullArgumentTest, OfTheStream) {
    char memory[16] = {};
    EXPECT_FAILS_WITH_TEXT(-1009,
                           gentl.DSAnnounceBuffer(stream, memory, sizeof memory, nullptr, nullptr));
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.DSAllocAndAnnounceBuffer(stream, 16, nullptr, nullptr));
    EXPECT_EQ(NumAnnounced(), 0U);
    AnnounceBuffers(1);
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.DSGetBufferID(stream, 0, nullptr));
}

TEST_F(NullArgumentTest, OfPorts) {
    uint32_t value = 0;
    for (PORT_HANDLE port : {tl, iface, device, remote, stream}) {
        EXPECT_FAILS_WITH_TEXT(-1009, gentl.GCGetNumPortURLs(port, nullptr));
    }
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.GCReadPort(tl, 0x4, &value, nullptr));
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.GCWritePort(tl, 0x8, &value, nullptr));
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.GCRegisterEvent(stream, 1, nullptr));
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.GCRegisterEvent(device, 0, nullptr));
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.GCRegisterEvent(remote, 4, nullptr));
    EXPECT_EQ(OptivoSim_HasCallback(camera.c_str()), 0);
}

} // namespace
