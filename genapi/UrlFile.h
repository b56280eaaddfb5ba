// The files of this machine that URLs name ("File:"). Knows nothing of what they hold.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

namespace GenApi {

// Of what stands in a URL between "File:" and its query: "///folder/name", "/folder/name", a name
// in folder, with a drive on Windows ("C:" or "C|"), all with "%20" and the like. Nothing is asked
// of another machine. Throws CError.
std::filesystem::path PathOfUrl(std::string_view rest, const std::filesystem::path& folder);
// Throws CError when it is no file, cannot be read or is longer than most.
std::string ReadFile(const std::filesystem::path& path, std::size_t most);

} // namespace GenApi
