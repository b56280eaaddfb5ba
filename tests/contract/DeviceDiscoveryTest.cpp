// What an update of the device list asks of the camera library, and what it makes of bad answers.
#include "CameraSteering.h"
#include "Fixtures.h"

namespace {

using Steering::LastText;

constexpr char CAMERA[] = "Norvel-U320C-20001";

// The interface usb0 with its one camera is open.
class DeviceDiscoveryTest : public SystemTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(SystemTest::SetUp());
        ASSERT_OK(gentl.TLOpenInterface(tl, "U3V::usb0", &iface));
    }

    void Update() { ASSERT_OK(gentl.IFUpdateDeviceList(iface, nullptr, LONG_WAIT)); }

    std::string Text(const std::string& id, DEVICE_INFO_CMD command) {
        const Info info = Ask(
            [&](auto... out) { return gentl.IFGetDeviceInfo(iface, id.c_str(), command, out...); });
        EXPECT_OK(info.code);
        return info.Text();
    }
};

// A key of the camera library and where its value is told; key 9 is a number.
struct KeyRow {
    uint64_t key;
    DEVICE_INFO_CMD command;
    const char* text;
};
constexpr KeyRow KEYS[] = {{3, 1, "Norvel"},      {4, 2, "U320C"},          {7, 7, "20001"},
                           {13, 3, "U3V"},        {9, 5, nullptr},          {0, 8, "2.0.1"},
                           {16, 6, "Microscope"}, {14, 1004, "SuperSpeed"}, {15, 1003, "2-1"}};

TEST_F(DeviceDiscoveryTest, AsksForNineValuesInTheirOrder) {
    Update();
    EXPECT_EQ(Steering::Selectors(OPTIVO_DEVICE_GET_INFO),
              (std::vector<uint64_t>{3, 4, 7, 13, 9, 0, 16, 14, 15}));
}

TEST_F(DeviceDiscoveryTest, AsksEachDeviceInTheOrderOfTheCameraLibrary) {
    ASSERT_EQ(OptivoSim_AddCamera("usb0", "A", "1"), 1);
    Update();
    EXPECT_EQ(Steering::Selectors(OPTIVO_INTERFACE_GET_DEVICE_NAME), (std::vector<uint64_t>{0, 1}));
    EXPECT_EQ(OptivoSim_LastArgument(OPTIVO_INTERFACE_GET_DEVICE_NAME), 2048U);
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_INTERFACE_GET_DEVICE), 2U);
    EXPECT_EQ(LastText(OPTIVO_INTERFACE_GET_DEVICE), "A");
    EXPECT_EQ(
        Steering::Selectors(OPTIVO_DEVICE_GET_INFO),
        (std::vector<uint64_t>{3, 4, 7, 13, 9, 0, 16, 14, 15, 3, 4, 7, 13, 9, 0, 16, 14, 15}));
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_DEVICE_CLOSE), 2U);
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_INTERFACE_OPEN_DEVICE), 0U);
}

TEST_F(DeviceDiscoveryTest, LeavesNothingOpen) {
    const uint64_t before = OptivoSim_NumAlive(OPTIVO_OBJECT_DEVICE);
    Update();
    EXPECT_EQ(OptivoSim_NumAlive(OPTIVO_OBJECT_DEVICE), before);
}

TEST_F(DeviceDiscoveryTest, KeepsEachValue) {
    Update();
    for (const KeyRow& row : KEYS) {
        if (row.text != nullptr) {
            EXPECT_EQ(Text(CAMERA, row.command), row.text);
        }
    }
}

TEST_F(DeviceDiscoveryTest, EachReadGetsAFreshSize) {
    for (const KeyRow& row : KEYS) {
        SCOPED_TRACE(row.key);
        Steering::Add({OPTIVO_DEVICE_GET_INFO, OPTIVO_FAULT_GENERIC_EXCEPTION, 0, row.key});
        Steering::Add({OPTIVO_DEVICE_GET_INFO, OPTIVO_FAULT_OVERLONG_SIZE});
        EXPECT_CODE(-1001, gentl.IFUpdateDeviceList(iface, nullptr, 0));
        EXPECT_EQ(OptivoSim_LastSelector(OPTIVO_DEVICE_GET_INFO), row.key);
        EXPECT_EQ(OptivoSim_LastArgument(OPTIVO_DEVICE_GET_INFO), row.key == 9 ? 4U : 512U);
        OptivoSim_ClearFaults();
    }
}

TEST_F(DeviceDiscoveryTest, ResultsAreNotChecked) {
    for (const OptivoOperation operation :
         {OPTIVO_INTERFACE_UPDATE_DEVICE_LIST, OPTIVO_INTERFACE_GET_DEVICE_NAME,
          OPTIVO_INTERFACE_GET_DEVICE, OPTIVO_DEVICE_GET_INFO, OPTIVO_DEVICE_CLOSE}) {
        Steering::Add({operation, OPTIVO_FAULT_RESULT_AFTER, -1001});
    }
    Update();
    ASSERT_EQ(NumDevices(), 1U);
    EXPECT_EQ(DeviceId(0), CAMERA);
    for (const KeyRow& row : KEYS) {
        if (row.text != nullptr) {
            EXPECT_EQ(Text(CAMERA, row.command), row.text);
        }
    }
}

TEST_F(DeviceDiscoveryTest, ValueThatCannotBeReadIsEmpty) {
    for (const KeyRow& failing : KEYS) {
        SCOPED_TRACE(failing.key);
        Steering::Add({OPTIVO_DEVICE_GET_INFO, OPTIVO_FAULT_RESULT, -1010, failing.key});
        Update();
        for (const KeyRow& row : KEYS) {
            if (row.text != nullptr) {
                EXPECT_EQ(Text(CAMERA, row.command), row.key == failing.key ? "" : row.text);
            }
        }
        OptivoSim_ClearFaults();
    }
}

TEST_F(DeviceDiscoveryTest, StatusThatCannotBeReadIsZero) {
    Steering::Add({OPTIVO_DEVICE_GET_INFO, OPTIVO_FAULT_RESULT, -1010, 9});
    Update();
    size_t size = 0;
    EXPECT_FAILS(-1001, "Error retrieving device status ( wrong name ) ",
                 gentl.IFGetDeviceInfo(iface, CAMERA, 5, nullptr, nullptr, &size));
}

TEST_F(DeviceDiscoveryTest, SizesBeyondTheBufferDoNoHarm) {
    Steering::Add({OPTIVO_DEVICE_GET_INFO, OPTIVO_FAULT_OVERLONG_SIZE});
    Steering::Add({OPTIVO_INTERFACE_GET_DEVICE_NAME, OPTIVO_FAULT_OVERLONG_SIZE});
    Update();
    EXPECT_EQ(DeviceId(0), CAMERA);
    for (const KeyRow& row : KEYS) {
        if (row.text != nullptr) {
            EXPECT_EQ(Text(CAMERA, row.command), row.text);
        }
    }
}

TEST_F(DeviceDiscoveryTest, TextsWithoutAZeroEndWithTheirBuffer) {
    for (const KeyRow& row : KEYS) {
        if (row.text == nullptr) {
            continue;
        }
        SCOPED_TRACE(row.key);
        Steering::Add({OPTIVO_DEVICE_GET_INFO, OPTIVO_FAULT_UNTERMINATED_TEXT, 0, row.key});
        Update();
        const std::string text = Text(CAMERA, row.command);
        EXPECT_EQ(text.find_first_not_of('X'), std::string::npos);
        EXPECT_GE(text.size(), 511U);
        EXPECT_LE(text.size(), 512U);
        OptivoSim_ClearFaults();
    }
}

TEST_F(DeviceDiscoveryTest, NameWithoutAZeroEndsWithItsBuffer) {
    Steering::Add({OPTIVO_INTERFACE_GET_DEVICE_NAME, OPTIVO_FAULT_UNTERMINATED_TEXT});
    Update();
    const std::string id = DeviceId(0);
    EXPECT_EQ(id.find_first_not_of('X'), std::string::npos);
    EXPECT_GE(id.size(), 2047U);
    EXPECT_LE(id.size(), 2048U);
}

TEST_F(DeviceDiscoveryTest, DeviceWithoutDescriptionIsListedByItsName) {
    for (const OptivoFaultKind kind : {OPTIVO_FAULT_NULL_OBJECT, OPTIVO_FAULT_RESULT}) {
        Steering::Add({OPTIVO_INTERFACE_GET_DEVICE, kind});
        Update();
        ASSERT_EQ(NumDevices(), 1U);
        EXPECT_EQ(DeviceId(0), CAMERA);
        for (const KeyRow& row : KEYS) {
            if (row.text != nullptr) {
                EXPECT_EQ(Text(CAMERA, row.command), "");
            }
        }
        EXPECT_EQ(Text(CAMERA, 4), " ( )");
        OptivoSim_ClearFaults();
    }
}

TEST_F(DeviceDiscoveryTest, TextsThatFillTheirBufferAreWhole) {
    const std::string fitting(511, 't');
    for (const KeyRow& row : KEYS) {
        if (row.text != nullptr) {
            ASSERT_EQ(
                OptivoSim_SetCameraText(CAMERA, static_cast<uint32_t>(row.key), fitting.c_str()),
                1);
        }
    }
    Update();
    for (const KeyRow& row : KEYS) {
        if (row.text != nullptr) {
            EXPECT_EQ(Text(CAMERA, row.command), fitting);
        }
    }
    EXPECT_EQ(Text(CAMERA, 4), fitting + " (" + fitting + " )");
}

TEST_F(DeviceDiscoveryTest, LongNamesAreWhole) {
    const std::string name(2047, 'n');
    ASSERT_EQ(OptivoSim_AddCamera("usb0", name.c_str(), "1"), 1);
    Update();
    ASSERT_EQ(NumDevices(), 2U);
    EXPECT_EQ(DeviceId(1), name);
    EXPECT_EQ(Text(name, 7), "1");
    ASSERT_OK(gentl.IFOpenDevice(iface, name.c_str(), 4, &device));
    EXPECT_EQ(LastText(OPTIVO_INTERFACE_OPEN_DEVICE), name);
}

TEST_F(DeviceDiscoveryTest, NamesBeyondEveryBufferDoNoHarm) {
    ASSERT_EQ(OptivoSim_AddCamera("usb0", std::string(10000, 'n').c_str(), "1"), 1);
    Update();
    ASSERT_EQ(NumDevices(), 2U);
    EXPECT_EQ(DeviceId(0), "");
    EXPECT_EQ(DeviceId(1), CAMERA);
}

TEST_F(DeviceDiscoveryTest, TextsAreTakenAsTheyAre) {
    const std::string odd = "50%d%s%n\t\"<&>\xC3\xA9";
    ASSERT_EQ(OptivoSim_AddCamera("usb0", odd.c_str(), "%s"), 1);
    ASSERT_EQ(OptivoSim_SetCameraText(odd.c_str(), 3, odd.c_str()), 1);
    ASSERT_EQ(OptivoSim_SetCameraText(odd.c_str(), 4, "%x"), 1);
    Update();
    EXPECT_EQ(DeviceId(0), odd);
    EXPECT_EQ(Text(odd, 0), odd);
    EXPECT_EQ(Text(odd, 1), odd);
    EXPECT_EQ(Text(odd, 4), "%x (%s )");
}

} // namespace
