// What a module's file tells of itself without being loaded: to say why it cannot be. Takes files
// of any bytes, and of any system.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace norveltl {

struct SModuleFile {
    std::string system;               // "64-bit Windows"; empty for what is no module
    std::vector<std::string> imports; // the libraries that a Windows module loads with itself
};

SModuleFile ReadModuleFile(const std::filesystem::path& path);

} // namespace norveltl
