// Rows of texts as lines of equally wide columns. Knows nothing of what they mean.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace norveltl {

// A number as its cell shows it, with so many digits behind the point.
std::string Fixed(double value, int digits);

class CTable {
public:
    // Titles; all empty for none.
    explicit CTable(std::vector<std::string> titles) : m_rows{std::move(titles)} {}

    // As many cells as there are titles, in UTF-8.
    void Add(std::vector<std::string> cells) { m_rows.push_back(std::move(cells)); }
    void Print(std::ostream& out, const std::string& indent = {}) const;

private:
    std::vector<std::vector<std::string>> m_rows;
};

} // namespace norveltl
