// A camera on the wire for the contract tests, in a process of its own. It cannot be steered as the
// simulated ones can: a test that tries fails with a text that says so.
#include "Cameras.h"
#include "Producer.h"

#include <array>
#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

extern "C" char** environ;

namespace {

const bool s_isChosen = (Producer::Choose(VISION_MODULE), true);

// The camera at 127.0.0.1, which ends with this process. A camera that some test has broken starts
// again.
class CameraProcess {
public:
    CameraProcess() { Start(); }
    ~CameraProcess() { End(); }
    CameraProcess(const CameraProcess&) = delete;
    CameraProcess& operator=(const CameraProcess&) = delete;

    // As new: tests may have written anywhere.
    void Renew() {
        End();
        Start();
    }
    bool Resize(uint32_t width, uint32_t height) const {
        return Ask("size " + std::to_string(width) + " " + std::to_string(height));
    }
    bool Run() const { return Ask("run"); }
    bool Make(uint64_t count) const { return Ask("make " + std::to_string(count)); }

private:
    void Start() {
        std::array<int, 2> ends{};
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
            throw std::runtime_error("no way to the camera");
        }
        m_end = ends[0];
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, ends[1], 0);
        posix_spawn_file_actions_adddup2(&actions, ends[1], 1);
        std::array<std::string, 3> words = {CAMERA_HOST, "127.0.0.1", "T1"};
        std::array<char*, 4> arguments = {words[0].data(), words[1].data(), words[2].data()};
        const int failure =
            posix_spawn(&m_process, CAMERA_HOST, &actions, nullptr, arguments.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        close(ends[1]);
        if (failure != 0 || !Hear("ready\n")) {
            throw std::runtime_error("the camera does not start");
        }
    }

    void End() const {
        close(m_end);
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }

    bool Ask(std::string command) const {
        command += '\n';
        return send(m_end, command.data(), command.size(), MSG_NOSIGNAL) ==
                   static_cast<ssize_t>(command.size()) &&
               Hear("done\n");
    }

    bool Hear(std::string_view expected) const {
        std::string heard(expected.size(), '\0');
        return recv(m_end, heard.data(), heard.size(), MSG_WAITALL) ==
                   static_cast<ssize_t>(heard.size()) &&
               heard == expected;
    }

    pid_t m_process = 0;
    int m_end = -1;
};

CameraProcess& Camera() {
    static CameraProcess s_camera;
    return s_camera;
}

uint64_t NumSockets() {
    uint64_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        const auto target = std::filesystem::read_symlink(entry.path(), gone);
        count += !gone && target.string().starts_with("socket:") ? 1U : 0U;
    }
    return count;
}

uint64_t NumThreads() {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return static_cast<uint64_t>(std::distance(begin(tasks), end(tasks)));
}

} // namespace

namespace Cameras {

const char* const GREY_CAMERA = "Aravis-Fake-T1";
const uint32_t GREY_INDEX = 0;
const bool STARTS_AT_ONCE = false;
const char* const FIRST_INTERFACE = "GEV::GigEVision";

// Images of few packets: an image is lost when its next packet takes more than 100 ms, as on a busy
// machine, where this camera waits for a processor like anybody else.
void Prepare() {
    Camera().Renew();
    if (!Camera().Resize(64, 64)) {
        throw std::runtime_error("the camera does not take its size");
    }
}

void Release() {}

// It sends nothing before it is told to.
bool SetFrameRate(const std::string& camera, double framesPerSecond) {
    return camera == GREY_CAMERA &&
           (framesPerSecond < 0 || (framesPerSecond == 0 && Camera().Run()));
}

bool ProduceImages(const std::string& camera, uint64_t count) {
    return camera == GREY_CAMERA && Camera().Make(count);
}

bool SetImageSize(const std::string& camera, uint32_t width, uint32_t height) {
    return camera == GREY_CAMERA && Camera().Resize(width, height);
}

// Whatever is open at a camera holds sockets, and a stream that runs has a thread.
uint64_t NumOpen(OptivoObjectKind kind) {
    switch (kind) {
    case OPTIVO_OBJECT_DEVICE:
        return NumSockets();
    case OPTIVO_OBJECT_STREAM:
        return NumThreads();
    default:
        return 0;
    }
}

uint64_t NumMisuses() {
    return 0;
}

} // namespace Cameras
