// Why a library cannot be loaded, said so that its user can mend it.
#pragma once

#include <filesystem>
#include <string>

namespace norveltl {

// To be asked on the thread that failed to load it, before it calls the system again.
std::string LoadTrouble(const std::filesystem::path& library);

} // namespace norveltl
