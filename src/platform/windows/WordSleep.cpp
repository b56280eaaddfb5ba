#include "platform/WordSleep.h"

#include <windows.h>

namespace GenICam::Client::Platform {

static_assert(SleepWord::is_always_lock_free && sizeof(SleepWord) == sizeof(std::uint32_t));
static_assert(kSleepForever == INFINITE);

// The function only reads, though it asks for a word that may be changed.
void SleepOn(const SleepWord& word, std::uint32_t value, std::uint32_t milliseconds) {
    WaitOnAddress(const_cast<SleepWord*>(&word), &value, sizeof value, milliseconds);
}

void Wake(const SleepWord* word) noexcept {
    WakeByAddressSingle(const_cast<SleepWord*>(word));
}

} // namespace GenICam::Client::Platform
