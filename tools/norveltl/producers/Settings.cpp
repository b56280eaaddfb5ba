#include "producers/Settings.h"

#include "producers/SettingOrder.h"
#include "terminal/Console.h"
#include "terminal/Json.h"
#include "terminal/Names.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <map>
#include <set>

namespace norveltl {

namespace {

constexpr size_t kMaxValues = 65536; // of a selector
constexpr double kTolerance = 1e-6;  // what registers of 32 bits lose

std::optional<double> NumberIn(const std::string& text) {
    double number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isWhole = result.ec == std::errc() && result.ptr == text.data() + text.size();
    return isWhole ? std::optional(number) : std::nullopt;
}

// Whether a feature that is to have one value has it.
bool IsSame(const std::string& kind, const std::string& wanted, const std::string& actual) {
    if (kind == "Float") {
        const auto one = NumberIn(wanted);
        const auto other = NumberIn(actual);
        return one && other &&
               std::abs(*one - *other) <= kTolerance * std::max(std::abs(*one), std::abs(*other));
    }
    if (kind == "Boolean") {
        return wanted == actual || wanted == (actual == "true" ? "1" : "0");
    }
    return kind == "Enumeration" ? EqualsIgnoringCase(wanted, actual) : wanted == actual;
}

std::vector<std::string> ValuesOf(const SFeature& selector) {
    if (selector.kind == "Enumeration") {
        return selector.entries;
    }
    if (selector.kind == "Boolean") {
        return {"false", "true"};
    }
    std::vector<std::string> values;
    if (selector.kind == "Integer" && selector.min && selector.max) {
        const int64_t max = std::stoll(*selector.max);
        const int64_t step = std::max<int64_t>(std::stoll(selector.increment.value_or("1")), 1);
        for (int64_t value = std::stoll(*selector.min); value <= max; value += step) {
            values.push_back(std::to_string(value));
            const uint64_t left = static_cast<uint64_t>(max) - static_cast<uint64_t>(value);
            if (values.size() > kMaxValues || left < static_cast<uint64_t>(step)) {
                break;
            }
        }
    }
    return values;
}

// Walks selectors, and gives them their values back.
class CReader {
public:
    explicit CReader(const CFeatures& features) : m_features(features) {}

    SSettings Read() {
        for (const SSettingGroup& group : OrderedSettings(m_features)) {
            Walk(group, 0);
        }
        return std::move(m_settings);
    }

private:
    void Walk(const SSettingGroup& group, size_t level) {
        if (level == group.selectors.size()) {
            for (const std::string& name : group.features) {
                Add(m_features.Describe(name), level);
            }
            return;
        }
        const SFeature selector = m_features.Describe(group.selectors[level]);
        if (!selector.value) {
            return;
        }
        const size_t before = m_settings.list.size();
        std::vector<std::string> values = ValuesOf(selector);
        if (values.size() > kMaxValues || selector.access != "RW") {
            m_settings.notes.push_back("of " + selector.name + " the present value only is saved");
            values = {*selector.value};
        }
        try {
            for (const std::string& value : values) {
                WalkUnder(group, level, selector, value);
            }
        } catch (...) {
            Restore(selector);
            throw;
        }
        Restore(selector);
        if (m_settings.list.size() > before) {
            m_settings.list.push_back({selector.name, *selector.value, level, 0});
        }
    }

    void WalkUnder(const SSettingGroup& group, size_t level, const SFeature& selector,
                   const std::string& value) {
        if (selector.access == "RW") {
            m_features.Set(selector.name, value);
        }
        m_settings.list.push_back({selector.name, value, level, 0});
        const size_t before = m_settings.list.size();
        Walk(group, level + 1);
        if (m_settings.list.size() == before) {
            m_settings.list.pop_back();
        }
    }

    void Restore(const SFeature& selector) {
        if (selector.access == "RW") {
            m_features.Set(selector.name, *selector.value);
        }
    }

    void Add(const SFeature& feature, size_t level) {
        if (!feature.error.empty()) {
            m_settings.errors.push_back(feature.name + " is left out: " + feature.error);
        } else if (feature.access == "RO") {
            m_settings.notes.push_back(feature.name + " is left out: it is locked or read-only");
        } else if (feature.access == "RW" && feature.value) {
            m_settings.list.push_back({feature.name, *feature.value, level, 0});
        }
    }

    const CFeatures& m_features;
    SSettings m_settings;
};

// One run through the settings, with what was not done and what is not so.
class CWriter {
public:
    CWriter(const CFeatures& features, const std::vector<SSetting>& settings)
        : m_features(features), m_settings(settings), m_selectors(AllSelectors(features)) {}

    void Write() {
        m_refused.clear();
        Run([this](const SSetting& setting, const SFeature& feature) {
            if (!feature.value || !IsSame(feature.kind, setting.value, *feature.value)) {
                m_features.Set(setting.name, setting.value);
            }
        });
    }

    std::vector<SDifference> Differences() {
        const std::map<const SSetting*, std::string> refused = std::exchange(m_refused, {});
        Run([&](const SSetting& setting, const SFeature& feature) {
            if (!feature.value || !IsSame(feature.kind, setting.value, *feature.value)) {
                const auto known = refused.find(&setting);
                throw CToolError(known != refused.end()
                                     ? known->second
                                     : feature.name + " is " +
                                           Printable(feature.value.value_or("unreadable")) +
                                           " instead of " + Printable(setting.value));
            }
        });
        std::vector<SDifference> differences;
        for (const SSetting& setting : m_settings) {
            if (const auto known = m_refused.find(&setting); known != m_refused.end()) {
                differences.push_back({&setting, known->second});
            }
        }
        return differences;
    }

private:
    // Selectors are set each time; without theirs, features are out of reach.
    template <class W>
    void Run(W work) {
        std::set<std::string> lost;
        for (const SSetting& setting : m_settings) {
            try {
                const SFeature feature = m_features.Describe(setting.name);
                if (!feature.selects.empty()) {
                    lost.insert(feature.name);
                    if (feature.value != setting.value) {
                        m_features.Set(feature.name, setting.value);
                    }
                    lost.erase(feature.name);
                    continue;
                }
                for (const std::string& selector : SelectorsOf(m_selectors, feature.name)) {
                    if (lost.contains(selector)) {
                        throw CToolError(feature.name + " is not set: " + selector +
                                         " has not the value before it");
                    }
                }
                work(setting, feature);
            } catch (const std::runtime_error& error) {
                m_refused[&setting] = error.what();
            }
        }
    }

    const CFeatures& m_features;
    const std::vector<SSetting>& m_settings;
    std::map<const SSetting*, std::string> m_refused;
    const Selectors m_selectors;
};

bool IsPlain(const std::string& value) {
    const auto isBlank = [](char c) { return c == ' ' || c == '\t'; };
    const bool hasControl = std::ranges::any_of(
        value, [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; });
    return value.empty() || (!hasControl && value.front() != '"' && !isBlank(value.front()) &&
                             !isBlank(value.back()));
}

std::string Unquoted(const std::string& value) {
    if (!value.starts_with("\"")) {
        return value;
    }
    const Json json = Json::parse(value, nullptr, false);
    if (!json.is_string()) {
        throw CToolError(Printable(value) + " is no text in quotes", kWrongUsage);
    }
    return json.get<std::string>();
}

} // namespace

SSettings ReadSettings(const CFeatures& features) {
    return CReader(features).Read();
}

std::vector<SDifference> ApplySettings(const CFeatures& features,
                                       const std::vector<SSetting>& settings) {
    CWriter writer(features, settings);
    size_t before = std::numeric_limits<size_t>::max();
    while (true) {
        writer.Write();
        std::vector<SDifference> differences = writer.Differences();
        if (differences.empty() || differences.size() >= before) {
            return differences;
        }
        before = differences.size();
    }
}

std::string ToText(const std::vector<SSetting>& settings) {
    std::string text;
    for (const SSetting& setting : settings) {
        text += std::string(2 * setting.level, ' ') + setting.name + "=" +
                (IsPlain(setting.value) ? setting.value : ToLine(setting.value)) + "\n";
    }
    return text;
}

std::string SettingsText(const SDevice& device, const SSettings& settings) {
    if (settings.list.empty()) {
        throw CToolError("the camera's description calls no feature streamable");
    }
    const auto text = [](const OptionalText& its) {
        return Printable(its.value_or("not reported"));
    };
    return "# Settings of " + Printable(device.id) + ": " + text(device.vendor) + " " +
           text(device.model) + ", serial number " + text(device.serialNumber) + "\n" +
           ToText(settings.list);
}

std::vector<SSetting> ParseSettings(const std::string& text, const std::string& file) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    std::vector<SSetting> settings;
    size_t number = 0;
    for (size_t begin = text.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0;
         begin < text.size();) {
        const size_t end = std::min(text.find('\n', begin), text.size());
        std::string line = text.substr(begin, end - begin);
        begin = end + 1;
        ++number;
        if (line.ends_with('\r')) {
            line.pop_back();
        }
        line.erase(0, std::min(line.find_first_not_of(" \t"), line.size()));
        if (line.empty() || line.starts_with('#')) {
            continue;
        }
        try {
            auto [name, value] = ParseAssignment(line);
            settings.push_back({name, Unquoted(value), 0, number});
        } catch (const CToolError& error) {
            throw CToolError(file + ":" + std::to_string(number) + ": " + error.what(),
                             kWrongUsage);
        }
    }
    return settings;
}

} // namespace norveltl
