#include "view/Server.h"

#include "producers/FeatureJson.h"
#include "terminal/Console.h"
#include "view/Door.h"
#include "view/Page.h"
#include "view/Region.h"

#include <httplib.h>

#include <algorithm>
#include <charconv>
#include <optional>
#include <span>
#include <thread>

namespace norveltl {

namespace {

using Request = httplib::Request;
using Response = httplib::Response;

// Browsers open up to six connections each.
constexpr size_t kNumThreads = 64;
constexpr size_t kMaxRequestBytes = 65536;
constexpr time_t kSilenceSeconds = 5;
// Pages ask several times a second; the end of the server waits for each idle connection.
constexpr time_t kIdleSeconds = 1;
constexpr size_t kMaxRequestsOfConnection = 10'000;
// Longer than between two images of most cameras, and shorter than users wait for a button.
constexpr std::chrono::milliseconds kPictureWait{500};
constexpr uint32_t kMinShown = 16, kMaxShown = 8192;

// Nothing but what this server serves runs, loads or is asked for, and no page shows it in a frame.
constexpr const char* kPolicy =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'; "
    "base-uri 'none'; form-action 'none'; frame-ancestors 'none'";

struct SFile {
    const char* path;
    const char* type;
    std::span<const unsigned char> bytes;
};

std::vector<SFile> PageFiles() {
    const char* const script = "text/javascript; charset=utf-8";
    return {{"/", "text/html; charset=utf-8", {kPageHtml, kPageHtmlSize}},
            {"/style.css", "text/css; charset=utf-8", {kPageStyle, kPageStyleSize}},
            {"/icon.svg", "image/svg+xml", {kPageIcon, kPageIconSize}},
            {"/main.js", script, {kPageMain, kPageMainSize}},
            {"/talk.js", script, {kPageTalk, kPageTalkSize}},
            {"/picture.js", script, {kPagePicture, kPagePictureSize}},
            {"/features.js", script, {kPageFeatures, kPageFeaturesSize}},
            {"/feature.js", script, {kPageFeature, kPageFeatureSize}},
            {"/events.js", script, {kPageEvents, kPageEventsSize}},
            {"/marks.js", script, {kPageMarks, kPageMarksSize}},
            {"/statistics.js", script, {kPageStatistics, kPageStatisticsSize}},
            {"/compare.js", script, {kPageCompare, kPageCompareSize}},
            {"/quality.js", script, {kPageQuality, kPageQualitySize}}};
}

// What a request does wrong, and how HTTP calls that.
class CRefusal : public CToolError {
public:
    CRefusal(int status, const std::string& text) : CToolError(text), m_status(status) {}
    int Status() const { return m_status; }

private:
    int m_status;
};

void Answer(Response& response, int status, const std::string& text) {
    response.status = status;
    response.set_content(text + "\n", "text/plain; charset=utf-8");
}

void Answer(Response& response, const Json& json) {
    response.set_content(ToText(json), "application/json");
}

template <class Number>
Number NumberOf(const Request& request, const char* name, Number fallback) {
    if (!request.has_param(name)) {
        return fallback;
    }
    const std::string text = request.get_param_value(name);
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) {
        throw CRefusal(400, std::string(name) + " is no whole number");
    }
    return number;
}

Json BodyOf(const Request& request) {
    Json body = Json::parse(request.body, nullptr, false);
    if (request.get_header_value("Content-Type") != "application/json" || !body.is_object()) {
        throw CRefusal(400, "the request is no JSON object");
    }
    return body;
}

std::string TextOf(const Json& body, const char* name) {
    const auto found = body.find(name);
    if (found == body.end() || !found->is_string()) {
        throw CRefusal(400, std::string("the request has no text \"") + name + "\"");
    }
    return found->get<std::string>();
}

std::shared_ptr<CLiveCamera> Required(CCameras& cameras, const std::string& key) {
    auto camera = cameras.Find(key);
    if (!camera) {
        throw CRefusal(410, "the camera is not open");
    }
    return camera;
}

// The bits that a pixel format's name promises; the picture's own when it promises none.
unsigned SignificantBits(const std::string& format, const SPicture& picture) {
    const size_t begin = format.find_first_of("0123456789");
    unsigned bits = 0;
    if (begin != std::string::npos) {
        std::from_chars(format.data() + begin, format.data() + format.size(), bits);
    }
    return bits > 8 && bits <= picture.bitsPerChannel ? bits : picture.bitsPerChannel;
}

void AnswerPicture(CCameras& cameras, const Request& request, Response& response) {
    const auto camera = Required(cameras, request.get_param_value("camera"));
    const auto frame = camera->WaitForFrame(NumberOf<uint64_t>(request, "after", 0), kPictureWait);
    if (!frame) {
        response.status = 204;
        return;
    }
    const SPicture* picture = frame->Picture();
    if (!picture) {
        const std::string& format = frame->Format().pixelFormat;
        throw CRefusal(415, "images of the pixel format " +
                                (format.empty() ? "that the camera does not tell" : format) +
                                " cannot be shown");
    }
    const SRegion wanted{NumberOf<uint32_t>(request, "x", 0), NumberOf<uint32_t>(request, "y", 0),
                         NumberOf<uint32_t>(request, "width", 0),
                         NumberOf<uint32_t>(request, "height", 0)};
    const auto limit = [&](const char* name) {
        return std::clamp(NumberOf<uint32_t>(request, name, kMaxShown), kMinShown, kMaxShown);
    };
    SShown shown = Show(*picture, wanted, limit("maxWidth"), limit("maxHeight"));
    using Milliseconds = std::chrono::duration<double, std::milli>;
    const Json facts{{"number", frame->Number()},
                     {"arrived", Milliseconds(frame->Arrival().time_since_epoch()).count()},
                     {"pictureWidth", picture->width},
                     {"pictureHeight", picture->height},
                     {"format", frame->Format().pixelFormat},
                     {"channels", picture->numChannels},
                     {"bytes", picture->bitsPerChannel > 8 ? 2 : 1},
                     {"bits", SignificantBits(frame->Format().pixelFormat, *picture)},
                     {"x", shown.region.x},
                     {"y", shown.region.y},
                     {"scale", shown.scale},
                     {"width", shown.width},
                     {"height", shown.height}};
    response.set_header("Picture", facts.dump(-1, ' ', true, Json::error_handler_t::replace));
    response.set_content(std::string(shown.pixels.begin(), shown.pixels.end()),
                         "application/octet-stream");
}

Json QualityJson(CLiveCamera& camera) {
    const SQuality quality = camera.Quality();
    const auto number = [](std::optional<uint64_t> value) { return value ? Json(*value) : Json(); };
    return {{"acquires", quality.acquires},
            {"trouble", quality.trouble},
            {"delivered", quality.numDelivered},
            {"incomplete", quality.numIncomplete},
            {"lost", number(quality.numLost)},
            {"awaiting", number(quality.numAwaiting)},
            {"bytes", quality.numBytes},
            {"framesPerSecond", quality.framesPerSecond},
            {"bytesPerSecond", quality.bytesPerSecond},
            {"intervals", quality.intervals}};
}

// All features, or those of the names that are given, without their categories.
Json FeaturesJson(CLiveCamera& camera, const Request& request) {
    const auto [begin, end] = request.params.equal_range("name");
    std::vector<std::string> names;
    std::transform(begin, end, std::back_inserter(names),
                   [](const auto& its) { return its.second; });
    Json json = Json::array();
    for (const SFeature& feature : names.empty() ? camera.Features() : camera.Features(names)) {
        json.push_back(ToJson(feature));
    }
    return json;
}

} // namespace

struct CViewServer::SImplementation {
    explicit SImplementation(CCameras& its) : cameras(its) {}

    void Listen(int wanted);
    void GuardDoor();
    void ServePage();
    void ServeQuestions();
    void ServeOrders();
    // An answer to a POST, whose body is a JSON object.
    void Order(const char* path, Json (*carryOut)(CCameras&, const Json& body));

    CCameras& cameras;
    httplib::Server server;
    std::optional<CDoor> door;
    std::thread thread;
};

// Another program must not be able to share the port.
void CViewServer::SImplementation::Listen(int wanted) {
    server.set_socket_options([](socket_t socket) {
#ifdef _WIN32
        const BOOL yes = TRUE;
        setsockopt(socket, SOL_SOCKET, SO_EXCLUSIVEADDRUSE, reinterpret_cast<const char*>(&yes),
                   sizeof yes);
#else
        const int yes = 1;
        setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
#endif
    });
    const char* const loopback = "127.0.0.1";
    const int port = wanted == 0                             ? server.bind_to_any_port(loopback)
                     : server.bind_to_port(loopback, wanted) ? wanted
                                                             : -1;
    if (port < 0) {
        throw CToolError(wanted == 0 ? std::string("no port of 127.0.0.1 is free")
                                     : "port " + std::to_string(wanted) +
                                           " of 127.0.0.1 cannot be used: is it taken?");
    }
    door.emplace(port);
}

void CViewServer::SImplementation::GuardDoor() {
    using Outcome = httplib::Server::HandlerResponse;
    server.set_default_headers({{"Content-Security-Policy", kPolicy},
                                {"X-Content-Type-Options", "nosniff"},
                                {"Referrer-Policy", "no-referrer"},
                                {"Cross-Origin-Resource-Policy", "same-origin"},
                                {"Cache-Control", "no-store"}});
    server.set_payload_max_length(kMaxRequestBytes);
    server.set_keep_alive_max_count(kMaxRequestsOfConnection);
    server.set_keep_alive_timeout(kIdleSeconds);
    server.set_read_timeout(kSilenceSeconds);
    server.set_write_timeout(kSilenceSeconds);
    server.new_task_queue = [] { return new httplib::ThreadPool(kNumThreads); };
    server.set_pre_routing_handler([this](const Request& request, Response& response) {
        if (!door->IsOwnHost(request.get_header_value("Host")) ||
            !door->IsOwnOrigin(request.get_header_value("Origin"))) {
            Answer(response, 403, "This server answers its own page only.");
            return Outcome::Handled;
        }
        if (request.path == "/" && door->IsToken(request.get_param_value("token"))) {
            response.set_header("Set-Cookie", door->NewCookie());
            response.set_redirect("/", 303);
            return Outcome::Handled;
        }
        if (!door->HasCookie(request.get_header_value("Cookie"))) {
            Answer(response, 403, "Open the address that norveltl view has printed.");
            return Outcome::Handled;
        }
        return Outcome::Unhandled;
    });
    server.set_exception_handler(
        [](const Request&, Response& response, const std::exception_ptr& exception) {
            try {
                std::rethrow_exception(exception);
            } catch (const CRefusal& refusal) {
                Answer(response, refusal.Status(), refusal.what());
            } catch (const std::exception& error) {
                Answer(response, 409, error.what());
            }
        });
}

void CViewServer::SImplementation::ServePage() {
    for (const SFile& file : PageFiles()) {
        server.Get(file.path, [file](const Request&, Response& response) {
            response.set_content(reinterpret_cast<const char*>(file.bytes.data()),
                                 file.bytes.size(), file.type);
        });
    }
}

void CViewServer::SImplementation::ServeQuestions() {
    server.Get("/api/cameras",
               [this](const Request&, Response& response) { Answer(response, cameras.List()); });
    server.Get("/api/picture", [this](const Request& request, Response& response) {
        AnswerPicture(cameras, request, response);
    });
    server.Get("/api/quality", [this](const Request& request, Response& response) {
        Answer(response, QualityJson(*Required(cameras, request.get_param_value("camera"))));
    });
    server.Get("/api/features", [this](const Request& request, Response& response) {
        const auto camera = Required(cameras, request.get_param_value("camera"));
        Answer(response, FeaturesJson(*camera, request));
    });
    server.Get("/api/events", [this](const Request& request, Response& response) {
        const auto camera = Required(cameras, request.get_param_value("camera"));
        Answer(response, camera->Events().After(NumberOf<uint64_t>(request, "after", 0),
                                                NumberOf<size_t>(request, "most", 100)));
    });
}

void CViewServer::SImplementation::Order(const char* path,
                                         Json (*carryOut)(CCameras&, const Json& body)) {
    server.Post(path, [this, carryOut](const Request& request, Response& response) {
        Answer(response, carryOut(cameras, BodyOf(request)));
    });
}

void CViewServer::SImplementation::ServeOrders() {
    Order("/api/search", [](CCameras& its, const Json&) {
        its.SearchAgain();
        return its.List();
    });
    Order("/api/open", [](CCameras& its, const Json& body) {
        its.Open(TextOf(body, "camera"));
        return Json::object();
    });
    Order("/api/close", [](CCameras& its, const Json& body) {
        its.Close(TextOf(body, "camera"));
        return Json::object();
    });
    Order("/api/start", [](CCameras& its, const Json& body) {
        Required(its, TextOf(body, "camera"))->Start();
        return Json::object();
    });
    Order("/api/stop", [](CCameras& its, const Json& body) {
        Required(its, TextOf(body, "camera"))->Stop();
        return Json::object();
    });
    Order("/api/set", [](CCameras& its, const Json& body) {
        const auto camera = Required(its, TextOf(body, "camera"));
        const std::string name = TextOf(body, "name");
        camera->Set(name, TextOf(body, "value"));
        return ToJson(camera->Feature(name));
    });
    Order("/api/execute", [](CCameras& its, const Json& body) {
        Required(its, TextOf(body, "camera"))->Execute(TextOf(body, "name"));
        return Json::object();
    });
}

CViewServer::CViewServer(CCameras& cameras, int port)
    : m_its(std::make_unique<SImplementation>(cameras)) {
    m_its->Listen(port);
    m_its->GuardDoor();
    m_its->ServePage();
    m_its->ServeQuestions();
    m_its->ServeOrders();
    m_its->thread = std::thread([this] { m_its->server.listen_after_bind(); });
}

CViewServer::~CViewServer() {
    // Before it runs, it cannot be told to stop.
    while (!m_its->server.is_running()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    m_its->server.stop();
    m_its->thread.join();
}

std::string CViewServer::Url() const {
    return m_its->door->Url();
}

} // namespace norveltl
