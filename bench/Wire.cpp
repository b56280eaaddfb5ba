// What an image from a camera on the wire costs, through the module and in a bare loop over Aravis
// that copies each image once; in turns: norveltl_wire_bench MODULE WIDTH HEIGHT PERIOD SECONDS
// ROUNDS. The period is the camera's, in microseconds. Prints "module" or "bare", images, and
// seconds of the processor and of the clock, a line for each turn.
#include "Producer.h"

#include <arv.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/resource.h>

namespace {

constexpr std::uint32_t WIDTH = 0x100;
constexpr std::uint32_t HEIGHT = 0x104;
constexpr std::uint32_t ACQUISITION = 0x124;
constexpr std::uint32_t FRAME_PERIOD = 0x138;
constexpr std::size_t NUM_BUFFERS = 16;
// Those of the camera library, for a fast camera.
constexpr std::size_t MOST_RECEIVE_BUFFERS = 64;
constexpr std::size_t RECEIVE_MEMORY = std::size_t{512} << 20;
// So that every buffer has been filled once, and its memory is there.
constexpr std::size_t WARM_UP_IMAGES = MOST_RECEIVE_BUFFERS + NUM_BUFFERS;
constexpr std::chrono::seconds LONGEST_WARM_UP(12);

struct Task {
    std::uint32_t width;
    std::uint32_t height;
    std::uint32_t period;
    std::chrono::duration<double> duration;
};

using Clock = std::chrono::steady_clock;

double ProcessorTime() {
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// take fetches one image, and answers whether there was one.
void Measure(const char* name, const Task& task, const std::function<bool()>& take) {
    const auto end = Clock::now() + LONGEST_WARM_UP;
    for (std::size_t i = 0; i < WARM_UP_IMAGES && Clock::now() < end; ++i) {
        take();
    }
    const double processor = ProcessorTime();
    const auto begin = Clock::now();
    long images = 0;
    while (Clock::now() - begin < task.duration) {
        images += take() ? 1 : 0;
    }
    const std::chrono::duration<double> passed = Clock::now() - begin;
    std::printf("%s %ld %.6f %.6f\n", name, images, ProcessorTime() - processor, passed.count());
    std::fflush(stdout);
}

void Check(GC_ERROR code, const char* what) {
    if (code != 0) {
        throw std::runtime_error(std::string(what) + " answers " + std::to_string(code));
    }
}

void RunModule(const Producer& gentl, const Task& task) {
    TL_HANDLE tl = nullptr;
    IF_HANDLE interface = nullptr;
    DEV_HANDLE device = nullptr;
    PORT_HANDLE port = nullptr;
    DS_HANDLE stream = nullptr;
    EVENT_HANDLE event = nullptr;
    Check(gentl.TLOpen(&tl), "TLOpen");
    Check(gentl.TLUpdateInterfaceList(tl, nullptr, 100), "TLUpdateInterfaceList");
    Check(gentl.TLOpenInterface(tl, "GEV::GigEVision", &interface), "TLOpenInterface");
    Check(gentl.IFUpdateDeviceList(interface, nullptr, 3000), "IFUpdateDeviceList");
    Check(gentl.IFOpenDevice(interface, "Aravis-Fake-T1", 3, &device), "IFOpenDevice");
    Check(gentl.DevGetPort(device, &port), "DevGetPort");
    const auto write = [&](std::uint32_t address, std::uint32_t value) {
        value = GUINT32_TO_BE(value);
        std::size_t size = sizeof value;
        Check(gentl.GCWritePort(port, address, &value, &size), "GCWritePort");
    };
    write(ACQUISITION, 0);
    write(WIDTH, task.width);
    write(HEIGHT, task.height);
    write(FRAME_PERIOD, task.period);
    Check(gentl.DevOpenDataStream(device, "DS0", &stream), "DevOpenDataStream");
    Check(gentl.GCRegisterEvent(stream, 1, &event), "GCRegisterEvent");
    const std::size_t payload = std::size_t{task.width} * task.height;
    for (std::size_t i = 0; i < NUM_BUFFERS; ++i) {
        BUFFER_HANDLE buffer = nullptr;
        Check(gentl.DSAllocAndAnnounceBuffer(stream, payload, nullptr, &buffer),
              "DSAllocAndAnnounceBuffer");
        Check(gentl.DSQueueBuffer(stream, buffer), "DSQueueBuffer");
    }
    Check(gentl.DSStartAcquisition(stream, 0, GENTL_INFINITE), "DSStartAcquisition");
    write(ACQUISITION, 1);
    Measure("module", task, [&] {
        EVENT_NEW_BUFFER_DATA data = {};
        std::size_t size = sizeof data;
        const GC_ERROR code = gentl.EventGetData(event, &data, &size, 1000);
        if (code == 0) {
            Check(gentl.DSQueueBuffer(stream, data.BufferHandle), "DSQueueBuffer");
        }
        return code == 0;
    });
    Check(gentl.DSStopAcquisition(stream, 0), "DSStopAcquisition");
    write(ACQUISITION, 0);
    Check(gentl.TLClose(tl), "TLClose");
}

// With the settings of the camera library.
void RunBare(const Task& task) {
    GError* error = nullptr;
    ArvDevice* const device = arv_open_device("Aravis-Fake-T1", &error);
    if (device == nullptr) {
        throw std::runtime_error(error->message);
    }
    arv_gv_device_set_packet_size_adjustment(ARV_GV_DEVICE(device),
                                             ARV_GV_PACKET_SIZE_ADJUSTMENT_ONCE);
    const auto write = [&](std::uint32_t address, std::uint32_t value) {
        arv_device_write_register(device, address, value, nullptr);
    };
    write(ACQUISITION, 0);
    write(WIDTH, task.width);
    write(HEIGHT, task.height);
    write(FRAME_PERIOD, task.period);
    ArvStream* const stream = arv_device_create_stream(device, nullptr, nullptr, &error);
    if (stream == nullptr) {
        throw std::runtime_error(error->message);
    }
    const std::size_t payload = std::size_t{task.width} * task.height;
    g_object_set(stream, "socket-buffer", ARV_GV_STREAM_SOCKET_BUFFER_FIXED, "socket-buffer-size",
                 static_cast<gint>(CLAMP(payload * 4, 1U << 20, 64U << 20)), "packet-resend",
                 ARV_GV_STREAM_PACKET_RESEND_ALWAYS, nullptr);
    const std::size_t numReceive = std::min(RECEIVE_MEMORY / payload, MOST_RECEIVE_BUFFERS);
    for (std::size_t i = 0; i < numReceive; ++i) {
        arv_stream_push_buffer(stream, arv_buffer_new_allocate(payload));
    }
    std::vector<std::vector<char>> images(NUM_BUFFERS, std::vector<char>(payload));
    std::size_t next = 0;
    write(ACQUISITION, 1);
    Measure("bare", task, [&] {
        ArvBuffer* const buffer = arv_stream_timeout_pop_buffer(stream, 1000000);
        if (buffer == nullptr) {
            return false;
        }
        const bool isWhole = arv_buffer_get_status(buffer) == ARV_BUFFER_STATUS_SUCCESS;
        std::size_t size = 0;
        const void* const data = arv_buffer_get_data(buffer, &size);
        std::memcpy(images[next++ % NUM_BUFFERS].data(), data, std::min(size, payload));
        arv_stream_push_buffer(stream, buffer);
        return isWhole;
    });
    write(ACQUISITION, 0);
    g_object_unref(stream);
    g_object_unref(device);
}

void Run(char** arguments) {
    const auto number = [&](int index) {
        return static_cast<std::uint32_t>(std::strtoul(arguments[index], nullptr, 10));
    };
    const Task task{number(2), number(3), number(4),
                    std::chrono::duration<double>(std::atof(arguments[5]))};
    const auto gentl = Producer::LoadFile(arguments[1]);
    Check(gentl->GCInitLib(), "GCInitLib");
    for (std::uint32_t round = 0; round < number(6); ++round) {
        RunModule(*gentl, task);
        RunBare(task);
    }
    Check(gentl->GCCloseLib(), "GCCloseLib");
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 7) {
        return 2;
    }
    try {
        Run(argv);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "norveltl_wire_bench: %s\n", failure.what());
        return 1;
    }
    return 0;
}
