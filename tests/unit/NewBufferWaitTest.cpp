// A wait for a filled buffer takes the buffer before it looks at where to put it. Consumers see the
// failures of these arguments with one and the same text.
#include "ModuleFixture.h"
#include "Thrown.h"
#include "events/EventObj.h"
#include "modules/BufferInfo.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <stdexcept>

namespace {

using namespace GenICam::Client;

class NewBufferWaitTest : public ModuleTest {
protected:
    void SetUp() override {
        ModuleTest::SetUp();
        stream->AnnounceBuffer(nullptr, 8, &user, &first);
        BUFFER_HANDLE second = nullptr;
        stream->AnnounceBuffer(nullptr, 8, nullptr, &second);
        EVENT_HANDLE handle = nullptr;
        stream->RegisterEvent(1, &handle);
        event = static_cast<CEventObj*>(handle);
        FillAll();
    }

    // Queues both buffers, and moves them as they are to where filled ones wait, in their order.
    void FillAll() {
        area.fill('#');
        stream->FlushQueue(4);
        stream->FlushQueue(2);
        stream->FlushQueue(0);
        ASSERT_EQ(NumWaiting(), 2U);
    }

    uint32_t NumWaiting() {
        uint32_t count = 77;
        size_t size = sizeof count;
        EXPECT_ANSWERS(event->GetInfo(1, nullptr, &count, &size));
        return count;
    }

    // The first buffer was taken, and the consumer was not told which it is.
    void ExpectLost() {
        EXPECT_EQ(NumWaiting(), 1U);
        const auto& buffer = *HandleCast<CBufferInfo>(first);
        bool8_t hasNewData = 0;
        size_t size = sizeof hasNewData;
        EXPECT_ANSWERS(buffer.GetInfo(4, nullptr, &hasNewData, &size));
        EXPECT_EQ(hasNewData, 1);
        EXPECT_FALSE(buffer.IsQueued());
        EXPECT_FALSE(buffer.IsDelivered());
        EXPECT_EQ(std::count(area.begin(), area.end(), '#'), 64);
    }

    void ExpectGiven(void* to, size_t offered) {
        size_t size = offered;
        EXPECT_EQ(event->GetData(to, &size, 0), 0);
        EXPECT_EQ(size, 16U);
        EXPECT_EQ(NumWaiting(), 1U);
    }

    CEventObj* event = nullptr;
    BUFFER_HANDLE first = nullptr;
    std::array<char, 64> area{};
    int user = 0;
};

TEST_F(NewBufferWaitTest, LosesTheBufferWithoutASize) {
    EXPECT_THROWS(std::invalid_argument, "Invalid Size", event->GetData(area.data(), nullptr, 0));
    ExpectLost();
    FillAll();
    EXPECT_THROWS(std::invalid_argument, "Invalid Size", event->GetData(nullptr, nullptr, 0));
    ExpectLost();
}

TEST_F(NewBufferWaitTest, LosesTheBufferInTooSmallAnArea) {
    for (size_t offered = 1; offered < 16; ++offered) {
        SCOPED_TRACE(offered);
        FillAll();
        size_t size = offered;
        EXPECT_THROWS(std::invalid_argument, "Invalid Buffer Size",
                      event->GetData(area.data(), &size, 0));
        EXPECT_EQ(size, offered);
        ExpectLost();
    }
}

// There is nothing to put anywhere then.
TEST_F(NewBufferWaitTest, LooksAtTheArgumentsForABufferAlone) {
    event->Flush();
    size_t size = 3;
    EXPECT_EQ(event->GetData(area.data(), nullptr, 0), -1011);
    EXPECT_EQ(event->GetData(area.data(), &size, 0), -1011);
    EXPECT_EQ(size, 3U);
}

TEST_F(NewBufferWaitTest, GivesALostBufferAgainAfterAFlush) {
    EXPECT_THROWS(std::invalid_argument, "Invalid Size", event->GetData(area.data(), nullptr, 0));
    ExpectLost();
    stream->FlushQueue(4);
    ASSERT_EQ(NumWaiting(), 2U);
    ExpectGiven(area.data(), 16);
    EXPECT_EQ(std::memcmp(area.data(), &first, sizeof first), 0);
}

TEST_F(NewBufferWaitTest, FillsAnAreaOfItsSizeOrOfNone) {
    for (const size_t offered : {size_t{0}, size_t{16}, size_t{17}, size_t{64}}) {
        SCOPED_TRACE(offered);
        FillAll();
        ExpectGiven(area.data(), offered);
        const EVENT_NEW_BUFFER_DATA expected = {first, &user};
        EXPECT_EQ(std::memcmp(area.data(), &expected, 16), 0);
        EXPECT_EQ(std::count(area.begin() + 16, area.end(), '#'), 48);
    }
    for (const size_t offered : {size_t{0}, size_t{5}, size_t{16}}) {
        FillAll();
        ExpectGiven(nullptr, offered);
    }
}

} // namespace
