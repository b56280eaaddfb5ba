// Lets the camera fill memory of this program, and finds the frame again by its private pointer.
// own_memory [MODULE.cti] [CAMERA]: CAMERA is a part of the camera's ID.
#include "session.h"

namespace {

constexpr int kNumFrames = 3;
constexpr int kNumImages = 9;
constexpr std::uint64_t kImageMs = 5000;

// What this program keeps for each buffer; its address is the buffer's private pointer.
struct Frame {
    int number = 0;
    int timesFilled = 0;
    std::vector<std::uint8_t> pixels;
    BUFFER_HANDLE buffer = nullptr;
};

void Announce(const Session& session, const Camera& camera, Frame& frame) {
    frame.pixels.resize(camera.PayloadSize());
    session.Check("DSAnnounceBuffer",
                  session.Gentl().DSAnnounceBuffer(camera.Stream(), frame.pixels.data(),
                                                   frame.pixels.size(), &frame, &frame.buffer));
    camera.Queue(frame.buffer);
}

// The producer gives both pointers back; from here on the memory is this program's alone.
void Revoke(const Session& session, const Camera& camera, const Frame& frame) {
    void* memory = nullptr;
    void* own = nullptr;
    session.Check("DSRevokeBuffer",
                  session.Gentl().DSRevokeBuffer(camera.Stream(), frame.buffer, &memory, &own));
    if (memory != frame.pixels.data() || own != &frame) {
        throw std::runtime_error("another buffer was revoked");
    }
}

void Acquire(const Session& session, const std::string& wanted) {
    // Declared before the camera, so that the memory outlives the stream whatever fails.
    std::vector<Frame> frames(kNumFrames);
    const FoundCamera found = FindCamera(session, wanted);
    const Camera camera(session, found.iface->Handle(), found.id, 0);
    for (Frame& frame : frames) {
        frame.number = static_cast<int>(&frame - frames.data()) + 1;
        Announce(session, camera, frame);
    }
    camera.Start();
    for (int i = 0; i < kNumImages; ++i) {
        auto* frame = static_cast<Frame*>(camera.Wait(kImageMs).pUserPointer);
        if (frame == nullptr) {
            throw std::runtime_error("no image came");
        }
        ++frame->timesFilled;
        std::cout << "frame " << frame->number << ": " << frame->pixels.size() << " bytes\n";
        camera.Queue(frame->buffer);
    }
    camera.Stop();
    session.Check("DSFlushQueue",
                  session.Gentl().DSFlushQueue(camera.Stream(), ACQ_QUEUE_ALL_DISCARD));
    for (const Frame& frame : frames) {
        Revoke(session, camera, frame);
        std::cout << "frame " << frame.number << " was filled " << frame.timesFilled << " times\n";
    }
}

} // namespace

int main(int argc, char** argv) {
    return Run([&] {
        const Session session(argc, argv);
        Acquire(session, argc > 1 ? argv[1] : "");
    });
}
