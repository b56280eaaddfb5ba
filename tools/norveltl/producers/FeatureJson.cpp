#include "producers/FeatureJson.h"

namespace norveltl {

Json ValueOf(const std::string& kind, const std::string& text) {
    if (kind == "Integer" || kind == "Float" || kind == "Boolean") {
        Json value = Json::parse(text, nullptr, false);
        if (!value.is_discarded()) {
            return value;
        }
    }
    return text;
}

Json ToJson(const SFeature& feature) {
    Json json{{"name", feature.name}, {"category", feature.category}, {"kind", feature.kind}};
    const auto add = [&](const char* key, const std::optional<std::string>& value) {
        if (value) {
            json[key] = ValueOf(feature.kind, *value);
        }
    };
    json["visibility"] = feature.visibility;
    json["access"] = feature.access;
    if (feature.isLocked) {
        json["locked"] = true;
    }
    add("value", feature.value);
    add("min", feature.min);
    add("max", feature.max);
    add("increment", feature.increment);
    if (!feature.unit.empty()) {
        json["unit"] = feature.unit;
    }
    if (!feature.entries.empty()) {
        json["entries"] = feature.entries;
    }
    if (!feature.selects.empty()) {
        json["selects"] = feature.selects;
    }
    if (!feature.toolTip.empty()) {
        json["toolTip"] = feature.toolTip;
    }
    if (!feature.error.empty()) {
        json["error"] = feature.error;
    }
    return json;
}

} // namespace norveltl
