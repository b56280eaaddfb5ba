// The answers about a module's own port URL. Modules refuse the same as different error classes,
// which a consumer sees as different codes; hence the template parameter.
#pragma once

#include "core/InfoOut.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

namespace GenICam::Client {

// Answers URL_INFO commands: getUrl() answers that for the URL itself. Every module has one URL and
// refuses any index but 0 as Error. Writes nothing for a command that does not exist.
template <class Error, class GetUrl>
COutcome AnswerUrlInfo(std::uint32_t index, URL_INFO_CMD command, std::int32_t fileSubMinor,
                       const CInfoOut& out, GetUrl&& getUrl) {
    if (index != 0) {
        return Refusal<Error>("URL Index %ld is out of range", static_cast<std::int32_t>(index));
    }
    return command == URL_INFO_URL ? std::forward<GetUrl>(getUrl)()
                                   : AnswerUrlVersion(command, fileSubMinor, out);
}

// The URL of a description in a module's own registers.
inline std::string LocalUrl(std::string_view file, std::uint64_t address, std::uint64_t length) {
    const auto hexadecimal = [](std::uint64_t number) {
        std::array<char, 16> digits;
        char* const begin = digits.data();
        return std::string(begin, std::to_chars(begin, begin + digits.size(), number, 16).ptr);
    };
    return "Local:" + std::string(file) + ';' + hexadecimal(address) + ';' + hexadecimal(length);
}

// Copies a URL and its terminating zero out; a zero inside it is copied like any character.
// A null buffer asks for the size. Refuses as Error when size is null, and, after writing the
// needed size, when *size is below it; a size of 0 is no exception.
template <class Error>
COutcome CopyOutUrl(const std::string& url, char* buffer, std::size_t* size) {
    if (size == nullptr) {
        return Refusal<Error>("Invalid Buffer Size");
    }
    const std::size_t needed = url.size() + 1;
    const bool fits = *size >= needed;
    *size = needed;
    if (buffer != nullptr && !fits) {
        return Refusal<Error>("Invalid Buffer Size");
    }
    if (buffer != nullptr) {
        std::memcpy(buffer, url.c_str(), needed);
    }
    return {};
}

} // namespace GenICam::Client
