#include "Fixtures.h"

namespace {

class LibraryInfoTest : public LibraryTest {
protected:
    InfoCall Query(TL_INFO_CMD command) {
        return [this, command](auto... out) { return gentl.GCGetInfo(command, out...); };
    }
};

TEST_F(LibraryInfoTest, InitialisingTwiceSucceeds) {
    EXPECT_OK(gentl.GCInitLib());
    EXPECT_OK(gentl.GCInitLib());
    // Closing once undoes both.
    EXPECT_OK(gentl.GCCloseLib());
    size_t size = 0;
    EXPECT_CODE(-1002, gentl.GCGetInfo(1, nullptr, nullptr, &size));
}

TEST_F(LibraryInfoTest, ClosingTwiceSucceeds) {
    EXPECT_OK(gentl.GCCloseLib());
    EXPECT_OK(gentl.GCCloseLib());
}

TEST_F(LibraryInfoTest, InitialisingReachesNoCamera) {
    EXPECT_OK(gentl.GCCloseLib());
    EXPECT_OK(gentl.GCInitLib());
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_GET_SYSTEM), 0U);
}

TEST_F(LibraryInfoTest, ClosingLeavesHandlesAlive) {
    OpenSystem();
    OpenInterface();
    OpenDevice();
    const uint64_t alive = OptivoSim_NumAlive(OPTIVO_OBJECT_DEVICE);
    EXPECT_OK(gentl.GCCloseLib());
    uint32_t count = 0;
    EXPECT_CODE(-1002, gentl.IFGetNumDevices(iface, &count));
    EXPECT_CODE(-1002, gentl.DevGetNumDataStreams(device, &count));
    EXPECT_CODE(-1002, gentl.GCReadPort(remote, 0, nullptr, nullptr));
    EXPECT_EQ(OptivoSim_NumAlive(OPTIVO_OBJECT_DEVICE), alive);
    EXPECT_OK(gentl.GCInitLib());
    EXPECT_OK(gentl.DevGetNumDataStreams(device, &count));
    EXPECT_EQ(count, 1U);
}

TEST_F(LibraryInfoTest, TellsIdentity) {
    EXPECT_EQ(Ask(Query(0)), TextInfo("NorvelTL40.cti"));
    EXPECT_EQ(Ask(Query(1)), TextInfo("NORVEL"));
    EXPECT_EQ(Ask(Query(2)), TextInfo("NorvelTL"));
    EXPECT_EQ(Ask(Query(3)), TextInfo("4.0.1.0"));
    EXPECT_EQ(Ask(Query(4)), TextInfo("Mixed"));
    EXPECT_EQ(Ask(Query(5)), TextInfo("NorvelTL40.cti"));
    EXPECT_EQ(Ask(Query(6)), TextInfo(gentl.Path()));
    EXPECT_EQ(Ask(Query(7)), TextInfo("MorvelTL for Norvel cameras"));
}

TEST_F(LibraryInfoTest, PathEndsWithTheFileName) {
    const std::string path = Ask(Query(6)).Text();
    ASSERT_GT(path.size(), 15U);
#if defined(_WIN32)
    EXPECT_EQ(path.substr(path.size() - 15), "\\NorvelTL40.cti");
    EXPECT_EQ(path.substr(1, 2), ":\\");
#else
    EXPECT_EQ(path.substr(path.size() - 15), "/NorvelTL40.cti");
    EXPECT_EQ(path.front(), '/');
#endif
}

TEST_F(LibraryInfoTest, NullBufferAsksForTheSize) {
    size_t size = 0;
    EXPECT_OK(gentl.GCGetInfo(1, nullptr, nullptr, &size));
    EXPECT_EQ(size, 7U);
}

TEST_F(LibraryInfoTest, ExactSizeIsEnough) {
    INFO_DATATYPE type = 0;
    char text[16] = "###############";
    size_t size = 7;
    EXPECT_OK(gentl.GCGetInfo(1, &type, text, &size));
    EXPECT_EQ(type, 1);
    EXPECT_STREQ(text, "NORVEL");
    EXPECT_EQ(text[7], '#');
    EXPECT_EQ(size, 7U);
}

TEST_F(LibraryInfoTest, LargerSizeBecomesTheTextsSize) {
    char text[32] = "###############################";
    size_t size = 30;
    EXPECT_OK(gentl.GCGetInfo(1, nullptr, text, &size));
    EXPECT_STREQ(text, "NORVEL");
    EXPECT_EQ(text[7], '#');
    EXPECT_EQ(size, 7U);
}

TEST_F(LibraryInfoTest, SizeZeroWithABufferCopies) {
    char text[64] = {};
    size_t size = 0;
    EXPECT_OK(gentl.GCGetInfo(7, nullptr, text, &size));
    EXPECT_STREQ(text, "MorvelTL for Norvel cameras");
    EXPECT_EQ(size, 28U);
}

TEST_F(LibraryInfoTest, NullSizeIsInvalid) {
    for (TL_INFO_CMD command = 0; command <= 7; ++command) {
        SCOPED_TRACE(command);
        INFO_DATATYPE type = 99;
        char text[4096] = "before";
        EXPECT_FAILS(-1009, "Invalid Size", gentl.GCGetInfo(command, &type, text, nullptr));
        EXPECT_EQ(type, 1);
        EXPECT_STREQ(text, "before");
        EXPECT_FAILS(-1009, "Invalid Size", gentl.GCGetInfo(command, nullptr, nullptr, nullptr));
    }
}

TEST_F(LibraryInfoTest, OneByteShortIsTooSmall) {
    for (TL_INFO_CMD command = 0; command <= 7; ++command) {
        SCOPED_TRACE(command);
        const size_t needed = Ask(Query(command)).size;
        for (const size_t offered : {needed - 1, size_t{1}}) {
            INFO_DATATYPE type = 99;
            char text[4096] = "before";
            size_t size = offered;
            EXPECT_FAILS(-1016, "Invalid Buffer Size",
                         gentl.GCGetInfo(command, &type, text, &size));
            EXPECT_EQ(type, 1);
            EXPECT_EQ(size, offered);
            EXPECT_STREQ(text, "before");
        }
    }
}

TEST_F(LibraryInfoTest, RefusesOtherCommands) {
    // The error that CallFails records first has the text that is wanted here.
    for (const TL_INFO_CMD command : {8, 9, 10, 1000, INT32_MAX, -1, INT32_MIN}) {
        SCOPED_TRACE(command);
        EXPECT_CODE(-1006, gentl.TLClose(nullptr));
        INFO_DATATYPE type = 99;
        char text[64] = "before";
        size_t size = sizeof text;
        EXPECT_CODE(-1009, gentl.GCGetInfo(command, &type, text, &size));
        EXPECT_LAST_ERROR(-1009, "Unsupported GCInfo parameter");
        EXPECT_EQ(type, 99);
        EXPECT_EQ(size, sizeof text);
        EXPECT_STREQ(text, "before");
    }
}

TEST_F(LibraryInfoTest, GuardCountsBeforeTheCommand) {
    EXPECT_OK(gentl.GCCloseLib());
    EXPECT_CODE(-1002, gentl.GCGetInfo(8, nullptr, nullptr, nullptr));
    EXPECT_LAST_ERROR(-1002, "GCInitLib was not called.");
}

} // namespace
