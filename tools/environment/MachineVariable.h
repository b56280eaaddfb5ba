// An environment variable of the machine, as the registry keeps it: of any length, its kind (with
// or without %NAMES% to expand) kept.
#pragma once

#include <optional>
#include <string>

namespace environment {

class CMachineVariable {
public:
    // Throws std::system_error when the registry refuses, std::runtime_error when it holds no text.
    explicit CMachineVariable(std::wstring name);

    // Empty when there is no such variable.
    const std::optional<std::wstring>& Text() const { return m_text; }

    // Nothing removes the variable. Throws as the constructor does, and std::length_error for a
    // text that Windows would hand to no program.
    void Set(std::optional<std::wstring> text);

private:
    std::wstring m_name;
    std::optional<std::wstring> m_text;
    unsigned long m_kind;
};

// Tells running programs that variables have changed, so that programs they start see it.
void TellPrograms();

} // namespace environment
