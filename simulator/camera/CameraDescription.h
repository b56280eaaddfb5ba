// The GenApi description that a camera carries, and the register addresses that it names. Knows
// nothing of the values behind them.
#pragma once

#include "base/ResultCodes.h"

#include <cstddef>
#include <string_view>

namespace OptivoSim {

using namespace OptivoBase;

namespace CameraAddress {
inline constexpr UInt64 kVendorName = 0x100;
inline constexpr UInt64 kModelName = 0x140;
inline constexpr UInt64 kVersion = 0x180;
inline constexpr UInt64 kSerialNumber = 0x1C0;
inline constexpr UInt64 kUserId = 0x200;
inline constexpr UInt64 kDeviceId = 0x240;
inline constexpr UInt64 kTemperature = 0x280; // signed, in tenths of a degree Celsius
inline constexpr UInt64 kSensorWidth = 0x300;
inline constexpr UInt64 kSensorHeight = 0x304;
inline constexpr UInt64 kWidthMax = 0x308;
inline constexpr UInt64 kHeightMax = 0x30C;
inline constexpr UInt64 kWidth = 0x400;
inline constexpr UInt64 kHeight = 0x404;
inline constexpr UInt64 kPixelFormat = 0x408;
inline constexpr UInt64 kPayloadSize = 0x410; // 8 bytes
inline constexpr UInt64 kOffsetX = 0x418;
inline constexpr UInt64 kOffsetY = 0x41C;
inline constexpr UInt64 kBinningHorizontal = 0x420;
inline constexpr UInt64 kBinningVertical = 0x424;
inline constexpr UInt64 kTestPattern = 0x428;
inline constexpr UInt64 kAcquisitionStart = 0x500;
inline constexpr UInt64 kAcquisitionStop = 0x504;
inline constexpr UInt64 kFrameRate = 0x508; // a 64-bit float
inline constexpr UInt64 kFrameRateEnable = 0x510;
inline constexpr UInt64 kAcquisitionMode = 0x514;
inline constexpr UInt64 kAcquisitionFrameCount = 0x518;
inline constexpr UInt64 kExposureTime = 0x520; // a 64-bit float
inline constexpr UInt64 kGain = 0x528;         // in tenths of a decibel
inline constexpr UInt64 kTriggerSelector = 0x540;
inline constexpr UInt64 kTriggerMode = 0x550; // these four once for each trigger
inline constexpr UInt64 kTriggerSource = 0x554;
inline constexpr UInt64 kTriggerActivation = 0x558;
inline constexpr UInt64 kTriggerSoftware = 0x55C;
inline constexpr UInt64 kTriggerStride = 0x10;
inline constexpr UInt64 kEventSelector = 0x580;
inline constexpr UInt64 kEventNotification = 0x588; // once for each event
inline constexpr UInt64 kEventNotificationStride = 4;
inline constexpr UInt64 kEventFrameId = 0x590; // both once for each event, 8 bytes
inline constexpr UInt64 kEventTimestamp = 0x598;
inline constexpr UInt64 kEventDataStride = 0x10;
inline constexpr UInt64 kTimestampLatch = 0x5C0;
inline constexpr UInt64 kTimestampLatchValue = 0x5C8; // 8 bytes, in nanoseconds
inline constexpr UInt64 kUserSetSelector = 0x5D0;
inline constexpr UInt64 kUserSetLoad = 0x5D4;
inline constexpr UInt64 kUserSetSave = 0x5D8;
inline constexpr UInt64 kTLParamsLocked = 0x600;
inline constexpr UInt64 kUserMemory = 0x800;
inline constexpr UInt64 kXml = 0x10000;
} // namespace CameraAddress

inline constexpr Size kTextLength = 64; // of the text registers
inline constexpr Size kUserMemoryLength = 256;
inline constexpr double kMaxFrameRate = 10000;

// Three zeros that are not counted follow the text.
std::string_view CameraXml();
// Where the build put Camera.xml.
extern const unsigned char kCameraXml[];
extern const std::size_t kCameraXmlSize;

} // namespace OptivoSim
