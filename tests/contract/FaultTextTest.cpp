// What the module answers when the camera library's texts are empty, or are no texts.
#include "CameraSteering.h"
#include "WorldFixtures.h"

namespace {

// As many bytes as the library writes into a buffer of that size, without the zero behind them.
std::string NoText(size_t capacity) {
    std::string bytes;
    for (size_t i = 0; i + 1 < capacity; ++i) {
        const size_t place = i % 159;
        bytes += static_cast<char>(place < 128 ? 128 + place : place - 127);
    }
    return bytes;
}

class FaultTextTest : public WorldTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(WorldTest::SetUp());
        LoadCameras(R"({"userDefinedName": "Left", "custom14": "A", "custom15": "B"})");
    }

    static void Spoil(OptivoOperation operation, OptivoFaultKind kind,
                      uint64_t selector = OPTIVO_ANY_SELECTOR) {
        Steering::Add({.operation = operation, .kind = kind, .selector = selector});
    }

    // The info commands of a device that answer texts, with the library's key of each.
    const std::vector<std::pair<uint64_t, DEVICE_INFO_CMD>> deviceTexts = {
        {3, 1}, {4, 2}, {13, 3}, {16, 6}, {7, 7}, {0, 8}, {15, 1003}, {14, 1004}};
};

TEST_F(FaultTextTest, EmptyNameOfAnInterface) {
    Spoil(OPTIVO_SYSTEM_GET_INTERFACE_NAME, OPTIVO_FAULT_EMPTY_TEXT);
    EXPECT_EQ(UpdatedInterfaces(), Names{"::"});
}

TEST_F(FaultTextTest, EmptyPrefixOfAnInterface) {
    Spoil(OPTIVO_INTERFACE_READ_PORT, OPTIVO_FAULT_EMPTY_TEXT, 2);
    EXPECT_EQ(UpdatedInterfaces(), Names{"::net0"});
}

TEST_F(FaultTextTest, EmptyNameOfADevice) {
    Spoil(OPTIVO_INTERFACE_GET_DEVICE_NAME, OPTIVO_FAULT_EMPTY_TEXT);
    EXPECT_EQ(DevicesOf("GEV::net0"), Names{""});
}

TEST_F(FaultTextTest, EmptyTextsOfADevice) {
    for (const auto& [key, command] : deviceTexts) {
        SCOPED_TRACE(key);
        Spoil(OPTIVO_DEVICE_GET_INFO, OPTIVO_FAULT_EMPTY_TEXT, key);
        Open("GEV::net0");
        ASSERT_EQ(UpdatedDevices(), Names{LEFT});
        EXPECT_EQ(DeviceInfo(LEFT, command), TextInfo(""));
        CloseInterface();
        OptivoSim_ClearFaults();
    }
}

TEST_F(FaultTextTest, EmptyUrlOfADevice) {
    Open("GEV::net0");
    ASSERT_EQ(UpdatedDevices(), Names{LEFT});
    ASSERT_NO_FATAL_FAILURE(OpenDevice());
    Spoil(OPTIVO_DEVICE_GET_INFO, OPTIVO_FAULT_EMPTY_TEXT, 8);
    EXPECT_EQ(Ask([&](auto... out) { return gentl.GCGetPortURLInfo(remote, 0, 0, out...); }),
              TextInfo(""));
}

TEST_F(FaultTextTest, NameOfAnInterfaceThatIsNoText) {
    Spoil(OPTIVO_SYSTEM_GET_INTERFACE_NAME, OPTIVO_FAULT_NOT_TEXT);
    EXPECT_EQ(UpdatedInterfaces(), Names{"::" + NoText(2048)});
}

TEST_F(FaultTextTest, NameOfADeviceThatIsNoText) {
    Spoil(OPTIVO_INTERFACE_GET_DEVICE_NAME, OPTIVO_FAULT_NOT_TEXT);
    const std::string name = NoText(2048);
    EXPECT_EQ(DevicesOf("GEV::net0"), Names{name});
    Open("GEV::net0");
    ASSERT_OK(gentl.IFUpdateDeviceList(iface, nullptr, LONG_WAIT));
    EXPECT_FAILS(-1001, "Unable to open device " + name,
                 gentl.IFOpenDevice(iface, name.c_str(), 4, &device));
}

TEST_F(FaultTextTest, TextsOfADeviceThatAreNone) {
    for (const auto& [key, command] : deviceTexts) {
        SCOPED_TRACE(key);
        Spoil(OPTIVO_DEVICE_GET_INFO, OPTIVO_FAULT_NOT_TEXT, key);
        Open("GEV::net0");
        ASSERT_EQ(UpdatedDevices(), Names{LEFT});
        EXPECT_EQ(DeviceInfo(LEFT, command), TextInfo(NoText(512)));
        CloseInterface();
        OptivoSim_ClearFaults();
    }
}

TEST_F(FaultTextTest, UrlOfADeviceThatIsNoText) {
    Open("GEV::net0");
    ASSERT_EQ(UpdatedDevices(), Names{LEFT});
    ASSERT_NO_FATAL_FAILURE(OpenDevice());
    Spoil(OPTIVO_DEVICE_GET_INFO, OPTIVO_FAULT_NOT_TEXT, 8);
    EXPECT_EQ(Ask([&](auto... out) { return gentl.GCGetPortURLInfo(remote, 0, 0, out...); }),
              TextInfo(NoText(512)));
}

} // namespace
