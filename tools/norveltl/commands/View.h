// The command that shows cameras in a browser.
#pragma once

#include "terminal/Error.h"

#include <string>
#include <vector>

namespace norveltl {

struct SViewOptions {
    std::vector<std::string> names; // cameras that are opened at once
    int port = 0;                   // any
    std::string listen;             // the address; empty for the loopback device
    std::string password;           // the file that holds it, "-" to ask for it; empty for none
    std::string keep = ".";         // the folder for snapshots and recordings
    bool noBrowser = false;
};

// Serves until the user interrupts.
EExitCode View(const std::string& cti, const SViewOptions& options);

} // namespace norveltl
