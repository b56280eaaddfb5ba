// How much memory the process has allocated, where that can be told.
#pragma once

#if defined(__linux__)

#include <cstddef>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define UNDER_A_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define UNDER_A_SANITIZER 1
#endif
#endif

#if defined(UNDER_A_SANITIZER)
// Of the sanitizers' run-time libraries; not every compiler brings their header.
extern "C" {
size_t __sanitizer_get_current_allocated_bytes();
int __sanitizer_install_malloc_and_free_hooks(void (*onAllocation)(const volatile void*, size_t),
                                              void (*onRelease)(const volatile void*));
}
#else
#include <malloc.h>
#endif

inline size_t AllocatedBytes() {
#if defined(UNDER_A_SANITIZER)
    return __sanitizer_get_current_allocated_bytes();
#else
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
#endif
}

#endif
