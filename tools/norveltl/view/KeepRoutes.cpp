#include "view/KeepRoutes.h"

#include "terminal/Console.h"

#include <algorithm>
#include <array>
#include <utility>

namespace norveltl {

namespace {

// Longer than between two images of most cameras.
constexpr std::chrono::milliseconds kImageWait{1000};

// What a page calls it.
struct SKind {
    const char* name;
    bool isVideo;
    EFileFormat format;
    ECodec codec;
};
constexpr std::array<SKind, 5> kKinds = {{
    {"png", false, EFileFormat::Png, ECodec::Jpeg},
    {"tiff", false, EFileFormat::Tiff, ECodec::Jpeg},
    {"raw", false, EFileFormat::Raw, ECodec::Jpeg},
    {"video", true, EFileFormat::Png, ECodec::Jpeg},
    {"video-raw", true, EFileFormat::Png, ECodec::None},
}};

const SKind& KindOf(const Json& asked) {
    const std::string name = TextOf(asked, "kind");
    const auto* const found =
        std::ranges::find_if(kKinds, [&](const SKind& kind) { return kind.name == name; });
    if (found == kKinds.end()) {
        throw CRefusal(400, "there is no such kind of file");
    }
    return *found;
}

// The one of that number; or else the next, or of a camera that is silent the newest.
std::shared_ptr<const CFrame> FrameFor(CLiveCamera& camera, const Json& asked) {
    if (const auto number = asked.find("number"); number != asked.end()) {
        if (!number->is_number_unsigned()) {
            throw CRefusal(400, "the number is none of an image");
        }
        if (auto frame = camera.Held(number->get<uint64_t>())) {
            return frame;
        }
        throw CRefusal(410, "that image is no longer held");
    }
    auto frame = camera.WaitForFrame(camera.Quality().numDelivered, kImageWait);
    if (!frame) {
        frame = camera.WaitForFrame(0, std::chrono::milliseconds(0));
    }
    if (!frame) {
        throw CToolError("there is no image yet");
    }
    return frame;
}

Json TakeSnapshot(CCameras& cameras, CKeep& keep, const Json& asked) {
    const SKind& kind = KindOf(asked);
    if (kind.isVideo) {
        throw CRefusal(400, "a snapshot is no video");
    }
    const auto camera = Required(cameras, TextOf(asked, "camera"));
    const auto frame = FrameFor(*camera, asked);
    return {{"number", frame->Number()},
            {"files", keep.WriteSnapshot(*camera, *frame, kind.format)}};
}

Json BeginRecording(CCameras& cameras, CKeep& keep, const Json& asked) {
    const SKind& kind = KindOf(asked);
    const std::string key = TextOf(asked, "camera");
    keep.Begin(key, *Required(cameras, key), {{}, kind.isVideo, kind.format, kind.codec});
    return Json::object();
}

Json KeepJson(const CKeep& keep) {
    const auto left = keep.SpaceLeft();
    Json recordings = Json::array();
    for (const auto& [key, recording] : keep.Recordings()) {
        const SRecordingState& state = recording.state;
        recordings.push_back({{"camera", key},
                              {"name", recording.name},
                              {"state", state.takes    ? "takes"
                                        : state.writes ? "writes"
                                                       : "ended"},
                              {"trouble", state.trouble},
                              {"images", state.numImages},
                              {"seconds", state.seconds},
                              {"bytes", state.numBytes},
                              {"leftOut", state.numLeftOut},
                              {"waiting", state.numToWrite}});
    }
    return {{"folder", keep.Folder()},
            {"left", left ? Json(*left) : Json()},
            {"recordings", std::move(recordings)}};
}

Json SettingsJson(CLiveCamera& camera) {
    const SSettings settings = camera.ReadSettings();
    return {{"name", FileNameFrom(Printable(camera.Id())) + ".txt"},
            {"text", SettingsText(camera.About(), settings)},
            {"notes", settings.notes},
            {"errors", settings.errors}};
}

Json LoadSettings(CLiveCamera& camera, const std::string& text, const std::string& file) {
    const std::vector<SSetting> settings = ParseSettings(text, file);
    Json refused = Json::array();
    for (const SDifference& difference : camera.Apply(settings)) {
        refused.push_back({{"line", difference.setting->line},
                           {"name", difference.setting->name},
                           {"reason", difference.reason}});
    }
    return {{"settings", settings.size()}, {"refused", std::move(refused)}};
}

} // namespace

SRoutes KeepRoutes(CCameras& cameras, CKeep& keep) {
    SRoutes routes;
    routes.questions["/api/keep"] = [&keep](const Json&) { return KeepJson(keep); };
    routes.questions["/api/settings"] = [&cameras](const Json& asked) {
        return SettingsJson(*Required(cameras, TextOf(asked, "camera")));
    };
    routes.orders["/api/settings"] = [&cameras](const Json& asked) {
        const auto camera = Required(cameras, TextOf(asked, "camera"));
        return LoadSettings(*camera, TextOf(asked, "text"), TextOf(asked, "file"));
    };
    routes.orders["/api/snapshot"] = [&cameras, &keep](const Json& asked) {
        return TakeSnapshot(cameras, keep, asked);
    };
    routes.orders["/api/record"] = [&cameras, &keep](const Json& asked) {
        return BeginRecording(cameras, keep, asked);
    };
    routes.orders["/api/record/end"] = [&keep](const Json& asked) {
        keep.End(TextOf(asked, "camera"));
        return Json::object();
    };
    return routes;
}

} // namespace norveltl
