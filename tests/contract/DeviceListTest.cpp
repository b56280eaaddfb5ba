// An interface's list of devices, and how updates of it meet a changing world.
#include "CameraSteering.h"
#include "Fixtures.h"

namespace {

using Ids = std::vector<std::string>;

// The interface eth0 is open; no device is looked for yet.
class DeviceListTest : public SystemTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(SystemTest::SetUp());
        ASSERT_OK(gentl.TLOpenInterface(tl, "GEV::eth0", &iface));
    }

    // What an update makes of a flag that held something else.
    bool8_t Update() {
        bool8_t changed = 77;
        EXPECT_OK(gentl.IFUpdateDeviceList(iface, &changed, LONG_WAIT));
        return changed;
    }

    Ids ListedIds() {
        Ids ids;
        const uint32_t count = NumDevices();
        for (uint32_t i = 0; i < count; ++i) {
            ids.push_back(DeviceId(i));
        }
        return ids;
    }

    Info DeviceInfo(const char* id, DEVICE_INFO_CMD command) {
        return Ask([&](auto... out) { return gentl.IFGetDeviceInfo(iface, id, command, out...); });
    }

    void Add(const char* name) { ASSERT_EQ(OptivoSim_AddCamera("eth0", name, "1"), 1); }
    void RemoveDefaultCameras() {
        ASSERT_EQ(OptivoSim_RemoveCamera(LEFT), 1);
        ASSERT_EQ(OptivoSim_RemoveCamera(RIGHT), 1);
    }
};

TEST_F(DeviceListTest, IsEmptyBeforeTheFirstUpdate) {
    EXPECT_EQ(NumDevices(), 0U);
    char id[64] = "before";
    size_t size = sizeof id;
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.IFGetDeviceID(iface, 0, id, &size));
    EXPECT_STREQ(id, "before");
    DEV_HANDLE opened = this;
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.IFOpenDevice(iface, LEFT, 4, &opened));
    EXPECT_EQ(opened, this);
    EXPECT_FAILS(-1001, "Unable to find device Norvel-G640M-10001",
                 gentl.IFGetDeviceInfo(iface, LEFT, 0, nullptr, nullptr, &size));
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_INTERFACE_UPDATE_DEVICE_LIST), 0U);
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_INTERFACE_OPEN_DEVICE), 0U);
}

TEST_F(DeviceListTest, TellsWhatTheLastUpdateFound) {
    EXPECT_EQ(Update(), 1);
    EXPECT_EQ(NumDevices(), 2U);
    ExpectTextCopyOut([&](auto... out) { return gentl.IFGetDeviceID(iface, 0, out...); },
                      PlainTextInfo(RIGHT));
    ExpectTextCopyOut([&](auto... out) { return gentl.IFGetDeviceID(iface, 1, out...); },
                      PlainTextInfo(LEFT));
    Add("Another");
    EXPECT_EQ(NumDevices(), 2U);
    EXPECT_EQ(Update(), 1);
    EXPECT_EQ(ListedIds(), (Ids{"Another", RIGHT, LEFT}));
}

TEST_F(DeviceListTest, RefusesIndexesBehindTheList) {
    Update();
    for (const uint32_t index : {2U, 3U, 0x80000000U, UINT32_MAX}) {
        SCOPED_TRACE(index);
        char id[64] = "before";
        size_t size = sizeof id;
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.IFGetDeviceID(iface, index, id, &size));
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.IFGetDeviceID(iface, index, nullptr, nullptr));
        EXPECT_STREQ(id, "before");
        EXPECT_EQ(size, sizeof id);
    }
}

TEST_F(DeviceListTest, TimeoutIsCutToItsLowHalf) {
    struct Row {
        uint64_t timeout;
        uint64_t seen;
    };
    const Row rows[] = {{0, 0},
                        {1000, 1000},
                        {0xFFFFFFFF, 0xFFFFFFFF},
                        {0x100000000, 0},
                        {0x100000005, 5},
                        {0x8000000000000000, 0},
                        {GENTL_INFINITE - 1, 0xFFFFFFFE},
                        {GENTL_INFINITE, 0xFFFFFFFF}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.timeout);
        EXPECT_OK(gentl.IFUpdateDeviceList(iface, nullptr, row.timeout));
        EXPECT_EQ(OptivoSim_LastArgument(OPTIVO_INTERFACE_UPDATE_DEVICE_LIST), row.seen);
    }
}

TEST_F(DeviceListTest, ChangedTellsWhetherDevicesCameOrWent) {
    EXPECT_EQ(Update(), 1);
    EXPECT_EQ(Update(), 0);
    Add("Another");
    EXPECT_EQ(Update(), 1);
    EXPECT_EQ(Update(), 0);
    OptivoSim_RemoveCamera("Another");
    EXPECT_EQ(Update(), 1);
    EXPECT_EQ(Update(), 0);
    OptivoSim_RemoveCamera(LEFT);
    Add("Instead");
    EXPECT_EQ(Update(), 1);
    OptivoSim_RemoveAll();
    EXPECT_EQ(Update(), 1);
    EXPECT_EQ(NumDevices(), 0U);
    EXPECT_EQ(Update(), 0);
}

TEST_F(DeviceListTest, ChangedTellsOfAnotherStatus) {
    Update();
    OptivoSim_SetCameraStatus(LEFT, 4);
    EXPECT_EQ(Update(), 1);
    EXPECT_EQ(Update(), 0);
    OptivoSim_SetCameraStatus(LEFT, 0);
    OptivoSim_SetCameraStatus(RIGHT, 2);
    EXPECT_EQ(Update(), 1);
    EXPECT_EQ(Update(), 0);
}

TEST_F(DeviceListTest, ChangedTellsNothingOfOtherTexts) {
    Update();
    OptivoSim_SetCameraText(LEFT, 3, "Another vendor");
    OptivoSim_SetCameraText(LEFT, 16, "Another name");
    EXPECT_EQ(Update(), 0);
}

TEST_F(DeviceListTest, ChangedMayBeNullWhateverHappens) {
    EXPECT_OK(gentl.IFUpdateDeviceList(iface, nullptr, 0));
    EXPECT_EQ(NumDevices(), 2U);
    OptivoSim_SetCameraStatus(RIGHT, 2);
    EXPECT_OK(gentl.IFUpdateDeviceList(iface, nullptr, 0));
    OptivoSim_RemoveCamera(LEFT);
    EXPECT_OK(gentl.IFUpdateDeviceList(iface, nullptr, 0));
    EXPECT_EQ(ListedIds(), (Ids{RIGHT}));
    EXPECT_EQ(Update(), 0);
}

TEST_F(DeviceListTest, UpdateTakesTheFreshRecords) {
    Update();
    OptivoSim_SetCameraText(LEFT, 3, "Another vendor");
    OptivoSim_SetCameraText(LEFT, 16, "Another name");
    EXPECT_EQ(DeviceInfo(LEFT, 1), TextInfo("Norvel"));
    EXPECT_EQ(Update(), 0);
    EXPECT_EQ(DeviceInfo(LEFT, 1), TextInfo("Another vendor"));
    EXPECT_EQ(DeviceInfo(LEFT, 6), TextInfo("Another name"));
}

TEST_F(DeviceListTest, ShowsAStatusOnlyAfterAnUpdate) {
    Update();
    OptivoSim_SetCameraStatus(LEFT, 4);
    EXPECT_EQ(DeviceInfo(LEFT, 5), NumberInfo<int32_t>(5, 1));
    Update();
    EXPECT_EQ(DeviceInfo(LEFT, 5), NumberInfo<int32_t>(5, 4));
}

TEST_F(DeviceListTest, IsSortedByTheBytesOfTheIds) {
    RemoveDefaultCameras();
    for (const char* name : {"B", "A", "AB"}) {
        Add(name);
    }
    Update();
    EXPECT_EQ(ListedIds(), (Ids{"A", "AB", "B"}));
    for (const char* name : {"b", "a", "\xC3\xA9", "a ", "10", "9", "~", "%s", "_"}) {
        Add(name);
    }
    Update();
    EXPECT_EQ(ListedIds(),
              (Ids{"%s", "10", "9", "A", "AB", "B", "_", "a", "a ", "b", "~", "\xC3\xA9"}));
}

TEST_F(DeviceListTest, IsSortedWhicheverDevicesAreNew) {
    RemoveDefaultCameras();
    Add("M");
    Update();
    Add("Z");
    Add("A");
    Update();
    EXPECT_EQ(ListedIds(), (Ids{"A", "M", "Z"}));
    OptivoSim_RemoveCamera("M");
    Add("B");
    Update();
    EXPECT_EQ(ListedIds(), (Ids{"A", "B", "Z"}));
    OptivoSim_RemoveCamera("A");
    Add("A");
    EXPECT_EQ(Update(), 0);
    EXPECT_EQ(ListedIds(), (Ids{"A", "B", "Z"}));
}

TEST_F(DeviceListTest, BelongsToItsInterface) {
    Update();
    IF_HANDLE other = nullptr;
    ASSERT_OK(gentl.TLOpenInterface(tl, "U3V::usb0", &other));
    uint32_t count = 77;
    EXPECT_OK(gentl.IFGetNumDevices(other, &count));
    EXPECT_EQ(count, 0U);
    EXPECT_OK(gentl.IFUpdateDeviceList(other, nullptr, 0));
    EXPECT_OK(gentl.IFGetNumDevices(other, &count));
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(ListedIds(), (Ids{RIGHT, LEFT}));
}

TEST_F(DeviceListTest, IsEmptyAgainInAnInterfaceOpenedAnew) {
    Update();
    CloseInterface();
    ASSERT_OK(gentl.TLOpenInterface(tl, "GEV::eth0", &iface));
    EXPECT_EQ(NumDevices(), 0U);
    EXPECT_EQ(Update(), 1);
    EXPECT_EQ(NumDevices(), 2U);
}

TEST_F(DeviceListTest, KeepsOfEqualIdsTheOrderInWhichTheyWereFound) {
    RemoveDefaultCameras();
    ASSERT_EQ(OptivoSim_AddCameraTwin("eth0", "Twin", "1"), 1);
    ASSERT_EQ(OptivoSim_AddCameraTwin("eth0", "Twin", "1"), 1);
    Add("Alone");
    // The second twin cannot tell its serial number.
    Steering::Add({OPTIVO_DEVICE_GET_INFO, OPTIVO_FAULT_RESULT, -1001, 7, 1, 1});
    EXPECT_EQ(Update(), 1);
    EXPECT_EQ(ListedIds(), (Ids{"Alone", "Twin", "Twin"}));
    EXPECT_EQ(DeviceInfo("Twin", 7), TextInfo("1"));
    // Now the first cannot.
    Steering::Add({OPTIVO_DEVICE_GET_INFO, OPTIVO_FAULT_RESULT, -1001, 7, 0, 1});
    EXPECT_EQ(Update(), 0);
    EXPECT_EQ(ListedIds(), (Ids{"Alone", "Twin", "Twin"}));
    EXPECT_EQ(DeviceInfo("Twin", 7), TextInfo(""));
}

TEST_F(DeviceListTest, MatchesEqualIdsOneToOne) {
    RemoveDefaultCameras();
    ASSERT_EQ(OptivoSim_AddCameraTwin("eth0", "Twin", "1"), 1);
    ASSERT_EQ(OptivoSim_AddCameraTwin("eth0", "Twin", "1"), 1);
    EXPECT_EQ(Update(), 1);
    EXPECT_EQ(Update(), 0);
    EXPECT_EQ(NumDevices(), 2U);
    // Only the second one's status differs, then it is as before.
    Steering::Add({OPTIVO_DEVICE_GET_INFO, OPTIVO_FAULT_RESULT, -1001, 9, 1, 1});
    EXPECT_EQ(Update(), 1);
    EXPECT_EQ(Update(), 1);
    EXPECT_EQ(Update(), 0);
    ASSERT_EQ(OptivoSim_RemoveCamera("Twin"), 1);
    EXPECT_EQ(Update(), 1);
    EXPECT_EQ(ListedIds(), (Ids{"Twin"}));
    ASSERT_EQ(OptivoSim_AddCameraTwin("eth0", "Twin", "1"), 1);
    EXPECT_EQ(Update(), 1);
    EXPECT_EQ(ListedIds(), (Ids{"Twin", "Twin"}));
}

TEST_F(DeviceListTest, ExceptionKeepsTheListAndTheFlag) {
    Update();
    OptivoSim_RemoveCamera(LEFT);
    Add("Another");
    for (const OptivoOperation operation :
         {OPTIVO_INTERFACE_UPDATE_DEVICE_LIST, OPTIVO_INTERFACE_GET_DEVICE_NAME,
          OPTIVO_INTERFACE_GET_DEVICE, OPTIVO_DEVICE_GET_INFO}) {
        for (const OptivoFaultKind kind :
             {OPTIVO_FAULT_GENERIC_EXCEPTION, OPTIVO_FAULT_FOREIGN_EXCEPTION}) {
            SCOPED_TRACE(operation);
            const bool isFirstCall = operation == OPTIVO_INTERFACE_UPDATE_DEVICE_LIST;
            Steering::Add({operation, kind, 0, OPTIVO_ANY_SELECTOR, isFirstCall ? 0U : 1U, 1});
            bool8_t changed = 77;
            EXPECT_FAILS(-1001, UNSPECIFIED, gentl.IFUpdateDeviceList(iface, &changed, 0));
            EXPECT_EQ(changed, 77);
            EXPECT_EQ(ListedIds(), (Ids{RIGHT, LEFT}));
            OptivoSim_ClearFaults();
        }
    }
    EXPECT_EQ(Update(), 1);
    EXPECT_EQ(ListedIds(), (Ids{"Another", RIGHT}));
}

TEST_F(DeviceListTest, UpdateKeepsOpenDevicesOpen) {
    Update();
    OpenDevice(1);
    OptivoSim_RemoveCamera(LEFT);
    EXPECT_EQ(Update(), 1);
    EXPECT_EQ(ListedIds(), (Ids{RIGHT}));
    uint32_t width = 0;
    size_t size = sizeof width;
    EXPECT_OK(gentl.GCReadPort(remote, 0x400, &width, &size));
    EXPECT_EQ(width, 640U);
    DEV_HANDLE again = this;
    EXPECT_FAILS(-1004, "Device already open", gentl.IFOpenDevice(iface, LEFT, 4, &again));
    CloseDevice();
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.IFOpenDevice(iface, LEFT, 4, &again));
    EXPECT_EQ(again, this);
}

} // namespace
