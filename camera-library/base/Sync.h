// Locks whose end gives back what they took of the system.
// This room knows nothing of what they guard.
#pragma once

#include <condition_variable>
#include <mutex>

namespace OptivoBase {

#if defined(__MINGW32__)
// The library's own destructors leave memory, and a handle of each lock that was ever waited for.
class CMutex : public std::mutex {
public:
    CMutex() = default;
    ~CMutex() { pthread_mutex_destroy(native_handle()); }
    CMutex(const CMutex&) = delete;
    CMutex& operator=(const CMutex&) = delete;
};

class CCondition : public std::condition_variable {
public:
    CCondition() = default;
    ~CCondition() { pthread_cond_destroy(native_handle()); }
    CCondition(const CCondition&) = delete;
    CCondition& operator=(const CCondition&) = delete;
};
#else
using CMutex = std::mutex;
using CCondition = std::condition_variable;
#endif

} // namespace OptivoBase
