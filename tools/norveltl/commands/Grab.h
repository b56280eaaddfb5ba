// The command that takes images from a camera.
#pragma once

#include "grabbing/GrabOptions.h"
#include "terminal/Error.h"

#include <string>

namespace norveltl {

EExitCode Grab(const std::string& cti, const SGrabOptions& options);

} // namespace norveltl
