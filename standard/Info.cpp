#include "Info.h"

#include <cstring>
#include <string>

namespace Standard {
namespace {

size_t WidthOf(INFO_DATATYPE type) {
    switch (type) {
    case INFO_DATATYPE_BOOL8:
        return sizeof(bool8_t);
    case INFO_DATATYPE_INT16:
    case INFO_DATATYPE_UINT16:
        return sizeof(std::int16_t);
    case INFO_DATATYPE_INT32:
    case INFO_DATATYPE_UINT32:
        return sizeof(std::int32_t);
    default:
        return sizeof(std::int64_t);
    }
}

} // namespace

GC_ERROR Give(const SOut& out, INFO_DATATYPE type, const void* value, size_t width) noexcept {
    if (out.type != nullptr) {
        *out.type = type;
    }
    if (out.size == nullptr) {
        return RefuseNull();
    }
    if (out.buffer != nullptr) {
        if (*out.size < width) {
            *out.size = width;
            return Refuse(GC_ERR_BUFFER_TOO_SMALL, "The buffer is too small");
        }
        std::memcpy(out.buffer, value, width);
    }
    *out.size = width;
    return GC_ERR_SUCCESS;
}

GC_ERROR GiveText(const SOut& out, std::string_view text) {
    const std::string ended(text);
    return Give(out, INFO_DATATYPE_STRING, ended.c_str(), ended.size() + 1);
}

// Little-endian, as every system is that the first module runs on.
GC_ERROR GiveNumber(const SOut& out, INFO_DATATYPE type, std::uint64_t number) noexcept {
    return Give(out, type, &number, WidthOf(type));
}

GC_ERROR RefuseUnknown() noexcept {
    return Refuse(GC_ERR_NOT_IMPLEMENTED, "The command is not implemented");
}

GC_ERROR RefuseUnavailable() noexcept {
    return Refuse(GC_ERR_NOT_AVAILABLE, "What the command asks for is not available");
}

std::string_view SValue::Text() const {
    const size_t end = std::min(size, sizeof bytes);
    return {bytes, strnlen(bytes, end)};
}

std::uint64_t SValue::Number() const {
    std::uint64_t number = 0;
    std::memcpy(&number, bytes, std::min(size, sizeof number));
    return number;
}

} // namespace Standard
