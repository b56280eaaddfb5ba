#include "StreamFixtures.h"

namespace {

constexpr uint64_t CAMERA_LOST = 0x123456789;
constexpr uint64_t CUSTOM_5 = 0x8123456789ABCDEF;
constexpr uint64_t CUSTOM_6 = 0x7123456789ABCDEF;
constexpr uint64_t CUSTOM_7 = 0x87654321;
constexpr uint64_t CUSTOM_8 = 0x76543210;

// A command whose value the camera library gives.
struct CameraCommand {
    STREAM_INFO_CMD command;
    uint64_t selector;
    int32_t type;
    size_t width;
};
constexpr CameraCommand CAMERA_COMMANDS[] = {{2, 11, 8, 8},   {6, 1, 7, 8},    {9, 4, 8, 8},
                                             {1001, 5, 8, 8}, {1002, 6, 8, 8}, {1003, 7, 6, 4},
                                             {1004, 8, 6, 4}};

class StreamInfoTest : public MonoStreamTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(MonoStreamTest::SetUp());
        const std::pair<uint32_t, uint64_t> values[] = {
            {5, CUSTOM_5}, {6, CUSTOM_6}, {7, CUSTOM_7}, {8, CUSTOM_8}, {11, CAMERA_LOST}};
        for (const auto& [command, value] : values) {
            ASSERT_EQ(OptivoSim_SetStreamValue(camera.c_str(), command, value), 1);
        }
    }

    InfoCall StreamInfo(STREAM_INFO_CMD command) {
        return [=, this](auto... out) { return gentl.DSGetInfo(stream, command, out...); };
    }

    static void FailQuery(uint64_t selector, OptivoFaultKind kind = OPTIVO_FAULT_RESULT) {
        AddFault(OPTIVO_STREAM_GET_STREAM_INFO, kind, -1001, OPTIVO_FOREVER, selector);
    }

    // Nothing is written.
    void ExpectRefused(STREAM_INFO_CMD command, size_t offered) {
        INFO_DATATYPE type = 99;
        char buffer[16] = "before";
        size_t size = offered;
        const std::string text = "Invalid stream info command " + std::to_string(command);
        EXPECT_FAILS(-1009, text, gentl.DSGetInfo(stream, command, &type, buffer, &size));
        EXPECT_FAILS(-1009, text, gentl.DSGetInfo(stream, command, &type, nullptr, &size));
        EXPECT_EQ(type, 99);
        EXPECT_STREQ(buffer, "before");
        EXPECT_EQ(size, offered);
    }
};

TEST_F(StreamInfoTest, OfAnOpenStream) {
    const std::pair<STREAM_INFO_CMD, Info> rows[] = {
        {0, TextInfo("DS0")},
        {1, NumberInfo<uint64_t>(8, 0)},
        {2, NumberInfo<uint64_t>(8, CAMERA_LOST)},
        {3, NumberInfo<uint32_t>(6, 0)},
        {4, NumberInfo<uint32_t>(6, 0)},
        {5, NumberInfo<uint32_t>(6, 0)},
        {6, NumberInfo<int64_t>(7, 0)},
        {8, BoolInfo(false)},
        {9, NumberInfo<uint64_t>(8, 3072)},
        {10, TextInfo("Mixed")},
    };
    for (const auto& [command, expected] : rows) {
        SCOPED_TRACE(command);
        ExpectCopyOut(StreamInfo(command), expected);
    }
}

TEST_F(StreamInfoTest, OfAnAcquisition) {
    AnnounceBuffers(6);
    RegisterNewBuffer();
    ASSERT_OK(gentl.DSQueueBuffer(stream, buffers[0]));
    ASSERT_OK(gentl.DSQueueBuffer(stream, buffers[1]));
    Start();
    Produce(3);
    ASSERT_TRUE(Eventually([&] { return NumUnderrun() == CAMERA_LOST + 1; }));
    ASSERT_EQ(WaitBuffer().handle, buffers[0]);
    for (size_t i = 2; i < 6; ++i) {
        ASSERT_OK(gentl.DSQueueBuffer(stream, buffers[i]));
    }
    const std::pair<STREAM_INFO_CMD, Info> rows[] = {
        {1, NumberInfo<uint64_t>(8, 2)},
        {2, NumberInfo<uint64_t>(8, 0x12345678A)},
        {3, NumberInfo<uint32_t>(6, 6)},
        {4, NumberInfo<uint32_t>(6, 4)},
        {5, NumberInfo<uint32_t>(6, 1)},
        {6, NumberInfo<int64_t>(7, 3)},
        {8, BoolInfo(true)},
    };
    for (const auto& [command, expected] : rows) {
        SCOPED_TRACE(command);
        ExpectCopyOut(StreamInfo(command), expected);
    }
}

TEST_F(StreamInfoTest, OfTheCamera) {
    EXPECT_EQ(Ask(StreamInfo(1001)), NumberInfo<uint64_t>(8, CUSTOM_5));
    EXPECT_EQ(Ask(StreamInfo(1002)), NumberInfo<uint64_t>(8, CUSTOM_6));
    EXPECT_EQ(Ask(StreamInfo(1003)), NumberInfo<uint32_t>(6, 0x87654321));
    EXPECT_EQ(Ask(StreamInfo(1004)), NumberInfo<uint32_t>(6, 0x76543210));
}

TEST_F(StreamInfoTest, PayloadSizeFollowsTheCamera) {
    ASSERT_EQ(OptivoSim_SetImageSize(camera.c_str(), 640, 480), 1);
    EXPECT_EQ(Ask(StreamInfo(9)), NumberInfo<uint64_t>(8, 307200));
}

TEST_F(StreamInfoTest, UnknownCommandsAreRefused) {
    for (const STREAM_INFO_CMD command :
         {7, 11, 12, 13, 999, 1000, 1005, 2147483647, -1, -2147483647 - 1}) {
        SCOPED_TRACE(command);
        ExpectRefused(command, 16);
        EXPECT_FAILS(-1009, "Invalid stream info command " + std::to_string(command),
                     gentl.DSGetInfo(stream, command, nullptr, nullptr, nullptr));
    }
}

// The library sees the consumer's size, but never more than there is room for.
TEST_F(StreamInfoTest, SizeIsHandedOn) {
    for (const CameraCommand& row : CAMERA_COMMANDS) {
        const std::pair<size_t, size_t> sizes[] = {{0, row.width},
                                                   {1, 1},
                                                   {row.width - 1, row.width - 1},
                                                   {row.width, row.width},
                                                   {row.width + 1, row.width},
                                                   {SIZE_MAX, row.width}};
        for (const auto& [offered, handedOn] : sizes) {
            SCOPED_TRACE(testing::Message() << row.command << " with size " << offered);
            uint64_t value = 0;
            size_t size = offered;
            gentl.DSGetInfo(stream, row.command, nullptr, &value, &size);
            EXPECT_EQ(OptivoSim_LastSelector(OPTIVO_STREAM_GET_STREAM_INFO), row.selector);
            EXPECT_EQ(OptivoSim_LastArgument(OPTIVO_STREAM_GET_STREAM_INFO), handedOn);
        }
        gentl.DSGetInfo(stream, row.command, nullptr, nullptr, nullptr);
        EXPECT_EQ(OptivoSim_LastArgument(OPTIVO_STREAM_GET_STREAM_INFO), row.width);
    }
}

TEST_F(StreamInfoTest, LibraryCannotChangeTheConsumersSize) {
    AddFault(OPTIVO_STREAM_GET_STREAM_INFO, OPTIVO_FAULT_OVERLONG_SIZE, 0);
    for (const CameraCommand& row : CAMERA_COMMANDS) {
        SCOPED_TRACE(row.command);
        uint64_t value = 0;
        size_t size = 8;
        EXPECT_OK(gentl.DSGetInfo(stream, row.command, nullptr, &value, &size));
        EXPECT_EQ(size, row.width);
    }
}

TEST_F(StreamInfoTest, LibraryCannotWriteBehindTheValue) {
    AddFault(OPTIVO_STREAM_GET_STREAM_INFO, OPTIVO_FAULT_UNTERMINATED_TEXT, 0);
    for (const CameraCommand& row : CAMERA_COMMANDS) {
        SCOPED_TRACE(row.command);
        std::string buffer(1000, '#');
        size_t size = buffer.size();
        INFO_DATATYPE type = 99;
        EXPECT_OK(gentl.DSGetInfo(stream, row.command, &type, buffer.data(), &size));
        EXPECT_EQ(type, row.type);
        EXPECT_EQ(size, row.width);
        EXPECT_EQ(buffer, std::string(row.width, 'X') + std::string(1000 - row.width, '#'));
    }
}

TEST_F(StreamInfoTest, CustomValuesAreCopiedOut) {
    for (const STREAM_INFO_CMD command : {1001, 1002, 1003, 1004}) {
        SCOPED_TRACE(command);
        const Info expected = Ask(StreamInfo(command));
        ASSERT_EQ(expected.code, 0);
        for (const size_t offered : {size_t{0}, expected.size, expected.size + 1}) {
            std::string buffer(32, '#');
            size_t size = offered;
            EXPECT_OK(gentl.DSGetInfo(stream, command, nullptr, buffer.data(), &size));
            EXPECT_EQ(size, expected.size);
            EXPECT_EQ(buffer, expected.bytes + std::string(32 - expected.size, '#'));
        }
        INFO_DATATYPE type = 99;
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.DSGetInfo(stream, command, &type, this, nullptr));
        EXPECT_EQ(type, expected.type);
    }
}

// The library is asked first, and refuses.
TEST_F(StreamInfoTest, CustomValuesNeedTheirWidth) {
    for (const size_t offered : {1U, 4U, 7U}) {
        SCOPED_TRACE(offered);
        ExpectRefused(1001, offered);
        ExpectRefused(1002, offered);
    }
    for (const size_t offered : {1U, 3U}) {
        SCOPED_TRACE(offered);
        ExpectRefused(1003, offered);
        ExpectRefused(1004, offered);
    }
}

TEST_F(StreamInfoTest, CustomValuesFailWithTheLibrary) {
    for (const OptivoFaultKind kind : {OPTIVO_FAULT_RESULT, OPTIVO_FAULT_RESULT_AFTER}) {
        FailQuery(OPTIVO_ANY_SELECTOR, kind);
        for (const STREAM_INFO_CMD command : {1001, 1002, 1003, 1004}) {
            SCOPED_TRACE(command);
            ExpectRefused(command, 16);
        }
        OptivoSim_ClearFaults();
    }
}

TEST_F(StreamInfoTest, UnderrunWithoutTheCameraIsTheModulesOwn) {
    Start();
    Produce(3);
    ASSERT_TRUE(Eventually([&] { return NumUnderrun() == CAMERA_LOST + 3; }));
    for (const OptivoFaultKind kind : {OPTIVO_FAULT_RESULT, OPTIVO_FAULT_RESULT_AFTER}) {
        FailQuery(11, kind);
        ExpectCopyOut(StreamInfo(2), NumberInfo<uint64_t>(8, 3));
        OptivoSim_ClearFaults();
    }
    EXPECT_EQ(NumUnderrun(), CAMERA_LOST + 3);
}

TEST_F(StreamInfoTest, ResultsOfStartedCountAndPayloadSizeAreNotLookedAt) {
    Start();
    Produce(4);
    ASSERT_TRUE(Eventually([&] { return NumUnderrun() == CAMERA_LOST + 4; }));
    FailQuery(1, OPTIVO_FAULT_RESULT_AFTER);
    FailQuery(4, OPTIVO_FAULT_RESULT_AFTER);
    EXPECT_EQ(Ask(StreamInfo(6)), NumberInfo<int64_t>(7, 4));
    EXPECT_EQ(Ask(StreamInfo(9)), NumberInfo<uint64_t>(8, 3072));
    OptivoSim_ClearFaults();
    FailQuery(1);
    FailQuery(4);
    EXPECT_EQ(Ask(StreamInfo(6)), NumberInfo<int64_t>(7, 0));
    EXPECT_EQ(Ask(StreamInfo(9)), NumberInfo<uint64_t>(8, 0));
}

} // namespace
