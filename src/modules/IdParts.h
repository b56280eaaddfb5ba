// The ID of an interface or a camera as a consumer writes it: "prefix::name::rest". This file knows
// neither of them.
#pragma once

#include <stdexcept>
#include <string_view>

namespace GenICam::Client {

// The parts of such a text, which outlives them. Without "::" all of it is the name; the prefix may
// be empty, and what follows the name is ignored.
class CIdParts {
public:
    explicit CIdParts(std::string_view id) {
        constexpr std::string_view kSeparator = "::";
        if (const auto end = id.find(kSeparator); end != std::string_view::npos) {
            m_prefix = id.substr(0, end);
            id.remove_prefix(end + kSeparator.size());
        }
        m_name = id.substr(0, id.find(kSeparator));
    }

    std::string_view Prefix() const { return m_prefix; }
    // Throws std::invalid_argument when there is none.
    std::string_view Name() const {
        if (m_name.empty()) {
            throw std::invalid_argument("Invalid Device Name");
        }
        return m_name;
    }

private:
    std::string_view m_prefix;
    std::string_view m_name;
};

} // namespace GenICam::Client
