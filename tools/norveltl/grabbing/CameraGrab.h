// One camera of a grab, from its opening to its report.
#pragma once

#include "grabbing/GrabLoop.h"
#include "grabbing/SoftwareTrigger.h"
#include "producers/Discovery.h"

#include <atomic>
#include <mutex>
#include <string>

namespace norveltl {

class CCameraGrab {
public:
    // Opens the camera, writes its settings and announces its buffers. Errors begin with the name,
    // if there is one. The systems behind the choice must outlive this object.
    CCameraGrab(const SChoice& choice, const SGrabOptions& options, std::string name);

    // Takes the images and writes the files; what fails on the way is reported, not thrown.
    void Run();

    // What follows is for other threads meanwhile. Started is true as soon as images may come, or
    // never will.
    bool HasStarted() const { return m_started; }
    bool HasEnded() const { return m_ended; }
    // Does nothing while no images are taken.
    void Trigger();

    const SChoice& Choice() const { return m_choice; }
    const std::string& Name() const { return m_name; }
    const CCameraFacts& Camera() const { return m_camera; }
    const SGrabOptions& Options() const { return m_options; }
    size_t NumBuffers() const { return m_numBuffers; }
    size_t PayloadSize() const { return m_payloadSize; }
    const CGrabLoop& Loop() const { return *m_loop; }
    // Once it has run.
    bool HasFailed() const { return m_failed; }

private:
    void Acquire();

    const SChoice m_choice;
    const SGrabOptions m_options;
    const std::string m_name;
    const CHandle m_device;
    const CCameraFacts m_camera;
    std::optional<CSoftwareTrigger> m_trigger;
    std::optional<CStream> m_stream;
    size_t m_payloadSize = 0;
    size_t m_numBuffers = 0;
    std::optional<CGrabLoop> m_loop;
    std::mutex m_triggering; // held while the camera is triggered, or stops taking images
    bool m_isAcquiring = false;
    std::atomic<bool> m_started{false}, m_ended{false};
    bool m_failed = false;
};

} // namespace norveltl
