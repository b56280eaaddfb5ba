// What a camera library tells of itself, for the command line and the installer: the simulated one
// and a maker's have the same name. Knows no declarations of the camera library.
#pragma once

#include <filesystem>
#include <string>

namespace library {

struct SIdentity {
    std::string version; // "1.2.3.4"; empty where the library tells none
    bool isSimulated = false;
};

// Windows: what the file's version resource tells; nothing of a file that is not there.
// Elsewhere: what a library of that path tells that this process has loaded, by its symbols
// "const char OptivoLibraryVersion[]" and "const char OptivoLibraryKind[]".
SIdentity Identify(const std::filesystem::path& library);

} // namespace library
