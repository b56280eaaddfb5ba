#include "core/LockSoon.h"

#include <boost/thread/mutex.hpp>

#include <gtest/gtest.h>

namespace {

using GenICam::Client::LockedSoon;
using GenICam::Client::LockSoon;

// A lock that others hold for so many attempts.
struct ScriptedLock {
    bool try_lock() { return numHeld-- == 0; }
    void lock() { ++numSlept; }

    int numHeld;
    int numSlept = 0;
};

TEST(LockSoonTest, TakesALockThatIsFreeSoonWithoutSleeping) {
    for (const int numHeld : {0, 1, 10}) {
        ScriptedLock lock{numHeld};
        LockSoon(lock);
        EXPECT_EQ(lock.numHeld, -1);
        EXPECT_EQ(lock.numSlept, 0);
    }
}

TEST(LockSoonTest, SleepsOnceForALockThatStaysTaken) {
    ScriptedLock lock{1'000'000};
    LockSoon(lock);
    EXPECT_EQ(lock.numSlept, 1);
}

TEST(LockSoonTest, GivesALockThatIsTaken) {
    boost::mutex mutex;
    const auto lock = LockedSoon(mutex);
    EXPECT_TRUE(lock.owns_lock());
    EXPECT_FALSE(mutex.try_lock());
}

} // namespace
