// The camera library tells that a list has more entries than there can be, and names those that it
// has.
#include "Fixtures.h"

#include "Steering.h"

namespace {

constexpr int32_t ALL_BITS = -1;
// The longest list that is believed.
constexpr int32_t LONGEST = 65536;

class WrongCountTest : public InterfaceTest {
protected:
    static void CountInterfaces(int32_t count) {
        AddFault(OPTIVO_SYSTEM_UPDATE_INTERFACE_LIST, OPTIVO_FAULT_WRONG_COUNT, count);
    }
    static void CountDevices(int32_t count) {
        AddFault(OPTIVO_INTERFACE_UPDATE_DEVICE_LIST, OPTIVO_FAULT_WRONG_COUNT, count);
    }
    void UpdateInterfaces() { ASSERT_OK(gentl.TLUpdateInterfaceList(tl, nullptr, 200)); }
    void UpdateDevices() { ASSERT_OK(gentl.IFUpdateDeviceList(iface, nullptr, 200)); }
};

TEST_F(WrongCountTest, LeavesTheInterfacesThatAreNamed) {
    for (const int32_t count : {ALL_BITS, INT32_MIN, INT32_MAX, LONGEST + 1}) {
        SCOPED_TRACE(count);
        const uint64_t numAsked = NumCalls(OPTIVO_SYSTEM_GET_INTERFACE_NAME);
        const uint64_t numDescribed = NumCalls(OPTIVO_SYSTEM_GET_INTERFACE);
        CountInterfaces(count);
        UpdateInterfaces();
        EXPECT_EQ(NumInterfaces(), 2U);
        EXPECT_EQ(InterfaceId(1), "U3V::usb0");
        EXPECT_EQ(NumCalls(OPTIVO_SYSTEM_GET_INTERFACE_NAME), numAsked + 3);
        EXPECT_EQ(NumCalls(OPTIVO_SYSTEM_GET_INTERFACE), numDescribed + 2);
    }
}

TEST_F(WrongCountTest, LeavesTheDevicesThatAreNamed) {
    for (const int32_t count : {ALL_BITS, INT32_MIN, INT32_MAX, LONGEST + 1}) {
        SCOPED_TRACE(count);
        const uint64_t numAsked = NumCalls(OPTIVO_INTERFACE_GET_DEVICE_NAME);
        const uint64_t numDescribed = NumCalls(OPTIVO_INTERFACE_GET_DEVICE);
        CountDevices(count);
        UpdateDevices();
        EXPECT_EQ(NumDevices(), 2U);
        EXPECT_EQ(DeviceId(1), "Norvel-G640M-10001");
        EXPECT_EQ(NumCalls(OPTIVO_INTERFACE_GET_DEVICE_NAME), numAsked + 3);
        EXPECT_EQ(NumCalls(OPTIVO_INTERFACE_GET_DEVICE), numDescribed + 2);
    }
}

// An empty name is none.
TEST_F(WrongCountTest, EndsTheListAtTheFirstEntryWithoutAName) {
    CountDevices(ALL_BITS);
    AddFault(OPTIVO_INTERFACE_GET_DEVICE_NAME, OPTIVO_FAULT_EMPTY_TEXT, 0, 1, 1);
    UpdateDevices();
    EXPECT_EQ(NumDevices(), 1U);
}

TEST_F(WrongCountTest, EndsAListWithoutAnyName) {
    CountInterfaces(ALL_BITS);
    CountDevices(ALL_BITS);
    AddFault(OPTIVO_SYSTEM_GET_INTERFACE_NAME, OPTIVO_FAULT_RESULT, -1001);
    AddFault(OPTIVO_INTERFACE_GET_DEVICE_NAME, OPTIVO_FAULT_RESULT, -1001);
    UpdateInterfaces();
    UpdateDevices();
    EXPECT_EQ(NumInterfaces(), 0U);
    EXPECT_EQ(NumDevices(), 0U);
}

TEST_F(WrongCountTest, EndsAListThatGoesOnNamingWhateverIsAsked) {
    CountDevices(ALL_BITS);
    AddFault(OPTIVO_INTERFACE_GET_DEVICE_NAME, OPTIVO_FAULT_NOT_TEXT, 0, OPTIVO_FOREVER);
    UpdateDevices();
    EXPECT_EQ(NumDevices(), uint32_t{LONGEST});
    OptivoSim_ClearFaults();
    UpdateDevices();
}

// A count that can be true is; entries without a name are entries.
TEST_F(WrongCountTest, ThatCanBeTrueIsBelieved) {
    for (const int32_t count : {0, 1, 2, 5, LONGEST}) {
        SCOPED_TRACE(count);
        CountInterfaces(count);
        CountDevices(count);
        UpdateInterfaces();
        UpdateDevices();
        EXPECT_EQ(NumInterfaces(), static_cast<uint32_t>(count));
        EXPECT_EQ(NumDevices(), static_cast<uint32_t>(count));
    }
}

} // namespace
