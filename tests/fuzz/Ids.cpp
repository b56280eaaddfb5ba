// Names interfaces and cameras at random, asks the module for them under all kinds of IDs, and
// compares every answer with a model that knows the rules by which an ID names something.
#include "IdModel.h"
#include "LoadedModule.h"

#include "OptivoSim.h"

#include <algorithm>
#include <array>
#include <utility>

namespace {

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

class CNamesWalk {
public:
    explicit CNamesWalk(Bytes& bytes) : m_bytes(bytes), gentl(TheProducer()), m_world(bytes) {}

    void Go() {
        if (!m_world.Make()) {
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
    // --- answers

    Answer Failed(int32_t code) {
        const RecordedError recorded = ReadLastError(gentl);
        DemandEqual(recorded.code, code, "the recorded code is the answer");
        return {code, recorded.text};
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

    template <typename Things>
    auto Any(Things& things) -> decltype(things.data()) {
        if (things.empty()) {
            return nullptr;
        }
        return &things[m_bytes.ConsumeIntegralInRange<std::size_t>(0, things.size() - 1)];
    }

    std::string TakeInterfaceId() {
        const Interface& named = **Any(m_world.Interfaces());
        return TakeId(named.Id(), named.name);
    }

    std::string TakeDeviceId() {
        auto* const named = Any(m_world.Cameras());
        return named == nullptr ? TakeId("", "") : TakeId((*named)->name, (*named)->serialNumber);
    }

    // --- interfaces

    void ListInterfaces() {
        std::uint32_t count = 77;
        Demand(gentl.TLGetNumInterfaces(m_system, &count) == 0, "interfaces are counted");
        DemandEqual(std::size_t{count}, m_world.Interfaces().size(), "all interfaces are found");
        for (std::uint32_t i = 0; i < count; ++i) {
            Compare(Ask([&](auto*, auto* buffer, auto* size) {
                        return gentl.TLGetInterfaceID(m_system, i, buffer, size);
                    }),
                    {0, m_world.Interfaces()[i]->Id()}, "interfaces are listed in their order");
        }
    }

    void AskInterface() {
        const std::string id = TakeInterfaceId();
        const int32_t command = m_bytes.ConsumeIntegralInRange(-1, 3);
        Answer expected = Unspecified();
        for (const Interface* listed : m_world.Interfaces()) {
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
        const Search<Interface> search = Find(id, m_world.Interfaces());
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
                    ExpectedInfo(opened->open, opened->interface->cameras, id, command),
                    "a device is described under its names");
        }
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
        const Answer expected = ExpectedOpening(opened->open, listed, id);
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
        if (const auto index = StreamIndex(id)) {
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
        DemandAllIsClosed();
    }

    Bytes& m_bytes;
    const Producer& gentl;
    CNamedWorld m_world;
    TL_HANDLE m_system = nullptr;
    std::vector<OpenInterface> m_opened;
    std::vector<OpenDevice> m_devices;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    OptivoSim_Reset();
    Bytes bytes(data, size);
    CNamesWalk(bytes).Go();
    return 0;
}
