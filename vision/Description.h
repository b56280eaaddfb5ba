// The GenApi description that both interfaces carry, and the register addresses that it names.
#pragma once

#include "base/ResultCodes.h"

#include <cstddef>

namespace OptivoVision {

namespace InterfaceAddress {
inline constexpr Optivo::UInt64 kInterfaceId = 0x100;
inline constexpr Optivo::UInt64 kDeviceCount = 0x200;
inline constexpr Optivo::UInt64 kXml = 0x1000;
} // namespace InterfaceAddress

inline constexpr Optivo::Size kInterfaceIdLength = 256;

// Where the build put Interface.xml; three zeros that are not counted follow.
extern const unsigned char kInterfaceXml[];
extern const std::size_t kInterfaceXmlSize;

} // namespace OptivoVision
