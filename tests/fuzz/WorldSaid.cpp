#include "WorldSaid.h"

#include "WorldText.h"

#include <nlohmann/json.hpp>

#include <set>

using namespace OptivoSim;

namespace {

using Json = nlohmann::json;

Json Filled(Json members, const Json& given) {
    members.update(given);
    return members;
}

Json ListOf(const Json& object, const char* key) {
    return object.value(key, Json::array());
}

// The elements of a list, each with the members that it leaves out.
Json FilledList(const Json& object, const char* key, const Json& members) {
    Json list = Json::array();
    for (const Json& given : ListOf(object, key)) {
        list.push_back(Filled(members, given));
    }
    return list;
}

class CWorldText {
public:
    explicit CWorldText(std::size_t numCameras) : m_numWanted(numCameras) {}

    Json Read(const Json& text) {
        Json world = {{"interfaces", Json::array()}, {"faults", Json::array()}};
        for (const Json& given : ListOf(text, "interfaces")) {
            const std::string place = std::to_string(world["interfaces"].size());
            world["interfaces"].push_back(ReadInterface(given, "net" + place));
        }
        for (const Json& given : ListOf(text, "faults")) {
            if (m_names.contains(given.value("object", ""))) {
                world["faults"].push_back(ReadFault(given));
            }
        }
        return world;
    }

private:
    Json ReadInterface(const Json& given, const std::string& name) {
        Json interface = Filled({{"name", name}, {"tlType", "GEV"}}, given);
        interface.emplace("prefix", interface["tlType"]);
        m_names.insert(interface["name"]);
        Json cameras = Json::array();
        for (const Json& camera : ListOf(given, "cameras")) {
            AddCameras(camera, interface["tlType"], cameras);
        }
        interface["cameras"] = std::move(cameras);
        return interface;
    }

    void AddCameras(const Json& given, const Json& tlType, Json& cameras) {
        Json camera = Filled({{"tlType", tlType},
                              {"vendor", "Norvel"},
                              {"model", "G640M"},
                              {"version", "1.0.0"},
                              {"serialNumber", std::to_string(10001 + m_numRead)},
                              {"userDefinedName", ""},
                              {"custom14", ""},
                              {"custom15", ""},
                              {"status", 1},
                              {"numStreams", 1},
                              {"pixelFormat", "Mono8"},
                              {"width", 640},
                              {"height", 480},
                              {"frameRate", 30},
                              {"unplugAfterImages", 0}},
                             given);
        const bool isMono = camera["pixelFormat"] == "Mono8" || camera["pixelFormat"] == "Mono16";
        camera.emplace("testPattern", isMono ? "GreyDiagonalRampMoving" : "ColorBar");
        camera["imageFaults"] = FilledList(
            given, "imageFaults",
            {{"delayMs", 0}, {"skip", 0}, {"count", 4294967295}, {"probability", 1}, {"seed", 0}});
        camera["eventBursts"] =
            FilledList(given, "eventBursts", {{"value", 0}, {"count", 1}, {"afterImages", 0}});
        camera.erase("count");
        const std::size_t count = given.value("count", std::size_t{1});
        for (std::size_t i = 0; i < count && m_numRead + i < m_numWanted; ++i) {
            cameras.push_back(given.contains("count") ? Counted(camera, i) : Named(camera));
            m_names.insert(cameras.back()["name"]);
        }
        m_numRead += count;
    }

    static Json Named(Json camera) {
        camera.emplace("name", camera["vendor"].get<std::string>() + "-" +
                                   camera["model"].get<std::string>() + "-" +
                                   camera["serialNumber"].get<std::string>());
        return camera;
    }

    static Json Counted(Json camera, std::size_t place) {
        const std::string first = camera["serialNumber"];
        std::string serialNumber = std::to_string(std::stoull(first) + place);
        while (serialNumber.size() < first.size()) {
            serialNumber.insert(0, 1, '0');
        }
        camera["serialNumber"] = serialNumber;
        const std::string userDefinedName = camera["userDefinedName"];
        if (!userDefinedName.empty()) {
            camera["userDefinedName"] = userDefinedName + serialNumber;
        }
        return Named(std::move(camera));
    }

    static Json ReadFault(const Json& given) {
        const std::string kind = given.value("kind", "result");
        const bool hasCode = kind == "result" || kind == "resultAfter";
        return Filled({{"kind", kind},
                       {"result", hasCode ? -1001 : 0},
                       {"selector", 18446744073709551615U},
                       {"skip", 0},
                       {"count", 4294967295},
                       {"probability", 1},
                       {"seed", 0}},
                      given);
    }

    std::size_t m_numWanted;
    std::size_t m_numRead = 0;
    std::set<std::string> m_names = {""}; // of the interfaces and the wanted cameras
};

} // namespace

std::string Difference(const SWorldPlan& understood, const std::string& text,
                       std::size_t numCameras) {
    const Json said = CWorldText(numCameras).Read(Json::parse(text));
    const Json found = Json::parse(TextOf(FirstOf(understood, numCameras)));
    return said == found ? "[]" : Json::diff(said, found).dump();
}
