// The System module's XML description as bytes of the module. The build makes the definitions
// from the XML file.
#pragma once

#include <cstddef>

namespace GenICam::Client::Platform {

extern const unsigned char kEmbeddedXml[];
extern const std::size_t kEmbeddedXmlSize;

} // namespace GenICam::Client::Platform
