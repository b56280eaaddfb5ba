#include "platform/WordSleep.h"

#include <ctime>

#include <linux/futex.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace GenICam::Client::Platform {

static_assert(SleepWord::is_always_lock_free && sizeof(SleepWord) == sizeof(std::uint32_t));

// The system call is no place of cancellation by itself. While the thread is cancelled at once, its
// stack is unwound from any instruction: nothing here may need a destructor, nor promise not to
// throw.
void SleepOn(const SleepWord& word, std::uint32_t value, std::uint32_t milliseconds) {
    constexpr std::uint32_t kMillisecondsPerSecond = 1000;
    constexpr long kNanosecondsPerMillisecond = 1'000'000;
    const timespec limit{static_cast<std::time_t>(milliseconds / kMillisecondsPerSecond),
                         static_cast<long>(milliseconds % kMillisecondsPerSecond) *
                             kNanosecondsPerMillisecond};
    int before = 0;
    pthread_setcanceltype(PTHREAD_CANCEL_ASYNCHRONOUS, &before);
    syscall(SYS_futex, &word, FUTEX_WAIT_PRIVATE, value,
            milliseconds == kSleepForever ? nullptr : &limit, nullptr, 0);
    pthread_setcanceltype(before, nullptr);
}

void Wake(const SleepWord* word) noexcept {
    syscall(SYS_futex, word, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
}

} // namespace GenICam::Client::Platform
