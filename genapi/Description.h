// The way from the URL that a module's port names to the XML text of its description.
#pragma once

#include "genapi/Port.h"

#include <filesystem>
#include <string>

namespace GenApi {

// Of a URL "Local:name;address;length", or "File:" with a file of this machine, which is looked for
// in folder when it names none itself; with any letter case, and a query that is left aside. What
// is zipped is unpacked. Throws CError for any other URL, and for what cannot be read there; what
// the port throws passes through.
std::string ReadDescription(const std::string& url, const SPort& port,
                            const std::filesystem::path& folder = {});
// Whether it names what only another machine has, by its scheme.
bool IsOnNetwork(const std::string& url);

} // namespace GenApi
