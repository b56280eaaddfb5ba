// The command that measures a camera's picture: exposure, focus, noise.
#pragma once

#include "terminal/Error.h"

#include <string>
#include <vector>

namespace norveltl {

struct SMeasureOptions {
    std::string device;
    std::vector<std::string> settings; // "NAME=VALUE", done first
    double timeoutSeconds = 5;
    std::string plot; // the file for the histogram; empty for none
    bool force = false;
    bool json = false;
};

EExitCode MeasureCamera(const std::string& cti, const SMeasureOptions& options);

} // namespace norveltl
