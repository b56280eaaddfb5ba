// The command that takes images from a camera.
#pragma once

#include "Error.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace norveltl {

struct SGrabOptions {
    std::string device;
    bool first = false;
    uint64_t count = 100;
    // Where images are written; empty for nowhere.
    std::string folder;
    size_t numBuffers = 8;
    // How long a grab goes on without any image.
    double timeoutSeconds = 5;
};

EExitCode Grab(const std::string& cti, const SGrabOptions& options);

} // namespace norveltl
