// Every feature of the camera's XML: its kind, access, register and first value. What is in no row
// fails.
#include "CameraFeatureFixtures.h"

#include <set>

namespace {

struct FeatureRow {
    const char* name;
    const char* kind;
    const char* access; // "" for a feature without a register
    uint64_t address;
    size_t length;
    const char* values[3]; // of the grey, the Bayer and the colour camera
};

#define SAME(value)                                                                                \
    { value, value, value }

constexpr FeatureRow ROWS[] = {
    {"DeviceVendorName", "StringReg", "RO", 0x100, 64, SAME("Norvel")},
    {"DeviceModelName", "StringReg", "RO", 0x140, 64, {"G640M", "G1300C", "U320C"}},
    {"DeviceVersion", "StringReg", "RO", 0x180, 64, {"1.2.0", "1.4.2", "2.0.1"}},
    {"DeviceSerialNumber", "StringReg", "RO", 0x1C0, 64, {"10001", "10002", "20001"}},
    {"DeviceUserID", "StringReg", "RW", 0x200, 64, {"Left", "Right", "Microscope"}},
    {"DeviceID", "StringReg", "RO", 0x240, 64, {MONO_CAMERA, BAYER_CAMERA, COLOUR_CAMERA}},
    {"DeviceTemperature", "Float", "RO", 0x280, 4, SAME("42.5")},
    {"TimestampLatch", "Command", "RW", 0x5C0, 4, SAME("0")},
    {"TimestampLatchValue", "Integer", "RO", 0x5C8, 8, SAME("0")},
    {"UserMemory", "Register", "RW", 0x800, 256, SAME("zeros")},
    {"SensorWidth", "Integer", "RO", 0x300, 4, {"640", "1280", "320"}},
    {"SensorHeight", "Integer", "RO", 0x304, 4, {"480", "1024", "240"}},
    {"WidthMax", "Integer", "RO", 0x308, 4, {"640", "1280", "320"}},
    {"HeightMax", "Integer", "RO", 0x30C, 4, {"480", "1024", "240"}},
    {"Width", "Integer", "RW", 0x400, 4, {"640", "1280", "320"}},
    {"Height", "Integer", "RW", 0x404, 4, {"480", "1024", "240"}},
    {"OffsetX", "Integer", "RW", 0x418, 4, SAME("0")},
    {"OffsetY", "Integer", "RW", 0x41C, 4, SAME("0")},
    {"BinningHorizontal", "Integer", "RW", 0x420, 4, SAME("1")},
    {"BinningVertical", "Integer", "RW", 0x424, 4, SAME("1")},
    {"PixelFormat", "Enumeration", "RW", 0x408, 4, {"Mono8", "BayerRG8", "RGB8"}},
    {"TestPattern",
     "Enumeration",
     "RW",
     0x428,
     4,
     {"GreyDiagonalRampMoving", "ColorBar", "ColorBar"}},
    {"AcquisitionMode", "Enumeration", "RW", 0x514, 4, SAME("Continuous")},
    {"AcquisitionFrameCount", "Integer", "RW", 0x518, 4, SAME("1")},
    {"AcquisitionStart", "Command", "RW", 0x500, 4, SAME("0")},
    {"AcquisitionStop", "Command", "RW", 0x504, 4, SAME("0")},
    {"AcquisitionFrameRateEnable", "Boolean", "RW", 0x510, 4, SAME("true")},
    {"AcquisitionFrameRate", "Float", "RW", 0x508, 8, {"60", "30", "60"}},
    {"TriggerSelector", "Enumeration", "RW", 0x540, 4, SAME("AcquisitionStart")},
    {"TriggerMode", "Enumeration", "RW", 0x550, 4, SAME("Off")},
    {"TriggerSource", "Enumeration", "RW", 0x554, 4, SAME("Software")},
    {"TriggerActivation", "Enumeration", "RW", 0x558, 4, SAME("RisingEdge")},
    {"TriggerSoftware", "Command", "RW", 0x55C, 4, SAME("0")},
    {"ExposureTime", "Float", "RW", 0x520, 8, SAME("10000")},
    {"Gain", "Float", "RW", 0x528, 4, SAME("0")},
    {"EventSelector", "Enumeration", "RW", 0x580, 4, SAME("FrameStart")},
    {"EventNotification", "Enumeration", "RW", 0x588, 4, SAME("Off")},
    {"EventFrameStart", "Integer", "", 0, 0, SAME("36865")},
    {"EventFrameStartFrameID", "Integer", "RO", 0x590, 8, SAME("0")},
    {"EventFrameStartTimestamp", "Integer", "RO", 0x598, 8, SAME("0")},
    {"EventExposureEnd", "Integer", "", 0, 0, SAME("36866")},
    {"EventExposureEndFrameID", "Integer", "RO", 0x5A0, 8, SAME("0")},
    {"EventExposureEndTimestamp", "Integer", "RO", 0x5A8, 8, SAME("0")},
    {"UserSetSelector", "Enumeration", "RW", 0x5D0, 4, SAME("Default")},
    {"UserSetLoad", "Command", "RW", 0x5D4, 4, SAME("0")},
    {"UserSetSave", "Command", "RW", 0x5D8, 4, SAME("0")},
    {"PayloadSize", "Integer", "RO", 0x410, 8, {"307200", "1310720", "230400"}},
    {"TLParamsLocked", "Integer", "RW", 0x600, 4, SAME("0")},
};

#undef SAME

class CameraFeatureListTest : public SystemTest {
protected:
    void OpenCamera(uint32_t interfaceIndex, uint32_t index) {
        OpenInterface(interfaceIndex);
        OpenDevice(index);
        feature.emplace(gentl, remote);
    }

    void ExpectValues(size_t column) {
        for (const FeatureRow& row : ROWS) {
            EXPECT_EQ(Show(*feature, row.name), row.values[column]) << row.name;
        }
    }

    // Reads or writes so many bytes of a register, whatever is in them.
    int32_t Access(bool isWrite, uint64_t address, size_t length) {
        std::string bytes(length, '\0');
        return isWrite ? gentl.GCWritePort(remote, address, bytes.data(), &length)
                       : gentl.GCReadPort(remote, address, bytes.data(), &length);
    }

    std::optional<GenApi> feature;
};

TEST_F(CameraFeatureListTest, EveryFeatureHasItsRow) {
    OpenCamera(0, 1);
    std::set<std::string> rows;
    for (const FeatureRow& row : ROWS) {
        EXPECT_TRUE(rows.insert(row.name).second) << row.name;
    }
    const std::vector<std::string> names = feature->Features();
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()), rows);
    EXPECT_EQ(names.size(), rows.size()) << "a feature is in two categories";
}

TEST_F(CameraFeatureListTest, EveryFeatureIsOfItsKindAndBehindItsRegister) {
    OpenCamera(0, 1);
    for (const FeatureRow& row : ROWS) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(feature->Kind(row.name), row.kind);
        if (row.length > 0) {
            EXPECT_EQ(feature->Access(row.name), row.access);
            EXPECT_EQ(feature->Place(row.name).address, row.address);
            EXPECT_EQ(feature->Place(row.name).length, row.length);
        }
    }
}

TEST_F(CameraFeatureListTest, GreyCameraStartsWithItsValues) {
    OpenCamera(0, 1);
    ASSERT_EQ(camera, MONO_CAMERA);
    ExpectValues(0);
}

TEST_F(CameraFeatureListTest, BayerCameraStartsWithItsValues) {
    OpenCamera(0, 0);
    ASSERT_EQ(camera, BAYER_CAMERA);
    ExpectValues(1);
}

TEST_F(CameraFeatureListTest, ColourCameraStartsWithItsValues) {
    OpenCamera(1, 0);
    ASSERT_EQ(camera, COLOUR_CAMERA);
    ExpectValues(2);
}

TEST_F(CameraFeatureListTest, EveryRegisterOfTheCamerasXmlIsReadable) {
    OpenCamera(0, 0);
    const std::vector<std::string> registers = feature->Registers();
    EXPECT_GE(registers.size(), std::size(ROWS) - 2);
    for (const std::string& name : registers) {
        EXPECT_NO_THROW(feature->Bytes(name)) << name;
    }
}

TEST_F(CameraFeatureListTest, EveryRegisterOfTheInterfacesXmlIsReadable) {
    OpenInterface(1);
    const GenApi features(gentl, iface);
    EXPECT_EQ(
        features.Registers(),
        (std::vector<std::string>{"DeviceCountReg", "DeviceUpdateTimeoutReg", "InterfaceID"}));
    EXPECT_EQ(Show(features, "InterfaceID"), "usb0");
    EXPECT_EQ(Show(features, "DeviceCount"), "1");
    EXPECT_EQ(Show(features, "DeviceUpdateTimeout"), "1000");
    features.SetInt("DeviceUpdateTimeout", 250);
    EXPECT_EQ(features.Int("DeviceUpdateTimeout"), 250);
}

TEST_F(CameraFeatureListTest, ReadOnlyRegistersRefuseEveryWrite) {
    OpenCamera(0, 1);
    for (const FeatureRow& row : ROWS) {
        if (row.access != std::string("RO")) {
            continue;
        }
        SCOPED_TRACE(row.name);
        const std::string before = feature->Bytes(row.name);
        const std::string other(row.length, '\1');
        EXPECT_REFUSED(-1005, DeniedText(row.address), feature->SetBytes(row.name, before));
        EXPECT_REFUSED(-1005, DeniedText(row.address), feature->SetBytes(row.name, other));
        EXPECT_EQ(feature->Bytes(row.name), before);
    }
}

TEST_F(CameraFeatureListTest, WritableRegistersTakeTheirPresentValue) {
    OpenCamera(0, 0);
    for (const FeatureRow& row : ROWS) {
        if (row.access == std::string("RW") && row.kind != std::string("Command")) {
            EXPECT_NO_THROW(feature->SetBytes(row.name, feature->Bytes(row.name))) << row.name;
        }
    }
    ExpectValues(1);
}

TEST_F(CameraFeatureListTest, RegistersEndWhereTheXmlSays) {
    OpenCamera(0, 1);
    for (const FeatureRow& row : ROWS) {
        if (row.length == 0) {
            continue;
        }
        SCOPED_TRACE(row.name);
        EXPECT_OK(Access(false, row.address, 1));
        for (const bool isWrite : {false, true}) {
            EXPECT_FAILS(-1015, "Invalid Address", Access(isWrite, row.address, row.length + 1));
        }
    }
}

TEST_F(CameraFeatureListTest, NumbersAreWrittenWhole) {
    OpenCamera(0, 1);
    for (const FeatureRow& row : ROWS) {
        const bool isNumber = row.length == 4 || row.length == 8;
        if (isNumber && row.access == std::string("RW")) {
            SCOPED_TRACE(row.name);
            EXPECT_FAILS(-1009, "Invalid parameter", Access(true, row.address, row.length / 2));
            EXPECT_FAILS(-1009, "Invalid parameter", Access(true, row.address, 0));
        }
    }
    EXPECT_FAILS(-1009, "Invalid parameter", Access(true, 0x402, 2));
    ExpectValues(0);
}

TEST_F(CameraFeatureListTest, NothingIsBesideTheRegisters) {
    OpenCamera(0, 1);
    for (const uint64_t address :
         {UINT64_C(0),      UINT64_C(0xFF),      UINT64_C(0x284), UINT64_C(0x2FF), UINT64_C(0x310),
          UINT64_C(0x3FF),  UINT64_C(0x40C),     UINT64_C(0x42C), UINT64_C(0x4FF), UINT64_C(0x51C),
          UINT64_C(0x52C),  UINT64_C(0x544),     UINT64_C(0x570), UINT64_C(0x584), UINT64_C(0x5B0),
          UINT64_C(0x5C4),  UINT64_C(0x5DC),     UINT64_C(0x604), UINT64_C(0x7FF), UINT64_C(0x900),
          UINT64_C(0xFFFF), UINT64_C(0x1000000), UINT64_MAX}) {
        SCOPED_TRACE(address);
        for (const bool isWrite : {false, true}) {
            EXPECT_FAILS(-1015, "Invalid Address", Access(isWrite, address, 1));
            EXPECT_FAILS(-1015, "Invalid Address", Access(isWrite, address, 4));
        }
    }
}

} // namespace
