// The GenApi description that an interface carries, and the register addresses that it names. Knows
// nothing of the values behind them.
#pragma once

#include "base/ResultCodes.h"

#include <cstddef>
#include <string_view>

namespace OptivoSim {

using namespace OptivoBase;

namespace InterfaceAddress {
inline constexpr UInt64 kInterfaceId = 0x100;
inline constexpr UInt64 kDeviceCount = 0x200;
inline constexpr UInt64 kDeviceUpdateTimeout = 0x204;
inline constexpr UInt64 kXml = 0x1000;
} // namespace InterfaceAddress

inline constexpr Size kInterfaceIdLength = 256;

// Three zeros that are not counted follow the text.
std::string_view InterfaceXml();
// Where the build put Interface.xml.
extern const unsigned char kInterfaceXml[];
extern const std::size_t kInterfaceXmlSize;

} // namespace OptivoSim
