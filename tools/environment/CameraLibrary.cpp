#include "CameraLibrary.h"

#include "FolderList.h"
#include "MachineVariable.h"

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include <windows.h>

namespace environment {
namespace {

namespace fs = std::filesystem;

constexpr const wchar_t* kLibrary = L"Optivo40.dll";
constexpr const wchar_t* kProductOf = L"\\StringFileInfo\\040904B0\\ProductName";
constexpr std::wstring_view kOwnProduct = L"NorvelTL";

fs::path SystemFolder() {
    std::array<wchar_t, MAX_PATH> folder{};
    GetSystemDirectoryW(folder.data(), static_cast<UINT>(folder.size()));
    return folder.data();
}

std::wstring Expanded(const std::wstring& text) {
    std::wstring expanded(ExpandEnvironmentStringsW(text.c_str(), nullptr, 0), L'\0');
    ExpandEnvironmentStringsW(text.c_str(), expanded.data(), static_cast<DWORD>(expanded.size()));
    expanded.resize(std::min(expanded.find(L'\0'), expanded.size()));
    return expanded;
}

void AppendFolders(std::vector<fs::path>& folders, const std::wstring& text) {
    for (const std::wstring_view entry : CFolderList(text).Entries()) {
        std::wstring folder{entry};
        std::erase(folder, L'"');
        if (!folder.empty()) {
            folders.emplace_back(Expanded(folder));
        }
    }
}

} // namespace

bool IsSimulated(const fs::path& library) {
    DWORD unused = 0;
    const DWORD size = GetFileVersionInfoSizeW(library.c_str(), &unused);
    std::vector<BYTE> block(size);
    if (size == 0 || !GetFileVersionInfoW(library.c_str(), 0, size, block.data())) {
        return false;
    }
    void* product = nullptr;
    UINT length = 0;
    return VerQueryValueW(block.data(), kProductOf, &product, &length) && length > 0 &&
           static_cast<const wchar_t*>(product) == kOwnProduct;
}

std::optional<fs::path> FindMakersLibrary(const fs::path& folder) {
    std::vector<fs::path> folders{folder, SystemFolder()};
    // This process may have an older PATH than programs that start from now on, or one of its own.
    AppendFolders(folders, Expanded(L"%PATH%"));
    AppendFolders(folders, CMachineVariable(L"PATH").Text().value_or(L""));
    for (const fs::path& place : folders) {
        std::error_code error;
        const fs::path library = place / kLibrary;
        if (fs::is_regular_file(library, error) && !IsSimulated(library)) {
            return library;
        }
    }
    return {};
}

} // namespace environment
