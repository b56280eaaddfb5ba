// Faults that are meant for one interface or camera, or that chance decides.
#include "CameraSteering.h"
#include "Fixtures.h"

#include <algorithm>

namespace {

void AddWhere(const Steering::Fault& fault, const OptivoFaultCondition& condition) {
    const OptivoFault added = {fault.operation, fault.kind, fault.result,
                               fault.selector,  fault.skip, fault.count};
    OptivoSim_AddFaultWhere(&added, &condition);
}

class FaultConditionTest : public InterfaceTest {
protected:
    int32_t OpenAndClose(const char* name) {
        DEV_HANDLE opened = nullptr;
        const int32_t answer = gentl.IFOpenDevice(iface, name, 4, &opened);
        if (answer == 0) {
            EXPECT_OK(gentl.DevClose(opened));
        }
        return answer;
    }

    // Which of so many writes to the interface's port fail, as '1' and '0'.
    std::string Failures(int count) {
        std::string failures;
        for (int i = 0; i < count; ++i) {
            uint32_t value = 1000;
            size_t size = sizeof value;
            failures += gentl.GCWritePort(iface, 0x204, &value, &size) == 0 ? '0' : '1';
        }
        return failures;
    }
};

TEST_F(FaultConditionTest, ACameraAloneDoesNotOpen) {
    AddWhere({.operation = OPTIVO_INTERFACE_OPEN_DEVICE, .result = -1005}, {RIGHT, 0, 0});
    EXPECT_EQ(OpenAndClose(LEFT), 0);
    EXPECT_FAILS(-1001, "already opened device.(Norvel-G1300C-10002).", OpenAndClose(RIGHT));
    EXPECT_EQ(OpenAndClose(LEFT), 0);
}

TEST_F(FaultConditionTest, NoCameraOfAnInterfaceOpens) {
    AddWhere({.operation = OPTIVO_INTERFACE_OPEN_DEVICE, .result = -1001}, {"eth0", 0, 0});
    EXPECT_NE(OpenAndClose(LEFT), 0);
    EXPECT_NE(OpenAndClose(RIGHT), 0);
    CloseInterface();
    ASSERT_NO_FATAL_FAILURE(OpenInterface(interfaceId == InterfaceId(0) ? 1 : 0));
    EXPECT_EQ(OpenAndClose("Norvel-U320C-20001"), 0);
}

TEST_F(FaultConditionTest, AnInterfaceAloneDoesNotOpen) {
    CloseInterface();
    AddWhere({OPTIVO_SYSTEM_OPEN_INTERFACE, OPTIVO_FAULT_NULL_OBJECT}, {"usb0", 0, 0});
    EXPECT_FAILS(-1001, "Unable to open interface U3V::usb0",
                 gentl.TLOpenInterface(tl, "U3V::usb0", &iface));
    EXPECT_OK(gentl.TLOpenInterface(tl, "GEV::eth0", &iface));
}

TEST_F(FaultConditionTest, OneCamerasPortFails) {
    AddWhere({.operation = OPTIVO_DEVICE_READ_PORT, .result = -1010}, {RIGHT, 0, 0});
    for (const char* const name : {LEFT, RIGHT}) {
        ASSERT_OK(gentl.IFOpenDevice(iface, name, 4, &device));
        ASSERT_OK(gentl.DevGetPort(device, &remote));
        uint32_t width = 0;
        size_t size = sizeof width;
        EXPECT_EQ(gentl.GCReadPort(remote, 0x400, &width, &size) != 0, name == RIGHT) << name;
        CloseDevice();
    }
}

TEST_F(FaultConditionTest, OneCamerasStreamFails) {
    AddWhere({.operation = OPTIVO_STREAM_START_ACQUISITION, .result = -1001}, {LEFT, 0, 0});
    for (const char* const name : {LEFT, RIGHT}) {
        ASSERT_OK(gentl.IFOpenDevice(iface, name, 4, &device));
        ASSERT_NO_FATAL_FAILURE(OpenStream());
        BUFFER_HANDLE buffer = nullptr;
        ASSERT_OK(gentl.DSAllocAndAnnounceBuffer(stream, 1280 * 1024, nullptr, &buffer));
        ASSERT_OK(gentl.DSQueueBuffer(stream, buffer));
        EXPECT_EQ(gentl.DSStartAcquisition(stream, 0, GENTL_INFINITE) != 0, name == LEFT) << name;
        EXPECT_OK(gentl.DSStopAcquisition(stream, 0));
        EXPECT_OK(gentl.DSFlushQueue(stream, 4));
        CloseStream();
        CloseDevice();
    }
}

TEST_F(FaultConditionTest, OneCameraIsDescribedWithoutItsTexts) {
    AddWhere({OPTIVO_DEVICE_GET_INFO, OPTIVO_FAULT_EMPTY_TEXT}, {RIGHT, 0, 0});
    ASSERT_OK(gentl.IFUpdateDeviceList(iface, nullptr, LONG_WAIT));
    const auto vendor = [&](const char* id) {
        return Ask([&](auto... out) { return gentl.IFGetDeviceInfo(iface, id, 1, out...); });
    };
    EXPECT_EQ(vendor(LEFT), TextInfo("Norvel"));
    EXPECT_EQ(vendor(RIGHT), TextInfo(""));
}

TEST_F(FaultConditionTest, CallsOfOthersAreNotCounted) {
    AddWhere({.operation = OPTIVO_INTERFACE_OPEN_DEVICE, .result = -1001, .skip = 1, .count = 1},
             {RIGHT, 0, 0});
    EXPECT_EQ(OpenAndClose(LEFT), 0);
    EXPECT_EQ(OpenAndClose(LEFT), 0);
    EXPECT_EQ(OpenAndClose(RIGHT), 0);
    EXPECT_NE(OpenAndClose(RIGHT), 0);
    EXPECT_EQ(OpenAndClose(RIGHT), 0);
}

TEST_F(FaultConditionTest, NoNameIsAnyObject) {
    const std::array<const char*, 2> none = {nullptr, ""};
    for (const char* const name : none) {
        AddWhere({.operation = OPTIVO_INTERFACE_OPEN_DEVICE, .result = -1001}, {name, 0, 0});
        EXPECT_NE(OpenAndClose(LEFT), 0);
        EXPECT_NE(OpenAndClose(RIGHT), 0);
        OptivoSim_ClearFaults();
    }
}

TEST_F(FaultConditionTest, NoConditionIsNone) {
    const OptivoFault fault = {OPTIVO_INTERFACE_WRITE_PORT,
                               OPTIVO_FAULT_RESULT,
                               -1001,
                               OPTIVO_ANY_SELECTOR,
                               0,
                               OPTIVO_FOREVER};
    OptivoSim_AddFaultWhere(nullptr, nullptr);
    EXPECT_EQ(Failures(3), "000");
    OptivoSim_AddFaultWhere(&fault, nullptr);
    EXPECT_EQ(Failures(3), "111");
}

TEST_F(FaultConditionTest, SpoiltCallsAreCountedByResultAndName) {
    const auto numSpoilt = [](int32_t result, const char* name) {
        return OptivoSim_NumSpoilt(OPTIVO_INTERFACE_WRITE_PORT, result, name);
    };
    AddWhere({.operation = OPTIVO_INTERFACE_WRITE_PORT, .result = -1001, .count = 2},
             {"eth0", 0, 0});
    AddWhere({.operation = OPTIVO_INTERFACE_WRITE_PORT, .result = -1010, .count = 1},
             {nullptr, 0, 0});
    EXPECT_EQ(Failures(4), "1110");
    EXPECT_EQ(numSpoilt(-1001, "eth0"), 2U);
    EXPECT_EQ(numSpoilt(-1010, "eth0"), 0U);
    EXPECT_EQ(numSpoilt(-1010, nullptr), 1U);
    EXPECT_EQ(OptivoSim_NumSpoilt(OPTIVO_INTERFACE_READ_PORT, -1001, "eth0"), 0U);
    OptivoSim_ClearFaults();
    EXPECT_EQ(numSpoilt(-1001, "eth0"), 0U);
}

TEST_F(FaultConditionTest, CertainFaultsHitEveryCall) {
    for (const double probability : {0.0, 1.0, -3.0, 7.0}) {
        AddWhere({.operation = OPTIVO_INTERFACE_WRITE_PORT, .result = -1001},
                 {nullptr, probability, 1});
        EXPECT_EQ(Failures(100), std::string(100, '1')) << probability;
        OptivoSim_ClearFaults();
    }
}

TEST_F(FaultConditionTest, DrawnFaultsHitTheirShare) {
    AddWhere({.operation = OPTIVO_INTERFACE_WRITE_PORT, .result = -1001}, {nullptr, 0.25, 3});
    const std::string failures = Failures(2000);
    const auto numFailures = std::count(failures.begin(), failures.end(), '1');
    EXPECT_GT(numFailures, 400);
    EXPECT_LT(numFailures, 600);
}

// The same on every target, as whoever repeats a run may be on another.
TEST_F(FaultConditionTest, ASeedDecidesWhatIsDrawn) {
    const auto draw = [&](uint64_t seed) {
        OptivoSim_ClearFaults();
        AddWhere({.operation = OPTIVO_INTERFACE_WRITE_PORT, .result = -1001}, {nullptr, 0.5, seed});
        return Failures(24);
    };
    const std::string first = draw(1);
    EXPECT_EQ(first, "111110110010011110111011");
    EXPECT_EQ(draw(1), first);
    EXPECT_NE(draw(2), first);
}

TEST_F(FaultConditionTest, TheCountIsThatOfTheCallsDrawnFor) {
    AddWhere({.operation = OPTIVO_INTERFACE_WRITE_PORT, .result = -1001, .skip = 4, .count = 24},
             {nullptr, 0.5, 1});
    EXPECT_EQ(Failures(40), "0000111110110010011110111011000000000000");
}

TEST_F(FaultConditionTest, ACallThatIsSparedMeetsTheNextFault) {
    AddWhere({.operation = OPTIVO_INTERFACE_WRITE_PORT, .result = -1001}, {nullptr, 0.5, 1});
    AddWhere({.operation = OPTIVO_INTERFACE_WRITE_PORT, .result = -1001}, {nullptr, 0, 0});
    EXPECT_EQ(Failures(24), std::string(24, '1'));
}

} // namespace
