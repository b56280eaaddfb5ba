// The system's quickest clock. This file knows nothing of what is timed.
#pragma once

#include <cstdint>

namespace GenICam::Client::Platform {

// Raw ticks of a clock that never goes back. Its rate is the system's own.
std::uint64_t PerformanceCounter() noexcept;

// What a number of ticks of that clock lasts, or a moment since the clock's beginning.
std::uint64_t NanosecondsOf(std::uint64_t ticks) noexcept;

} // namespace GenICam::Client::Platform
