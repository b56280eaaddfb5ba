// What is told of one interface: by the System module of any, by the Interface module of itself.
#include "CameraSteering.h"
#include "Fixtures.h"

namespace {

class InterfaceInfoTest : public SystemTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(SystemTest::SetUp());
        Update();
    }

    void Update() { ASSERT_OK(gentl.TLUpdateInterfaceList(tl, nullptr, LONG_WAIT)); }

    InfoCall Listed(const std::string& id, INTERFACE_INFO_CMD command) {
        return [=, this](auto... out) {
            return gentl.TLGetInterfaceInfo(tl, id.c_str(), command, out...);
        };
    }

    InfoCall Opened(INTERFACE_INFO_CMD command) {
        return [=, this](auto... out) { return gentl.IFGetInfo(iface, command, out...); };
    }

    void ExpectUnknown(const std::string& id) {
        SCOPED_TRACE(id);
        INFO_DATATYPE type = 99;
        char text[64] = "before";
        size_t size = sizeof text;
        EXPECT_FAILS(-1001, UNSPECIFIED,
                     gentl.TLGetInterfaceInfo(tl, id.c_str(), 0, &type, text, &size));
        EXPECT_EQ(type, 99);
        EXPECT_STREQ(text, "before");
        EXPECT_EQ(size, sizeof text);
    }
};

TEST_F(InterfaceInfoTest, OfAListedInterface) {
    ExpectCopyOut(Listed("GEV::eth0", 0), TextInfo("GEV::eth0"));
    ExpectCopyOut(Listed("GEV::eth0", 1), TextInfo("Interface : eth0"));
    ExpectCopyOut(Listed("GEV::eth0", 2), TextInfo("GEV"));
    ExpectCopyOut(Listed("U3V::usb0", 0), TextInfo("U3V::usb0"));
    ExpectCopyOut(Listed("U3V::usb0", 1), TextInfo("Interface : usb0"));
    ExpectCopyOut(Listed("U3V::usb0", 2), TextInfo("U3V"));
}

TEST_F(InterfaceInfoTest, OfAnOpenInterface) {
    ASSERT_OK(gentl.TLOpenInterface(tl, "U3V::usb0", &iface));
    ExpectCopyOut(Opened(0), TextInfo("U3V::usb0"));
    ExpectCopyOut(Opened(1), TextInfo("Interface : usb0"));
    ExpectCopyOut(Opened(2), TextInfo("U3V"));
    ExpectCopyOut(Listed("U3V::usb0", 1), TextInfo("Interface : usb0"));
}

TEST_F(InterfaceInfoTest, RefusesOtherCommands) {
    ASSERT_OK(gentl.TLOpenInterface(tl, "U3V::usb0", &iface));
    for (const INTERFACE_INFO_CMD command : {3, 4, 1000, INT32_MAX, -1, INT32_MIN}) {
        for (const InfoCall& call :
             {Listed("GEV::eth0", command), Listed("U3V::usb0", command), Opened(command)}) {
            SCOPED_TRACE(command);
            INFO_DATATYPE type = 99;
            char text[64] = "before";
            size_t size = sizeof text;
            EXPECT_FAILS(-1001, UNSPECIFIED, call(&type, text, &size));
            EXPECT_FAILS(-1001, UNSPECIFIED, call(nullptr, nullptr, nullptr));
            EXPECT_EQ(type, 99);
            EXPECT_STREQ(text, "before");
            EXPECT_EQ(size, sizeof text);
        }
    }
}

TEST_F(InterfaceInfoTest, IdIsComparedByteByByte) {
    for (const char* id : {"gev::eth0", "GEV::ETH0", "eth0", "::eth0", "GEV::eth0::", "GEV::eth",
                           "GEV::eth00", " GEV::eth0", "", "::", "GEV::", "%s%n"}) {
        ExpectUnknown(id);
    }
    ExpectUnknown(std::string(10000, 'x'));
}

TEST_F(InterfaceInfoTest, IdOfAnOpenInterfaceIsComparedByteByByte) {
    ASSERT_OK(gentl.TLOpenInterface(tl, "gev::ETH0", &iface));
    ExpectUnknown("gev::ETH0");
    EXPECT_EQ(Ask(Listed("GEV::eth0", 0)), TextInfo("GEV::eth0"));
}

TEST_F(InterfaceInfoTest, DoesNotUpdateTheList) {
    CloseSystem();
    OpenSystem();
    const uint64_t before = OptivoSim_NumCalls(OPTIVO_SYSTEM_UPDATE_INTERFACE_LIST);
    ExpectUnknown("GEV::eth0");
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_SYSTEM_UPDATE_INTERFACE_LIST), before);
    Update();
    EXPECT_EQ(Ask(Listed("GEV::eth0", 0)), TextInfo("GEV::eth0"));
}

TEST_F(InterfaceInfoTest, PrefixIsInUpperCaseAndTheNameAsItIs) {
    struct Row {
        const char* name;
        const char* prefix;
        const char* tlType;
        const char* id;
    };
    const Row rows[] = {{"LanSeven", "ge", "Mixed case", "GE::LanSeven"},
                        {"lan8", "gEv2", "", "GEV2::lan8"},
                        {"lan9", "", "Custom", "::lan9"},
                        {"lan 10", "a-b_c", "GEV", "A-B_C::lan 10"},
                        {"50%d%s%n", "%x", "%p", "%X::50%d%s%n"}};
    for (const Row& row : rows) {
        ASSERT_EQ(OptivoSim_AddInterface(row.name, row.prefix, row.tlType), 1);
    }
    Update();
    uint32_t index = 2;
    for (const Row& row : rows) {
        EXPECT_EQ(InterfaceId(index++), row.id);
        EXPECT_EQ(Ask(Listed(row.id, 0)), TextInfo(row.id));
        EXPECT_EQ(Ask(Listed(row.id, 1)), TextInfo(std::string("Interface : ") + row.name));
        EXPECT_EQ(Ask(Listed(row.id, 2)), TextInfo(row.tlType));
    }
}

TEST_F(InterfaceInfoTest, OfAnOpenInterfaceStaysWhenItLeavesTheList) {
    ASSERT_OK(gentl.TLOpenInterface(tl, "GEV::eth0", &iface));
    OptivoSim_RemoveInterface("eth0");
    Update();
    EXPECT_EQ(NumInterfaces(), 1U);
    EXPECT_EQ(Ask(Opened(0)), TextInfo("GEV::eth0"));
    EXPECT_EQ(Ask(Listed("GEV::eth0", 2)), TextInfo("GEV"));
    CloseInterface();
    ExpectUnknown("GEV::eth0");
}

TEST_F(InterfaceInfoTest, OpenInterfaceIsAskedBeforeTheList) {
    ASSERT_OK(gentl.TLOpenInterface(tl, "GEV::eth0", &iface));
    OptivoSim_RemoveInterface("eth0");
    Update();
    OptivoSim_AddInterface("eth0", "GEV", "Other");
    Update();
    EXPECT_EQ(Ask(Listed("GEV::eth0", 2)), TextInfo("GEV"));
    EXPECT_EQ(Ask(Opened(2)), TextInfo("GEV"));
    CloseInterface();
    EXPECT_EQ(Ask(Listed("GEV::eth0", 2)), TextInfo("Other"));
}

TEST_F(InterfaceInfoTest, NeedsAnId) {
    INFO_DATATYPE type = 99;
    char text[64] = "before";
    size_t size = sizeof text;
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.TLGetInterfaceInfo(tl, nullptr, 0, &type, text, &size));
    EXPECT_EQ(type, 99);
    EXPECT_STREQ(text, "before");
    EXPECT_EQ(size, sizeof text);
}

} // namespace
