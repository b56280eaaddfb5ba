// Machine-readable output: members in the order in which they were added, and nothing but UTF-8.
#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace norveltl {

using Json = nlohmann::ordered_json;

// Bytes of a producer's text that are no UTF-8 are replaced.
inline std::string ToText(const Json& json) {
    return json.dump(2, ' ', false, Json::error_handler_t::replace);
}

// The same in one line.
inline std::string ToLine(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

} // namespace norveltl
