// The events of a camera: where they come from, and what its description tells of each.
#pragma once

#include "producers/Discovery.h"
#include "producers/EventNames.h"
#include "producers/EventSource.h"
#include "terminal/Json.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace norveltl {

struct SEventSources {
    std::vector<std::unique_ptr<CEventSource>> sources;
    // A module need not have events of every kind; these say which it lacks and why.
    std::vector<std::string> lacking;
};

// The camera's own events and the errors of its device.
SEventSources OpenEventSources(const CSystem& system, DEV_HANDLE device);

struct SEvent {
    std::string source;
    SEventFacts facts;
    std::string name; // empty where the description has none
    // What tells more of it; a feature without a value could not be read.
    std::vector<std::pair<std::string, SFeature>> data;
    std::vector<uint8_t> bytes;
};

std::string Hex(const std::vector<uint8_t>& bytes);
// All but its time.
Json ToJson(const SEvent& event);

// Names events.
class CEventReader {
public:
    // features: null where there are none; lives longer than this object.
    explicit CEventReader(const CFeatures* features);

    // withData: asks the camera for it.
    SEvent Read(const CEventSource& source, std::vector<uint8_t> bytes, bool withData) const;

private:
    const CFeatures* const m_features;
    std::map<uint64_t, SEventName> m_names;
};

} // namespace norveltl
