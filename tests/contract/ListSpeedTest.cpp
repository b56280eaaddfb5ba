// Updates of long lists take time in proportion to their length.
#include "CameraSteering.h"
#include "Fixtures.h"

#include <algorithm>

namespace {

using Seconds = std::chrono::duration<double>;

constexpr uint32_t FEW = 500;
constexpr uint32_t MANY = 2000;
// Four times as much to do; with the square of the length it would be sixteen.
constexpr double MOST = 10;

Seconds TimeOf(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::steady_clock::now() - start;
}

// Times count the shortest of several runs, which the machine's other work disturbs least.
class ListSpeedTest : public SystemTest {
protected:
    // Nothing is described, as looking names up in the simulated world takes time of its own.
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(SystemTest::SetUp());
        Steering::Add({OPTIVO_SYSTEM_GET_INTERFACE, OPTIVO_FAULT_NULL_OBJECT});
        Steering::Add({OPTIVO_INTERFACE_GET_DEVICE, OPTIVO_FAULT_NULL_OBJECT});
        OptivoSim_RemoveAll();
    }

    // grow adds entries to the world up to a number; work updates the list and expects that number.
    static void ExpectLinear(const std::function<void(uint32_t first, uint32_t last)>& grow,
                             const std::function<void(uint32_t count)>& work) {
        grow(0, FEW);
        Seconds few = Seconds::max();
        for (int run = 0; run < 5; ++run) {
            few = std::min(few, TimeOf([&] { work(FEW); }));
        }
        grow(FEW, MANY);
        Seconds many = Seconds::max();
        for (int run = 0; run < 20 && many / few >= MOST; ++run) {
            many = std::min(many, TimeOf([&] { work(MANY); }));
        }
        EXPECT_LT(many / few, MOST) << few.count() << " s and " << many.count() << " s";
    }

    void ExpectLinearDevices(const std::function<std::string(uint32_t)>& nameOf) {
        ASSERT_EQ(OptivoSim_AddInterface("net", "", "GEV"), 1);
        ExpectLinear(
            [&](uint32_t first, uint32_t last) {
                for (uint32_t i = first; i < last; ++i) {
                    ASSERT_EQ(OptivoSim_AddCameraTwin("net", nameOf(i).c_str(), "1"), 1);
                }
            },
            [&](uint32_t count) { FindDevicesTwice(count); });
    }

    // Once when all are new, once when all are known.
    void FindDevicesTwice(uint32_t count) {
        ASSERT_OK(gentl.TLOpenInterface(tl, "::net", &iface));
        ASSERT_OK(gentl.IFUpdateDeviceList(iface, nullptr, 0));
        ASSERT_OK(gentl.IFUpdateDeviceList(iface, nullptr, 0));
        ASSERT_EQ(NumDevices(), count);
        char id[64] = {};
        for (uint32_t i = 0; i < count; ++i) {
            size_t size = sizeof id;
            ASSERT_EQ(gentl.IFGetDeviceID(iface, i, id, &size), 0);
        }
        CloseInterface();
    }
};

// Names in no order.
std::string NameOf(uint32_t index) {
    return std::to_string(7919 * index % 100003);
}

TEST_F(ListSpeedTest, OfDevices) {
    ExpectLinearDevices(NameOf);
}

TEST_F(ListSpeedTest, OfDevicesWithOneId) {
    ExpectLinearDevices([](uint32_t) { return "Twin"; });
}

TEST_F(ListSpeedTest, OfInterfaces) {
    ExpectLinear(
        [&](uint32_t first, uint32_t last) {
            for (uint32_t i = first; i < last; ++i) {
                ASSERT_EQ(OptivoSim_AddInterface(NameOf(i).c_str(), "GEV", "GEV"), 1);
            }
        },
        [&](uint32_t count) {
            ASSERT_OK(gentl.TLUpdateInterfaceList(tl, nullptr, 0));
            ASSERT_EQ(NumInterfaces(), count);
        });
}

} // namespace
