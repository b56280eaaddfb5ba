#include "Answer.h"

#include "First.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace Standard {
namespace {

// Needs neither the heap nor a destructor, which a thread could run when the module is gone.
struct SLastError {
    GC_ERROR code;
    char text[512];
};
thread_local SLastError s_lastError{};

void Append(const char* text) noexcept {
    const size_t used = std::strlen(s_lastError.text);
    const size_t added = std::min(std::strlen(text), sizeof s_lastError.text - 1 - used);
    std::memcpy(s_lastError.text + used, text, added);
    s_lastError.text[used + added] = '\0';
}

} // namespace

GC_ERROR Refuse(GC_ERROR code, const char* text) noexcept {
    s_lastError.code = code;
    s_lastError.text[0] = '\0';
    Append(text);
    return code;
}

GC_ERROR RefuseAsFirst(GC_ERROR code, GC_ERROR instead, const char* text) noexcept {
    char reason[sizeof s_lastError.text] = "";
    size_t size = sizeof reason;
    GC_ERROR noted = GC_ERR_SUCCESS;
    const bool hasReason = First().GCGetLastError(&noted, reason, &size) == GC_ERR_SUCCESS &&
                           noted == code &&
                           std::string_view(reason) != "Unspecified runtime error.";
    Refuse(code == GC_ERR_ERROR ? instead : code, text);
    if (hasReason) {
        // Another thread may have failed with the same code a moment ago.
        Append(" (the last failure in this process: ");
        Append(reason);
        Append(")");
    }
    return s_lastError.code;
}

GC_ERROR GetLastError(GC_ERROR* code, char* text, size_t* size) noexcept {
    if (s_lastError.code == GC_ERR_SUCCESS) {
        return GC_ERR_NO_DATA;
    }
    if (size == nullptr) {
        return GC_ERR_INVALID_PARAMETER;
    }
    const size_t needed = std::strlen(s_lastError.text) + 1;
    if (code != nullptr) {
        *code = s_lastError.code;
    }
    if (text != nullptr) {
        if (*size < needed) {
            *size = needed;
            return GC_ERR_BUFFER_TOO_SMALL;
        }
        std::memcpy(text, s_lastError.text, needed);
    }
    *size = needed;
    return GC_ERR_SUCCESS;
}

} // namespace Standard
