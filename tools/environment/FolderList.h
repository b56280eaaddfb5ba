// The text of a variable that lists folders, like PATH. One folder comes and goes; every other
// character stays what it was. Knows nothing of where the text is kept.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace environment {

// A folder is quoted or not, ends with backslashes or not, and is written in capitals or not.
bool IsSameFolder(std::wstring_view left, std::wstring_view right);

class CFolderList {
public:
    explicit CFolderList(std::wstring text) : m_text{std::move(text)} {}

    const std::wstring& Text() const { return m_text; }

    // As they stand in the text, empty ones too; semicolons within quotes part nothing.
    std::vector<std::wstring_view> Entries() const;

    bool Contains(std::wstring_view folder) const;

    // Appends the folder unless it is there. A text that ends with a semicolon, or is empty, ends
    // with a semicolon afterwards too, so that Remove leaves what was before.
    void Add(std::wstring_view folder);

    // Takes out every entry that is this folder, and one semicolon with it.
    void Remove(std::wstring_view folder);

private:
    std::wstring m_text;
};

} // namespace environment
