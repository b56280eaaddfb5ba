#include "terminal/Table.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ostream>

namespace norveltl {

namespace {

// Characters, not bytes: all but those that continue a UTF-8 sequence.
size_t Width(const std::string& text) {
    return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    }));
}

} // namespace

std::string Fixed(double value, int digits) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%.*f", digits, value);
    return text.data();
}

void CTable::Print(std::ostream& out, const std::string& indent) const {
    std::vector<size_t> widths(m_rows.front().size());
    for (const auto& row : m_rows) {
        for (size_t i = 0; i < widths.size(); ++i) {
            widths[i] = std::max(widths[i], Width(row[i]));
        }
    }
    for (const auto& row : m_rows) {
        std::string line = indent;
        for (size_t i = 0; i < row.size(); ++i) {
            line += row[i] + std::string(widths[i] - Width(row[i]) + 2, ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        if (!line.empty()) {
            out << line << "\n";
        }
    }
}

} // namespace norveltl
