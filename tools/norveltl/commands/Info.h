// The command that shows every info answer of modules.
#pragma once

#include "terminal/Error.h"

#include <string>

namespace norveltl {

struct SInfoOptions {
    // A module's name; empty for the only camera with everything above and below it.
    std::string target;
    bool json = false;
};

EExitCode Info(const std::string& cti, const SInfoOptions& options);

} // namespace norveltl
