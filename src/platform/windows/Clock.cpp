#include "platform/Clock.h"

#include <windows.h>

namespace GenICam::Client::Platform {

std::uint64_t PerformanceCounter() noexcept {
    LARGE_INTEGER ticks{};
    QueryPerformanceCounter(&ticks);
    return static_cast<std::uint64_t>(ticks.QuadPart);
}

// In two pieces: the product of all ticks and a billion would not fit.
std::uint64_t NanosecondsOf(std::uint64_t ticks) noexcept {
    constexpr std::uint64_t kNanosecondsPerSecond = 1'000'000'000;
    LARGE_INTEGER frequency{};
    QueryPerformanceFrequency(&frequency);
    const auto rate = static_cast<std::uint64_t>(frequency.QuadPart);
    return ticks / rate * kNanosecondsPerSecond + ticks % rate * kNanosecondsPerSecond / rate;
}

} // namespace GenICam::Client::Platform
