#include "platform/Clock.h"

#include <ctime>

namespace GenICam::Client::Platform {

std::uint64_t PerformanceCounter() noexcept {
    constexpr std::uint64_t kNanosecondsPerSecond = 1'000'000'000;
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * kNanosecondsPerSecond +
           static_cast<std::uint64_t>(now.tv_nsec);
}

std::uint64_t NanosecondsOf(std::uint64_t ticks) noexcept {
    return ticks;
}

} // namespace GenICam::Client::Platform
