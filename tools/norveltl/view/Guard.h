// Stands before every request: asks the door who may come in, lets whoever knows the password do
// so, and nobody ask for too much.
#pragma once

#include "view/Door.h"
#include "view/Rates.h"

#include <httplib.h>

#include <string>

namespace norveltl {

class CGuard {
public:
    // The page on which the password is entered holds a place for what is wrong with it.
    CGuard(SDoorPlan plan, std::string logInPage);

    const CDoor& Door() const { return m_door; }
    // To be called before anything else is done to the server.
    void Watch(httplib::Server& server);
    // A handler that only those reach who may; what comes with a request has been read by then.
    void Post(httplib::Server& server, const std::string& path, httplib::Server::Handler handler);

private:
    using Request = httplib::Request;
    using Response = httplib::Response;

    // Whether it is done with the request.
    bool Stop(const Request& request, Response& response);
    bool StopStranger(const Request& request, Response& response) const;
    void LogIn(const Request& request, Response& response);
    void ShowLogIn(Response& response, int status, const std::string& trouble) const;

    const CDoor m_door;
    const std::string m_logInPage;
    CRates m_guests, m_strangers, m_logIns, m_allLogIns;
};

void Answer(httplib::Response& response, int status, const std::string& text);

} // namespace norveltl
