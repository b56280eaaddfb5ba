#include "Streams.h"

namespace {

// A device lives on when its interface is closed, and then its system. Whatever it is asked then
// must find nothing that has gone.
class OrphanDeviceTest : public SmallStreamTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(SmallStreamTest::SetUp());
        m_version = AskVersion();
        ASSERT_EQ(m_version.code, 0);
        CloseInterface();
        CloseSystem();
        ASSERT_EQ(alive.Interfaces(), 0U);
        ASSERT_EQ(alive.Systems(), 0U);
    }

    Info AskVersion() { return AskPort(device, 11); }
    Info AskPort(PORT_HANDLE port, PORT_INFO_CMD command) {
        return Ask([&](auto... out) { return gentl.GCGetPortInfo(port, command, out...); });
    }
    Info AskUrl(PORT_HANDLE port, URL_INFO_CMD command) {
        return Ask([&](auto... out) { return gentl.GCGetPortURLInfo(port, 0, command, out...); });
    }
    Info AskDevice(DEVICE_INFO_CMD command) {
        return Ask([&](auto... out) { return gentl.DevGetInfo(device, command, out...); });
    }

    Info m_version;
};

TEST_F(OrphanDeviceTest, TellsTheVersion) {
    using namespace std::string_literals;
    EXPECT_EQ(m_version, TextInfo("4.0.1.0\0"s));
    EXPECT_EQ(AskPort(device, 11), m_version);
    EXPECT_EQ(AskPort(stream, 11), m_version);
}

TEST_F(OrphanDeviceTest, TellsItsInfo) {
    EXPECT_EQ(AskDevice(0), TextInfo("Norvel-G1300C-10002"));
    EXPECT_EQ(AskDevice(1), TextInfo("Norvel"));
    EXPECT_EQ(AskDevice(2), TextInfo("G1300C"));
    EXPECT_EQ(AskDevice(3), TextInfo("GEV"));
    EXPECT_EQ(AskDevice(4), TextInfo("G1300C (10002 )"));
    EXPECT_EQ(AskDevice(5), NumberInfo(5, int32_t{1}));
    EXPECT_EQ(AskDevice(6), TextInfo(""));
    EXPECT_EQ(AskDevice(7), TextInfo("10002"));
    EXPECT_EQ(AskDevice(8), TextInfo(""));
    EXPECT_FAILS(-1001, "Unspecified runtime error.",
                 gentl.DevGetInfo(device, 99, nullptr, nullptr, nullptr));
}

TEST_F(OrphanDeviceTest, ItsPortsAnswer) {
    EXPECT_EQ(AskPort(device, 0), TextInfo("TLDEV::Norvel-G1300C-10002"));
    EXPECT_EQ(AskPort(device, 4), TextInfo("TLDevice"));
    EXPECT_EQ(AskPort(remote, 0), TextInfo("Norvel-G1300C-10002"));
    EXPECT_EQ(AskPort(remote, 11), TextInfo("1.2"));
    EXPECT_EQ(AskPort(stream, 0).code, 0);
    for (PORT_HANDLE port : {device, remote, stream}) {
        uint32_t count = 0;
        EXPECT_OK(gentl.GCGetNumPortURLs(port, &count));
        EXPECT_EQ(count, 1U);
        for (const URL_INFO_CMD command : {0, 1, 2, 3, 4, 5}) {
            EXPECT_EQ(AskUrl(port, command).code, 0);
        }
        char url[512] = {};
        size_t size = sizeof url;
        EXPECT_OK(gentl.GCGetPortURL(port, url, &size));
        EXPECT_EQ(std::string(url).substr(0, 6), "Local:");
    }
}

TEST_F(OrphanDeviceTest, ItsRegistersAnswer) {
    PORT_HANDLE port = nullptr;
    EXPECT_OK(gentl.DevGetPort(device, &port));
    EXPECT_EQ(port, remote);
    uint32_t value = 0;
    size_t size = sizeof value;
    EXPECT_OK(gentl.GCReadPort(remote, 0x400, &value, &size));
    EXPECT_EQ(value, 32U);
    value = 1;
    EXPECT_OK(gentl.GCWritePort(remote, 0x600, &value, &size));
    PORT_REGISTER_STACK_ENTRY entry = {0x600, &value, sizeof value};
    size_t numEntries = 1;
    value = 0;
    EXPECT_OK(gentl.GCReadPortStacked(remote, &entry, &numEntries));
    EXPECT_EQ(value, 1U);
    EXPECT_OK(gentl.GCWritePortStacked(remote, &entry, &numEntries));
    EXPECT_OK(gentl.GCReadPort(device, 0, &value, &size));
    EXPECT_FAILS(-1015, "Invalid Address", gentl.GCReadPort(remote, 0x7FFFFFF0, &value, &size));
}

TEST_F(OrphanDeviceTest, HasNoInterfaceAnyMore) {
    IF_HANDLE parent = this;
    EXPECT_FAILS_WITH_TEXT(-1014, gentl.DevGetParentIF(device, &parent));
    EXPECT_EQ(parent, this);
    DEV_HANDLE parentDevice = nullptr;
    EXPECT_OK(gentl.DSGetParentDev(stream, &parentDevice));
    EXPECT_EQ(parentDevice, device);
}

TEST_F(OrphanDeviceTest, OpensAndClosesStreams) {
    uint32_t count = 0;
    EXPECT_OK(gentl.DevGetNumDataStreams(device, &count));
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(AskText([&](auto... out) { return gentl.DevGetDataStreamID(device, 0, out...); }),
              PlainTextInfo("DS0"));
    const DS_HANDLE other = OpenOtherStream("DS1");
    EXPECT_NE(other, stream);
    EXPECT_OK(gentl.DSClose(other));
    CloseStream();
    OpenStream();
    EXPECT_EQ(alive.Streams(), 1U);
}

TEST_F(OrphanDeviceTest, Acquires) {
    StartWith(2);
    Unpace();
    for (int i = 0; i < 20; ++i) {
        const NewBuffer image = WaitBuffer();
        ASSERT_OK(image.code);
        ASSERT_OK(gentl.DSQueueBuffer(stream, image.handle));
    }
    Stop();
}

TEST_F(OrphanDeviceTest, ReportsEvents) {
    EVENT_HANDLE events = nullptr;
    EVENT_HANDLE errors = nullptr;
    ASSERT_OK(gentl.GCRegisterEvent(remote, 4, &events));
    ASSERT_OK(gentl.GCRegisterEvent(device, 0, &errors));
    ASSERT_EQ(OptivoSim_FireEvent(camera.c_str(), 0x9001, 5), 1);
    std::array<uint64_t, 3> data{};
    size_t size = sizeof data;
    EXPECT_OK(gentl.EventGetData(events, data.data(), &size, LONG_WAIT));
    EXPECT_EQ(data[0], 0x9001U);
    EXPECT_EQ(data[1], 5U);
    EXPECT_OK(gentl.EventGetData(errors, data.data(), &size, 0));
    EXPECT_OK(gentl.EventFlush(events));
    EXPECT_OK(gentl.GCUnregisterEvent(remote, 4));
    EXPECT_OK(gentl.GCUnregisterEvent(device, 0));
}

TEST_F(OrphanDeviceTest, ClosesAfterItsSystem) {
    CloseDevice();
    EXPECT_EQ(alive.Devices(), 0U);
    EXPECT_EQ(alive.Streams(), 0U);
}

TEST_F(OrphanDeviceTest, ClosesWhileItAcquires) {
    StartWith(2);
    Unpace();
    ASSERT_OK(WaitBuffer().code);
    CloseDevice();
    EXPECT_EQ(alive.Devices(), 0U);
    EXPECT_EQ(alive.Streams(), 0U);
}

TEST_F(OrphanDeviceTest, HoldsItsCamera) {
    OpenSystem();
    OpenInterface();
    DEV_HANDLE second = this;
    EXPECT_FAILS(-1001, "already opened device.(Norvel-G1300C-10002).",
                 gentl.IFOpenDevice(iface, camera.c_str(), 4, &second));
    EXPECT_EQ(second, this);
    CloseDevice();
    OpenDevice(0);
    EXPECT_EQ(alive.Devices(), 1U);
}

// Closing the orphan must not strike the device out that a later interface opened.
TEST_F(OrphanDeviceTest, LeavesLaterInterfacesAlone) {
    const DEV_HANDLE orphan = device;
    OpenSystem();
    OpenInterface();
    OpenDevice(1);
    EXPECT_OK(gentl.DevClose(orphan));
    stream = nullptr;
    EXPECT_FAILS(-1004, "Device already open",
                 gentl.IFOpenDevice(iface, camera.c_str(), 4, &device));
    IF_HANDLE parent = nullptr;
    EXPECT_OK(gentl.DevGetParentIF(device, &parent));
    EXPECT_EQ(parent, iface);
    CloseSystem();
    EXPECT_EQ(alive.Devices(), 0U);
}

TEST_F(OrphanDeviceTest, MayHaveASiblingOfALaterInterface) {
    const DEV_HANDLE first = device;
    stream = nullptr;
    OpenSystem();
    OpenInterface();
    OpenDevice(1);
    CloseInterface();
    EXPECT_EQ(alive.Devices(), 2U);
    EXPECT_OK(gentl.DevClose(first));
    CloseSystem();
    CloseDevice();
    EXPECT_EQ(alive.Devices(), 0U);
}

} // namespace
