// Locks that are held for moments. This file knows nothing of what they guard.
#pragma once

#include "platform/Pause.h"

#include <boost/thread/lock_types.hpp>

namespace GenICam::Client {

// Takes a lock that others hold for moments: asking again costs less than to sleep and be woken.
// Whoever holds it longer is waited for asleep. The processor is kept meanwhile: it might come back
// after a whole turn of somebody else's.
template <class Lock>
void LockSoon(Lock& lock) {
    constexpr int kAttempts = 100;
    for (int i = 0; i < kAttempts; ++i) {
        if (lock.try_lock()) {
            return;
        }
        Platform::Pause();
    }
    lock.lock();
}

// Owns the mutex, taken like that.
template <class Mutex>
boost::unique_lock<Mutex> LockedSoon(Mutex& mutex) {
    boost::unique_lock<Mutex> lock(mutex, boost::defer_lock);
    LockSoon(lock);
    return lock;
}

} // namespace GenICam::Client
