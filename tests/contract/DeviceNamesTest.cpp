#include "DeviceFixtures.h"

#include <optional>

namespace {

// A device may be named in several ways. The list holds RIGHT and, behind it, LEFT.
class DeviceNameTest : public InterfaceTest {
protected:
    void AddCamera(const char* name, const char* serialNumber) {
        ASSERT_EQ(OptivoSim_AddCamera(interfaceName.c_str(), name, serialNumber), 1);
    }

    void Update() { ASSERT_OK(gentl.IFUpdateDeviceList(iface, nullptr, LONG_WAIT)); }

    Info IdOf(const std::string& name) {
        return Ask(
            [&](auto... out) { return gentl.IFGetDeviceInfo(iface, name.c_str(), 0, out...); });
    }

    // Neither asked for nor opened does the name mean any other device.
    void ExpectNames(const std::string& name, const std::string& id) {
        SCOPED_TRACE(name);
        EXPECT_EQ(IdOf(name), TextInfo(id));
        ASSERT_OK(gentl.IFOpenDevice(iface, name.c_str(), 4, &device));
        EXPECT_EQ(Ask([&](auto... out) { return gentl.DevGetInfo(device, 0, out...); }),
                  TextInfo(id));
        CloseDevice();
    }

    void ExpectFailure(const std::string& name, const std::string& askedText) {
        SCOPED_TRACE(name);
        size_t size = SIZE_NOT_WRITTEN;
        EXPECT_FAILS(-1001, askedText,
                     gentl.IFGetDeviceInfo(iface, name.c_str(), 0, nullptr, nullptr, &size));
        EXPECT_EQ(size, SIZE_NOT_WRITTEN);
        DEV_HANDLE none = this;
        const uint64_t before = OptivoSim_NumCalls(OPTIVO_INTERFACE_OPEN_DEVICE);
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.IFOpenDevice(iface, name.c_str(), 4, &none));
        EXPECT_EQ(none, this);
        EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_INTERFACE_OPEN_DEVICE), before);
    }

    void ExpectNamesNone(const std::string& name) {
        ExpectFailure(name, "Unable to find device " + name);
    }
    void ExpectInvalid(const std::string& name) { ExpectFailure(name, UNSPECIFIED); }
};

TEST_F(DeviceNameTest, IsTheId) {
    ExpectNames(RIGHT, RIGHT);
    ExpectNames(LEFT, LEFT);
}

TEST_F(DeviceNameTest, IsTheIdInAnyCase) {
    ExpectNames("norvel-g640m-10001", LEFT);
    ExpectNames("NORVEL-G640M-10001", LEFT);
    ExpectNames("nORVEL-g1300c-10002", RIGHT);
}

TEST_F(DeviceNameTest, IsNotPartOfTheId) {
    for (const char* name :
         {"Norvel", "Norvel-G640M-1000", "Norvel-G640M-100011", "orvel-G640M-10001",
          " Norvel-G640M-10001", "Norvel-G640M-10001 ", "10001", "Left", "G640M"}) {
        ExpectNamesNone(name);
    }
}

TEST_F(DeviceNameTest, MayFollowAPrefix) {
    for (const char* prefix :
         {"GEV::", "gev::", "anything at all::", "a:b::", "SN->10002::", "::"}) {
        ExpectNames(std::string(prefix) + LEFT, LEFT);
    }
}

TEST_F(DeviceNameTest, MayHaveASuffixBehindAPrefix) {
    for (const char* suffix : {"::", "::x", "::x::y", "::::", "::Norvel-G1300C-10002"}) {
        ExpectNames(std::string("GEV::") + LEFT + suffix, LEFT);
    }
    ExpectNames("GEV::norvel-g640m-10001::x", LEFT);
}

TEST_F(DeviceNameTest, IsWhatFollowsTheFirstSeparator) {
    ExpectNamesNone(std::string(LEFT) + "::x");
    ExpectNames(std::string(LEFT) + "::" + RIGHT, RIGHT);
    ExpectNamesNone(std::string("GEV:::") + LEFT);
    ExpectNamesNone(std::string("GEV::") + LEFT + ":");
}

TEST_F(DeviceNameTest, WithASeparatorInItNamesNothing) {
    AddCamera("rack::left", "1");
    Update();
    ExpectNamesNone("rack::left");
    ExpectNamesNone("GEV::rack::left");
    ExpectNames("SN->1", "rack::left");
}

TEST_F(DeviceNameTest, WithoutAKeyIsInvalid) {
    for (const char* name : {"", "::", "GEV::", "::::", "GEV::::", "GEV::::Norvel-G640M-10001",
                             "::::Norvel-G640M-10001", "Norvel-G640M-10001::"}) {
        ExpectInvalid(name);
    }
}

TEST_F(DeviceNameTest, SingleColonIsAKey) {
    ExpectNamesNone(":");
    ExpectNamesNone(":::");
    ExpectNamesNone("GEV:::");
}

TEST_F(DeviceNameTest, WithoutAKeyIsNotExaminedWhileNothingIsListed) {
    for (const char* name : {RIGHT, LEFT}) {
        ASSERT_EQ(OptivoSim_RemoveCamera(name), 1);
    }
    Update();
    ExpectNamesNone("");
    ExpectNamesNone("::");
    ExpectNamesNone("USERNAME->");
}

TEST_F(DeviceNameTest, IsTheSerialNumber) {
    ExpectNames("SN->10001", LEFT);
    ExpectNames("SN->10002", RIGHT);
    ExpectNames("::SN->10001", LEFT);
    ExpectNames("GEV::SN->10001::x", LEFT);
}

TEST_F(DeviceNameTest, IsTheWholeSerialNumber) {
    AddCamera("zeros", "012345");
    AddCamera("none", "12345");
    AddCamera("letters", "AbC");
    Update();
    ExpectNames("SN->12345", "none");
    ExpectNames("SN->012345", "zeros");
    ExpectNames("SN->AbC", "letters");
    for (const char* name : {"SN->abc", "SN->1234", "SN->123456", "SN-> 12345", "SN->12345 ",
                             "SN->", "SN->2345", "SN>12345", "SN-12345", " SN->12345"}) {
        ExpectNamesNone(name);
    }
}

TEST_F(DeviceNameTest, SerialNumberMayBeEmpty) {
    AddCamera("unnumbered", "");
    Update();
    ExpectNames("SN->", "unnumbered");
}

TEST_F(DeviceNameTest, PrefixesInOtherCaseBelongToAnId) {
    AddCamera("Sn->10001", "77");
    AddCamera("UserName->", "78");
    Update();
    ExpectNames("sn->10001", "Sn->10001");
    ExpectNames("sN->10001", "Sn->10001");
    ExpectNames("SN->10001", LEFT);
    ExpectNames("username->", "UserName->");
    ExpectNamesNone("sn->10002");
}

TEST_F(DeviceNameTest, UserNameNamesTheFirstDeviceWhenItIsEmpty) {
    ExpectNames("USERNAME->", RIGHT);
    ExpectNames("GEV::USERNAME->::x", RIGHT);
    ASSERT_EQ(OptivoSim_RemoveCamera(RIGHT), 1);
    Update();
    ExpectNames("USERNAME->", LEFT);
}

TEST_F(DeviceNameTest, UserNameNamesNothingElse) {
    for (const char* name :
         {"USERNAME->Left", "USERNAME->Right", "USERNAME-> ", "USERNAME->10001",
          "USERNAME->Norvel-G640M-10001", "USERNAME-", "username->", "GEV::USERNAME->Left"}) {
        ExpectNamesNone(name);
    }
}

TEST_F(DeviceNameTest, OpenDeviceIsExaminedFirst) {
    ASSERT_OK(gentl.IFOpenDevice(iface, LEFT, 4, &device));
    EXPECT_EQ(IdOf("USERNAME->"), TextInfo(LEFT));
    DEV_HANDLE none = this;
    for (const char* name :
         {LEFT, "norvel-g640m-10001", "GEV::Norvel-G640M-10001::x", "SN->10001", "USERNAME->"}) {
        EXPECT_FAILS(-1004, "Device already open", gentl.IFOpenDevice(iface, name, 4, &none));
    }
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.IFOpenDevice(iface, "GEV::", 4, &none));
    EXPECT_EQ(none, this);
}

TEST_F(DeviceNameTest, IsFoldedInAsciiOnly) {
    AddCamera("K\xC3\x84se", "1");
    Update();
    ExpectNames("k\xC3\x84SE", "K\xC3\x84se");
    ExpectNamesNone("k\xC3\xA4se");
    // The letters' neighbours have no other case.
    AddCamera("a[", "2");
    AddCamera("a@", "3");
    Update();
    ExpectNames("A[", "a[");
    ExpectNames("A@", "a@");
    ExpectNamesNone("a{");
    ExpectNamesNone("a`");
}

TEST_F(DeviceNameTest, MayHoldPlaceholdersAndBeVeryLong) {
    ExpectNamesNone("100%s%n%1$x%%");
    ExpectNamesNone("GEV::%S");
    const std::string veryLong(10000, 'x');
    ExpectNamesNone(veryLong);
    ExpectNamesNone("SN->" + veryLong);
    ExpectNames(veryLong + "::" + LEFT + "::" + veryLong, LEFT);
}

// A device that is open tells less than one that is only listed.
class DeviceDescriptionTest : public DeviceNameTest {
protected:
    InfoCall About(const std::string& name, DEVICE_INFO_CMD command) {
        return [=, this](auto... out) {
            return gentl.IFGetDeviceInfo(iface, name.c_str(), command, out...);
        };
    }

    struct Row {
        DEVICE_INFO_CMD command;
        const char* listed;
        const char* open;
    };
    static constexpr Row ROWS[] = {
        {0, "Norvel-G640M-10001", "Norvel-G640M-10001"},
        {1, "Norvel", "Norvel"},
        {2, "G640M", "G640M"},
        {3, "GEV", "GEV"},
        {4, "G640M (10001 )", "G640M (10001 )"},
        {6, "Left", ""},
        {7, "10001", "10001"},
        {8, "1.2.0", ""},
        {1000, "Left", ""},
        {1001, "10001", "10001"},
        {1002, "1.2.0", ""},
        {1003, "02-4E-56-00-27-11", ""},
        {1004, "169.254.10.1", ""},
    };
};

TEST_F(DeviceDescriptionTest, OfAListedDeviceIsWhole) {
    for (const Row& row : ROWS) {
        SCOPED_TRACE(row.command);
        EXPECT_EQ(Ask(About(LEFT, row.command)), TextInfo(row.listed));
    }
}

TEST_F(DeviceDescriptionTest, OfAnOpenDeviceLacksFiveTexts) {
    ASSERT_OK(gentl.IFOpenDevice(iface, LEFT, 4, &device));
    for (const Row& row : ROWS) {
        SCOPED_TRACE(row.command);
        EXPECT_EQ(Ask(About(LEFT, row.command)), TextInfo(row.open));
        if (row.command < 1000) {
            EXPECT_EQ(
                Ask([&](auto... out) { return gentl.DevGetInfo(device, row.command, out...); }),
                TextInfo(row.open));
        }
    }
}

TEST_F(DeviceDescriptionTest, OfAnOpenDeviceStaysShortAfterAnUpdate) {
    ASSERT_OK(gentl.IFOpenDevice(iface, LEFT, 4, &device));
    Update();
    EXPECT_EQ(Ask(About("SN->10001", 8)), TextInfo(""));
    EXPECT_EQ(Ask(About(RIGHT, 8)), TextInfo("1.4.2"));
}

TEST_F(DeviceDescriptionTest, OfAClosedDeviceIsWholeAgain) {
    ASSERT_OK(gentl.IFOpenDevice(iface, LEFT, 4, &device));
    CloseDevice();
    for (const Row& row : ROWS) {
        SCOPED_TRACE(row.command);
        EXPECT_EQ(Ask(About(LEFT, row.command)), TextInfo(row.listed));
    }
}

TEST_F(DeviceDescriptionTest, DisplayNameKeepsItsBlank) {
    ASSERT_EQ(OptivoSim_SetCameraText(LEFT, 4, "M1"), 1);
    ASSERT_EQ(OptivoSim_SetCameraText(LEFT, 7, "S9"), 1);
    Update();
    EXPECT_EQ(Ask(About(LEFT, 4)), TextInfo("M1 (S9 )"));
    ASSERT_OK(gentl.IFOpenDevice(iface, LEFT, 4, &device));
    EXPECT_EQ(Ask([&](auto... out) { return gentl.DevGetInfo(device, 4, out...); }),
              TextInfo("M1 (S9 )"));
}

} // namespace
