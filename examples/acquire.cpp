// Takes ten images of a camera and tells how bright they are.
// acquire_cpp [MODULE.cti] [CAMERA]: CAMERA is a part of the camera's ID.
#include "session.h"

#include <numeric>

namespace {

constexpr int kNumImages = 10;
constexpr std::uint64_t kImageMs = 5000;

double MeanByte(const Session& session, DS_HANDLE stream, BUFFER_HANDLE buffer, size_t length) {
    void* base = nullptr;
    size_t size = sizeof base;
    session.Check("DSGetBufferInfo", session.Gentl().DSGetBufferInfo(
                                         stream, buffer, BUFFER_INFO_BASE, nullptr, &base, &size));
    const auto* bytes = static_cast<const std::uint8_t*>(base);
    return std::accumulate(bytes, bytes + length, 0.0) / static_cast<double>(length);
}

void Acquire(const Session& session, const std::string& wanted) {
    const FoundCamera found = FindCamera(session, wanted);
    std::cout << "camera " << found.id << '\n';
    const Camera camera(session, found.iface->Handle(), found.id);
    const size_t length = camera.PayloadSize();
    camera.Start();
    for (int number = 1; number <= kNumImages; ++number) {
        auto* const buffer = camera.Wait(kImageMs).BufferHandle;
        if (buffer == nullptr) {
            throw std::runtime_error("no image came");
        }
        std::cout << "image " << number << ": " << length << " bytes, mean "
                  << MeanByte(session, camera.Stream(), buffer, length) << '\n';
        camera.Queue(buffer);
    }
    camera.Stop();
}

} // namespace

int main(int argc, char** argv) {
    return Run([&] {
        const Session session(argc, argv);
        Acquire(session, argc > 1 ? argv[1] : "");
    });
}
