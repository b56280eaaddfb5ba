#include "world/JsonTree.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <iterator>
#include <utility>

namespace OptivoSim {

namespace {

using Json = nlohmann::json;

constexpr std::size_t kMaxDepth = 16;   // far more than a world has
constexpr std::size_t kMaxReason = 800; // bytes of the text may stand in it

// Reads the bytes of a text and tells how many have been read.
class CByteIterator {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    CByteIterator(const char* byte, std::size_t* numRead) : m_byte(byte), m_numRead(numRead) {}

    reference operator*() const { return *m_byte; }
    CByteIterator& operator++() {
        ++m_byte;
        ++*m_numRead;
        return *this;
    }
    bool operator==(const CByteIterator& other) const { return m_byte == other.m_byte; }
    bool operator!=(const CByteIterator& other) const { return m_byte != other.m_byte; }

private:
    const char* m_byte;
    std::size_t* m_numRead; // not owned
};

// The parser's own words, without what names the parser.
std::string ReasonOf(const std::string& what) {
    const std::size_t syntax = what.find("syntax error");
    const std::size_t label = what.find("] ");
    if (syntax != std::string::npos) {
        return what.substr(syntax);
    }
    return label != std::string::npos ? what.substr(label + 2) : what;
}

// What may hold any bytes of the text, on one line that everybody can read.
std::string Printable(const std::string& reason) {
    std::string printable = reason.substr(0, kMaxReason);
    std::replace_if(
        printable.begin(), printable.end(),
        [](unsigned char byte) { return byte < 0x20 || byte > 0x7E; }, '?');
    return printable.size() < reason.size() ? printable + "..." : printable;
}

// Builds the tree while the parser reads.
class CTreeBuilder : public Json::json_sax_t {
public:
    CTreeBuilder(std::string_view text, SJsonNode& root, STextError& error)
        : m_text(text), m_root(root), m_error(error) {}

    std::size_t* NumRead() { return &m_numRead; }

    bool null() override {
        Add(EJson::Null);
        return true;
    }
    bool boolean(bool value) override {
        Add(EJson::Boolean).boolean = value;
        return true;
    }
    bool number_integer(number_integer_t value) override {
        return AddInteger(0 - static_cast<std::uint64_t>(value), true);
    }
    bool number_unsigned(number_unsigned_t value) override { return AddInteger(value, false); }
    bool number_float(number_float_t value, const string_t& /*digits*/) override {
        Add(EJson::Number).number = value;
        return true;
    }
    bool string(string_t& value) override {
        Add(EJson::Text).text = std::move(value);
        return true;
    }
    bool binary(binary_t& /*value*/) override { return false; }
    bool key(string_t& value) override {
        m_key = std::move(value);
        m_end = m_numRead;
        return true;
    }
    bool start_object(std::size_t /*count*/) override { return Enter(EJson::Object); }
    bool end_object() override { return Leave(); }
    bool start_array(std::size_t /*count*/) override { return Enter(EJson::Array); }
    bool end_array() override { return Leave(); }
    bool parse_error(std::size_t position, const std::string& /*token*/,
                     const Json::exception& problem) override {
        m_error = ErrorAt(m_text, position > 0 ? position - 1 : 0, ReasonOf(problem.what()));
        return false;
    }

private:
    // Only blanks and separators stand between one token and the next.
    std::size_t NextToken() const {
        return std::min(m_text.find_first_not_of(" \t\r\n,:", m_end), m_text.size());
    }

    SJsonNode& Add(EJson kind) {
        SJsonNode& node = m_open.empty() ? m_root : m_open.back()->children.emplace_back();
        node.kind = kind;
        node.offset = NextToken();
        node.key = std::exchange(m_key, {});
        m_end = m_numRead;
        return node;
    }

    bool AddInteger(std::uint64_t magnitude, bool isNegative) {
        SJsonNode& node = Add(EJson::Integer);
        node.magnitude = magnitude;
        node.isNegative = isNegative;
        node.number = isNegative ? -static_cast<double>(magnitude) : static_cast<double>(magnitude);
        return true;
    }

    bool Enter(EJson kind) {
        SJsonNode& node = Add(kind);
        if (m_open.size() == kMaxDepth) {
            m_error = ErrorAt(m_text, node.offset, "nested too deeply");
            return false;
        }
        // Stays where it is while it is open: its siblings come after it.
        m_open.push_back(&node);
        return true;
    }

    bool Leave() {
        m_open.pop_back();
        m_end = m_numRead;
        return true;
    }

    std::string_view m_text;
    SJsonNode& m_root;
    STextError& m_error;
    std::size_t m_numRead = 0;
    std::size_t m_end = 0; // of the token before
    std::string m_key;
    std::vector<SJsonNode*> m_open; // containers, the innermost last
};

std::string Escaped(const std::string& key) {
    std::string escaped;
    for (const char character : key) {
        if (character == '~') {
            escaped += "~0";
        } else if (character == '/') {
            escaped += "~1";
        } else {
            escaped += character;
        }
    }
    return escaped;
}

bool FindPointer(const SJsonNode& at, const SJsonNode& wanted, std::string& pointer) {
    if (&at == &wanted) {
        return true;
    }
    for (std::size_t i = 0; i < at.children.size(); ++i) {
        const SJsonNode& child = at.children[i];
        if (FindPointer(child, wanted, pointer)) {
            const std::string own =
                at.kind == EJson::Array ? std::to_string(i) : Escaped(child.key);
            pointer.insert(0, "/" + own);
            return true;
        }
    }
    return false;
}

} // namespace

std::string STextError::Message() const {
    return std::to_string(line) + ":" + std::to_string(column) + ": " + reason;
}

STextError ErrorAt(std::string_view text, std::size_t offset, const std::string& reason) {
    const std::string_view before = text.substr(0, std::min(offset, text.size()));
    const std::size_t newline = before.rfind('\n');
    const std::size_t lineStart = newline != std::string_view::npos ? newline + 1 : 0;
    const auto numNewlines = std::count(before.begin(), before.end(), '\n');
    return {static_cast<std::size_t>(numNewlines) + 1, before.size() - lineStart + 1,
            Printable(reason)};
}

bool ParseJson(std::string_view text, SJsonNode& root, STextError& error) {
    root = {};
    CTreeBuilder builder(text, root, error);
    const CByteIterator first(text.data(), builder.NumRead());
    const CByteIterator last(text.data() + text.size(), builder.NumRead());
    return Json::sax_parse(first, last, &builder);
}

std::string PointerTo(const SJsonNode& root, const SJsonNode& node) {
    std::string pointer;
    FindPointer(root, node, pointer);
    return pointer;
}

} // namespace OptivoSim
