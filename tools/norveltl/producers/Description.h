// The XML description that a module's port names, and the registers behind the port.
#pragma once

#include "producers/Producer.h"

#include "genapi/Port.h"

#include <string>

namespace norveltl {

// The XML text at the first of the port's URLs that can be read; throws what keeps the first of
// them from being read, and CToolError when the port names none.
std::string ReadDescription(const CProducer& producer, PORT_HANDLE port);
// The XML text at one of them.
std::string ReadDescription(const CProducer& producer, PORT_HANDLE port, const std::string& url);
// The producer and the port must stay as long as what is answered.
GenApi::SPort Registers(const CProducer& producer, PORT_HANDLE port);

} // namespace norveltl
