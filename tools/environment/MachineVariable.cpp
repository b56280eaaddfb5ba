#include "MachineVariable.h"

#include <memory>
#include <stdexcept>
#include <system_error>
#include <type_traits>

#include <windows.h>

namespace environment {
namespace {

constexpr const wchar_t* kPlace =
    L"SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Environment";
constexpr std::size_t kLongest = 32767;
constexpr UINT kPatience = 2000;

void Check(LSTATUS status, const char* what) {
    if (status != ERROR_SUCCESS) {
        throw std::system_error(static_cast<int>(status), std::system_category(), what);
    }
}

struct CloseKey {
    void operator()(HKEY key) const { RegCloseKey(key); }
};
using Key = std::unique_ptr<std::remove_pointer_t<HKEY>, CloseKey>;

Key Open(REGSAM access) {
    HKEY key = nullptr;
    Check(RegOpenKeyExW(HKEY_LOCAL_MACHINE, kPlace, 0, access | KEY_WOW64_64KEY, &key),
          "the machine's environment cannot be opened");
    return Key{key};
}

} // namespace

CMachineVariable::CMachineVariable(std::wstring name) : m_name{std::move(name)}, m_kind{REG_SZ} {
    const Key key = Open(KEY_QUERY_VALUE);
    DWORD size = 0;
    LSTATUS status = RegQueryValueExW(key.get(), m_name.c_str(), nullptr, &m_kind, nullptr, &size);
    if (status == ERROR_FILE_NOT_FOUND) {
        m_kind = REG_SZ;
        return;
    }
    std::wstring text;
    do {
        text.resize(size / sizeof(wchar_t) + 1);
        size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
        status = RegQueryValueExW(key.get(), m_name.c_str(), nullptr, &m_kind,
                                  reinterpret_cast<BYTE*>(text.data()), &size);
    } while (status == ERROR_MORE_DATA);
    Check(status, "the variable cannot be read");
    if (m_kind != REG_SZ && m_kind != REG_EXPAND_SZ) {
        throw std::runtime_error("the variable is no text");
    }
    // Whoever wrote it may have counted the terminating zero or not.
    text.resize(size / sizeof(wchar_t));
    text.resize(std::min(text.find(L'\0'), text.size()));
    m_text = std::move(text);
}

void CMachineVariable::Set(std::optional<std::wstring> text) {
    const Key key = Open(KEY_SET_VALUE);
    if (!text) {
        Check(RegDeleteValueW(key.get(), m_name.c_str()), "the variable cannot be removed");
    } else {
        if (text->size() >= kLongest) {
            throw std::length_error("the variable would have more than 32,766 characters, and "
                                    "Windows would drop it");
        }
        const auto size = static_cast<DWORD>((text->size() + 1) * sizeof(wchar_t));
        Check(RegSetValueExW(key.get(), m_name.c_str(), 0, m_kind,
                             reinterpret_cast<const BYTE*>(text->c_str()), size),
              "the variable cannot be written");
    }
    m_text = std::move(text);
}

void TellPrograms() {
    SendMessageTimeoutW(HWND_BROADCAST, WM_SETTINGCHANGE, 0,
                        reinterpret_cast<LPARAM>(L"Environment"), SMTO_ABORTIFHUNG, kPatience,
                        nullptr);
}

} // namespace environment
