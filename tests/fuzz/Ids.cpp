// Names interfaces and cameras at random, asks the module for them under all kinds of IDs, and
// compares every answer with a model that knows the rules by which an ID names something.
#include "Demand.h"
#include "SmallWorld.h"

#include "OptivoSim.h"
#include "Producer.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

constexpr char UNSPECIFIED[] = "Unspecified runtime error.";

struct Camera {
    std::string name;
    std::string vendor;
    std::string model;
    std::string version;
    std::string serialNumber;
    std::string userDefinedName;
    std::string tlType;
    std::string custom14;
    std::string custom15;
    std::uint32_t status = 1;
    bool isOpen = false;
};

struct Interface {
    std::string name;
    std::string prefix;
    std::string tlType;
    std::vector<Camera*> cameras; // by ascending name

    std::string Id() const;
};

char Upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
}

std::string Upper(std::string text) {
    for (char& c : text) {
        c = Upper(c);
    }
    return text;
}

std::string Interface::Id() const {
    return Upper(prefix) + "::" + name;
}

// An answer: of a failure the code and the recorded text, else what was asked for.
struct Answer {
    int32_t code = 0;
    std::string text;
};

Answer Unspecified() {
    return {-1001, UNSPECIFIED};
}

// What stands between the first and the second "::", or before the first if there is no second
// part; the head is what stands before the first.
struct Parts {
    bool hasHead = false;
    std::string head;
    std::string key;
};

Parts Split(const std::string& id) {
    Parts parts;
    std::string rest = id;
    if (const std::size_t mark = rest.find("::"); mark != std::string::npos) {
        parts.hasHead = true;
        parts.head = rest.substr(0, mark);
        rest = rest.substr(mark + 2);
    }
    parts.key = rest.substr(0, rest.find("::"));
    return parts;
}

// Whether an ID names something; nothing when it names nothing at all, which ends a search.
using Match = std::optional<bool>;

Match Names(const std::string& id, const Interface& interface) {
    const Parts parts = Split(id);
    if (parts.hasHead && !parts.head.empty() && Upper(parts.head) != Upper(interface.prefix)) {
        return false;
    }
    if (parts.key.empty()) {
        return std::nullopt;
    }
    return Upper(parts.key) == Upper(interface.name);
}

Match Names(const std::string& id, const Camera& camera) {
    const std::string key = Split(id).key;
    if (key.empty()) {
        return std::nullopt;
    }
    if (key.rfind("USERNAME->", 0) == 0) {
        return key == "USERNAME->";
    }
    if (key.rfind("SN->", 0) == 0) {
        return key == "SN->" + camera.serialNumber;
    }
    return Upper(key) == Upper(camera.name);
}

template <typename Thing>
struct Search {
    bool isSenseless = false;
    Thing* found = nullptr;
};

template <typename Thing>
Search<Thing> Find(const std::string& id, const std::vector<Thing*>& things) {
    for (Thing* thing : things) {
        const Match match = Names(id, *thing);
        if (!match) {
            return {true, nullptr};
        }
        if (*match) {
            return {false, thing};
        }
    }
    return {};
}

struct OpenDevice {
    DEV_HANDLE handle;
    Camera* camera;
    std::vector<std::pair<std::string, DS_HANDLE>> streams;
};

struct OpenInterface {
    IF_HANDLE handle;
    Interface* interface;
    std::vector<Camera*> open; // through this handle
};

std::string Quoted(const std::string& text) {
    std::string quoted = "\"";
    for (const char c : text) {
        std::array<char, 8> escape{};
        std::snprintf(escape.data(), escape.size(), "\\u%04X", static_cast<unsigned char>(c));
        quoted += escape.data();
    }
    return quoted + '"';
}

// A byte from 0x80 on becomes a character of two bytes in a world.
std::string InWorld(const std::string& text) {
    std::string encoded;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80) {
            encoded += c;
        } else {
            encoded += static_cast<char>(0xC0 | byte >> 6);
            encoded += static_cast<char>(0x80 | (byte & 0x3F));
        }
    }
    return encoded;
}

class CNamesWalk {
public:
    explicit CNamesWalk(Bytes& bytes) : m_bytes(bytes), gentl(TheProducer()) {}

    void Go() {
        if (!MakeWorld()) {
            return;
        }
        gentl.GCInitLib();
        Demand(gentl.TLOpen(&m_system) == 0, "the system opens");
        ListInterfaces();
        for (int left = 60; left > 0 && m_bytes.remaining_bytes() > 0; --left) {
            static constexpr void (CNamesWalk::*OPERATIONS[])() = {
                &CNamesWalk::AskInterface,     &CNamesWalk::OpenAnInterface,
                &CNamesWalk::AskOpened,        &CNamesWalk::AskDevice,
                &CNamesWalk::OpenADevice,      &CNamesWalk::AskOpenDevice,
                &CNamesWalk::OpenAStream,      &CNamesWalk::CloseADevice,
                &CNamesWalk::CloseAnInterface, &CNamesWalk::AskUrls};
            (this->*m_bytes.PickValueInArray(OPERATIONS))();
        }
        CloseAll();
    }

private:
    // --- the world

    std::string TakeName() {
        const std::string text = TakeText(m_bytes, 12);
        return text.empty() ? "n" + std::to_string(m_numNames++) : text;
    }

    std::string TextOf(const char* member, std::string& text, bool mayBeEmpty) {
        const std::string taken = mayBeEmpty ? TakeText(m_bytes, 8) : TakeName();
        text = InWorld(taken);
        return std::string(",\"") + member + "\":" + Quoted(taken);
    }

    std::string CameraText(Camera& camera) {
        camera.status = m_bytes.ConsumeIntegralInRange<std::uint32_t>(0, 4);
        std::string text = R"({"width":4,"height":4,"status":)" + std::to_string(camera.status);
        text += TextOf("name", camera.name, false);
        text += TextOf("vendor", camera.vendor, false);
        text += TextOf("model", camera.model, false);
        text += TextOf("version", camera.version, true);
        text += TextOf("serialNumber", camera.serialNumber, true);
        text += TextOf("userDefinedName", camera.userDefinedName, true);
        text += TextOf("tlType", camera.tlType, true);
        text += TextOf("custom14", camera.custom14, true);
        text += TextOf("custom15", camera.custom15, true);
        return text + "}";
    }

    // False for a world that names two things alike.
    bool MakeWorld() {
        std::string text = R"({"interfaces":[)";
        const int numInterfaces = m_bytes.ConsumeIntegralInRange(1, 3);
        for (int i = 0; i < numInterfaces; ++i) {
            auto& interface = m_interfaces.emplace_back(std::make_unique<Interface>());
            text += i == 0 ? "{" : ",{";
            text += R"("discovery":[true])";
            text += TextOf("name", interface->name, false);
            text += TextOf("prefix", interface->prefix, true);
            text += TextOf("tlType", interface->tlType, true);
            text += R"(,"cameras":[)";
            const int numCameras = m_bytes.ConsumeIntegralInRange(0, 3);
            for (int k = 0; k < numCameras; ++k) {
                auto& camera = m_cameras.emplace_back(std::make_unique<Camera>());
                text += (k == 0 ? "" : ",") + CameraText(*camera);
                interface->cameras.push_back(camera.get());
            }
            text += "]}";
        }
        std::array<char, 200> error{};
        if (OptivoSim_LoadWorld((text + "]}").c_str(), error.data(), error.size()) == 0) {
            return false;
        }
        if (m_bytes.ConsumeBool() && !AddRawInterface()) {
            return false;
        }
        return FinishWorld();
    }

    // The bytes of this one need make no text.
    bool AddRawInterface() {
        auto& interface = m_interfaces.emplace_back(std::make_unique<Interface>());
        interface->name = TakeName();
        interface->prefix = TakeText(m_bytes, 8);
        interface->tlType = TakeText(m_bytes, 8);
        return OptivoSim_AddInterface(interface->name.c_str(), interface->prefix.c_str(),
                                      interface->tlType.c_str()) == 1;
    }

    bool FinishWorld() {
        for (auto& interface : m_interfaces) {
            m_listed.push_back(interface.get());
            std::sort(interface->cameras.begin(), interface->cameras.end(),
                      [](const Camera* a, const Camera* b) { return a->name < b->name; });
            for (const auto& other : m_interfaces) {
                if (other != interface &&
                    (other->Id() == interface->Id() || other->Id() == interface->name)) {
                    return false;
                }
            }
        }
        return true;
    }

    // --- answers

    Answer Failed(int32_t code) {
        Answer answer{code, ""};
        int32_t recorded = 0;
        std::array<char, 4096> text{};
        std::size_t size = text.size();
        Demand(gentl.GCGetLastError(&recorded, text.data(), &size) == 0, "an error was recorded");
        DemandEqual(recorded, code, "the recorded code is the answer");
        answer.text = text.data();
        return answer;
    }

    template <typename Call>
    Answer Ask(Call&& call) {
        std::array<char, 4096> buffer{};
        std::size_t size = buffer.size();
        INFO_DATATYPE type = 1;
        const int32_t code = call(&type, buffer.data(), &size);
        if (code != 0) {
            return Failed(code);
        }
        if (type == 5) {
            int32_t number = 0;
            std::copy_n(buffer.data(), sizeof number, reinterpret_cast<char*>(&number));
            return {0, std::to_string(number)};
        }
        DemandEqual(type, 1, "a name is a text");
        Demand(size >= 1 && buffer[size - 1] == '\0', "a text ends with a zero");
        return {0, std::string(buffer.data(), size - 1)};
    }

    static void Compare(const Answer& found, const Answer& expected, const char* words) {
        DemandEqual(found.text, expected.text, words);
        Demand(found.code == expected.code, words);
    }

    // --- IDs

    std::string TakeId(const std::string& name, const std::string& other) {
        static constexpr const char* HEADS[] = {
            "", "", "", "::", "X::", "SN->", "::SN->", "USERNAME->", "sn->"};
        static constexpr const char* TAILS[] = {"", "", "", "::", "::x", "x"};
        if (m_bytes.ConsumeIntegralInRange(0, 3) == 0) {
            return TakeText(m_bytes, 30);
        }
        std::string id = m_bytes.ConsumeBool() ? name : other;
        id = m_bytes.PickValueInArray(HEADS) + id + m_bytes.PickValueInArray(TAILS);
        if (m_bytes.ConsumeIntegralInRange(0, 3) == 0) {
            id = m_bytes.ConsumeBool() ? Upper(id) : Lower(id);
        }
        return id;
    }

    static std::string Lower(std::string text) {
        for (char& c : text) {
            c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
        }
        return text;
    }

    template <typename Things>
    typename Things::value_type* Any(Things& things) {
        if (things.empty()) {
            return nullptr;
        }
        return &things[m_bytes.ConsumeIntegralInRange<std::size_t>(0, things.size() - 1)];
    }

    std::string TakeInterfaceId() {
        const Interface& named = **Any(m_listed);
        return TakeId(named.Id(), named.name);
    }

    std::string TakeDeviceId() {
        auto* const named = Any(m_cameras);
        return named == nullptr ? TakeId("", "") : TakeId((*named)->name, (*named)->serialNumber);
    }

    // --- interfaces

    void ListInterfaces() {
        std::uint32_t count = 77;
        Demand(gentl.TLGetNumInterfaces(m_system, &count) == 0, "interfaces are counted");
        DemandEqual(std::size_t{count}, m_listed.size(), "all interfaces are found");
        for (std::uint32_t i = 0; i < count; ++i) {
            Compare(Ask([&](auto*, auto* buffer, auto* size) {
                        return gentl.TLGetInterfaceID(m_system, i, buffer, size);
                    }),
                    {0, m_listed[i]->Id()}, "interfaces are listed in their order");
        }
    }

    static Answer InfoOf(const Interface& interface, int32_t command) {
        switch (command) {
        case 0:
            return {0, interface.Id()};
        case 1:
            return {0, "Interface : " + interface.name};
        case 2:
            return {0, interface.tlType};
        default:
            return Unspecified();
        }
    }

    void AskInterface() {
        const std::string id = TakeInterfaceId();
        const int32_t command = m_bytes.ConsumeIntegralInRange(-1, 3);
        Answer expected = Unspecified();
        for (const Interface* listed : m_listed) {
            if (listed->Id() == id) {
                expected = InfoOf(*listed, command);
            }
        }
        Compare(Ask([&](auto... out) {
                    return gentl.TLGetInterfaceInfo(m_system, id.c_str(), command, out...);
                }),
                expected, "an interface is described under its exact ID");
    }

    void OpenAnInterface() {
        const std::string id = TakeInterfaceId();
        IF_HANDLE handle = this;
        const int32_t code = gentl.TLOpenInterface(m_system, id.c_str(), &handle);
        for (const OpenInterface& opened : m_opened) {
            if (opened.interface->Id() == id) {
                Demand(code == 0 && handle == opened.handle, "an open interface is found again");
                return;
            }
        }
        const Search<Interface> search = Find(id, m_listed);
        if (search.found == nullptr) {
            Compare(Failed(code),
                    search.isSenseless ? Unspecified()
                                       : Answer{-1001, "Invalid interface name " + id},
                    "what names no interface is refused");
            DemandEqual(handle, static_cast<IF_HANDLE>(this), "a failure writes no handle");
            return;
        }
        Demand(code == 0, "an interface is opened");
        m_opened.push_back({handle, search.found, {}});
        ListDevices(m_opened.back());
    }

    void ListDevices(const OpenInterface& opened) {
        const std::vector<Camera*>& cameras = opened.interface->cameras;
        bool8_t changed = 77;
        Demand(gentl.IFUpdateDeviceList(opened.handle, &changed, 10) == 0, "devices are found");
        DemandEqual(changed != 0, !cameras.empty(), "the first devices are news");
        std::uint32_t count = 77;
        Demand(gentl.IFGetNumDevices(opened.handle, &count) == 0, "devices are counted");
        DemandEqual(std::size_t{count}, cameras.size(), "all devices are found");
        for (std::uint32_t i = 0; i < count; ++i) {
            Compare(Ask([&](auto*, auto* buffer, auto* size) {
                        return gentl.IFGetDeviceID(opened.handle, i, buffer, size);
                    }),
                    {0, cameras[i]->name}, "devices are listed by their ID");
        }
    }

    void AskOpened() {
        if (const OpenInterface* opened = Any(m_opened)) {
            const int32_t command = m_bytes.ConsumeIntegralInRange(-1, 3);
            Compare(
                Ask([&](auto... out) { return gentl.IFGetInfo(opened->handle, command, out...); }),
                InfoOf(*opened->interface, command), "an open interface describes itself");
            Compare(
                Ask([&](auto... out) { return gentl.GCGetPortInfo(opened->handle, 0, out...); }),
                {0, opened->interface->Id()}, "an interface's port has its ID");
        }
    }

    void CloseAnInterface() {
        if (OpenInterface* opened = Any(m_opened)) {
            Demand(gentl.IFClose(opened->handle) == 0, "an interface closes");
            m_opened.erase(m_opened.begin() + (opened - m_opened.data()));
        }
    }

    // --- devices

    // What IFGetDeviceInfo answers for the record of an open device or of a listed one.
    static Answer InfoOf(const Camera& camera, bool isOpenRecord, int32_t command) {
        const auto unlessOpen = [&](const std::string& text) {
            return Answer{0, isOpenRecord ? "" : text};
        };
        switch (command) {
        case 0:
            return {0, camera.name};
        case 1:
            return {0, camera.vendor};
        case 2:
            return {0, camera.model};
        case 3:
            return {0, camera.tlType};
        case 4:
            return {0, camera.model + " (" + camera.serialNumber + " )"};
        case 6:
        case 1000:
            return unlessOpen(camera.userDefinedName);
        case 7:
        case 1001:
            return {0, camera.serialNumber};
        case 8:
        case 1002:
            return unlessOpen(camera.version);
        case 1003:
            return unlessOpen(camera.custom15);
        case 1004:
            return unlessOpen(camera.custom14);
        default:
            return Unspecified();
        }
    }

    static Answer ExpectedInfo(const OpenInterface& opened, const std::string& id,
                               int32_t command) {
        const Search<Camera> open = Find(id, opened.open);
        const Search<Camera> listed = Find(id, opened.interface->cameras);
        if (open.isSenseless || (open.found == nullptr && listed.isSenseless)) {
            return Unspecified();
        }
        if (open.found == nullptr && listed.found == nullptr) {
            return {-1001, "Unable to find device " + id};
        }
        if (command == 5) {
            if (listed.found == nullptr || listed.found->status == 0) {
                return {-1001, "Error retrieving device status ( wrong name ) "};
            }
            return {0, open.found != nullptr ? "3" : std::to_string(listed.found->status)};
        }
        return open.found != nullptr ? InfoOf(*open.found, true, command)
                                     : InfoOf(*listed.found, false, command);
    }

    int32_t TakeDeviceCommand() {
        const int32_t command = m_bytes.ConsumeIntegralInRange(-1, 15);
        return command > 9 ? command + 990 : command;
    }

    void AskDevice() {
        if (const OpenInterface* opened = Any(m_opened)) {
            const std::string id = TakeDeviceId();
            const int32_t command = TakeDeviceCommand();
            Compare(Ask([&](auto... out) {
                        return gentl.IFGetDeviceInfo(opened->handle, id.c_str(), command, out...);
                    }),
                    ExpectedInfo(*opened, id, command), "a device is described under its names");
        }
    }

    Answer ExpectedOpening(const OpenInterface& opened, const std::string& id,
                           const Search<Camera>& listed) {
        const Search<Camera> open = Find(id, opened.open);
        if (open.isSenseless) {
            return Unspecified();
        }
        if (open.found != nullptr) {
            return {-1004, "Device already open"};
        }
        if (listed.found == nullptr) {
            return Unspecified();
        }
        if (listed.found->isOpen) {
            return {-1001, "already opened device.(" + listed.found->name + ")."};
        }
        return {};
    }

    void OpenADevice() {
        OpenInterface* opened = Any(m_opened);
        if (opened == nullptr) {
            return;
        }
        const std::string id = TakeDeviceId();
        const Search<Camera> listed = Find(id, opened->interface->cameras);
        DEV_HANDLE handle = this;
        const int32_t code = gentl.IFOpenDevice(opened->handle, id.c_str(),
                                                m_bytes.ConsumeIntegralInRange(0, 5), &handle);
        const Answer expected = ExpectedOpening(*opened, id, listed);
        Compare(code == 0 ? Answer{} : Failed(code), expected, "a device opens under its names");
        if (code != 0) {
            DemandEqual(handle, static_cast<DEV_HANDLE>(this), "a failure writes no handle");
            return;
        }
        listed.found->isOpen = true;
        opened->open.push_back(listed.found);
        m_devices.push_back({handle, listed.found, {}});
    }

    void AskOpenDevice() {
        if (const OpenDevice* device = Any(m_devices)) {
            const int32_t command = m_bytes.ConsumeIntegralInRange(-1, 9);
            const Answer expected =
                command == 5 ? Answer{0, "1"} : InfoOf(*device->camera, true, command);
            Compare(
                Ask([&](auto... out) { return gentl.DevGetInfo(device->handle, command, out...); }),
                expected, "an open device describes itself");
            Compare(
                Ask([&](auto... out) { return gentl.GCGetPortInfo(device->handle, 0, out...); }),
                {0, "TLDEV::" + device->camera->name}, "a device's port has its ID");
        }
    }

    void CloseADevice() {
        if (OpenDevice* device = Any(m_devices)) {
            Close(*device);
            m_devices.erase(m_devices.begin() + (device - m_devices.data()));
        }
    }

    void Close(const OpenDevice& device) {
        Demand(gentl.DevClose(device.handle) == 0, "a device closes");
        device.camera->isOpen = false;
        for (OpenInterface& opened : m_opened) {
            std::erase(opened.open, device.camera);
        }
    }

    // --- streams

    // The decimal number from the third character on, as long as it is a small one.
    static std::optional<std::uint32_t> IndexOf(const std::string& id) {
        std::string rest = id.size() > 2 ? id.substr(2) : "";
        rest = rest.substr(std::min(rest.size(), rest.find_first_not_of(" \t\n\v\f\r")));
        const bool isNegative = !rest.empty() && rest[0] == '-';
        if (isNegative || (!rest.empty() && rest[0] == '+')) {
            rest = rest.substr(1);
        }
        rest = rest.substr(0, rest.find_first_not_of("0123456789"));
        if (rest.size() > 9) {
            return std::nullopt;
        }
        const int number = rest.empty() ? 0 : std::stoi(rest);
        return static_cast<std::uint32_t>(isNegative ? -number : number);
    }

    void OpenAStream() {
        OpenDevice* device = Any(m_devices);
        if (device == nullptr || device->streams.size() > 8) {
            return;
        }
        const std::string id =
            m_bytes.ConsumeBool() ? "DS" + TakeText(m_bytes, 12) : TakeText(m_bytes, 12);
        DS_HANDLE handle = nullptr;
        Demand(gentl.DevOpenDataStream(device->handle, id.c_str(), &handle) == 0,
               "any ID opens a stream");
        const auto same = [&](const auto& stream) { return stream.first == id; };
        const auto known = std::find_if(device->streams.begin(), device->streams.end(), same);
        if (known != device->streams.end()) {
            DemandEqual(handle, known->second, "an open stream is found again");
            return;
        }
        for (const auto& stream : device->streams) {
            Demand(stream.second != handle, "another ID opens another stream");
        }
        device->streams.emplace_back(id, handle);
        Compare(Ask([&](auto... out) { return gentl.DSGetInfo(handle, 0, out...); }), {0, id},
                "a stream keeps its ID");
        if (const auto index = IndexOf(id)) {
            Compare(Ask([&](auto... out) { return gentl.GCGetPortInfo(handle, 0, out...); }),
                    {0, "DS" + std::to_string(*index) + std::string(1, '\0')},
                    "a stream's port tells its index");
        }
    }

    // --- URLs

    template <typename Handle>
    Answer UrlOf(Handle handle) {
        return Ask([&](auto*, auto* buffer, auto* size) {
            return gentl.GCGetPortURL(handle, buffer, size);
        });
    }

    void AskUrls() {
        if (const OpenDevice* device = Any(m_devices)) {
            std::array<char, 64> url{};
            std::size_t size = 26;
            Demand(gentl.GCGetPortURL(device->handle, url.data(), &size) == 0 && size == 26,
                   "a device's URL takes 26 bytes");
            DemandEqual(url.data(), "Local:TLDevRegs.xml;500;", "a device has its URL");
            for (const auto& stream : device->streams) {
                Compare(UrlOf(stream.second), {0, "Local:TLDataStreamRegs.xml;200;0"},
                        "a stream has its URL");
            }
        }
    }

    void CloseAll() {
        for (const OpenDevice& device : m_devices) {
            Close(device);
        }
        for (const OpenInterface& opened : m_opened) {
            Demand(gentl.IFClose(opened.handle) == 0, "an interface closes");
        }
        Demand(gentl.TLClose(m_system) == 0, "the system closes");
        gentl.GCCloseLib();
        for (int kind = 0; kind < OPTIVO_NUM_OBJECT_KINDS; ++kind) {
            Demand(OptivoSim_NumAlive(static_cast<OptivoObjectKind>(kind)) == 0,
                   "every object of the camera library is closed");
        }
    }

    Bytes& m_bytes;
    const Producer& gentl;
    TL_HANDLE m_system = nullptr;
    int m_numNames = 0;
    std::vector<std::unique_ptr<Interface>> m_interfaces;
    std::vector<std::unique_ptr<Camera>> m_cameras;
    std::vector<Interface*> m_listed;
    std::vector<OpenInterface> m_opened;
    std::vector<OpenDevice> m_devices;
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    BeginWithSmallWorld();
    TheProducer(); // so that its code counts from the first input on
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    OptivoSim_Reset();
    Bytes bytes(data, size);
    CNamesWalk(bytes).Go();
    return 0;
}
