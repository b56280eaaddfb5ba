// Opening interfaces: by which IDs, how often, and when the camera library does not play along.
#include "CameraSteering.h"
#include "Fixtures.h"

namespace {

using Steering::LastText;

class OpenInterfaceTest : public SystemTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(SystemTest::SetUp());
        Update();
    }

    void Update() { ASSERT_OK(gentl.TLUpdateInterfaceList(tl, nullptr, LONG_WAIT)); }

    IF_HANDLE Open(const std::string& id) {
        IF_HANDLE opened = nullptr;
        EXPECT_OK(gentl.TLOpenInterface(tl, id.c_str(), &opened)) << id;
        return opened;
    }

    void ExpectUnknown(const std::string& id) { ExpectRefused(id, "Invalid interface name " + id); }
    void ExpectMalformed(const std::string& id) { ExpectRefused(id, UNSPECIFIED); }
    void ExpectRefused(const std::string& id, const std::string& text) {
        SCOPED_TRACE(id);
        IF_HANDLE opened = this;
        EXPECT_FAILS(-1001, text, gentl.TLOpenInterface(tl, id.c_str(), &opened));
        EXPECT_EQ(opened, this);
    }

    std::string IdOf(IF_HANDLE opened) {
        return Ask([&](auto... out) { return gentl.IFGetInfo(opened, 0, out...); }).Text();
    }

    static uint64_t NumOpenings() { return OptivoSim_NumCalls(OPTIVO_SYSTEM_OPEN_INTERFACE); }
};

TEST_F(OpenInterfaceTest, ByItsId) {
    IF_HANDLE opened = Open("GEV::eth0");
    EXPECT_EQ(IdOf(opened), "GEV::eth0");
    EXPECT_EQ(NumOpenings(), 1U);
    EXPECT_EQ(LastText(OPTIVO_SYSTEM_OPEN_INTERFACE), "GEV::eth0");
}

TEST_F(OpenInterfaceTest, ByEveryFormOfItsId) {
    for (const char* id :
         {"U3V::usb0", "u3v::usb0", "U3V::USB0", "u3V::uSb0", "usb0", "USB0", "::usb0", "::USB0",
          "U3V::usb0::", "U3V::usb0::anything", "u3v::USB0::a::b", "::usb0::eth0"}) {
        IF_HANDLE opened = Open(id);
        ASSERT_NE(opened, nullptr) << id;
        EXPECT_EQ(IdOf(opened), "U3V::usb0");
        EXPECT_EQ(LastText(OPTIVO_SYSTEM_OPEN_INTERFACE), "U3V::usb0");
        EXPECT_OK(gentl.IFClose(opened));
    }
}

TEST_F(OpenInterfaceTest, ByNoOtherText) {
    for (const char* id : {"U3V::eth0", "GEV::usb0", "GEV::eth", "GEV::eth00", "eth1", "GEV:eth0",
                           "GEV:eth0::", "GEV eth0", " GEV::eth0", "GEV ::eth0", "GEV:: eth0",
                           "usb0::U3V", "X", "100%", "%s%s%n", "%1$s", "50%d::eth0"}) {
        ExpectUnknown(id);
    }
    EXPECT_EQ(NumOpenings(), 0U);
}

TEST_F(OpenInterfaceTest, ByNoEmptyName) {
    for (const char* id : {"", "::", "::::", "GEV::", "gev::", "U3V::", "GEV::::eth0"}) {
        ExpectMalformed(id);
    }
    // No interface has this prefix, so that no name is looked at.
    ExpectUnknown("XYZ::");
    ExpectUnknown("XYZ::::eth0");
}

TEST_F(OpenInterfaceTest, EmptyNameIsOnlyUnknownInAnEmptyList) {
    OptivoSim_RemoveAll();
    Update();
    for (const char* id : {"", "::", "GEV::", "GEV::eth0"}) {
        ExpectUnknown(id);
    }
}

TEST_F(OpenInterfaceTest, ByNoEndlessText) {
    const std::string endless(10000, 'x');
    ExpectUnknown(endless);
    ExpectUnknown("GEV::" + endless);
    ExpectUnknown(endless + "::eth0");
    EXPECT_OK(gentl.IFClose(Open("GEV::eth0::" + endless)));
}

// The name ends at the next "::".
TEST_F(OpenInterfaceTest, NameWithASeparatorIsNotFoundByItsId) {
    ASSERT_EQ(OptivoSim_AddInterface("a::b", "GEV", "GEV"), 1);
    Update();
    ASSERT_EQ(InterfaceId(2), "GEV::a::b");
    ExpectUnknown("GEV::a::b");
    ASSERT_EQ(OptivoSim_AddInterface("a", "GEV", "GEV"), 1);
    Update();
    EXPECT_EQ(IdOf(Open("GEV::a::b")), "GEV::a");
}

TEST_F(OpenInterfaceTest, NameMayHoldAnything) {
    for (const char* name : {"50%d%s%n", "a b", "a:b", "(lan)", "caf\xC3\xA9"}) {
        ASSERT_EQ(OptivoSim_AddInterface(name, "GEV", "GEV"), 1);
        Update();
        const std::string id = std::string("GEV::") + name;
        EXPECT_EQ(IdOf(Open(id)), id);
        EXPECT_EQ(LastText(OPTIVO_SYSTEM_OPEN_INTERFACE), id);
    }
}

TEST_F(OpenInterfaceTest, FirstOfTheListCounts) {
    ASSERT_EQ(OptivoSim_AddInterface("eth0", "U3V", "other"), 0);
    ASSERT_EQ(OptivoSim_AddInterface("ETH0", "ABC", "other"), 1);
    Update();
    EXPECT_EQ(IdOf(Open("Eth0")), "GEV::eth0");
    EXPECT_EQ(IdOf(Open("abc::eth0")), "ABC::ETH0");
}

TEST_F(OpenInterfaceTest, TwiceGivesTheSameHandle) {
    IF_HANDLE first = Open("GEV::eth0");
    EXPECT_EQ(Open("GEV::eth0"), first);
    EXPECT_EQ(NumOpenings(), 1U);
    IF_HANDLE other = Open("U3V::usb0");
    EXPECT_NE(other, first);
    EXPECT_EQ(Open("U3V::usb0"), other);
    EXPECT_EQ(Open("GEV::eth0"), first);
    EXPECT_EQ(NumOpenings(), 2U);
}

TEST_F(OpenInterfaceTest, OnceIsEnoughToClose) {
    IF_HANDLE opened = Open("GEV::eth0");
    EXPECT_EQ(Open("GEV::eth0"), opened);
    EXPECT_OK(gentl.IFClose(opened));
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_INTERFACE_CLOSE), 2U + 1U); // two described, one opened
}

// Whether an interface is open already is told by the bytes of its ID alone.
TEST_F(OpenInterfaceTest, AnotherFormOfTheIdOpensItAgain) {
    IF_HANDLE first = Open("GEV::eth0");
    IF_HANDLE second = Open("gev::ETH0");
    IF_HANDLE third = Open("gev::ETH0");
    EXPECT_NE(second, first);
    EXPECT_NE(third, first);
    EXPECT_NE(third, second);
    EXPECT_EQ(NumOpenings(), 3U);
    for (IF_HANDLE opened : {first, second, third}) {
        EXPECT_EQ(IdOf(opened), "GEV::eth0");
    }
    EXPECT_EQ(Open("GEV::eth0"), first);
    EXPECT_OK(gentl.IFClose(first));
    EXPECT_EQ(Open("GEV::eth0"), second);
    EXPECT_OK(gentl.IFClose(second));
    EXPECT_EQ(Open("GEV::eth0"), third);
    EXPECT_OK(gentl.IFClose(third));
    EXPECT_EQ(NumOpenings(), 3U);
}

TEST_F(OpenInterfaceTest, OfTwoSystemsIsNotShared) {
    TL_HANDLE second = nullptr;
    ASSERT_OK(gentl.TLOpen(&second));
    IF_HANDLE first = Open("GEV::eth0");
    IF_HANDLE other = nullptr;
    EXPECT_OK(gentl.TLOpenInterface(second, "GEV::eth0", &other));
    EXPECT_NE(other, first);
    EXPECT_OK(gentl.TLClose(second));
    EXPECT_EQ(Open("GEV::eth0"), first);
}

TEST_F(OpenInterfaceTest, OpenOneIsFoundAfterItLeftTheList) {
    IF_HANDLE opened = Open("GEV::eth0");
    OptivoSim_RemoveInterface("eth0");
    Update();
    EXPECT_EQ(Open("GEV::eth0"), opened);
    ExpectUnknown("gev::eth0");
    ExpectUnknown("eth0");
    EXPECT_OK(gentl.IFClose(opened));
    ExpectUnknown("GEV::eth0");
}

TEST_F(OpenInterfaceTest, ClosingOneKeepsTheOthers) {
    ASSERT_EQ(OptivoSim_AddInterface("eth1", "GEV", "GEV"), 1);
    Update();
    IF_HANDLE first = Open("GEV::eth0");
    IF_HANDLE second = Open("U3V::usb0");
    IF_HANDLE third = Open("GEV::eth1");
    EXPECT_OK(gentl.IFClose(second));
    EXPECT_EQ(Open("GEV::eth0"), first);
    EXPECT_EQ(Open("GEV::eth1"), third);
    EXPECT_EQ(NumOpenings(), 3U);
    Open("U3V::usb0");
    EXPECT_EQ(NumOpenings(), 4U);
}

TEST_F(OpenInterfaceTest, WithoutAnObjectOfTheCameraLibraryFails) {
    Steering::Add(
        {OPTIVO_SYSTEM_OPEN_INTERFACE, OPTIVO_FAULT_NULL_OBJECT, 0, OPTIVO_ANY_SELECTOR, 0, 1});
    IF_HANDLE opened = this;
    EXPECT_FAILS_WITH_TEXT(-1001, gentl.TLOpenInterface(tl, "GEV::eth0", &opened));
    EXPECT_EQ(opened, this);
    EXPECT_EQ(IdOf(Open("GEV::eth0")), "GEV::eth0");
}

TEST_F(OpenInterfaceTest, ThatIsGoneFromTheWorldFails) {
    OptivoSim_RemoveInterface("eth0");
    IF_HANDLE opened = this;
    EXPECT_FAILS_WITH_TEXT(-1001, gentl.TLOpenInterface(tl, "GEV::eth0", &opened));
    EXPECT_EQ(opened, this);
}

TEST_F(OpenInterfaceTest, ExceptionOfTheCameraLibraryLeavesNothingOpen) {
    for (const OptivoFaultKind kind :
         {OPTIVO_FAULT_GENERIC_EXCEPTION, OPTIVO_FAULT_FOREIGN_EXCEPTION}) {
        Steering::Add({OPTIVO_SYSTEM_OPEN_INTERFACE, kind, 0, OPTIVO_ANY_SELECTOR, 0, 1});
        ExpectMalformed("GEV::eth0");
    }
    EXPECT_EQ(IdOf(Open("GEV::eth0")), "GEV::eth0");
    EXPECT_EQ(NumOpenings(), 3U);
}

TEST_F(OpenInterfaceTest, NeedsAnIdAndAHandle) {
    IF_HANDLE opened = this;
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.TLOpenInterface(tl, nullptr, &opened));
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.TLOpenInterface(tl, "GEV::eth0", nullptr));
    EXPECT_EQ(opened, this);
}

TEST_F(OpenInterfaceTest, LooksForNoDevice) {
    IF_HANDLE opened = Open("GEV::eth0");
    uint32_t count = 77;
    EXPECT_OK(gentl.IFGetNumDevices(opened, &count));
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_INTERFACE_UPDATE_DEVICE_LIST), 0U);
}

} // namespace
