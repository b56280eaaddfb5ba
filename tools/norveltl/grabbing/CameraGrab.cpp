#include "grabbing/CameraGrab.h"

#include "grabbing/GrabReport.h"
#include "terminal/Console.h"

#include <algorithm>
#include <utility>

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

CCameraGrab::CCameraGrab(const SChoice& choice, const SGrabOptions& options, std::string name)
    : m_choice(choice),
      m_options(options),
      m_name(std::move(name)),
      m_device(OpenDevice(choice)),
      m_camera(choice.system->Producer(), m_device.Get()) {
    m_camera.Set(options.settings);
    if (options.triggers) {
        m_trigger.emplace(m_camera);
    }
    CStream& stream = m_stream.emplace(choice.system->Producer(), m_device.Get());
    const std::optional<uint64_t> known = stream.PayloadSize();
    m_payloadSize = static_cast<size_t>(known ? *known : m_camera.PayloadSize());
    m_numBuffers = std::max(options.numBuffers, static_cast<size_t>(stream.MinBuffers()));
    stream.Announce(m_payloadSize, m_numBuffers);
    m_loop.emplace(stream, m_camera, m_options);
}

void CCameraGrab::Run() {
    const CSubject subject(m_name);
    Attempt([&] { Acquire(); });
    m_started = true;
    Attempt([&] { m_loop->Finish(); });
    if (m_loop->Folder()) {
        Attempt([&] {
            const auto& writer = m_loop->Writer();
            WriteGrabReport(*m_loop->Folder(), OriginJson(m_choice),
                            {m_loop->Totals(), m_loop->Settings(), m_loop->CameraFormat(),
                             writer->NumLeftOut(), Interrupted()},
                            ExistingOf(m_options));
        });
    }
    const auto& writer = m_loop->Writer();
    if (writer && writer->NumLeftOut() > 0) {
        ReportError(std::to_string(writer->NumLeftOut()) +
                    " images could not be written in time and are left out\n"
                    "  Try --format raw, a faster disk, a larger --queue, or a lower frame rate.");
    }
    m_failed = CSubject::HasFailed();
    m_ended = true;
}

void CCameraGrab::Acquire() {
    const CAcquisition acquisition(*m_stream, m_camera);
    const auto setAcquiring = [this](bool isAcquiring) {
        const std::lock_guard lock(m_triggering);
        m_isAcquiring = isAcquiring;
    };
    setAcquiring(true);
    m_started = true;
    // What ended the images is told before what the stop fails with.
    Attempt([&] { m_loop->Run(); });
    setAcquiring(false);
}

void CCameraGrab::Trigger() {
    const std::lock_guard lock(m_triggering);
    if (m_isAcquiring) {
        m_trigger->Fire();
    }
}

} // namespace norveltl
