#include "view/Door.h"

#include "terminal/Names.h"

#include <algorithm>
#include <random>
#include <utility>

namespace norveltl {

namespace {

std::string NewToken() {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::random_device chance;
    std::string token;
    for (int word = 0; word < 4; ++word) {
        unsigned value = chance();
        for (int digit = 0; digit < 8; ++digit, value >>= 4) {
            token += kDigits[value & 0xF];
        }
    }
    return token;
}

// In a time that tells nothing of the secret but that there is one.
bool IsSecret(std::string_view text, std::string_view secret) {
    unsigned difference = text.size() == secret.size() && !secret.empty() ? 0 : 1;
    for (size_t i = 0; i < text.size() && !secret.empty(); ++i) {
        difference |= static_cast<unsigned char>(text[i] ^ secret[i % secret.size()]);
    }
    return difference == 0;
}

bool HasOnly(std::string_view text, std::string_view characters) {
    return !text.empty() && text.find_first_not_of(characters) == std::string_view::npos;
}

// No name consists of figures alone.
bool IsAddress(std::string_view host) {
    if (host.starts_with('[') && host.ends_with(']')) {
        return HasOnly(host.substr(1, host.size() - 2), "0123456789abcdef:.");
    }
    return HasOnly(host, "0123456789.");
}

} // namespace

CDoor::CDoor(SDoorPlan plan)
    : m_plan(std::move(plan)), m_port(std::to_string(m_plan.port)), m_token(NewToken()) {}

bool CDoor::IsToken(std::string_view text) const {
    return IsSecret(text, m_token);
}

bool CDoor::IsPassword(std::string_view text) const {
    return IsSecret(text, m_plan.password);
}

std::string CDoor::NewCookie() const {
    return CookieName() + "=" + m_token + "; Path=/; HttpOnly; SameSite=Lax";
}

bool CDoor::HasCookie(const std::string& cookies) const {
    const std::string name = CookieName() + "=";
    for (size_t begin = 0; begin < cookies.size();) {
        const size_t end = std::min(cookies.find(';', begin), cookies.size());
        std::string_view cookie = std::string_view(cookies).substr(begin, end - begin);
        cookie.remove_prefix(std::min(cookie.find_first_not_of(' '), cookie.size()));
        if (cookie.starts_with(name) && IsToken(cookie.substr(name.size()))) {
            return true;
        }
        begin = end + 1;
    }
    return false;
}

bool CDoor::IsOwnHost(const std::string& text) const {
    // Browsers leave out the port that HTTP has anyway.
    const std::string suffix = m_plan.port == 80 ? "" : ":" + m_port;
    if (!text.ends_with(suffix)) {
        return false;
    }
    const std::string host = Lower(text.substr(0, text.size() - suffix.size()));
    return host == m_plan.host ||
           std::ranges::find(m_plan.otherHosts, host) != m_plan.otherHosts.end() ||
           (m_plan.takesAddresses && IsAddress(host));
}

bool CDoor::IsOwnOrigin(const std::string& origin, const std::string& host) const {
    return origin.empty() || Lower(origin) == "http://" + Lower(host);
}

} // namespace norveltl
