// Hosts one of Aravis' GigE Vision cameras until its input ends or it is killed:
// camera_host ADDRESS SERIAL_NUMBER [LOST_PACKETS], the last from 0 to 1. Runs only where the
// loopback device is the only one. Answers "ready", and each line of input with "done":
// "size WIDTH HEIGHT" is that of its images; "make COUNT" sends so
// many.
#include <arv.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <sstream>
#include <string>
#include <thread>

#include <arpa/inet.h>
#include <net/if.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

constexpr guint32 STREAM_PORT = 0xD00;
constexpr guint32 FRAME_PERIOD = 2000; // in microseconds

bool IsAlone() {
    bool isAlone = true;
    struct if_nameindex* const all = if_nameindex();
    for (const struct if_nameindex* one = all; one != nullptr && one->if_index != 0; ++one) {
        isAlone = isAlone && std::strcmp(one->if_name, "lo") == 0;
    }
    if_freenameindex(all);
    return all != nullptr && isAlone;
}

class Registers {
public:
    explicit Registers(ArvFakeCamera* camera) : m_camera(camera) {}

    guint32 Read(guint32 address) const {
        guint32 value = 0;
        arv_fake_camera_read_register(m_camera, address, &value);
        return value;
    }
    void Write(guint32 address, guint32 value) const {
        arv_fake_camera_write_register(m_camera, address, value);
    }

private:
    ArvFakeCamera* m_camera;
};

// The camera looks at its registers when it gets a packet, such as the question who is there.
void Knock(const char* address) {
    static constexpr unsigned char QUESTION[] = {0x42, 0x01, 0x00, 0x02, 0x00, 0x00, 0x00, 0x01};
    sockaddr_in to = {};
    to.sin_family = AF_INET;
    to.sin_port = htons(3956);
    inet_pton(AF_INET, address, &to.sin_addr);
    const int out = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sendto(out, QUESTION, sizeof QUESTION, 0, reinterpret_cast<const sockaddr*>(&to), sizeof to);
    char answer = 0;
    recv(out, &answer, sizeof answer, 0);
    close(out);
}

class Host {
public:
    Host(ArvGvFakeCamera* camera, const char* address)
        : m_registers(arv_gv_fake_camera_get_fake_camera(camera)), m_address(address) {}

    void Serve() {
        for (;;) {
            pollfd input = {0, POLLIN, 0};
            if (poll(&input, 1, m_isRunning ? 10 : -1) == 0) {
                Start();
                continue;
            }
            std::string line;
            if (!std::getline(std::cin, line)) {
                return;
            }
            Do(std::istringstream(line));
            std::cout << "done" << std::endl;
        }
    }

private:
    void Do(std::istringstream line) {
        std::string command;
        guint32 first = 0;
        guint32 second = 0;
        line >> command >> first >> second;
        if (command == "size") {
            m_registers.Write(ARV_FAKE_CAMERA_REGISTER_WIDTH, first);
            m_registers.Write(ARV_FAKE_CAMERA_REGISTER_HEIGHT, second);
        } else if (command == "make") {
            Make(first);
        } else if (command == "run") {
            m_isRunning = true;
            m_registers.Write(ARV_FAKE_CAMERA_REGISTER_ACQUISITION_FRAME_PERIOD_US, FRAME_PERIOD);
        } else {
            std::cerr << "camera_host: unknown command " << command << '\n';
        }
    }

    // The camera learns where its images go when it starts.
    void Start() {
        if (const guint32 port = m_registers.Read(STREAM_PORT); port != m_port) {
            m_port = port;
            m_registers.Write(ARV_FAKE_CAMERA_REGISTER_ACQUISITION, 0);
            Knock(m_address);
            Knock(m_address); // which is answered when the camera has looked after the first
            m_registers.Write(ARV_FAKE_CAMERA_REGISTER_ACQUISITION, 1);
        }
    }

    void Make(guint32 count) {
        m_registers.Write(ARV_FAKE_CAMERA_REGISTER_TRIGGER_MODE, 1);
        m_registers.Write(ARV_FAKE_CAMERA_REGISTER_TRIGGER_SOURCE, 1);
        Start();
        for (guint32 i = 0; i < count; ++i) {
            m_registers.Write(ARV_FAKE_CAMERA_REGISTER_TRIGGER_SOFTWARE, 1);
            for (int wait = 0;
                 wait < 2000 && m_registers.Read(ARV_FAKE_CAMERA_REGISTER_TRIGGER_SOFTWARE) != 0;
                 ++wait) {
                std::this_thread::sleep_for(1ms);
            }
        }
    }

    const Registers m_registers;
    const char* const m_address;
    guint32 m_port = 0;
    bool m_isRunning = false;
};

} // namespace

int main(int argc, char** argv) {
    // Without this file the camera has a description of its own.
    arv_set_fake_camera_genicam_filename(std::getenv("CAMERA_DESCRIPTION"));
    if (argc < 3) {
        return 2;
    }
    if (!IsAlone()) {
        std::cerr << "camera_host: there is a network device beside the loopback device\n";
        return 1;
    }
    ArvGvFakeCamera* const camera = arv_gv_fake_camera_new(argv[1], argv[2]);
    if (camera == nullptr || !arv_gv_fake_camera_is_running(camera)) {
        std::cerr << "camera_host: the camera does not start\n";
        return 1;
    }
    if (argc > 3) {
        g_object_set(camera, "gvsp-lost-ratio", std::atof(argv[3]), nullptr);
    }
    std::cout << "ready" << std::endl;
    Host(camera, argv[1]).Serve();
    g_object_unref(camera);
    return 0;
}
