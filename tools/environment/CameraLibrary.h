// Which camera libraries lie on this machine: the maker's own, or the simulated one, whose version
// resource tells it.
#pragma once

#include <filesystem>
#include <optional>

namespace environment {

// False for a file that is not there.
bool IsSimulated(const std::filesystem::path& library);

// The maker's library that the module would find from this folder: there, in the system's folder,
// or in one of PATH's.
std::optional<std::filesystem::path> FindMakersLibrary(const std::filesystem::path& folder);

} // namespace environment
