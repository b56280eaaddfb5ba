// Worlds that a text describes, as consumers find them.
#include "CameraSteering.h"
#include "WorldFixtures.h"

namespace {

class WorldFileTest : public WorldTest {
protected:
    template <typename Value>
    Value Register(uint64_t address) {
        Value value{};
        size_t size = sizeof value;
        EXPECT_OK(gentl.GCReadPort(remote, address, &value, &size));
        return value;
    }
};

TEST_F(WorldFileTest, AnEmptyWorldHasNothing) {
    Load("{}");
    EXPECT_EQ(UpdatedInterfaces(), Names());
    Load(R"({"interfaces": [], "faults": []})");
    EXPECT_EQ(UpdatedInterfaces(), Names());
}

TEST_F(WorldFileTest, HasTheInterfacesOfTheText) {
    Load(R"({"interfaces": [
        {"name": "a", "prefix": "p", "tlType": "CXP"}, {"name": "b", "tlType": "U3V"}, {}]})");
    EXPECT_EQ(UpdatedInterfaces(), (Names{"P::a", "U3V::b", "GEV::net2"}));
    const auto type = [&](const char* id) {
        return Ask([&](auto... out) { return gentl.TLGetInterfaceInfo(tl, id, 2, out...); });
    };
    EXPECT_EQ(type("P::a"), TextInfo("CXP"));
    EXPECT_EQ(type("U3V::b"), TextInfo("U3V"));
    EXPECT_EQ(type("GEV::net2"), TextInfo("GEV"));
}

TEST_F(WorldFileTest, HasTheCamerasOfTheText) {
    LoadCameras(R"({
        "name": "Eye", "vendor": "Maker", "model": "M1", "version": "3.4", "serialNumber": "S7",
        "userDefinedName": "Door", "tlType": "CL", "custom14": "10.0.0.1", "custom15": "AA-BB",
        "status": 4, "numStreams": 3})");
    Open("GEV::net0");
    ASSERT_EQ(UpdatedDevices(), Names{"Eye"});
    EXPECT_EQ(DeviceInfo("Eye", 1), TextInfo("Maker"));
    EXPECT_EQ(DeviceInfo("Eye", 2), TextInfo("M1"));
    EXPECT_EQ(DeviceInfo("Eye", 3), TextInfo("CL"));
    EXPECT_EQ(DeviceInfo("Eye", 5), NumberInfo(5, int32_t{4}));
    EXPECT_EQ(DeviceInfo("Eye", 6), TextInfo("Door"));
    EXPECT_EQ(DeviceInfo("Eye", 7), TextInfo("S7"));
    EXPECT_EQ(DeviceInfo("Eye", 8), TextInfo("3.4"));
    EXPECT_EQ(DeviceInfo("Eye", 1003), TextInfo("AA-BB"));
    EXPECT_EQ(DeviceInfo("Eye", 1004), TextInfo("10.0.0.1"));
    ASSERT_NO_FATAL_FAILURE(OpenDevice());
    uint32_t numStreams = 0;
    EXPECT_OK(gentl.DevGetNumDataStreams(device, &numStreams));
    EXPECT_EQ(numStreams, 3U);
}

TEST_F(WorldFileTest, WhatIsMissingHasDefaults) {
    Load(R"({"interfaces": [{"tlType": "U3V", "cameras": [{}, {}]}]})");
    Open("U3V::net0");
    const std::string first = "Norvel-G640M-10001";
    ASSERT_EQ(UpdatedDevices(), (Names{first, "Norvel-G640M-10002"}));
    EXPECT_EQ(DeviceInfo(first, 1), TextInfo("Norvel"));
    EXPECT_EQ(DeviceInfo(first, 2), TextInfo("G640M"));
    EXPECT_EQ(DeviceInfo(first, 3), TextInfo("U3V"));
    EXPECT_EQ(DeviceInfo(first, 5), NumberInfo(5, int32_t{1}));
    EXPECT_EQ(DeviceInfo(first, 6), TextInfo(""));
    EXPECT_EQ(DeviceInfo(first, 7), TextInfo("10001"));
    EXPECT_EQ(DeviceInfo(first, 8), TextInfo("1.0.0"));
    ASSERT_NO_FATAL_FAILURE(OpenDevice());
    EXPECT_EQ(Register<uint32_t>(0x400), 640U);
    EXPECT_EQ(Register<uint32_t>(0x404), 480U);
    EXPECT_EQ(Register<uint32_t>(0x408), 0x01080001U);
    EXPECT_EQ(Register<double>(0x508), 30);
}

TEST_F(WorldFileTest, CamerasHaveTheSizeAndRateOfTheText) {
    LoadCameras(R"({"pixelFormat": "RGB8", "width": 100, "height": 50, "frameRate": 12.5})");
    Open("GEV::net0");
    ASSERT_EQ(UpdatedDevices().size(), 1U);
    ASSERT_NO_FATAL_FAILURE(OpenDevice());
    EXPECT_EQ(Register<uint32_t>(0x400), 100U);
    EXPECT_EQ(Register<uint32_t>(0x404), 50U);
    EXPECT_EQ(Register<uint32_t>(0x408), 0x02180014U);
    EXPECT_EQ(Register<uint64_t>(0x410), 15000U);
    EXPECT_EQ(Register<double>(0x508), 12.5);
}

TEST_F(WorldFileTest, NamesMayHaveAnyCharacters) {
    LoadCameras(R"({"name": "\u00C4 \"/\\ \n\uD83D\uDE00", "serialNumber": ""})");
    EXPECT_EQ(DevicesOf("GEV::net0"), Names{"\xC3\x84 \"/\\ \n\xF0\x9F\x98\x80"});
}

TEST_F(WorldFileTest, AWorldReplacesTheOneBefore) {
    LoadCameras(R"({"name": "One"})");
    EXPECT_EQ(DevicesOf("GEV::net0"), Names{"One"});
    LoadCameras(R"({"name": "Two"})");
    EXPECT_EQ(OptivoSim_RemoveCamera("One"), 0);
    EXPECT_EQ(DevicesOf("GEV::net0"), Names{"Two"});
}

TEST_F(WorldFileTest, AResetBringsTheDefaultWorldBack) {
    LoadCameras("{}");
    OptivoSim_Reset();
    EXPECT_EQ(UpdatedInterfaces(), (Names{"GEV::eth0", "U3V::usb0"}));
    EXPECT_EQ(DevicesOf("GEV::eth0"), (Names{"Norvel-G640M-10001", "Norvel-G1300C-10002"}));
    EXPECT_EQ(DevicesOf("U3V::usb0"), Names{"Norvel-U320C-20001"});
}

TEST_F(WorldFileTest, AWorldReplacesFaultsAndEndsHangs) {
    Steering::Add({OPTIVO_GET_SYSTEM});
    Steering::Add({OPTIVO_SYSTEM_UPDATE_INTERFACE_LIST, OPTIVO_FAULT_HANG});
    std::thread hanging([&] { EXPECT_OK(gentl.TLUpdateInterfaceList(tl, nullptr, LONG_WAIT)); });
    EXPECT_TRUE(
        Eventually([] { return OptivoSim_NumCalls(OPTIVO_SYSTEM_UPDATE_INTERFACE_LIST) == 1; }));
    Load("{}");
    hanging.join();
    CloseSystem();
    EXPECT_OK(gentl.TLOpen(&tl));
}

TEST_F(WorldFileTest, FaultsOfTheTextApplyAtOnce) {
    Load(R"({"faults": [{"operation": "SystemGetInterfaceName", "kind": "emptyText"}],
             "interfaces": [{"name": "eth0"}]})");
    EXPECT_EQ(UpdatedInterfaces(), Names{"::"});
}

TEST_F(WorldFileTest, SteeringReachesItsCameras) {
    LoadCameras(R"({"name": "One"}, {"name": "Two"})");
    EXPECT_EQ(OptivoSim_RemoveCamera("One"), 1);
    EXPECT_EQ(OptivoSim_AddCamera("net0", "Three", "3"), 1);
    EXPECT_EQ(OptivoSim_AddCamera("net0", "Two", "2"), 0);
    EXPECT_EQ(DevicesOf("GEV::net0"), (Names{"Two", "Three"}));
}

TEST_F(WorldFileTest, ASteeredTwinTakesTheRemovedCamerasPlace) {
    LoadCameras(R"({"name": "One", "userDefinedName": "First"}, {"name": "Other"})");
    ASSERT_EQ(OptivoSim_AddCameraTwin("net0", "One", "2"), 1);
    ASSERT_EQ(OptivoSim_AddCameraTwin("net0", "One", "3"), 1);
    Open("GEV::net0");
    const auto serialNumber = [&] {
        UpdatedDevices();
        return DeviceInfo("One", 7).Text();
    };
    EXPECT_EQ(serialNumber(), "10001");
    for (const char* const next : {"2", "3"}) {
        ASSERT_EQ(OptivoSim_RemoveCamera("One"), 1);
        // The module keeps what it knows of a device that it has listed.
        CloseInterface();
        CloseSystem();
        ASSERT_NO_FATAL_FAILURE(OpenSystem());
        Open("GEV::net0");
        EXPECT_EQ(serialNumber(), next);
    }
    EXPECT_EQ(OptivoSim_RemoveCamera("One"), 1);
    EXPECT_EQ(OptivoSim_RemoveCamera("One"), 0);
    EXPECT_EQ(UpdatedDevices(), Names{"Other"});
}

} // namespace
