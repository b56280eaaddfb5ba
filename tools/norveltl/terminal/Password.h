// Secrets that users type.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace norveltl {

// A line from the terminal, which does not show what is typed; nothing when the standard input is
// no terminal. Throws CToolError when the user would rather end.
std::optional<std::string> AskUnseen(std::string_view question);

} // namespace norveltl
