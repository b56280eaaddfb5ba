// The failure codes that the operations answer. They are the library's share of the GenTL codes;
// the results of a grab stand in camlib/CameraLibrary.h.
#pragma once

#include "camlib/CameraLibrary.h"

namespace OptivoBase {

using Optivo::Int32;
using Optivo::Size;
using Optivo::UInt32;
using Optivo::UInt64;

inline constexpr Int32 kSuccess = 0;
inline constexpr Int32 kError = -1001;
inline constexpr Int32 kAccessDenied = -1005; // also answered for a camera that is open already
inline constexpr Int32 kInvalidHandle = -1006;
inline constexpr Int32 kInvalidId = -1007;
inline constexpr Int32 kInvalidParameter = -1009;
inline constexpr Int32 kIo = -1010; // the camera is unplugged
inline constexpr Int32 kInvalidBuffer = -1013;
inline constexpr Int32 kNotAvailable = -1014;
inline constexpr Int32 kInvalidAddress = -1015;

} // namespace OptivoBase
