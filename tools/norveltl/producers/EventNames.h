// What a camera's description calls its events, and which features tell more of them.
#pragma once

#include "producers/Features.h"

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace norveltl {

struct SEventName {
    std::string name;
    // What it is called beside the event's name, and the feature itself; of the event of its kind
    // that the camera reported last.
    std::vector<std::pair<std::string, std::string>> data;
};

// By the events' IDs: for each entry of EventSelector the feature "Event" + entry has the ID, and
// those whose names begin so have the data. Empty for descriptions that do not keep to that.
std::map<uint64_t, SEventName> EventNames(const CFeatures& features);

} // namespace norveltl
