#include "Streams.h"

namespace {

constexpr std::array<OptivoFaultKind, 2> THROWS = {OPTIVO_FAULT_GENERIC_EXCEPTION,
                                                   OPTIVO_FAULT_FOREIGN_EXCEPTION};

// The camera library throws, which no exported function may hand on.
class LibraryExceptionTest : public SmallStreamTest {
protected:
    struct Row {
        std::string name;
        OptivoOperation operation;
        std::function<int32_t()> call;
        uint64_t selector = OPTIVO_ANY_SELECTOR;
    };

    std::vector<Row> SystemRows() {
        const auto update = [this] { return gentl.TLUpdateInterfaceList(tl, nullptr, 200); };
        return {
            {"TLUpdateInterfaceList", OPTIVO_SYSTEM_UPDATE_INTERFACE_LIST, update},
            {"name of an interface", OPTIVO_SYSTEM_GET_INTERFACE_NAME, update},
            {"description of an interface", OPTIVO_SYSTEM_GET_INTERFACE, update},
            {"prefix of an interface", OPTIVO_INTERFACE_READ_PORT, update, 2},
            {"type of an interface", OPTIVO_INTERFACE_READ_PORT, update, 5},
            {"TLOpenInterface", OPTIVO_SYSTEM_OPEN_INTERFACE,
             [this] { return gentl.TLOpenInterface(tl, "U3V::usb0", &m_handle); }},
        };
    }

    std::vector<Row> InterfaceRows() {
        const auto update = [this] { return gentl.IFUpdateDeviceList(iface, nullptr, 200); };
        std::vector<Row> rows = {
            {"IFUpdateDeviceList", OPTIVO_INTERFACE_UPDATE_DEVICE_LIST, update},
            {"name of a device", OPTIVO_INTERFACE_GET_DEVICE_NAME, update},
            {"description of a device", OPTIVO_INTERFACE_GET_DEVICE, update},
            {"IFOpenDevice", OPTIVO_INTERFACE_OPEN_DEVICE,
             [this] { return gentl.IFOpenDevice(iface, "Norvel-G640M-10001", 4, &m_handle); }},
            {"GCReadPort", OPTIVO_INTERFACE_READ_PORT, [this] { return Read(iface, 0x84); }},
            {"GCWritePort", OPTIVO_INTERFACE_WRITE_PORT, [this] { return Write(iface, 0x84); }},
            {"GCGetPortURL", OPTIVO_INTERFACE_READ_PORT, [this] { return AskUrl(iface); }, 4},
            {"URL info", OPTIVO_INTERFACE_READ_PORT, [this] { return AskUrlInfo(iface); }, 4},
        };
        for (const uint32_t key : {3U, 4U, 7U, 13U, 9U, 0U, 16U, 14U, 15U}) {
            rows.push_back(
                {"device text " + std::to_string(key), OPTIVO_DEVICE_GET_INFO, update, key});
        }
        return rows;
    }

    std::vector<Row> DeviceRows() {
        return {
            {"DevGetNumDataStreams", OPTIVO_DEVICE_GET_NUM_DATA_STREAMS,
             [this] { return gentl.DevGetNumDataStreams(device, &m_count); }},
            {"DevOpenDataStream", OPTIVO_DEVICE_OPEN_DATA_STREAM,
             [this] { return gentl.DevOpenDataStream(device, "DS7", &m_handle); }},
            {"GCReadPort", OPTIVO_DEVICE_READ_PORT, [this] { return Read(remote, 0x600); }},
            {"GCWritePort", OPTIVO_DEVICE_WRITE_PORT, [this] { return Write(remote, 0x600); }},
            {"GCGetPortURL", OPTIVO_DEVICE_GET_INFO, [this] { return AskUrl(remote); }},
            {"URL info", OPTIVO_DEVICE_GET_INFO, [this] { return AskUrlInfo(remote); }},
            {"GCRegisterEvent", OPTIVO_DEVICE_REGISTER_EVENT_CALLBACK,
             [this] { return gentl.GCRegisterEvent(remote, 4, &m_handle); }},
            {"GCUnregisterEvent", OPTIVO_DEVICE_REGISTER_EVENT_CALLBACK,
             [this] { return gentl.GCUnregisterEvent(remote, 4); }},
        };
    }

    std::vector<Row> StreamRows() {
        const auto ask = [this](STREAM_INFO_CMD command) {
            return [this, command] {
                size_t size = sizeof m_bytes;
                return gentl.DSGetInfo(stream, command, nullptr, m_bytes, &size);
            };
        };
        return {
            {"payload size", OPTIVO_STREAM_GET_STREAM_INFO, ask(9), 4},
            {"number started", OPTIVO_STREAM_GET_STREAM_INFO, ask(6), 1},
            {"custom value 5", OPTIVO_STREAM_GET_STREAM_INFO, ask(1001), 5},
            {"custom value 8", OPTIVO_STREAM_GET_STREAM_INFO, ask(1004), 8},
            {"DSStartAcquisition", OPTIVO_STREAM_START_ACQUISITION,
             [this] { return gentl.DSStartAcquisition(stream, 0, 1); }},
            {"DSStopAcquisition", OPTIVO_STREAM_STOP_ACQUISITION,
             [this] { return gentl.DSStopAcquisition(stream, 0); }},
        };
    }

    // The failure is told, and leaves nothing that hinders the next call.
    void ExpectContained(const std::vector<Row>& rows) {
        for (const Row& row : rows) {
            for (const OptivoFaultKind kind : THROWS) {
                SCOPED_TRACE(row.name + ", kind " + std::to_string(kind));
                AddFault(row.operation, kind, -1001, 1, row.selector);
                EXPECT_FAILS(-1001, UNSPECIFIED, row.call());
            }
            EXPECT_OK(row.call());
        }
    }

    int32_t Read(PORT_HANDLE port, uint64_t address) {
        size_t size = 4;
        return gentl.GCReadPort(port, address, m_bytes, &size);
    }
    int32_t Write(PORT_HANDLE port, uint64_t address) {
        const uint32_t one = 1;
        size_t size = 4;
        return gentl.GCWritePort(port, address, &one, &size);
    }
    int32_t AskUrl(PORT_HANDLE port) {
        size_t size = sizeof m_bytes;
        return gentl.GCGetPortURL(port, m_bytes, &size);
    }
    int32_t AskUrlInfo(PORT_HANDLE port) {
        size_t size = sizeof m_bytes;
        return gentl.GCGetPortURLInfo(port, 0, 0, nullptr, m_bytes, &size);
    }

    void* m_handle = nullptr;
    uint32_t m_count = 0;
    char m_bytes[1024] = {};
};

TEST_F(LibraryExceptionTest, BelowSystemFunctions) {
    ExpectContained(SystemRows());
}

TEST_F(LibraryExceptionTest, BelowInterfaceFunctions) {
    ExpectContained(InterfaceRows());
    // Takes the device along that the rows opened.
    CloseSystem();
}

TEST_F(LibraryExceptionTest, BelowDeviceFunctions) {
    ExpectContained(DeviceRows());
}

TEST_F(LibraryExceptionTest, BelowStreamFunctions) {
    ExpectContained(StreamRows());
}

TEST_F(LibraryExceptionTest, OfTheFactory) {
    for (const OptivoFaultKind kind : THROWS) {
        AddFault(OPTIVO_GET_SYSTEM, kind, -1001);
        TL_HANDLE second = this;
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.TLOpen(&second));
        EXPECT_EQ(second, this);
    }
}

TEST_F(LibraryExceptionTest, OfAClose) {
    const std::vector<std::pair<OptivoOperation, OptivoObjectKind>> closes = {
        {OPTIVO_STREAM_CLOSE, OPTIVO_OBJECT_STREAM},
        {OPTIVO_DEVICE_CLOSE, OPTIVO_OBJECT_DEVICE},
        {OPTIVO_INTERFACE_CLOSE, OPTIVO_OBJECT_INTERFACE},
        {OPTIVO_SYSTEM_CLOSE, OPTIVO_OBJECT_SYSTEM},
    };
    for (const OptivoFaultKind kind : THROWS) {
        for (const auto& [operation, object] : closes) {
            AddFault(operation, kind, -1001);
            LeavesAlive(object, 1);
        }
        CloseStream();
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.DevClose(device));
        device = remote = nullptr;
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.IFClose(iface));
        iface = nullptr;
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.TLClose(tl));
        tl = nullptr;
        OptivoSim_Reset();
        OpenSystem();
        OpenInterface();
        OpenDevice();
        OpenStream();
    }
}

TEST_F(LibraryExceptionTest, OfACloseOnceTheParentIsClosed) {
    AddFault(OPTIVO_STREAM_CLOSE, OPTIVO_FAULT_FOREIGN_EXCEPTION, 1);
    AddFault(OPTIVO_INTERFACE_CLOSE, OPTIVO_FAULT_GENERIC_EXCEPTION, 1);
    LeavesAlive(OPTIVO_OBJECT_STREAM, 1);
    LeavesAlive(OPTIVO_OBJECT_INTERFACE, 1);
    CloseSystem();
    EXPECT_EQ(alive.Devices(), 0U);
    EXPECT_EQ(alive.Systems(), 0U);
}

// There is nobody to tell on the acquisition thread.
class ThreadExceptionTest : public SmallStreamTest {
protected:
    void ExpectRecovers() {
        OptivoSim_ClearFaults();
        Stop();
        EXPECT_FALSE(IsGrabbing());
        ASSERT_OK(gentl.DSFlushQueue(stream, 4));
        ASSERT_OK(gentl.DSFlushQueue(stream, 2));
        Start();
        Produce(1);
        EXPECT_OK(WaitBuffer().code);
    }
};

TEST_F(ThreadExceptionTest, OfAGrabEndsTheAcquisition) {
    StartWith(2);
    for (const OptivoFaultKind kind : THROWS) {
        SCOPED_TRACE(kind);
        AddFault(OPTIVO_STREAM_GRAB_IMAGE, kind, -1001);
        Produce(1);
        EXPECT_TRUE(Eventually([this] { return !IsGrabbing(); }));
        ExpectRecovers();
    }
}

TEST_F(ThreadExceptionTest, OfAGrabWithoutABufferEndsTheAcquisition) {
    RegisterNewBuffer();
    Start();
    AddFault(OPTIVO_STREAM_GRAB_IMAGE, OPTIVO_FAULT_FOREIGN_EXCEPTION);
    Produce(1);
    EXPECT_TRUE(Eventually([this] { return !IsGrabbing(); }));
    AnnounceBuffers(1);
    ExpectRecovers();
}

TEST_F(ThreadExceptionTest, OfTheImageQueryDoesNoHarm) {
    StartWith(2);
    for (const OptivoFaultKind kind : THROWS) {
        SCOPED_TRACE(kind);
        const uint64_t before = NumCalls(OPTIVO_STREAM_GET_STREAM_INFO);
        AddFault(OPTIVO_STREAM_GET_STREAM_INFO, kind, -1001, 1, 3);
        EXPECT_TRUE(Eventually(
            [&] { return !IsGrabbing() || NumCalls(OPTIVO_STREAM_GET_STREAM_INFO) > before + 2; }));
        ExpectRecovers();
    }
}

TEST_F(ThreadExceptionTest, OfTheStreamParameterIsIgnored) {
    for (const OptivoFaultKind kind : THROWS) {
        AddFault(OPTIVO_STREAM_SET_STREAM_PARAMETER, kind, -1001);
    }
    StartWith(2);
    Produce(1);
    EXPECT_OK(WaitBuffer().code);
    Start();
    Produce(1);
    EXPECT_OK(WaitBuffer().code);
    EXPECT_EQ(NumCalls(OPTIVO_STREAM_SET_STREAM_PARAMETER), 2U);
}

} // namespace
