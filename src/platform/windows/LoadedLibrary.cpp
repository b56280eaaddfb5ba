#include "platform/windows/LoadedLibrary.h"

#include <boost/format.hpp>

#include <cstdint>
#include <filesystem>
#include <locale>
#include <stdexcept>
#include <string>

#include <windows.h>

namespace GenICam::Client::Platform {
namespace {

namespace fs = std::filesystem;

constexpr DWORD kLongestPath = 32768; // of Windows, in characters with the zero

// Without a dialogue of the system for what is told to the consumer.
class CQuietErrors {
public:
    CQuietErrors() { SetThreadErrorMode(SEM_FAILCRITICALERRORS, &m_before); }
    ~CQuietErrors() { SetThreadErrorMode(m_before, nullptr); }
    CQuietErrors(const CQuietErrors&) = delete;
    CQuietErrors& operator=(const CQuietErrors&) = delete;

private:
    DWORD m_before = 0;
};

// In the encoding of all texts at the boundary.
std::string Narrow(const std::wstring& text) {
    const auto convert = [&](char* target, int capacity) {
        return WideCharToMultiByte(CP_ACP, 0, text.data(), static_cast<int>(text.size()), target,
                                   capacity, nullptr, nullptr);
    };
    std::string narrow(static_cast<std::size_t>(convert(nullptr, 0)), '\0');
    convert(narrow.data(), static_cast<int>(narrow.size()));
    return narrow;
}

fs::path PathOf(HMODULE module) {
    std::wstring path(kLongestPath, L'\0');
    path.resize(GetModuleFileNameW(module, path.data(), kLongestPath));
    return path;
}

fs::path OwnFolder() {
    static const char s_here = 0;
    HMODULE module = nullptr;
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                           GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       &s_here, &module);
    return PathOf(module).parent_path();
}

// Where Windows finds a library by its name alone; empty when nowhere.
fs::path FindBySystem(const wchar_t* file) {
    std::wstring path(kLongestPath, L'\0');
    path.resize(SearchPathW(nullptr, file, nullptr, kLongestPath, path.data(), nullptr));
    return path;
}

template <class... Arguments>
std::string Format(const char* text, const Arguments&... arguments) {
    return boost::str((boost::format(text, std::locale::classic()) % ... % arguments));
}

[[noreturn]] void Refuse(const std::string& library, DWORD error) {
    switch (error) {
    case ERROR_BAD_EXE_FORMAT:
        throw std::runtime_error(Format("The camera library %s is not a library for 64-bit "
                                        "Windows; put the maker's in its place.",
                                        library));
    case ERROR_MOD_NOT_FOUND:
        throw std::runtime_error(Format("The camera library %s needs a library that is missing; "
                                        "install the maker's software.",
                                        library));
    default:
        throw std::runtime_error(
            Format("The camera library %s cannot be loaded: error %d of Windows.", library,
                   static_cast<std::int32_t>(error)));
    }
}

HMODULE Load(const wchar_t* file) {
    const CQuietErrors quiet;
    const fs::path folder = OwnFolder();
    fs::path path = folder / file;
    std::error_code ignored;
    HMODULE library = nullptr;
    if (fs::exists(path, ignored)) {
        library = LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    } else {
        path = FindBySystem(file);
        library = LoadLibraryW(file);
    }
    const DWORD error = GetLastError();
    if (library == nullptr && path.empty()) {
        throw std::runtime_error(
            Format("The camera library %s is neither in %s nor where Windows looks for libraries; "
                   "install the maker's software, or copy its library into that folder.",
                   Narrow(file), Narrow(folder)));
    }
    if (library == nullptr) {
        Refuse(Narrow(path), error);
    }
    return library;
}

} // namespace

void (*LibraryFunction(const wchar_t* file, const char* function))() {
    HMODULE library = Load(file);
    const FARPROC found = GetProcAddress(library, function);
    if (found == nullptr) {
        const std::string path = Narrow(PathOf(library));
        FreeLibrary(library);
        throw std::runtime_error(Format("The camera library %s has no function %s; put the "
                                        "maker's library in its place.",
                                        path, function));
    }
    return reinterpret_cast<void (*)()>(found);
}

} // namespace GenICam::Client::Platform
