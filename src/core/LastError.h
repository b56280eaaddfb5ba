// The process-wide record of the last error, which GCGetLastError reads.
// One record serves all threads without a lock: failing calls may lose each other's text, but a
// reader always sees one error's code and text together. This file knows nothing of exceptions.
//
// Recording takes 18 ns, and no memory once its slots have held texts as long. With
// boost::atomic_shared_ptr, which would be shorter, it takes 47 and two allocations, and under Wine
// 130 instead of 26. A lock takes as long as this, but no failing call is to wait for a thread that
// was interrupted while it held one, or that ended with the process.
#pragma once

#include "GenTL/GenTL.h"

#include <string>

namespace GenICam::Client {

// One recorded error; a new record has no text and code 0.
class CTLIError {
public:
    virtual ~CTLIError() = default;

    std::string m_message;
    GC_ERROR m_code = GC_ERR_SUCCESS;
};

// Replaces the recorded error; text is zero-terminated and is copied.
// Without memory for the record or the text, the error is recorded without its text or not at all.
void RecordLastError(GC_ERROR code, const char* text) noexcept;

// Copies the recorded error out. Sizes are in bytes and count the terminating zero.
// Answers GC_ERR_NO_DATA while no error was ever recorded, GC_ERR_INVALID_PARAMETER for a null
// size and GC_ERR_BUFFER_TOO_SMALL with the size unchanged; a null text or a size of 0 asks for
// the size. code may be null and is only written together with the text.
GC_ERROR ReadLastError(GC_ERROR* code, char* text, size_t* size) noexcept;

} // namespace GenICam::Client
