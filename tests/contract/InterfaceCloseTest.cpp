// Closing an interface, and the devices that stay open when it goes.
#include "CameraSteering.h"
#include "Fixtures.h"

namespace {

class InterfaceCloseTest : public InterfaceTest {
protected:
    void OpenLeft() {
        ASSERT_OK(gentl.IFOpenDevice(iface, LEFT, 4, &device));
        ASSERT_OK(gentl.DevGetPort(device, &remote));
        camera = LEFT;
    }

    // Answers from the record, from the camera and from a stream.
    void ExpectUsable() {
        EXPECT_EQ(Ask([&](auto... out) { return gentl.DevGetInfo(device, 0, out...); }),
                  TextInfo(LEFT));
        EXPECT_EQ(Ask([&](auto... out) { return gentl.GCGetPortInfo(device, 11, out...); }),
                  TextInfo(std::string_view("4.0.1.0\0", 8)));
        EXPECT_EQ(Ask([&](auto... out) { return gentl.GCGetPortInfo(device, 0, out...); }),
                  TextInfo("TLDEV::Norvel-G640M-10001"));
        uint32_t width = 0;
        size_t size = sizeof width;
        EXPECT_OK(gentl.GCReadPort(remote, 0x400, &width, &size));
        EXPECT_EQ(width, 640U);
        uint32_t count = 77;
        EXPECT_OK(gentl.DevGetNumDataStreams(device, &count));
        EXPECT_EQ(count, 1U);
    }

    void ExpectGrabs() {
        OpenStream();
        BUFFER_HANDLE buffer = nullptr;
        ASSERT_OK(gentl.DSAllocAndAnnounceBuffer(stream, 640 * 480, nullptr, &buffer));
        ASSERT_OK(gentl.DSQueueBuffer(stream, buffer));
        EVENT_HANDLE event = nullptr;
        ASSERT_OK(gentl.GCRegisterEvent(stream, 1, &event));
        ASSERT_OK(gentl.DSStartAcquisition(stream, 0, 1));
        EVENT_NEW_BUFFER_DATA data = {};
        size_t size = sizeof data;
        EXPECT_OK(gentl.EventGetData(event, &data, &size, LONG_WAIT));
        EXPECT_EQ(data.BufferHandle, buffer);
        EXPECT_OK(gentl.DSStopAcquisition(stream, 0));
        CloseStream();
    }

    static uint64_t NumAliveDevices() { return OptivoSim_NumAlive(OPTIVO_OBJECT_DEVICE); }
};

TEST_F(InterfaceCloseTest, GivesTheInterfaceBack) {
    const uint64_t before = OptivoSim_NumAlive(OPTIVO_OBJECT_INTERFACE);
    CloseInterface();
    EXPECT_EQ(OptivoSim_NumAlive(OPTIVO_OBJECT_INTERFACE), before - 1);
    EXPECT_EQ(NumInterfaces(), 2U);
    OpenInterface();
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_SYSTEM_OPEN_INTERFACE), 2U);
}

TEST_F(InterfaceCloseTest, LeavesAnOpenDeviceUsable) {
    OpenLeft();
    const uint64_t before = NumAliveDevices();
    CloseInterface();
    EXPECT_EQ(NumAliveDevices(), before);
    ExpectUsable();
    ExpectGrabs();
    CloseDevice();
    EXPECT_EQ(NumAliveDevices(), before - 1);
}

TEST_F(InterfaceCloseTest, LeavesAnOpenStreamUsable) {
    OpenLeft();
    OpenStream();
    CloseInterface();
    CloseStream();
    ExpectGrabs();
}

TEST_F(InterfaceCloseTest, LeavesADeviceUsableBeyondTheSystem) {
    OpenLeft();
    CloseInterface();
    CloseSystem();
    ASSERT_NE(device, nullptr);
    ExpectUsable();
    ExpectGrabs();
    CloseDevice();
}

TEST_F(InterfaceCloseTest, LeavesADeviceWithoutParent) {
    OpenLeft();
    IF_HANDLE parent = nullptr;
    EXPECT_OK(gentl.DevGetParentIF(device, &parent));
    EXPECT_EQ(parent, iface);
    CloseInterface();
    parent = this;
    EXPECT_FAILS_WITH_TEXT(-1014, gentl.DevGetParentIF(device, &parent));
    EXPECT_EQ(parent, this);
}

TEST_F(InterfaceCloseTest, LeavesSeveralDevicesThatCloseInAnyOrder) {
    for (const bool leftFirst : {true, false}) {
        DEV_HANDLE left = nullptr;
        DEV_HANDLE right = nullptr;
        ASSERT_OK(gentl.IFOpenDevice(iface, LEFT, 4, &left));
        ASSERT_OK(gentl.IFOpenDevice(iface, RIGHT, 4, &right));
        CloseInterface();
        EXPECT_OK(gentl.DevClose(leftFirst ? left : right));
        EXPECT_OK(gentl.DevClose(leftFirst ? right : left));
        OpenInterface();
    }
}

TEST_F(InterfaceCloseTest, ForgetsDevicesThatWereClosedBefore) {
    const uint64_t before = NumAliveDevices();
    OpenLeft();
    CloseDevice();
    CloseInterface();
    EXPECT_EQ(NumAliveDevices(), before);
}

TEST_F(InterfaceCloseTest, LeavesTheCameraTaken) {
    OpenLeft();
    CloseInterface();
    OpenInterface();
    DEV_HANDLE again = this;
    EXPECT_FAILS(-1001, "already opened device.(Norvel-G640M-10001).",
                 gentl.IFOpenDevice(iface, LEFT, 4, &again));
    EXPECT_EQ(again, this);
    EXPECT_OK(gentl.DevClose(device));
    device = remote = nullptr;
    OpenLeft();
    ExpectUsable();
}

// The device of the closed interface and that of the new one have the same ID.
TEST_F(InterfaceCloseTest, DeviceLeftBehindIsNoneOfALaterInterface) {
    OpenLeft();
    DEV_HANDLE old = device;
    device = nullptr;
    CloseInterface();
    OpenInterface();
    Steering::Add(
        {OPTIVO_INTERFACE_OPEN_DEVICE, OPTIVO_FAULT_NULL_OBJECT, 0, OPTIVO_ANY_SELECTOR, 0, 1});
    ASSERT_OK(gentl.IFOpenDevice(iface, LEFT, 4, &device));
    EXPECT_OK(gentl.DevClose(old));
    DEV_HANDLE again = this;
    EXPECT_FAILS(-1004, "Device already open", gentl.IFOpenDevice(iface, LEFT, 4, &again));
    CloseDevice();
    OpenLeft();
}

TEST_F(InterfaceCloseTest, LeavesAnotherHandleOfTheSameInterface) {
    IF_HANDLE other = nullptr;
    ASSERT_OK(gentl.TLOpenInterface(tl, "gev::ETH0", &other));
    ASSERT_OK(gentl.IFUpdateDeviceList(other, nullptr, LONG_WAIT));
    CloseInterface();
    uint32_t count = 0;
    EXPECT_OK(gentl.IFGetNumDevices(other, &count));
    EXPECT_EQ(count, 2U);
    EXPECT_OK(gentl.IFOpenDevice(other, LEFT, 4, &device));
    EXPECT_OK(gentl.IFClose(other));
}

TEST_F(InterfaceCloseTest, IgnoresTheResultOfTheCameraLibrary) {
    for (const OptivoOperation operation :
         {OPTIVO_INTERFACE_CLOSE, OPTIVO_SYSTEM_CLOSE, OPTIVO_DEVICE_CLOSE}) {
        Steering::Add({operation, OPTIVO_FAULT_RESULT_AFTER, -1001});
    }
    OpenLeft();
    CloseDevice();
    CloseInterface();
    CloseSystem();
}

TEST_F(InterfaceCloseTest, IsRefusedForOtherHandles) {
    OpenLeft();
    for (void* wrong : {static_cast<void*>(nullptr), tl, device, remote}) {
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.IFClose(wrong));
    }
    EXPECT_FAILS(-1006, " Invalid TL handle", gentl.TLClose(iface));
    EXPECT_EQ(NumDevices(), 2U);
    ExpectUsable();
}

} // namespace
