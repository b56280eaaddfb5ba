// One address on which the server listens.
#pragma once

#include <httplib.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace norveltl {

// Lets go of its port also when it has never run.
class CListener : public httplib::Server {
public:
    CListener();
    ~CListener() override;
    CListener(const CListener&) = delete;
    CListener& operator=(const CListener&) = delete;

    // Another program cannot share the port. 0 is any that is free. Nothing when it is not to be
    // had.
    std::optional<int> Bind(const std::string& address, int port);
};

struct SListening {
    std::vector<std::unique_ptr<CListener>> listeners;
    int port = 0;
};

// On the address alone, or without one on the loopback device: on 127.0.0.1, and with the same port
// on ::1 where the machine has that. Throws CToolError.
SListening Listen(const std::string& address, int port);

// What this machine is called; empty when it does not tell.
std::string OwnHostName();

} // namespace norveltl
