// Where the maker's camera library lies on this machine.
#pragma once

#include <filesystem>
#include <optional>

namespace environment {

// The maker's library that the module would find from this folder: there, in the system's folder,
// or in one of PATH's.
std::optional<std::filesystem::path> FindMakersLibrary(const std::filesystem::path& folder);

} // namespace environment
