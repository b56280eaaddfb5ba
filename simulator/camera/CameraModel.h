// What a camera is when the world is made, as the world file or the built-in world says it.
#pragma once

#include "OptivoSim.h"
#include "camera/TestPattern.h"

#include <cstdint>
#include <string>
#include <vector>

namespace OptivoSim {

// Events that a camera reports one after the other once it has made so many images.
struct SEventBurst {
    std::uint32_t eventId = 0;
    std::uint64_t value = 0;
    std::uint32_t count = 0;
    std::uint64_t afterImages = 0;
};

struct SCameraModel {
    std::string name;
    std::string vendor;
    std::string model;
    std::string version;
    std::string serialNumber;
    std::string userDefinedName;
    std::string tlType;
    std::string custom14; // network address or link speed
    std::string custom15; // hardware address or port path
    std::uint32_t status = 1;
    std::uint32_t numStreams = 1;
    SImageFormat format; // at full size; the sensor is as large
    ETestPattern pattern = ETestPattern::ColorBar;
    double frameRate = 0; // 0 is as fast as images are taken
    std::vector<OptivoImageFault> imageFaults;
    std::vector<SEventBurst> eventBursts;
    std::uint64_t unplugAfterImages = 0; // 0 is never
    std::uint32_t plugAfterUpdates = 0;  // 0 is never
};

} // namespace OptivoSim
