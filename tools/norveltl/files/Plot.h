// A picture of a sample of durations, one after the other. Knows nothing of where they come from.
#pragma once

#include "files/Image.h"

#include <vector>

namespace norveltl {

// Values in milliseconds from left to right; lines across the picture are labelled in milliseconds.
SPicture PlotOf(const std::vector<double>& sample);

} // namespace norveltl
