// The camera library throws when it is to take one of its objects back.
#include "CameraSteering.h"
#include "Fixtures.h"

namespace {

class ThrowingCloseTest : public InterfaceTest,
                          public testing::WithParamInterface<OptivoFaultKind> {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(InterfaceTest::SetUp());
        ASSERT_EQ(NumInterfaces(), 2U);
    }

    // The first object that is closed from now on is not taken back, ever.
    void ThrowOnce(OptivoOperation operation, OptivoObjectKind kind) {
        Steering::Add({operation, GetParam(), 0, OPTIVO_ANY_SELECTOR, 0, 1});
        LeavesAlive(kind, 1);
    }
};

TEST_P(ThrowingCloseTest, UpdateOfTheInterfaceListFailsAndKeepsTheList) {
    OptivoSim_AddInterface("eth1", "GEV", "GEV");
    ThrowOnce(OPTIVO_INTERFACE_CLOSE, OPTIVO_OBJECT_INTERFACE);
    bool8_t changed = 77;
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.TLUpdateInterfaceList(tl, &changed, 0));
    EXPECT_EQ(changed, 77);
    EXPECT_EQ(NumInterfaces(), 2U);
    EXPECT_OK(gentl.TLUpdateInterfaceList(tl, &changed, 0));
    EXPECT_EQ(changed, 1);
    EXPECT_EQ(NumInterfaces(), 3U);
}

TEST_P(ThrowingCloseTest, UpdateOfTheDeviceListFailsAndKeepsTheList) {
    OptivoSim_AddCamera("eth0", "New", "1");
    ThrowOnce(OPTIVO_DEVICE_CLOSE, OPTIVO_OBJECT_DEVICE);
    bool8_t changed = 77;
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.IFUpdateDeviceList(iface, &changed, 0));
    EXPECT_EQ(changed, 77);
    EXPECT_EQ(NumDevices(), 2U);
    EXPECT_OK(gentl.IFUpdateDeviceList(iface, &changed, 0));
    EXPECT_EQ(changed, 1);
    EXPECT_EQ(NumDevices(), 3U);
}

TEST_P(ThrowingCloseTest, ClosedInterfaceIsGoneAllTheSame) {
    ThrowOnce(OPTIVO_INTERFACE_CLOSE, OPTIVO_OBJECT_INTERFACE);
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.IFClose(iface));
    iface = nullptr;
    OpenInterface();
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_SYSTEM_OPEN_INTERFACE), 2U);
    EXPECT_EQ(NumDevices(), 2U);
}

TEST_P(ThrowingCloseTest, ClosedSystemIsGoneAllTheSame) {
    OpenDevice();
    ThrowOnce(OPTIVO_SYSTEM_CLOSE, OPTIVO_OBJECT_SYSTEM);
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.TLClose(tl));
    tl = iface = device = remote = nullptr;
    OpenSystem();
    EXPECT_EQ(NumInterfaces(), 2U);
}

INSTANTIATE_TEST_SUITE_P(Kinds, ThrowingCloseTest,
                         testing::Values(OPTIVO_FAULT_GENERIC_EXCEPTION,
                                         OPTIVO_FAULT_FOREIGN_EXCEPTION));

} // namespace
