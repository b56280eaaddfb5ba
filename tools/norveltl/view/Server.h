// Serves the page and what it asks for, on the loopback device only.
#pragma once

#include "view/Cameras.h"

#include <memory>
#include <string>

namespace norveltl {

// Answers in threads of its own as long as it lives.
class CViewServer {
public:
    // port: 0 for any that is free. Throws CToolError when it is not to be had. The cameras must
    // outlive this object.
    CViewServer(CCameras& cameras, int port);
    ~CViewServer();
    CViewServer(const CViewServer&) = delete;
    CViewServer& operator=(const CViewServer&) = delete;

    // What to open in a browser.
    std::string Url() const;

private:
    struct SImplementation;
    std::unique_ptr<SImplementation> m_its;
};

} // namespace norveltl
