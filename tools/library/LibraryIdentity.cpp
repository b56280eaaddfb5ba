#include "LibraryIdentity.h"

#include <memory>
#include <string_view>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace library {

#if defined(_WIN32)

namespace {

constexpr const wchar_t* kProductOf = L"\\StringFileInfo\\040904B0\\ProductName";
constexpr std::wstring_view kSimulated = L"NorvelTL";

std::string VersionText(const VS_FIXEDFILEINFO& info) {
    std::string text;
    for (const DWORD part : {info.dwFileVersionMS, info.dwFileVersionLS}) {
        text += text.empty() ? "" : ".";
        text += std::to_string(HIWORD(part)) + "." + std::to_string(LOWORD(part));
    }
    return text;
}

} // namespace

SIdentity Identify(const std::filesystem::path& library) {
    DWORD unused = 0;
    const DWORD size = GetFileVersionInfoSizeW(library.c_str(), &unused);
    std::vector<BYTE> block(size);
    if (size == 0 || !GetFileVersionInfoW(library.c_str(), 0, size, block.data())) {
        return {};
    }
    SIdentity identity;
    void* value = nullptr;
    UINT length = 0;
    if (VerQueryValueW(block.data(), L"\\", &value, &length) &&
        length >= sizeof(VS_FIXEDFILEINFO)) {
        identity.version = VersionText(*static_cast<const VS_FIXEDFILEINFO*>(value));
    }
    identity.isSimulated = VerQueryValueW(block.data(), kProductOf, &value, &length) &&
                           length > 0 && static_cast<const wchar_t*>(value) == kSimulated;
    return identity;
}

#else

SIdentity Identify(const std::filesystem::path& library) {
    const std::unique_ptr<void, int (*)(void*)> loaded(
        dlopen(library.c_str(), RTLD_LAZY | RTLD_NOLOAD), dlclose);
    const auto text = [&](const char* symbol) -> std::string {
        const void* found = loaded ? dlsym(loaded.get(), symbol) : nullptr;
        return found ? static_cast<const char*>(found) : "";
    };
    return {text("OptivoLibraryVersion"), text("OptivoLibraryKind") == "simulated"};
}

#endif

} // namespace library
