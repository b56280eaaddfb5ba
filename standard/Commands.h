// The info commands that several functions answer alike: of interfaces, listed or open, and of
// cameras.
#pragma once

#include "Info.h"

namespace Standard {

inline constexpr SCommand kInterfaceCommands[] = {
    {INTERFACE_INFO_ID, INFO_DATATYPE_STRING},
    {INTERFACE_INFO_DISPLAYNAME, INFO_DATATYPE_STRING},
    {INTERFACE_INFO_TLTYPE, INFO_DATATYPE_STRING}};

inline constexpr SCommand kDeviceCommands[] = {
    {DEVICE_INFO_ID, INFO_DATATYPE_STRING},
    {DEVICE_INFO_VENDOR, INFO_DATATYPE_STRING},
    {DEVICE_INFO_MODEL, INFO_DATATYPE_STRING},
    {DEVICE_INFO_TLTYPE, INFO_DATATYPE_STRING},
    {DEVICE_INFO_DISPLAYNAME, INFO_DATATYPE_STRING},
    {DEVICE_INFO_USER_DEFINED_NAME, INFO_DATATYPE_STRING},
    {DEVICE_INFO_SERIAL_NUMBER, INFO_DATATYPE_STRING},
    {DEVICE_INFO_VERSION, INFO_DATATYPE_STRING}};

} // namespace Standard
