#include "producers/DynamicLibrary.h"

#include "producers/LoadTrouble.h"
#include "terminal/Console.h"
#include "terminal/Error.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#include <link.h>
#endif

namespace norveltl {

namespace {

namespace fs = std::filesystem;

#if defined(_WIN32)

void* Load(const fs::path& path) {
    return LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
}

void Unload(void* library) {
    FreeLibrary(static_cast<HMODULE>(library));
}

#else

void* Load(const fs::path& path) {
    return dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
}

void Unload(void* library) {
    dlclose(library);
}

#endif

} // namespace

CDynamicLibrary::CDynamicLibrary(const fs::path& path) : m_handle(Load(path), Unload) {
    if (!m_handle) {
        const std::string trouble = LoadTrouble(path);
        throw CToolError("cannot load " + Utf8FromPath(path) + ": " + trouble);
    }
}

#if defined(_WIN32)

fs::path LoadedPath(void* library) {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(static_cast<HMODULE>(library), path.data(),
                                                static_cast<DWORD>(path.size()));
        if (length < path.size()) {
            path.resize(length);
            return path;
        }
        path.resize(path.size() * 2);
    }
}

fs::path FindLoaded(const char* name, const fs::path& folder) {
    HMODULE found = GetModuleHandleW((folder / name).c_str());
    if (!found) {
        found = GetModuleHandleW(fs::path(name).c_str());
    }
    return found ? LoadedPath(found) : fs::path();
}

void* CDynamicLibrary::Find(const char* name) const {
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(m_handle.get()), name));
}

#else

fs::path LoadedPath(void* library) {
    if (!library) {
        std::error_code error;
        return fs::read_symlink("/proc/self/exe", error);
    }
    link_map* map = nullptr;
    return dlinfo(library, RTLD_DI_LINKMAP, &map) == 0 ? map->l_name : "";
}

fs::path FindLoaded(const char* name, const fs::path& folder) {
    for (const fs::path& file : {folder / name, fs::path(name)}) {
        const std::unique_ptr<void, void (*)(void*)> found(
            dlopen(file.c_str(), RTLD_LAZY | RTLD_NOLOAD), Unload);
        if (found) {
            return LoadedPath(found.get());
        }
    }
    return {};
}

void* CDynamicLibrary::Find(const char* name) const {
    return dlsym(m_handle.get(), name);
}

#endif

} // namespace norveltl
