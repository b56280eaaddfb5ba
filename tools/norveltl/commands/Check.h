// The command that uses a producer's cameras as consumers do, and judges the answers.
#pragma once

#include "terminal/Error.h"

#include <string>

namespace norveltl {

struct SCheckOptions {
    bool json = false;
    bool all = false;  // show what passed too
    std::string junit; // a file; empty for none
};

// Fails if any check failed; deviations are told only.
EExitCode Check(const std::string& cti, const SCheckOptions& options);

} // namespace norveltl
