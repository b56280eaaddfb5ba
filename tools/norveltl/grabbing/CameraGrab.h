// One camera of a grab, from its opening to its report. Of several, each runs on a thread of its
// own.
#pragma once

#include "grabbing/GrabLoop.h"
#include "producers/Discovery.h"

#include <string>

namespace norveltl {

class CCameraGrab {
public:
    // Opens the camera, writes its settings and announces its buffers. The systems behind the
    // choice must outlive this object.
    CCameraGrab(const SChoice& choice, const SGrabOptions& options);

    // Takes the images and writes the files; what fails on the way is reported, not thrown.
    void Run();

    const SChoice& Choice() const { return m_choice; }
    const CCameraFacts& Camera() const { return m_camera; }
    const SGrabOptions& Options() const { return m_options; }
    size_t NumBuffers() const { return m_numBuffers; }
    size_t PayloadSize() const { return m_payloadSize; }
    // Complete once it has run.
    const CGrabLoop& Loop() const { return *m_loop; }

private:
    const SChoice m_choice;
    const SGrabOptions m_options;
    const CHandle m_device;
    const CCameraFacts m_camera;
    std::optional<CStream> m_stream;
    size_t m_payloadSize = 0;
    size_t m_numBuffers = 0;
    std::optional<CGrabLoop> m_loop;
};

} // namespace norveltl
