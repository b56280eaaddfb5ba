// Which features a camera's settings are, and which of them must be set before others.
#pragma once

#include "producers/Features.h"

#include <map>
#include <string>
#include <vector>

namespace norveltl {

// Features that the same selectors select, the outermost selector first; or one that none selects,
// and that selects none of the others.
struct SSettingGroup {
    std::vector<std::string> selectors;
    std::vector<std::string> features;
};

// What selects each feature that is selected.
using Selectors = std::map<std::string, std::vector<std::string>>;
Selectors AllSelectors(const CFeatures& features);
// All selectors on which a feature depends, those of its selectors too, the outermost first.
std::vector<std::string> SelectorsOf(const Selectors& selectors, const std::string& feature);

// The streamable features. Those on which the limits or the access of others depend come first, as
// far as they do not depend on each other; the others keep the description's order.
std::vector<SSettingGroup> OrderedSettings(const CFeatures& features);

} // namespace norveltl
