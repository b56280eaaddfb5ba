// The command that shows events as they come.
#pragma once

#include "terminal/Error.h"

#include <optional>
#include <string>
#include <vector>

namespace norveltl {

struct SEventOptions {
    std::string device;
    std::optional<double> seconds;     // nothing: until the user interrupts
    std::vector<std::string> settings; // "NAME=VALUE", done first
    bool acquire = false;              // take images meanwhile, and drop them
    bool json = false;                 // a line for each event
};

EExitCode Events(const std::string& cti, const SEventOptions& options);

} // namespace norveltl
