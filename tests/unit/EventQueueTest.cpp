#include "EventFixture.h"
#include "events/EventError.h"

#include <boost/make_shared.hpp>

#include <cstring>
#include <memory>
#include <set>
#include <vector>

namespace {

using GenICam::Client::abort_error;
using GenICam::Client::CEventError;
using GenICam::Client::ErrorEventEntry;

void Push(CEventError& event, GC_ERROR code) {
    event.Push(boost::make_shared<ErrorEventEntry>(code, "text"));
}

// The code that a data block of an error event begins with.
GC_ERROR CodeIn(const char* data) {
    GC_ERROR code = 0;
    std::memcpy(&code, data, sizeof code);
    return code;
}

class EventQueueTest : public testing::Test {
protected:
    void SetUp() override { event.Register(); }

    // The code of the oldest entry; 0 when none is queued.
    GC_ERROR FetchCode() {
        char data[9] = {};
        size_t size = sizeof data;
        EXPECT_EQ(event.GetData(data, &size, 0), 0);
        return CodeIn(data);
    }

    CEventError event;
};

TEST_F(EventQueueTest, GivesEntriesInTheOrderInWhichTheyCame) {
    for (GC_ERROR code = 1; code < 50; ++code) {
        Push(event, code);
    }
    for (GC_ERROR code = 1; code < 50; ++code) {
        EXPECT_EQ(FetchCode(), code);
    }
    EXPECT_EQ(FetchCode(), 0);
}

TEST_F(EventQueueTest, AnEntryThatComesBeforeRegistrationIsLost) {
    CEventError fresh;
    Push(fresh, 1);
    fresh.Register();
    size_t size = 0;
    EXPECT_EQ(fresh.GetData(nullptr, &size, 0), 0);
    EXPECT_EQ(size, 0U);
}

TEST_F(EventQueueTest, AnEntryThatComesAfterUnregistrationIsLost) {
    event.Unregister();
    Push(event, 1);
    EXPECT_EQ(FetchCode(), 0);
}

TEST_F(EventQueueTest, QueuedEntriesOutliveUnregistrationAndRegistration) {
    Push(event, 1);
    Push(event, 2);
    event.Unregister();
    EXPECT_EQ(FetchCode(), 1);
    event.Register();
    EXPECT_EQ(FetchCode(), 2);
}

TEST_F(EventQueueTest, UnregisteringOnceUndoesSeveralRegistrations) {
    event.Register();
    event.Register();
    event.Unregister();
    Push(event, 1);
    EXPECT_EQ(FetchCode(), 0);
}

TEST_F(EventQueueTest, FlushingDropsAllEntries) {
    Push(event, 1);
    Push(event, 2);
    event.Flush();
    EXPECT_EQ(FetchCode(), 0);
    event.Flush();
    Push(event, 3);
    EXPECT_EQ(FetchCode(), 3);
}

TEST_F(EventQueueTest, FlushingReleasesTheEntries) {
    const auto entry = boost::make_shared<ErrorEventEntry>(1, "text");
    event.Push(entry);
    EXPECT_EQ(entry.use_count(), 2);
    event.Flush();
    EXPECT_EQ(entry.use_count(), 1);
}

TEST_F(EventQueueTest, KillingChangesNothing) {
    Push(event, 1);
    event.Kill();
    EXPECT_EQ(FetchCode(), 1);
}

TEST_F(EventQueueTest, TheReservedOperationChangesNothing) {
    Push(event, 1);
    event.Reserved();
    EXPECT_EQ(FetchCode(), 1);
}

TEST_F(EventQueueTest, ATimeOutOf0ReturnsAtOnceAndWritesNothing) {
    char data[9] = "before";
    size_t size = 77;
    EXPECT_EQ(event.GetData(data, &size, 0), 0);
    EXPECT_STREQ(data, "before");
    EXPECT_EQ(size, 77U);
    EXPECT_EQ(event.GetData(nullptr, nullptr, 0), 0);
}

TEST_F(EventQueueTest, AWaitLastsAsLongAsItsTimeOut) {
    for (const uint64_t timeout : {uint64_t{1}, uint64_t{30}}) {
        char data[9] = "before";
        size_t size = 77;
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(event.GetData(data, &size, timeout), 0);
        const auto lasted = std::chrono::steady_clock::now() - start;
        EXPECT_GE(lasted, std::chrono::milliseconds(timeout));
        EXPECT_LT(lasted, LONG_WAIT);
        EXPECT_STREQ(data, "before");
        EXPECT_EQ(size, 77U);
    }
}

TEST_F(EventQueueTest, NoTimeOutMattersWhenAnEntryIsQueued) {
    for (const uint64_t timeout : ENDLESS_TIMEOUTS) {
        Push(event, 5);
        char data[9] = {};
        size_t size = sizeof data;
        EXPECT_EQ(event.GetData(data, &size, timeout), 0) << timeout;
        EXPECT_EQ(CodeIn(data), 5);
    }
}

TEST_F(EventQueueTest, TheSizeQueryWaitsToo) {
    std::thread pusher([this] {
        std::this_thread::sleep_for(10ms);
        Push(event, 6);
    });
    size_t size = 0;
    EXPECT_EQ(event.GetData(nullptr, &size, INFINITE_TIMEOUT), 0);
    pusher.join();
    EXPECT_EQ(size, 9U);
    EXPECT_EQ(FetchCode(), 6);
}

// Each wait has an event and a thread of its own, so that all are looked at in the same time.
struct LongWait {
    explicit LongWait(uint64_t timeout) {
        event->Register();
        thread = std::make_unique<CWaitingThread>(*event, timeout);
    }

    std::unique_ptr<CEventError> event = std::make_unique<CEventError>();
    std::unique_ptr<CWaitingThread> thread;
};

std::vector<std::unique_ptr<LongWait>> LongWaits() {
    std::vector<std::unique_ptr<LongWait>> waits;
    for (const uint64_t timeout : ENDLESS_TIMEOUTS) {
        waits.push_back(std::make_unique<LongWait>(timeout));
    }
    std::this_thread::sleep_for(2 * SHORT_WAIT);
    for (size_t i = 0; i < waits.size(); ++i) {
        EXPECT_FALSE(waits[i]->thread->HasEnded()) << ENDLESS_TIMEOUTS[i];
    }
    return waits;
}

TEST_F(EventQueueTest, AnEntryEndsAWaitOfAnyLength) {
    const auto waits = LongWaits();
    for (size_t i = 0; i < waits.size(); ++i) {
        SCOPED_TRACE(ENDLESS_TIMEOUTS[i]);
        Push(*waits[i]->event, -7);
        ASSERT_TRUE(waits[i]->thread->Ends());
        EXPECT_EQ(waits[i]->thread->code, 0);
        EXPECT_EQ(waits[i]->thread->size, 9U);
        EXPECT_EQ(CodeIn(waits[i]->thread->data.data()), -7);
    }
}

TEST_F(EventQueueTest, DestructionEndsAWaitOfAnyLength) {
    const auto waits = LongWaits();
    for (size_t i = 0; i < waits.size(); ++i) {
        SCOPED_TRACE(ENDLESS_TIMEOUTS[i]);
        waits[i]->event.reset();
        // The memory is gone, so the waiting thread must have left it.
        ASSERT_TRUE(waits[i]->thread->Ends());
        EXPECT_EQ(waits[i]->thread->failure, Failure::Of<abort_error>("Wait terminated"));
        EXPECT_EQ(waits[i]->thread->size, CWaitingThread::CAPACITY);
    }
}

TEST_F(EventQueueTest, DestructionEndsAllWaits) {
    auto waited = std::make_unique<CEventError>();
    std::array<std::unique_ptr<CWaitingThread>, 4> threads;
    for (auto& thread : threads) {
        thread = std::make_unique<CWaitingThread>(*waited, INFINITE_TIMEOUT);
    }
    std::this_thread::sleep_for(2 * SHORT_WAIT);
    waited.reset();
    for (const auto& thread : threads) {
        ASSERT_TRUE(thread->Ends());
        EXPECT_EQ(thread->failure, Failure::Of<abort_error>("Wait terminated"));
    }
}

TEST_F(EventQueueTest, NeitherKillNorUnregistrationNorFlushEndsAWait) {
    CWaitingThread thread(event, INFINITE_TIMEOUT);
    std::this_thread::sleep_for(SHORT_WAIT);
    event.Kill();
    event.Flush();
    event.Unregister();
    Push(event, 1);
    std::this_thread::sleep_for(SHORT_WAIT);
    EXPECT_FALSE(thread.HasEnded());
    event.Register();
    Push(event, 2);
    ASSERT_TRUE(thread.Ends());
    EXPECT_EQ(CodeIn(thread.data.data()), 2);
}

size_t NumEnded(const std::vector<std::unique_ptr<CWaitingThread>>& threads) {
    size_t count = 0;
    for (const auto& thread : threads) {
        if (thread->HasEnded()) {
            ++count;
        }
    }
    return count;
}

TEST_F(EventQueueTest, EachEntryEndsOneWait) {
    std::vector<std::unique_ptr<CWaitingThread>> threads;
    for (int i = 0; i < 3; ++i) {
        threads.push_back(std::make_unique<CWaitingThread>(event, INFINITE_TIMEOUT));
    }
    for (size_t i = 1; i <= 3; ++i) {
        std::this_thread::sleep_for(SHORT_WAIT);
        EXPECT_EQ(NumEnded(threads), i - 1);
        Push(event, static_cast<GC_ERROR>(i));
        ASSERT_TRUE(Eventually([&] { return NumEnded(threads) >= i; }));
    }
    std::set<GC_ERROR> codes;
    for (const auto& thread : threads) {
        EXPECT_EQ(thread->code, 0);
        codes.insert(CodeIn(thread->data.data()));
    }
    EXPECT_EQ(codes, (std::set<GC_ERROR>{1, 2, 3}));
}

TEST_F(EventQueueTest, EntriesThatComeAtOnceEndAsManyWaits) {
    std::vector<std::unique_ptr<CWaitingThread>> threads;
    for (int i = 0; i < 4; ++i) {
        threads.push_back(std::make_unique<CWaitingThread>(event, INFINITE_TIMEOUT));
    }
    std::this_thread::sleep_for(SHORT_WAIT);
    for (GC_ERROR code = 1; code <= 4; ++code) {
        Push(event, code);
    }
    std::set<GC_ERROR> codes;
    for (const auto& thread : threads) {
        ASSERT_TRUE(thread->Ends());
        codes.insert(CodeIn(thread->data.data()));
    }
    EXPECT_EQ(codes, (std::set<GC_ERROR>{1, 2, 3, 4}));
}

// The entry is dropped before the woken thread gets to it, which takes a few attempts at most.
TEST_F(EventQueueTest, AWokenThreadThatFindsNothingFails) {
    for (int attempt = 0; attempt < 200; ++attempt) {
        CWaitingThread thread(event, INFINITE_TIMEOUT);
        std::this_thread::sleep_for(2ms);
        Push(event, 1);
        event.Flush();
        std::this_thread::sleep_for(2ms);
        if (!thread.HasEnded()) {
            Push(event, 2);
        }
        ASSERT_TRUE(thread.Ends());
        if (thread.failure != Failure()) {
            EXPECT_EQ(thread.failure,
                      Failure::Of<std::runtime_error>(" Empty event queue but signaled"));
            EXPECT_EQ(thread.size, CWaitingThread::CAPACITY);
            event.Flush();
            return;
        }
        event.Flush();
    }
    FAIL() << "no wait was ended by an entry that was gone";
}

// Only the thread that already waited was signalled.
TEST_F(EventQueueTest, AWaitThatBeginsAfterTheEntryIsGoneTimesOut) {
    for (int attempt = 0; attempt < 20; ++attempt) {
        CWaitingThread thread(event, INFINITE_TIMEOUT);
        std::this_thread::sleep_for(2ms);
        Push(event, 1);
        event.Flush();
        char data[9] = "before";
        size_t size = sizeof data;
        EXPECT_EQ(FailureOf([&] { EXPECT_EQ(event.GetData(data, &size, 0), 0); }), Failure());
        EXPECT_STREQ(data, "before");
        std::this_thread::sleep_for(2ms);
        if (!thread.HasEnded()) {
            Push(event, 2);
        }
        ASSERT_TRUE(thread.Ends());
        event.Flush();
    }
}

TEST_F(EventQueueTest, EntriesAreNeitherLostNorDoubledBetweenThreads) {
    constexpr GC_ERROR NUM_ENTRIES = 2000;
    std::atomic<int> numFetched{0};
    std::atomic<int64_t> sum{0};
    std::vector<std::thread> consumers;
    for (int i = 0; i < 3; ++i) {
        consumers.emplace_back([&] {
            while (numFetched < NUM_ENTRIES) {
                char data[9] = {};
                size_t size = sizeof data;
                const Failure failure = FailureOf([&] { event.GetData(data, &size, 5); });
                if (failure == Failure() && CodeIn(data) != 0) {
                    ++numFetched;
                    sum += CodeIn(data);
                }
            }
        });
    }
    for (GC_ERROR code = 1; code <= NUM_ENTRIES; ++code) {
        Push(event, code);
    }
    for (std::thread& consumer : consumers) {
        consumer.join();
    }
    EXPECT_EQ(numFetched, NUM_ENTRIES);
    EXPECT_EQ(sum, int64_t{NUM_ENTRIES} * (NUM_ENTRIES + 1) / 2);
    EXPECT_EQ(FetchCode(), 0);
}

} // namespace
