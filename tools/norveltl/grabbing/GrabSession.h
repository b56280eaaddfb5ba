// Cameras that take images at the same time, each on a thread of its own.
#pragma once

#include "grabbing/CameraGrab.h"

#include <iosfwd>
#include <memory>
#include <vector>

namespace norveltl {

class CGrabSession {
public:
    using Cameras = std::vector<std::unique_ptr<CCameraGrab>>;

    // At least one.
    explicit CGrabSession(Cameras cameras) : m_cameras(std::move(cameras)) {}

    // Until the last one has ended; shows meanwhile how far they have come, unless it is to be
    // quiet.
    void Run(std::ostream& out, bool isQuiet);

    const Cameras& All() const { return m_cameras; }

private:
    using Clock = std::chrono::steady_clock;

    SProgress State() const;
    double ShareDone(Clock::duration elapsed) const;
    bool HasEnded() const;
    void Trigger() const;

    const Cameras m_cameras;
};

} // namespace norveltl
