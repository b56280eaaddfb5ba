#include "WorldText.h"

#include "FaultNames.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <set>

using namespace OptivoSim;

namespace {

using Json = nlohmann::json;

// In the order of OptivoImageFaultKind.
constexpr std::array<const char*, 3> IMAGE_FAULT_KINDS = {"lost", "late", "repeated"};
// In the order of ETestPattern.
constexpr std::array<const char*, 6> TEST_PATTERNS = {
    "Black",   "White", "GreyHorizontalRamp", "GreyVerticalRampMoving", "GreyDiagonalRampMoving",
    "ColorBar"};

const char* NameOf(EPixelFormat format) {
    switch (format) {
    case EPixelFormat::Mono8:
        return "Mono8";
    case EPixelFormat::Mono16:
        return "Mono16";
    case EPixelFormat::BayerRG8:
        return "BayerRG8";
    default:
        return "RGB8";
    }
}

Json JsonOf(const OptivoImageFault& fault) {
    return {{"kind", IMAGE_FAULT_KINDS.at(fault.kind)},
            {"delayMs", fault.delayMs},
            {"skip", fault.skip},
            {"count", fault.count},
            {"probability", fault.probability},
            {"seed", fault.seed}};
}

Json JsonOf(const SEventBurst& burst) {
    return {{"eventId", burst.eventId},
            {"value", burst.value},
            {"count", burst.count},
            {"afterImages", burst.afterImages}};
}

Json JsonOf(const SCameraPlan& plan);
Json JsonOf(const SInterfacePlan& plan);
Json JsonOf(const SFaultPlan& plan);

template <typename Elements>
Json ListOf(const Elements& elements) {
    Json list = Json::array();
    for (const auto& element : elements) {
        list.push_back(JsonOf(element));
    }
    return list;
}

// An empty one cannot be written.
void AddDiscovery(const Discovery& discovery, Json& json) {
    if (!discovery.empty()) {
        json["discovery"] = discovery;
    }
}

Json JsonOf(const SCameraPlan& plan) {
    const SCameraModel& model = plan.model;
    Json json = {{"name", model.name},
                 {"vendor", model.vendor},
                 {"model", model.model},
                 {"version", model.version},
                 {"serialNumber", model.serialNumber},
                 {"userDefinedName", model.userDefinedName},
                 {"tlType", model.tlType},
                 {"custom14", model.custom14},
                 {"custom15", model.custom15},
                 {"status", model.status},
                 {"numStreams", model.numStreams},
                 {"pixelFormat", NameOf(model.format.pixelFormat)},
                 {"width", model.format.width},
                 {"height", model.format.height},
                 {"testPattern", TEST_PATTERNS.at(static_cast<std::size_t>(model.pattern))},
                 {"frameRate", model.frameRate},
                 {"imageFaults", ListOf(model.imageFaults)},
                 {"eventBursts", ListOf(model.eventBursts)},
                 {"unplugAfterImages", model.unplugAfterImages}};
    AddDiscovery(plan.discovery, json);
    return json;
}

Json JsonOf(const SInterfacePlan& plan) {
    Json json = {{"name", plan.name},
                 {"prefix", plan.prefix},
                 {"tlType", plan.tlType},
                 {"cameras", ListOf(plan.cameras)}};
    AddDiscovery(plan.discovery, json);
    return json;
}

Json JsonOf(const SFaultPlan& plan) {
    const OptivoFault& fault = plan.fault;
    Json json = {{"operation", OPERATION_NAMES.at(fault.operation)},
                 {"kind", FAULT_KIND_NAMES.at(fault.kind)},
                 {"result", fault.result},
                 {"selector", fault.selector},
                 {"skip", fault.skip},
                 {"count", fault.count},
                 {"probability", plan.probability},
                 {"seed", plan.seed}};
    if (!plan.object.empty()) {
        json["object"] = plan.object;
    }
    return json;
}

} // namespace

std::string TextOf(const SWorldPlan& plan) {
    return Json{{"interfaces", ListOf(plan.interfaces)}, {"faults", ListOf(plan.faults)}}.dump();
}

std::size_t NumCameras(const SWorldPlan& plan) {
    std::size_t numCameras = 0;
    for (const SInterfacePlan& interface : plan.interfaces) {
        numCameras += interface.cameras.size();
    }
    return numCameras;
}

SWorldPlan FirstOf(const SWorldPlan& plan, std::size_t numCameras) {
    SWorldPlan first;
    std::set<std::string> names = {""};
    for (const SInterfacePlan& whole : plan.interfaces) {
        SInterfacePlan& interface = first.interfaces.emplace_back();
        interface.name = whole.name;
        interface.prefix = whole.prefix;
        interface.tlType = whole.tlType;
        interface.discovery = whole.discovery;
        names.insert(whole.name);
        for (const SCameraPlan& camera : whole.cameras) {
            if (numCameras == 0) {
                break;
            }
            --numCameras;
            interface.cameras.push_back(camera);
            names.insert(camera.model.name);
        }
    }
    std::copy_if(plan.faults.begin(), plan.faults.end(), std::back_inserter(first.faults),
                 [&](const SFaultPlan& fault) { return names.contains(fault.object); });
    return first;
}
