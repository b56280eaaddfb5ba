// How a thread sleeps on a word of its own until another thread changes and wakes it, by the
// system's shortest way. This file knows nothing of what is waited for.
#pragma once

#include <atomic>
#include <cstdint>
#include <limits>

namespace GenICam::Client::Platform {

using SleepWord = std::atomic<std::uint32_t>;

// Milliseconds that mean sleeping without limit.
inline constexpr std::uint32_t kSleepForever = std::numeric_limits<std::uint32_t>::max();

// Sleeps while the word has that value; not at all when it has another one. May end too early, so
// that the caller looks again. Threads that the system can cancel are cancelled here.
void SleepOn(const SleepWord& word, std::uint32_t value, std::uint32_t milliseconds);

// Wakes a thread that sleeps on the word, after a change of it. The word may be gone meanwhile: it
// is not looked at.
void Wake(const SleepWord* word) noexcept;

} // namespace GenICam::Client::Platform
