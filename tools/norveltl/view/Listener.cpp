#include "view/Listener.h"

#include "terminal/Error.h"

#include <array>

namespace norveltl {

namespace {

constexpr const char* kLoopback = "127.0.0.1";
constexpr const char* kLoopback6 = "::1";
// Until one is free on both.
constexpr int kNumTries = 20;

CToolError CannotListen(const std::string& address, int port) {
    if (port == 0) {
        return CToolError("no port of " + address +
                          " can be used: is it an address of this machine?");
    }
    return CToolError("port " + std::to_string(port) + " of " + address +
                      " cannot be used: is it taken?");
}

// Whether there was one to be had; adds the listener then.
std::optional<int> Add(SListening& listening, const std::string& address, int port) {
    auto listener = std::make_unique<CListener>();
    const std::optional<int> bound = listener->Bind(address, port);
    if (bound) {
        listening.port = *bound;
        listening.listeners.push_back(std::move(listener));
    }
    return bound;
}

bool HasLoopback6() {
    return CListener().Bind(kLoopback6, 0).has_value();
}

} // namespace

CListener::CListener() {
    // The end of an answer would wait for a word from the browser that its beginning has come.
    set_tcp_nodelay(true);
    set_socket_options([](socket_t socket) {
#ifdef _WIN32
        const BOOL yes = TRUE;
        setsockopt(socket, SOL_SOCKET, SO_EXCLUSIVEADDRUSE, reinterpret_cast<const char*>(&yes),
                   sizeof yes);
#else
        const int yes = 1;
        setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
#endif
    });
}

CListener::~CListener() {
    if (const socket_t socket = svr_sock_.exchange(INVALID_SOCKET); socket != INVALID_SOCKET) {
#ifdef _WIN32
        closesocket(socket);
#else
        close(socket);
#endif
    }
}

std::optional<int> CListener::Bind(const std::string& address, int port) {
    const int bound = port == 0                     ? bind_to_any_port(address)
                      : bind_to_port(address, port) ? port
                                                    : -1;
    return bound < 0 ? std::nullopt : std::optional(bound);
}

SListening Listen(const std::string& address, int port) {
    SListening listening;
    if (!address.empty()) {
        if (!Add(listening, address, port)) {
            throw CannotListen(address, port);
        }
        return listening;
    }
    const bool has6 = HasLoopback6();
    for (int i = 0; i < kNumTries; ++i) {
        listening.listeners.clear();
        if (!Add(listening, kLoopback, port)) {
            throw CannotListen(kLoopback, port);
        }
        if (!has6 || Add(listening, kLoopback6, listening.port)) {
            return listening;
        }
        if (port != 0) {
            break;
        }
    }
    throw CannotListen(kLoopback6, port);
}

std::string OwnHostName() {
    std::array<char, 256> name{};
    const bool isKnown = gethostname(name.data(), name.size() - 1) == 0;
    return isKnown ? name.data() : "";
}

} // namespace norveltl
