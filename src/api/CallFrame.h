// The frame of every exported function: the library guard, the null-handle check where it applies,
// the body, and the one list that turns exceptions into codes.
// This file knows no module; it is the only place where an exception becomes a code, and where what
// goes wrong is recorded.
#pragma once

#include "core/LastError.h"
#include "core/Outcome.h"
#include "platform/Cancellation.h"

#include <atomic>
#include <type_traits>
#include <utility>

namespace GenICam::Client {

// Whether GCInitLib was called and GCCloseLib was not; one flag for all threads, not synchronised.
inline std::atomic<bool> g_initialized{false};
inline bool IsInitialized() noexcept {
    return g_initialized.load(std::memory_order_relaxed);
}
inline void SetInitialized(bool initialized) noexcept {
    g_initialized.store(initialized, std::memory_order_relaxed);
}

// Answers the code of an outcome, and records a refusal as the last error.
GC_ERROR Conclude(const COutcome& outcome) noexcept;

// Records the exception that is being handled as the last error and answers its code.
GC_ERROR TranslateCurrentException() noexcept;

// Records an error and answers its code.
GC_ERROR Fail(GC_ERROR code, const char* text) noexcept;

// Records that the library is not initialised and answers the code for it.
GC_ERROR FailNotInitialized() noexcept;
// Records that a handle is null, or none at all. The code that is recorded differs from the one
// that is answered.
GC_ERROR FailNullHandle() noexcept;

// Runs the body, which answers its outcome or nothing (success); an exception becomes its code.
// Success leaves the last error alone. Only the cancellation of the thread passes.
template <class Body>
GC_ERROR Translated(Body&& body) {
    try {
        if constexpr (std::is_void_v<std::invoke_result_t<Body>>) {
            std::forward<Body>(body)();
            return GC_ERR_SUCCESS;
        } else {
            return Conclude(std::forward<Body>(body)());
        }
    } catch (Platform::ThreadCancelled&) {
        throw;
    } catch (...) {
        return TranslateCurrentException();
    }
}

// Runs the body if the library is initialised.
template <class Body>
GC_ERROR Framed(Body&& body) {
    return IsInitialized() ? Translated(std::forward<Body>(body)) : FailNotInitialized();
}

// The same for a body that closes: what is half closed can be closed by nobody else, so that the
// thread is cancelled afterwards only.
template <class Body>
GC_ERROR FramedClose(Body&& body) {
    const Platform::CCancellationDelay delay;
    return Framed(std::forward<Body>(body));
}

// Runs the body if the library is initialised and the check finds the port, event source or event
// handle sound.
template <class Body>
GC_ERROR FramedOn(const void* handle, bool (*isSound)(const void*) noexcept, Body&& body) {
    if (!IsInitialized()) {
        return FailNotInitialized();
    }
    return isSound(handle) ? Translated(std::forward<Body>(body)) : FailNullHandle();
}

} // namespace GenICam::Client
