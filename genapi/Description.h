// The way from the URL that a module's port names to the XML text of its description.
#pragma once

#include "genapi/Port.h"

#include <string>

namespace GenApi {

// Of a URL "Local:name;address;length". Throws CError for any other URL, and for what is not in
// plain form there.
std::string ReadDescription(const std::string& url, const SPort& port);

} // namespace GenApi
