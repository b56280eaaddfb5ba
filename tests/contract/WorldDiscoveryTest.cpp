// Interfaces and cameras that come and go from one update of their list to the next.
#include "WorldFixtures.h"

namespace {

class WorldDiscoveryTest : public WorldTest {
protected:
    bool8_t UpdateDevices() {
        bool8_t changed = 77;
        EXPECT_OK(gentl.IFUpdateDeviceList(iface, &changed, LONG_WAIT));
        return changed;
    }
};

TEST_F(WorldDiscoveryTest, CamerasComeAndGoCyclically) {
    LoadCameras(R"({"name": "Always"}, {"name": "First", "discovery": [true, false, false]},
                   {"name": "Never", "discovery": [false]}, {"name": "Odd", "discovery": [true, false]})");
    Open("GEV::net0");
    for (int cycle = 0; cycle < 2; ++cycle) {
        EXPECT_EQ(UpdatedDevices(), (Names{"Always", "First", "Odd"}));
        EXPECT_EQ(UpdatedDevices(), Names{"Always"});
        EXPECT_EQ(UpdatedDevices(), (Names{"Always", "Odd"}));
        EXPECT_EQ(UpdatedDevices(), (Names{"Always", "First"}));
        EXPECT_EQ(UpdatedDevices(), (Names{"Always", "Odd"}));
        EXPECT_EQ(UpdatedDevices(), Names{"Always"});
    }
}

TEST_F(WorldDiscoveryTest, TheListTellsThatItChanged) {
    LoadCameras(R"({"name": "A", "discovery": [true, true, false]})");
    Open("GEV::net0");
    EXPECT_EQ(UpdateDevices(), 1);
    EXPECT_EQ(UpdateDevices(), 0);
    EXPECT_EQ(UpdateDevices(), 1);
    EXPECT_EQ(UpdateDevices(), 1);
}

TEST_F(WorldDiscoveryTest, InterfacesComeAndGoCyclically) {
    Load(R"({"interfaces": [{"name": "a", "discovery": [false, true]}, {"name": "b"},
                            {"name": "c", "discovery": [true, true, false]}]})");
    for (int cycle = 0; cycle < 2; ++cycle) {
        EXPECT_EQ(UpdatedInterfaces(), (Names{"GEV::b", "GEV::c"}));
        EXPECT_EQ(UpdatedInterfaces(), (Names{"GEV::a", "GEV::b", "GEV::c"}));
        EXPECT_EQ(UpdatedInterfaces(), Names{"GEV::b"});
        EXPECT_EQ(UpdatedInterfaces(), (Names{"GEV::a", "GEV::b", "GEV::c"}));
        EXPECT_EQ(UpdatedInterfaces(), (Names{"GEV::b", "GEV::c"}));
        EXPECT_EQ(UpdatedInterfaces(), (Names{"GEV::a", "GEV::b"}));
    }
}

TEST_F(WorldDiscoveryTest, ANewWorldBeginsAnew) {
    const std::string world =
        R"({"interfaces": [{"name": "a", "discovery": [true, false],
                            "cameras": [{"name": "A", "discovery": [true, false]}]}]})";
    for (int round = 0; round < 3; ++round) {
        Load(world);
        EXPECT_EQ(DevicesOf("GEV::a"), Names{"A"});
    }
}

TEST_F(WorldDiscoveryTest, EveryInterfaceCountsItsOwnUpdates) {
    Load(R"({"interfaces": [{"name": "a", "cameras": [{"name": "A", "discovery": [true, false]}]},
                            {"name": "b", "cameras": [{"name": "B", "discovery": [true, false]}]}]})");
    EXPECT_EQ(DevicesOf("GEV::a"), Names{"A"});
    EXPECT_EQ(DevicesOf("GEV::a"), Names());
    EXPECT_EQ(DevicesOf("GEV::b"), Names{"B"});
}

TEST_F(WorldDiscoveryTest, ACameraThatIsNotFoundStaysOpen) {
    LoadCameras(R"({"name": "A", "discovery": [true, false]})");
    Open("GEV::net0");
    EXPECT_EQ(UpdatedDevices(), Names{"A"});
    ASSERT_NO_FATAL_FAILURE(OpenDevice());
    EXPECT_EQ(UpdatedDevices(), Names());
    uint32_t width = 0;
    size_t size = sizeof width;
    EXPECT_OK(gentl.GCReadPort(remote, 0x400, &width, &size));
    EXPECT_EQ(width, 640U);
}

} // namespace
