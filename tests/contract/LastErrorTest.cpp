#include "Fixtures.h"

#include <atomic>

namespace {

constexpr char TL_TEXT[] = " Invalid TL handle"; // 18 characters

class LastErrorTest : public LibraryTest {
protected:
    // Records -1006 with TL_TEXT.
    void Fail() {
        uint32_t count = 0;
        ASSERT_EQ(gentl.TLGetNumInterfaces(nullptr, &count), -1006);
    }
};

TEST_F(LastErrorTest, TellsCodeAndText) {
    Fail();
    GC_ERROR code = 0;
    char text[64] = {};
    size_t size = sizeof text;
    EXPECT_OK(gentl.GCGetLastError(&code, text, &size));
    EXPECT_EQ(code, -1006);
    EXPECT_STREQ(text, TL_TEXT);
    EXPECT_EQ(size, 19U);
}

TEST_F(LastErrorTest, NullBufferAsksForTheSize) {
    Fail();
    size_t size = 12345;
    EXPECT_OK(gentl.GCGetLastError(nullptr, nullptr, &size));
    EXPECT_EQ(size, 19U);
}

TEST_F(LastErrorTest, SizeZeroAsksForTheSize) {
    Fail();
    char text[64] = "before";
    size_t size = 0;
    EXPECT_OK(gentl.GCGetLastError(nullptr, text, &size));
    EXPECT_EQ(size, 19U);
    EXPECT_STREQ(text, "before");
}

TEST_F(LastErrorTest, ExactSizeIsEnough) {
    Fail();
    std::string text(19, '#');
    text += "guard";
    size_t size = 19;
    EXPECT_OK(gentl.GCGetLastError(nullptr, text.data(), &size));
    EXPECT_EQ(size, 19U);
    EXPECT_EQ(text, TL_TEXT + std::string(1, '\0') + "guard");
}

TEST_F(LastErrorTest, OneByteShortIsTooSmallAndChangesNothing) {
    Fail();
    char text[64] = "before";
    size_t size = 18;
    EXPECT_CODE(-1016, gentl.GCGetLastError(nullptr, text, &size));
    EXPECT_EQ(size, 18U);
    EXPECT_STREQ(text, "before");
    EXPECT_LAST_ERROR(-1006, TL_TEXT);
}

TEST_F(LastErrorTest, NullSizeIsRefusedAndNotRecorded) {
    Fail();
    GC_ERROR code = 0;
    char text[64] = "before";
    EXPECT_CODE(-1009, gentl.GCGetLastError(&code, text, nullptr));
    EXPECT_CODE(-1009, gentl.GCGetLastError(nullptr, nullptr, nullptr));
    EXPECT_STREQ(text, "before");
    EXPECT_LAST_ERROR(-1006, TL_TEXT);
}

TEST_F(LastErrorTest, NullCodeIsAllowed) {
    Fail();
    char text[64] = {};
    size_t size = sizeof text;
    EXPECT_OK(gentl.GCGetLastError(nullptr, text, &size));
    EXPECT_STREQ(text, TL_TEXT);
}

TEST_F(LastErrorTest, SurvivesSuccess) {
    Fail();
    OpenSystem();
    EXPECT_GT(NumInterfaces(), 0U);
    CloseSystem();
    EXPECT_LAST_ERROR(-1006, TL_TEXT);
}

TEST_F(LastErrorTest, SurvivesClosingAndInitialisingTheLibrary) {
    Fail();
    EXPECT_OK(gentl.GCCloseLib());
    EXPECT_LAST_ERROR(-1006, TL_TEXT);
    EXPECT_OK(gentl.GCInitLib());
    EXPECT_LAST_ERROR(-1006, TL_TEXT);
}

TEST_F(LastErrorTest, IsToldWhileTheLibraryIsClosed) {
    Fail();
    EXPECT_OK(gentl.GCCloseLib());
    GC_ERROR code = 0;
    char text[64] = {};
    size_t size = sizeof text;
    EXPECT_OK(gentl.GCGetLastError(&code, text, &size));
    EXPECT_EQ(code, -1006);
    EXPECT_STREQ(text, TL_TEXT);
}

TEST_F(LastErrorTest, IsReplacedByALongerAndAShorterText) {
    Fail();
    EXPECT_CODE(-1009, gentl.GCGetInfo(8, nullptr, nullptr, nullptr));
    EXPECT_LAST_ERROR(-1009, "Unsupported GCInfo parameter");
    Fail();
    EXPECT_LAST_ERROR(-1006, TL_TEXT);
}

TEST_F(LastErrorTest, IsOneForAllThreads) {
    std::thread failing([this] { Fail(); });
    failing.join();
    EXPECT_LAST_ERROR(-1006, TL_TEXT);
}

// Which error is told is open; half of one text and half of another is not.
TEST_F(LastErrorTest, ThreadsThatFailTogetherNeverMixTexts) {
    std::atomic<bool> done = false;
    std::thread shortText([&] {
        while (!done) {
            gentl.TLClose(nullptr);
        }
    });
    std::thread longText([&] {
        while (!done) {
            gentl.GCReadPort(nullptr, 0, nullptr, nullptr);
        }
    });
    const std::string texts[] = {TL_TEXT, "Function call on wrong handle or NULL pointer."};
    Fail();
    for (int i = 0; i < 2000; ++i) {
        char text[64] = {};
        size_t size = sizeof text;
        EXPECT_OK(gentl.GCGetLastError(nullptr, text, &size));
        EXPECT_TRUE(text == texts[0] || text == texts[1]) << text;
        EXPECT_LE(size, sizeof text);
    }
    done = true;
    shortText.join();
    longText.join();
}

} // namespace
