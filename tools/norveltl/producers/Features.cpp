#include "producers/Features.h"

#include "producers/Description.h"
#include "terminal/Console.h"
#include "terminal/Names.h"

#include "genapi/Text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <utility>

namespace norveltl {

using GenApi::EAccess;
using GenApi::ParseInteger;
using GenApi::SNode;
using GenApi::Trim;

namespace {

constexpr unsigned kMaxDepth = 32;

// The shortest text that reads back as the same number.
std::string ToText(double value) {
    std::array<char, 32> text{};
    const auto result = std::to_chars(text.data(), text.data() + text.size(), value);
    return {text.data(), result.ptr};
}

std::string ToText(int64_t value) {
    return std::to_string(value);
}

template <class T>
std::optional<std::string> ToText(const std::optional<T>& value) {
    return value ? std::optional(ToText(*value)) : std::nullopt;
}

std::string HexText(const std::vector<uint8_t>& bytes) {
    constexpr const char* kDigits = "0123456789abcdef";
    std::string text;
    for (const uint8_t byte : bytes) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

// What kind of value a user sees behind a kind of node.
std::string UserKind(const std::string& kind) {
    constexpr std::array<std::pair<const char*, const char*>, 14> kKinds{{
        {"Integer", "Integer"},
        {"IntReg", "Integer"},
        {"MaskedIntReg", "Integer"},
        {"StructEntry", "Integer"},
        {"IntSwissKnife", "Integer"},
        {"IntConverter", "Integer"},
        {"Float", "Float"},
        {"FloatReg", "Float"},
        {"SwissKnife", "Float"},
        {"Converter", "Float"},
        {"String", "String"},
        {"StringReg", "String"},
        {"Boolean", "Boolean"},
        {"Enumeration", "Enumeration"},
    }};
    const auto* known = std::find_if(kKinds.begin(), kKinds.end(),
                                     [&](const auto& entry) { return kind == entry.first; });
    return known != kKinds.end() ? known->second : kind;
}

const char* AccessText(EAccess access) {
    switch (access) {
    case EAccess::NotImplemented:
        return "NI";
    case EAccess::NotAvailable:
        return "NA";
    case EAccess::WriteOnly:
        return "WO";
    case EAccess::ReadOnly:
        return "RO";
    default:
        return "RW";
    }
}

std::string Joined(const std::vector<std::string>& texts) {
    std::string joined;
    for (const std::string& text : texts) {
        joined += (joined.empty() ? "" : ", ") + text;
    }
    return joined;
}

std::string Visibility(const SNode& node, const std::string& least) {
    constexpr std::array<std::string_view, 4> kLevels{"Beginner", "Expert", "Guru", "Invisible"};
    const auto rank = [&](const std::string& level) {
        const auto* const found = std::find(kLevels.begin(), kLevels.end(), level);
        return found == kLevels.end() ? kLevels.begin() : found;
    };
    const auto* const own =
        std::max(rank(node.Text("Visibility")), rank(node.Text("ImposedVisibility")));
    return std::string(*std::max(own, rank(least)));
}

CToolError Refused(const SNode& node, const std::string& value, const std::string& reason) {
    return CToolError(node.name + " does not take \"" + Printable(value) + "\": " + reason);
}

// A value within the limits, as far as there are any.
template <class T>
void CheckLimits(const SNode& node, T value, std::optional<T> min, std::optional<T> max,
                 std::optional<T> increment) {
    const auto refused = [&](const std::string& reason) {
        return Refused(node, ToText(value), reason);
    };
    if (min && value < *min) {
        throw refused("it is at least " + ToText(*min));
    }
    if (max && value > *max) {
        throw refused("it is at most " + ToText(*max));
    }
    if constexpr (std::is_integral_v<T>) {
        if (increment && *increment > 1 && (value - min.value_or(0)) % *increment != 0) {
            throw refused("it goes from " + ToText(min.value_or(0)) + " in increments of " +
                          ToText(*increment));
        }
    }
}

} // namespace

std::pair<std::string, std::string> ParseAssignment(const std::string& text) {
    const size_t equals = text.find('=');
    if (equals == 0 || equals == std::string::npos) {
        throw CToolError("\"" + Printable(text) + "\" is not of the form NAME=VALUE", kWrongUsage);
    }
    return {text.substr(0, equals), text.substr(equals + 1)};
}

CFeatures::CFeatures(const CProducer& producer, PORT_HANDLE port)
    : m_nodes(ReadDescription(producer, port), Registers(producer, port)) {}

std::vector<SListed> CFeatures::Names() const {
    std::vector<SListed> names;
    Walk({"Root", {}, {}}, names, 0);
    return names;
}

bool CFeatures::Knows(const std::string& feature) const {
    return m_nodes.Has(feature) || std::ranges::any_of(Names(), [&](const SListed& listed) {
               return EqualsIgnoringCase(listed.name, feature);
           });
}

const SNode& CFeatures::Known(const std::string& feature) const {
    if (m_nodes.Has(feature)) {
        return m_nodes.Node(feature);
    }
    std::vector<std::string> names;
    for (SListed& listed : Names()) {
        names.push_back(std::move(listed.name));
    }
    if (const auto found = FindName(feature, names)) {
        return m_nodes.Node(names[*found]);
    }
    const std::string suggestion = DidYouMean(feature, names);
    throw CToolError(
        "the camera has no feature " + Printable(feature) +
        (suggestion.empty() ? "; \"norveltl features\" lists what it has" : suggestion));
}

std::string CFeatures::KindOf(const std::string& feature) const {
    return UserKind(Known(feature).kind);
}

std::vector<CFeatures::SEntry> CFeatures::Entries(const SNode& node) const {
    std::vector<SEntry> entries;
    for (const auto& [kind, child] : *node.tree) {
        if (kind != "EnumEntry") {
            continue;
        }
        const auto isOff = [this, &entry = child](const char* key) {
            const std::string condition = Trim(entry.get(key, ""));
            return !condition.empty() && m_nodes.Integer(condition) == 0;
        };
        if (isOff("pIsImplemented") || isOff("pIsAvailable")) {
            continue;
        }
        const std::string name = child.get("<xmlattr>.Name", "");
        entries.push_back({Trim(child.get("Symbolic", name)),
                           ParseInteger(Trim(child.get("Value", "")), "entry " + name)});
    }
    return entries;
}

std::string CFeatures::ReadEnumeration(const std::string& feature) const {
    const SNode& node = Known(feature);
    const int64_t value = m_nodes.Integer(node.name);
    for (const SEntry& entry : Entries(node)) {
        if (entry.value == value) {
            return entry.name;
        }
    }
    throw CToolError("feature " + node.name + " has no entry for its value " +
                     std::to_string(value));
}

void CFeatures::Execute(const std::string& command) const {
    const SNode& node = Known(command);
    if (node.kind != "Command") {
        throw CToolError(node.name + " is no command, but of the kind " + UserKind(node.kind));
    }
    const int64_t value = node.Has("pCommandValue")
                              ? m_nodes.Integer(node.Text("pCommandValue"))
                              : ParseInteger(node.Text("CommandValue"), "command " + node.name);
    m_nodes.SetInteger(node.name, value);
}

std::string CFeatures::Get(const std::string& feature) const {
    const SNode& node = Known(feature);
    const std::string kind = UserKind(node.kind);
    if (kind == "Integer") {
        return ToText(m_nodes.Integer(node.name));
    }
    if (kind == "Float") {
        return ToText(m_nodes.Float(node.name));
    }
    if (kind == "Boolean") {
        return m_nodes.Integer(node.name) != 0 ? "true" : "false";
    }
    if (kind == "Enumeration") {
        return ReadEnumeration(node.name);
    }
    if (kind == "String") {
        return m_nodes.Text(node.name);
    }
    if (kind == "Register") {
        return HexText(m_nodes.Bytes(node));
    }
    throw CToolError(node.name + " is of the kind " + node.kind + ", which has no value");
}

void CFeatures::Set(const std::string& feature, const std::string& value) const {
    const SNode& node = Known(feature);
    const std::string kind = UserKind(node.kind);
    CheckWritable(node);
    if (kind == "Integer" || kind == "Float") {
        SetNumber(node, value);
    } else if (kind == "Boolean") {
        if (value != "true" && value != "false" && value != "1" && value != "0") {
            throw Refused(node, value, "it is true or false");
        }
        m_nodes.SetInteger(node.name, value == "true" || value == "1");
    } else if (kind == "Enumeration") {
        const std::vector<SEntry> entries = Entries(node);
        std::vector<std::string> names;
        names.reserve(entries.size());
        for (const SEntry& entry : entries) {
            names.push_back(entry.name);
        }
        const auto found = FindName(value, names);
        if (!found) {
            throw Refused(node, value, "it is one of " + Joined(names) + DidYouMean(value, names));
        }
        m_nodes.SetInteger(node.name, entries[*found].value);
    } else if (kind == "String") {
        m_nodes.SetText(node.name, value);
    } else {
        throw CToolError(node.name + " is of the kind " + node.kind + ", which cannot be set");
    }
}

void CFeatures::CheckWritable(const SNode& node) const {
    switch (m_nodes.Access(node.name)) {
    case EAccess::ReadWrite:
    case EAccess::WriteOnly:
        return;
    case EAccess::NotImplemented:
        throw CToolError(node.name + " cannot be written: the camera does not implement it");
    case EAccess::NotAvailable:
        throw CToolError(node.name + " cannot be written now: it is not available");
    case EAccess::ReadOnly:
        break;
    }
    throw CToolError(node.name + (IsLocked(node) ? " cannot be written now: it is locked"
                                                 : " cannot be written: it is read-only"));
}

bool CFeatures::IsLocked(const SNode& node) const {
    const auto isLocked = [this](const SNode& part) {
        return part.Has("pIsLocked") && m_nodes.Integer(part.Text("pIsLocked")) != 0;
    };
    // The access was found by following these references, so that they end.
    const SNode* part = &node;
    while (!isLocked(*part) && part->Has("pValue")) {
        part = &m_nodes.Node(part->Text("pValue"));
    }
    return isLocked(*part);
}

void CFeatures::SetNumber(const SNode& node, const std::string& value) const {
    if (UserKind(node.kind) == "Integer") {
        const int64_t number = ParseInteger(value, node.name);
        CheckLimits(node, number, m_nodes.IntegerLimit(node, "Min"),
                    m_nodes.IntegerLimit(node, "Max"), m_nodes.IntegerLimit(node, "Inc"));
        return m_nodes.SetInteger(node.name, number);
    }
    double number = 0;
    const auto result = std::from_chars(value.data(), value.data() + value.size(), number);
    if (result.ec != std::errc() || result.ptr != value.data() + value.size() ||
        !std::isfinite(number)) {
        throw Refused(node, value, "it is a number");
    }
    CheckLimits(node, number, m_nodes.FloatLimit(node, "Min"), m_nodes.FloatLimit(node, "Max"),
                m_nodes.FloatLimit(node, "Inc"));
    m_nodes.SetFloat(node.name, number);
}

SFeature CFeatures::Describe(const std::string& feature, const std::string& category) const {
    const SNode& node = Known(feature);
    SFeature described;
    described.name = node.name;
    described.category = category;
    described.kind = UserKind(node.kind);
    described.toolTip = node.Text("ToolTip");
    described.visibility = Visibility(node, {});
    described.unit = node.Text("Unit");
    described.selects = node.Texts("pSelected");
    try {
        Fill(node, described);
    } catch (const std::runtime_error& error) {
        described.error = error.what();
    }
    return described;
}

void CFeatures::Fill(const SNode& node, SFeature& feature) const {
    const EAccess access = m_nodes.Access(node.name);
    feature.access = AccessText(access);
    feature.isLocked = access == EAccess::ReadOnly && IsLocked(node);
    const bool isReadable = access == EAccess::ReadOnly || access == EAccess::ReadWrite;
    if (feature.kind == "Command" || !isReadable) {
        return;
    }
    feature.value = Get(node.name);
    if (feature.kind == "Enumeration") {
        for (SEntry& entry : Entries(node)) {
            feature.entries.push_back(std::move(entry.name));
        }
    }
    if (feature.kind == "Integer") {
        feature.min = ToText(m_nodes.IntegerLimit(node, "Min"));
        feature.max = ToText(m_nodes.IntegerLimit(node, "Max"));
        feature.increment = ToText(m_nodes.IntegerLimit(node, "Inc"));
    } else if (feature.kind == "Float") {
        feature.min = ToText(m_nodes.FloatLimit(node, "Min"));
        feature.max = ToText(m_nodes.FloatLimit(node, "Max"));
        feature.increment = ToText(m_nodes.FloatLimit(node, "Inc"));
    }
}

std::vector<SFeature> CFeatures::All() const {
    std::vector<SFeature> features;
    for (const SListed& listed : Names()) {
        features.push_back(Describe(listed.name, listed.category));
        features.back().visibility = listed.visibility;
    }
    return features;
}

void CFeatures::Walk(const SListed& category, std::vector<SListed>& names, unsigned depth) const {
    if (depth > kMaxDepth) {
        throw CToolError("category " + category.name + " leads back to itself");
    }
    for (const std::string& name : m_nodes.Node(category.name).Texts("pFeature")) {
        const SNode& node = m_nodes.Node(name);
        const SListed listed{name, category.name, Visibility(node, category.visibility)};
        if (node.kind == "Category") {
            Walk(listed, names, depth + 1);
        } else {
            names.push_back(listed);
        }
    }
}

} // namespace norveltl
