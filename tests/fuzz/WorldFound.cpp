// What the camera library tells of the world that it has loaded.
#include "Demand.h"
#include "WorldModel.h"

#include "camlib/CameraLibrary.h"

#include <array>

using namespace OptivoSim;

namespace {

// The objects' operations answer texts of any length that fits.
template <typename Call>
std::string AnsweredText(Call&& call) {
    static std::array<char, 16384> buffer;
    Optivo::Size size = buffer.size();
    Demand(call(buffer.data(), &size) == 0, "what was listed can be described");
    Demand(size >= 1 && size <= buffer.size() && buffer[size - 1] == '\0', "a text has an end");
    return {buffer.data(), size - 1};
}

template <typename Number, typename Call>
Number NumberOf(Call&& call) {
    Number number{};
    Optivo::Size size = sizeof number;
    Demand(call(&number, &size) == 0 && size == sizeof number, "a number can be asked for");
    return number;
}

template <typename Number>
Number Register(Optivo::ICamDevice& device, Optivo::UInt64 address) {
    return NumberOf<Number>([&](auto... out) { return device.ReadPort(address, out...); });
}

// An update of a list, and what it has found.
template <typename Update, typename GetName>
void AddUpdate(const std::string& who, std::size_t number, Update&& update, GetName&& getName,
               Lines& lines) {
    Optivo::UInt32 count = 0;
    Demand(update(&count) == 0, "lists can be updated");
    for (Optivo::UInt32 i = 0; i < count; ++i) {
        lines.push_back(Told(who, "update " + std::to_string(number),
                             AnsweredText([&](auto... out) { return getName(i, out...); })));
    }
}

void AddDescription(Optivo::ICamInterface& parent, const std::string& name, Lines& lines) {
    Optivo::ICamDevice* device = nullptr;
    Demand(parent.GetDevice(name.c_str(), &device) == 0, "cameras can be described");
    const auto addText = [&](Optivo::UInt32 key, const char* what) {
        const auto getInfo = [&](auto... out) { return device->GetInfo(key, out...); };
        lines.push_back(Told(name, what, AnsweredText(getInfo)));
    };
    addText(0, "version");
    addText(3, "vendor");
    addText(4, "model");
    addText(7, "serial number");
    addText(13, "TL type");
    addText(14, "custom 14");
    addText(15, "custom 15");
    addText(16, "user-defined name");
    const auto getStatus = [&](auto... out) { return device->GetInfo(9, out...); };
    lines.push_back(Told(name, "status", NumberOf<Optivo::UInt32>(getStatus)));
    device->Close();
}

void AddOpened(Optivo::ICamInterface& parent, const std::string& name, Lines& lines) {
    Optivo::ICamDevice* device = nullptr;
    Demand(parent.OpenDevice(name.c_str(), &device) == 0, "cameras can be opened");
    Optivo::UInt32 numStreams = 0;
    Demand(device->GetNumDataStreams(&numStreams) == 0, "streams can be counted");
    lines.push_back(Told(name, "streams", numStreams));
    lines.push_back(Told(name, "width", Register<std::uint32_t>(*device, 0x400)));
    lines.push_back(Told(name, "height", Register<std::uint32_t>(*device, 0x404)));
    lines.push_back(Told(name, "pixel format", Register<std::uint32_t>(*device, 0x408)));
    lines.push_back(Told(name, "test pattern", Register<std::uint32_t>(*device, 0x428)));
    const bool hasRate = Register<std::uint32_t>(*device, 0x510) != 0;
    lines.push_back(
        Told(name, "frame rate", hasRate ? Exactly(Register<double>(*device, 0x508)) : "none"));
    Optivo::ICamStream* stream = nullptr;
    Demand(device->OpenDataStream(0, &stream) == 0, "streams can be opened");
    const auto getPayload = [&](auto... out) { return stream->GetStreamInfo(4, out...); };
    lines.push_back(Told(name, "payload", NumberOf<std::uint64_t>(getPayload)));
    stream->Close();
    device->Close();
}

void AddInterface(Optivo::ICamSystem& system, const SInterfacePlan& plan, Lines& lines) {
    Optivo::ICamInterface* opened = nullptr;
    Demand(system.OpenInterface(plan.name.c_str(), &opened) == 0, "interfaces can be opened");
    for (const auto& [key, what] : {std::pair{2, "prefix"}, std::pair{5, "TL type"}}) {
        const auto readPort = [&, address = static_cast<Optivo::UInt64>(key)](auto... out) {
            return opened->ReadPort(address, out...);
        };
        lines.push_back(Told(plan.name, what, AnsweredText(readPort)));
    }
    for (std::size_t number = 0; number < NUM_UPDATES; ++number) {
        AddUpdate(
            plan.name, number, [&](auto* count) { return opened->UpdateDeviceList(count, 0); },
            [&](auto... args) { return opened->GetDeviceName(args...); }, lines);
    }
    for (const SCameraPlan& camera : plan.cameras) {
        AddDescription(*opened, camera.model.name, lines);
        AddOpened(*opened, camera.model.name, lines);
    }
    opened->Close();
}

} // namespace

Lines Found(const SWorldPlan& plan) {
    Lines lines;
    Optivo::ICamSystem* system = nullptr;
    Demand(GetSystem(&system) == 0 && system != nullptr, "there is a system");
    for (std::size_t number = 0; number < NUM_UPDATES; ++number) {
        AddUpdate(
            "system", number, [&](auto* count) { return system->UpdateInterfaceList(count, 0); },
            [&](auto... args) { return system->GetInterfaceName(args...); }, lines);
    }
    for (const SInterfacePlan& interface : plan.interfaces) {
        AddInterface(*system, interface, lines);
    }
    system->Close();
    return lines;
}
