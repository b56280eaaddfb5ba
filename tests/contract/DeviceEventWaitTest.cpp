#include "DeviceFixtures.h"

#include <algorithm>
#include <deque>
#include <mutex>
#include <set>
#include <vector>

namespace {

using namespace std::chrono_literals;

// Threads that wait for remote-device events.
class RemoteEventWaitTest : public RemoteEventFixture {
protected:
    size_t NumDone() const {
        return static_cast<size_t>(
            std::count_if(m_waiters.begin(), m_waiters.end(),
                          [](const Waiter& waiter) { return waiter.IsDone(); }));
    }

    // Reads until so many events were read by all threads together.
    void ReadTogether(size_t numThreads, size_t numEvents, const std::function<void()>& fire);

    std::deque<Waiter> m_waiters;
};

TEST_F(RemoteEventWaitTest, TimeOutSucceedsAndWritesNothing) {
    for (const uint64_t timeout : {0U, 1U, 20U}) {
        SCOPED_TRACE(timeout);
        const ErrorRecord before = LastError();
        EXPECT_EQ(Read(timeout), DeviceEvent::Nothing());
        EXPECT_EQ(LastError(), before);
    }
}

TEST_F(RemoteEventWaitTest, WaitsAsLongAsItIsTold) {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(Read(60), DeviceEvent::Nothing());
    const auto waited = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(waited, 40ms);
    EXPECT_LT(waited, 20s);
}

TEST_F(RemoteEventWaitTest, WaitsNotAtAllForWhatIsQueued) {
    for (const uint64_t timeout : {uint64_t{0}, uint64_t{1}, UINT64_MAX - 1, UINT64_MAX}) {
        ASSERT_TRUE(Fire(1, timeout));
        EXPECT_EQ(Read(timeout), DeviceEvent::Of(1, timeout));
    }
}

TEST_F(RemoteEventWaitTest, NoTimeOutIsTooLong) {
    for (const uint64_t timeout :
         {LONG_WAIT, uint64_t{0x7FFFFFFF}, uint64_t{0xFFFFFFFF}, uint64_t{0x100000000},
          uint64_t{0x8000000000000000}, uint64_t{0x7FFFFFFFFFFFFFFF}, uint64_t{0xFFFFFFFFFFFFFFFE},
          uint64_t{0xFFFFFFFFFFFFFFFF}}) {
        SCOPED_TRACE(timeout);
        const Waiter waiter(event, timeout);
        EXPECT_FALSE(waiter.IsDone());
        ASSERT_TRUE(Fire(7, timeout));
        EXPECT_EQ(waiter.Result(), DeviceEvent::Of(7, timeout));
    }
}

TEST_F(RemoteEventWaitTest, EachEntryWakesOneThread) {
    for (int i = 0; i < 3; ++i) {
        m_waiters.emplace_back(event, LONG_WAIT);
    }
    EXPECT_EQ(NumDone(), 0U);
    std::set<uint32_t> read;
    for (uint32_t id = 1; id <= 3; ++id) {
        ASSERT_TRUE(Fire(id));
        ASSERT_TRUE(Eventually([&] { return NumDone() >= id; }));
        std::this_thread::sleep_for(10ms);
        EXPECT_EQ(NumDone(), id);
    }
    for (const Waiter& waiter : m_waiters) {
        EXPECT_TRUE(waiter.Result().IsData());
        read.insert(waiter.Result().Id());
    }
    EXPECT_EQ(read, (std::set<uint32_t>{1, 2, 3}));
}

TEST_F(RemoteEventWaitTest, SizeIsToldAfterTheWait) {
    size_t size = 0;
    EXPECT_OK(gentl.EventGetData(event, nullptr, &size, 1));
    EXPECT_EQ(size, 0U);
    std::thread firing([this] {
        std::this_thread::sleep_for(20ms);
        Fire(1, 2);
    });
    EXPECT_OK(gentl.EventGetData(event, nullptr, &size, LONG_WAIT));
    EXPECT_EQ(size, 5U);
    firing.join();
    EXPECT_EQ(Read(0), DeviceEvent::Of(1, 2));
}

TEST_F(RemoteEventWaitTest, KillFlushAndRegistrationWakeNobody) {
    const Waiter waiter(event, LONG_WAIT);
    EXPECT_OK(gentl.EventKill(event));
    EXPECT_OK(gentl.EventFlush(event));
    EXPECT_OK(Register());
    EXPECT_OK(Unregister());
    EXPECT_OK(Register());
    std::this_thread::sleep_for(20ms);
    EXPECT_FALSE(waiter.IsDone());
    ASSERT_TRUE(Fire(3, 4));
    EXPECT_EQ(waiter.Result(), DeviceEvent::Of(3, 4));
}

TEST_F(RemoteEventWaitTest, KilledWaitEndsByItsTimeOut) {
    const Waiter waiter(event, 60);
    EXPECT_OK(gentl.EventKill(event));
    EXPECT_EQ(waiter.Result(), DeviceEvent::Nothing());
}

TEST_F(RemoteEventWaitTest, NoSizeIsInvalidOnlyOnceThereIsData) {
    ErrorRecord error;
    int32_t code = 0;
    std::thread waiting([&] {
        char record[24] = {};
        code = gentl.EventGetData(event, record, nullptr, LONG_WAIT);
        error = LastError();
    });
    std::this_thread::sleep_for(20ms);
    EXPECT_TRUE(Fire(1, 2));
    waiting.join();
    EXPECT_EQ(code, -1009);
    EXPECT_EQ(error.code, -1009);
    EXPECT_FALSE(error.text.empty());
    EXPECT_EQ(Read(0), DeviceEvent::Of(1, 2));
}

// Of many threads that are woken at once some come too late: others have taken their events, or
// flushed them.
TEST_F(RemoteEventWaitTest, WokenForNothingIsAFailure) {
    constexpr uint32_t THREADS = 8;
    std::atomic<bool> stop{false};
    std::mutex failing;
    DeviceEvent failed;
    ErrorRecord error;
    const auto wait = [&] {
        while (!stop) {
            const DeviceEvent found = DeviceEvent::Read(event, 50);
            if (found.code != 0) {
                const std::lock_guard<std::mutex> lock(failing);
                failed = found;
                error = LastError();
                stop = true;
            }
        }
    };
    std::vector<std::thread> waiting;
    for (uint32_t i = 0; i < THREADS; ++i) {
        waiting.emplace_back(wait);
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(LONG_WAIT);
    while (!stop && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(1ms); // until most are asleep
        FireMany(1, THREADS);
        for (int i = 0; i < 1000; ++i) {
            gentl.EventFlush(event);
        }
    }
    stop = true;
    for (std::thread& thread : waiting) {
        thread.join();
    }
    EXPECT_EQ(failed.code, -1001);
    EXPECT_EQ(error, (ErrorRecord{-1001, " Empty event queue but signaled"}));
    EXPECT_EQ(failed.size, 24U);
    EXPECT_EQ(failed.bytes, DeviceEvent::Nothing().bytes);
}

TEST_F(RemoteEventWaitTest, BurstKeepsItsOrder) {
    constexpr uint32_t ROUNDS = 10;
    constexpr uint32_t COUNT = 1000;
    for (uint32_t id = 0; id < ROUNDS; ++id) {
        ASSERT_TRUE(FireMany(id, COUNT));
    }
    for (uint32_t i = 0; i < ROUNDS * COUNT; ++i) {
        ASSERT_EQ(Read(), DeviceEvent::Of(i / COUNT, 0)) << i;
    }
    EXPECT_EQ(Read(0), DeviceEvent::Nothing());
    EXPECT_EQ(NumFired(), 10000U);
}

void RemoteEventWaitTest::ReadTogether(size_t numThreads, size_t numEvents,
                                       const std::function<void()>& fire) {
    std::atomic<size_t> numRead{0};
    std::atomic<size_t> numOdd{0};
    std::vector<std::thread> threads;
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(LONG_WAIT);
    for (size_t i = 0; i < numThreads; ++i) {
        threads.emplace_back([&] {
            while (numRead < numEvents && std::chrono::steady_clock::now() < end) {
                const DeviceEvent found = DeviceEvent::Read(event, 1);
                if (found.IsData()) {
                    ++numRead;
                } else if (found != DeviceEvent::Nothing() && found.code != -1001) {
                    ++numOdd;
                }
            }
        });
    }
    fire();
    std::for_each(threads.begin(), threads.end(), [](std::thread& thread) { thread.join(); });
    EXPECT_EQ(numRead, numEvents);
    EXPECT_EQ(numOdd, 0U);
}

TEST_F(RemoteEventWaitTest, ThreadsShareABurst) {
    ReadTogether(4, 10000, [this] {
        EXPECT_TRUE(FireMany(1, 10000));
        while (NumFired() < 10000) {
            EXPECT_LE(NumInQueue(), 10000U);
        }
    });
    EXPECT_EQ(Read(0), DeviceEvent::Nothing());
    EXPECT_EQ(NumInQueue(), 0U);
}

TEST_F(RemoteEventWaitTest, RegistrationMayChangeWhileEventsArrive) {
    ASSERT_TRUE(FireMany(1, 10000));
    for (int i = 0; i < 200; ++i) {
        EXPECT_OK(Unregister());
        EXPECT_OK(Register());
    }
    // Behind all the others.
    ASSERT_TRUE(Fire(2));
    const uint64_t numQueued = NumInQueue();
    EXPECT_LE(numQueued, 10001U);
    EXPECT_GE(NumFired(), numQueued);
    for (uint64_t i = 1; i < numQueued; ++i) {
        ASSERT_EQ(Read(0), DeviceEvent::Of(1, 0));
    }
    EXPECT_EQ(Read(0), DeviceEvent::Of(2, 0));
    EXPECT_EQ(Read(0), DeviceEvent::Nothing());
}

TEST_F(RemoteEventWaitTest, ManyThreadsMayRegister) {
    const EVENT_HANDLE expected = event;
    std::atomic<int> numWrong{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            for (int j = 0; j < 50; ++j) {
                EVENT_HANDLE found = nullptr;
                if (gentl.GCRegisterEvent(remote, 4, &found) != 0 || found != expected ||
                    gentl.GCUnregisterEvent(remote, 4) != 0) {
                    ++numWrong;
                }
            }
        });
    }
    std::for_each(threads.begin(), threads.end(), [](std::thread& thread) { thread.join(); });
    EXPECT_EQ(numWrong, 0);
    EXPECT_OK(Register());
    ASSERT_TRUE(Fire(1, 2));
    EXPECT_EQ(Read(), DeviceEvent::Of(1, 2));
}

TEST_F(RemoteEventWaitTest, NothingArrivesAfterUnregistering) {
    ASSERT_TRUE(FireMany(1, 20000));
    EXPECT_OK(Unregister());
    const uint64_t numQueued = NumInQueue();
    const uint64_t numFired = NumFired();
    EXPECT_FALSE(Fire(2));
    EXPECT_EQ(NumInQueue(), numQueued);
    EXPECT_EQ(NumFired(), numFired);
}

TEST_F(RemoteEventWaitTest, ClosingTheDeviceEndsEveryWait) {
    for (const uint64_t timeout : {LONG_WAIT, UINT64_MAX, UINT64_MAX - 1}) {
        m_waiters.emplace_back(event, timeout);
    }
    CloseDevice();
    for (const Waiter& waiter : m_waiters) {
        DeviceEvent expected = DeviceEvent::Nothing();
        expected.code = -1012;
        EXPECT_EQ(waiter.Result(), expected);
        EXPECT_EQ(waiter.Error(), (ErrorRecord{-1012, "Wait terminated"}));
    }
}

TEST_F(RemoteEventWaitTest, ClosingTheDeviceEndsTheEvents) {
    for (int i = 0; i < 20; ++i) {
        ASSERT_TRUE(FireMany(1, 5000));
        ASSERT_TRUE(Read().IsData());
        CloseDevice();
        EXPECT_EQ(OptivoSim_HasCallback(camera.c_str()), 0);
        OpenDevice();
        ASSERT_OK(Register());
        EXPECT_OK(gentl.EventFlush(event));
        // The rest of the burst goes to whoever is registered now, and comes before this one.
        ASSERT_TRUE(Fire(2));
        EXPECT_OK(gentl.EventFlush(event));
    }
}

TEST_F(RemoteEventWaitTest, DeviceMayBeClosedWhileEventsArriveAndThreadsWait) {
    for (int i = 0; i < 10; ++i) {
        std::deque<Waiter> waiters;
        waiters.emplace_back(event, LONG_WAIT);
        waiters.emplace_back(event, LONG_WAIT);
        waiters.emplace_back(event, LONG_WAIT);
        ASSERT_TRUE(FireMany(1, 2));
        CloseDevice();
        for (const Waiter& waiter : waiters) {
            const DeviceEvent found = waiter.Result();
            EXPECT_TRUE(found.code == -1012 || found == DeviceEvent::Of(1, 0)) << found;
        }
        OpenDevice();
        ASSERT_OK(Register());
    }
}

TEST_F(RemoteEventWaitTest, ClosingTheInterfaceLeavesTheWait) {
    const Waiter waiter(event, LONG_WAIT);
    CloseInterface();
    CloseSystem();
    EXPECT_FALSE(waiter.IsDone());
    ASSERT_TRUE(Fire(5, 6));
    EXPECT_EQ(waiter.Result(), DeviceEvent::Of(5, 6));
}

TEST_F(RemoteEventWaitTest, ClosingTheSystemEndsTheWait) {
    const Waiter waiter(event, GENTL_INFINITE);
    CloseSystem();
    EXPECT_EQ(waiter.Result().code, -1012);
}

} // namespace
