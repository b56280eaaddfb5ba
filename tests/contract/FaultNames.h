// What world files call the operations of the camera library, and the ways in which they fail.
#pragma once

#include <array>

// In the order of OptivoOperation.
inline constexpr std::array<const char*, 26> OPERATION_NAMES = {"GetSystem",
                                                                "SystemUpdateInterfaceList",
                                                                "SystemGetInterfaceName",
                                                                "SystemGetInterface",
                                                                "SystemOpenInterface",
                                                                "SystemClose",
                                                                "InterfaceUpdateDeviceList",
                                                                "InterfaceGetDeviceName",
                                                                "InterfaceGetDevice",
                                                                "InterfaceOpenDevice",
                                                                "InterfaceWritePort",
                                                                "InterfaceReadPort",
                                                                "InterfaceClose",
                                                                "DeviceGetNumDataStreams",
                                                                "DeviceOpenDataStream",
                                                                "DeviceWritePort",
                                                                "DeviceReadPort",
                                                                "DeviceGetInfo",
                                                                "DeviceRegisterEventCallback",
                                                                "DeviceClose",
                                                                "StreamStartAcquisition",
                                                                "StreamStopAcquisition",
                                                                "StreamGrabImage",
                                                                "StreamSetStreamParameter",
                                                                "StreamGetStreamInfo",
                                                                "StreamClose"};
// In the order of OptivoFaultKind.
inline constexpr std::array<const char*, 13> FAULT_KIND_NAMES = {"result",
                                                                 "resultAfter",
                                                                 "nullObject",
                                                                 "genericException",
                                                                 "foreignException",
                                                                 "unterminatedText",
                                                                 "overlongSize",
                                                                 "delay",
                                                                 "hang",
                                                                 "emptyText",
                                                                 "notText",
                                                                 "exceptionAfter",
                                                                 "wrongCount"};
