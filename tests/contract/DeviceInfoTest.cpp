// What an interface tells of its devices, open or not.
#include "CameraSteering.h"
#include "Fixtures.h"

namespace {

constexpr char NO_STATUS[] = "Error retrieving device status ( wrong name ) ";

class DeviceInfoTest : public InterfaceTest {
protected:
    InfoCall Query(const std::string& id, DEVICE_INFO_CMD command) {
        return [=, this](auto... out) {
            return gentl.IFGetDeviceInfo(iface, id.c_str(), command, out...);
        };
    }

    std::string Text(const std::string& id, DEVICE_INFO_CMD command) {
        const Info info = Ask(Query(id, command));
        EXPECT_OK(info.code) << id;
        return info.Text();
    }

    void Update() { ASSERT_OK(gentl.IFUpdateDeviceList(iface, nullptr, LONG_WAIT)); }
    void OpenLeft() { ASSERT_OK(gentl.IFOpenDevice(iface, LEFT, 4, &device)); }

    // The call leaves every output as it was.
    void ExpectRefused(const std::string& id, DEVICE_INFO_CMD command, const std::string& text) {
        SCOPED_TRACE(id);
        INFO_DATATYPE type = 99;
        char buffer[64] = "before";
        size_t size = sizeof buffer;
        EXPECT_FAILS(-1001, text,
                     gentl.IFGetDeviceInfo(iface, id.c_str(), command, &type, buffer, &size));
        EXPECT_FAILS(-1001, text,
                     gentl.IFGetDeviceInfo(iface, id.c_str(), command, &type, nullptr, &size));
        EXPECT_EQ(type, 99);
        EXPECT_STREQ(buffer, "before");
        EXPECT_EQ(size, sizeof buffer);
    }
    void ExpectUnknown(const std::string& id) {
        ExpectRefused(id, 0, "Unable to find device " + id);
    }

    void ExpectCopied(const std::string& id, DEVICE_INFO_CMD command, const Info& expected,
                      size_t offered) {
        SCOPED_TRACE(offered);
        INFO_DATATYPE type = 99;
        std::string buffer(expected.size + 32, '#');
        size_t size = offered;
        EXPECT_OK(gentl.IFGetDeviceInfo(iface, id.c_str(), command, &type, buffer.data(), &size));
        EXPECT_EQ(type, expected.type);
        EXPECT_EQ(size, expected.size);
        EXPECT_EQ(buffer, expected.bytes + std::string(32, '#'));
    }

    void ExpectInfo(const std::string& id, DEVICE_INFO_CMD command, const Info& expected) {
        SCOPED_TRACE(command);
        EXPECT_EQ(Ask(Query(id, command)), expected);
        ExpectCopied(id, command, expected, 0);
        ExpectCopied(id, command, expected, expected.size);
        ExpectCopied(id, command, expected, expected.size + 17);
        ExpectTooSmall(id, command, expected);

        std::string buffer(expected.size, '#');
        size_t size = expected.size;
        EXPECT_OK(gentl.IFGetDeviceInfo(iface, id.c_str(), command, nullptr, buffer.data(), &size));
        EXPECT_EQ(buffer, expected.bytes);
    }

    void ExpectTooSmall(const std::string& id, DEVICE_INFO_CMD command, const Info& expected) {
        for (size_t offered = expected.size - 1; offered > 0; offered /= 2) {
            SCOPED_TRACE(offered);
            INFO_DATATYPE type = 99;
            std::string buffer(expected.size, '#');
            size_t size = offered;
            EXPECT_FAILS(
                -1001, UNSPECIFIED,
                gentl.IFGetDeviceInfo(iface, id.c_str(), command, &type, buffer.data(), &size));
            EXPECT_EQ(type, expected.type);
            EXPECT_EQ(size, offered);
            EXPECT_EQ(buffer, std::string(expected.size, '#'));
        }
    }
};

Info Status(int32_t status) {
    return NumberInfo<int32_t>(5, status);
}

TEST_F(DeviceInfoTest, OfAListedDevice) {
    ExpectInfo(LEFT, 0, TextInfo(LEFT));
    ExpectInfo(LEFT, 1, TextInfo("Norvel"));
    ExpectInfo(LEFT, 2, TextInfo("G640M"));
    ExpectInfo(LEFT, 3, TextInfo("GEV"));
    ExpectInfo(LEFT, 4, TextInfo("G640M (10001 )"));
    ExpectInfo(LEFT, 5, Status(1));
    ExpectInfo(LEFT, 6, TextInfo("Left"));
    ExpectInfo(LEFT, 7, TextInfo("10001"));
    ExpectInfo(LEFT, 8, TextInfo("1.2.0"));
    ExpectInfo(LEFT, 1000, TextInfo("Left"));
    ExpectInfo(LEFT, 1001, TextInfo("10001"));
    ExpectInfo(LEFT, 1002, TextInfo("1.2.0"));
    ExpectInfo(LEFT, 1003, TextInfo("02-4E-56-00-27-11"));
    ExpectInfo(LEFT, 1004, TextInfo("169.254.10.1"));
}

TEST_F(DeviceInfoTest, OfAnOpenDeviceLacksWhatWasNotCopied) {
    OpenLeft();
    ExpectInfo(LEFT, 0, TextInfo(LEFT));
    ExpectInfo(LEFT, 1, TextInfo("Norvel"));
    ExpectInfo(LEFT, 2, TextInfo("G640M"));
    ExpectInfo(LEFT, 3, TextInfo("GEV"));
    ExpectInfo(LEFT, 4, TextInfo("G640M (10001 )"));
    ExpectInfo(LEFT, 5, Status(3));
    ExpectInfo(LEFT, 6, TextInfo(""));
    ExpectInfo(LEFT, 7, TextInfo("10001"));
    ExpectInfo(LEFT, 8, TextInfo(""));
    ExpectInfo(LEFT, 1000, TextInfo(""));
    ExpectInfo(LEFT, 1001, TextInfo("10001"));
    ExpectInfo(LEFT, 1002, TextInfo(""));
    ExpectInfo(LEFT, 1003, TextInfo(""));
    ExpectInfo(LEFT, 1004, TextInfo(""));
    // The other device is not open.
    EXPECT_EQ(Text(RIGHT, 8), "1.4.2");
    EXPECT_EQ(Text(RIGHT, 6), "Right");
}

TEST_F(DeviceInfoTest, OfAClosedDeviceIsWholeAgain) {
    OpenLeft();
    EXPECT_EQ(Text(LEFT, 8), "");
    CloseDevice();
    EXPECT_EQ(Text(LEFT, 8), "1.2.0");
    EXPECT_EQ(Text(LEFT, 1004), "169.254.10.1");
    EXPECT_EQ(Ask(Query(LEFT, 5)), Status(1));
}

TEST_F(DeviceInfoTest, RefusesOtherCommands) {
    OpenLeft();
    for (const DEVICE_INFO_CMD command : {9, 10, 100, 999, 1005, 2000, INT32_MAX, -1, INT32_MIN}) {
        SCOPED_TRACE(command);
        ExpectRefused(LEFT, command, UNSPECIFIED);
        ExpectRefused(RIGHT, command, UNSPECIFIED);
    }
}

TEST_F(DeviceInfoTest, NeedsASize) {
    for (const char* id : {LEFT, "unknown", "", static_cast<const char*>(nullptr)}) {
        for (const DEVICE_INFO_CMD command : {0, 5, 9}) {
            INFO_DATATYPE type = 99;
            char buffer[64] = "before";
            EXPECT_FAILS(-1001, UNSPECIFIED,
                         gentl.IFGetDeviceInfo(iface, id, command, &type, buffer, nullptr));
            EXPECT_EQ(type, 99);
            EXPECT_STREQ(buffer, "before");
        }
    }
}

TEST_F(DeviceInfoTest, NeedsAnId) {
    INFO_DATATYPE type = 99;
    char buffer[64] = "before";
    size_t size = sizeof buffer;
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.IFGetDeviceInfo(iface, nullptr, 0, &type, buffer, &size));
    EXPECT_EQ(type, 99);
    EXPECT_STREQ(buffer, "before");
    EXPECT_EQ(size, sizeof buffer);
}

TEST_F(DeviceInfoTest, TakesEveryFormOfTheId) {
    for (const char* id :
         {"Norvel-G640M-10001", "norvel-g640m-10001", "NORVEL-G640M-10001", "SN->10001",
          "GEV::Norvel-G640M-10001", "anything::norvel-G640M-10001", "::Norvel-G640M-10001",
          "x::SN->10001", "::SN->10001::y", "x::Norvel-G640M-10001::y",
          "::NORVEL-g640m-10001::", "x::SN->10001::a::b"}) {
        EXPECT_EQ(Text(id, 0), LEFT);
        EXPECT_EQ(Ask(Query(id, 5)), Status(1));
    }
    OpenLeft();
    for (const char* id : {"norvel-g640m-10001", "x::SN->10001::y"}) {
        EXPECT_EQ(Text(id, 0), LEFT);
        EXPECT_EQ(Ask(Query(id, 5)), Status(3));
    }
}

TEST_F(DeviceInfoTest, FindsNoOtherText) {
    for (const char* id :
         {"Norvel-G640M-1000", "Norvel-G640M-100011", "10001", "Left", "SN->1000", "SN->010001",
          "SN->10001 ", "sn->10001", "Sn->10001", "SN->", "USERNAME->Left", "USERNAME->Right",
          "username->", "Norvel-G640M-10001::x", "Norvel-U320C-20001", "SN->20001", "50%d%s%n", "%",
          " "}) {
        ExpectUnknown(id);
    }
    ExpectUnknown(std::string(10000, 'x'));
    ExpectUnknown("SN->" + std::string(10000, '9'));
    OpenLeft();
    ExpectUnknown("sn->10001");
}

TEST_F(DeviceInfoTest, EmptyNameIsMalformed) {
    for (const char* id : {"", "::", "GEV::", "::::", "GEV::::Norvel-G640M-10001"}) {
        ExpectRefused(id, 0, UNSPECIFIED);
        ExpectRefused(id, 5, UNSPECIFIED);
    }
}

TEST_F(DeviceInfoTest, EmptyNameIsOnlyUnknownWhereNoDeviceIs) {
    OptivoSim_RemoveAll();
    Update();
    for (const char* id : {"", "::", "GEV::", LEFT}) {
        ExpectUnknown(id);
    }
}

TEST_F(DeviceInfoTest, EmptyNameIsMalformedForAnOpenDeviceToo) {
    OpenLeft();
    OptivoSim_RemoveAll();
    Update();
    ASSERT_EQ(NumDevices(), 0U);
    ExpectRefused("", 0, UNSPECIFIED);
    ExpectRefused("GEV::", 0, UNSPECIFIED);
    ExpectUnknown(RIGHT);
}

TEST_F(DeviceInfoTest, EmptyUserNameMeansTheFirstDevice) {
    EXPECT_EQ(Text("USERNAME->", 0), RIGHT);
    EXPECT_EQ(Text("x::USERNAME->::y", 0), RIGHT);
    // An open device comes before every listed one.
    OpenLeft();
    EXPECT_EQ(Text("USERNAME->", 0), LEFT);
}

TEST_F(DeviceInfoTest, OfAnOpenDeviceIsThatOfItsOpening) {
    OpenLeft();
    OptivoSim_SetCameraText(LEFT, 3, "Another vendor");
    OptivoSim_SetCameraText(LEFT, 7, "777");
    Update();
    EXPECT_EQ(Text(LEFT, 1), "Norvel");
    EXPECT_EQ(Text("SN->10001", 7), "10001");
    EXPECT_EQ(Text("SN->777", 7), "777");
    CloseDevice();
    EXPECT_EQ(Text(LEFT, 1), "Another vendor");
    ExpectUnknown("SN->10001");
}

TEST_F(DeviceInfoTest, AccessStatusIsThatOfTheCameraLibrary) {
    for (const uint32_t status : {1U, 2U, 3U, 4U, 5U, 99U, 0x7FFFFFFFU, 0x80000000U, UINT32_MAX}) {
        OptivoSim_SetCameraStatus(LEFT, status);
        Update();
        ExpectInfo(LEFT, 5, NumberInfo<uint32_t>(5, status));
        EXPECT_EQ(Ask(Query(RIGHT, 5)), Status(1));
    }
}

TEST_F(DeviceInfoTest, AccessStatusOfAnOpenDeviceIsThree) {
    OpenLeft();
    for (const uint32_t status : {1U, 2U, 4U, UINT32_MAX}) {
        OptivoSim_SetCameraStatus(LEFT, status);
        Update();
        ExpectInfo(LEFT, 5, Status(3));
    }
    EXPECT_EQ(Ask(Query(RIGHT, 5)), Status(1));
}

TEST_F(DeviceInfoTest, AccessStatusZeroFails) {
    OptivoSim_SetCameraStatus(LEFT, 0);
    Update();
    ExpectRefused(LEFT, 5, NO_STATUS);
    EXPECT_EQ(Text(LEFT, 0), LEFT);
    OpenLeft();
    ExpectRefused(LEFT, 5, NO_STATUS);
    OptivoSim_SetCameraStatus(LEFT, 1);
    ExpectRefused(LEFT, 5, NO_STATUS);
    Update();
    EXPECT_EQ(Ask(Query(LEFT, 5)), Status(3));
}

TEST_F(DeviceInfoTest, AccessStatusNeedsTheDeviceInTheList) {
    OpenLeft();
    OptivoSim_RemoveCamera(LEFT);
    Update();
    EXPECT_EQ(Text(LEFT, 0), LEFT);
    EXPECT_EQ(Text(LEFT, 7), "10001");
    ExpectRefused(LEFT, 5, NO_STATUS);
    CloseDevice();
    ExpectRefused(LEFT, 5, "Unable to find device Norvel-G640M-10001");
}

TEST_F(DeviceInfoTest, AccessStatusOfNoUserNameMixesDevices) {
    OptivoSim_SetCameraStatus(RIGHT, 5);
    Update();
    EXPECT_EQ(Ask(Query("USERNAME->", 5)), Status(5));
    OpenLeft();
    EXPECT_EQ(Ask(Query("USERNAME->", 5)), Status(3));
    OptivoSim_SetCameraStatus(RIGHT, 0);
    Update();
    ExpectRefused("USERNAME->", 5, NO_STATUS);
}

TEST_F(DeviceInfoTest, AccessStatusCountsOnlyDevicesOpenHere) {
    IF_HANDLE other = nullptr;
    ASSERT_OK(gentl.TLOpenInterface(tl, "gev::ETH0", &other));
    ASSERT_OK(gentl.IFUpdateDeviceList(other, nullptr, LONG_WAIT));
    OpenLeft();
    EXPECT_EQ(Ask(Query(LEFT, 5)), Status(3));
    EXPECT_EQ(Ask([&](auto... out) { return gentl.IFGetDeviceInfo(other, LEFT, 5, out...); }),
              Status(1));
    EXPECT_EQ(Ask([&](auto... out) { return gentl.IFGetDeviceInfo(other, LEFT, 8, out...); }),
              TextInfo("1.2.0"));
}

TEST_F(DeviceInfoTest, NeverAsksTheCameraLibrary) {
    const uint64_t before = OptivoSim_NumCalls(OPTIVO_DEVICE_GET_INFO);
    OpenLeft();
    for (const DEVICE_INFO_CMD command : {0, 1, 4, 5, 8, 1004}) {
        EXPECT_OK(Ask(Query(LEFT, command)).code);
        EXPECT_OK(Ask(Query(RIGHT, command)).code);
    }
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_DEVICE_GET_INFO), before);
}

} // namespace
