// The command that shows producers, interfaces and cameras.
#pragma once

#include "terminal/Error.h"

#include <string>

namespace norveltl {

EExitCode List(const std::string& cti, bool json);

} // namespace norveltl
