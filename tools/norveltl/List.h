// The command that shows what there is.
#pragma once

#include "Error.h"

#include <string>

namespace norveltl {

// Prints producers, interfaces and cameras as a tree; kNothingFound without a camera,
// kFailed when a module or an interface could not be searched.
EExitCode List(const std::string& cti);

} // namespace norveltl
