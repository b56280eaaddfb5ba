// The descriptions of the local device's and the stream's registers, as bytes in this module.
#pragma once

#include <cstddef>

namespace Standard {

extern const unsigned char kDeviceXml[];
extern const std::size_t kDeviceXmlSize;
extern const unsigned char kStreamXml[];
extern const std::size_t kStreamXmlSize;

} // namespace Standard
