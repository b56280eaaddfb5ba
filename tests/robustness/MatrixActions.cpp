// The calls that reach the camera library.
#include "Matrix.h"

namespace Matrix {
namespace {

constexpr char TWO_INTERFACES[] = "GEV::eth0=GEV U3V::usb0=U3V";
constexpr char TWO_DEVICES[] = "[Norvel-G1300C-10002][Norvel-G640M-10001] Norvel G640M GEV 1 Left "
                               "10001 1.2.0 02-4E-56-00-27-11 169.254.10.1";
// Registers of the interface, and of the camera.
constexpr uint64_t INTERFACE_NAME = 0x100;
constexpr uint64_t UPDATE_TIMEOUT = 0x204;
constexpr uint64_t HEIGHT_MAX = 0x30C;
constexpr uint64_t USER_MEMORY = 0x8AC;

std::vector<Action> SystemActions() {
    const auto interfaces = [](Bench& b) { return b.Interfaces(); };
    const auto isGone = [](Bench& b) {
        return GoneOrThere(b.gentl.TLGetInfo(b.tl, 1, nullptr, nullptr, &b.out.size));
    };
    return {
        {.name = "TLOpen",
         .state = State::Library,
         .call = [](Bench& b) { return b.gentl.TLOpen(&b.out.handle); },
         .sound = {.outputs = "handle"},
         .undo = [](Bench& b) { EXPECT_OK(b.gentl.TLClose(b.out.handle)); }},
        {.name = "TLUpdateInterfaceList",
         .state = State::FreshSystem,
         .call = [](Bench& b) { return b.gentl.TLUpdateInterfaceList(b.tl, &b.out.changed, 200); },
         .sound = {.outputs = "changed 1", .seen = TWO_INTERFACES},
         .see = interfaces,
         .left = State::System},
        {.name = "TLUpdateInterfaceList, listed",
         .state = State::System,
         .call = [](Bench& b) { return b.gentl.TLUpdateInterfaceList(b.tl, &b.out.changed, 200); },
         .sound = {.seen = TWO_INTERFACES},
         .seenAfterFailure = TWO_INTERFACES,
         .see = interfaces,
         .undo = [](Bench& b) { EXPECT_OK(b.gentl.TLClose(b.tl)); },
         .left = State::Library},
        {.name = "TLGetNumInterfaces",
         .state = State::FreshSystem,
         .call = [](Bench& b) { return b.gentl.TLGetNumInterfaces(b.tl, &b.out.number); },
         .sound = {.outputs = "number 2", .seen = TWO_INTERFACES},
         .see = interfaces,
         .left = State::System},
        {.name = "TLGetInterfaceID",
         .state = State::FreshSystem,
         .call =
             [](Bench& b) {
                 return b.gentl.TLGetInterfaceID(b.tl, 0, b.out.bytes.data(), &b.out.size);
             },
         .sound = {.outputs = "size 10, bytes \"GEV::eth0\"", .seen = TWO_INTERFACES},
         .see = interfaces,
         .left = State::System},
        {.name = "TLOpenInterface, without a list",
         .state = State::FreshSystem,
         .call =
             [](Bench& b) { return b.gentl.TLOpenInterface(b.tl, INTERFACE_ID, &b.out.handle); },
         .sound = {.outputs = "handle", .seen = TWO_INTERFACES},
         .see = interfaces,
         .undo = [](Bench& b) { EXPECT_OK(b.gentl.IFClose(b.out.handle)); },
         .left = State::System},
        {.name = "TLOpenInterface",
         .state = State::System,
         .call =
             [](Bench& b) { return b.gentl.TLOpenInterface(b.tl, INTERFACE_ID, &b.out.handle); },
         .sound = {.outputs = "handle"},
         .undo = [](Bench& b) { EXPECT_OK(b.gentl.IFClose(b.out.handle)); }},
        {.name = "TLClose",
         .state = State::Stream,
         .call = [](Bench& b) { return b.gentl.TLClose(b.tl); },
         .sound = {.seen = "gone"},
         .seenAfterFailure = "gone",
         .prepare = [](Bench& b) { b.StartStreaming(); },
         .see = isGone,
         .left = State::Library,
         .closes = true,
         .streams = true},
    };
}

std::vector<Action> InterfaceActions() {
    return {
        {.name = "IFUpdateDeviceList",
         .state = State::FreshInterface,
         .call = [](Bench& b) { return b.gentl.IFUpdateDeviceList(b.iface, &b.out.changed, 200); },
         .sound = {.outputs = "changed 1", .seen = TWO_DEVICES},
         .see = [](Bench& b) { return b.Devices(); },
         .left = State::Interface},
        {.name = "IFUpdateDeviceList, listed",
         .state = State::Interface,
         .call = [](Bench& b) { return b.gentl.IFUpdateDeviceList(b.iface, &b.out.changed, 200); },
         .sound = {.outputs = "changed 0", .seen = TWO_DEVICES},
         .seenAfterFailure = TWO_DEVICES,
         .see = [](Bench& b) { return b.Devices(); },
         .undo = [](Bench& b) { EXPECT_OK(b.gentl.IFClose(b.iface)); },
         .left = State::System},
        {.name = "IFOpenDevice",
         .state = State::Interface,
         .call = [](Bench& b) { return b.gentl.IFOpenDevice(b.iface, CAMERA, 4, &b.out.handle); },
         .sound = {.outputs = "handle"},
         .undo = [](Bench& b) { EXPECT_OK(b.gentl.DevClose(b.out.handle)); }},
        {.name = "IFClose",
         .state = State::Interface,
         .call = [](Bench& b) { return b.gentl.IFClose(b.iface); },
         .sound = {.seen = "gone"},
         .seenAfterFailure = "gone",
         .see =
             [](Bench& b) {
                 return GoneOrThere(b.gentl.IFGetInfo(b.iface, 0, nullptr, nullptr, &b.out.size));
             },
         .left = State::System,
         .closes = true},
    };
}

// A port that the camera library serves, its handle, and registers that can be read and written.
struct Port {
    const char* name;
    State state;
    PORT_HANDLE Bench::*handle;
    uint64_t readable;
    uint64_t writable;
    const char* content; // of the readable register
    const char* url;
};

uint32_t ReadBack(Bench& b, const Port& port) {
    uint32_t value = 0;
    size_t size = sizeof value;
    EXPECT_OK(b.gentl.GCReadPort(b.*port.handle, port.writable, &value, &size));
    return value;
}

void Write(Bench& b, const Port& port, uint32_t value) {
    size_t size = sizeof value;
    EXPECT_OK(b.gentl.GCWritePort(b.*port.handle, port.writable, &value, &size));
}

// Three entries for one register, each with four bytes of its own.
std::array<PORT_REGISTER_STACK_ENTRY, 3> Entries(uint64_t address, char* bytes) {
    return {{{address, bytes, 4}, {address, bytes + 4, 4}, {address, bytes + 8, 4}}};
}

int32_t ReadStacked(Bench& b, const Port& port) {
    auto entries = Entries(port.readable, b.out.bytes.data());
    size_t count = entries.size();
    const int32_t code = b.gentl.GCReadPortStacked(b.*port.handle, entries.data(), &count);
    b.out.number = static_cast<uint32_t>(count);
    b.out.size = entries[0].Size + entries[1].Size + entries[2].Size;
    return code;
}

int32_t WriteStacked(Bench& b, const Port& port) {
    std::array<uint32_t, 3> values = {17, 18, 19};
    auto entries = Entries(port.writable, reinterpret_cast<char*>(values.data()));
    size_t count = entries.size();
    const int32_t code = b.gentl.GCWritePortStacked(b.*port.handle, entries.data(), &count);
    b.out.number = static_cast<uint32_t>(count);
    b.out.size = entries[0].Size + entries[1].Size + entries[2].Size;
    return code;
}

std::vector<Action> PortActions(const Port& port) {
    const std::string of = std::string(", ") + port.name;
    const std::string content = port.content;
    const std::string text = std::string("\"") + port.url + '"';
    const std::string length = std::to_string(std::string(port.url).size() + 1);
    const auto four = [](Bench& b) { b.out.size = 4; };
    const auto holdsFive = [port](Bench& b) {
        Write(b, port, 5);
        b.out.size = 4;
    };
    const auto holds = [port](Bench& b) { return "holds " + std::to_string(ReadBack(b, port)); };
    return {
        {.name = "GCReadPort" + of,
         .state = port.state,
         .call =
             [port](Bench& b) {
                 return b.gentl.GCReadPort(b.*port.handle, port.readable, b.out.bytes.data(),
                                           &b.out.size);
             },
         .sound = {.outputs = "bytes " + content},
         .prepare = four},
        {.name = "GCWritePort" + of,
         .state = port.state,
         .call =
             [port](Bench& b) {
                 const uint32_t value = 17;
                 return b.gentl.GCWritePort(b.*port.handle, port.writable, &value, &b.out.size);
             },
         .sound = {.seen = "holds 17"},
         .seenAfterFailure = "holds 5",
         .prepare = holdsFive,
         .see = holds},
        {.name = "GCReadPortStacked" + of,
         .state = port.state,
         .call = [port](Bench& b) { return ReadStacked(b, port); },
         .sound = {.outputs = "number 3, size 12, bytes " + content + content + content}},
        {.name = "GCWritePortStacked" + of,
         .state = port.state,
         .call = [port](Bench& b) { return WriteStacked(b, port); },
         .sound = {.outputs = "number 3, size 12", .seen = "holds 19"},
         .seenAfterFailure = "holds 17",
         .prepare = holdsFive,
         .see = holds},
        {.name = "GCGetPortURL" + of,
         .state = port.state,
         .call =
             [port](Bench& b) {
                 return b.gentl.GCGetPortURL(b.*port.handle, b.out.bytes.data(), &b.out.size);
             },
         .sound = {.outputs = "size " + length + ", bytes " + text}},
        {.name = "GCGetPortURLInfo" + of,
         .state = port.state,
         .call =
             [port](Bench& b) {
                 return b.gentl.GCGetPortURLInfo(b.*port.handle, 0, 0, &b.out.type,
                                                 b.out.bytes.data(), &b.out.size);
             },
         .sound = {.outputs = "type 1, size " + length + ", bytes " + text}},
    };
}

std::vector<Action> DeviceActions() {
    return {
        {.name = "DevGetNumDataStreams",
         .state = State::Device,
         .call = [](Bench& b) { return b.gentl.DevGetNumDataStreams(b.device, &b.out.number); },
         .sound = {.outputs = "number 3"},
         .prepare =
             [](Bench& b) {
                 uint32_t count = 0;
                 EXPECT_EQ(OptivoSim_SetNumStreams(CAMERA, 4), 1);
                 EXPECT_OK(b.gentl.DevGetNumDataStreams(b.device, &count));
                 EXPECT_EQ(OptivoSim_SetNumStreams(CAMERA, 3), 1);
             }},
        {.name = "DevOpenDataStream",
         .state = State::Device,
         .call = [](Bench& b) { return b.gentl.DevOpenDataStream(b.device, "DS0", &b.out.handle); },
         .sound = {.outputs = "handle"},
         .undo = [](Bench& b) { EXPECT_OK(b.gentl.DSClose(b.out.handle)); }},
        {.name = "GCRegisterEvent, remote port",
         .state = State::Device,
         .call = [](Bench& b) { return b.gentl.GCRegisterEvent(b.remote, 4, &b.out.handle); },
         .sound = {.outputs = "handle", .seen = "callback yes, event yes"},
         .seenAfterFailure = "callback no",
         .see =
             [](Bench& b) {
                 return b.out.handle != &Outputs::FILLING    ? b.Events(b.out.handle)
                        : OptivoSim_HasCallback(CAMERA) == 1 ? "callback yes"
                                                             : "callback no";
             },
         .undo = [](Bench& b) { EXPECT_OK(b.gentl.GCUnregisterEvent(b.remote, 4)); }},
        {.name = "GCUnregisterEvent, remote port",
         .state = State::Listening,
         .call = [](Bench& b) { return b.gentl.GCUnregisterEvent(b.remote, 4); },
         .sound = {.seen = "callback no, event no"},
         .seenAfterFailure = "callback yes, event yes",
         .see = [](Bench& b) { return b.Events(b.deviceEvent); },
         .left = State::Device},
    };
}

} // namespace

std::vector<Action> AllActions() {
    const Port interfacePort = {"interface",
                                State::Interface,
                                &Bench::iface,
                                INTERFACE_NAME,
                                UPDATE_TIMEOUT,
                                "65746830",
                                "Local:Norvel_Interface.xml;1000;909"};
    const Port remotePort = {"remote port",
                             State::Device,
                             &Bench::remote,
                             HEIGHT_MAX,
                             USER_MEMORY,
                             "18000000",
                             "Local:Norvel_Camera.xml;10000;743C"};
    return Joined<Action>({SystemActions(), InterfaceActions(), PortActions(interfacePort),
                           PortActions(remotePort), DeviceActions(), StreamActions()});
}

} // namespace Matrix
