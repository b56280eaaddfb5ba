#include "Streams.h"

namespace {

constexpr auto N = nullptr;
constexpr char WRONG_HANDLE[] = "Invalid Device Handle";

// Handles are good, and what they are asked to write to, or to read, is null.
class NullArgumentTest : public SmallStreamTest {
protected:
    struct Row {
        std::string name;
        std::function<int32_t()> call;
    };

    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(SmallStreamTest::SetUp());
        AnnounceBuffers(1);
        m_buffer = buffers[0];
        RegisterNewBuffer();
        ASSERT_OK(gentl.GCRegisterEvent(remote, 4, &m_deviceEvent));
        ASSERT_OK(gentl.GCRegisterEvent(device, 0, &m_errorEvent));
    }

    // Fails without a trace in the camera library.
    void ExpectRefused(int32_t code, const std::string& text, const std::vector<Row>& rows) {
        for (const Row& row : rows) {
            SCOPED_TRACE(row.name);
            EXPECT_FAILS(code, text, row.call());
        }
        ExpectNothingOpened();
    }

    void ExpectRefusedWithSomeText(int32_t code, const std::vector<Row>& rows) {
        for (const Row& row : rows) {
            SCOPED_TRACE(row.name);
            EXPECT_FAILS_WITH_TEXT(code, row.call());
        }
        ExpectNothingOpened();
    }

    void ExpectNothingOpened() {
        EXPECT_EQ(alive.Systems(), 1U);
        EXPECT_EQ(alive.Interfaces(), 1U);
        EXPECT_EQ(alive.Devices(), 1U);
        EXPECT_EQ(alive.Streams(), 1U);
        EXPECT_EQ(NumAnnounced(), 1U);
    }

    BUFFER_HANDLE m_buffer = nullptr;
    EVENT_HANDLE m_deviceEvent = nullptr;
    EVENT_HANDLE m_errorEvent = nullptr;
    void* m_handle = nullptr;
    size_t m_size = 64;
    char m_bytes[64] = {};
};

TEST_F(NullArgumentTest, WhereAHandleBelongs) {
    const char* other = "Norvel-G640M-10001";
    ExpectRefusedWithSomeText(
        -1009,
        {{"TLOpen", [&] { return gentl.TLOpen(N); }},
         {"TLOpenInterface", [&] { return gentl.TLOpenInterface(tl, "U3V::usb0", N); }},
         {"IFOpenDevice", [&] { return gentl.IFOpenDevice(iface, other, 4, N); }},
         {"DevGetPort", [&] { return gentl.DevGetPort(device, N); }},
         {"DevOpenDataStream", [&] { return gentl.DevOpenDataStream(device, "DS1", N); }},
         {"DSAnnounceBuffer", [&] { return gentl.DSAnnounceBuffer(stream, m_bytes, 64, N, N); }},
         {"DSAllocAndAnnounceBuffer",
          [&] { return gentl.DSAllocAndAnnounceBuffer(stream, 64, N, N); }},
         {"DSGetBufferID", [&] { return gentl.DSGetBufferID(stream, 0, N); }},
         {"remote-device event", [&] { return gentl.GCRegisterEvent(remote, 4, N); }},
         {"error event of a device", [&] { return gentl.GCRegisterEvent(device, 0, N); }},
         {"error event of a stream", [&] { return gentl.GCRegisterEvent(stream, 0, N); }},
         {"new-buffer event", [&] { return gentl.GCRegisterEvent(stream, 1, N); }},
         {"IFGetParentTL", [&] { return gentl.IFGetParentTL(iface, N); }},
         {"DevGetParentIF", [&] { return gentl.DevGetParentIF(device, N); }},
         {"DSGetParentDev", [&] { return gentl.DSGetParentDev(stream, N); }}});
}

TEST_F(NullArgumentTest, WhereANumberBelongs) {
    ExpectRefusedWithSomeText(
        -1009, {{"TLGetNumInterfaces", [&] { return gentl.TLGetNumInterfaces(tl, N); }},
                {"IFGetNumDevices", [&] { return gentl.IFGetNumDevices(iface, N); }},
                {"DevGetNumDataStreams", [&] { return gentl.DevGetNumDataStreams(device, N); }},
                {"URLs of the system", [&] { return gentl.GCGetNumPortURLs(tl, N); }},
                {"URLs of an interface", [&] { return gentl.GCGetNumPortURLs(iface, N); }},
                {"URLs of a device", [&] { return gentl.GCGetNumPortURLs(device, N); }},
                {"URLs of a remote port", [&] { return gentl.GCGetNumPortURLs(remote, N); }},
                {"URLs of a stream", [&] { return gentl.GCGetNumPortURLs(stream, N); }},
                {"URLs of a buffer", [&] { return gentl.GCGetNumPortURLs(m_buffer, N); }}});
}

class NullArgumentOfASystemTest : public SystemTest {};

// A discovery takes long, and changes what is listed.
TEST_F(NullArgumentOfASystemTest, IsRefusedBeforeAnythingIsDiscovered) {
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.TLGetNumInterfaces(tl, N));
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.TLOpenInterface(tl, "GEV::eth0", N));
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.TLOpenInterface(tl, N, &iface));
    EXPECT_EQ(NumCalls(OPTIVO_SYSTEM_UPDATE_INTERFACE_LIST), 0U);
}

TEST_F(NullArgumentTest, WhereAnIdBelongs) {
    ExpectRefusedWithSomeText(
        -1009,
        {{"TLOpenInterface", [&] { return gentl.TLOpenInterface(tl, N, &m_handle); }},
         {"TLGetInterfaceInfo",
          [&] { return gentl.TLGetInterfaceInfo(tl, N, 0, N, m_bytes, &m_size); }},
         {"IFOpenDevice", [&] { return gentl.IFOpenDevice(iface, N, 4, &m_handle); }},
         {"IFGetDeviceInfo",
          [&] { return gentl.IFGetDeviceInfo(iface, N, 0, N, m_bytes, &m_size); }},
         {"DevOpenDataStream", [&] { return gentl.DevOpenDataStream(device, N, &m_handle); }}});
    EXPECT_EQ(m_handle, nullptr);
}

TEST_F(NullArgumentTest, WhereASizeBelongs) {
    ExpectRefused(
        -1001, UNSPECIFIED,
        {{"TLGetInfo", [&] { return gentl.TLGetInfo(tl, 1, N, m_bytes, N); }},
         {"TLGetInterfaceID", [&] { return gentl.TLGetInterfaceID(tl, 0, m_bytes, N); }},
         {"TLGetInterfaceInfo",
          [&] { return gentl.TLGetInterfaceInfo(tl, "GEV::eth0", 0, N, m_bytes, N); }},
         {"IFGetInfo", [&] { return gentl.IFGetInfo(iface, 0, N, m_bytes, N); }},
         {"IFGetDeviceID", [&] { return gentl.IFGetDeviceID(iface, 0, m_bytes, N); }},
         {"IFGetDeviceInfo",
          [&] { return gentl.IFGetDeviceInfo(iface, camera.c_str(), 0, N, m_bytes, N); }},
         {"DevGetDataStreamID", [&] { return gentl.DevGetDataStreamID(device, 0, m_bytes, N); }},
         {"DevGetInfo", [&] { return gentl.DevGetInfo(device, 0, N, m_bytes, N); }},
         {"DSGetInfo, text", [&] { return gentl.DSGetInfo(stream, 0, N, m_bytes, N); }},
         {"DSGetInfo, number", [&] { return gentl.DSGetInfo(stream, 1, N, m_bytes, N); }},
         {"DSGetInfo, library", [&] { return gentl.DSGetInfo(stream, 1001, N, m_bytes, N); }},
         {"DSGetBufferInfo",
          [&] { return gentl.DSGetBufferInfo(stream, m_buffer, 1, N, m_bytes, N); }},
         {"GCGetPortURL, system", [&] { return gentl.GCGetPortURL(tl, m_bytes, N); }},
         {"GCGetPortURL, device", [&] { return gentl.GCGetPortURL(device, m_bytes, N); }},
         {"GCGetPortURL, stream", [&] { return gentl.GCGetPortURL(stream, m_bytes, N); }},
         {"port info, system", [&] { return gentl.GCGetPortInfo(tl, 0, N, m_bytes, N); }},
         {"port info, interface", [&] { return gentl.GCGetPortInfo(iface, 5, N, m_bytes, N); }},
         {"port info, device", [&] { return gentl.GCGetPortInfo(device, 5, N, m_bytes, N); }},
         {"port info, remote", [&] { return gentl.GCGetPortInfo(remote, 0, N, m_bytes, N); }},
         {"port info, stream", [&] { return gentl.GCGetPortInfo(stream, 5, N, m_bytes, N); }},
         {"port info, buffer", [&] { return gentl.GCGetPortInfo(m_buffer, 0, N, m_bytes, N); }},
         {"URL info, system", [&] { return gentl.GCGetPortURLInfo(tl, 0, 0, N, m_bytes, N); }},
         {"URL info, interface",
          [&] { return gentl.GCGetPortURLInfo(iface, 0, 1, N, m_bytes, N); }},
         {"URL info, device", [&] { return gentl.GCGetPortURLInfo(device, 0, 2, N, m_bytes, N); }},
         {"URL info, remote", [&] { return gentl.GCGetPortURLInfo(remote, 0, 3, N, m_bytes, N); }},
         {"URL info, stream", [&] { return gentl.GCGetPortURLInfo(stream, 0, 4, N, m_bytes, N); }},
         {"URL info, buffer",
          [&] { return gentl.GCGetPortURLInfo(m_buffer, 0, 5, N, m_bytes, N); }},
         {"error event", [&] { return gentl.EventGetInfo(m_errorEvent, 1, N, m_bytes, N); }},
         {"new-buffer event", [&] { return gentl.EventGetInfo(newBuffer, 1, N, m_bytes, N); }}});
    ExpectRefused(-1013, "Invalid Buffer Size",
                  {{"buffer", [&] { return gentl.GCGetPortURL(m_buffer, m_bytes, N); }}});
    ExpectRefused(-1013, "Buffer too small",
                  {{"remote port", [&] { return gentl.GCGetPortURL(remote, m_bytes, N); }}});
    ExpectRefused(-1001, UNSPECIFIED,
                  {{"interface", [&] { return gentl.GCGetPortURL(iface, m_bytes, N); }}});
    ExpectRefused(-1009, "Invalid Size",
                  {{"GCGetInfo", [&] { return gentl.GCGetInfo(1, N, m_bytes, N); }}});
    ExpectRefusedWithSomeText(
        -1009,
        {{"device event", [&] { return gentl.EventGetInfo(m_deviceEvent, 1, N, m_bytes, N); }},
         {"GCReadPort", [&] { return gentl.GCReadPort(tl, 4, m_bytes, N); }},
         {"GCWritePort", [&] { return gentl.GCWritePort(tl, 8, m_bytes, N); }}});
}

TEST_F(NullArgumentTest, WhereRegistersGo) {
    m_size = 4;
    PORT_REGISTER_STACK_ENTRY entry = {4, nullptr, 4};
    size_t count = 1;
    ExpectRefused(-1001, UNSPECIFIED,
                  {{"GCReadPort", [&] { return gentl.GCReadPort(tl, 4, N, &m_size); }},
                   {"GCWritePort", [&] { return gentl.GCWritePort(tl, 8, N, &m_size); }},
                   {"stacked", [&] { return gentl.GCReadPortStacked(tl, &entry, &count); }}});
    EXPECT_EQ(count, 0U);
    ExpectRefused(-1009, "Invalid parameter",
                  {{"interface", [&] { return gentl.GCReadPort(iface, 0x84, N, &m_size); }},
                   {"interface, size", [&] { return gentl.GCReadPort(iface, 0x84, m_bytes, N); }},
                   {"interface, write", [&] { return gentl.GCWritePort(iface, 0x84, N, N); }},
                   {"remote port", [&] { return gentl.GCReadPort(remote, 0x400, N, &m_size); }},
                   {"remote, size", [&] { return gentl.GCReadPort(remote, 0x400, m_bytes, N); }},
                   {"remote, write", [&] { return gentl.GCWritePort(remote, 0x600, N, N); }}});
    // Ports without registers touch nothing.
    for (PORT_HANDLE port : {device, stream, m_buffer}) {
        EXPECT_OK(gentl.GCReadPort(port, 4, N, N));
        EXPECT_OK(gentl.GCWritePort(port, 4, N, N));
    }
    for (PORT_HANDLE port : {tl, iface, device, remote, stream, m_buffer}) {
        EXPECT_FAILS_UNRECORDED(-1009, gentl.GCReadPortStacked(port, N, &count));
        EXPECT_FAILS_UNRECORDED(-1009, gentl.GCWritePortStacked(port, &entry, N));
    }
}

// What the camera library would do with them nobody knows.
TEST_F(NullArgumentTest, NeverReachesTheCameraLibraryWhereItsPortsAre) {
    const std::vector<std::pair<PORT_HANDLE, std::vector<OptivoOperation>>> ports = {
        {iface, {OPTIVO_INTERFACE_READ_PORT, OPTIVO_INTERFACE_WRITE_PORT}},
        {remote, {OPTIVO_DEVICE_READ_PORT, OPTIVO_DEVICE_WRITE_PORT, OPTIVO_DEVICE_GET_INFO}}};
    for (const auto& row : ports) {
        const PORT_HANDLE port = row.first;
        const std::vector<OptivoOperation>& operations = row.second;
        std::vector<uint64_t> before;
        std::transform(operations.begin(), operations.end(), std::back_inserter(before), NumCalls);
        for (size_t* size : {&m_size, static_cast<size_t*>(N)}) {
            EXPECT_FAILS(-1009, "Invalid parameter", gentl.GCReadPort(port, 0x84, N, size));
            EXPECT_FAILS(-1009, "Invalid parameter", gentl.GCWritePort(port, 0x84, N, size));
        }
        EXPECT_FAILS(-1009, "Invalid parameter", gentl.GCReadPort(port, 0x84, m_bytes, N));
        EXPECT_FAILS(-1009, "Invalid parameter", gentl.GCWritePort(port, 0x84, m_bytes, N));
        PORT_REGISTER_STACK_ENTRY entry = {0x84, nullptr, 4};
        size_t count = 1;
        EXPECT_FAILS(-1009, "Invalid parameter", gentl.GCReadPortStacked(port, &entry, &count));
        EXPECT_EQ(count, 0U);
        count = 1;
        EXPECT_FAILS(-1009, "Invalid parameter", gentl.GCWritePortStacked(port, &entry, &count));
        EXPECT_EQ(count, 0U);
        EXPECT_CODE(port == iface ? -1001 : -1013, gentl.GCGetPortURL(port, m_bytes, N));
        EXPECT_CODE(port == iface ? -1001 : -1013, gentl.GCGetPortURL(port, N, &m_size));
        for (size_t i = 0; i < operations.size(); ++i) {
            EXPECT_EQ(NumCalls(operations[i]), before[i]) << operations[i];
        }
    }
}

// What the handle is comes before what is asked of it.
TEST_F(NullArgumentTest, OfACameraThatIsNotThereIsTheSmallerTrouble) {
    CloseDevice();
    AddFault(OPTIVO_INTERFACE_OPEN_DEVICE, OPTIVO_FAULT_NULL_OBJECT);
    ASSERT_NO_FATAL_FAILURE(OpenDevice());
    EXPECT_FAILS(-1014, "Port is not available", gentl.GCReadPort(remote, 0x400, N, N));
    EXPECT_FAILS(-1014, "Port is not available", gentl.GCWritePort(remote, 0x400, N, N));
    EXPECT_FAILS(-1013, "Invalid buffer", gentl.GCGetPortURL(remote, N, N));
    EXPECT_FAILS(-1013, "Buffer too small", gentl.GCGetPortURL(remote, m_bytes, N));
}

TEST_F(NullArgumentTest, WhereEventsGo) {
    size_t size = 24;
    EXPECT_OK(gentl.EventGetData(m_deviceEvent, N, N, 0));
    EXPECT_OK(gentl.EventGetData(m_errorEvent, N, N, 0));
    ASSERT_EQ(OptivoSim_FireEvent(camera.c_str(), 0x9001, 1), 1);
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.EventGetData(m_deviceEvent, m_bytes, N, 0));
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.EventGetData(m_deviceEvent, N, N, 0));
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.EventGetData(m_deviceEvent, N, &size, 0));
    EXPECT_OK(gentl.EventGetData(m_deviceEvent, m_bytes, &size, 0));
    EXPECT_EQ(size, 25U);

    EXPECT_FAILS(-1011, "Timeout", gentl.EventGetData(newBuffer, N, N, 0));
    ASSERT_OK(gentl.DSFlushQueue(stream, 4));
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.EventGetData(newBuffer, m_bytes, N, 0));
    ASSERT_OK(gentl.DSFlushQueue(stream, 4));
    size = 0;
    EXPECT_OK(gentl.EventGetData(newBuffer, N, &size, 0));
    EXPECT_EQ(size, 16U);
}

TEST_F(NullArgumentTest, WhereEventsAreExplained) {
    ExpectRefused(
        -1001, UNSPECIFIED,
        {{"info", [&] { return gentl.EventGetInfo(m_deviceEvent, 1, N, N, &m_size); }},
         {"all", [&] { return gentl.EventGetInfo(m_deviceEvent, 1, N, N, N); }},
         {"in",
          [&] { return gentl.EventGetDataInfo(m_deviceEvent, N, 24, 0, N, m_bytes, &m_size); }},
         {"out",
          [&] { return gentl.EventGetDataInfo(m_deviceEvent, m_bytes, 24, 0, N, N, &m_size); }},
         {"error", [&] { return gentl.EventGetDataInfo(m_errorEvent, N, 0, 0, N, N, N); }}});
    EXPECT_FAILS_WITH_TEXT(-1009,
                           gentl.EventGetDataInfo(m_deviceEvent, m_bytes, 24, 0, N, m_bytes, N));
    EXPECT_OK(gentl.EventGetDataInfo(newBuffer, N, 0, 0, N, N, N));
    EXPECT_OK(gentl.EventGetInfo(newBuffer, 0, N, N, N));
    EXPECT_OK(gentl.EventGetInfo(m_errorEvent, 0, N, N, N));
}

TEST_F(NullArgumentTest, WhereABufferBelongs) {
    ExpectRefused(-1001, WRONG_HANDLE,
                  {{"DSQueueBuffer", [&] { return gentl.DSQueueBuffer(stream, N); }},
                   {"DSRevokeBuffer", [&] { return gentl.DSRevokeBuffer(stream, N, N, N); }},
                   {"DSGetBufferInfo",
                    [&] { return gentl.DSGetBufferInfo(stream, N, 0, N, m_bytes, &m_size); }}});
    EXPECT_OK(gentl.DSRevokeBuffer(stream, m_buffer, N, N));
}

TEST_F(NullArgumentTest, WhereAChangeIsTold) {
    EXPECT_OK(gentl.TLUpdateInterfaceList(tl, N, 200));
    EXPECT_OK(gentl.IFUpdateDeviceList(iface, N, 200));
    OptivoSim_RemoveAll();
    EXPECT_OK(gentl.TLUpdateInterfaceList(tl, N, 200));
    EXPECT_OK(gentl.IFUpdateDeviceList(iface, N, 200));
    EXPECT_EQ(NumInterfaces(), 0U);
    EXPECT_EQ(NumDevices(), 0U);
    OptivoSim_Reset();
    EXPECT_OK(gentl.TLUpdateInterfaceList(tl, N, 200));
    EXPECT_EQ(NumInterfaces(), 2U);
}

} // namespace
