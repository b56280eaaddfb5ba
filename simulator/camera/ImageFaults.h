// The faults that a test has planned for the images of a camera. Knows nothing of pixels or time.
#pragma once

#include "OptivoSim.h"
#include "base/Sync.h"

#include <atomic>
#include <optional>
#include <random>
#include <vector>

namespace OptivoSim {

using namespace OptivoBase;

// Thread-safe; an image of a camera without faults takes no lock.
class CImageFaults {
public:
    // Ignores a fault of no image.
    void Add(const OptivoImageFault& fault);

    // What goes wrong with the next image. The first fault that has no image left to skip decides;
    // those behind it do not count the image.
    std::optional<OptivoImageFault> Take();

private:
    struct SPlanned {
        OptivoImageFault fault;
        std::mt19937_64 random;
    };

    std::atomic<bool> m_hasAny{false};
    CMutex m_lock;
    std::vector<SPlanned> m_planned;
};

} // namespace OptivoSim
