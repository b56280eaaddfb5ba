#include "base/CopyOut.h"

namespace OptivoBase {

Int32 CopyText(const std::string& text, void* buffer, Size* size) {
    if (buffer == nullptr || size == nullptr) {
        return kInvalidParameter;
    }
    const Size capacity = *size;
    *size = text.size() + 1;
    if (capacity < *size) {
        return kInvalidBuffer;
    }
    std::memcpy(buffer, text.c_str(), *size);
    return kSuccess;
}

Int32 CopyBytes(const void* bytes, Size length, void* buffer, Size* size) {
    if (buffer == nullptr || size == nullptr) {
        return kInvalidParameter;
    }
    const Size capacity = *size;
    *size = length;
    if (capacity != 0 && capacity < length) {
        return kInvalidBuffer;
    }
    std::memcpy(buffer, bytes, length);
    return kSuccess;
}

} // namespace OptivoBase
