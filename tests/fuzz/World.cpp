// Gives the simulated camera library any text for a world: it is refused at a place that it has and
// changes nothing, or makes the same world whenever it is loaded.
#include "Demand.h"
#include "SmallWorld.h"

#include "OptivoSim.h"
#include "WorldFile.h"
#include "camlib/CameraLibrary.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

namespace {

using namespace OptivoSim;

constexpr char BASE[] =
    R"({"interfaces":[{"name":"net","cameras":[{"name":"cam","width":8,"height":8}]}]})";
// What a world may hold that is made, as pictures take their time.
constexpr std::size_t MOST_CAMERAS = 20;
constexpr std::size_t MOST_PIXELS = 100000;

std::vector<std::string> LinesOf(const std::string& text) {
    std::vector<std::string> lines(1);
    for (const char character : text) {
        if (character == '\n') {
            lines.emplace_back();
        } else {
            lines.back() += character;
        }
    }
    return lines;
}

void CheckPlace(const std::string& text, const TextError& error) {
    const std::vector<std::string> lines = LinesOf(text);
    Demand(error.line >= 1 && error.line <= lines.size(), "an error stands on a line of the text");
    Demand(error.column >= 1 && error.column <= lines[error.line - 1].size() + 1,
           "an error stands in its line, or right behind it");
    Demand(!error.reason.empty(), "an error has a reason");
    const bool isPlain = std::all_of(error.reason.begin(), error.reason.end(),
                                     [](unsigned char c) { return c >= 0x20 && c <= 0x7E; });
    Demand(isPlain, "a reason can be read by everybody");
}

template <typename Call>
std::string TextOf(Call&& call) {
    std::array<char, 2048> buffer{};
    Optivo::Size size = buffer.size();
    Demand(call(buffer.data(), &size) == 0, "what was listed can be described");
    return buffer.data();
}

// Everything that can be discovered, a line each.
std::vector<std::string> Listed() {
    std::vector<std::string> found;
    Optivo::ICamSystem* system = nullptr;
    Demand(GetSystem(&system) == 0 && system != nullptr, "there is a system");
    Optivo::UInt32 numInterfaces = 0;
    Demand(system->UpdateInterfaceList(&numInterfaces, 0) == 0, "interfaces can be listed");
    for (Optivo::UInt32 i = 0; i < numInterfaces; ++i) {
        const std::string name =
            TextOf([&](auto... out) { return system->GetInterfaceName(i, out...); });
        Optivo::ICamInterface* opened = nullptr;
        Demand(system->OpenInterface(name.c_str(), &opened) == 0, "interfaces can be opened");
        Optivo::UInt32 numDevices = 0;
        Demand(opened->UpdateDeviceList(&numDevices, 0) == 0, "cameras can be listed");
        found.push_back(name);
        for (Optivo::UInt32 k = 0; k < numDevices; ++k) {
            found.push_back(name + "/" +
                            TextOf([&](auto... out) { return opened->GetDeviceName(k, out...); }));
        }
        opened->Close();
    }
    system->Close();
    return found;
}

bool IsFoundFirst(const Discovery& discovery) {
    return discovery.empty() || discovery.front();
}

std::vector<std::string> Expected(const WorldPlan& plan) {
    std::vector<std::string> expected;
    for (const InterfacePlan& parent : plan.interfaces) {
        if (!IsFoundFirst(parent.discovery)) {
            continue;
        }
        expected.push_back(parent.name);
        for (const CameraPlan& camera : parent.cameras) {
            if (IsFoundFirst(camera.discovery)) {
                expected.push_back(parent.name + "/" + camera.model.name);
            }
        }
    }
    return expected;
}

// A world may have faults, which would speak for it.
std::vector<std::string> Load(const std::string& text) {
    std::array<char, 64> message{};
    Demand(OptivoSim_LoadWorld(text.c_str(), message.data(), message.size()) == 1,
           "a sound world is loaded");
    OptivoSim_ClearFaults();
    return Listed();
}

void CheckAccepted(const std::string& text, const WorldPlan& plan) {
    std::size_t numCameras = 0;
    std::size_t numPixels = 0;
    for (const InterfacePlan& parent : plan.interfaces) {
        numCameras += parent.cameras.size();
        for (const CameraPlan& camera : parent.cameras) {
            numPixels += std::size_t{camera.model.format.width} * camera.model.format.height;
        }
    }
    if (numCameras > MOST_CAMERAS || numPixels > MOST_PIXELS) {
        return;
    }
    const std::vector<std::string> first = Load(text);
    Demand(first == Expected(plan), "the world is what the text says");
    Demand(Load(text) == first, "the world is the same again");
}

void CheckRefused(const std::string& text, const TextError& error) {
    const std::vector<std::string> before = Load(BASE);
    const std::vector<std::string> expected = {"net", "net/cam"};
    Demand(before == expected, "the first world is there");
    std::array<char, 40> message{};
    message.fill('#');
    const std::size_t capacity = text.size() % 32;
    Demand(OptivoSim_LoadWorld(text.c_str(), message.data(), capacity) == 0, "no world is refused");
    if (capacity != 0) {
        const std::string whole =
            std::to_string(error.line) + ":" + std::to_string(error.column) + ": " + error.reason;
        DemandEqual(message.data(), whole.substr(0, capacity - 1), "the message tells the place");
    }
    Demand(std::all_of(message.begin() + static_cast<std::ptrdiff_t>(capacity), message.end(),
                       [](char c) { return c == '#'; }),
           "the message stays within its capacity");
    Demand(Listed() == before, "a refused text changes nothing");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    BeginWithSmallWorld();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    OptivoSim_Reset(); // else closed objects are kept
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    WorldPlan plan;
    TextError error;
    if (!ParseWorld(bytes, plan, error)) {
        CheckPlace(bytes, error);
        Demand(plan.interfaces.empty() && plan.faults.empty(), "a refused text leaves no plan");
    }
    const std::string text = bytes.c_str();
    WorldPlan loaded;
    TextError problem;
    if (ParseWorld(text, loaded, problem)) {
        CheckAccepted(text, loaded);
    } else {
        CheckPlace(text, problem);
        CheckRefused(text, problem);
    }
    return 0;
}
