// The GenApi descriptions that cameras and interfaces carry, and the register addresses that these
// descriptions name. Knows nothing of the values behind them.
#pragma once

#include "ResultCodes.h"
#include "TestPattern.h"

#include <string>

namespace OptivoSim {

namespace CameraAddress {
inline constexpr UInt64 kVendorName = 0x100;
inline constexpr UInt64 kModelName = 0x140;
inline constexpr UInt64 kVersion = 0x180;
inline constexpr UInt64 kSerialNumber = 0x1C0;
inline constexpr UInt64 kUserId = 0x200;
inline constexpr UInt64 kWidth = 0x400;
inline constexpr UInt64 kHeight = 0x404;
inline constexpr UInt64 kPixelFormat = 0x408;
inline constexpr UInt64 kPayloadSize = 0x410; // 8 bytes
inline constexpr UInt64 kAcquisitionStart = 0x500;
inline constexpr UInt64 kAcquisitionStop = 0x504;
inline constexpr UInt64 kFrameRate = 0x508; // a 64-bit float
inline constexpr UInt64 kTLParamsLocked = 0x600;
inline constexpr UInt64 kXml = 0x10000;
} // namespace CameraAddress

namespace InterfaceAddress {
inline constexpr UInt64 kInterfaceId = 0x100;
inline constexpr UInt64 kDeviceCount = 0x200;
inline constexpr UInt64 kDeviceUpdateTimeout = 0x204;
inline constexpr UInt64 kXml = 0x1000;
} // namespace InterfaceAddress

inline constexpr Size kTextLength = 64;         // of the text registers of a camera
inline constexpr Size kInterfaceIdLength = 256; // of an interface
inline constexpr double kMaxFrameRate = 10000;

std::string CameraXml(const std::string& vendor, const std::string& model);
std::string InterfaceXml();

// The URL of a description that stands in the register space of its module.
std::string LocalUrl(const std::string& fileName, UInt64 address, Size length);

} // namespace OptivoSim
