// The command that does several steps with a camera's features while it stays open.
#pragma once

#include "terminal/Error.h"

#include <string>
#include <vector>

namespace norveltl {

struct SRunOptions {
    std::string device; // as ChooseDevice takes it; empty where the first word may name it
    // Each step's verb, "set", "get", "exec" or "wait", and what it is about; before them perhaps
    // the camera's name.
    std::vector<std::string> words;
    std::string file; // whose lines are further steps; empty for none
};

// Nothing is done before all steps are understood; the first that fails ends it.
EExitCode Run(const std::string& cti, const SRunOptions& options);

} // namespace norveltl
