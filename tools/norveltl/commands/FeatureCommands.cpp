#include "commands/FeatureCommands.h"

#include "producers/Discovery.h"
#include "producers/Features.h"
#include "terminal/Console.h"
#include "terminal/Json.h"
#include "terminal/Table.h"

#include <iostream>

namespace norveltl {

namespace {

constexpr size_t kMaxShown = 40;

// Opens the camera and lets work see its features.
template <class W>
EExitCode WithFeatures(const std::string& cti, const SFeatureOptions& options, W work) {
    const SSystems systems = OpenSystems(cti);
    const SChoice choice = ChooseDevice(systems, options.device, false);
    const CProducer& producer = choice.system->Producer();
    const CHandle device = OpenDevice(choice);
    work(CFeatures(producer, RemotePort(producer, device.Get())));
    std::cout << std::flush;
    return kDone;
}

std::string Limits(const SFeature& feature) {
    if (!feature.entries.empty()) {
        std::string entries;
        for (const std::string& entry : feature.entries) {
            entries += (entries.empty() ? "" : " | ") + entry;
        }
        return entries;
    }
    std::string limits;
    if (feature.min || feature.max) {
        limits = feature.min.value_or("") + " .. " + feature.max.value_or("");
    }
    if (feature.increment) {
        limits += " step " + *feature.increment;
    }
    return limits;
}

std::string Shown(const SFeature& feature) {
    std::string value = Printable(feature.value.value_or(""));
    if (value.size() > kMaxShown) {
        value = value.substr(0, kMaxShown) + "...";
    }
    return feature.unit.empty() ? value : value + " " + Printable(feature.unit);
}

void Print(const std::vector<SFeature>& features) {
    std::string category;
    CTable table({"", "kind", "access", "value", "limits"});
    for (const SFeature& feature : features) {
        if (feature.category != category) {
            table.Add({category = feature.category, "", "", "", ""});
        }
        table.Add(
            {"  " + feature.name, feature.kind, feature.access, Shown(feature), Limits(feature)});
    }
    table.Print(std::cout);
    for (const SFeature& feature : features) {
        if (!feature.error.empty()) {
            std::cout << "note: " << feature.name << ": " << feature.error << "\n";
        }
    }
}

// Numbers as numbers, as far as JSON has them.
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
    json["access"] = feature.access;
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

} // namespace

EExitCode ListFeatures(const std::string& cti, const SFeatureOptions& options) {
    return WithFeatures(cti, options, [&](const CFeatures& features) {
        std::vector<SFeature> listed;
        for (const std::string& name : options.names) {
            listed.push_back(features.Describe(name));
        }
        if (options.names.empty()) {
            listed = features.All();
        }
        if (!options.json) {
            return Print(listed);
        }
        Json json = Json::array();
        for (const SFeature& feature : listed) {
            json.push_back(ToJson(feature));
        }
        std::cout << ToText(json) << "\n";
    });
}

EExitCode GetFeatures(const std::string& cti, const SFeatureOptions& options) {
    return WithFeatures(cti, options, [&](const CFeatures& features) {
        for (const std::string& name : options.names) {
            if (options.names.size() > 1) {
                std::cout << name << "=";
            }
            std::cout << Printable(features.Get(name)) << "\n";
        }
    });
}

EExitCode SetFeatures(const std::string& cti, const SFeatureOptions& options) {
    std::vector<std::pair<std::string, std::string>> assignments;
    for (const std::string& text : options.names) {
        assignments.push_back(ParseAssignment(text));
    }
    return WithFeatures(cti, options, [&](const CFeatures& features) {
        for (const auto& [name, value] : assignments) {
            features.Set(name, value);
        }
    });
}

EExitCode ExecuteCommands(const std::string& cti, const SFeatureOptions& options) {
    return WithFeatures(cti, options, [&](const CFeatures& features) {
        for (const std::string& name : options.names) {
            features.Execute(name);
        }
    });
}

} // namespace norveltl
