// Names as people type them: without regard to case, and perhaps misspelt. Knows nothing of what
// they name.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace norveltl {

std::string Lower(std::string text);
bool EqualsIgnoringCase(const std::string& one, const std::string& other);

// Where the name stands: exactly, else as the only one that differs in case alone. Throws
// CToolError, listing them, where several do.
std::optional<size_t> FindName(const std::string& name, const std::vector<std::string>& names);

// "; did you mean ONE or OTHER?": the names that are spelt nearly so, else those of which it is a
// part. Empty when there are none.
std::string DidYouMean(const std::string& name, const std::vector<std::string>& names);

} // namespace norveltl
