#include "grabbing/CameraGrab.h"

#include "grabbing/GrabReport.h"
#include "terminal/Console.h"

#include <algorithm>

namespace norveltl {

namespace {

// Errors on the way are reported at once, so that the totals still follow.
template <class W>
void Attempt(W work) {
    try {
        work();
    } catch (const std::exception& error) {
        ReportError(error.what());
    }
}

} // namespace

CCameraGrab::CCameraGrab(const SChoice& choice, const SGrabOptions& options)
    : m_choice(choice),
      m_options(options),
      m_device(OpenDevice(choice)),
      m_camera(choice.system->Producer(), m_device.Get()) {
    m_camera.Set(options.settings);
    CStream& stream = m_stream.emplace(choice.system->Producer(), m_device.Get());
    const std::optional<uint64_t> known = stream.PayloadSize();
    m_payloadSize = static_cast<size_t>(known ? *known : m_camera.PayloadSize());
    m_numBuffers = std::max(options.numBuffers, static_cast<size_t>(stream.MinBuffers()));
    stream.Announce(m_payloadSize, m_numBuffers);
    m_loop.emplace(stream, m_camera, m_options);
}

void CCameraGrab::Run() {
    Attempt([&] {
        const CAcquisition acquisition(*m_stream, m_camera);
        // What ended the images is told before what the stop fails with.
        Attempt([&] { m_loop->Run(); });
    });
    Attempt([&] { m_loop->Finish(); });
    if (m_loop->Folder()) {
        Attempt([&] { WriteGrabReport(*m_loop, m_choice, ExistingOf(m_options)); });
    }
    const auto& writer = m_loop->Writer();
    if (writer && writer->NumLeftOut() > 0) {
        ReportError(std::to_string(writer->NumLeftOut()) +
                    " images could not be written in time and are left out\n"
                    "  Try --format raw, a faster disk, a larger --queue, or a lower frame rate.");
    }
}

} // namespace norveltl
