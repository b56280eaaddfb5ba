// How values are handed out: with the type, width and refusals of the standard, wherever they come
// from. Knows no module.
#pragma once

#include "Answer.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <string_view>

namespace Standard {

// Where a consumer wants an answer; any pointer may be null.
struct SOut {
    INFO_DATATYPE* type;
    void* buffer;
    size_t* size;
};

// Hands out so many bytes, or their number when there is no buffer.
GC_ERROR Give(const SOut& out, INFO_DATATYPE type, const void* value, size_t width) noexcept;
GC_ERROR GiveText(const SOut& out, std::string_view text);
// In the width of the type.
GC_ERROR GiveNumber(const SOut& out, INFO_DATATYPE type, std::uint64_t number) noexcept;

// A command of the standard and the type of its answer; INFO_DATATYPE_UNKNOWN: of this producer
// nobody knows the answer.
struct SCommand {
    std::int32_t command;
    INFO_DATATYPE type;
};

GC_ERROR RefuseUnknown() noexcept;
GC_ERROR RefuseUnavailable() noexcept;

// An answer of the first module, in memory of our own.
struct SValue {
    // query(type, buffer, size) asks the first module; answers its code.
    template <class Query>
    GC_ERROR Ask(Query&& query) {
        size = sizeof bytes;
        return query(&type, static_cast<void*>(bytes), &size);
    }
    // Up to the first zero: some of its texts hold one.
    std::string_view Text() const;
    std::uint64_t Number() const;

    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t size;
    char bytes[4096];
};

// Hands out an answer of the first module. Its own commands, from 1000 on, keep their types.
template <class Query>
GC_ERROR GiveFirst(const SOut& out, std::span<const SCommand> commands, std::int32_t command,
                   Query&& query) {
    constexpr std::int32_t kFirstCustom = 1000;
    const auto known = std::find_if(commands.begin(), commands.end(), [command](const auto& entry) {
        return entry.command == command;
    });
    if (known == commands.end() && command < kFirstCustom) {
        return RefuseUnknown();
    }
    if (known != commands.end() && known->type == INFO_DATATYPE_UNKNOWN) {
        return RefuseUnavailable();
    }
    SValue value;
    if (value.Ask(query) != GC_ERR_SUCCESS) {
        return known == commands.end() ? RefuseUnknown() : RefuseUnavailable();
    }
    const INFO_DATATYPE type = known == commands.end() ? value.type : known->type;
    return type == INFO_DATATYPE_STRING ? GiveText(out, value.Text())
                                        : GiveNumber(out, type, value.Number());
}

// The answers of GCGetInfo, which those of a System module equal.
GC_ERROR GiveLibraryInfo(const SOut& out, TL_INFO_CMD command);

// Images are stamped in nanoseconds.
inline GC_ERROR GiveTimestampFrequency(const SOut& out) noexcept {
    return GiveNumber(out, INFO_DATATYPE_UINT64, 1'000'000'000);
}

} // namespace Standard
