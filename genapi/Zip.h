// The XML in a zip archive, as cameras keep it to save memory. Knows nothing of where the archive
// was nor of what the XML says, and trusts no number in it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace GenApi {

bool IsZip(std::string_view file);
// What is behind the archive's end, such as zeros that fill up a register, does no harm. Throws
// CError when no file in it is named .xml, or the first that is one is packed in a way that is not
// understood, damaged, or longer than most.
std::string Unzip(std::string_view archive, std::size_t most);

} // namespace GenApi
