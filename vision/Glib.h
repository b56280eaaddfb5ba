// GLib's objects and errors as C++ owns them, the code that an error becomes, and the fence that no
// exception passes.
#pragma once

#include "base/ResultCodes.h"

#include <arv.h>

#include <memory>
#include <string>
#include <thread>

namespace OptivoVision {

using Optivo::Int32;
using Optivo::Size;
using Optivo::UInt32;
using Optivo::UInt64;
using OptivoBase::kAccessDenied;
using OptivoBase::kError;
using OptivoBase::kInvalidAddress;
using OptivoBase::kInvalidId;
using OptivoBase::kInvalidParameter;
using OptivoBase::kIo;
using OptivoBase::kNotAvailable;
using OptivoBase::kSuccess;

// Codes of GenTL that the simulated library never answers.
inline constexpr Int32 kNotInitialized = -1002;
inline constexpr Int32 kNotImplemented = -1003;
inline constexpr Int32 kResourceInUse = -1004;
inline constexpr Int32 kTimeout = -1011;

struct SUnref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <class Object>
using ObjectPtr = std::unique_ptr<Object, SUnref>;

// Receives an error of Aravis.
class CError {
public:
    CError() = default;
    ~CError() { g_clear_error(&m_error); }
    CError(const CError&) = delete;
    CError& operator=(const CError&) = delete;

    // Where the next call puts its error.
    GError** Receive() {
        g_clear_error(&m_error);
        return &m_error;
    }
    explicit operator bool() const { return m_error != nullptr; }
    bool Is(ArvDeviceError code) const {
        return g_error_matches(m_error, ARV_DEVICE_ERROR, code) != FALSE;
    }
    // What an access to a camera answers that failed this way.
    Int32 Code() const;

private:
    GError* m_error = nullptr;
};

inline std::string TextOf(const char* text) {
    return text != nullptr ? text : "";
}

// Where the system has no thread left, GLib ends the process: this throws before it is asked for
// one.
inline void RequireThread() {
    std::thread([] {}).join();
}

// Answers what the work answers, or kError for its exception.
template <class Work>
Int32 Fenced(Work&& work) noexcept {
    try {
        return work();
    } catch (...) {
        return kError;
    }
}

} // namespace OptivoVision
