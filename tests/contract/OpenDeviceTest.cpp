// Opening devices: by which IDs, how often, and when the camera library does not play along.
#include "CameraSteering.h"
#include "Fixtures.h"

namespace {

using Steering::LastText;

constexpr char ALREADY_OPEN[] = "Device already open";

class OpenDeviceTest : public InterfaceTest {
protected:
    // Closes the devices that are still open too.
    void TearDown() override {
        CloseSystem();
        InterfaceTest::TearDown();
    }

    DEV_HANDLE Open(const std::string& id, DEVICE_ACCESS_FLAGS flags = 4) {
        DEV_HANDLE opened = nullptr;
        EXPECT_OK(gentl.IFOpenDevice(iface, id.c_str(), flags, &opened)) << id;
        return opened;
    }

    void ExpectRefused(const std::string& id, int32_t code, const std::string& text) {
        SCOPED_TRACE(id);
        DEV_HANDLE opened = this;
        EXPECT_FAILS(code, text, gentl.IFOpenDevice(iface, id.c_str(), 4, &opened));
        EXPECT_EQ(opened, this);
    }

    std::string IdOf(DEV_HANDLE opened) {
        return Ask([&](auto... out) { return gentl.DevGetInfo(opened, 0, out...); }).Text();
    }

    // The camera can be opened and closed as ever.
    void ExpectFree(const char* id) {
        DEV_HANDLE opened = Open(id);
        ASSERT_NE(opened, nullptr);
        EXPECT_EQ(IdOf(opened), id);
        EXPECT_OK(gentl.DevClose(opened));
    }

    void FailWith(OptivoFaultKind kind, int32_t result) {
        Steering::Add({OPTIVO_INTERFACE_OPEN_DEVICE, kind, result, OPTIVO_ANY_SELECTOR, 0, 1});
    }

    static uint64_t NumOpenings() { return OptivoSim_NumCalls(OPTIVO_INTERFACE_OPEN_DEVICE); }
};

// A failing result of the camera library, with the text's parts around the ID.
struct FailureRow {
    int32_t result;
    int32_t code;
    const char* before;
    const char* behind;
};
constexpr FailureRow FAILURES[] = {{-10003, -1001, "Not supported this link speed.(", ")"},
                                   {-1009, -1009, "Invalid Parameter error.(", ")"},
                                   {-1005, -1001, "already opened device.(", ")."},
                                   {-1002, -1001, "XML schema error.(", ")"},
                                   {-1001, -1001, "Unable to open device ", ""}};

TEST_F(OpenDeviceTest, ByItsId) {
    DEV_HANDLE opened = Open(LEFT);
    EXPECT_EQ(IdOf(opened), LEFT);
    EXPECT_EQ(LastText(OPTIVO_INTERFACE_OPEN_DEVICE), LEFT);
    EXPECT_EQ(NumOpenings(), 1U);
}

TEST_F(OpenDeviceTest, ByEveryFormOfItsId) {
    for (const char* id : {"norvel-g640m-10001", "NORVEL-G640M-10001", "SN->10001", "::SN->10001",
                           "x::SN->10001", "x::SN->10001::y", "GEV::Norvel-G640M-10001",
                           "GEV::norvel-G640M-10001::anything", "::Norvel-G640M-10001::"}) {
        DEV_HANDLE opened = Open(id);
        ASSERT_NE(opened, nullptr) << id;
        EXPECT_EQ(IdOf(opened), LEFT);
        EXPECT_EQ(LastText(OPTIVO_INTERFACE_OPEN_DEVICE), LEFT);
        EXPECT_OK(gentl.DevClose(opened));
    }
}

TEST_F(OpenDeviceTest, ByNoOtherText) {
    for (const char* id :
         {"Norvel-G640M-1000", "10001", "Left", "SN->010001", "SN->1000", "SN->", "sn->10001",
          "USERNAME->Left", "username->", "Norvel-G640M-10001::x", "Norvel-U320C-20001", "%s%n", "",
          "::", "GEV::", "::::Norvel-G640M-10001"}) {
        ExpectRefused(id, -1001, UNSPECIFIED);
    }
    ExpectRefused(std::string(10000, 'x'), -1001, UNSPECIFIED);
    EXPECT_EQ(NumOpenings(), 0U);
}

TEST_F(OpenDeviceTest, BySerialNumberExactly) {
    ASSERT_EQ(OptivoSim_AddCamera("eth0", "A", "012345"), 1);
    ASSERT_EQ(OptivoSim_AddCamera("eth0", "B", "12345"), 1);
    ASSERT_EQ(OptivoSim_AddCamera("eth0", "sn->12345", "7"), 1);
    ASSERT_OK(gentl.IFUpdateDeviceList(iface, nullptr, LONG_WAIT));
    EXPECT_EQ(IdOf(Open("SN->12345")), "B");
    EXPECT_EQ(IdOf(Open("SN->012345")), "A");
    EXPECT_EQ(IdOf(Open("sn->12345")), "sn->12345");
}

TEST_F(OpenDeviceTest, ByNoUserNameTheFirst) {
    EXPECT_EQ(IdOf(Open("USERNAME->")), RIGHT);
    // It matches whatever is open.
    ExpectRefused("USERNAME->", -1004, ALREADY_OPEN);
    EXPECT_EQ(NumOpenings(), 1U);
}

TEST_F(OpenDeviceTest, TwiceByAnyFormOfItsId) {
    Open(LEFT);
    for (const char* id : {LEFT, "norvel-g640m-10001", "SN->10001", "x::SN->10001::y",
                           "GEV::Norvel-G640M-10001", "USERNAME->"}) {
        ExpectRefused(id, -1004, ALREADY_OPEN);
    }
    EXPECT_EQ(NumOpenings(), 1U);
    ExpectRefused("", -1001, UNSPECIFIED);
    EXPECT_EQ(IdOf(Open(RIGHT)), RIGHT);
}

TEST_F(OpenDeviceTest, AgainAfterItWasClosed) {
    for (int round = 0; round < 3; ++round) {
        ExpectFree(LEFT);
    }
    EXPECT_EQ(NumOpenings(), 3U);
}

TEST_F(OpenDeviceTest, SeveralAtATime) {
    DEV_HANDLE left = Open(LEFT);
    DEV_HANDLE right = Open(RIGHT);
    EXPECT_NE(left, right);
    EXPECT_OK(gentl.DevClose(left));
    ExpectRefused(RIGHT, -1004, ALREADY_OPEN);
    EXPECT_EQ(IdOf(Open(LEFT)), LEFT);
    ExpectRefused(LEFT, -1004, ALREADY_OPEN);
    EXPECT_OK(gentl.DevClose(right));
    ExpectFree(RIGHT);
}

TEST_F(OpenDeviceTest, WithAnyFlags) {
    for (const DEVICE_ACCESS_FLAGS flags : {0, 1, 2, 3, 4, 5, 1000, -1, INT32_MIN, INT32_MAX}) {
        DEV_HANDLE opened = Open(LEFT, flags);
        ASSERT_NE(opened, nullptr);
        uint32_t locked = 1;
        size_t size = sizeof locked;
        PORT_HANDLE port = nullptr;
        EXPECT_OK(gentl.DevGetPort(opened, &port));
        EXPECT_OK(gentl.GCWritePort(port, 0x600, &locked, &size));
        EXPECT_OK(gentl.DevClose(opened));
    }
}

TEST_F(OpenDeviceTest, FailuresOfTheCameraLibraryNameTheDevice) {
    for (const FailureRow& row : FAILURES) {
        SCOPED_TRACE(row.result);
        FailWith(OPTIVO_FAULT_RESULT, row.result);
        ExpectRefused(LEFT, row.code, std::string(row.before) + LEFT + row.behind);
        ExpectFree(LEFT);
    }
}

TEST_F(OpenDeviceTest, FailuresNameTheDeviceByItsIdHoweverItWasGiven) {
    for (const FailureRow& row : FAILURES) {
        SCOPED_TRACE(row.result);
        FailWith(OPTIVO_FAULT_RESULT, row.result);
        ExpectRefused("x::SN->10001::y", row.code, std::string(row.before) + LEFT + row.behind);
    }
}

TEST_F(OpenDeviceTest, FailuresTakeTheIdAsItIs) {
    const char* const id = "50%d%s%n";
    ASSERT_EQ(OptivoSim_AddCamera("eth0", id, "1"), 1);
    ASSERT_OK(gentl.IFUpdateDeviceList(iface, nullptr, LONG_WAIT));
    for (const FailureRow& row : FAILURES) {
        SCOPED_TRACE(row.result);
        FailWith(OPTIVO_FAULT_RESULT, row.result);
        ExpectRefused(id, row.code, std::string(row.before) + id + row.behind);
    }
    ExpectFree(id);
}

TEST_F(OpenDeviceTest, FailureThatHandsACameraOutClosesIt) {
    const uint64_t before = OptivoSim_NumAlive(OPTIVO_OBJECT_DEVICE);
    for (const FailureRow& row : FAILURES) {
        SCOPED_TRACE(row.result);
        FailWith(OPTIVO_FAULT_RESULT_AFTER, row.result);
        ExpectRefused(LEFT, row.code, std::string(row.before) + LEFT + row.behind);
        EXPECT_EQ(OptivoSim_NumAlive(OPTIVO_OBJECT_DEVICE), before);
        ExpectFree(LEFT);
    }
}

TEST_F(OpenDeviceTest, EveryOtherResultIsSuccess) {
    for (const int32_t result :
         {-1000, -1003, -1004, -1006,  -1007,  -1008, -1010, -1011, -1012, -1013,     -1014,
          -1015, -1016, -1021, -10002, -10004, -1,    1,     1001,  10003, INT32_MAX, INT32_MIN}) {
        SCOPED_TRACE(result);
        FailWith(OPTIVO_FAULT_RESULT_AFTER, result);
        ExpectFree(LEFT);
    }
}

TEST_F(OpenDeviceTest, SuccessWithoutACameraIsADeviceAllTheSame) {
    for (const int32_t result : {0, -1004, 1}) {
        FailWith(OPTIVO_FAULT_NULL_OBJECT, result);
        DEV_HANDLE opened = Open(LEFT);
        ASSERT_NE(opened, nullptr);
        EXPECT_EQ(IdOf(opened), LEFT);
        ExpectRefused(LEFT, -1004, ALREADY_OPEN);
        EXPECT_OK(gentl.DevClose(opened));
    }
    ExpectFree(LEFT);
}

TEST_F(OpenDeviceTest, ExceptionOfTheCameraLibraryLeavesNothingOpen) {
    for (const OptivoFaultKind kind :
         {OPTIVO_FAULT_GENERIC_EXCEPTION, OPTIVO_FAULT_FOREIGN_EXCEPTION}) {
        FailWith(kind, 0);
        ExpectRefused(LEFT, -1001, UNSPECIFIED);
        ExpectFree(LEFT);
    }
}

TEST_F(OpenDeviceTest, ThatIsOpenThroughAnotherHandle) {
    IF_HANDLE other = nullptr;
    ASSERT_OK(gentl.TLOpenInterface(tl, "gev::ETH0", &other));
    ASSERT_OK(gentl.IFUpdateDeviceList(other, nullptr, LONG_WAIT));
    DEV_HANDLE opened = nullptr;
    ASSERT_OK(gentl.IFOpenDevice(other, LEFT, 4, &opened));
    ExpectRefused("SN->10001", -1001, "already opened device.(Norvel-G640M-10001).");
    EXPECT_OK(gentl.DevClose(opened));
    ExpectFree(LEFT);
}

TEST_F(OpenDeviceTest, ThatIsGoneSinceTheLastUpdate) {
    OptivoSim_RemoveCamera(LEFT);
    ExpectRefused(LEFT, -1001, "Unable to open device Norvel-G640M-10001");
}

TEST_F(OpenDeviceTest, ThatCameSinceTheLastUpdate) {
    ASSERT_EQ(OptivoSim_AddCamera("eth0", "New", "1"), 1);
    ExpectRefused("New", -1001, UNSPECIFIED);
    EXPECT_EQ(NumOpenings(), 0U);
    ASSERT_OK(gentl.IFUpdateDeviceList(iface, nullptr, LONG_WAIT));
    ExpectFree("New");
}

// The separator ends the name that is looked for.
TEST_F(OpenDeviceTest, WhoseIdHoldsASeparatorOnlyBySerialNumber) {
    ASSERT_EQ(OptivoSim_AddCamera("eth0", "a::b", "4711"), 1);
    ASSERT_OK(gentl.IFUpdateDeviceList(iface, nullptr, LONG_WAIT));
    ExpectRefused("a::b", -1001, UNSPECIFIED);
    EXPECT_EQ(IdOf(Open("SN->4711")), "a::b");
    EXPECT_EQ(LastText(OPTIVO_INTERFACE_OPEN_DEVICE), "a::b");
}

TEST_F(OpenDeviceTest, NeedsAnIdAndAHandle) {
    DEV_HANDLE opened = this;
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.IFOpenDevice(iface, nullptr, 4, &opened));
    EXPECT_EQ(opened, this);
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.IFOpenDevice(iface, LEFT, 4, nullptr));
    ExpectFree(LEFT);
}

// Two list records have one ID; only their serial numbers tell them apart.
TEST_F(OpenDeviceTest, TwinsAreOpenedAndClosedOneByOne) {
    ASSERT_EQ(OptivoSim_AddCameraTwin("eth0", "Twin", "1"), 1);
    ASSERT_EQ(OptivoSim_AddCameraTwin("eth0", "Twin", "1"), 1);
    Steering::Add({OPTIVO_DEVICE_GET_INFO, OPTIVO_FAULT_RESULT, -1001, 7, 3, 1});
    ASSERT_OK(gentl.IFUpdateDeviceList(iface, nullptr, LONG_WAIT));
    DEV_HANDLE first = Open("SN->1");
    ExpectRefused("SN->", -1001, "already opened device.(Twin).");
    FailWith(OPTIVO_FAULT_NULL_OBJECT, 0);
    DEV_HANDLE second = Open("SN->");
    EXPECT_NE(first, second);
    EXPECT_EQ(IdOf(second), "Twin");
    EXPECT_OK(gentl.DevClose(second));
    EXPECT_EQ(IdOf(first), "Twin");
    ExpectRefused("SN->1", -1004, ALREADY_OPEN);
    EXPECT_OK(gentl.DevClose(first));
    EXPECT_EQ(IdOf(Open("SN->1")), "Twin");
}

} // namespace
