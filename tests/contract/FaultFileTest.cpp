// Faults that the text of a world names.
#include "FaultNames.h"
#include "WorldFixtures.h"

namespace {

constexpr char CAMERA[] = R"("interfaces": [{"cameras": [{"name": "Eye"}, {"name": "Ear"}]}])";

class FaultFileTest : public WorldTest {
protected:
    static void LoadFaults(const std::string& faults) {
        Load(std::string("{") + CAMERA + R"(, "faults": [)" + faults + "]}");
    }
    // Interface net0 is open, and its cameras are listed.
    void ListCameras() {
        Open("GEV::net0");
        ASSERT_OK(gentl.IFUpdateDeviceList(iface, nullptr, LONG_WAIT));
    }
    int32_t OpenAndClose(const char* name) {
        DEV_HANDLE opened = nullptr;
        const int32_t answer = gentl.IFOpenDevice(iface, name, 4, &opened);
        if (answer == 0) {
            EXPECT_OK(gentl.DevClose(opened));
        }
        return answer;
    }
};

TEST_F(FaultFileTest, AllOperationsHaveNames) {
    EXPECT_EQ(OPERATION_NAMES.size(), size_t{OPTIVO_NUM_OPERATIONS});
    for (const char* name : OPERATION_NAMES) {
        LoadFaults(std::string(R"({"operation": ")") + name + "\"}");
    }
}

TEST_F(FaultFileTest, AllKindsHaveNames) {
    for (const char* name : FAULT_KIND_NAMES) {
        LoadFaults(std::string(R"({"operation": "GetSystem", "kind": ")") + name + "\"}");
    }
}

TEST_F(FaultFileTest, WithoutAKindTheCallFails) {
    LoadFaults(R"({"operation": "InterfaceOpenDevice"})");
    ListCameras();
    EXPECT_FAILS(-1001, "Unable to open device Eye", OpenAndClose("Eye"));
    EXPECT_FAILS(-1001, "Unable to open device Eye", OpenAndClose("Eye"));
}

TEST_F(FaultFileTest, ResultSkipAndCountCount) {
    LoadFaults(R"({"operation": "InterfaceOpenDevice", "result": -1009, "skip": 1, "count": 2})");
    ListCameras();
    EXPECT_EQ(OpenAndClose("Eye"), 0);
    EXPECT_EQ(OpenAndClose("Eye"), -1009);
    EXPECT_EQ(OpenAndClose("Ear"), -1009);
    EXPECT_EQ(OpenAndClose("Eye"), 0);
}

TEST_F(FaultFileTest, TheSelectorCounts) {
    LoadFaults(R"({"operation": "DeviceGetInfo", "kind": "emptyText", "selector": 3})");
    ListCameras();
    EXPECT_EQ(DeviceInfo("Eye", 1), TextInfo(""));
    EXPECT_EQ(DeviceInfo("Eye", 2), TextInfo("G640M"));
}

TEST_F(FaultFileTest, TheObjectCounts) {
    LoadFaults(R"({"operation": "InterfaceOpenDevice", "result": -1005, "object": "Ear"})");
    ListCameras();
    EXPECT_EQ(OpenAndClose("Eye"), 0);
    EXPECT_FAILS(-1001, "already opened device.(Ear).", OpenAndClose("Ear"));
}

TEST_F(FaultFileTest, ProbabilityAndSeedCount) {
    const auto failures = [&](const std::string& chance) {
        LoadFaults(R"({"operation": "InterfaceOpenDevice", )" + chance + "}");
        ListCameras();
        std::string found;
        for (int i = 0; i < 24; ++i) {
            found += OpenAndClose("Eye") == 0 ? '0' : '1';
        }
        CloseInterface();
        return found;
    };
    EXPECT_EQ(failures(R"("probability": 1)"), std::string(24, '1'));
    EXPECT_EQ(failures(R"("probability": 0.5, "seed": 1)"), "111110110010011110111011");
    EXPECT_EQ(failures(R"("probability": 0.5, "seed": 18446744073709551615)"),
              "101000111100101110111011");
}

TEST_F(FaultFileTest, TheFirstThatAppliesDecides) {
    LoadFaults(R"({"operation": "InterfaceOpenDevice", "result": -1009, "count": 1},
                  {"operation": "InterfaceOpenDevice", "result": -1001, "count": 1})");
    ListCameras();
    EXPECT_EQ(OpenAndClose("Eye"), -1009);
    EXPECT_EQ(OpenAndClose("Eye"), -1001);
    EXPECT_EQ(OpenAndClose("Eye"), 0);
}

} // namespace
