#include "producers/LoadTrouble.h"

#include "producers/ModuleFile.h"
#include "terminal/Console.h"

#if defined(_WIN32)
#include "producers/DynamicLibrary.h"

#include <array>
#include <set>

#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace norveltl {

namespace {

namespace fs = std::filesystem;

#if defined(_WIN32)
constexpr const char* kOwnSystem = "64-bit Windows";
#else
constexpr const char* kOwnSystem = "64-bit Linux";
#endif

// What it is instead of a library that can be loaded here; empty if it is none of that.
std::string WrongKind(const SModuleFile& file) {
    if (file.system == kOwnSystem) {
        return "";
    }
    std::string text = "no library for ";
    text += kOwnSystem;
    return file.system.empty() ? text : text + ", but one for " + file.system;
}

#if defined(_WIN32)

fs::path FolderOf(UINT WINAPI ask(LPWSTR, UINT)) {
    std::array<wchar_t, MAX_PATH> folder{};
    ask(folder.data(), static_cast<UINT>(folder.size()));
    return folder.data();
}

std::string SystemText(DWORD code) {
    std::array<wchar_t, 512> text{};
    const DWORD length =
        FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0,
                       text.data(), static_cast<DWORD>(text.size()), nullptr);
    std::wstring line(text.data(), length);
    while (!line.empty() && (line.back() == L'\n' || line.back() == L'\r')) {
        line.pop_back();
    }
    return Utf8FromPath(fs::path(line));
}

// Looks for what a library needs where Windows does.
class CImports {
public:
    explicit CImports(const fs::path& folder) : m_system(FolderOf(GetSystemDirectoryW)) {
        std::error_code error;
        m_folders = {folder, m_system, FolderOf(GetWindowsDirectoryW), fs::current_path(error)};
        for (const fs::path& place : PathsFromEnvironment("PATH")) {
            m_folders.push_back(place);
        }
    }

    // Says what is missing or of the wrong kind, beginning with who needs it; empty for nothing.
    std::string Trouble(const SModuleFile& file, const std::string& needs = "it needs ") {
        for (const std::string& name : file.imports) {
            if (!m_seen.insert(name).second || IsPartOfWindows(name) ||
                GetModuleHandleW(PathFromUtf8(name).c_str())) {
                continue;
            }
            const fs::path path = Locate(name);
            std::string chain = needs + Printable(name);
            if (path.empty()) {
                return chain + ", which is neither beside it nor in a folder of PATH";
            }
            const SModuleFile needed = ReadModuleFile(path);
            if (const std::string kind = WrongKind(needed); !kind.empty()) {
                return chain.append(", and " + Utf8FromPath(path)).append(" is " + kind);
            }
            std::error_code error;
            if (!fs::equivalent(path.parent_path(), m_system, error)) {
                if (std::string trouble = Trouble(needed, chain + ", which needs ");
                    !trouble.empty()) {
                    return trouble;
                }
            }
        }
        return "";
    }

private:
    // Names that stand for other libraries, and are no files.
    static bool IsPartOfWindows(const std::string& name) {
        return name.starts_with("api-ms-") || name.starts_with("ext-ms-");
    }

    fs::path Locate(const std::string& name) const {
        std::error_code error;
        for (const fs::path& folder : m_folders) {
            if (fs::is_regular_file(folder / PathFromUtf8(name), error)) {
                return folder / PathFromUtf8(name);
            }
        }
        return {};
    }

    fs::path m_system;
    std::vector<fs::path> m_folders;
    std::set<std::string> m_seen;
};

#endif

} // namespace

#if defined(_WIN32)

std::string LoadTrouble(const fs::path& library) {
    const DWORD code = GetLastError();
    const std::string number = " (" + std::to_string(code) + ")";
    const SModuleFile file = ReadModuleFile(library);
    if (const std::string kind = WrongKind(file); !kind.empty()) {
        return "it is " + kind + number;
    }
    if (code != ERROR_MOD_NOT_FOUND && code != ERROR_BAD_EXE_FORMAT) {
        return SystemText(code) + number;
    }
    std::string trouble = CImports(library.parent_path()).Trouble(file);
    if (trouble.empty()) {
        trouble = "a library that it needs cannot be loaded";
    }
    return trouble + number + "\n  Install what is missing, or put it beside the module.";
}

#else

std::string LoadTrouble(const fs::path& library) {
    const char* said = dlerror();
    std::string text = said ? said : "unknown reason";
    if (const std::string kind = WrongKind(ReadModuleFile(library)); !kind.empty()) {
        return "it is " + kind;
    }
    const std::string name = Utf8FromPath(library) + ": ";
    if (text.starts_with(name)) {
        text.erase(0, name.size());
    }
    if (text.find(": cannot open shared object file") == std::string::npos) {
        return text;
    }
    return text + "\n  Install what is missing, or put it beside the module.";
}

#endif

} // namespace norveltl
