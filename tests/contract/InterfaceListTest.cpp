// The System module's list of interfaces, and how updates of it meet a changing world.
#include "CameraSteering.h"
#include "Fixtures.h"

namespace {

using Steering::LastText;
using Ids = std::vector<std::string>;

constexpr bool8_t UNTOUCHED = 77;

class InterfaceListTest : public SystemTest {
protected:
    // What an update makes of a flag that held UNTOUCHED.
    bool8_t Update() {
        bool8_t changed = UNTOUCHED;
        EXPECT_OK(gentl.TLUpdateInterfaceList(tl, &changed, LONG_WAIT));
        return changed;
    }

    Ids ListedIds() {
        Ids ids;
        const uint32_t count = NumInterfaces();
        for (uint32_t i = 0; i < count; ++i) {
            ids.push_back(InterfaceId(i));
        }
        return ids;
    }

    std::string TLType(const char* id) {
        return Ask([&](auto... out) { return gentl.TLGetInterfaceInfo(tl, id, 2, out...); }).Text();
    }

    static uint64_t NumUpdates() { return OptivoSim_NumCalls(OPTIVO_SYSTEM_UPDATE_INTERFACE_LIST); }
    static uint64_t LastTimeout() {
        return OptivoSim_LastArgument(OPTIVO_SYSTEM_UPDATE_INTERFACE_LIST);
    }
};

TEST_F(InterfaceListTest, TellsWhatTheLastUpdateFound) {
    EXPECT_EQ(Update(), 1);
    EXPECT_EQ(NumInterfaces(), 2U);
    ExpectTextCopyOut([&](auto... out) { return gentl.TLGetInterfaceID(tl, 0, out...); },
                      PlainTextInfo("GEV::eth0"));
    ExpectTextCopyOut([&](auto... out) { return gentl.TLGetInterfaceID(tl, 1, out...); },
                      PlainTextInfo("U3V::usb0"));
}

TEST_F(InterfaceListTest, RefusesIndexesBehindTheList) {
    Update();
    for (const uint32_t index : {2U, 3U, 0x80000000U, UINT32_MAX}) {
        SCOPED_TRACE(index);
        char id[64] = "before";
        size_t size = sizeof id;
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.TLGetInterfaceID(tl, index, id, &size));
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.TLGetInterfaceID(tl, index, nullptr, nullptr));
        EXPECT_STREQ(id, "before");
        EXPECT_EQ(size, sizeof id);
    }
}

TEST_F(InterfaceListTest, FirstQueryOfTheNumberUpdates) {
    EXPECT_EQ(NumInterfaces(), 2U);
    EXPECT_EQ(NumUpdates(), 1U);
    EXPECT_EQ(LastTimeout(), 200U);
    EXPECT_EQ(NumInterfaces(), 2U);
    EXPECT_EQ(NumUpdates(), 1U);
}

TEST_F(InterfaceListTest, FirstQueryOfAnIdUpdates) {
    EXPECT_EQ(InterfaceId(1), "U3V::usb0");
    EXPECT_EQ(NumUpdates(), 1U);
    EXPECT_EQ(LastTimeout(), 200U);
    EXPECT_EQ(InterfaceId(0), "GEV::eth0");
    EXPECT_EQ(NumUpdates(), 1U);
}

TEST_F(InterfaceListTest, FirstQueryOfAWrongIndexUpdatesToo) {
    size_t size = 0;
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.TLGetInterfaceID(tl, 2, nullptr, &size));
    EXPECT_EQ(NumUpdates(), 1U);
}

TEST_F(InterfaceListTest, FirstOpeningUpdates) {
    ASSERT_OK(gentl.TLOpenInterface(tl, "U3V::usb0", &iface));
    EXPECT_EQ(NumUpdates(), 1U);
    EXPECT_EQ(LastTimeout(), 200U);
}

TEST_F(InterfaceListTest, QueriesAfterAnUpdateDoNotUpdate) {
    Update();
    EXPECT_EQ(NumUpdates(), 1U);
    EXPECT_EQ(LastTimeout(), 30000U);
    OptivoSim_AddInterface("eth1", "GEV", "GEV");
    EXPECT_EQ(ListedIds(), (Ids{"GEV::eth0", "U3V::usb0"}));
    ASSERT_OK(gentl.TLOpenInterface(tl, "GEV::eth0", &iface));
    EXPECT_EQ(NumUpdates(), 1U);
}

TEST_F(InterfaceListTest, UpdateThatFindsNothingIsAnUpdateToo) {
    OptivoSim_RemoveAll();
    EXPECT_EQ(NumInterfaces(), 0U);
    EXPECT_EQ(NumInterfaces(), 0U);
    EXPECT_EQ(NumUpdates(), 1U);
}

TEST_F(InterfaceListTest, UpdateThatThrowsIsNone) {
    Steering::Add({OPTIVO_SYSTEM_GET_INTERFACE_NAME, OPTIVO_FAULT_GENERIC_EXCEPTION, 0, 1, 0, 1});
    uint32_t count = 77;
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.TLGetNumInterfaces(tl, &count));
    EXPECT_EQ(count, 77U);
    EXPECT_EQ(NumInterfaces(), 2U);
    EXPECT_EQ(NumUpdates(), 2U);
}

TEST_F(InterfaceListTest, TimeoutIsCutToItsLowHalf) {
    struct Row {
        uint64_t timeout;
        uint64_t seen;
    };
    const Row rows[] = {{0, 0},
                        {1, 1},
                        {0xFFFFFFFF, 0xFFFFFFFF},
                        {0x100000000, 0},
                        {0x100000005, 5},
                        {0x8000000000000000, 0},
                        {GENTL_INFINITE - 1, 0xFFFFFFFE},
                        {GENTL_INFINITE, 0xFFFFFFFF}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.timeout);
        EXPECT_OK(gentl.TLUpdateInterfaceList(tl, nullptr, row.timeout));
        EXPECT_EQ(LastTimeout(), row.seen);
    }
}

TEST_F(InterfaceListTest, ChangedIsOnlyEverSet) {
    EXPECT_EQ(Update(), 1);
    EXPECT_EQ(Update(), UNTOUCHED);
    for (const bool8_t before : std::initializer_list<bool8_t>{0, 1, 255}) {
        bool8_t changed = before;
        EXPECT_OK(gentl.TLUpdateInterfaceList(tl, &changed, 0));
        EXPECT_EQ(changed, before);
    }
}

TEST_F(InterfaceListTest, ChangedIsSetWhenInterfacesComeOrGo) {
    Update();
    OptivoSim_AddInterface("eth1", "GEV", "GEV");
    EXPECT_EQ(Update(), 1);
    OptivoSim_RemoveInterface("eth0");
    EXPECT_EQ(Update(), 1);
    OptivoSim_RemoveInterface("eth1");
    OptivoSim_AddInterface("eth2", "GEV", "GEV");
    EXPECT_EQ(Update(), 1);
    OptivoSim_RemoveAll();
    EXPECT_EQ(Update(), 1);
    EXPECT_EQ(Update(), UNTOUCHED);
}

TEST_F(InterfaceListTest, ChangedMayBeNull) {
    Update();
    OptivoSim_RemoveInterface("eth0");
    OptivoSim_AddInterface("eth1", "GEV", "GEV");
    EXPECT_OK(gentl.TLUpdateInterfaceList(tl, nullptr, 0));
    EXPECT_EQ(ListedIds(), (Ids{"U3V::usb0", "GEV::eth1"}));
}

TEST_F(InterfaceListTest, KnownInterfacesComeBeforeNewOnes) {
    Update();
    OptivoSim_RemoveInterface("eth0");
    OptivoSim_AddInterface("net9", "GEV", "GEV");
    OptivoSim_AddInterface("eth0", "GEV", "GEV");
    OptivoSim_AddInterface("aaa", "GEV", "GEV");
    EXPECT_EQ(Update(), 1);
    EXPECT_EQ(ListedIds(), (Ids{"U3V::usb0", "GEV::eth0", "GEV::net9", "GEV::aaa"}));
}

TEST_F(InterfaceListTest, AnotherOrderAloneIsNoChange) {
    Update();
    OptivoSim_RemoveInterface("eth0");
    OptivoSim_AddInterface("eth0", "GEV", "GEV");
    EXPECT_EQ(Update(), UNTOUCHED);
    EXPECT_EQ(ListedIds(), (Ids{"U3V::usb0", "GEV::eth0"}));
}

TEST_F(InterfaceListTest, KnownInterfaceKeepsWhatWasKnownOfIt) {
    Update();
    OptivoSim_RemoveInterface("eth0");
    OptivoSim_AddInterface("eth0", "gev", "Custom");
    EXPECT_EQ(Update(), UNTOUCHED);
    EXPECT_EQ(TLType("GEV::eth0"), "GEV");

    OptivoSim_RemoveInterface("eth0");
    EXPECT_EQ(Update(), 1);
    OptivoSim_AddInterface("eth0", "gev", "Custom");
    EXPECT_EQ(Update(), 1);
    EXPECT_EQ(TLType("GEV::eth0"), "Custom");
}

TEST_F(InterfaceListTest, IdsDifferByTheCaseOfTheName) {
    Update();
    OptivoSim_RemoveInterface("eth0");
    OptivoSim_AddInterface("ETH0", "GEV", "GEV");
    EXPECT_EQ(Update(), 1);
    EXPECT_EQ(ListedIds(), (Ids{"U3V::usb0", "GEV::ETH0"}));
}

// Both names give the ID GEV::X::Y; records with one ID meet in their order.
TEST_F(InterfaceListTest, EqualIdsAreMatchedOneToOne) {
    OptivoSim_RemoveAll();
    OptivoSim_AddInterface("X::Y", "GEV", "first");
    OptivoSim_AddInterface("Y", "gev::x", "second");
    EXPECT_EQ(Update(), 1);
    EXPECT_EQ(ListedIds(), (Ids{"GEV::X::Y", "GEV::X::Y"}));
    EXPECT_EQ(TLType("GEV::X::Y"), "first");
    EXPECT_EQ(Update(), UNTOUCHED);
    EXPECT_EQ(NumInterfaces(), 2U);

    OptivoSim_RemoveInterface("X::Y");
    EXPECT_EQ(Update(), 1);
    EXPECT_EQ(ListedIds(), (Ids{"GEV::X::Y"}));
    EXPECT_EQ(TLType("GEV::X::Y"), "first");
}

TEST_F(InterfaceListTest, AsksTheCameraLibraryForEachInterface) {
    Update();
    EXPECT_EQ(Steering::Selectors(OPTIVO_SYSTEM_GET_INTERFACE_NAME), (std::vector<uint64_t>{0, 1}));
    EXPECT_EQ(OptivoSim_LastArgument(OPTIVO_SYSTEM_GET_INTERFACE_NAME), 2048U);
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_SYSTEM_GET_INTERFACE), 2U);
    EXPECT_EQ(LastText(OPTIVO_SYSTEM_GET_INTERFACE), "usb0");
    EXPECT_EQ(Steering::Selectors(OPTIVO_INTERFACE_READ_PORT), (std::vector<uint64_t>{2, 5, 2, 5}));
    EXPECT_EQ(OptivoSim_LastArgument(OPTIVO_INTERFACE_READ_PORT), 512U);
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_INTERFACE_CLOSE), 2U);
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_SYSTEM_OPEN_INTERFACE), 0U);
}

TEST_F(InterfaceListTest, EveryReadGetsTheWholeBuffer) {
    Steering::Add({OPTIVO_INTERFACE_READ_PORT, OPTIVO_FAULT_OVERLONG_SIZE, 0, 2});
    Steering::Add({OPTIVO_INTERFACE_READ_PORT, OPTIVO_FAULT_OVERLONG_SIZE, 0, 5});
    Steering::Add({OPTIVO_SYSTEM_GET_INTERFACE_NAME, OPTIVO_FAULT_OVERLONG_SIZE});
    Update();
    EXPECT_EQ(OptivoSim_LastArgument(OPTIVO_INTERFACE_READ_PORT), 512U);
    EXPECT_EQ(OptivoSim_LastArgument(OPTIVO_SYSTEM_GET_INTERFACE_NAME), 2048U);
    EXPECT_EQ(ListedIds(), (Ids{"GEV::eth0", "U3V::usb0"}));
    EXPECT_EQ(TLType("U3V::usb0"), "U3V");

    OptivoSim_ClearFaults();
    Steering::Add({OPTIVO_INTERFACE_READ_PORT, OPTIVO_FAULT_GENERIC_EXCEPTION, 0, 2});
    EXPECT_CODE(-1001, gentl.TLUpdateInterfaceList(tl, nullptr, 0));
    EXPECT_EQ(OptivoSim_LastArgument(OPTIVO_INTERFACE_READ_PORT), 512U);
}

TEST_F(InterfaceListTest, ResultsOfTheCameraLibraryAreNotChecked) {
    for (const OptivoOperation operation :
         {OPTIVO_SYSTEM_UPDATE_INTERFACE_LIST, OPTIVO_SYSTEM_GET_INTERFACE_NAME,
          OPTIVO_SYSTEM_GET_INTERFACE, OPTIVO_INTERFACE_READ_PORT, OPTIVO_INTERFACE_CLOSE}) {
        Steering::Add({operation, OPTIVO_FAULT_RESULT_AFTER, -1001});
    }
    EXPECT_EQ(ListedIds(), (Ids{"GEV::eth0", "U3V::usb0"}));
    EXPECT_EQ(TLType("GEV::eth0"), "GEV");
}

TEST_F(InterfaceListTest, TextThatCannotBeReadIsEmpty) {
    Steering::Add({OPTIVO_INTERFACE_READ_PORT, OPTIVO_FAULT_RESULT, -1010, 5});
    Steering::Add({OPTIVO_INTERFACE_READ_PORT, OPTIVO_FAULT_RESULT, -1010, 2, 1});
    EXPECT_EQ(ListedIds(), (Ids{"GEV::eth0", "::usb0"}));
    EXPECT_EQ(TLType("GEV::eth0"), "");
}

TEST_F(InterfaceListTest, InterfaceWithoutDescriptionIsListedByItsName) {
    Steering::Add(
        {OPTIVO_SYSTEM_GET_INTERFACE, OPTIVO_FAULT_NULL_OBJECT, 0, OPTIVO_ANY_SELECTOR, 0, 1});
    EXPECT_EQ(ListedIds(), (Ids{"::eth0", "U3V::usb0"}));
    EXPECT_EQ(TLType("::eth0"), "");
}

TEST_F(InterfaceListTest, TextsWithoutAZeroEndWithTheirBuffer) {
    Steering::Add({OPTIVO_SYSTEM_GET_INTERFACE_NAME, OPTIVO_FAULT_UNTERMINATED_TEXT, 0, 0});
    Steering::Add({OPTIVO_INTERFACE_READ_PORT, OPTIVO_FAULT_UNTERMINATED_TEXT, 0, 5});
    const std::string id = InterfaceId(0);
    EXPECT_EQ(id.substr(0, 2), "::");
    EXPECT_EQ(id.find_first_not_of('X', 2), std::string::npos);
    EXPECT_GE(id.size(), 2 + 2047U);
    EXPECT_LE(id.size(), 2 + 2048U);
    const std::string type = TLType("U3V::usb0");
    EXPECT_EQ(type.find_first_not_of('X'), std::string::npos);
    EXPECT_GE(type.size(), 511U);
    EXPECT_LE(type.size(), 512U);
}

TEST_F(InterfaceListTest, LongNamesAreWhole) {
    const std::string name(2047, 'n');
    const std::string type(511, 't');
    ASSERT_EQ(OptivoSim_AddInterface(name.c_str(), "GEV", type.c_str()), 1);
    EXPECT_EQ(InterfaceId(2), "GEV::" + name);
    EXPECT_EQ(TLType(("GEV::" + name).c_str()), type);
    ASSERT_OK(gentl.TLOpenInterface(tl, ("GEV::" + name).c_str(), &iface));
}

TEST_F(InterfaceListTest, NamesBeyondEveryBufferDoNoHarm) {
    const std::string name(10000, 'n');
    ASSERT_EQ(OptivoSim_AddInterface(name.c_str(), "GEV", "GEV"), 1);
    EXPECT_EQ(NumInterfaces(), 3U);
    EXPECT_EQ(InterfaceId(0), "GEV::eth0");
    EXPECT_EQ(InterfaceId(2), "::");
}

TEST_F(InterfaceListTest, ExceptionKeepsTheListAndTheFlag) {
    Update();
    OptivoSim_AddInterface("eth1", "GEV", "GEV");
    OptivoSim_RemoveInterface("eth0");
    for (const OptivoOperation operation :
         {OPTIVO_SYSTEM_UPDATE_INTERFACE_LIST, OPTIVO_SYSTEM_GET_INTERFACE_NAME,
          OPTIVO_SYSTEM_GET_INTERFACE, OPTIVO_INTERFACE_READ_PORT}) {
        for (const OptivoFaultKind kind :
             {OPTIVO_FAULT_GENERIC_EXCEPTION, OPTIVO_FAULT_FOREIGN_EXCEPTION}) {
            SCOPED_TRACE(operation);
            const bool isFirstCall = operation == OPTIVO_SYSTEM_UPDATE_INTERFACE_LIST;
            Steering::Add({operation, kind, 0, OPTIVO_ANY_SELECTOR, isFirstCall ? 0U : 1U, 1});
            bool8_t changed = UNTOUCHED;
            EXPECT_FAILS(-1001, UNSPECIFIED, gentl.TLUpdateInterfaceList(tl, &changed, 0));
            EXPECT_EQ(changed, UNTOUCHED);
            EXPECT_EQ(ListedIds(), (Ids{"GEV::eth0", "U3V::usb0"}));
            OptivoSim_ClearFaults();
        }
    }
    EXPECT_EQ(Update(), 1);
    EXPECT_EQ(ListedIds(), (Ids{"U3V::usb0", "GEV::eth1"}));
}

TEST_F(InterfaceListTest, NothingIsOpenAfterAnUpdate) {
    const uint64_t before = OptivoSim_NumAlive(OPTIVO_OBJECT_INTERFACE);
    Update();
    EXPECT_EQ(OptivoSim_NumAlive(OPTIVO_OBJECT_INTERFACE), before);
}

} // namespace
