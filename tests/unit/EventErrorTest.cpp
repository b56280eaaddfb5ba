#include "events/EventError.h"
#include "EventFixture.h"

#include <boost/make_shared.hpp>

#include <cstring>

namespace {

using GenICam::Client::CEventError;
using GenICam::Client::ErrorEventEntry;

class EventErrorTest : public testing::Test {
protected:
    void SetUp() override { event.Register(); }

    void Push(GC_ERROR code, const std::string& text) {
        event.Push(boost::make_shared<ErrorEventEntry>(code, text));
    }

    size_t SizeOfOldest() {
        size_t size = 0;
        EXPECT_EQ(event.GetData(nullptr, &size, 0), 0);
        return size;
    }

    // The data of the oldest event, fetched with exactly its size.
    std::string Fetch() {
        std::string data(SizeOfOldest(), '?');
        size_t size = data.size();
        EXPECT_EQ(event.GetData(data.data(), &size, 0), 0);
        EXPECT_EQ(size, data.size());
        return data;
    }

    int32_t NumQueued() {
        int32_t count = -1;
        int32_t type = 0;
        size_t size = sizeof count;
        EXPECT_ANSWERS(event.GetInfo(1, &type, &count, &size));
        EXPECT_EQ(type, 5);
        EXPECT_EQ(size, 4U);
        return count;
    }

    CEventError event;
};

TEST_F(EventErrorTest, TheDataIsTheCodeTheTextAndAZero) {
    Push(-1010, "lost");
    EXPECT_EQ(Fetch(), std::string("\x0E\xFC\xFF\xFFlost\0", 9));
    EXPECT_EQ(NumQueued(), 0);
}

TEST_F(EventErrorTest, AnErrorWithoutTextHasFiveBytes) {
    Push(1, "");
    EXPECT_EQ(SizeOfOldest(), 5U);
    EXPECT_EQ(Fetch(), std::string("\1\0\0\0\0", 5));
}

TEST_F(EventErrorTest, ALongTextComesWhole) {
    const std::string text(5000, 'x');
    Push(-1, text);
    EXPECT_EQ(SizeOfOldest(), 5005U);
    EXPECT_EQ(Fetch(), "\xFF\xFF\xFF\xFF" + text + '\0');
}

TEST_F(EventErrorTest, TheSizeQueryLeavesTheEntryQueued) {
    Push(-1010, "lost");
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(SizeOfOldest(), 9U);
        EXPECT_EQ(NumQueued(), 1);
    }
    char buffer[9] = "before";
    size_t size = 0;
    EXPECT_EQ(event.GetData(buffer, &size, 0), 0);
    EXPECT_EQ(size, 9U);
    EXPECT_STREQ(buffer, "before");
}

TEST_F(EventErrorTest, ABufferThatIsTooSmallIsRefusedAndTheEntryStays) {
    Push(-1010, "lost");
    char buffer[9] = "before";
    for (const size_t tooSmall : {size_t{1}, size_t{4}, size_t{8}}) {
        size_t size = tooSmall;
        EXPECT_THROWS(std::invalid_argument, "Buffer too small", event.GetData(buffer, &size, 0));
        EXPECT_EQ(size, tooSmall);
    }
    EXPECT_STREQ(buffer, "before");
    EXPECT_EQ(NumQueued(), 1);
}

TEST_F(EventErrorTest, ALargerBufferIsLeftAloneBehindTheData) {
    Push(-1010, "lost");
    char buffer[12];
    std::memset(buffer, '#', sizeof buffer);
    size_t size = sizeof buffer;
    EXPECT_EQ(event.GetData(buffer, &size, 0), 0);
    EXPECT_EQ(size, 9U);
    EXPECT_EQ(std::string(buffer, sizeof buffer), std::string("\x0E\xFC\xFF\xFFlost\0###", 12));
}

TEST_F(EventErrorTest, ANullBufferIsRefusedAndTheEntryStays) {
    Push(-1010, "lost");
    size_t size = 9;
    EXPECT_THROWS(std::invalid_argument, "Invalid buffer", event.GetData(nullptr, &size, 0));
    EXPECT_EQ(size, 9U);
    EXPECT_EQ(NumQueued(), 1);
}

TEST_F(EventErrorTest, ANullBufferThatIsAlsoTooSmallIsCalledTooSmall) {
    Push(-1010, "lost");
    size_t size = 8;
    EXPECT_THROWS(std::invalid_argument, "Buffer too small", event.GetData(nullptr, &size, 0));
}

TEST_F(EventErrorTest, ANullSizeIsRefusedAndTheEntryStays) {
    Push(-1010, "lost");
    char buffer[9] = "before";
    EXPECT_THROWS(GenICam::Client::invalid_parameter_error, "Argument piSize is a null pointer.",
                  event.GetData(buffer, nullptr, 0));
    EXPECT_STREQ(buffer, "before");
    EXPECT_EQ(NumQueued(), 1);
}

TEST_F(EventErrorTest, TheCopyRuleChecksTheBufferAndThenTheSize) {
    const ErrorEventEntry entry(-1010, "lost");
    char buffer[9] = "before";
    size_t size = 8;
    EXPECT_THROWS(std::invalid_argument, "Invalid buffer", CopyEntry(entry, nullptr, &size));
    EXPECT_THROWS(std::invalid_argument, "Invalid buffer Size", CopyEntry(entry, buffer, &size));
    EXPECT_EQ(size, 8U);
    EXPECT_STREQ(buffer, "before");
    size = 9;
    CopyEntry(entry, buffer, &size);
    EXPECT_EQ(std::string(buffer, sizeof buffer), std::string("\x0E\xFC\xFF\xFFlost\0", 9));
}

TEST_F(EventErrorTest, TellsHowManyAreQueued) {
    for (int32_t i = 0; i < 3; ++i) {
        EXPECT_EQ(NumQueued(), i);
        Push(i, "");
    }
    EXPECT_EQ(NumQueued(), 3);
}

TEST_F(EventErrorTest, CopiesTheCountOutByTheCommonRule) {
    int32_t type = 0;
    size_t size = 0;
    EXPECT_ANSWERS(event.GetInfo(1, &type, nullptr, &size));
    EXPECT_EQ(type, 5);
    EXPECT_EQ(size, 4U);
    int32_t count = 77;
    size = 3;
    EXPECT_REFUSES(std::invalid_argument, "Invalid Buffer Size",
                   event.GetInfo(1, &type, &count, &size));
    EXPECT_EQ(count, 77);
    EXPECT_REFUSES(std::invalid_argument, "Invalid Size", event.GetInfo(1, &type, &count, nullptr));
    size = 0;
    EXPECT_ANSWERS(event.GetInfo(1, nullptr, &count, &size));
    EXPECT_EQ(count, 0);
    EXPECT_EQ(size, 4U);
}

TEST_F(EventErrorTest, AnswersNothingToOtherCommands) {
    Push(-1010, "lost");
    for (const int32_t command : {0, 2, 3, 4, 5, -1, 1000}) {
        SCOPED_TRACE(command);
        int32_t type = 99;
        int32_t value = 77;
        size_t size = 88;
        EXPECT_ANSWERS(event.GetInfo(command, &type, &value, &size));
        EXPECT_ANSWERS(event.GetInfo(command, nullptr, nullptr, nullptr));
        EXPECT_EQ(type, 99);
        EXPECT_EQ(value, 77);
        EXPECT_EQ(size, 88U);
    }
}

TEST_F(EventErrorTest, DataInfoAlwaysFails) {
    Push(-1010, "lost");
    const std::string data = Fetch();
    char out[16] = "before";
    int32_t type = 99;
    size_t size = sizeof out;
    for (const int32_t command : {0, 1, 2, -1, 1000}) {
        EXPECT_REFUSES(std::invalid_argument, "Invalid Parameter",
                       event.GetDataInfo(data.data(), data.size(), command, &type, out, &size));
    }
    EXPECT_REFUSES(std::invalid_argument, "Invalid Parameter",
                   event.GetDataInfo(nullptr, 0, 0, nullptr, nullptr, nullptr));
    EXPECT_STREQ(out, "before");
    EXPECT_EQ(type, 99);
    EXPECT_EQ(size, sizeof out);
}

TEST_F(EventErrorTest, BlockInfoGivesTheCode) {
    Push(-1010, "lost");
    const std::string data = Fetch();
    int32_t type = 0;
    size_t size = 0;
    EXPECT_ANSWERS(event.GetBlockInfo(data.data(), data.size(), 0, &type, nullptr, &size));
    EXPECT_EQ(type, 5);
    EXPECT_EQ(size, 4U);
    int32_t code = 0;
    EXPECT_ANSWERS(event.GetBlockInfo(data.data(), data.size(), 0, nullptr, &code, &size));
    EXPECT_EQ(code, -1010);
    EXPECT_EQ(size, 4U);
}

TEST_F(EventErrorTest, BlockInfoGivesTheText) {
    Push(-1010, "lost");
    const std::string data = Fetch();
    int32_t type = 0;
    size_t size = 0;
    EXPECT_ANSWERS(event.GetBlockInfo(data.data(), data.size(), 1, &type, nullptr, &size));
    EXPECT_EQ(type, 1);
    EXPECT_EQ(size, 5U);
    char text[6] = "#####";
    EXPECT_ANSWERS(event.GetBlockInfo(data.data(), data.size(), 1, nullptr, text, &size));
    EXPECT_EQ(std::string(text, 6), std::string("lost\0\0", 6));
    EXPECT_EQ(size, 5U);
}

TEST_F(EventErrorTest, BlockInfoKnowsNoOtherCommand) {
    Push(-1010, "lost");
    const std::string data = Fetch();
    char out[16] = "before";
    size_t size = sizeof out;
    for (const int32_t command : {2, 3, -1, 1000}) {
        EXPECT_REFUSES(std::invalid_argument, "Invalid Event Data Info ID",
                       event.GetBlockInfo(data.data(), data.size(), command, nullptr, out, &size));
    }
    EXPECT_STREQ(out, "before");
    EXPECT_EQ(size, sizeof out);
}

TEST_F(EventErrorTest, BlockInfoReadsNoDataThatIsNotThere) {
    const char data[3] = {1, 2, 3};
    char out[16] = "before";
    size_t size = sizeof out;
    for (const int32_t command : {0, 1}) {
        EXPECT_REFUSES(std::invalid_argument, "Invalid buffer",
                       event.GetBlockInfo(data, sizeof data, command, nullptr, out, &size));
        EXPECT_REFUSES(std::invalid_argument, "Invalid buffer",
                       event.GetBlockInfo(nullptr, 9, command, nullptr, out, &size));
    }
    EXPECT_STREQ(out, "before");
}

} // namespace
