// The commands that list, read, write and execute a camera's features.
#pragma once

#include "terminal/Error.h"

#include <string>
#include <vector>

namespace norveltl {

struct SFeatureOptions {
    std::string device; // as ChooseDevice takes it; empty where the first word may name it
    std::vector<std::string> names;
    bool json = false;
    std::string save;   // a file for the camera's settings; empty for none
    std::string load;   // a file from which they come; empty for none
    bool force = false; // whether the file to save may exist already
};

// Saves or loads settings if that is wanted, which ends in failure where the camera has not taken
// them all as they are; else lists them. All features, or those that are named.
EExitCode ListFeatures(const std::string& cti, const SFeatureOptions& options);
// The value alone for one name, NAME=VALUE lines for several.
EExitCode GetFeatures(const std::string& cti, const SFeatureOptions& options);
// The names are assignments, which are done in their order.
EExitCode SetFeatures(const std::string& cti, const SFeatureOptions& options);
EExitCode ExecuteCommands(const std::string& cti, const SFeatureOptions& options);

} // namespace norveltl
