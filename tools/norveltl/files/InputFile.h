// Files that users name.
#pragma once

#include <filesystem>
#include <string>

namespace norveltl {

// All of it; throws CToolError, naming the file and the system's reason. "-" is the standard input.
std::string ReadFile(const std::filesystem::path& path);

} // namespace norveltl
