// Copies texts and numbers into a caller's buffer by the library's rule of capacity in, length out.
// Knows nothing of where they come from.
#pragma once

#include "base/ResultCodes.h"

#include <cstring>
#include <string>

namespace OptivoBase {

// Writes the text and its terminating zero; *size then counts both. When the buffer is too small,
// answers kInvalidBuffer with the needed size, and the buffer is left alone.
Int32 CopyText(const std::string& text, void* buffer, Size* size);

// Writes length bytes. A size of 0 stands for as many as the value has, as its width is fixed.
Int32 CopyBytes(const void* bytes, Size length, void* buffer, Size* size);

template <typename TNumber>
Int32 CopyNumber(TNumber number, void* buffer, Size* size) {
    return CopyBytes(&number, sizeof number, buffer, size);
}

} // namespace OptivoBase
