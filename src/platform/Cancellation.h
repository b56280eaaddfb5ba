// Threads that the system's thread library cancels (pthread_cancel): where it has that, it unwinds
// their stack by what looks like an exception, and ends the process when a frame keeps it.
#pragma once

#include <cstddef>

#if defined(__GLIBCXX__) && defined(__linux__)
#include <cxxabi.h>
#endif

namespace GenICam::Client::Platform {

// Whoever catches everything rethrows this.
#if defined(__GLIBCXX__) && defined(__linux__)
using ThreadCancelled = abi::__forced_unwind;
#else
class ThreadCancelled {};
#endif

// While it exists its thread is not cancelled, but when it is gone.
class CCancellationDelay {
public:
    CCancellationDelay() noexcept;
    ~CCancellationDelay();
    CCancellationDelay(const CCancellationDelay&) = delete;
    CCancellationDelay& operator=(const CCancellationDelay&) = delete;

private:
    [[maybe_unused]] int m_before = 0;
};

} // namespace GenICam::Client::Platform
