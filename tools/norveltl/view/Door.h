// Who may come in: a page that was opened by the URL with the token, and nobody whom a foreign web
// page sends. Knows HTTP only as texts.
#pragma once

#include <string>

namespace norveltl {

class CDoor {
public:
    // port: where the server listens. The token is 128 bits of chance in hexadecimal.
    explicit CDoor(int port);

    // What a user opens.
    std::string Url() const { return Origin() + "/?token=" + m_token; }
    bool IsToken(const std::string& text) const;
    // What a browser keeps for this server, and what it is called.
    std::string NewCookie() const;
    // cookies: the whole header.
    bool HasCookie(const std::string& cookies) const;
    // The headers of a request; an origin that no browser named is empty.
    bool IsOwnHost(const std::string& host) const;
    bool IsOwnOrigin(const std::string& origin) const;

private:
    std::string Origin() const { return "http://127.0.0.1:" + m_port; }
    std::string CookieName() const { return "norveltl-" + m_port; }

    const std::string m_port;
    const std::string m_token;
};

} // namespace norveltl
