#include "view/Door.h"

#include <algorithm>
#include <array>
#include <random>
#include <string_view>

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

// In a time that does not tell how much of it is right.
bool AreSame(std::string_view one, std::string_view other) {
    unsigned difference = one.size() == other.size() ? 0 : 1;
    for (size_t i = 0; i < std::min(one.size(), other.size()); ++i) {
        difference |= static_cast<unsigned char>(one[i] ^ other[i]);
    }
    return difference == 0;
}

} // namespace

CDoor::CDoor(int port) : m_port(std::to_string(port)), m_token(NewToken()) {}

bool CDoor::IsToken(const std::string& text) const {
    return AreSame(text, m_token);
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
        if (cookie.starts_with(name) && AreSame(cookie.substr(name.size()), m_token)) {
            return true;
        }
        begin = end + 1;
    }
    return false;
}

bool CDoor::IsOwnHost(const std::string& host) const {
    const std::array<std::string, 3> own = {"127.0.0.1:" + m_port, "localhost:" + m_port,
                                            "[::1]:" + m_port};
    return std::find(own.begin(), own.end(), host) != own.end();
}

bool CDoor::IsOwnOrigin(const std::string& origin) const {
    constexpr std::string_view kScheme = "http://";
    return origin.empty() ||
           (origin.starts_with(kScheme) && IsOwnHost(origin.substr(kScheme.size())));
}

} // namespace norveltl
