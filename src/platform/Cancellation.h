// Threads that the system's thread library cancels (pthread_cancel): where it has that, it unwinds
// their stack by what looks like an exception, and ends the process when a frame keeps it.
#pragma once

#include <cstddef>

#if defined(__GLIBCXX__) && defined(__linux__)
#include <cxxabi.h>
#include <pthread.h>
#endif

namespace GenICam::Client::Platform {

#if defined(__GLIBCXX__) && defined(__linux__)

// Whoever catches everything rethrows this.
using ThreadCancelled = abi::__forced_unwind;

// While it exists the thread is not cancelled, but when it is gone.
class CCancellationDelay {
public:
    CCancellationDelay() noexcept { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_before); }
    ~CCancellationDelay() { pthread_setcancelstate(m_before, nullptr); }
    CCancellationDelay(const CCancellationDelay&) = delete;
    CCancellationDelay& operator=(const CCancellationDelay&) = delete;

private:
    int m_before = 0;
};

#else

// Nobody throws it.
class ThreadCancelled {};

class CCancellationDelay {};

#endif

} // namespace GenICam::Client::Platform
