#include "StreamFixtures.h"

#include <set>

namespace {

class WaitTest : public MonoStreamTest {
protected:
    GC_ERROR Get(void* area, size_t* size, uint64_t timeout = 0) {
        return gentl.EventGetData(newBuffer, area, size, timeout);
    }

    // Only fetched.
    void ExpectTaken(BUFFER_HANDLE buffer) {
        ExpectFlags(buffer, false, true);
        EXPECT_OK(gentl.DSRevokeBuffer(stream, buffer, nullptr, nullptr));
    }
};

TEST_F(WaitTest, GivesTheOldestBuffer) {
    Deliver(3);
    for (size_t i = 0; i < 3; ++i) {
        EVENT_NEW_BUFFER_DATA data = {};
        static_assert(sizeof data == 16);
        size_t size = 16;
        EXPECT_OK(Get(&data, &size));
        EXPECT_EQ(data.BufferHandle, buffers[i]);
        EXPECT_EQ(data.pUserPointer, UserPointer(i));
        EXPECT_EQ(size, 16U);
        ExpectLengths(0, 2 - i);
        ExpectTaken(buffers[i]);
    }
}

TEST_F(WaitTest, WritesSixteenBytesWhateverTheRoom) {
    for (const size_t offered : {size_t{0}, size_t{16}, size_t{17}, size_t{32}, SIZE_MAX}) {
        SCOPED_TRACE(offered);
        Deliver(1);
        const void* expected[] = {buffers[0], UserPointer(0)};
        std::string area(32, '#');
        size_t size = offered;
        EXPECT_OK(Get(area.data(), &size));
        EXPECT_EQ(size, 16U);
        EXPECT_EQ(area,
                  std::string(reinterpret_cast<const char*>(expected), 16) + std::string(16, '#'));
        RenewStream();
    }
}

TEST_F(WaitTest, TooSmallAreaLosesTheBuffer) {
    Deliver(4);
    const size_t sizes[] = {15, 8, 1};
    for (size_t i = 0; i < 3; ++i) {
        SCOPED_TRACE(sizes[i]);
        std::string area(32, '#');
        size_t size = sizes[i];
        EXPECT_FAILS(-1001, UNSPECIFIED, Get(area.data(), &size));
        EXPECT_EQ(size, sizes[i]);
        EXPECT_EQ(area, std::string(32, '#'));
        ExpectLengths(0, 3 - i);
        ExpectTaken(buffers[i]);
    }
    EXPECT_EQ(WaitBuffer(0).handle, buffers[3]);
}

TEST_F(WaitTest, MissingSizeLosesTheBuffer) {
    Deliver(3);
    std::string area(32, '#');
    EXPECT_FAILS(-1001, UNSPECIFIED, Get(area.data(), nullptr));
    EXPECT_EQ(area, std::string(32, '#'));
    ExpectLengths(0, 2);
    ExpectTaken(buffers[0]);
    EXPECT_FAILS(-1001, UNSPECIFIED, Get(nullptr, nullptr));
    ExpectLengths(0, 1);
    ExpectTaken(buffers[1]);
    EXPECT_EQ(WaitBuffer(0).handle, buffers[2]);
}

TEST_F(WaitTest, MissingAreaTakesTheBuffer) {
    const size_t sizes[] = {0, 1, 15, 16, 100};
    Deliver(5);
    for (size_t i = 0; i < 5; ++i) {
        SCOPED_TRACE(sizes[i]);
        size_t size = sizes[i];
        EXPECT_FAILS_UNRECORDED(0, Get(nullptr, &size));
        EXPECT_EQ(size, 16U);
        ExpectLengths(0, 4 - i);
        ExpectTaken(buffers[i]);
    }
}

TEST_F(WaitTest, LostBufferComesBackWithAFlush) {
    Deliver(1);
    char area[16] = {};
    size_t size = 15;
    EXPECT_FAILS(-1001, UNSPECIFIED, Get(area, &size));
    ExpectLengths(0, 0);
    EXPECT_OK(gentl.DSFlushQueue(stream, 3));
    ExpectLengths(1, 0);
    Produce(1);
    EXPECT_EQ(WaitBuffer().handle, buffers[0]);
}

TEST_F(WaitTest, ArgumentsDoNotMatterWithoutABuffer) {
    RegisterNewBuffer();
    char area[16] = "before";
    size_t size = 15;
    EXPECT_FAILS(-1011, "Timeout", Get(area, &size));
    EXPECT_EQ(size, 15U);
    EXPECT_STREQ(area, "before");
    EXPECT_FAILS(-1011, "Timeout", Get(area, nullptr));
    EXPECT_FAILS(-1011, "Timeout", Get(nullptr, &size));
    EXPECT_FAILS(-1011, "Timeout", Get(nullptr, nullptr));
    size = 0;
    EXPECT_FAILS(-1011, "Timeout", Get(area, &size));
    EXPECT_EQ(size, 0U);
}

TEST_F(WaitTest, TimesOutNotBeforeItsTime) {
    StartWith(1);
    for (const uint64_t timeout : {0U, 1U, 60U}) {
        SCOPED_TRACE(timeout);
        const auto start = std::chrono::steady_clock::now();
        EXPECT_FAILS(-1011, "Timeout", WaitBuffer(timeout).code);
        const auto passed = std::chrono::steady_clock::now() - start;
        EXPECT_GE(passed, std::chrono::milliseconds(timeout));
        EXPECT_LT(passed, std::chrono::milliseconds(LONG_WAIT));
    }
}

TEST_F(WaitTest, TimesOutInEveryState) {
    RegisterNewBuffer();
    EXPECT_FAILS(-1011, "Timeout", WaitBuffer(1).code);
    Start();
    EXPECT_FAILS(-1011, "Timeout", WaitBuffer(1).code);
    Stop();
    EXPECT_FAILS(-1011, "Timeout", WaitBuffer(1).code);
}

TEST_F(WaitTest, LongTimeoutsAreNoShortOnes) {
    for (const uint64_t timeout : {uint64_t{1} << 31, uint64_t{1} << 32, uint64_t{1} << 63,
                                   uint64_t{GENTL_INFINITE} - 1, uint64_t{GENTL_INFINITE}}) {
        SCOPED_TRACE(timeout);
        StartWith(1);
        auto waiting = WaitElsewhere(timeout);
        EXPECT_FALSE(IsReady(waiting, 20));
        Produce(1);
        const NewBuffer image = waiting.get();
        EXPECT_CODE(0, image.code);
        EXPECT_EQ(image.handle, buffers[0]);
        RenewStream();
    }
}

TEST_F(WaitTest, GoesOnThroughStopAndStart) {
    StartWith(1);
    auto waiting = WaitElsewhere();
    Stop();
    EXPECT_FALSE(IsReady(waiting, 20));
    Start();
    EXPECT_FALSE(IsReady(waiting));
    Produce(1);
    const NewBuffer image = waiting.get();
    EXPECT_CODE(0, image.code);
    EXPECT_EQ(image.handle, buffers[0]);
}

TEST_F(WaitTest, GivesDiscardedBuffers) {
    AnnounceBuffers(2);
    RegisterNewBuffer();
    EXPECT_OK(gentl.DSFlushQueue(stream, 4));
    for (BUFFER_HANDLE buffer : buffers) {
        EXPECT_EQ(WaitBuffer(0).handle, buffer);
        ExpectFlags(buffer, false, true);
    }
    EXPECT_FAILS(-1011, "Timeout", WaitBuffer(0).code);
}

TEST_F(WaitTest, FlushedInputEndsAWait) {
    AnnounceBuffers(2);
    QueueAll();
    RegisterNewBuffer();
    auto waiting = WaitElsewhere();
    EXPECT_OK(gentl.DSFlushQueue(stream, 0));
    const NewBuffer image = waiting.get();
    EXPECT_CODE(0, image.code);
    EXPECT_EQ(image.handle, buffers[0]);
    ExpectFlags(buffers[0], false, true);
    ExpectLengths(0, 1);
}

// Each such flush wakes one waiter, even if it has nothing to give.
TEST_F(WaitTest, WokenWithoutABufferThereIsNoData) {
    RegisterNewBuffer();
    auto waiting = WaitElsewhere();
    ASSERT_TRUE(Eventually([&] {
        EXPECT_OK(gentl.DSFlushQueue(stream, 0));
        return IsReady(waiting, 1);
    }));
    const NewBuffer nothing = waiting.get();
    EXPECT_CODE(-1008, nothing.code);
    EXPECT_EQ(nothing.handle, nullptr);
    EXPECT_EQ(nothing.size, 16U);
    EXPECT_LAST_ERROR(-1008, "No Event Data");
}

// A wait that such a flush does not wake times out, whatever waits for delivery by then.
TEST_F(WaitTest, OtherFlushesWakeNobody) {
    RegisterNewBuffer();
    AnnounceBuffers(1);
    for (const ACQ_QUEUE_TYPE operation : {1, 2, 3, 4, 5}) {
        SCOPED_TRACE(operation);
        EXPECT_TRUE(Try([&](std::chrono::milliseconds pause) {
            EXPECT_OK(gentl.DSFlushQueue(stream, 1));
            auto waiting = WaitElsewhere(static_cast<uint64_t>(2 * pause.count()));
            std::this_thread::sleep_for(pause);
            EXPECT_OK(gentl.DSFlushQueue(stream, operation));
            return waiting.get().code == -1011;
        }));
        EXPECT_LAST_ERROR(-1011, "Timeout");
        EXPECT_EQ(NumAwaitDelivery(), operation == 4 ? 1U : 0U);
    }
}

TEST_F(WaitTest, KillWakesNobody) {
    RegisterNewBuffer();
    const auto start = std::chrono::steady_clock::now();
    auto waiting = WaitElsewhere(60);
    while (!IsReady(waiting, 1)) {
        ASSERT_OK(gentl.EventKill(newBuffer));
    }
    EXPECT_CODE(-1011, waiting.get().code);
    EXPECT_LAST_ERROR(-1011, "Timeout");
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(60));
}

TEST_F(WaitTest, KillDuringAWaitEndsItWithTheNextBuffer) {
    StartWith(1);
    NewBuffer last;
    EXPECT_TRUE(Try([&](std::chrono::milliseconds pause) {
        auto waiting = WaitElsewhere();
        std::this_thread::sleep_for(pause);
        EXPECT_OK(gentl.EventKill(newBuffer));
        Produce(1);
        last = waiting.get();
        if (last.code == 0) {
            EXPECT_OK(gentl.DSQueueBuffer(stream, last.handle));
        }
        return last.code != 0;
    }));
    EXPECT_CODE(-1012, last.code);
    EXPECT_LAST_ERROR(-1012, "Wait terminated");
    EXPECT_EQ(last.handle, nullptr);
    EXPECT_EQ(last.size, 16U);
    ExpectLengths(0, 1);
    ExpectFlags(buffers[0], false, true);
    ExpectNotRevocable(buffers[0]);
    EXPECT_EQ(WaitBuffer(0).handle, buffers[0]);
}

TEST_F(WaitTest, KillCountsBeforeTheMissingBuffer) {
    RegisterNewBuffer();
    int32_t last = 0;
    EXPECT_TRUE(Try([&](std::chrono::milliseconds pause) {
        auto waiting = WaitElsewhere();
        std::this_thread::sleep_for(pause);
        EXPECT_OK(gentl.EventKill(newBuffer));
        while (!IsReady(waiting, 1)) {
            EXPECT_OK(gentl.DSFlushQueue(stream, 0));
        }
        last = waiting.get().code;
        return last != -1008;
    }));
    EXPECT_CODE(-1012, last);
    EXPECT_LAST_ERROR(-1012, "Wait terminated");
}

TEST_F(WaitTest, KillBeforeAWaitIsForgotten) {
    StartWith(2);
    EXPECT_OK(gentl.EventKill(newBuffer));
    auto waiting = WaitElsewhere();
    EXPECT_FALSE(IsReady(waiting, 20));
    Produce(1);
    EXPECT_CODE(0, waiting.get().code);
    Produce(1);
    ASSERT_TRUE(Eventually([&] { return NumAwaitDelivery() == 1; }));
    EXPECT_OK(gentl.EventKill(newBuffer));
    EXPECT_EQ(WaitBuffer(0).handle, buffers[1]);
    EXPECT_OK(gentl.EventKill(newBuffer));
    EXPECT_FAILS(-1011, "Timeout", WaitBuffer(1).code);
}

TEST_F(WaitTest, OneImageWakesOneConsumer) {
    StartWith(1);
    EXPECT_TRUE(Try([&](std::chrono::milliseconds pause) {
        const auto timeout = static_cast<uint64_t>(4 * pause.count());
        auto first = WaitElsewhere(timeout);
        auto second = WaitElsewhere(timeout);
        std::this_thread::sleep_for(pause);
        Produce(1);
        std::vector codes = {first.get().code, second.get().code};
        std::sort(codes.begin(), codes.end());
        if (codes[1] != 0) {
            EXPECT_CODE(0, WaitBuffer().code);
        }
        EXPECT_OK(gentl.DSQueueBuffer(stream, buffers[0]));
        return codes == std::vector{-1011, 0};
    }));
}

TEST_F(WaitTest, EveryConsumerGetsItsOwnBuffer) {
    constexpr size_t NUM_CONSUMERS = 6;
    StartWith(NUM_CONSUMERS);
    std::vector<std::future<NewBuffer>> consumers;
    for (size_t i = 0; i < NUM_CONSUMERS; ++i) {
        consumers.push_back(std::async(std::launch::async, [this] {
            // Another consumer may take the buffer for which this one was woken.
            NewBuffer image = WaitBuffer();
            while (image.code == -1008) {
                image = WaitBuffer();
            }
            return image;
        }));
    }
    Produce(NUM_CONSUMERS);
    std::set<BUFFER_HANDLE> fetched;
    for (auto& consumer : consumers) {
        const NewBuffer image = consumer.get();
        EXPECT_CODE(0, image.code);
        EXPECT_TRUE(fetched.insert(image.handle).second);
    }
    EXPECT_EQ(fetched, std::set(buffers.begin(), buffers.end()));
    ExpectLengths(0, 0);
}

TEST_F(WaitTest, GoesOnWhileABufferIsFilled) {
    StartWith(2);
    Produce(1);
    ASSERT_TRUE(Eventually([&] { return NumAwaitDelivery() == 1; }));
    HangInGrab();
    int32_t answer = 77;
    EXPECT_TRUE(EndsDuringHang([&] { return WaitBuffer(0).code; }, &answer));
    EXPECT_CODE(0, answer);
    EXPECT_TRUE(EndsDuringHang([&] { return WaitBuffer(1).code; }, &answer));
    EXPECT_CODE(-1011, answer);
    OptivoSim_Release();
    EXPECT_EQ(WaitBuffer().handle, buffers[1]);
}

} // namespace
