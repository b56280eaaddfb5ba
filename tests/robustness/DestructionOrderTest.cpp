// In which order modules that go together give back what they have of the camera library.
#include "Streams.h"

namespace {

class DestructionOrderTest : public SmallStreamTest {
protected:
    // While the library hangs in one close of a closing system, these have not begun.
    void ExpectNotBegun(OptivoOperation hanging, const std::vector<OptivoOperation>& later) {
        std::vector<uint64_t> before;
        for (const OptivoOperation operation : later) {
            before.push_back(NumCalls(operation));
        }
        const auto closing = HangIn(hanging, [this] { return gentl.TLClose(tl); });
        closing->AwaitSleep();
        for (size_t i = 0; i < later.size(); ++i) {
            EXPECT_EQ(NumCalls(later[i]), before[i]) << later[i];
        }
        OptivoSim_Release();
        EXPECT_OK(closing->Finish());
        for (size_t i = 0; i < later.size(); ++i) {
            EXPECT_EQ(NumCalls(later[i]), before[i] + 1) << later[i];
        }
        tl = iface = device = remote = stream = nullptr;
    }
};

TEST_F(DestructionOrderTest, StreamsGoFirst) {
    ExpectNotBegun(OPTIVO_STREAM_CLOSE,
                   {OPTIVO_DEVICE_CLOSE, OPTIVO_INTERFACE_CLOSE, OPTIVO_SYSTEM_CLOSE});
}

TEST_F(DestructionOrderTest, DevicesGoBeforeTheirInterface) {
    ExpectNotBegun(OPTIVO_DEVICE_CLOSE, {OPTIVO_INTERFACE_CLOSE, OPTIVO_SYSTEM_CLOSE});
}

TEST_F(DestructionOrderTest, InterfacesGoBeforeTheSystem) {
    ExpectNotBegun(OPTIVO_INTERFACE_CLOSE, {OPTIVO_SYSTEM_CLOSE});
}

TEST_F(DestructionOrderTest, TheSystemGoesLast) {
    const auto closing = HangIn(OPTIVO_SYSTEM_CLOSE, [this] { return gentl.TLClose(tl); });
    EXPECT_EQ(alive.Streams(), 0U);
    EXPECT_EQ(alive.Devices(), 0U);
    EXPECT_EQ(alive.Interfaces(), 0U);
    EXPECT_EQ(alive.Systems(), 1U);
    OptivoSim_Release();
    EXPECT_OK(closing->Finish());
    tl = iface = device = remote = stream = nullptr;
}

// Otherwise another consumer could ask for the camera while it is still open.
TEST_F(DestructionOrderTest, AnInterfaceForgetsADeviceWhenItsCameraIsClosed) {
    const auto closing = HangIn(OPTIVO_DEVICE_CLOSE, [this] { return gentl.DevClose(device); });
    closing->AwaitSleep();
    DEV_HANDLE opened = nullptr;
    EXPECT_FAILS(-1004, "Device already open",
                 gentl.IFOpenDevice(iface, camera.c_str(), 4, &opened));
    const auto askStatus = [this](auto... out) {
        return gentl.IFGetDeviceInfo(iface, camera.c_str(), 5, out...);
    };
    EXPECT_EQ(Ask(askStatus), NumberInfo(5, int32_t{3}));
    OptivoSim_Release();
    EXPECT_OK(closing->Finish());
    device = remote = stream = nullptr;
    EXPECT_EQ(Ask(askStatus), NumberInfo(5, int32_t{1}));
    EXPECT_OK(gentl.IFOpenDevice(iface, camera.c_str(), 4, &device));
}

} // namespace
