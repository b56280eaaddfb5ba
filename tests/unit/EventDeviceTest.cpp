#include "events/EventDevice.h"
#include "EventFixture.h"
#include "api/CallFrame.h"
#include "camlib/LibraryAbi.h"

#include <boost/make_shared.hpp>

#include <cstring>
#include <tuple>

namespace {

using GenICam::Client::CEventDevice;
using GenICam::Client::DevEventEntry;

// The library's own exception tells more than what stands in for it.
template <class Error>
std::string DescriptionOf(const Error& error) {
    if constexpr (requires { error.GetDescription(); }) {
        EXPECT_STREQ(error.GetSourceFileName(), "EventDevice");
        EXPECT_GT(error.GetSourceLine(), 0U);
        return error.GetDescription();
    } else {
        return error.what();
    }
}

// The description of the GenICam argument exception that the call throws.
std::string Description(const std::function<void()>& call) {
    try {
        call();
    } catch (const GenICam::Client::CLibraryInvalidArgument& error) {
        return DescriptionOf(error);
    }
    return "no exception";
}

#define EXPECT_THROWN(text, ...) EXPECT_EQ(Description([&] { __VA_ARGS__; }), text)
#define EXPECT_REFUSED(text, ...)                                                                  \
    EXPECT_REFUSES(GenICam::Client::CLibraryInvalidArgument, text, __VA_ARGS__)

class EventDeviceTest : public testing::Test {
protected:
    void SetUp() override { event.Register(); }

    void Post(uint32_t id, uint64_t value) {
        event.Post(boost::make_shared<DevEventEntry>(id, value));
    }

    // An answer of GetInfo, which must have this type and 8 bytes.
    uint64_t Info(int32_t command, int32_t expectedType) {
        uint64_t value = 0xAAAAAAAAAAAAAAAA;
        int32_t type = 0;
        size_t size = sizeof value;
        EXPECT_ANSWERS(event.GetInfo(command, &type, &value, &size));
        EXPECT_EQ(type, expectedType);
        EXPECT_EQ(size, 8U);
        return value;
    }
    uint64_t NumQueued() { return Info(1, 5); }
    uint64_t NumFired() { return Info(2, 5); }

    // The record of the oldest event, as bytes.
    std::string Fetch() {
        std::string record(24, '?');
        size_t size = record.size();
        EXPECT_EQ(event.GetData(record.data(), &size, 0), 0);
        EXPECT_EQ(size, 25U);
        return record;
    }

    uint32_t FetchId() {
        uint32_t id = 0;
        std::memcpy(&id, Fetch().data(), sizeof id);
        return id;
    }

    CEventDevice event;
};

TEST_F(EventDeviceTest, ANewEntryHasItsIdAndValueAndNothingElse) {
    const DevEventEntry entry(0x12345678, 0x1122334455667788);
    EXPECT_EQ(entry.m_eventId, 0x12345678U);
    EXPECT_EQ(entry.m_reserved, 0U);
    EXPECT_EQ(entry.m_text, "");
    EXPECT_EQ(entry.m_value, 0x1122334455667788U);
    EXPECT_EQ(entry.m_timestamp, 0U);
}

TEST_F(EventDeviceTest, TheRecordHas24Bytes) {
    Post(0x12345678, 0x1122334455667788);
    EXPECT_EQ(Fetch(), std::string("\x78\x56\x34\x12\0\0\0\0\x88\x77\x66\x55\x44\x33\x22\x11"
                                   "\0\0\0\0\0\0\0\0",
                                   24));
}

TEST_F(EventDeviceTest, TheRecordEndsWithTheEntrysLastField) {
    const auto entry = boost::make_shared<DevEventEntry>(1, 2);
    entry->m_reserved = 3;
    entry->m_unused = 4;
    entry->m_timestamp = 5;
    event.Post(entry);
    EXPECT_EQ(Fetch(), std::string("\1\0\0\0\3\0\0\0\2\0\0\0\0\0\0\0\5\0\0\0\0\0\0\0", 24));
}

TEST_F(EventDeviceTest, AsksForFiveBytesAndWrites24) {
    Post(7, 8);
    size_t size = 0;
    EXPECT_EQ(event.GetData(nullptr, &size, 0), 0);
    EXPECT_EQ(size, 5U);
    EXPECT_EQ(NumQueued(), 1U);
    char record[26];
    std::memset(record, '#', sizeof record);
    EXPECT_EQ(event.GetData(record, &size, 0), 0);
    EXPECT_EQ(size, 25U);
    EXPECT_EQ(record[0], 7);
    EXPECT_EQ(record[8], 8);
    EXPECT_EQ(record[23], 0);
    EXPECT_EQ(record[24], '#');
    EXPECT_EQ(NumQueued(), 0U);
}

TEST_F(EventDeviceTest, TheSizeGrowsWithTheText) {
    const auto entry = boost::make_shared<DevEventEntry>(1, 2);
    entry->m_text = "abc";
    event.Post(entry);
    size_t size = 0;
    EXPECT_EQ(event.GetData(nullptr, &size, 0), 0);
    EXPECT_EQ(size, 8U);
    char record[24];
    size = 7;
    EXPECT_THROWS(std::invalid_argument, "Buffer too small", event.GetData(record, &size, 0));
    size = 24;
    EXPECT_EQ(event.GetData(record, &size, 0), 0);
    EXPECT_EQ(size, 28U);
}

TEST_F(EventDeviceTest, AnythingBelowFiveBytesIsTooSmall) {
    Post(7, 8);
    char record[24] = "before";
    for (size_t tooSmall = 1; tooSmall < 5; ++tooSmall) {
        size_t size = tooSmall;
        EXPECT_THROWS(std::invalid_argument, "Buffer too small", event.GetData(record, &size, 0));
        EXPECT_EQ(size, tooSmall);
    }
    EXPECT_STREQ(record, "before");
    EXPECT_EQ(NumQueued(), 1U);
}

TEST_F(EventDeviceTest, ANullBufferIsRefusedAndTheEntryStays) {
    Post(7, 8);
    size_t size = 24;
    EXPECT_THROWN("Invalid buffer", event.GetData(nullptr, &size, 0));
    EXPECT_EQ(size, 24U);
    EXPECT_EQ(NumQueued(), 1U);
}

TEST_F(EventDeviceTest, TheCopyRuleChecksTheBufferAndThenTheSize) {
    const DevEventEntry entry(1, 2);
    char record[24] = "before";
    size_t size = 4;
    EXPECT_THROWN("Invalid buffer", CopyEntry(entry, nullptr, &size));
    EXPECT_THROWN("Invalid buffer Size", CopyEntry(entry, record, &size));
    EXPECT_EQ(size, 4U);
    EXPECT_STREQ(record, "before");
}

TEST_F(EventDeviceTest, AConsumerSeesNoTextOfARefusal) {
    EXPECT_EQ(
        GenICam::Client::Translated([&] { return event.GetInfo(0, nullptr, nullptr, nullptr); }),
        -1001);
    int32_t code = 0;
    char text[100] = {};
    size_t size = sizeof text;
    EXPECT_EQ(GenICam::Client::ReadLastError(&code, text, &size), 0);
    EXPECT_EQ(code, -1001);
    EXPECT_STREQ(text, "Unspecified runtime error.");
}

TEST_F(EventDeviceTest, AnswersItsTypeIn4Bytes) {
    int32_t type = 0;
    int32_t value[2] = {77, 77};
    size_t size = 4;
    EXPECT_ANSWERS(event.GetInfo(0, &type, value, &size));
    EXPECT_EQ(type, 5);
    EXPECT_EQ(value[0], 4);
    EXPECT_EQ(value[1], 77);
    EXPECT_EQ(size, 4U);
    size = 8;
    EXPECT_ANSWERS(event.GetInfo(0, nullptr, value, &size));
    EXPECT_EQ(value[1], 77);
    EXPECT_EQ(size, 4U);
}

TEST_F(EventDeviceTest, AnswersItsCountsAndSizesIn8Bytes) {
    Post(1, 1);
    Post(2, 2);
    FetchId();
    EXPECT_EQ(Info(1, 5), 1U);
    EXPECT_EQ(Info(2, 5), 2U);
    EXPECT_EQ(Info(3, 6), 24U);
    EXPECT_EQ(Info(4, 6), 24U);
}

TEST_F(EventDeviceTest, ASizeThatIsTooSmallBecomes4WhateverIsNeeded) {
    const size_t needed[] = {4, 8, 8, 8, 8};
    for (int32_t command = 0; command < 5; ++command) {
        for (size_t tooSmall = 0; tooSmall < needed[command]; ++tooSmall) {
            SCOPED_TRACE(std::to_string(command) + " with " + std::to_string(tooSmall));
            uint64_t value = 77;
            size_t size = tooSmall;
            EXPECT_REFUSED("In buffer too small", event.GetInfo(command, nullptr, &value, &size));
            EXPECT_EQ(size, 4U);
            EXPECT_EQ(value, 77U);
        }
    }
}

TEST_F(EventDeviceTest, ANullBufferIsRefusedBeforeAnythingElse) {
    for (const int32_t command : {0, 1, 2, 3, 4, 5, -1, 1000}) {
        SCOPED_TRACE(command);
        int32_t type = 99;
        size_t size = 0;
        EXPECT_REFUSED("Invalid buffer handle", event.GetInfo(command, &type, nullptr, &size));
        EXPECT_REFUSED("Invalid buffer handle", event.GetInfo(command, &type, nullptr, nullptr));
        EXPECT_EQ(type, 99);
        EXPECT_EQ(size, 0U);
    }
}

TEST_F(EventDeviceTest, AnswersNothingToOtherCommands) {
    for (const int32_t command : {5, 6, -1, 1000}) {
        SCOPED_TRACE(command);
        int32_t type = 99;
        uint64_t value = 77;
        size_t size = 0;
        EXPECT_ANSWERS(event.GetInfo(command, &type, &value, &size));
        EXPECT_ANSWERS(event.GetInfo(command, nullptr, &value, nullptr));
        EXPECT_EQ(type, 99);
        EXPECT_EQ(value, 77U);
        EXPECT_EQ(size, 0U);
    }
}

TEST_F(EventDeviceTest, ANullSizeIsRefused) {
    const char record[24] = {};
    uint64_t value = 77;
    for (int32_t command = 0; command < 5; ++command) {
        EXPECT_THROWS(GenICam::Client::invalid_parameter_error,
                      "Argument piSize is a null pointer.",
                      std::ignore = event.GetInfo(command, nullptr, &value, nullptr));
    }
    EXPECT_EQ(GenICam::Client::Translated(
                  [&] { return event.GetDataInfo(record, 24, 0, nullptr, &value, nullptr); }),
              -1009);
    EXPECT_EQ(value, 77U);
}

TEST_F(EventDeviceTest, DataInfoGivesTheEventId) {
    Post(0x87654321, 5);
    const std::string record = Fetch();
    uint32_t id[2] = {77, 77};
    int32_t type = 0;
    size_t size = 4;
    EXPECT_ANSWERS(event.GetDataInfo(record.data(), 24, 0, &type, id, &size));
    EXPECT_EQ(type, 5);
    EXPECT_EQ(id[0], 0x87654321U);
    EXPECT_EQ(id[1], 77U);
    EXPECT_EQ(size, 4U);
    size = 100;
    EXPECT_ANSWERS(event.GetDataInfo(record.data(), 25, 0, nullptr, id, &size));
    EXPECT_EQ(size, 4U);
}

TEST_F(EventDeviceTest, DataInfoChecksItsArgumentsInOrder) {
    const char record[24] = {9};
    uint32_t id = 77;
    size_t size = 3;
    EXPECT_REFUSED("Invalid buffer handle",
                   event.GetDataInfo(nullptr, 0, 1, nullptr, nullptr, nullptr));
    EXPECT_REFUSED("Invalid buffer handle", event.GetDataInfo(nullptr, 24, 0, nullptr, &id, &size));
    EXPECT_REFUSED("Invalid buffer handle",
                   event.GetDataInfo(record, 0, 1, nullptr, nullptr, nullptr));
    EXPECT_REFUSED("In buffer too small", event.GetDataInfo(record, 23, 1, nullptr, &id, &size));
    EXPECT_EQ(size, 3U);
    EXPECT_REFUSED("Invalid Event Data Info ID 1",
                   event.GetDataInfo(record, 24, 1, nullptr, &id, &size));
    EXPECT_EQ(size, 3U);
    EXPECT_REFUSED("In buffer too small", event.GetDataInfo(record, 24, 0, nullptr, &id, &size));
    EXPECT_EQ(size, 4U);
    EXPECT_EQ(id, 77U);
    size = 0;
    EXPECT_REFUSED("In buffer too small", event.GetDataInfo(record, 24, 0, nullptr, &id, &size));
    EXPECT_EQ(size, 4U);
}

TEST_F(EventDeviceTest, DataInfoKnowsNoOtherCommand) {
    const char record[24] = {};
    uint32_t id = 77;
    int32_t type = 99;
    size_t size = sizeof id;
    EXPECT_REFUSED("Invalid Event Data Info ID 2",
                   event.GetDataInfo(record, 24, 2, &type, &id, &size));
    EXPECT_REFUSED("Invalid Event Data Info ID -1",
                   event.GetDataInfo(record, 24, -1, &type, &id, &size));
    EXPECT_REFUSED("Invalid Event Data Info ID 1000",
                   event.GetDataInfo(record, 24, 1000, &type, &id, &size));
    EXPECT_EQ(id, 77U);
    EXPECT_EQ(type, 99);
}

TEST_F(EventDeviceTest, CountsEventsThatAreNotQueuedToo) {
    event.Unregister();
    Post(1, 1);
    Post(2, 2);
    EXPECT_EQ(NumFired(), 2U);
    EXPECT_EQ(NumQueued(), 0U);
    event.Register();
    Post(3, 3);
    EXPECT_EQ(NumFired(), 3U);
    EXPECT_EQ(NumQueued(), 1U);
}

TEST_F(EventDeviceTest, NeitherFetchingNorFlushingTouchesTheNumberOfEvents) {
    Post(1, 1);
    Post(2, 2);
    FetchId();
    event.Flush();
    EXPECT_EQ(NumFired(), 2U);
    event.Unregister();
    event.Register();
    EXPECT_EQ(NumFired(), 2U);
}

TEST_F(EventDeviceTest, TheNumberOfEventsWrapsAt65536) {
    event.Unregister();
    const auto entry = boost::make_shared<DevEventEntry>(1, 1);
    for (int i = 0; i < 65535; ++i) {
        event.Post(entry);
    }
    EXPECT_EQ(NumFired(), 65535U);
    event.Post(entry);
    EXPECT_EQ(NumFired(), 0U);
    event.Post(entry);
    EXPECT_EQ(NumFired(), 1U);
}

TEST_F(EventDeviceTest, TheNumberOfQueuedEventsDoesNotWrap) {
    const auto entry = boost::make_shared<DevEventEntry>(1, 1);
    for (int i = 0; i < 65537; ++i) {
        event.Post(entry);
    }
    EXPECT_EQ(NumQueued(), 65537U);
    EXPECT_EQ(NumFired(), 1U);
}

TEST_F(EventDeviceTest, PushingDoesNotCount) {
    event.Push(boost::make_shared<DevEventEntry>(1, 1));
    EXPECT_EQ(NumQueued(), 1U);
    EXPECT_EQ(NumFired(), 0U);
}

TEST_F(EventDeviceTest, EventsComeInTheOrderInWhichTheyWerePosted) {
    for (uint32_t id = 0; id < 100; ++id) {
        Post(id, 0);
    }
    for (uint32_t id = 0; id < 100; ++id) {
        EXPECT_EQ(FetchId(), id);
    }
}

TEST_F(EventDeviceTest, EventsOfSeveralThreadsKeepEachThreadsOrder) {
    constexpr uint32_t NUM_EACH = 500;
    std::array<std::thread, 4> threads;
    for (uint32_t thread = 0; thread < threads.size(); ++thread) {
        threads[thread] = std::thread([this, thread] {
            for (uint32_t i = 0; i < NUM_EACH; ++i) {
                Post(thread, i);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    ASSERT_EQ(NumQueued(), 4 * NUM_EACH);
    std::array<uint64_t, 4> next{};
    while (NumQueued() != 0) {
        const std::string record = Fetch();
        uint32_t thread = 0;
        uint64_t value = 0;
        std::memcpy(&thread, record.data(), sizeof thread);
        std::memcpy(&value, record.data() + 8, sizeof value);
        ASSERT_LT(thread, 4U);
        ASSERT_EQ(value, next[thread]++);
    }
}

} // namespace
