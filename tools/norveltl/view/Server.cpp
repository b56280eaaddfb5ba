#include "view/Server.h"

#include "producers/FeatureJson.h"
#include "terminal/Console.h"
#include "terminal/Names.h"
#include "view/Guard.h"
#include "view/Listener.h"
#include "view/Page.h"
#include "view/Region.h"

#include <httplib.h>

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>
#include <span>
#include <thread>

namespace norveltl {

namespace {

using Request = httplib::Request;
using Response = httplib::Response;

// But for texts of settings, which orders of their own take.
constexpr size_t kMaxOrderBytes = 65536;
// Longer than between two images of most cameras, and shorter than users wait for a button.
constexpr std::chrono::milliseconds kPictureWait{500};
constexpr uint32_t kMinShown = 16, kMaxShown = 8192;

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
            {"/keep.js", script, {kPageKeep, kPageKeepSize}},
            {"/quality.js", script, {kPageQuality, kPageQualitySize}}};
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

Json BodyOf(const Request& request, size_t maxBytes) {
    if (request.body.size() > maxBytes) {
        throw CRefusal(413, "the request is too long");
    }
    Json body = Json::parse(request.body, nullptr, false);
    if (request.get_header_value("Content-Type") != "application/json" || !body.is_object()) {
        throw CRefusal(400, "the request is no JSON object");
    }
    return body;
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
    if (request.has_param("hold")) {
        camera->Hold(frame);
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

// The names of this machine, for those who come over a network.
SDoorPlan PlanDoor(const SServerPlan& plan, int port) {
    if (plan.address.empty()) {
        return {port, "127.0.0.1", {"localhost", "[::1]"}, false, plan.password};
    }
    std::vector<std::string> names{"localhost"};
    if (const std::string own = Lower(OwnHostName()); !own.empty()) {
        names.insert(names.begin(), {own, own + ".local"});
    }
    const bool isAny = plan.address == "0.0.0.0" || plan.address == "::";
    const bool is6 = plan.address.find(':') != std::string::npos;
    const std::string host = isAny ? names.front() : is6 ? "[" + plan.address + "]" : plan.address;
    return {port, Lower(host), names, true, plan.password};
}

} // namespace

struct CViewServer::SImplementation {
    SImplementation(CCameras& its, const SServerPlan& plan, SRoutes further)
        : cameras(its),
          routes(std::move(further)),
          listening(Listen(plan.address, plan.port)),
          guard(PlanDoor(plan, listening.port),
                {reinterpret_cast<const char*>(kPageLogin), kPageLoginSize}) {}

    void Serve(httplib::Server& server);
    static void ServePage(httplib::Server& server);
    void ServeQuestions(httplib::Server& server);
    void ServeOrders(httplib::Server& server);
    void ServeRoutes(httplib::Server& server);
    // An answer to a POST, whose body is a JSON object.
    void Order(httplib::Server& server, const char* path,
               Json (*carryOut)(CCameras&, const Json& body));

    CCameras& cameras;
    const SRoutes routes;
    SListening listening;
    CGuard guard;
    std::vector<std::thread> threads;
};

void CViewServer::SImplementation::Serve(httplib::Server& server) {
    guard.Watch(server);
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
    ServePage(server);
    ServeQuestions(server);
    ServeOrders(server);
    ServeRoutes(server);
    guard.Post(server, ".*", [](const Request&, Response& response) { response.status = 404; });
}

void CViewServer::SImplementation::ServePage(httplib::Server& server) {
    for (const SFile& file : PageFiles()) {
        server.Get(file.path, [file](const Request&, Response& response) {
            response.set_content(reinterpret_cast<const char*>(file.bytes.data()),
                                 file.bytes.size(), file.type);
        });
    }
}

void CViewServer::SImplementation::ServeQuestions(httplib::Server& server) {
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

void CViewServer::SImplementation::Order(httplib::Server& server, const char* path,
                                         Json (*carryOut)(CCameras&, const Json& body)) {
    guard.Post(server, path, [this, carryOut](const Request& request, Response& response) {
        Answer(response, carryOut(cameras, BodyOf(request, kMaxOrderBytes)));
    });
}

void CViewServer::SImplementation::ServeRoutes(httplib::Server& server) {
    for (const auto& [path, answer] : routes.questions) {
        server.Get(path, [&its = answer](const Request& request, Response& response) {
            Json asked = Json::object();
            for (const auto& [name, text] : request.params) {
                asked[name] = text;
            }
            Answer(response, its(asked));
        });
    }
    for (const auto& [path, carryOut] : routes.orders) {
        guard.Post(server, path, [&its = carryOut](const Request& request, Response& response) {
            Answer(response, its(BodyOf(request, std::numeric_limits<size_t>::max())));
        });
    }
}

void CViewServer::SImplementation::ServeOrders(httplib::Server& server) {
    Order(server, "/api/search", [](CCameras& its, const Json&) {
        its.SearchAgain();
        return its.List();
    });
    Order(server, "/api/open", [](CCameras& its, const Json& body) {
        its.Open(TextOf(body, "camera"));
        return Json::object();
    });
    Order(server, "/api/close", [](CCameras& its, const Json& body) {
        its.Close(TextOf(body, "camera"));
        return Json::object();
    });
    Order(server, "/api/start", [](CCameras& its, const Json& body) {
        Required(its, TextOf(body, "camera"))->Start();
        return Json::object();
    });
    Order(server, "/api/stop", [](CCameras& its, const Json& body) {
        Required(its, TextOf(body, "camera"))->Stop();
        return Json::object();
    });
    Order(server, "/api/set", [](CCameras& its, const Json& body) {
        const auto camera = Required(its, TextOf(body, "camera"));
        const std::string name = TextOf(body, "name");
        camera->Set(name, TextOf(body, "value"));
        return ToJson(camera->Feature(name));
    });
    Order(server, "/api/execute", [](CCameras& its, const Json& body) {
        Required(its, TextOf(body, "camera"))->Execute(TextOf(body, "name"));
        return Json::object();
    });
}

CViewServer::CViewServer(CCameras& cameras, const SServerPlan& plan, SRoutes routes)
    : m_its(std::make_unique<SImplementation>(cameras, plan, std::move(routes))) {
    for (const auto& listener : m_its->listening.listeners) {
        m_its->Serve(*listener);
        m_its->threads.emplace_back([&its = *listener] { its.listen_after_bind(); });
    }
}

CViewServer::~CViewServer() {
    for (const auto& listener : m_its->listening.listeners) {
        // Before it runs, it cannot be told to stop.
        while (!listener->is_running()) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        listener->stop();
    }
    for (std::thread& thread : m_its->threads) {
        thread.join();
    }
}

std::string CViewServer::Url() const {
    const CDoor& door = m_its->guard.Door();
    return door.HasPassword() ? door.Url() : door.UrlWithToken();
}

std::string CViewServer::UrlWithToken() const {
    return m_its->guard.Door().UrlWithToken();
}

} // namespace norveltl
