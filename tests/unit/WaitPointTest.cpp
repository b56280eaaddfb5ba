#include "core/WaitPoint.h"
#include "EventFixture.h"

#include <boost/thread/mutex.hpp>

#include <atomic>
#include <functional>
#include <stdexcept>
#include <vector>

namespace {

using GenICam::Client::CWaitPoint;
using GenICam::Client::WaitResult;
using GenICam::Client::Platform::SleepWord;

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

// A system without threads: what happens while a wait sleeps is scripted.
struct ScriptedSystem {
    static void SleepOn(const SleepWord& word, uint32_t value, uint32_t milliseconds) {
        EXPECT_EQ(word, value);
        slices.push_back(milliseconds);
        if (script.empty()) {
            throw std::logic_error("nothing ends this wait");
        }
        const auto act = std::move(script.front());
        script.erase(script.begin());
        act();
    }
    static void Wake(const SleepWord* word) noexcept { woken.push_back(word); }

    static void Reset() {
        script.clear();
        slices.clear();
        woken.clear();
    }

    inline static std::vector<std::function<void()>> script;
    // What each sleep was limited to, in milliseconds.
    inline static std::vector<uint32_t> slices;
    inline static std::vector<const SleepWord*> woken;
};

class ScriptedWaitTest : public testing::Test {
protected:
    void SetUp() override { ScriptedSystem::Reset(); }

    WaitResult Wait(uint64_t milliseconds) { return point.Wait(lock, milliseconds); }
    static void WhileAsleep(std::function<void()> act) {
        ScriptedSystem::script.push_back(std::move(act));
    }

    ReleasedLock lock;
    // Grants a wait that sleeps.
    bool Grant() {
        const auto* const sleeper = point.Grant();
        point.Wake(sleeper);
        return sleeper != nullptr;
    }

    CWaitPoint<ScriptedSystem> point;
};

TEST_F(ScriptedWaitTest, AGrantEndsAWait) {
    WhileAsleep([&] { EXPECT_TRUE(Grant()); });
    EXPECT_EQ(Wait(INFINITE_TIMEOUT), WaitResult::Woken);
    EXPECT_EQ(Wait(0), WaitResult::TimedOut);
}

TEST_F(ScriptedWaitTest, ThereIsNothingToGrantWithoutAWait) {
    EXPECT_FALSE(Grant());
    EXPECT_EQ(Wait(0), WaitResult::TimedOut);
    EXPECT_FALSE(Grant());
}

TEST_F(ScriptedWaitTest, OneWaitIsGrantedOnce) {
    WhileAsleep([&] {
        EXPECT_TRUE(Grant());
        EXPECT_FALSE(Grant());
    });
    EXPECT_EQ(Wait(INFINITE_TIMEOUT), WaitResult::Woken);
    EXPECT_EQ(Wait(0), WaitResult::TimedOut);
}

TEST_F(ScriptedWaitTest, AWakeUpWithoutAGrantIsSleptOver) {
    WhileAsleep([] {});
    WhileAsleep([] {});
    WhileAsleep([&] { Grant(); });
    EXPECT_EQ(Wait(INFINITE_TIMEOUT), WaitResult::Woken);
    EXPECT_EQ(ScriptedSystem::slices.size(), 3U);
}

TEST_F(ScriptedWaitTest, AGrantIsNotTakenByAWaitThatBeginsAfterIt) {
    WaitResult newcomer = WaitResult::Closed;
    WhileAsleep([&] {
        EXPECT_TRUE(Grant());
        newcomer = Wait(0);
    });
    EXPECT_EQ(Wait(INFINITE_TIMEOUT), WaitResult::Woken);
    EXPECT_EQ(newcomer, WaitResult::TimedOut);
}

TEST_F(ScriptedWaitTest, ANewcomerIsGrantedAnotherWakeUp) {
    WaitResult newcomer = WaitResult::Closed;
    WhileAsleep([&] {
        EXPECT_TRUE(Grant());
        WhileAsleep([&] {
            EXPECT_TRUE(Grant());
            EXPECT_FALSE(Grant());
        });
        newcomer = Wait(INFINITE_TIMEOUT);
    });
    EXPECT_EQ(Wait(INFINITE_TIMEOUT), WaitResult::Woken);
    EXPECT_EQ(newcomer, WaitResult::Woken);
    EXPECT_EQ(Wait(0), WaitResult::TimedOut);
}

// The oldest of those that sleep, and nobody else.
TEST_F(ScriptedWaitTest, AGrantWakesTheOldestWaitAlone) {
    WhileAsleep([&] {
        WhileAsleep([&] {
            auto* const older = point.Grant();
            auto* const younger = point.Grant();
            EXPECT_NE(older, nullptr);
            EXPECT_NE(younger, nullptr);
            EXPECT_NE(older, younger);
            EXPECT_TRUE(older->load() != 0 && younger->load() != 0);
        });
        EXPECT_EQ(Wait(INFINITE_TIMEOUT), WaitResult::Woken);
    });
    EXPECT_EQ(Wait(INFINITE_TIMEOUT), WaitResult::Woken);
    EXPECT_TRUE(ScriptedSystem::woken.empty());
}

TEST_F(ScriptedWaitTest, AWaitThatWasGrantedNeverReportsATimeOut) {
    WhileAsleep([&] {
        Grant();
        std::this_thread::sleep_for(10ms);
    });
    EXPECT_EQ(Wait(1), WaitResult::Woken);
}

TEST_F(ScriptedWaitTest, TwoWaitsNeedTwoGrants) {
    WaitResult inner = WaitResult::TimedOut;
    WhileAsleep([&] {
        WhileAsleep([&] {
            EXPECT_TRUE(Grant());
            EXPECT_TRUE(Grant());
            EXPECT_FALSE(Grant());
        });
        inner = Wait(INFINITE_TIMEOUT);
    });
    EXPECT_EQ(Wait(INFINITE_TIMEOUT), WaitResult::Woken);
    EXPECT_EQ(inner, WaitResult::Woken);
}

TEST_F(ScriptedWaitTest, AWaitThatEndsByAnExceptionLeavesNoGrantBehind) {
    WhileAsleep([&] {
        Grant();
        throw std::runtime_error("interrupted");
    });
    EXPECT_THROWS(std::runtime_error, "interrupted", Wait(INFINITE_TIMEOUT));
    EXPECT_EQ(Wait(0), WaitResult::TimedOut);
    EXPECT_FALSE(Grant());
}

TEST_F(ScriptedWaitTest, ClosingEndsWaitsUnderWayAndToCome) {
    WhileAsleep([&] { point.Close(); });
    EXPECT_EQ(Wait(INFINITE_TIMEOUT), WaitResult::Closed);
    EXPECT_EQ(Wait(INFINITE_TIMEOUT), WaitResult::Closed);
    EXPECT_EQ(Wait(0), WaitResult::Closed);
    EXPECT_EQ(ScriptedSystem::woken.size(), 1U);
}

TEST_F(ScriptedWaitTest, ClosingPrevailsOverAGrant) {
    WhileAsleep([&] {
        Grant();
        point.Close();
    });
    EXPECT_EQ(Wait(INFINITE_TIMEOUT), WaitResult::Closed);
}

TEST_F(ScriptedWaitTest, ATimeOutOf0DoesNotSleep) {
    EXPECT_EQ(Wait(0), WaitResult::TimedOut);
    EXPECT_TRUE(ScriptedSystem::slices.empty());
}

TEST_F(ScriptedWaitTest, AShortWaitSleepsNoLongerThanItsTimeOut) {
    WhileAsleep([] { std::this_thread::sleep_for(6ms); });
    EXPECT_EQ(Wait(5), WaitResult::TimedOut);
    EXPECT_EQ(ScriptedSystem::slices, std::vector<uint32_t>{5});
}

TEST_F(ScriptedWaitTest, AWaitThatIsWokenInVainSleepsForTheRest) {
    WhileAsleep([] { std::this_thread::sleep_for(10ms); });
    WhileAsleep([&] { Grant(); });
    EXPECT_EQ(Wait(100'000), WaitResult::Woken);
    ASSERT_EQ(ScriptedSystem::slices.size(), 2U);
    EXPECT_EQ(ScriptedSystem::slices[0], 100'000U);
    EXPECT_LE(ScriptedSystem::slices[1], 99'990U);
    EXPECT_GT(ScriptedSystem::slices[1], 0U);
}

// No sleep is so long that a clock could overflow, and none is too short for its time-out.
TEST_F(ScriptedWaitTest, AnEndlessWaitSleepsInSlices) {
    for (const uint64_t timeout : ENDLESS_TIMEOUTS) {
        SCOPED_TRACE(timeout);
        ScriptedSystem::Reset();
        WhileAsleep([] {});
        WhileAsleep([&] { Grant(); });
        EXPECT_EQ(Wait(timeout), WaitResult::Woken);
        ASSERT_EQ(ScriptedSystem::slices.size(), 2U);
        for (const uint32_t slice : ScriptedSystem::slices) {
            if (timeout == INFINITE_TIMEOUT) {
                EXPECT_EQ(slice, GenICam::Client::Platform::kSleepForever);
                continue;
            }
            EXPECT_GE(slice, 1'000'000U);
            EXPECT_LE(slice, 0x7FFFFFFFU);
        }
    }
}

TEST_F(ScriptedWaitTest, AGrantToAWaitThatIsAwakeWakesNobody) {
    lock.whileAwake = [&] { EXPECT_FALSE(Grant()); };
    EXPECT_EQ(Wait(INFINITE_TIMEOUT), WaitResult::Woken);
    EXPECT_TRUE(ScriptedSystem::slices.empty());
    lock.whileAwake = nullptr;
    EXPECT_EQ(Wait(0), WaitResult::TimedOut);
}

TEST_F(ScriptedWaitTest, ClosingEndsAWaitThatIsAwake) {
    lock.whileAwake = [&] { point.Close(); };
    EXPECT_EQ(Wait(INFINITE_TIMEOUT), WaitResult::Closed);
    EXPECT_TRUE(ScriptedSystem::slices.empty());
}

TEST_F(ScriptedWaitTest, ATimeOutOf0DoesNotReleaseTheLock) {
    EXPECT_EQ(Wait(0), WaitResult::TimedOut);
    EXPECT_EQ(lock.numReleased, 0);
}

// A camera with a slow rate should not cost a processor's time between its images.
TEST_F(ScriptedWaitTest, AWaitStaysAwakeSeldomWhereThatIsInVain) {
    std::vector<int> awake;
    for (int i = 0; i < 200; ++i) {
        WhileAsleep([&] { EXPECT_TRUE(Grant()); });
        const int before = lock.numReleased;
        EXPECT_EQ(Wait(INFINITE_TIMEOUT), WaitResult::Woken);
        if (lock.numReleased > before + 1) { // not for the sleep alone
            awake.push_back(i);
        }
    }
    EXPECT_EQ(awake, (std::vector<int>{0, 2, 6, 14, 30, 62, 126, 190}));
}

TEST_F(ScriptedWaitTest, AWaitStaysAwakeAgainOnceThatPays) {
    const auto waitAsleep = [&] {
        WhileAsleep([&] { EXPECT_TRUE(Grant()); });
        EXPECT_EQ(Wait(INFINITE_TIMEOUT), WaitResult::Woken);
    };
    for (int i = 0; i < 6; ++i) { // the next one is awake
        waitAsleep();
    }
    ScriptedSystem::slices.clear();
    lock.whileAwake = [&] { Grant(); };
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(Wait(INFINITE_TIMEOUT), WaitResult::Woken);
    }
    EXPECT_TRUE(ScriptedSystem::slices.empty());
}

TEST(WaitPointTest, WakesThreadsOneByOne) {
    using Lock = boost::unique_lock<boost::mutex>;
    boost::mutex mutex;
    CWaitPoint<> point;
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
        CWaitPoint<>::Sleeper sleeper = nullptr;
        {
            const Lock lock(mutex);
            sleeper = point.Grant();
        }
        point.Wake(sleeper);
        EXPECT_TRUE(Eventually([&] { return numWoken == i; }));
    }
    const Lock lock(mutex);
    EXPECT_EQ(point.Grant(), nullptr);
    for (std::thread& thread : threads) {
        thread.join();
    }
}

// The system of a thread that is interrupted in its sleep, beside others that are not.
struct InterruptingSystem {
    static void SleepOn(const SleepWord& word, uint32_t value, uint32_t milliseconds) {
        if (std::this_thread::get_id() != victim) {
            GenICam::Client::Platform::SleepOn(word, value, milliseconds);
            return;
        }
        isAsleep = true;
        while (!isInterrupted) {
            std::this_thread::yield();
        }
        throw std::runtime_error("interrupted");
    }
    static void Wake(const SleepWord* word) noexcept { GenICam::Client::Platform::Wake(word); }

    inline static std::atomic<std::thread::id> victim;
    inline static std::atomic<bool> isAsleep{false};
    inline static std::atomic<bool> isInterrupted{false};
};

TEST(WaitPointTest, AWaitThatEndsByAnExceptionHandsItsGrantToTheNext) {
    using Lock = boost::unique_lock<boost::mutex>;
    boost::mutex mutex;
    CWaitPoint<InterruptingSystem> point;
    int numWaiting = 0;
    const auto wait = [&] {
        Lock lock(mutex);
        ++numWaiting;
        return point.Wait(lock, INFINITE_TIMEOUT);
    };
    InterruptingSystem::isAsleep = InterruptingSystem::isInterrupted = false;
    std::thread older([&] {
        InterruptingSystem::victim = std::this_thread::get_id();
        EXPECT_THROWS(std::runtime_error, "interrupted", wait());
    });
    ASSERT_TRUE(Eventually([] { return InterruptingSystem::isAsleep.load(); }));
    std::thread younger([&] { EXPECT_EQ(wait(), WaitResult::Woken); });
    ASSERT_TRUE(Eventually([&] {
        const Lock lock(mutex);
        return numWaiting == 2;
    }));
    {
        const Lock lock(mutex);
        EXPECT_NE(point.Grant(), nullptr);
    }
    InterruptingSystem::isInterrupted = true;
    older.join();
    younger.join();
}

TEST(WaitPointTest, ReleasesTheLockWhileItWaits) {
    boost::mutex mutex;
    CWaitPoint<> point;
    std::atomic<bool> locked{false};
    boost::unique_lock<boost::mutex> lock(mutex);
    std::thread other([&] {
        const boost::unique_lock<boost::mutex> theirs(mutex);
        locked = true;
        point.Wake(point.Grant());
    });
    EXPECT_EQ(point.Wait(lock, INFINITE_TIMEOUT), WaitResult::Woken);
    EXPECT_TRUE(locked);
    EXPECT_TRUE(lock.owns_lock());
    other.join();
}

TEST(WaitPointTest, TimesOutNoEarlierThanAsked) {
    boost::mutex mutex;
    CWaitPoint<> point;
    boost::unique_lock<boost::mutex> lock(mutex);
    for (const uint64_t milliseconds : {uint64_t{1}, uint64_t{20}}) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(point.Wait(lock, milliseconds), WaitResult::TimedOut);
        EXPECT_GE(std::chrono::steady_clock::now() - start,
                  std::chrono::milliseconds(milliseconds));
    }
}

} // namespace
