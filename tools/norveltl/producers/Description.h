// The XML description that a module's port names, and the registers behind the port.
#pragma once

#include "producers/Producer.h"

#include "genapi/Port.h"

#include <string>

namespace norveltl {

// The URL itself; throws CToolError when the port names none.
std::string DescriptionUrl(const CProducer& producer, PORT_HANDLE port);
// The XML text, read through the port; throws where it is not in plain form in the camera.
std::string ReadDescription(const CProducer& producer, PORT_HANDLE port);
// The producer and the port must stay as long as what is answered.
GenApi::SPort Registers(const CProducer& producer, PORT_HANDLE port);

} // namespace norveltl
