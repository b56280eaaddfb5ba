// Systems, interfaces and cameras: lists, descriptions, and opening.
#include "StandardFixtures.h"

namespace {

class StandardSystemTest : public SystemTest {};

TEST_F(StandardSystemTest, IsOpenOnce) {
    TL_HANDLE again = this;
    EXPECT_REFUSES(-1004, gentl.TLOpen(&again));
    EXPECT_EQ(again, this);
}

TEST_F(StandardSystemTest, IsOpenOnceHoweverManyTryIt) {
    CloseSystem();
    ExpectOneOpens([this](void** handle) { return gentl.TLOpen(handle); },
                   [this](void* handle) { return gentl.TLClose(handle); });
    EXPECT_EQ(OptivoSim_NumAlive(OPTIVO_OBJECT_SYSTEM), 0U);
}

TEST_F(StandardSystemTest, OpensAnInterfaceOnceHoweverManyTryIt) {
    ExpectOneOpens([this](void** handle) { return gentl.TLOpenInterface(tl, "GEV::eth0", handle); },
                   [this](void* handle) { return gentl.IFClose(handle); });
    EXPECT_EQ(OptivoSim_NumAlive(OPTIVO_OBJECT_INTERFACE), 0U);
}

TEST_F(StandardSystemTest, OpensAgainAfterItWasClosed) {
    CloseSystem();
    OpenSystem();
}

TEST_F(StandardSystemTest, NeedsAPlaceForItsHandle) {
    CloseSystem();
    EXPECT_REFUSES(-1009, gentl.TLOpen(nullptr));
}

TEST_F(StandardSystemTest, TellsWhatTheLibraryTells) {
    for (const TL_INFO_CMD command : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10}) {
        SCOPED_TRACE(command);
        const Info expected = Ask([&](auto... out) { return gentl.GCGetInfo(command, out...); });
        EXPECT_OK(expected.code);
        ExpectAnswer([&](auto... out) { return gentl.TLGetInfo(tl, command, out...); }, expected);
    }
}

TEST_F(StandardSystemTest, RefusesAnUnknownCommand) {
    EXPECT_REFUSES(-1003, Ask([&](auto... out) { return gentl.TLGetInfo(tl, 11, out...); }).code);
}

TEST_F(StandardSystemTest, ListsInterfacesByIndex) {
    EXPECT_EQ(NumInterfaces(), 2U);
    ExpectTextAnswer([&](auto... out) { return gentl.TLGetInterfaceID(tl, 0, out...); },
                     "GEV::eth0");
    ExpectTextAnswer([&](auto... out) { return gentl.TLGetInterfaceID(tl, 1, out...); },
                     "U3V::usb0");
}

TEST_F(StandardSystemTest, RefusesAnIndexBehindTheInterfaces) {
    for (const uint32_t index : {2U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        char id[64];
        size_t size = sizeof id;
        EXPECT_REFUSES(-1017, gentl.TLGetInterfaceID(tl, index, id, &size));
    }
}

TEST_F(StandardSystemTest, DescribesItsInterfaces) {
    const auto info = [&](INTERFACE_INFO_CMD command) -> InfoCall {
        return [=, this](auto... out) {
            return gentl.TLGetInterfaceInfo(tl, "GEV::eth0", command, out...);
        };
    };
    NumInterfaces();
    ExpectAnswer(info(0), TextInfo("GEV::eth0"));
    ExpectAnswer(info(1), TextInfo("Interface : eth0"));
    ExpectAnswer(info(2), TextInfo("GEV"));
    EXPECT_REFUSES(-1003, Ask(info(3)).code);
}

TEST_F(StandardSystemTest, RefusesTheIdOfNoInterface) {
    char text[64];
    size_t size = sizeof text;
    EXPECT_REFUSES(-1007, gentl.TLGetInterfaceInfo(tl, "GEV::eth9", 0, nullptr, text, &size));
    EXPECT_REFUSES(-1007, gentl.TLOpenInterface(tl, "GEV::eth9", &iface));
    EXPECT_REFUSES(-1007, gentl.TLOpenInterface(tl, "", &iface));
    EXPECT_EQ(iface, nullptr);
}

TEST_F(StandardSystemTest, SaysWhetherTheListChanged) {
    bool8_t hasChanged = 7;
    EXPECT_OK(gentl.TLUpdateInterfaceList(tl, &hasChanged, LONG_WAIT));
    EXPECT_OK(gentl.TLUpdateInterfaceList(tl, &hasChanged, LONG_WAIT));
    EXPECT_EQ(hasChanged, 0);
    ASSERT_EQ(OptivoSim_AddInterface("eth1", "GEV", "GEV"), 1);
    EXPECT_OK(gentl.TLUpdateInterfaceList(tl, &hasChanged, LONG_WAIT));
    EXPECT_EQ(hasChanged, 1);
}

TEST_F(StandardSystemTest, OpensAnInterfaceOnce) {
    OpenInterface();
    IF_HANDLE again = this;
    EXPECT_REFUSES(-1004, gentl.TLOpenInterface(tl, "GEV::eth0", &again));
    EXPECT_EQ(again, this);
    EXPECT_EQ(NumDevices(), 2U) << "the open one works";
}

TEST_F(StandardSystemTest, RefusesNullPointers) {
    EXPECT_REFUSES(-1009, gentl.TLGetNumInterfaces(tl, nullptr));
    EXPECT_REFUSES(-1009, gentl.TLGetInterfaceID(tl, 0, nullptr, nullptr));
    EXPECT_REFUSES(-1009, gentl.TLOpenInterface(tl, nullptr, &iface));
    EXPECT_REFUSES(-1009, gentl.TLOpenInterface(tl, "GEV::eth0", nullptr));
    EXPECT_REFUSES(-1009, gentl.TLGetInterfaceInfo(tl, nullptr, 0, nullptr, nullptr, nullptr));
}

constexpr char GREY[] = "Norvel-G640M-10001";

// The cameras of the first interface are not listed.
class StandardInterfaceTest : public SystemTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(SystemTest::SetUp());
        ASSERT_OK(gentl.TLOpenInterface(tl, "GEV::eth0", &iface));
    }

    void Update() { ASSERT_OK(gentl.IFUpdateDeviceList(iface, nullptr, LONG_WAIT)); }

    void Open(const char* id = GREY) {
        ASSERT_OK(gentl.IFOpenDevice(iface, id, 4, &device));
        ASSERT_NE(device, nullptr);
    }

    InfoCall DeviceInfo(const char* id, DEVICE_INFO_CMD command) {
        return [=, this](auto... out) { return gentl.IFGetDeviceInfo(iface, id, command, out...); };
    }

    void ExpectStatus(int32_t status) { ExpectAnswer(DeviceInfo(GREY, 5), NumberInfo(5, status)); }
};

TEST_F(StandardInterfaceTest, DescribesItself) {
    const auto info = [&](INTERFACE_INFO_CMD command) -> InfoCall {
        return [=, this](auto... out) { return gentl.IFGetInfo(iface, command, out...); };
    };
    ExpectAnswer(info(0), TextInfo("GEV::eth0"));
    ExpectAnswer(info(1), TextInfo("Interface : eth0"));
    ExpectAnswer(info(2), TextInfo("GEV"));
    EXPECT_REFUSES(-1003, Ask(info(3)).code);
    EXPECT_REFUSES(-1003, Ask(info(-1)).code);
}

TEST_F(StandardInterfaceTest, KnowsItsSystem) {
    TL_HANDLE parent = nullptr;
    EXPECT_OK(gentl.IFGetParentTL(iface, &parent));
    EXPECT_EQ(parent, tl);
    EXPECT_REFUSES(-1009, gentl.IFGetParentTL(iface, nullptr));
}

TEST_F(StandardInterfaceTest, ListsCamerasByIndex) {
    Update();
    EXPECT_EQ(NumDevices(), 2U);
    ExpectTextAnswer([&](auto... out) { return gentl.IFGetDeviceID(iface, 1, out...); }, GREY);
}

TEST_F(StandardInterfaceTest, RefusesAnIndexBehindTheCameras) {
    Update();
    for (const uint32_t index : {2U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        char id[64];
        size_t size = sizeof id;
        EXPECT_REFUSES(-1017, gentl.IFGetDeviceID(iface, index, id, &size));
    }
}

TEST_F(StandardInterfaceTest, SaysWhetherTheListChanged) {
    bool8_t hasChanged = 7;
    EXPECT_OK(gentl.IFUpdateDeviceList(iface, &hasChanged, LONG_WAIT));
    EXPECT_EQ(hasChanged, 1);
    EXPECT_OK(gentl.IFUpdateDeviceList(iface, &hasChanged, LONG_WAIT));
    EXPECT_EQ(hasChanged, 0);
}

TEST_F(StandardInterfaceTest, DescribesItsCameras) {
    Update();
    ExpectAnswer(DeviceInfo(GREY, 0), TextInfo(GREY));
    ExpectAnswer(DeviceInfo(GREY, 2), TextInfo("G640M"));
    ExpectAnswer(DeviceInfo(GREY, 3), TextInfo("GEV"));
    ExpectAnswer(DeviceInfo(GREY, 6), TextInfo("Left"));
    ExpectAnswer(DeviceInfo(GREY, 7), TextInfo("10001"));
    ExpectAnswer(DeviceInfo(GREY, 8), TextInfo("1.2.0"));
    ExpectAnswer(DeviceInfo(GREY, 9), NumberInfo<uint64_t>(8, 1000000000));
}

TEST_F(StandardInterfaceTest, PassesOnTheProducersOwnDescriptions) {
    Update();
    ExpectAnswer(DeviceInfo(GREY, 1000), TextInfo("Left"));
    ExpectAnswer(DeviceInfo(GREY, 1001), TextInfo("10001"));
    ExpectAnswer(DeviceInfo(GREY, 1002), TextInfo("1.2.0"));
    ExpectAnswer(DeviceInfo(GREY, 1003), TextInfo("02-4E-56-00-27-11"));
    ExpectAnswer(DeviceInfo(GREY, 1004), TextInfo("169.254.10.1"));
}

TEST_F(StandardInterfaceTest, DescribesAnOpenCameraAsBefore) {
    Update();
    Open();
    ExpectAnswer(DeviceInfo(GREY, 6), TextInfo("Left"));
    ExpectAnswer(DeviceInfo(GREY, 8), TextInfo("1.2.0"));
    ExpectAnswer(DeviceInfo(GREY, 1003), TextInfo("02-4E-56-00-27-11"));
}

TEST_F(StandardInterfaceTest, RefusesAnUnknownCommand) {
    Update();
    for (const DEVICE_INFO_CMD command : {-1, 10, 999, 1999}) {
        EXPECT_REFUSES(-1003, Ask(DeviceInfo(GREY, command)).code) << command;
    }
}

TEST_F(StandardInterfaceTest, RefusesTheIdOfNoCamera) {
    Update();
    EXPECT_REFUSES(-1007, Ask(DeviceInfo("Norvel-G640M-99999", 0)).code);
    EXPECT_REFUSES(-1007, gentl.IFOpenDevice(iface, "Norvel-G640M-99999", 4, &device));
    EXPECT_REFUSES(-1007, gentl.IFOpenDevice(iface, "", 4, &device));
    EXPECT_EQ(device, nullptr);
}

TEST_F(StandardInterfaceTest, OpensACameraThatIsNotListedYet) {
    EXPECT_EQ(NumDevices(), 0U);
    Open();
}

TEST_F(StandardInterfaceTest, OpensACameraThatCameAfterTheUpdate) {
    Update();
    ASSERT_EQ(OptivoSim_AddCamera("eth0", "Norvel-G640M-777", "777"), 1);
    Open("Norvel-G640M-777");
}

// The opening has updated the list, which the consumer has not seen.
TEST_F(StandardInterfaceTest, SaysThatTheListChangedWhenACameraWasOpened) {
    Open();
    bool8_t hasChanged = 7;
    EXPECT_OK(gentl.IFUpdateDeviceList(iface, &hasChanged, LONG_WAIT));
    EXPECT_EQ(hasChanged, 1);
    EXPECT_OK(gentl.IFUpdateDeviceList(iface, &hasChanged, LONG_WAIT));
    EXPECT_EQ(hasChanged, 0);
}

TEST_F(StandardInterfaceTest, SaysNothingOfAChangeThatAnEarlierOpeningOfItFound) {
    Open();
    CloseInterface();
    device = nullptr;
    ASSERT_EQ(OptivoSim_RemoveCamera(GREY), 1);
    ASSERT_EQ(OptivoSim_RemoveCamera("Norvel-G1300C-10002"), 1);
    ASSERT_OK(gentl.TLOpenInterface(tl, "GEV::eth0", &iface));
    bool8_t hasChanged = 7;
    EXPECT_OK(gentl.IFUpdateDeviceList(iface, &hasChanged, LONG_WAIT));
    EXPECT_EQ(hasChanged, 0);
}

TEST_F(StandardInterfaceTest, OpensACameraOnce) {
    Open();
    DEV_HANDLE again = this;
    EXPECT_REFUSES(-1004, gentl.IFOpenDevice(iface, GREY, 4, &again));
    EXPECT_EQ(again, this);
    EXPECT_OK(gentl.DevGetPort(device, &remote)) << "the open one works";
}

TEST_F(StandardInterfaceTest, OpensACameraAgainAfterItWasClosed) {
    for (int i = 0; i < 3; ++i) {
        Open();
        CloseDevice();
    }
}

TEST_F(StandardInterfaceTest, RefusesACameraThatDoesNotOpen) {
    Update();
    const OptivoFault fault = {OPTIVO_INTERFACE_OPEN_DEVICE,
                               OPTIVO_FAULT_RESULT,
                               -1005,
                               OPTIVO_ANY_SELECTOR,
                               0,
                               OPTIVO_FOREVER};
    OptivoSim_AddFault(&fault);
    EXPECT_REFUSES(-1005, gentl.IFOpenDevice(iface, GREY, 4, &device));
    OptivoSim_ClearFaults();
    Open();
}

TEST_F(StandardInterfaceTest, RefusesAnAccessThatIsNone) {
    Update();
    for (const DEVICE_ACCESS_FLAGS access : {-1, 0, 1, 5}) {
        EXPECT_REFUSES(-1009, gentl.IFOpenDevice(iface, GREY, access, &device)) << access;
    }
}

TEST_F(StandardInterfaceTest, RefusesNullPointers) {
    EXPECT_REFUSES(-1009, gentl.IFGetNumDevices(iface, nullptr));
    EXPECT_REFUSES(-1009, gentl.IFGetDeviceID(iface, 0, nullptr, nullptr));
    EXPECT_REFUSES(-1009, gentl.IFOpenDevice(iface, nullptr, 4, &device));
    EXPECT_REFUSES(-1009, gentl.IFOpenDevice(iface, GREY, 4, nullptr));
    EXPECT_REFUSES(-1009, gentl.IFGetDeviceInfo(iface, nullptr, 0, nullptr, nullptr, nullptr));
}

TEST_F(StandardInterfaceTest, SaysThatACameraIsFree) {
    Update();
    ExpectStatus(1);
}

TEST_F(StandardInterfaceTest, SaysThatACameraIsOpen) {
    Update();
    Open();
    ExpectStatus(5);
    ExpectAnswer(DeviceInfo("SN->10001", 5), NumberInfo<int32_t>(5, 5));
    ExpectAnswer([&](auto... out) { return gentl.DevGetInfo(device, 5, out...); },
                 NumberInfo<int32_t>(5, 5));
    ExpectAnswer(DeviceInfo("Norvel-G1300C-10002", 5), NumberInfo<int32_t>(5, 1));
}

TEST_F(StandardInterfaceTest, SaysThatACameraIsFreeAfterItWasClosed) {
    Update();
    Open();
    CloseDevice();
    ExpectStatus(1);
}

TEST_F(StandardInterfaceTest, SaysThatAnotherProcessHasACamera) {
    ASSERT_EQ(OptivoSim_SetCameraStatus(GREY, 4), 1);
    Update();
    ExpectStatus(4);
}

TEST_F(StandardInterfaceTest, SaysThatACameraIsOpenAfterAnUpdate) {
    Open();
    Update();
    ExpectStatus(5);
}

class StandardDeviceTest : public DeviceTest {
protected:
    InfoCall DeviceInfo(DEVICE_INFO_CMD command) {
        return [=, this](auto... out) { return gentl.DevGetInfo(device, command, out...); };
    }
};

TEST_F(StandardDeviceTest, DescribesItself) {
    ExpectAnswer(DeviceInfo(0), TextInfo("Norvel-G1300C-10002"));
    ExpectAnswer(DeviceInfo(2), TextInfo("G1300C"));
    ExpectAnswer(DeviceInfo(3), TextInfo("GEV"));
    ExpectAnswer(DeviceInfo(7), TextInfo("10002"));
    ExpectAnswer(DeviceInfo(9), NumberInfo<uint64_t>(8, 1000000000));
}

// The list has them, so the open camera must.
TEST_F(StandardDeviceTest, TellsItsUsersNameAndVersion) {
    ExpectAnswer(DeviceInfo(6), TextInfo("Right"));
    ExpectAnswer(DeviceInfo(8), TextInfo("1.4.2"));
    ExpectAnswer(DeviceInfo(1004), TextInfo("169.254.10.2"));
}

TEST_F(StandardDeviceTest, RefusesAnUnknownCommand) {
    for (const DEVICE_INFO_CMD command : {-1, 10, 999, 1999}) {
        EXPECT_REFUSES(-1003, Ask(DeviceInfo(command)).code) << command;
    }
}

TEST_F(StandardDeviceTest, KnowsItsInterface) {
    IF_HANDLE parent = nullptr;
    EXPECT_OK(gentl.DevGetParentIF(device, &parent));
    EXPECT_EQ(parent, iface);
    EXPECT_REFUSES(-1009, gentl.DevGetParentIF(device, nullptr));
}

TEST_F(StandardDeviceTest, AlwaysHasTheSamePort) {
    PORT_HANDLE again = nullptr;
    EXPECT_OK(gentl.DevGetPort(device, &again));
    EXPECT_EQ(again, remote);
    EXPECT_REFUSES(-1009, gentl.DevGetPort(device, nullptr));
}

TEST_F(StandardDeviceTest, ListsItsStreams) {
    uint32_t count = 0;
    EXPECT_OK(gentl.DevGetNumDataStreams(device, &count));
    EXPECT_EQ(count, 1U);
    ExpectTextAnswer([&](auto... out) { return gentl.DevGetDataStreamID(device, 0, out...); },
                     "DS0");
    EXPECT_REFUSES(-1009, gentl.DevGetNumDataStreams(device, nullptr));
}

TEST_F(StandardDeviceTest, RefusesAnIndexBehindTheStreams) {
    for (const uint32_t index : {1U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        char id[16];
        size_t size = sizeof id;
        EXPECT_REFUSES(-1017, gentl.DevGetDataStreamID(device, index, id, &size));
    }
}

TEST_F(StandardDeviceTest, ListsSeveralStreams) {
    ASSERT_EQ(OptivoSim_SetNumStreams(camera.c_str(), 3), 1);
    ExpectTextAnswer([&](auto... out) { return gentl.DevGetDataStreamID(device, 2, out...); },
                     "DS2");
}

TEST_F(StandardDeviceTest, RefusesTheIdOfNoStream) {
    for (const char* id : {"DS1", "DS", "", "ds0", "XX0", "DS00", "DS0 "}) {
        EXPECT_REFUSES(-1007, gentl.DevOpenDataStream(device, id, &stream)) << id;
        EXPECT_EQ(stream, nullptr);
    }
    EXPECT_REFUSES(-1009, gentl.DevOpenDataStream(device, nullptr, &stream));
    EXPECT_REFUSES(-1009, gentl.DevOpenDataStream(device, "DS0", nullptr));
}

TEST_F(StandardDeviceTest, OpensAStreamOnce) {
    OpenStream();
    DS_HANDLE again = this;
    EXPECT_REFUSES(-1004, gentl.DevOpenDataStream(device, "DS0", &again));
    EXPECT_EQ(again, this);
    DEV_HANDLE parent = nullptr;
    EXPECT_OK(gentl.DSGetParentDev(stream, &parent)) << "the open one works";
    EXPECT_EQ(parent, device);
}

TEST_F(StandardDeviceTest, OpensAStreamOnceHoweverManyTryIt) {
    ExpectOneOpens([this](void** handle) { return gentl.DevOpenDataStream(device, "DS0", handle); },
                   [this](void* handle) { return gentl.DSClose(handle); });
    EXPECT_EQ(OptivoSim_NumAlive(OPTIVO_OBJECT_STREAM), 0U);
}

TEST_F(StandardDeviceTest, OpensAStreamAgainAfterItWasClosed) {
    for (int i = 0; i < 3; ++i) {
        OpenStream();
        CloseStream();
    }
}

} // namespace
