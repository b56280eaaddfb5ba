#include "core/WaitPoint.h"
#include "EventFixture.h"

#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/recursive_mutex.hpp>

#include <functional>
#include <stdexcept>
#include <vector>

namespace {

using GenICam::Client::CWaitPoint;
using GenICam::Client::WaitResult;

// A lock without threads: what happens while a wait stays awake is scripted.
struct ReleasedLock {
    void lock() {}
    bool try_lock() { return true; }
    void unlock() {
        ++numReleased;
        if (whileAwake) {
            whileAwake();
        }
    }

    std::function<void()> whileAwake;
    int numReleased = 0;
};

// A condition without threads: what happens while a wait sleeps is scripted.
struct ScriptedCondition {
    void wait(ReleasedLock&) { Sleep(kForever); }
    template <typename Duration>
    void timed_wait(ReleasedLock&, const Duration& duration) {
        Sleep(duration.total_milliseconds());
    }
    static void Sleep(int64_t milliseconds) {
        slices.push_back(milliseconds);
        if (script.empty()) {
            throw std::logic_error("nothing ends this wait");
        }
        const auto act = std::move(script.front());
        script.erase(script.begin());
        act();
    }
    void notify_one() noexcept { ++numNotified; }
    void notify_all() noexcept { numNotified += 1000; }

    static void Reset() {
        script.clear();
        slices.clear();
        numNotified = 0;
    }

    static constexpr int64_t kForever = -1;
    inline static std::vector<std::function<void()>> script;
    // What each sleep was limited to, in milliseconds.
    inline static std::vector<int64_t> slices;
    inline static int numNotified = 0;
};

class ScriptedWaitTest : public testing::Test {
protected:
    void SetUp() override { ScriptedCondition::Reset(); }

    WaitResult Wait(uint64_t milliseconds) { return point.Wait(lock, milliseconds); }
    static void WhileAsleep(std::function<void()> act) {
        ScriptedCondition::script.push_back(std::move(act));
    }

    ReleasedLock lock;
    CWaitPoint<ScriptedCondition> point;
};

TEST_F(ScriptedWaitTest, AGrantEndsAWait) {
    WhileAsleep([&] { EXPECT_TRUE(point.Grant()); });
    EXPECT_EQ(Wait(INFINITE_TIMEOUT), WaitResult::Woken);
    EXPECT_EQ(Wait(0), WaitResult::TimedOut);
}

TEST_F(ScriptedWaitTest, ThereIsNothingToGrantWithoutAWait) {
    EXPECT_FALSE(point.Grant());
    EXPECT_EQ(Wait(0), WaitResult::TimedOut);
    EXPECT_FALSE(point.Grant());
}

TEST_F(ScriptedWaitTest, OneWaitIsGrantedOnce) {
    WhileAsleep([&] {
        EXPECT_TRUE(point.Grant());
        EXPECT_FALSE(point.Grant());
    });
    EXPECT_EQ(Wait(INFINITE_TIMEOUT), WaitResult::Woken);
    EXPECT_EQ(Wait(0), WaitResult::TimedOut);
}

TEST_F(ScriptedWaitTest, AWakeUpWithoutAGrantIsSleptOver) {
    WhileAsleep([] {});
    WhileAsleep([] {});
    WhileAsleep([&] { point.Grant(); });
    EXPECT_EQ(Wait(INFINITE_TIMEOUT), WaitResult::Woken);
    EXPECT_EQ(ScriptedCondition::slices.size(), 3U);
}

TEST_F(ScriptedWaitTest, AGrantIsNotTakenByAWaitThatBeginsAfterIt) {
    WaitResult newcomer = WaitResult::Closed;
    WhileAsleep([&] {
        EXPECT_TRUE(point.Grant());
        newcomer = Wait(0);
    });
    EXPECT_EQ(Wait(INFINITE_TIMEOUT), WaitResult::Woken);
    EXPECT_EQ(newcomer, WaitResult::TimedOut);
}

TEST_F(ScriptedWaitTest, ANewcomerIsGrantedAnotherWakeUp) {
    WaitResult newcomer = WaitResult::Closed;
    WhileAsleep([&] {
        EXPECT_TRUE(point.Grant());
        WhileAsleep([&] {
            EXPECT_TRUE(point.Grant());
            EXPECT_FALSE(point.Grant());
        });
        newcomer = Wait(INFINITE_TIMEOUT);
    });
    EXPECT_EQ(Wait(INFINITE_TIMEOUT), WaitResult::Woken);
    EXPECT_EQ(newcomer, WaitResult::Woken);
    EXPECT_EQ(Wait(0), WaitResult::TimedOut);
}

TEST_F(ScriptedWaitTest, AWaitThatWasGrantedNeverReportsATimeOut) {
    WhileAsleep([&] {
        point.Grant();
        std::this_thread::sleep_for(10ms);
    });
    EXPECT_EQ(Wait(1), WaitResult::Woken);
}

TEST_F(ScriptedWaitTest, TwoWaitsNeedTwoGrants) {
    WaitResult inner = WaitResult::TimedOut;
    WhileAsleep([&] {
        WhileAsleep([&] {
            EXPECT_TRUE(point.Grant());
            EXPECT_TRUE(point.Grant());
            EXPECT_FALSE(point.Grant());
        });
        inner = Wait(INFINITE_TIMEOUT);
    });
    EXPECT_EQ(Wait(INFINITE_TIMEOUT), WaitResult::Woken);
    EXPECT_EQ(inner, WaitResult::Woken);
}

TEST_F(ScriptedWaitTest, AWaitThatEndsByAnExceptionLeavesNoGrantBehind) {
    WhileAsleep([&] {
        point.Grant();
        throw std::runtime_error("interrupted");
    });
    EXPECT_THROWS(std::runtime_error, "interrupted", Wait(INFINITE_TIMEOUT));
    EXPECT_EQ(Wait(0), WaitResult::TimedOut);
    EXPECT_FALSE(point.Grant());
}

TEST_F(ScriptedWaitTest, ClosingEndsWaitsUnderWayAndToCome) {
    WhileAsleep([&] { point.Close(); });
    EXPECT_EQ(Wait(INFINITE_TIMEOUT), WaitResult::Closed);
    EXPECT_EQ(Wait(INFINITE_TIMEOUT), WaitResult::Closed);
    EXPECT_EQ(Wait(0), WaitResult::Closed);
    EXPECT_GE(ScriptedCondition::numNotified, 1000);
}

TEST_F(ScriptedWaitTest, ClosingPrevailsOverAGrant) {
    WhileAsleep([&] {
        point.Grant();
        point.Close();
    });
    EXPECT_EQ(Wait(INFINITE_TIMEOUT), WaitResult::Closed);
}

TEST_F(ScriptedWaitTest, ATimeOutOf0DoesNotSleep) {
    EXPECT_EQ(Wait(0), WaitResult::TimedOut);
    EXPECT_TRUE(ScriptedCondition::slices.empty());
}

TEST_F(ScriptedWaitTest, AShortWaitSleepsNoLongerThanItsTimeOut) {
    WhileAsleep([] { std::this_thread::sleep_for(6ms); });
    EXPECT_EQ(Wait(5), WaitResult::TimedOut);
    EXPECT_EQ(ScriptedCondition::slices, std::vector<int64_t>{5});
}

TEST_F(ScriptedWaitTest, AWaitThatIsWokenInVainSleepsForTheRest) {
    WhileAsleep([] { std::this_thread::sleep_for(10ms); });
    WhileAsleep([&] { point.Grant(); });
    EXPECT_EQ(Wait(100'000), WaitResult::Woken);
    ASSERT_EQ(ScriptedCondition::slices.size(), 2U);
    EXPECT_EQ(ScriptedCondition::slices[0], 100'000);
    EXPECT_LE(ScriptedCondition::slices[1], 99'990);
    EXPECT_GT(ScriptedCondition::slices[1], 0);
}

// No sleep is so long that a clock could overflow, and none is too short for its time-out.
TEST_F(ScriptedWaitTest, AnEndlessWaitSleepsInSlices) {
    for (const uint64_t timeout : ENDLESS_TIMEOUTS) {
        SCOPED_TRACE(timeout);
        ScriptedCondition::Reset();
        WhileAsleep([] {});
        WhileAsleep([&] { point.Grant(); });
        EXPECT_EQ(Wait(timeout), WaitResult::Woken);
        ASSERT_EQ(ScriptedCondition::slices.size(), 2U);
        for (const int64_t slice : ScriptedCondition::slices) {
            if (timeout == INFINITE_TIMEOUT) {
                EXPECT_EQ(slice, ScriptedCondition::kForever);
                continue;
            }
            EXPECT_GE(slice, 1'000'000);
            EXPECT_LE(slice, 0x7FFFFFFF);
        }
    }
}

TEST_F(ScriptedWaitTest, AGrantToAWaitThatIsAwakeWakesNobody) {
    lock.whileAwake = [&] { EXPECT_FALSE(point.Grant()); };
    EXPECT_EQ(Wait(INFINITE_TIMEOUT), WaitResult::Woken);
    EXPECT_TRUE(ScriptedCondition::slices.empty());
    lock.whileAwake = nullptr;
    EXPECT_EQ(Wait(0), WaitResult::TimedOut);
}

TEST_F(ScriptedWaitTest, ClosingEndsAWaitThatIsAwake) {
    lock.whileAwake = [&] { point.Close(); };
    EXPECT_EQ(Wait(INFINITE_TIMEOUT), WaitResult::Closed);
    EXPECT_TRUE(ScriptedCondition::slices.empty());
}

TEST_F(ScriptedWaitTest, ATimeOutOf0DoesNotReleaseTheLock) {
    EXPECT_EQ(Wait(0), WaitResult::TimedOut);
    EXPECT_EQ(lock.numReleased, 0);
}

// A camera with a slow rate should not cost a processor's time between its images.
TEST_F(ScriptedWaitTest, AWaitStaysAwakeSeldomWhereThatIsInVain) {
    std::vector<int> awake;
    for (int i = 0; i < 200; ++i) {
        WhileAsleep([&] { EXPECT_TRUE(point.Grant()); });
        const int before = lock.numReleased;
        EXPECT_EQ(Wait(INFINITE_TIMEOUT), WaitResult::Woken);
        if (lock.numReleased != before) {
            awake.push_back(i);
        }
    }
    EXPECT_EQ(awake, (std::vector<int>{0, 2, 6, 14, 30, 62, 126, 190}));
}

TEST_F(ScriptedWaitTest, AWaitStaysAwakeAgainOnceThatPays) {
    const auto waitAsleep = [&] {
        WhileAsleep([&] { EXPECT_TRUE(point.Grant()); });
        EXPECT_EQ(Wait(INFINITE_TIMEOUT), WaitResult::Woken);
    };
    for (int i = 0; i < 6; ++i) { // the next one is awake
        waitAsleep();
    }
    ScriptedCondition::slices.clear();
    lock.whileAwake = [&] { point.Grant(); };
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(Wait(INFINITE_TIMEOUT), WaitResult::Woken);
    }
    EXPECT_TRUE(ScriptedCondition::slices.empty());
}

// The conditions and locks that the module waits with.
template <typename Condition, typename Mutex>
void ExpectThreadsAreWokenOneByOne() {
    using Lock = boost::unique_lock<Mutex>;
    Mutex mutex;
    CWaitPoint<Condition> point;
    std::atomic<int> numWoken{0};
    int numWaiting = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            Lock lock(mutex);
            ++numWaiting;
            if (point.Wait(lock, INFINITE_TIMEOUT) == WaitResult::Woken) {
                ++numWoken;
            }
        });
    }
    ASSERT_TRUE(Eventually([&] {
        const Lock lock(mutex);
        return numWaiting == 3;
    }));
    for (int i = 1; i <= 3; ++i) {
        {
            const Lock lock(mutex);
            point.Grant();
        }
        point.Notify();
        EXPECT_TRUE(Eventually([&] { return numWoken == i; }));
    }
    const Lock lock(mutex);
    EXPECT_FALSE(point.Grant());
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(WaitPointTest, WakesThreadsOneByOneUnderAMutex) {
    ExpectThreadsAreWokenOneByOne<boost::condition_variable, boost::mutex>();
}

TEST(WaitPointTest, WakesThreadsOneByOneUnderARecursiveMutex) {
    ExpectThreadsAreWokenOneByOne<boost::condition_variable_any, boost::recursive_mutex>();
}

TEST(WaitPointTest, ReleasesTheLockWhileItWaits) {
    boost::mutex mutex;
    CWaitPoint<boost::condition_variable> point;
    std::atomic<bool> locked{false};
    boost::unique_lock<boost::mutex> lock(mutex);
    std::thread other([&] {
        const boost::unique_lock<boost::mutex> theirs(mutex);
        locked = true;
        point.Grant();
        point.Notify();
    });
    EXPECT_EQ(point.Wait(lock, INFINITE_TIMEOUT), WaitResult::Woken);
    EXPECT_TRUE(locked);
    EXPECT_TRUE(lock.owns_lock());
    other.join();
}

TEST(WaitPointTest, TimesOutNoEarlierThanAsked) {
    boost::mutex mutex;
    CWaitPoint<boost::condition_variable> point;
    boost::unique_lock<boost::mutex> lock(mutex);
    for (const uint64_t milliseconds : {uint64_t{1}, uint64_t{20}}) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(point.Wait(lock, milliseconds), WaitResult::TimedOut);
        EXPECT_GE(std::chrono::steady_clock::now() - start,
                  std::chrono::milliseconds(milliseconds));
    }
}

} // namespace
