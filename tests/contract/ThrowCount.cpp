#include "ThrowCount.h"

#if defined(_WIN32)

#include <windows.h>

namespace {

thread_local uint64_t t_numThrown = 0;

// Compilers raise their C++ exceptions as structured ones: g++ with the one code, Visual C++ with
// the other.
LONG CALLBACK Count(EXCEPTION_POINTERS* raised) {
    const DWORD code = raised->ExceptionRecord->ExceptionCode;
    if (code == 0x20474343 || code == 0xE06D7363) {
        ++t_numThrown;
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

void* const g_handler = AddVectoredExceptionHandler(1, Count);

} // namespace

#else

#include <typeinfo>

#include <dlfcn.h>

namespace {

thread_local uint64_t t_numThrown = 0;

} // namespace

extern "C" {

// The address sanitizer's own, where it takes part.
__attribute__((weak)) void __asan_handle_no_return();

// Stands before the one of the C++ runtime, for the module too.
[[noreturn]] __attribute__((visibility("default"))) void
__cxa_throw(void* object, std::type_info* type, void (*destroy)(void*)) {
    ++t_numThrown;
    if (__asan_handle_no_return != nullptr) {
        __asan_handle_no_return();
    }
    const auto next = reinterpret_cast<decltype(&__cxa_throw)>(dlsym(RTLD_NEXT, "__cxa_throw"));
    next(object, type, destroy);
    __builtin_unreachable();
}

} // extern "C"

#endif

uint64_t NumThrown() {
    return t_numThrown;
}
