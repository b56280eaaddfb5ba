// What tells the processor that a loop waits for another thread.
#pragma once

#if defined(__x86_64__) || defined(_M_X64)
#include <immintrin.h>
#endif

namespace GenICam::Client::Platform {

// A moment of less power, in which another thread of the core goes on. Nothing where the processor
// has no such instruction.
inline void Pause() noexcept {
#if defined(__x86_64__) || defined(_M_X64)
    _mm_pause();
#endif
}

} // namespace GenICam::Client::Platform
