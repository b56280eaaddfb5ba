#include "camlib/GenICamBase.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

namespace GenICam {

namespace {

char* Duplicate(const char* text, std::size_t length) {
    char* const copy = new char[length + 1];
    std::memcpy(copy, text, length);
    copy[length] = '\0';
    return copy;
}

char* Duplicate(const char* text) {
    return text != nullptr ? Duplicate(text, std::strlen(text)) : Duplicate("", 0);
}

void AppendUtf8(std::string& text, std::uint32_t codePoint) {
    const auto append = [&text](std::uint32_t byte) { text += static_cast<char>(byte); };
    const auto appendTail = [&](int shift) { append(0x80U | ((codePoint >> shift) & 0x3FU)); };
    if (codePoint < 0x80) {
        append(codePoint);
    } else if (codePoint < 0x800) {
        append(0xC0U | (codePoint >> 6));
        appendTail(0);
    } else if (codePoint < 0x10000) {
        append(0xE0U | (codePoint >> 12));
        appendTail(6);
        appendTail(0);
    } else {
        append(0xF0U | (codePoint >> 18));
        appendTail(12);
        appendTail(6);
        appendTail(0);
    }
}

// Accepts UTF-16 and UTF-32, whichever wchar_t is; what is neither becomes U+FFFD.
std::string ToUtf8(const wchar_t* wide) {
    constexpr std::uint32_t kReplacement = 0xFFFD;
    std::string text;
    for (; wide != nullptr && *wide != L'\0'; ++wide) {
        auto unit = static_cast<std::uint32_t>(static_cast<std::make_unsigned_t<wchar_t>>(*wide));
        if (unit >= 0xD800 && unit < 0xDC00) {
            const auto low =
                static_cast<std::uint32_t>(static_cast<std::make_unsigned_t<wchar_t>>(wide[1]));
            if (low >= 0xDC00 && low < 0xE000) {
                unit = 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
                ++wide;
            } else {
                unit = kReplacement;
            }
        } else if ((unit >= 0xDC00 && unit < 0xE000) || unit > 0x10FFFF) {
            unit = kReplacement;
        }
        AppendUtf8(text, unit);
    }
    return text;
}

std::string TextOf(const char* text) {
    return text != nullptr ? text : "";
}

} // namespace

gcstring::gcwchar::gcwchar(const wchar_t* text) : m_text(text) {}
const wchar_t* gcstring::gcwchar::c_str() const {
    return m_text;
}

gcstring::gcstring() : m_text(Duplicate(nullptr)) {}
gcstring::gcstring(const char* text) : m_text(Duplicate(text)) {}
gcstring::gcstring(const gcwchar& text) : m_text(Duplicate(ToUtf8(text.c_str()).c_str())) {}
gcstring::gcstring(const gcstring& other) : m_text(Duplicate(other.m_text)) {}
gcstring::~gcstring() {
    delete[] m_text;
}

gcstring& gcstring::operator=(const gcstring& other) {
    if (this != &other) {
        char* const copy = Duplicate(other.m_text);
        delete[] m_text;
        m_text = copy;
    }
    return *this;
}

const char* gcstring::c_str() const {
    return m_text;
}
std::size_t gcstring::length() const {
    return std::strlen(m_text);
}

struct gcstring_vector::Storage {
    std::vector<gcstring> strings;
};

gcstring_vector::iterator::iterator(gcstring* position) : m_position(position) {}
gcstring_vector::iterator::iterator(const iterator& other) = default;
gcstring_vector::iterator& gcstring_vector::iterator::operator=(const iterator& other) = default;
gcstring_vector::iterator::~iterator() {
    m_position = nullptr;
}
gcstring& gcstring_vector::iterator::operator*() const {
    return *m_position;
}
gcstring* gcstring_vector::iterator::operator->() const {
    return m_position;
}
gcstring_vector::iterator& gcstring_vector::iterator::operator++() {
    ++m_position;
    return *this;
}
bool gcstring_vector::iterator::operator==(const iterator& other) const {
    return m_position == other.m_position;
}
bool gcstring_vector::iterator::operator!=(const iterator& other) const {
    return m_position != other.m_position;
}

gcstring_vector::const_iterator::const_iterator(const gcstring* position) : m_position(position) {}
gcstring_vector::const_iterator::const_iterator(const iterator& other)
    : m_position(other.m_position) {}
gcstring_vector::const_iterator::const_iterator(const const_iterator& other) = default;
gcstring_vector::const_iterator&
gcstring_vector::const_iterator::operator=(const const_iterator& other) = default;
gcstring_vector::const_iterator::~const_iterator() {
    m_position = nullptr;
}
const gcstring& gcstring_vector::const_iterator::operator*() const {
    return *m_position;
}
const gcstring* gcstring_vector::const_iterator::operator->() const {
    return m_position;
}
gcstring_vector::const_iterator& gcstring_vector::const_iterator::operator++() {
    ++m_position;
    return *this;
}
bool gcstring_vector::const_iterator::operator==(const const_iterator& other) const {
    return m_position == other.m_position;
}
bool gcstring_vector::const_iterator::operator!=(const const_iterator& other) const {
    return m_position != other.m_position;
}

gcstring_vector::gcstring_vector() : m_storage(new Storage) {}
gcstring_vector::gcstring_vector(const gcstring_vector& other)
    : m_storage(new Storage(*other.m_storage)) {}
gcstring_vector::~gcstring_vector() {
    delete m_storage;
}

gcstring_vector& gcstring_vector::operator=(const gcstring_vector& other) {
    if (this != &other) {
        m_storage->strings = other.m_storage->strings;
    }
    return *this;
}

void gcstring_vector::push_back(const gcstring& text) {
    m_storage->strings.push_back(text);
}
void gcstring_vector::clear() {
    m_storage->strings.clear();
}
std::size_t gcstring_vector::size() const {
    return m_storage->strings.size();
}
gcstring& gcstring_vector::operator[](std::size_t index) {
    return m_storage->strings[index];
}
const gcstring& gcstring_vector::operator[](std::size_t index) const {
    return m_storage->strings[index];
}
gcstring_vector::iterator gcstring_vector::begin() {
    return iterator(m_storage->strings.data());
}
gcstring_vector::iterator gcstring_vector::end() {
    return iterator(m_storage->strings.data() + m_storage->strings.size());
}
gcstring_vector::const_iterator gcstring_vector::begin() const {
    return const_iterator(m_storage->strings.data());
}
gcstring_vector::const_iterator gcstring_vector::end() const {
    return const_iterator(m_storage->strings.data() + m_storage->strings.size());
}

struct GenericException::Details {
    std::string description;
    std::string sourceFileName;
    unsigned int sourceLine = 0;
    std::string what;
};

GenericException::GenericException(const char* description, const char* sourceFileName,
                                   unsigned int sourceLine, const char* exceptionType)
    : m_details(new Details{TextOf(description), TextOf(sourceFileName), sourceLine, {}}) {
    m_details->what = TextOf(exceptionType) + ": " + m_details->description + " (" +
                      m_details->sourceFileName + ", line " + std::to_string(sourceLine) + ")";
}

GenericException::GenericException(const GenericException& other)
    : std::exception(other), m_details(new Details(*other.m_details)) {}

GenericException& GenericException::operator=(const GenericException& other) {
    if (this != &other) {
        std::exception::operator=(other);
        *m_details = *other.m_details;
    }
    return *this;
}

GenericException::~GenericException() noexcept {
    delete m_details;
}

const char* GenericException::what() const noexcept {
    return m_details->what.c_str();
}
const char* GenericException::GetDescription() const noexcept {
    return m_details->description.c_str();
}
const char* GenericException::GetSourceFileName() const noexcept {
    return m_details->sourceFileName.c_str();
}
unsigned int GenericException::GetSourceLine() const noexcept {
    return m_details->sourceLine;
}

// NOLINTBEGIN(bugprone-macro-parentheses): a class name takes none.
#define GENICAM_DEFINE_EXCEPTION(Name)                                                             \
    Name::Name(const char* description, const char* sourceFileName, unsigned int sourceLine,       \
               const char* exceptionType)                                                          \
        : GenericException(description, sourceFileName, sourceLine, exceptionType) {}              \
    Name::Name(const Name& other) = default;                                                       \
    Name& Name::operator=(const Name& other) = default;                                            \
    Name::~Name() noexcept = default;
// NOLINTEND(bugprone-macro-parentheses)

GENICAM_DEFINE_EXCEPTION(BadAllocException)
GENICAM_DEFINE_EXCEPTION(InvalidArgumentException)
GENICAM_DEFINE_EXCEPTION(OutOfRangeException)
GENICAM_DEFINE_EXCEPTION(PropertyException)
GENICAM_DEFINE_EXCEPTION(RuntimeException)
GENICAM_DEFINE_EXCEPTION(LogicalErrorException)
GENICAM_DEFINE_EXCEPTION(AccessException)
GENICAM_DEFINE_EXCEPTION(TimeoutException)
GENICAM_DEFINE_EXCEPTION(DynamicCastException)

#undef GENICAM_DEFINE_EXCEPTION

} // namespace GenICam
