// Opening and closing the System module, and what it tells about itself.
#include "CameraSteering.h"
#include "Fixtures.h"

namespace {

class SystemOpenTest : public LibraryTest {
protected:
    uint64_t NumOpen(OptivoObjectKind kind) const {
        return OptivoSim_NumAlive(kind) - m_before[static_cast<size_t>(kind)];
    }

private:
    void SetUp() override {
        LibraryTest::SetUp();
        for (size_t kind = 0; kind < m_before.size(); ++kind) {
            m_before[kind] = OptivoSim_NumAlive(static_cast<OptivoObjectKind>(kind));
        }
    }

    std::array<uint64_t, OPTIVO_NUM_OBJECT_KINDS> m_before{};
};

TEST_F(SystemOpenTest, TakesOneSystemOfTheCameraLibrary) {
    OpenSystem();
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_GET_SYSTEM), 1U);
    EXPECT_EQ(NumOpen(OPTIVO_OBJECT_SYSTEM), 1U);
    CloseSystem();
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_GET_SYSTEM), 1U);
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_SYSTEM_CLOSE), 1U);
    EXPECT_EQ(NumOpen(OPTIVO_OBJECT_SYSTEM), 0U);
}

TEST_F(SystemOpenTest, LooksForNoInterface) {
    OpenSystem();
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_SYSTEM_UPDATE_INTERFACE_LIST), 0U);
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_SYSTEM_GET_INTERFACE), 0U);
}

TEST_F(SystemOpenTest, GivesAnotherSystemEachTime) {
    OpenSystem();
    TL_HANDLE second = nullptr;
    ASSERT_OK(gentl.TLOpen(&second));
    EXPECT_NE(second, tl);
    EXPECT_EQ(NumOpen(OPTIVO_OBJECT_SYSTEM), 2U);
    EXPECT_OK(gentl.TLClose(second));
    EXPECT_EQ(NumOpen(OPTIVO_OBJECT_SYSTEM), 1U);
    EXPECT_EQ(NumInterfaces(), 2U);
}

TEST_F(SystemOpenTest, SystemsKeepTheirListsApart) {
    OpenSystem();
    EXPECT_EQ(NumInterfaces(), 2U);
    OptivoSim_RemoveInterface("usb0");
    TL_HANDLE second = nullptr;
    ASSERT_OK(gentl.TLOpen(&second));
    uint32_t count = 77;
    EXPECT_OK(gentl.TLGetNumInterfaces(second, &count));
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(NumInterfaces(), 2U);
    EXPECT_OK(gentl.TLClose(second));
}

TEST_F(SystemOpenTest, DoesNotLookAtTheResultOfTheCameraLibrary) {
    Steering::Add({OPTIVO_GET_SYSTEM, OPTIVO_FAULT_RESULT_AFTER, -1001});
    OpenSystem();
    EXPECT_EQ(NumInterfaces(), 2U);
}

TEST_F(SystemOpenTest, NeedsASystemOfTheCameraLibrary) {
    for (const OptivoFaultKind kind : {OPTIVO_FAULT_NULL_OBJECT, OPTIVO_FAULT_RESULT}) {
        SCOPED_TRACE(kind);
        Steering::Add({OPTIVO_GET_SYSTEM, kind, 0, OPTIVO_ANY_SELECTOR, 0, 1});
        TL_HANDLE handle = this;
        EXPECT_FAILS_WITH_TEXT(-1001, gentl.TLOpen(&handle));
        EXPECT_EQ(handle, this);
    }
    OpenSystem();
}

TEST_F(SystemOpenTest, ExceptionOfTheCameraLibraryLeavesTheHandle) {
    for (const OptivoFaultKind kind :
         {OPTIVO_FAULT_GENERIC_EXCEPTION, OPTIVO_FAULT_FOREIGN_EXCEPTION}) {
        SCOPED_TRACE(kind);
        Steering::Add({OPTIVO_GET_SYSTEM, kind, 7, OPTIVO_ANY_SELECTOR, 0, 1});
        TL_HANDLE handle = this;
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.TLOpen(&handle));
        EXPECT_EQ(handle, this);
    }
    EXPECT_EQ(NumOpen(OPTIVO_OBJECT_SYSTEM), 0U);
}

TEST_F(SystemOpenTest, ClosingEndsEverythingBelow) {
    OpenSystem();
    OpenInterface(0);
    OpenDevice();
    OpenStream();
    IF_HANDLE second = nullptr;
    ASSERT_OK(gentl.TLOpenInterface(tl, "U3V::usb0", &second));
    ASSERT_OK(gentl.IFUpdateDeviceList(second, nullptr, LONG_WAIT));
    DEV_HANDLE other = nullptr;
    ASSERT_OK(gentl.IFOpenDevice(second, "Norvel-U320C-20001", 4, &other));
    EXPECT_EQ(NumOpen(OPTIVO_OBJECT_INTERFACE), 2U);
    EXPECT_EQ(NumOpen(OPTIVO_OBJECT_DEVICE), 2U);
    EXPECT_EQ(NumOpen(OPTIVO_OBJECT_STREAM), 1U);
    CloseSystem();
    EXPECT_EQ(NumOpen(OPTIVO_OBJECT_STREAM), 0U);
    EXPECT_EQ(NumOpen(OPTIVO_OBJECT_DEVICE), 0U);
    EXPECT_EQ(NumOpen(OPTIVO_OBJECT_INTERFACE), 0U);
    EXPECT_EQ(NumOpen(OPTIVO_OBJECT_SYSTEM), 0U);
}

TEST_F(SystemOpenTest, ClosingOneSystemLeavesTheOthersInterfaces) {
    OpenSystem();
    OpenInterface();
    TL_HANDLE second = nullptr;
    ASSERT_OK(gentl.TLOpen(&second));
    IF_HANDLE opened = nullptr;
    ASSERT_OK(gentl.TLOpenInterface(second, "GEV::eth0", &opened));
    EXPECT_NE(opened, iface);
    EXPECT_OK(gentl.TLClose(second));
    EXPECT_EQ(NumOpen(OPTIVO_OBJECT_INTERFACE), 1U);
    EXPECT_EQ(NumDevices(), 2U);
    OpenDevice();
}

TEST_F(SystemOpenTest, CanBeOpenedAgain) {
    for (int round = 0; round < 3; ++round) {
        OpenSystem();
        EXPECT_EQ(NumInterfaces(), 2U);
        CloseSystem();
        EXPECT_EQ(NumOpen(OPTIVO_OBJECT_SYSTEM), 0U);
    }
}

class SystemInfoTest : public SystemTest {
protected:
    InfoCall Query(TL_INFO_CMD command) {
        return [this, command](auto... out) { return gentl.TLGetInfo(tl, command, out...); };
    }

    void ExpectText(TL_INFO_CMD command, std::string_view text) {
        SCOPED_TRACE(command);
        ExpectCopyOut(Query(command), TextInfo(text));
    }
};

TEST_F(SystemInfoTest, TellsIdentity) {
    ExpectText(1, "NORVEL");
    ExpectText(2, "NorvelTL");
    ExpectText(4, "Mixed");
    ExpectText(5, "NorvelTL40.cti");
    ExpectText(6, gentl.Path());
    ExpectText(7, "Norvel GenTL");
}

TEST_F(SystemInfoTest, VersionCountsAZeroOfItsOwn) {
    ExpectText(3, std::string_view("4.0.1.0\0", 8));
    size_t size = 0;
    EXPECT_OK(gentl.TLGetInfo(tl, 3, nullptr, nullptr, &size));
    EXPECT_EQ(size, 9U);
    EXPECT_OK(gentl.GCGetInfo(3, nullptr, nullptr, &size));
    EXPECT_EQ(size, 8U);
}

TEST_F(SystemInfoTest, DisplayNameDiffersFromThatOfTheLibrary) {
    EXPECT_EQ(Ask(Query(7)).Text(), "Norvel GenTL");
    EXPECT_EQ(Ask([&](auto... out) { return gentl.GCGetInfo(7, out...); }).Text(),
              "MorvelTL for Norvel cameras");
}

TEST_F(SystemInfoTest, RefusesTheIdThatTheLibraryTells) {
    char text[64] = "before";
    size_t size = sizeof text;
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.TLGetInfo(tl, 0, nullptr, text, &size));
    EXPECT_STREQ(text, "before");
    EXPECT_OK(gentl.GCGetInfo(0, nullptr, text, &size));
    EXPECT_STREQ(text, "NorvelTL40.cti");
}

TEST_F(SystemInfoTest, RefusesOtherCommands) {
    for (const TL_INFO_CMD command : {0, 8, 9, 10, 1000, INT32_MAX, -1, INT32_MIN}) {
        SCOPED_TRACE(command);
        INFO_DATATYPE type = 99;
        char text[64] = "before";
        size_t size = sizeof text;
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.TLGetInfo(tl, command, &type, text, &size));
        EXPECT_EQ(type, 99);
        EXPECT_EQ(size, sizeof text);
        EXPECT_STREQ(text, "before");
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.TLGetInfo(tl, command, nullptr, nullptr, nullptr));
    }
}

TEST_F(SystemInfoTest, AnswersWithoutLookingForInterfaces) {
    for (TL_INFO_CMD command = 1; command <= 7; ++command) {
        EXPECT_OK(Ask(Query(command)).code);
    }
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_SYSTEM_UPDATE_INTERFACE_LIST), 0U);
}

} // namespace
