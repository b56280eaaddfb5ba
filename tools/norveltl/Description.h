// The XML description that a module's port names, and the registers behind the port.
#pragma once

#include "Producer.h"

#include <optional>
#include <string>
#include <string_view>

namespace norveltl {

// The URL itself; throws CToolError when the port names none.
std::string DescriptionUrl(const CProducer& producer, PORT_HANDLE port);
// The XML text, read through the port; throws where it is not in plain form in the camera.
std::string ReadDescription(const CProducer& producer, PORT_HANDLE port);
// Reads exactly so many bytes, or throws.
void ReadPort(const CProducer& producer, PORT_HANDLE port, uint64_t address, void* buffer,
              size_t size);

std::string Trim(std::string_view text);
std::optional<uint64_t> ParseUnsigned(std::string_view text, int base);
// Decimal with a sign, or hexadecimal with the prefix 0x; where stands in the error's text.
int64_t ParseInteger(const std::string& text, const std::string& where);

} // namespace norveltl
