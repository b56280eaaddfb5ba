#include "FolderList.h"

#include <algorithm>
#include <cwctype>

namespace environment {
namespace {

constexpr wchar_t kSeparator = L';';
constexpr wchar_t kQuote = L'"';

std::wstring Normalised(std::wstring_view folder) {
    std::wstring text;
    text.reserve(folder.size());
    for (const wchar_t c : folder) {
        if (c != kQuote) {
            text.push_back(static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(c))));
        }
    }
    while (!text.empty() && text.back() == L'\\') {
        text.pop_back();
    }
    return text;
}

// Where the entry that begins there ends. A quote that nobody closes quotes nothing.
std::size_t EndOfEntry(std::wstring_view text, std::size_t position) {
    while (position < text.size() && text[position] != kSeparator) {
        if (text[position] == kQuote) {
            const std::size_t closing = text.find(kQuote, position + 1);
            if (closing != std::wstring_view::npos) {
                position = closing;
            }
        }
        ++position;
    }
    return position;
}

} // namespace

bool IsSameFolder(std::wstring_view left, std::wstring_view right) {
    return Normalised(left) == Normalised(right);
}

std::vector<std::wstring_view> CFolderList::Entries() const {
    const std::wstring_view text = m_text;
    std::vector<std::wstring_view> entries;
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = EndOfEntry(text, begin);
        entries.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return entries;
}

bool CFolderList::Contains(std::wstring_view folder) const {
    const auto entries = Entries();
    return std::any_of(entries.begin(), entries.end(),
                       [&](std::wstring_view entry) { return IsSameFolder(entry, folder); });
}

void CFolderList::Add(std::wstring_view folder) {
    if (Contains(folder)) {
        return;
    }
    const bool isOpen = m_text.empty() || m_text.back() == kSeparator;
    if (!isOpen) {
        m_text += kSeparator;
    }
    m_text += folder;
    if (isOpen) {
        m_text += kSeparator;
    }
}

void CFolderList::Remove(std::wstring_view folder) {
    for (std::size_t begin = 0; begin < m_text.size();) {
        const std::size_t end = EndOfEntry(m_text, begin);
        if (!IsSameFolder(std::wstring_view(m_text).substr(begin, end - begin), folder)) {
            begin = end + 1;
        } else if (end < m_text.size()) {
            m_text.erase(begin, end + 1 - begin);
        } else {
            m_text.erase(begin > 0 ? begin - 1 : 0);
        }
    }
}

} // namespace environment
