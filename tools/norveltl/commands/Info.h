// The command that shows every info answer of modules.
#pragma once

#include "terminal/Error.h"

#include <string>

namespace norveltl {

struct SInfoOptions {
    // A module's name; a camera's, or nothing for the only one, means everything above and below
    // it.
    std::string target;
    std::string device; // the camera's name, where the target has none
    bool json = false;
};

EExitCode Info(const std::string& cti, const SInfoOptions& options);

} // namespace norveltl
