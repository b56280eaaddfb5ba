// The checks and the copy-out of a module's own port URL. Modules report the same failures as
// different error classes, which a consumer sees as different codes; hence the template parameter.
#pragma once

#include "core/Errors.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace GenICam::Client {

// Every module has one URL. Throws Error for any index but 0.
template <class Error>
void RequireFirstUrl(std::uint32_t index) {
    if (index != 0) {
        throw Error(Format("URL Index %ld is out of range", static_cast<std::int32_t>(index)));
    }
}

// Copies a URL and its terminating zero out; a zero inside it is copied like any character.
// A null buffer asks for the size. Throws Error when size is null, and, after writing the needed
// size, when *size is below it; a size of 0 is no exception.
template <class Error>
void CopyOutUrl(const std::string& url, char* buffer, std::size_t* size) {
    if (size == nullptr) {
        throw Error("Invalid Buffer Size");
    }
    const std::size_t needed = url.size() + 1;
    const bool fits = *size >= needed;
    *size = needed;
    if (buffer == nullptr) {
        return;
    }
    if (!fits) {
        throw Error("Invalid Buffer Size");
    }
    std::memcpy(buffer, url.c_str(), needed);
}

} // namespace GenICam::Client
