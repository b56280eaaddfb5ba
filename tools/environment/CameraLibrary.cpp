#include "CameraLibrary.h"

#include "FolderList.h"
#include "LibraryIdentity.h"
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

std::optional<fs::path> FindMakersLibrary(const fs::path& folder) {
    std::vector<fs::path> folders{folder, SystemFolder()};
    // This process may have an older PATH than programs that start from now on, or one of its own.
    AppendFolders(folders, Expanded(L"%PATH%"));
    AppendFolders(folders, CMachineVariable(L"PATH").Text().value_or(L""));
    for (const fs::path& place : folders) {
        std::error_code error;
        const fs::path file = place / kLibrary;
        if (fs::is_regular_file(file, error) && !library::Identify(file).isSimulated) {
            return file;
        }
    }
    return {};
}

} // namespace environment
