// How every exported function answers: in the frame that keeps exceptions in and uninitialised
// callers out, with a text for each refusal that the calling thread alone reads. Knows no module.
#pragma once

#include "GenTL/GenTL.h"
#include "platform/Cancellation.h"

#include <atomic>
#include <exception>
#include <new>

namespace Standard {

// Notes the refusal as the calling thread's last error, and answers its code. A text that is too
// long is cut.
GC_ERROR Refuse(GC_ERROR code, const char* text) noexcept;

// The same for what the first module refused; -1001, which it answers for most things, becomes
// instead. With a text of its own, where that tells more than the code.
GC_ERROR RefuseAsFirst(GC_ERROR code, GC_ERROR instead, const char* text) noexcept;

// The calling thread's last error, as GCGetLastError answers it.
GC_ERROR GetLastError(GC_ERROR* code, char* text, size_t* size) noexcept;

inline std::atomic<bool> s_isInitialised{false};

// body answers a code.
template <class Body>
GC_ERROR Answer(Body&& body) {
    if (!s_isInitialised.load(std::memory_order_relaxed)) {
        return Refuse(GC_ERR_NOT_INITIALIZED, "GCInitLib was not called");
    }
    try {
        return body();
    } catch (const GenICam::Client::Platform::ThreadCancelled&) {
        throw;
    } catch (const std::bad_alloc&) {
        return Refuse(GC_ERR_OUT_OF_MEMORY, "Not enough memory");
    } catch (const std::exception& error) {
        return Refuse(GC_ERR_ERROR, error.what());
    } catch (...) {
        return Refuse(GC_ERR_ERROR, "Unknown failure");
    }
}

inline GC_ERROR RefuseHandle() noexcept {
    return Refuse(GC_ERR_INVALID_HANDLE, "The handle is none of this kind that is open");
}

inline GC_ERROR RefuseNull() noexcept {
    return Refuse(GC_ERR_INVALID_PARAMETER, "A pointer is null");
}

} // namespace Standard
