#include "DeviceFixtures.h"

namespace {

// The camera is Norvel-G1300C-10002.
class DeviceModuleTest : public DeviceTest {
protected:
    InfoCall DeviceInfo(DEVICE_INFO_CMD command) {
        return [=, this](auto... out) { return gentl.DevGetInfo(device, command, out...); };
    }

    uint32_t NumStreams() {
        uint32_t count = 77;
        EXPECT_OK(gentl.DevGetNumDataStreams(device, &count));
        return count;
    }

    void ExpectInfoRefused(DEVICE_INFO_CMD command) {
        SCOPED_TRACE(command);
        INFO_DATATYPE type = 99;
        char buffer[64] = "before";
        size_t size = sizeof buffer;
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.DevGetInfo(device, command, &type, buffer, &size));
        EXPECT_EQ(type, 99);
        EXPECT_STREQ(buffer, "before");
        EXPECT_EQ(size, sizeof buffer);
        EXPECT_FAILS(-1001, UNSPECIFIED,
                     gentl.DevGetInfo(device, command, nullptr, nullptr, nullptr));
    }
};

TEST_F(DeviceModuleTest, OpeningAsksTheCameraNothing) {
    CloseDevice();
    const uint64_t before = OptivoSim_NumCalls(OPTIVO_DEVICE_GET_INFO);
    OpenDevice();
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_DEVICE_GET_INFO), before);
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_DEVICE_READ_PORT), 0U);
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_DEVICE_GET_NUM_DATA_STREAMS), 0U);
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_DEVICE_OPEN_DATA_STREAM), 0U);
    EXPECT_EQ(OptivoSim_HasCallback(camera.c_str()), 0);
}

TEST_F(DeviceModuleTest, HasOneRemotePort) {
    PORT_HANDLE again = nullptr;
    EXPECT_OK(gentl.DevGetPort(device, &again));
    EXPECT_EQ(again, remote);
    EXPECT_NE(remote, device);
}

TEST_F(DeviceModuleTest, RemotePortIsNoDevice) {
    uint32_t count = 77;
    EXPECT_FAILS(-1001, "Invalid Device Handle", gentl.DevGetNumDataStreams(remote, &count));
    EXPECT_EQ(count, 77U);
    EXPECT_FAILS_UNRECORDED(-1006, gentl.DevClose(remote));
}

TEST_F(DeviceModuleTest, TellsHowManyStreamsTheCameraReports) {
    EXPECT_EQ(NumStreams(), 1U);
    for (const uint32_t count : {3U, 0U, UINT32_MAX, 1U}) {
        ASSERT_EQ(OptivoSim_SetNumStreams(camera.c_str(), count), 1);
        EXPECT_EQ(NumStreams(), count);
    }
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_DEVICE_GET_NUM_DATA_STREAMS), 5U);
}

TEST_F(DeviceModuleTest, HasOneStreamUntilTheCameraAnswers) {
    ASSERT_EQ(OptivoSim_SetNumStreams(camera.c_str(), 4), 1);
    AddLastingFault(OPTIVO_DEVICE_GET_NUM_DATA_STREAMS, OPTIVO_FAULT_RESULT, -1010);
    EXPECT_EQ(NumStreams(), 1U);
    OptivoSim_ClearFaults();
    EXPECT_EQ(NumStreams(), 4U);
}

TEST_F(DeviceModuleTest, KeepsTheNumberOfStreamsThatWasReportedLast) {
    ASSERT_EQ(OptivoSim_SetNumStreams(camera.c_str(), 4), 1);
    EXPECT_EQ(NumStreams(), 4U);
    ASSERT_EQ(OptivoSim_SetNumStreams(camera.c_str(), 2), 1);
    AddLastingFault(OPTIVO_DEVICE_GET_NUM_DATA_STREAMS, OPTIVO_FAULT_RESULT, -1001, 1);
    EXPECT_EQ(NumStreams(), 4U);
    AddLastingFault(OPTIVO_DEVICE_GET_NUM_DATA_STREAMS, OPTIVO_FAULT_GENERIC_EXCEPTION, 0, 1);
    uint32_t count = 77;
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.DevGetNumDataStreams(device, &count));
    EXPECT_EQ(count, 77U);
    AddLastingFault(OPTIVO_DEVICE_GET_NUM_DATA_STREAMS, OPTIVO_FAULT_RESULT, -1001, 1);
    EXPECT_EQ(NumStreams(), 4U);
    EXPECT_EQ(NumStreams(), 2U);
}

TEST_F(DeviceModuleTest, TakesTheNumberOfStreamsWhateverTheResult) {
    uint32_t count = 2;
    for (const int32_t result : {-1001, -1015, -10003, 7}) {
        SCOPED_TRACE(result);
        ASSERT_EQ(OptivoSim_SetNumStreams(camera.c_str(), ++count), 1);
        AddLastingFault(OPTIVO_DEVICE_GET_NUM_DATA_STREAMS, OPTIVO_FAULT_RESULT_AFTER, result, 1);
        EXPECT_EQ(NumStreams(), count);
    }
}

TEST_F(DeviceModuleTest, NamesItsStream) {
    const auto id = [&](auto... out) { return gentl.DevGetDataStreamID(device, 0, out...); };
    size_t size = 0;
    EXPECT_OK(gentl.DevGetDataStreamID(device, 0, nullptr, &size));
    EXPECT_EQ(size, 4U);
    ExpectTextCopyOut(id, PlainTextInfo("DS0"));
}

TEST_F(DeviceModuleTest, NamesOneStreamHoweverManyTheCameraReports) {
    ASSERT_EQ(OptivoSim_SetNumStreams(camera.c_str(), 3), 1);
    EXPECT_EQ(NumStreams(), 3U);
    for (const uint32_t index : {1U, 2U, 3U, 0x80000000U, UINT32_MAX}) {
        SCOPED_TRACE(index);
        char id[16] = "before";
        size_t size = sizeof id;
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.DevGetDataStreamID(device, index, id, &size));
        EXPECT_STREQ(id, "before");
        EXPECT_EQ(size, sizeof id);
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.DevGetDataStreamID(device, index, nullptr, nullptr));
    }
}

TEST_F(DeviceModuleTest, DescribesItself) {
    struct Row {
        DEVICE_INFO_CMD command;
        const char* text;
    };
    const Row rows[] = {
        {0, "Norvel-G1300C-10002"}, {1, "Norvel"}, {2, "G1300C"}, {3, "GEV"},
        {4, "G1300C (10002 )"},     {6, ""},       {7, "10002"},  {8, ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.command);
        ExpectCopyOut(DeviceInfo(row.command), TextInfo(row.text));
    }
    ExpectCopyOut(DeviceInfo(5), NumberInfo<int32_t>(5, 1));
}

TEST_F(DeviceModuleTest, AccessStatusNeedsFourBytes) {
    for (size_t offered = 1; offered < 4; ++offered) {
        SCOPED_TRACE(offered);
        INFO_DATATYPE type = 99;
        int32_t status = 77;
        size_t size = offered;
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.DevGetInfo(device, 5, &type, &status, &size));
        EXPECT_EQ(type, 5);
        EXPECT_EQ(status, 77);
        EXPECT_EQ(size, offered);
    }
    INFO_DATATYPE type = 99;
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.DevGetInfo(device, 5, &type, nullptr, nullptr));
    EXPECT_EQ(type, 5);
}

TEST_F(DeviceModuleTest, AccessStatusIsReadWriteWhateverTheCameraReports) {
    for (const uint32_t status : {0U, 4U, UINT32_MAX}) {
        ASSERT_EQ(OptivoSim_SetCameraStatus(camera.c_str(), status), 1);
        ASSERT_OK(gentl.IFUpdateDeviceList(iface, nullptr, LONG_WAIT));
        EXPECT_EQ(Ask(DeviceInfo(5)), NumberInfo<int32_t>(5, 1));
    }
    for (const DEVICE_ACCESS_FLAGS flags : {0, 1, 2, 3, -1}) {
        CloseDevice();
        ASSERT_OK(gentl.IFOpenDevice(iface, camera.c_str(), flags, &device));
        EXPECT_EQ(Ask(DeviceInfo(5)), NumberInfo<int32_t>(5, 1));
    }
}

TEST_F(DeviceModuleTest, RefusesOtherInfo) {
    for (const DEVICE_INFO_CMD command : {9, 10, 1000, 1001, 1002, 1003, 1004, -1, INT32_MIN}) {
        ExpectInfoRefused(command);
    }
}

TEST_F(DeviceModuleTest, TellsTheTextsThatWereListedWhenItWasOpened) {
    ASSERT_EQ(OptivoSim_SetCameraText(camera.c_str(), 4, "Later"), 1);
    EXPECT_EQ(Ask(DeviceInfo(2)), TextInfo("G1300C"));
    ASSERT_OK(gentl.IFUpdateDeviceList(iface, nullptr, LONG_WAIT));
    EXPECT_EQ(Ask(DeviceInfo(2)), TextInfo("G1300C"));
    CloseDevice();
    OpenDevice();
    EXPECT_EQ(Ask(DeviceInfo(2)), TextInfo("Later"));
    EXPECT_EQ(Ask(DeviceInfo(4)), TextInfo("Later (10002 )"));
}

TEST_F(DeviceModuleTest, TellsTextsAsTheyAre) {
    CloseDevice();
    const std::string longText(500, 'm');
    const char* name = camera.c_str();
    ASSERT_EQ(OptivoSim_SetCameraText(name, 3, "%s%n\xC3\xA9"), 1);
    ASSERT_EQ(OptivoSim_SetCameraText(name, 4, longText.c_str()), 1);
    ASSERT_EQ(OptivoSim_SetCameraText(name, 7, "%1$x)"), 1);
    ASSERT_EQ(OptivoSim_SetCameraText(name, 13, ""), 1);
    ASSERT_OK(gentl.IFUpdateDeviceList(iface, nullptr, LONG_WAIT));
    OpenDevice();
    ExpectCopyOut(DeviceInfo(1), TextInfo("%s%n\xC3\xA9"));
    ExpectCopyOut(DeviceInfo(2), TextInfo(longText));
    ExpectCopyOut(DeviceInfo(3), TextInfo(""));
    ExpectCopyOut(DeviceInfo(4), TextInfo(longText + " (%1$x) )"));
    ExpectCopyOut(DeviceInfo(7), TextInfo("%1$x)"));
}

TEST_F(DeviceModuleTest, TellsTheIdOfACameraWithAnOddName) {
    CloseDevice();
    ASSERT_EQ(OptivoSim_AddCamera(interfaceName.c_str(), "50% off %s", "1"), 1);
    ASSERT_OK(gentl.IFUpdateDeviceList(iface, nullptr, LONG_WAIT));
    ASSERT_OK(gentl.IFOpenDevice(iface, "50% OFF %S", 4, &device));
    ASSERT_OK(gentl.DevGetPort(device, &remote));
    EXPECT_EQ(Ask(DeviceInfo(0)), TextInfo("50% off %s"));
    const auto portId = [&](PORT_HANDLE port) {
        return Ask([&](auto... out) { return gentl.GCGetPortInfo(port, 0, out...); });
    };
    EXPECT_EQ(portId(device), TextInfo("TLDEV::50% off %s"));
    EXPECT_EQ(portId(remote), TextInfo("50% off %s"));
}

TEST_F(DeviceModuleTest, TwoDevicesAreIndependent) {
    const std::string otherId = DeviceId(1);
    DEV_HANDLE other = nullptr;
    ASSERT_OK(gentl.IFOpenDevice(iface, otherId.c_str(), 4, &other));
    ASSERT_EQ(OptivoSim_SetNumStreams(otherId.c_str(), 9), 1);
    uint32_t count = 0;
    EXPECT_OK(gentl.DevGetNumDataStreams(other, &count));
    EXPECT_EQ(count, 9U);
    EXPECT_EQ(NumStreams(), 1U);
    PORT_HANDLE otherRemote = nullptr;
    EXPECT_OK(gentl.DevGetPort(other, &otherRemote));
    EXPECT_NE(otherRemote, remote);
    EXPECT_OK(gentl.DevClose(other));
    EXPECT_EQ(Ask(DeviceInfo(7)), TextInfo("10002"));
}

// The camera library called the opening a success and handed out nothing.
class NullCameraTest : public InterfaceTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(InterfaceTest::SetUp());
        AddLastingFault(OPTIVO_INTERFACE_OPEN_DEVICE, OPTIVO_FAULT_NULL_OBJECT, 0, 1);
        OpenDevice();
    }

    const KindCount NumDevicesAlive{OPTIVO_OBJECT_DEVICE};
};

TEST_F(NullCameraTest, OpensAndCloses) {
    EXPECT_EQ(NumDevicesAlive(), 0U);
    EXPECT_FAILS(-1004, "Device already open",
                 gentl.IFOpenDevice(iface, camera.c_str(), 4, &remote));
    CloseDevice();
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_DEVICE_CLOSE),
              OptivoSim_NumCalls(OPTIVO_INTERFACE_GET_DEVICE));
    OpenDevice();
    EXPECT_EQ(NumDevicesAlive(), 1U);
}

TEST_F(NullCameraTest, StillDescribesItself) {
    EXPECT_EQ(Ask([&](auto... out) { return gentl.DevGetInfo(device, 4, out...); }),
              TextInfo("G1300C (10002 )"));
    uint32_t count = 77;
    EXPECT_OK(gentl.DevGetNumDataStreams(device, &count));
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(Ask([&](auto... out) { return gentl.GCGetPortInfo(remote, 0, out...); }),
              TextInfo(camera));
}

TEST_F(NullCameraTest, FailsWhereTheCameraWouldBeAsked) {
    uint32_t value = 77;
    size_t size = sizeof value;
    EXPECT_FAILS(-1014, "Port is not available", gentl.GCReadPort(remote, 0x400, &value, &size));
    EXPECT_FAILS(-1014, "Port is not available", gentl.GCWritePort(remote, 0x600, &value, &size));
    EXPECT_EQ(value, 77U);
    EXPECT_EQ(size, sizeof value);
    char url[512] = "before";
    size = sizeof url;
    EXPECT_FAILS(-1013, "Buffer too small", gentl.GCGetPortURL(remote, url, &size));
    EXPECT_FAILS(-1013, "Buffer too small",
                 gentl.GCGetPortURLInfo(remote, 0, 0, nullptr, url, &size));
    EXPECT_STREQ(url, "before");
    DS_HANDLE none = this;
    EXPECT_FAILS(-1001, "Unable to open Stream", gentl.DevOpenDataStream(device, "DS0", &none));
    EXPECT_EQ(none, this);
}

TEST_F(NullCameraTest, NeverReportsAnEvent) {
    EVENT_HANDLE event = nullptr;
    EXPECT_OK(gentl.GCRegisterEvent(remote, 4, &event));
    ASSERT_NE(event, nullptr);
    EXPECT_EQ(OptivoSim_FireEvent(camera.c_str(), 1, 1), 0);
    EXPECT_EQ(DeviceEvent::Read(event, 0), DeviceEvent::Nothing());
    EXPECT_OK(gentl.GCUnregisterEvent(remote, 4));
}

} // namespace
