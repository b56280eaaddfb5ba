// Features as JSON.
#pragma once

#include "producers/Features.h"
#include "terminal/Json.h"

#include <string>

namespace norveltl {

// A value as CFeatures tells it: numbers as numbers, as far as JSON has them.
Json ValueOf(const std::string& kind, const std::string& text);
Json ToJson(const SFeature& feature);

} // namespace norveltl
