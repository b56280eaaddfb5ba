// Takes images of a camera for as long as it takes, also when its cable is pulled meanwhile: waits
// until the camera is there again and goes on.
// recover [MODULE.cti] [CAMERA [IMAGES [SECONDS]]]: CAMERA is a part of the camera's ID; it gives
// up when the camera stays away for so many seconds, 60 if not told.
#include "session.h"

#include <chrono>
#include <thread>

namespace {

// An unplugged camera wakes no wait: the wait fails when its time is over.
constexpr std::uint64_t kImageMs = 500;
constexpr std::chrono::milliseconds kRetry{100};

class Patience {
public:
    explicit Patience(double seconds) : m_seconds(seconds) { Renew(); }
    void Renew() { m_end = std::chrono::steady_clock::now() + m_seconds; }
    bool IsOver() const { return std::chrono::steady_clock::now() >= m_end; }

private:
    std::chrono::duration<double> m_seconds;
    std::chrono::time_point<std::chrono::steady_clock, std::chrono::duration<double>> m_end;
};

// Whether the stream still acquires; the camera's absence ends the acquisition.
bool IsGrabbing(const Session& session, const Camera& camera) {
    bool8_t grabbing = 0;
    size_t size = sizeof grabbing;
    session.Check("DSGetInfo", session.Gentl().DSGetInfo(camera.Stream(), STREAM_INFO_IS_GRABBING,
                                                         nullptr, &grabbing, &size));
    return grabbing != 0;
}

// Takes images until there are enough, or the camera is gone, which it reports.
void AcquireWhileThere(const Session& session, const Camera& camera, int wanted, int& count,
                       Patience& patience) {
    try {
        camera.Start();
        while (count < wanted) {
            if (BUFFER_HANDLE buffer = camera.Wait(kImageMs).BufferHandle) {
                ++count;
                patience.Renew();
                camera.Queue(buffer);
            } else if (!IsGrabbing(session, camera)) {
                break;
            }
        }
    } catch (const CallError& error) {
        std::cout << "after " << count << " images: " << error.what() << std::endl;
    }
}

// The camera and its stream are closed when this returns: what was open when the cable was pulled
// stays dead, and a camera that is still open cannot be opened anew.
bool OpenAndAcquire(const Session& session, const std::string& wanted, int numImages, int& count,
                    Patience& patience) {
    try {
        const FoundCamera found = FindCamera(session, wanted);
        const Camera camera(session, found.iface->Handle(), found.id);
        std::cout << "camera " << found.id << std::endl;
        AcquireWhileThere(session, camera, numImages, count, patience);
    } catch (const std::runtime_error& error) {
        std::cout << "waiting: " << error.what() << std::endl;
    }
    return count >= numImages;
}

} // namespace

int main(int argc, char** argv) {
    return Run([&] {
        const Session session(argc, argv);
        const std::string wanted = argc > 1 ? argv[1] : "";
        const int numImages = argc > 2 ? std::stoi(argv[2]) : 1000;
        Patience patience(argc > 3 ? std::stod(argv[3]) : 60);
        int count = 0;
        while (!OpenAndAcquire(session, wanted, numImages, count, patience)) {
            if (patience.IsOver()) {
                throw std::runtime_error("the camera stays away");
            }
            std::this_thread::sleep_for(kRetry);
        }
        std::cout << count << " images" << std::endl;
    });
}
