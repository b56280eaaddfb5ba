#include "genapi/Text.h"

#include "genapi/Error.h"

#include <algorithm>
#include <charconv>

namespace GenApi {

std::string Trim(std::string_view text) {
    const size_t begin = text.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos) {
        return "";
    }
    return std::string(text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1));
}

std::string LowerCase(std::string_view text) {
    std::string lower(text);
    for (char& c : lower) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return lower;
}

std::optional<uint64_t> ParseUnsigned(std::string_view text, int base) {
    uint64_t value = 0;
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value, base);
    if (result.ec != std::errc() || result.ptr != end) {
        return std::nullopt;
    }
    return value;
}

std::string_view WithoutHexPrefix(std::string_view text) {
    const bool prefixed = text.starts_with("0x") || text.starts_with("0X");
    return prefixed ? text.substr(2) : text;
}

int64_t ParseInteger(const std::string& text, const std::string& where) {
    const bool negative = text.starts_with("-");
    const std::string_view all = std::string_view(text).substr(negative ? 1 : 0);
    const std::string_view digits = WithoutHexPrefix(all);
    const auto value = ParseUnsigned(digits, digits.size() < all.size() ? 16 : 10);
    if (!value) {
        throw CError(where + ": \"" + Printable(text) + "\" is no whole number");
    }
    return static_cast<int64_t>(negative ? 0 - *value : *value);
}

double ParseFloat(const std::string& text, const std::string& where) {
    if (text.starts_with("0x")) {
        return static_cast<double>(ParseInteger(text, where));
    }
    double value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size()) {
        throw CError(where + ": \"" + Printable(text) + "\" is no number");
    }
    return value;
}

std::string Printable(std::string text) {
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; };
    std::replace_if(text.begin(), text.end(), isControl, '?');
    return text;
}

} // namespace GenApi
