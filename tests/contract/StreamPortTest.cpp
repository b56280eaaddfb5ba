#include "StreamFixtures.h"

namespace {

constexpr char URL[] = "Local:TLDataStreamRegs.xml;200;0";
constexpr size_t URL_SIZE = 33;

class StreamPortTest : public MonoStreamTest {
protected:
    InfoCall PortInfo(PORT_INFO_CMD command) {
        return [=, this](auto... out) { return gentl.GCGetPortInfo(stream, command, out...); };
    }
    InfoCall UrlInfo(URL_INFO_CMD command) {
        return
            [=, this](auto... out) { return gentl.GCGetPortURLInfo(stream, 0, command, out...); };
    }
};

TEST_F(StreamPortTest, TellsAboutItself) {
    const std::pair<PORT_INFO_CMD, Info> rows[] = {
        {0, TextInfo(std::string("DS0\0", 4))},
        {1, TextInfo("NORVEL")},
        {2, TextInfo("NorvelTL")},
        {3, TextInfo("Mixed")},
        {4, TextInfo("TLDataStream")},
        {5, BoolInfo(true)},
        {6, BoolInfo(false)},
        {7, BoolInfo(true)},
        {8, BoolInfo(true)},
        {9, BoolInfo(false)},
        {10, BoolInfo(false)},
        {11, TextInfo(std::string("4.0.1.0\0", 8))},
        {12, TextInfo("StreamPort")},
    };
    for (const auto& [command, expected] : rows) {
        SCOPED_TRACE(command);
        ExpectCopyOut(PortInfo(command), expected);
    }
}

TEST_F(StreamPortTest, IdHasAZeroInside) {
    char id[8] = "#######";
    size_t size = sizeof id;
    EXPECT_OK(gentl.GCGetPortInfo(stream, 0, nullptr, id, &size));
    EXPECT_EQ(size, 5U);
    EXPECT_EQ(std::string(id, sizeof id), std::string("DS0\0\0##\0", 8));
}

TEST_F(StreamPortTest, UnknownInfoWritesNothingAndSucceeds) {
    for (const PORT_INFO_CMD command : {13, 14, 100, 1000, 2147483647}) {
        SCOPED_TRACE(command);
        INFO_DATATYPE type = 99;
        char buffer[8] = "before";
        for (const size_t offered : {size_t{0}, size_t{1}, sizeof buffer}) {
            size_t size = offered;
            EXPECT_OK(gentl.GCGetPortInfo(stream, command, &type, buffer, &size));
            EXPECT_EQ(size, offered);
        }
        EXPECT_EQ(type, 99);
        EXPECT_STREQ(buffer, "before");
        EXPECT_OK(gentl.GCGetPortInfo(stream, command, &type, buffer, nullptr));
        EXPECT_EQ(type, 99);
    }
}

TEST_F(StreamPortTest, UrlIsCopiedOut) {
    size_t size = 77;
    EXPECT_OK(gentl.GCGetPortURL(stream, nullptr, &size));
    EXPECT_EQ(size, URL_SIZE);
    for (const size_t offered : {URL_SIZE, URL_SIZE + 1, size_t{64}}) {
        SCOPED_TRACE(offered);
        std::string url(80, '#');
        size = offered;
        EXPECT_OK(gentl.GCGetPortURL(stream, url.data(), &size));
        EXPECT_EQ(size, URL_SIZE);
        EXPECT_EQ(url, std::string(URL) + '\0' + std::string(80 - URL_SIZE, '#'));
    }
}

TEST_F(StreamPortTest, TooSmallUrlBufferLearnsTheSize) {
    for (const size_t offered : {size_t{0}, size_t{1}, URL_SIZE - 1}) {
        SCOPED_TRACE(offered);
        std::string url(80, '#');
        size_t size = offered;
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCGetPortURL(stream, url.data(), &size));
        EXPECT_EQ(size, URL_SIZE);
        EXPECT_EQ(url, std::string(80, '#'));
    }
}

TEST_F(StreamPortTest, UrlNeedsASize) {
    std::string url(80, '#');
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCGetPortURL(stream, url.data(), nullptr));
    EXPECT_EQ(url, std::string(80, '#'));
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCGetPortURL(stream, nullptr, nullptr));
}

TEST_F(StreamPortTest, HasOneUrl) {
    uint32_t count = 77;
    EXPECT_OK(gentl.GCGetNumPortURLs(stream, &count));
    EXPECT_EQ(count, 1U);
}

TEST_F(StreamPortTest, TellsAboutItsUrl) {
    ExpectCopyOut(UrlInfo(0), TextInfo(URL));
    const int32_t numbers[] = {1, 0, 1, 0, 8};
    for (URL_INFO_CMD command = 1; command <= 5; ++command) {
        SCOPED_TRACE(command);
        ExpectCopyOut(UrlInfo(command), NumberInfo<int32_t>(5, numbers[command - 1]));
    }
}

TEST_F(StreamPortTest, UnknownUrlInfoWritesNothingAndSucceeds) {
    for (const URL_INFO_CMD command : {6, 7, 1000, 2147483647}) {
        SCOPED_TRACE(command);
        INFO_DATATYPE type = 99;
        char buffer[8] = "before";
        size_t size = 1;
        EXPECT_OK(gentl.GCGetPortURLInfo(stream, 0, command, &type, buffer, &size));
        EXPECT_EQ(type, 99);
        EXPECT_EQ(size, 1U);
        EXPECT_STREQ(buffer, "before");
    }
}

TEST_F(StreamPortTest, OnlyUrlZeroExists) {
    for (const uint32_t index : {1U, 2U, 2147483648U, UINT32_MAX}) {
        for (const URL_INFO_CMD command : {0, 5, 6}) {
            SCOPED_TRACE(index);
            INFO_DATATYPE type = 99;
            char buffer[64] = "before";
            size_t size = sizeof buffer;
            EXPECT_FAILS(-1001, UNSPECIFIED,
                         gentl.GCGetPortURLInfo(stream, index, command, &type, buffer, &size));
            EXPECT_EQ(type, 99);
            EXPECT_EQ(size, sizeof buffer);
            EXPECT_STREQ(buffer, "before");
        }
    }
}

TEST_F(StreamPortTest, ReadsAndWritesNothing) {
    for (const uint64_t address : {uint64_t{0}, uint64_t{0x200}, uint64_t{0x400}, UINT64_MAX}) {
        SCOPED_TRACE(address);
        char buffer[8] = "before";
        for (const size_t offered : {size_t{0}, sizeof buffer, SIZE_MAX}) {
            size_t size = offered;
            EXPECT_OK(gentl.GCReadPort(stream, address, buffer, &size));
            EXPECT_EQ(size, offered);
            EXPECT_OK(gentl.GCWritePort(stream, address, buffer, &size));
            EXPECT_EQ(size, offered);
        }
        EXPECT_STREQ(buffer, "before");
        EXPECT_OK(gentl.GCReadPort(stream, address, nullptr, nullptr));
        EXPECT_OK(gentl.GCWritePort(stream, address, nullptr, nullptr));
    }
}

} // namespace
