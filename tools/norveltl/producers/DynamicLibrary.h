// Libraries of this process: one that it loads at run time, and where those lie that are loaded.
#pragma once

#include <filesystem>
#include <memory>

namespace norveltl {

// Where a loaded library lies, as the system knows it; without a library, where the program does.
std::filesystem::path LoadedPath(void* library);

// Where a file of that name lies that is loaded, the one in the folder if there are several; empty
// when none is.
std::filesystem::path FindLoaded(const char* name, const std::filesystem::path& folder);

class CDynamicLibrary {
public:
    // Windows looks for what the library needs in the library's folder first. Throws CToolError,
    // which says what is missing.
    explicit CDynamicLibrary(const std::filesystem::path& path);

    // Null when nothing of that name is exported.
    void* Find(const char* name) const;
    std::filesystem::path Path() const { return LoadedPath(m_handle.get()); }

private:
    std::unique_ptr<void, void (*)(void*)> m_handle;
};

} // namespace norveltl
