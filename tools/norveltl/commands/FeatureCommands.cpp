#include "commands/FeatureCommands.h"

#include "files/InputFile.h"
#include "files/OutputFile.h"
#include "producers/Discovery.h"
#include "producers/FeatureJson.h"
#include "producers/Features.h"
#include "producers/Settings.h"
#include "terminal/Console.h"
#include "terminal/Table.h"

#include <iostream>

namespace norveltl {

namespace {

using Words = std::vector<std::string>;

constexpr size_t kMaxShown = 40;

EExisting ExistingOf(const SFeatureOptions& options) {
    return options.force ? EExisting::Replace : EExisting::Keep;
}

// Opens the camera and lets work see its features.
template <class W>
EExitCode WithFeatures(const std::string& cti, const std::string& name, W work) {
    const SSystems systems = OpenSystems(cti);
    const SChoice choice = ChooseDevice(systems, name, false);
    const CProducer& producer = choice.system->Producer();
    const CHandle device = OpenDevice(choice);
    work(CFeatures(producer, RemotePort(producer, device.Get())));
    std::cout << std::flush;
    return kDone;
}

// The same where the camera's name may be the first of the words, of which work sees the others.
template <class W>
EExitCode WithWords(const std::string& cti, const SFeatureOptions& options, bool needsWords,
                    W work) {
    Words words = options.names;
    const SSystems systems = OpenSystems(cti);
    const bool isNamed = !options.device.empty() || words.empty();
    const SChoice choice = isNamed ? ChooseDevice(systems, options.device, false)
                                   : ChooseDeviceBefore(systems, words.front());
    const CProducer& producer = choice.system->Producer();
    const CHandle device = OpenDevice(choice);
    const CFeatures features(producer, RemotePort(producer, device.Get()));
    if (!isNamed) {
        const ENamed how = BestNamed({choice}, words.front());
        // A part of a name may be a feature of the only camera as well.
        if (how > ENamed::Partly || (how == ENamed::Partly && (AllDevices(systems).size() > 1 ||
                                                               !features.Knows(words.front())))) {
            words.erase(words.begin());
        }
    }
    if (needsWords && words.empty()) {
        throw CToolError("no feature is named", kWrongUsage);
    }
    work(features, words, *choice.device);
    std::cout << std::flush;
    return ErrorReported() ? kFailed : kDone;
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

// All features where none is named.
void List(const CFeatures& features, const Words& names, bool json) {
    std::vector<SFeature> listed;
    listed.reserve(names.size());
    for (const std::string& name : names) {
        listed.push_back(features.Describe(name));
    }
    if (names.empty()) {
        listed = features.All();
    }
    if (!json) {
        return Print(listed);
    }
    Json list = Json::array();
    for (const SFeature& feature : listed) {
        list.push_back(ToJson(feature));
    }
    std::cout << ToText(list) << "\n";
}

void Save(const CFeatures& features, const SDevice& device, const SFeatureOptions& options) {
    const SSettings settings = ReadSettings(features);
    for (const std::string& note : settings.notes) {
        Note(note);
    }
    for (const std::string& error : settings.errors) {
        ReportError(error);
    }
    const std::string text = SettingsText(device, settings);
    WriteFile(PathFromUtf8(options.save),
              {reinterpret_cast<const uint8_t*>(text.data()), text.size()}, ExistingOf(options));
}

void Load(const CFeatures& features, const std::vector<SSetting>& settings,
          const std::string& file) {
    const std::vector<SDifference> differences = ApplySettings(features, settings);
    for (const SDifference& difference : differences) {
        ReportError(file + ":" + std::to_string(difference.setting->line) + ": " +
                    difference.reason);
    }
    std::cout << "taken       " << settings.size() - differences.size() << " of " << settings.size()
              << "\n";
}

} // namespace

EExitCode ListFeatures(const std::string& cti, const SFeatureOptions& options) {
    std::vector<SSetting> settings;
    if (!options.load.empty()) {
        settings = ParseSettings(ReadFile(PathFromUtf8(options.load)), options.load);
    }
    CheckPlace(PathFromUtf8(options.save), ExistingOf(options));
    const auto work = [&](const CFeatures& features, const Words& names, const SDevice& device) {
        if (options.save.empty() && options.load.empty()) {
            return List(features, names, options.json);
        }
        if (!names.empty()) {
            throw CToolError("--save and --load are for all settings, not for " +
                                 Printable(names.front()),
                             kWrongUsage);
        }
        return options.save.empty() ? Load(features, settings, options.load)
                                    : Save(features, device, options);
    };
    return WithWords(cti, options, false, work);
}

EExitCode GetFeatures(const std::string& cti, const SFeatureOptions& options) {
    const auto work = [&](const CFeatures& features, const Words& names, const SDevice&) {
        Json json = Json::object();
        for (const std::string& name : names) {
            if (options.json) {
                json[features.NameOf(name)] = ValueOf(features.KindOf(name), features.Get(name));
                continue;
            }
            if (names.size() > 1) {
                std::cout << features.NameOf(name) << "=";
            }
            std::cout << Printable(features.Get(name)) << "\n";
        }
        if (options.json) {
            std::cout << ToText(json) << "\n";
        }
    };
    return WithWords(cti, options, true, work);
}

EExitCode SetFeatures(const std::string& cti, const SFeatureOptions& options) {
    Words words = options.names;
    std::string device = options.device;
    if (device.empty() && words.size() > 1 && words.front().find('=') == std::string::npos) {
        device = words.front();
        words.erase(words.begin());
    }
    std::vector<std::pair<std::string, std::string>> assignments;
    assignments.reserve(words.size());
    for (const std::string& text : words) {
        assignments.push_back(ParseAssignment(text));
    }
    return WithFeatures(cti, device, [&](const CFeatures& features) {
        for (const auto& [name, value] : assignments) {
            features.Set(name, value);
        }
    });
}

EExitCode ExecuteCommands(const std::string& cti, const SFeatureOptions& options) {
    const auto work = [](const CFeatures& features, const Words& names, const SDevice&) {
        for (const std::string& name : names) {
            features.Execute(name);
        }
    };
    return WithWords(cti, options, true, work);
}

} // namespace norveltl
