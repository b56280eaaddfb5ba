// Prints what a camera reports while it takes images.
// events [MODULE.cti] [CAMERA [SECONDS [ADDRESS=VALUE]...]]: CAMERA is a part of the camera's ID;
// numbers are written into the camera's 32-bit registers before, to switch its events on.
#include "session.h"

#include <atomic>
#include <chrono>
#include <thread>

namespace {

constexpr std::uint64_t kImageMs = 20;
// EventKill ends no wait, so that the time-out bounds how long the thread takes to end.
constexpr std::uint64_t kEventMs = 100;

// What EventGetData writes for EVENT_REMOTE_DEVICE.
struct DeviceEvent {
    std::uint32_t id;
    std::uint32_t reserved;
    std::uint64_t value;
    std::uint64_t timestamp;
};

void WriteRegister(const Session& session, PORT_HANDLE port, const std::string& setting) {
    const size_t equals = setting.find('=');
    if (equals == std::string::npos) {
        throw std::runtime_error(setting + " is no ADDRESS=VALUE");
    }
    const std::uint64_t address = std::stoull(setting.substr(0, equals), nullptr, 0);
    const auto value =
        static_cast<std::uint32_t>(std::stoul(setting.substr(equals + 1), nullptr, 0));
    size_t size = sizeof value;
    session.Check("GCWritePort", session.Gentl().GCWritePort(port, address, &value, &size));
}

// Runs until isOver. A wait that times out is a success that writes nothing, which the field that
// every event clears gives away.
void PrintEvents(const Session& session, EVENT_HANDLE event, const std::atomic<bool>& isOver) {
    int count = 0;
    while (!isOver) {
        DeviceEvent data{0, 1, 0, 0};
        size_t size = sizeof data;
        const GC_ERROR code = session.Gentl().EventGetData(event, &data, &size, kEventMs);
        if (code != GC_ERR_SUCCESS) {
            std::cerr << "EventGetData: " << code << '\n';
            return;
        }
        if (data.reserved == 0) {
            ++count;
            std::cout << "event 0x" << std::hex << data.id << std::dec << ", value " << data.value
                      << '\n';
        }
    }
    std::cout << count << " events\n";
}

void Watch(const Session& session, const Camera& camera, PORT_HANDLE port, double seconds) {
    EVENT_HANDLE event = nullptr;
    session.Check("GCRegisterEvent",
                  session.Gentl().GCRegisterEvent(port, EVENT_REMOTE_DEVICE, &event));
    std::atomic<bool> isOver{false};
    std::thread watcher([&] { PrintEvents(session, event, isOver); });
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    try {
        camera.Start();
        while (std::chrono::steady_clock::now() < end) {
            if (BUFFER_HANDLE buffer = camera.Wait(kImageMs).BufferHandle) {
                camera.Queue(buffer);
            }
        }
        camera.Stop();
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
    }
    isOver = true;
    watcher.join();
    session.Check("GCUnregisterEvent",
                  session.Gentl().GCUnregisterEvent(port, EVENT_REMOTE_DEVICE));
}

} // namespace

int main(int argc, char** argv) {
    return Run([&] {
        const Session session(argc, argv);
        const FoundCamera found = FindCamera(session, argc > 1 ? argv[1] : "");
        const Camera camera(session, found.iface->Handle(), found.id);
        PORT_HANDLE port = nullptr;
        session.Check("DevGetPort", session.Gentl().DevGetPort(camera.Device(), &port));
        for (int i = 3; i < argc; ++i) {
            WriteRegister(session, port, argv[i]);
        }
        Watch(session, camera, port, argc > 2 ? std::stod(argv[2]) : 5);
    });
}
