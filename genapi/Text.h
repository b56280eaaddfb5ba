// The small texts of URLs and descriptions. Knows nothing of what they mean.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace GenApi {

// What separates words in the markup and in values.
constexpr std::string_view kBlanks = " \t\r\n";

std::string Trim(std::string_view text);
// ASCII only.
std::string LowerCase(std::string_view text);
std::optional<uint64_t> ParseUnsigned(std::string_view text, int base);
std::string_view WithoutHexPrefix(std::string_view text);
// Decimal with a sign, or hexadecimal with the prefix 0x; where stands in the error's text.
int64_t ParseInteger(const std::string& text, const std::string& where);
// The same, and numbers with a point or an exponent.
double ParseFloat(const std::string& text, const std::string& where);
// Control characters replaced by '?', so that a camera's text cannot steer who shows the error.
std::string Printable(std::string text);

} // namespace GenApi
