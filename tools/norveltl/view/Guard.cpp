#include "view/Guard.h"

#include <algorithm>
#include <array>
#include <utility>

namespace norveltl {

namespace {

// Browsers open up to six connections each.
constexpr size_t kNumThreads = 64;
constexpr size_t kMaxRequestBytes = size_t{1} << 20;
constexpr time_t kSilenceSeconds = 5;
constexpr size_t kMaxRequestsOfConnection = 10'000;
// A page asks more often; the end of the server waits for those that do not.
constexpr time_t kIdleSeconds = 1;

// Ten pages that each show two cameras of 30 frames a second ask for less.
constexpr double kGuestsAtOnce = 2000, kGuestsPerSecond = 1000;
constexpr double kStrangersAtOnce = 100, kStrangersPerSecond = 10;
// Passwords that are tried, by one client and by all together.
constexpr double kLogInsAtOnce = 5, kLogInsPerSecond = 0.1;
constexpr double kAllLogInsAtOnce = 50, kAllLogInsPerSecond = 1;

// Nothing but what this server serves runs, loads or is asked for, and no page shows it in a frame.
constexpr const char* kPolicy =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'; "
    "base-uri 'none'; form-action 'self'; frame-ancestors 'none'";

constexpr const char* kLogInPath = "/login";
// What the page needs on which the password is entered.
constexpr std::array<std::string_view, 3> kForStrangers = {kLogInPath, "/style.css", "/icon.svg"};
constexpr std::string_view kTrouble = "TROUBLE";

// The bodies of all others have not been read when they are looked at first.
bool HasNoBody(const httplib::Request& request) {
    constexpr std::array<std::string_view, 3> kMethods = {"GET", "HEAD", "OPTIONS"};
    return std::ranges::find(kMethods, request.method) != kMethods.end();
}

void LetIn(httplib::Response& response, const CDoor& door) {
    response.set_header("Set-Cookie", door.NewCookie());
    response.set_redirect("/", 303);
}

} // namespace

void Answer(httplib::Response& response, int status, const std::string& text) {
    response.status = status;
    response.set_content(text + "\n", "text/plain; charset=utf-8");
}

CGuard::CGuard(SDoorPlan plan, std::string logInPage)
    : m_door(std::move(plan)),
      m_logInPage(std::move(logInPage)),
      m_guests(kGuestsAtOnce, kGuestsPerSecond),
      m_strangers(kStrangersAtOnce, kStrangersPerSecond),
      m_logIns(kLogInsAtOnce, kLogInsPerSecond),
      m_allLogIns(kAllLogInsAtOnce, kAllLogInsPerSecond) {}

void CGuard::Watch(httplib::Server& server) {
    using Outcome = httplib::Server::HandlerResponse;
    // Without a referrer, browsers would keep from us where a form comes from.
    server.set_default_headers({{"Content-Security-Policy", kPolicy},
                                {"X-Content-Type-Options", "nosniff"},
                                {"Referrer-Policy", "same-origin"},
                                {"Cross-Origin-Resource-Policy", "same-origin"},
                                {"Cache-Control", "no-store"}});
    server.set_payload_max_length(kMaxRequestBytes);
    server.set_keep_alive_max_count(kMaxRequestsOfConnection);
    server.set_keep_alive_timeout(kIdleSeconds);
    server.set_read_timeout(kSilenceSeconds);
    server.set_write_timeout(kSilenceSeconds);
    server.new_task_queue = [] { return new httplib::ThreadPool(kNumThreads); };
    // A body that nobody reads would be taken for the connection's next request.
    server.set_pre_routing_handler([this](const Request& request, Response& response) {
        return HasNoBody(request) && Stop(request, response) ? Outcome::Handled
                                                             : Outcome::Unhandled;
    });
    if (m_door.HasPassword()) {
        server.Get(kLogInPath,
                   [this](const Request&, Response& response) { ShowLogIn(response, 200, ""); });
        Post(server, kLogInPath,
             [this](const Request& request, Response& response) { LogIn(request, response); });
    }
}

void CGuard::Post(httplib::Server& server, const std::string& path,
                  httplib::Server::Handler handler) {
    server.Post(path,
                [this, handler = std::move(handler)](const Request& request, Response& response) {
                    if (!Stop(request, response)) {
                        handler(request, response);
                    }
                });
}

bool CGuard::Stop(const Request& request, Response& response) {
    const std::string host = request.get_header_value("Host");
    if (!m_door.IsOwnHost(host) || !m_door.IsOwnOrigin(request.get_header_value("Origin"), host)) {
        Answer(response, 403, "This server answers its own page only.");
        return true;
    }
    const bool isGuest = m_door.HasCookie(request.get_header_value("Cookie"));
    if (const auto seconds = (isGuest ? m_guests : m_strangers).Take(request.remote_addr)) {
        response.set_header("Retry-After", std::to_string(*seconds));
        Answer(response, 429, "Too many requests.");
        return true;
    }
    if (request.path == "/" && m_door.IsToken(request.get_param_value("token"))) {
        LetIn(response, m_door);
        return true;
    }
    return !isGuest && StopStranger(request, response);
}

bool CGuard::StopStranger(const Request& request, Response& response) const {
    if (!m_door.HasPassword()) {
        Answer(response, 403, "Open the address that norveltl view has printed.");
        return true;
    }
    if (std::ranges::find(kForStrangers, request.path) != kForStrangers.end()) {
        return false;
    }
    if (request.path == "/") {
        response.set_redirect(kLogInPath, 303);
    } else {
        Answer(response, 403, "Log in first: load the page anew.");
    }
    return true;
}

void CGuard::LogIn(const Request& request, Response& response) {
    auto seconds = m_logIns.Take(request.remote_addr);
    if (!seconds) {
        seconds = m_allLogIns.Take("");
    }
    if (seconds) {
        response.set_header("Retry-After", std::to_string(*seconds));
        ShowLogIn(response, 429,
                  "Too many passwords were tried. Try again in " + std::to_string(*seconds) +
                      " s.");
    } else if (m_door.IsPassword(request.get_param_value("password"))) {
        LetIn(response, m_door);
    } else {
        ShowLogIn(response, 403, "That is not the password.");
    }
}

void CGuard::ShowLogIn(Response& response, int status, const std::string& trouble) const {
    std::string page = m_logInPage;
    page.replace(page.find(kTrouble), kTrouble.size(), trouble);
    response.status = status;
    response.set_content(page, "text/html; charset=utf-8");
}

} // namespace norveltl
