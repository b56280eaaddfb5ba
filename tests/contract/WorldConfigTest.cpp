// The world that a fresh process begins with, as its environment tells it.
#include "ChildProcess.h"
#include "WorldFixtures.h"

#include "camlib/CameraLibrary.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

constexpr char VARIABLE[] = "OPTIVO_SIM_CONFIG";

// A test of this class runs once as the user's process, which writes a file, and once as the child
// that it starts to read it.
class WorldConfigTest : public testing::Test {
protected:
    using Check = std::function<void(const std::string& path)>;

    void ExpectInChild(const std::string& text, const Check& check) {
        if (!ChildRole().empty()) {
            RunCheck(check, ChildRole());
        }
        const auto path = std::filesystem::temp_directory_path() / FileName();
        std::ofstream(path, std::ios::binary) << text;
        ExpectInChildWith(path.string());
        std::filesystem::remove(path);
    }

    // The same with a file that is there already, or is not.
    static void ExpectInChildWith(const std::string& path) {
        SetVariable(VARIABLE, path);
        EXPECT_EQ(RunChild(path.empty() ? "none" : path), 0);
        SetVariable(VARIABLE, "");
    }

    // Ends the child before it would report its tests over those of the user's process.
    [[noreturn]] static void RunCheck(const Check& check, const std::string& path) {
        check(path);
        std::exit(testing::Test::HasFailure() ? 1 : 0);
    }

    static std::string FileName() {
        const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
        return "norveltl-world-" + std::to_string(now) + ".json";
    }

    static std::vector<std::string> InterfaceIds() {
        const Producer& gentl = TheProducer();
        TL_HANDLE tl = nullptr;
        EXPECT_OK(gentl.GCInitLib());
        EXPECT_OK(gentl.TLOpen(&tl));
        EXPECT_OK(gentl.TLUpdateInterfaceList(tl, nullptr, LONG_WAIT));
        std::vector<std::string> ids;
        uint32_t count = 0;
        EXPECT_OK(gentl.TLGetNumInterfaces(tl, &count));
        for (uint32_t i = 0; i < count; ++i) {
            ids.push_back(
                AskText([&](auto... out) { return gentl.TLGetInterfaceID(tl, i, out...); }).Text());
        }
        EXPECT_OK(gentl.TLClose(tl));
        EXPECT_OK(gentl.GCCloseLib());
        return ids;
    }

    static int32_t OpenAnswer() {
        const Producer& gentl = TheProducer();
        EXPECT_OK(gentl.GCInitLib());
        TL_HANDLE tl = nullptr;
        const int32_t answer = gentl.TLOpen(&tl);
        EXPECT_EQ(tl, nullptr);
        return answer;
    }

    // What the library's first use writes to standard error.
    static std::string FirstUse() {
        testing::internal::CaptureStderr();
        OptivoSim_NumDoubleCloses();
        std::string text = testing::internal::GetCapturedStderr();
        std::erase(text, '\r');
        return text;
    }

    static void ExpectRefused(const std::string& report) {
        EXPECT_EQ(FirstUse(), report);
        auto* system = reinterpret_cast<Optivo::ICamSystem*>(1);
        EXPECT_EQ(GetSystem(&system), -1009);
        EXPECT_EQ(system, nullptr);
        EXPECT_EQ(OpenAnswer(), -1001);
        EXPECT_EQ(LastError(), (ErrorRecord{-1001, "Unable to reach the camera library"}));
        EXPECT_EQ(OptivoSim_NumAlive(OPTIVO_OBJECT_SYSTEM), 0U);
        EXPECT_EQ(OptivoSim_RemoveCamera("Norvel-G640M-10001"), 0);
    }
};

using Ids = std::vector<std::string>;

TEST_F(WorldConfigTest, WithoutAVariableTheDefaultWorldIsThere) {
    if (!ChildRole().empty()) {
        RunCheck(
            [](const std::string&) {
                EXPECT_EQ(FirstUse(), "");
                EXPECT_EQ(InterfaceIds().size(), 2U);
            },
            "");
    }
    ExpectInChildWith("");
}

TEST_F(WorldConfigTest, TheFileIsReadAtTheFirstUse) {
    ExpectInChild(R"({"interfaces": [{"name": "configured"}]})", [](const std::string&) {
        EXPECT_EQ(FirstUse(), "");
        EXPECT_EQ(InterfaceIds(), Ids{"GEV::configured"});
    });
}

TEST_F(WorldConfigTest, ItsFaultsApplyAndComeBackWithAReset) {
    ExpectInChild(R"({"faults": [{"operation": "GetSystem", "result": -1005, "count": 1}]})",
                  [](const std::string&) {
                      EXPECT_NE(OpenAnswer(), 0);
                      EXPECT_EQ(InterfaceIds(), Ids());
                      OptivoSim_Reset();
                      EXPECT_NE(OpenAnswer(), 0);
                      EXPECT_EQ(InterfaceIds(), Ids());
                  });
}

TEST_F(WorldConfigTest, AResetMakesItAnew) {
    ExpectInChild(R"({"interfaces": [{"name": "configured"}]})", [](const std::string& path) {
        EXPECT_EQ(InterfaceIds(), Ids{"GEV::configured"});
        std::filesystem::remove(path); // it is read once
        OptivoSim_RemoveAll();
        EXPECT_EQ(InterfaceIds(), Ids());
        OptivoSim_Reset();
        EXPECT_EQ(InterfaceIds(), Ids{"GEV::configured"});
        EXPECT_EQ(OptivoSim_LoadWorld("{}", nullptr, 0), 1);
        OptivoSim_Reset();
        EXPECT_EQ(InterfaceIds(), Ids{"GEV::configured"});
    });
}

TEST_F(WorldConfigTest, AWrongValueIsReportedAndNoWorldUsed) {
    ExpectInChild("{\"interfaces\": [{\"cameras\": [{},\n  {\"frameRate\": \"fast\"}]}]}",
                  [](const std::string& path) {
                      ExpectRefused("Optivo40: " + path +
                                    ":2:17: /interfaces/0/cameras/1/frameRate must be a number "
                                    "from 0 to 10000\n");
                  });
}

TEST_F(WorldConfigTest, AWrongSyntaxIsReportedAndNoWorldUsed) {
    ExpectInChild("{\n\"interfaces\"\n}", [](const std::string& path) {
        ExpectRefused("Optivo40: " + path +
                      ":3:1: syntax error while parsing object separator - unexpected '}'; "
                      "expected ':'\n");
    });
}

TEST_F(WorldConfigTest, AMissingFileIsReportedAndNoWorldUsed) {
    if (!ChildRole().empty()) {
        RunCheck(
            [](const std::string& path) {
                ExpectRefused("Optivo40: " + path + ":1:1: the file cannot be read\n");
            },
            ChildRole());
    }
    ExpectInChildWith((std::filesystem::temp_directory_path() / FileName()).string());
}

TEST_F(WorldConfigTest, AFolderIsReportedAndNoWorldUsed) {
    if (!ChildRole().empty()) {
        RunCheck(
            [](const std::string& path) {
                ExpectRefused("Optivo40: " + path + ":1:1: the file cannot be read\n");
            },
            ChildRole());
    }
    ExpectInChildWith(std::filesystem::temp_directory_path().string());
}

TEST_F(WorldConfigTest, ATextThatIsLoadedMakesUpForAWrongFile) {
    ExpectInChild("", [](const std::string&) {
        EXPECT_NE(OpenAnswer(), 0);
        ASSERT_EQ(OptivoSim_LoadWorld(R"({"interfaces": [{"name": "loaded"}]})", nullptr, 0), 1);
        EXPECT_EQ(InterfaceIds(), Ids{"GEV::loaded"});
        OptivoSim_Reset();
        EXPECT_NE(OpenAnswer(), 0);
    });
}

} // namespace
