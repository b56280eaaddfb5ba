// Serves the page and what it asks for.
#pragma once

#include "view/Cameras.h"
#include "view/Requests.h"

#include <memory>
#include <string>

namespace norveltl {

struct SServerPlan {
    // Empty for the loopback device. What is on a network is for those who know the password.
    std::string address;
    int port = 0; // 0 for any that is free
    std::string password;
};

// Answers in threads of its own as long as it lives.
class CViewServer {
public:
    // Throws CToolError when there is no such address or port. The cameras, and what the routes
    // lead to, must outlive this object.
    CViewServer(CCameras& cameras, const SServerPlan& plan, SRoutes routes);
    ~CViewServer();
    CViewServer(const CViewServer&) = delete;
    CViewServer& operator=(const CViewServer&) = delete;

    // What to open in a browser: where a password is asked for, or else with a secret that lets in.
    std::string Url() const;
    // With the secret in any case.
    std::string UrlWithToken() const;

private:
    struct SImplementation;
    std::unique_ptr<SImplementation> m_its;
};

} // namespace norveltl
