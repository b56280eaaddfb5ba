// Who may come in: a page that was opened by the URL with the token, whoever knows the password,
// and nobody whom a foreign web page sends. Knows HTTP only as texts.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace norveltl {

struct SDoorPlan {
    int port = 0;
    // Where a browser finds the server; other names for it; and whether any address in figures is
    // one, which no foreign name server can lead elsewhere.
    std::string host;
    std::vector<std::string> otherHosts;
    bool takesAddresses = false;
    std::string password; // empty for none
};

class CDoor {
public:
    explicit CDoor(SDoorPlan plan);

    // The page; and the same with the token, 128 bits of chance in hexadecimal, which lets in.
    std::string Url() const { return "http://" + m_plan.host + ":" + m_port + "/"; }
    std::string UrlWithToken() const { return Url() + "?token=" + m_token; }
    bool IsToken(std::string_view text) const;
    bool HasPassword() const { return !m_plan.password.empty(); }
    bool IsPassword(std::string_view text) const;
    // What a browser keeps for this server, and what it is called.
    std::string NewCookie() const;
    // cookies: the whole header.
    bool HasCookie(const std::string& cookies) const;
    // The headers of a request; an origin that no browser named is empty.
    bool IsOwnHost(const std::string& host) const;
    bool IsOwnOrigin(const std::string& origin, const std::string& host) const;

private:
    std::string CookieName() const { return "norveltl-" + m_port; }

    const SDoorPlan m_plan;
    const std::string m_port;
    const std::string m_token;
};

} // namespace norveltl
