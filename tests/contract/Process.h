// What the operating system says of this process.
#pragma once

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
#endif

double ResidentKibibytes();
// What is taken from the heaps of the process.
size_t AllocatedBytes();
// Of all threads, in user and system mode, since the process began.
double ProcessorSeconds();
unsigned NumThreads();
// Handles, or open files.
unsigned NumHandles();
