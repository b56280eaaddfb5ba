#include "producers/EventNames.h"

namespace norveltl {

namespace {

constexpr const char* kSelector = "EventSelector";

// Data of FrameStart are none of an event Frame.
std::string LongestEntry(const std::vector<std::string>& entries, const std::string& feature) {
    std::string longest;
    for (const std::string& entry : entries) {
        if (entry.size() > longest.size() && feature.starts_with("Event" + entry)) {
            longest = entry;
        }
    }
    return longest;
}

} // namespace

std::map<uint64_t, SEventName> EventNames(const CFeatures& features) {
    if (!features.Has(kSelector)) {
        return {};
    }
    std::map<std::string, SEventName> events;
    const std::vector<std::string> entries = features.Describe(kSelector).entries;
    for (const SListed& listed : features.Names()) {
        const std::string entry = LongestEntry(entries, listed.name);
        const std::string id = "Event" + entry;
        if (!entry.empty() && listed.name != id) {
            events[entry].data.emplace_back(listed.name.substr(id.size()), listed.name);
        }
    }
    std::map<uint64_t, SEventName> byId;
    for (const std::string& entry : entries) {
        if (features.Has("Event" + entry)) {
            SEventName& event = events[entry];
            event.name = entry;
            byId[static_cast<uint64_t>(features.ReadInteger("Event" + entry))] = event;
        }
    }
    return byId;
}

} // namespace norveltl
