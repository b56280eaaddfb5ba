#include "producers/EventReader.h"

#include "producers/FeatureJson.h"
#include "producers/Modules.h"

#include <array>
#include <cstdio>

namespace norveltl {

SEventSources OpenEventSources(const CSystem& system, DEV_HANDLE device) {
    SEventSources opened;
    const auto add = [&](const char* name, void* module, EVENT_TYPE type) {
        try {
            opened.sources.push_back(std::make_unique<CEventSource>(
                system.Producer(), system.IsNorvelTL(), name, module, type));
        } catch (const CCallError& error) {
            opened.lacking.push_back(std::string("no ") + name + " events: " + error.what());
        }
    };
    add("camera", RemotePort(system.Producer(), device), EVENT_REMOTE_DEVICE);
    add("device error", device, EVENT_ERROR);
    return opened;
}

std::string Hex(const std::vector<uint8_t>& bytes) {
    std::string text;
    for (size_t i = 0; i < bytes.size(); ++i) {
        std::array<char, 4> byte{};
        std::snprintf(byte.data(), byte.size(), "%02x", bytes[i]);
        text += (i > 0 && i % 4 == 0 ? " " : "") + std::string(byte.data());
    }
    return text;
}

Json ToJson(const SEvent& event) {
    const SEventFacts& facts = event.facts;
    Json json{{"source", event.source}};
    json["id"] = facts.id ? Json(*facts.id) : Json(facts.idText);
    json["name"] = event.name.empty() ? Json() : Json(event.name);
    json["value"] = facts.value ? Json(*facts.value) : Json();
    json["timestamp"] = facts.timestamp ? Json(*facts.timestamp) : Json();
    json["text"] = facts.text;
    json["data"] = Json::object();
    for (const auto& [key, feature] : event.data) {
        if (feature.value) {
            json["data"][key] = ValueOf(feature.kind, *feature.value);
        }
    }
    json["bytes"] = Hex(event.bytes);
    return json;
}

CEventReader::CEventReader(const CFeatures* features) : m_features(features) {
    if (features) {
        m_names = EventNames(*features);
    }
}

SEvent CEventReader::Read(const CEventSource& source, std::vector<uint8_t> bytes,
                          bool withData) const {
    SEvent event{source.Name(), source.Facts(bytes), {}, {}, std::move(bytes)};
    const auto known = event.facts.id ? m_names.find(*event.facts.id) : m_names.end();
    if (known == m_names.end()) {
        return event;
    }
    event.name = known->second.name;
    if (withData) {
        for (const auto& [key, feature] : known->second.data) {
            event.data.emplace_back(key, m_features->Describe(feature));
        }
    }
    return event;
}

} // namespace norveltl
