// The library itself: before and after GCInitLib, what it says of itself, and the last error.
#include "Calls.h"
#include "ExportList.h"
#include "StandardFixtures.h"

#include <filesystem>
#include <thread>

namespace {

class StandardLibraryTest : public LibraryTest {
protected:
    InfoCall LibraryInfo(TL_INFO_CMD command) {
        return [=, this](auto... out) { return gentl.GCGetInfo(command, out...); };
    }
};

TEST_F(StandardLibraryTest, IsInitialisedOnce) {
    EXPECT_REFUSES(-1004, gentl.GCInitLib());
}

TEST_F(StandardLibraryTest, IsInitialisedAgainAfterItWasClosed) {
    ASSERT_OK(gentl.GCCloseLib());
    EXPECT_OK(gentl.GCInitLib());
    OpenSystem();
}

TEST_F(StandardLibraryTest, IsInitialisedByOneOfManyThreads) {
    ASSERT_OK(gentl.GCCloseLib());
    std::vector<std::future<int32_t>> answers;
    for (int i = 0; i < 8; ++i) {
        answers.push_back(std::async(std::launch::async, [this] { return gentl.GCInitLib(); }));
    }
    int numInitialised = 0;
    for (auto& future : answers) {
        const int32_t answer = future.get();
        EXPECT_TRUE(answer == 0 || answer == -1004) << answer;
        numInitialised += answer == 0 ? 1 : 0;
    }
    EXPECT_EQ(numInitialised, 1);
}

TEST_F(StandardLibraryTest, CannotBeClosedTwice) {
    ASSERT_OK(gentl.GCCloseLib());
    EXPECT_REFUSES(-1002, gentl.GCCloseLib());
}

TEST_F(StandardLibraryTest, NeedsInitialisingForEveryFunction) {
    ASSERT_OK(gentl.GCCloseLib());
    std::set<std::string> names = {"GCInitLib", "GCCloseLib", "GCGetLastError", "GCGetInfo",
                                   "TLOpen"};
    for (const Call& call : AllCalls()) {
        SCOPED_TRACE(call.name);
        names.insert(call.name);
        EXPECT_REFUSES(-1002, call.make(gentl, this, this));
    }
    EXPECT_EQ(names, ExportedFunctions());
    char text[64];
    size_t size = sizeof text;
    EXPECT_REFUSES(-1002, gentl.GCGetInfo(0, nullptr, text, &size));
    EXPECT_REFUSES(-1002, gentl.TLOpen(&tl));
    EXPECT_EQ(tl, nullptr);
}

TEST_F(StandardLibraryTest, NeedsInitialisingWhenItIsNew) {
    const auto fresh = Producer::LoadCopy();
    for (const Call& call : AllCalls()) {
        SCOPED_TRACE(call.name);
        EXPECT_CODE(-1002, call.make(*fresh, this, this));
    }
    EXPECT_CODE(-1002, fresh->GCCloseLib());
    EXPECT_EQ(LastError(*fresh).code, -1002);
}

TEST_F(StandardLibraryTest, TellsItsOwnFile) {
    const std::string path = gentl.Path();
    ExpectAnswer(LibraryInfo(0), TextInfo("NorvelTL40-standard.cti"));
    ExpectAnswer(LibraryInfo(5), TextInfo("NorvelTL40-standard.cti"));
    const Info told = Ask(LibraryInfo(6));
    EXPECT_EQ(told.type, 1);
    EXPECT_TRUE(std::filesystem::equivalent(told.Text(), path)) << told.Text();
}

TEST_F(StandardLibraryTest, TellsItsMaker) {
    ExpectAnswer(LibraryInfo(1), TextInfo("NORVEL"));
    ExpectAnswer(LibraryInfo(2), TextInfo("NorvelTL"));
    ExpectAnswer(LibraryInfo(4), TextInfo("Mixed"));
}

TEST_F(StandardLibraryTest, TellsTheVersionOfTheStandard) {
    ExpectAnswer(LibraryInfo(9), NumberInfo<uint32_t>(6, 1));
    ExpectAnswer(LibraryInfo(10), NumberInfo<uint32_t>(6, 5));
}

TEST_F(StandardLibraryTest, TellsItsTextEncoding) {
    ExpectAnswer(LibraryInfo(8), NumberInfo<int32_t>(5, 0));
}

TEST_F(StandardLibraryTest, RefusesAnUnknownCommand) {
    for (const TL_INFO_CMD command : {-1, 11, 999, 1000}) {
        EXPECT_EQ(Ask(LibraryInfo(command)).code, -1003) << command;
    }
}

TEST_F(StandardLibraryTest, KeepsTheLastErrorOfEachThread) {
    EXPECT_CODE(-1009, gentl.TLOpen(nullptr));
    ErrorRecord others;
    ErrorRecord before;
    std::thread other([&] {
        before = LastError();
        gentl.GCGetInfo(99, nullptr, nullptr, nullptr);
        others = LastError();
    });
    other.join();
    EXPECT_EQ(before.code, 0) << "a thread that no call has failed on";
    EXPECT_EQ(others, (ErrorRecord{-1003, "The command is not implemented"}));
    EXPECT_LAST_ERROR(-1009, "A pointer is null");
}

TEST_F(StandardLibraryTest, TellsNoErrorOnAThreadWithoutOne) {
    int32_t answer = 0;
    std::thread([&] {
        size_t size = 64;
        char text[64];
        GC_ERROR code = 0;
        answer = gentl.GCGetLastError(&code, text, &size);
    }).join();
    EXPECT_CODE(-1008, answer);
}

TEST_F(StandardLibraryTest, KeepsTheLastErrorWhenACallSucceeds) {
    EXPECT_CODE(-1009, gentl.TLOpen(nullptr));
    OpenSystem();
    EXPECT_LAST_ERROR(-1009, "A pointer is null");
}

TEST_F(StandardLibraryTest, TellsTheSizeThatTheLastErrorNeeds) {
    EXPECT_CODE(-1009, gentl.TLOpen(nullptr));
    GC_ERROR code = 0;
    size_t size = 0;
    EXPECT_OK(gentl.GCGetLastError(&code, nullptr, &size));
    EXPECT_EQ(size, sizeof "A pointer is null");
    char text[64] = "#";
    size = sizeof "A pointer is null" - 1;
    EXPECT_CODE(-1016, gentl.GCGetLastError(&code, text, &size));
    EXPECT_EQ(size, sizeof "A pointer is null");
    EXPECT_STREQ(text, "#");
    EXPECT_OK(gentl.GCGetLastError(&code, text, &size));
    EXPECT_EQ(code, -1009);
    EXPECT_STREQ(text, "A pointer is null");
    EXPECT_CODE(-1009, gentl.GCGetLastError(&code, text, nullptr));
}

TEST_F(StandardLibraryTest, ClosesWhatIsOpen) {
    OpenSystem();
    OpenInterface();
    OpenDevice();
    OpenStream();
    EXPECT_EQ(OptivoSim_NumAlive(OPTIVO_OBJECT_STREAM), 1U);
    ASSERT_OK(gentl.GCCloseLib());
    EXPECT_EQ(OptivoSim_NumAlive(OPTIVO_OBJECT_STREAM), 0U);
    EXPECT_EQ(OptivoSim_NumAlive(OPTIVO_OBJECT_DEVICE), 0U);
    tl = iface = device = remote = stream = nullptr;
}

} // namespace
