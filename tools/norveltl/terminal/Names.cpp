#include "terminal/Names.h"

#include "terminal/Console.h"
#include "terminal/Error.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <numeric>

namespace norveltl {

namespace {

constexpr size_t kMaxSuggestions = 3;
constexpr size_t kMaxTyped = 64; // longer texts are no misspelt names
constexpr size_t kLeastPart = 3;

// How many letters to leave out, add, replace, or swap with their neighbours lead from one to the
// other.
size_t Distance(const std::string& one, const std::string& other) {
    const size_t width = other.size() + 1;
    std::vector<size_t> beforeLast(width);
    std::vector<size_t> last(width);
    std::vector<size_t> row(width);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 1; i <= one.size(); ++i) {
        beforeLast.swap(last);
        last.swap(row);
        row[0] = i;
        for (size_t j = 1; j < width; ++j) {
            const size_t changed = last[j - 1] + (one[i - 1] == other[j - 1] ? 0 : 1);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, changed});
            if (i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1]) {
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
            }
        }
    }
    return row[other.size()];
}

std::string Listed(const std::vector<std::string>& names) {
    std::string text;
    for (size_t i = 0; i < names.size(); ++i) {
        text += (i == 0 ? "" : i + 1 == names.size() ? " or " : ", ") + Printable(names[i]);
    }
    return text;
}

} // namespace

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char c) {
        return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    });
    return text;
}

bool EqualsIgnoringCase(const std::string& one, const std::string& other) {
    return one.size() == other.size() && Lower(one) == Lower(other);
}

std::optional<size_t> FindName(const std::string& name, const std::vector<std::string>& names) {
    std::vector<std::string> alike;
    std::optional<size_t> found;
    for (size_t i = 0; i < names.size(); ++i) {
        if (names[i] == name) {
            return i;
        }
        if (EqualsIgnoringCase(names[i], name)) {
            found = i;
            alike.push_back(names[i]);
        }
    }
    if (alike.size() > 1) {
        throw CToolError("\"" + Printable(name) + "\" can mean " + Listed(alike), kWrongUsage);
    }
    return found;
}

std::string DidYouMean(const std::string& name, const std::vector<std::string>& names) {
    const std::string typed = Lower(name);
    if (typed.empty() || typed.size() > kMaxTyped) {
        return "";
    }
    std::vector<std::string> meant;
    size_t least = 1 + typed.size() / 4;
    for (const std::string& known : names) {
        if (known.size() > typed.size() + least || known.size() + least < typed.size()) {
            continue;
        }
        const size_t distance = Distance(typed, Lower(known));
        if (distance < least) {
            meant.clear();
        }
        if (distance <= least) {
            least = distance;
            meant.push_back(known);
        }
    }
    if (meant.empty() && typed.size() >= kLeastPart) {
        std::copy_if(names.begin(), names.end(), std::back_inserter(meant), [&](const auto& known) {
            return Lower(known).find(typed) != std::string::npos;
        });
    }
    meant.erase(std::unique(meant.begin(), meant.end()), meant.end());
    meant.resize(std::min(meant.size(), kMaxSuggestions));
    return meant.empty() ? "" : "; did you mean " + Listed(meant) + "?";
}

} // namespace norveltl
