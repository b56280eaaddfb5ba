#include "Fixtures.h"
#include "GuardedCalls.h"

#include <memory>

namespace {

TEST(FreshModuleTest, HasNoErrorToReport) {
    const auto gentl = Producer::LoadCopy();
    GC_ERROR code = 7;
    char text[8] = "before";
    size_t size = sizeof text;
    EXPECT_EQ(gentl->GCGetLastError(&code, text, &size), -1008);
    EXPECT_EQ(code, 7);
    EXPECT_STREQ(text, "before");
    EXPECT_EQ(size, sizeof text);
    // That nothing is recorded counts before the missing size does.
    EXPECT_EQ(gentl->GCGetLastError(nullptr, nullptr, nullptr), -1008);
}

TEST(FreshModuleTest, AskingForTheErrorRecordsNone) {
    const auto gentl = Producer::LoadCopy();
    size_t size = 0;
    EXPECT_EQ(gentl->GCGetLastError(nullptr, nullptr, &size), -1008);
    EXPECT_EQ(gentl->GCGetLastError(nullptr, nullptr, &size), -1008);
    EXPECT_EQ(size, 0U);
}

TEST(FreshModuleTest, SuccessRecordsNoError) {
    const auto gentl = Producer::LoadCopy();
    EXPECT_EQ(gentl->GCInitLib(), 0);
    size_t size = 0;
    EXPECT_EQ(gentl->GCGetInfo(1, nullptr, nullptr, &size), 0);
    EXPECT_EQ(gentl->GCCloseLib(), 0);
    EXPECT_EQ(gentl->GCGetLastError(nullptr, nullptr, &size), -1008);
}

TEST(FreshModuleTest, UnrecordedFailureLeavesNoError) {
    const auto gentl = Producer::LoadCopy();
    EXPECT_EQ(gentl->GCInitLib(), 0);
    size_t size = 0;
    EXPECT_EQ(gentl->DevClose(nullptr), -1006);
    EXPECT_EQ(gentl->GCGetLastError(nullptr, nullptr, &size), -1008);
    EXPECT_EQ(gentl->GCCloseLib(), 0);
}

TEST(FreshModuleTest, FirstErrorIsRecorded) {
    const auto gentl = Producer::LoadCopy();
    TL_HANDLE tl = nullptr;
    EXPECT_EQ(gentl->TLOpen(&tl), -1002);
    EXPECT_EQ(LastError(*gentl), (ErrorRecord{-1002, "GCInitLib was not called."}));
}

TEST(FreshModuleTest, MayBeClosedBeforeItIsInitialised) {
    const auto gentl = Producer::LoadCopy();
    EXPECT_EQ(gentl->GCCloseLib(), 0);
    EXPECT_EQ(gentl->GCCloseLib(), 0);
    size_t size = 0;
    EXPECT_EQ(gentl->GCGetInfo(1, nullptr, nullptr, &size), -1002);
    EXPECT_EQ(gentl->GCInitLib(), 0);
    EXPECT_EQ(gentl->GCGetInfo(1, nullptr, nullptr, &size), 0);
    EXPECT_EQ(gentl->GCCloseLib(), 0);
}

// Each function is the first that fails in a module of its own.
TEST(FreshModuleTest, EveryGuardedFunctionRefusesBeforeGCInitLib) {
    for (const GuardedCall& guarded : GuardedCalls()) {
        SCOPED_TRACE(guarded.name);
        const auto gentl = Producer::LoadCopy();
        EXPECT_EQ(guarded.call(*gentl), -1002);
        EXPECT_EQ(LastError(*gentl), (ErrorRecord{-1002, "GCInitLib was not called."}));
    }
}

TEST(FreshModuleTest, TwoModulesShareNoState) {
    const auto first = Producer::LoadCopy();
    const auto second = Producer::LoadCopy();
    EXPECT_EQ(first->GCInitLib(), 0);
    size_t size = 0;
    EXPECT_EQ(first->GCGetInfo(1, nullptr, nullptr, &size), 0);
    EXPECT_EQ(second->GCGetInfo(1, nullptr, nullptr, &size), -1002);
    EXPECT_EQ(first->GCGetLastError(nullptr, nullptr, &size), -1008);
    EXPECT_EQ(first->GCCloseLib(), 0);
}

TEST(FreshModuleTest, NamesItselfByItsFile) {
    const auto gentl = Producer::LoadCopy();
    EXPECT_EQ(gentl->GCInitLib(), 0);
    const size_t separator = gentl->Path().find_last_of("/\\");
    const Info id = Ask([&](auto... out) { return gentl->GCGetInfo(0, out...); });
    EXPECT_EQ(id, TextInfo(gentl->Path().substr(separator + 1)));
    EXPECT_EQ(gentl->GCCloseLib(), 0);
}

TEST(FreshModuleTest, CanBeUnloadedAndLoadedAgain) {
    for (int round = 0; round < 3; ++round) {
        const auto gentl = Producer::LoadCopy();
        size_t size = 0;
        EXPECT_EQ(gentl->GCGetLastError(nullptr, nullptr, &size), -1008);
        EXPECT_EQ(gentl->GCInitLib(), 0);
        TL_HANDLE tl = nullptr;
        EXPECT_EQ(gentl->TLOpen(&tl), 0);
        EXPECT_EQ(gentl->TLGetInfo(nullptr, 1, nullptr, nullptr, &size), -1006);
        EXPECT_EQ(gentl->TLClose(tl), 0);
        EXPECT_EQ(gentl->GCCloseLib(), 0);
    }
}

} // namespace
