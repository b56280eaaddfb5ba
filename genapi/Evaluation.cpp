#include "genapi/Evaluation.h"

#include "genapi/Error.h"
#include "genapi/Formula.h"
#include "genapi/Level.h"
#include "genapi/Text.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <type_traits>

namespace GenApi {

namespace {

// Deeper than any sound description; a cycle ends here.
constexpr unsigned kMaxNodeDepth = 32;
// In characters that are read, and what takes about as long: a second in all.
constexpr size_t kMaxWork = 10'000'000;
constexpr size_t kNodeWork = 100;

uint64_t Mask(unsigned numBits) {
    return numBits >= 64 ? UINT64_MAX : (uint64_t{1} << numBits) - 1;
}

template <class T>
T Parse(const std::string& text, const std::string& where) {
    if constexpr (std::is_integral_v<T>) {
        return ParseInteger(text, where);
    } else {
        return ParseFloat(text, where);
    }
}

int64_t RoundedWhole(double value, const SNode& node) {
    const double rounded = std::round(value);
    if (!(std::abs(rounded) < 9.2e18)) {
        throw CError("node " + node.name + " is beyond 64 bits");
    }
    return static_cast<int64_t>(rounded);
}

[[noreturn]] void ThrowUnknownKind(const SNode& node) {
    throw CError("node " + node.name + " is of the kind " + node.kind +
                 ", which cannot be resolved");
}

[[noreturn]] void ThrowFixed(const SNode& node) {
    throw CError("node " + node.name + " has a fixed value");
}

} // namespace

void CEvaluation::Spend(size_t work) {
    m_work += work;
    if (m_work > kMaxWork) {
        throw CError("the camera's XML takes too much work to resolve");
    }
}

const SNode& CEvaluation::Enter(const std::string& name) {
    if (m_depth > kMaxNodeDepth) {
        throw CError("node " + Printable(name) + " leads back to itself");
    }
    Spend(kNodeWork + name.size());
    return m_nodes.Node(name);
}

std::string CEvaluation::TextOf(const Tree& element) {
    Spend(element.data().size());
    return Trim(element.data());
}

std::string CEvaluation::ValueOf(const SNode& node, const char* key) {
    const Tree* const child = node.Child(key);
    return child ? TextOf(*child) : "";
}

int64_t CEvaluation::IntegerIn(const SNode& node, const char* key) {
    return ParseInteger(ValueOf(node, key), "node " + node.name);
}

bool CEvaluation::IsZero(const SNode& node, const char* key) {
    return node.Has(key) && Number<int64_t>(ValueOf(node, key)) == 0;
}

// The node that a reference means; a selector may choose it. Empty when it holds a value itself.
std::string CEvaluation::ValueNode(const SNode& node) {
    if (!node.Has("pIndex")) {
        return ValueOf(node, "pValue");
    }
    const auto index = Number<int64_t>(ValueOf(node, "pIndex"));
    for (const auto& [kind, child] : *node.tree) {
        Spend(1);
        if (kind != "pValueIndexed") {
            continue;
        }
        const std::string own = child.get("<xmlattr>.Index", "");
        Spend(own.size());
        if (ParseInteger(own, "node " + node.name) == index) {
            return TextOf(child);
        }
    }
    if (node.Has("pValueDefault")) {
        return ValueOf(node, "pValueDefault");
    }
    throw CError("node " + node.name + " has no value node for the index " + std::to_string(index));
}

template <class T>
T CEvaluation::Number(const std::string& name) {
    const SNode& node = Enter(name);
    const CLevel level(m_depth);
    if constexpr (std::is_integral_v<T>) {
        if (IsFloat(node)) {
            return RoundedWhole(Number<double>(name), node);
        }
    } else if (!IsFloat(node)) {
        return static_cast<double>(Number<int64_t>(name));
    }
    if (IsReference(node)) {
        return Referred<T>(node);
    }
    if (IsKnife(node)) {
        return Evaluate<T>(node, *node.tree, ValueOf(node, "Formula"), nullptr, T{});
    }
    if (IsConverter(node)) {
        return Evaluate<T>(node, *node.tree, ValueOf(node, "FormulaFrom"), "TO",
                           Number<T>(ValueOf(node, "pValue")));
    }
    const SPlace place = NumberPlace(node);
    const uint64_t raw = ReadRegister(node, place);
    if constexpr (std::is_integral_v<T>) {
        const SBits bits = Bits(node, place.length);
        const uint64_t value = (raw >> bits.low) & Mask(bits.count);
        const bool isNegative =
            ValueOf(node, "Sign") == "Signed" && ((value >> (bits.count - 1)) & 1) != 0;
        return static_cast<int64_t>(isNegative ? value | ~Mask(bits.count) : value);
    } else {
        return place.length == 4
                   ? static_cast<double>(std::bit_cast<float>(static_cast<uint32_t>(raw)))
                   : std::bit_cast<double>(raw);
    }
}

template int64_t CEvaluation::Number<int64_t>(const std::string& name);
template double CEvaluation::Number<double>(const std::string& name);

template <class T>
T CEvaluation::Referred(const SNode& node) {
    const std::string target = ValueNode(node);
    if (target.empty() && !node.Has("Value")) {
        throw CError("node " + node.name + " has neither a Value nor a pValue");
    }
    if (const auto* const kept = target.empty() ? m_nodes.Kept(node.name) : nullptr) {
        return static_cast<T>(kept->load());
    }
    if (node.kind != "Boolean") {
        return target.empty() ? Parse<T>(ValueOf(node, "Value"), "node " + node.name)
                              : Number<T>(target);
    }
    const int64_t value = target.empty()
                              ? ValueOf(node, "Value") == "true" || ValueOf(node, "Value") == "1"
                              : Number<int64_t>(target);
    return static_cast<T>(value == (node.Has("OnValue") ? IntegerIn(node, "OnValue") : 1));
}

template <class T>
T CEvaluation::Evaluate(const SNode& node, const Tree& definitions, const std::string& formula,
                        const char* argument, T value) {
    Spend(formula.size());
    const Variables<T> variables = [&](const std::string& name) {
        return Variable<T>(definitions, name, argument, value);
    };
    try {
        if constexpr (std::is_integral_v<T>) {
            return EvaluateInteger(formula, variables, m_formulaDepth);
        } else {
            return EvaluateFloat(formula, variables, m_formulaDepth);
        }
    } catch (const std::runtime_error& error) {
        throw CError("node " + node.name + ": " + error.what());
    }
}

template <class T>
T CEvaluation::Variable(const Tree& definitions, const std::string& name, const char* argument,
                        T value) {
    const CLevel level(m_depth);
    if (m_depth > kMaxNodeDepth) {
        throw CError("the variable " + name + " leads back to itself");
    }
    if (argument != nullptr && name == argument) {
        return value;
    }
    for (const auto& [kind, part] : definitions) {
        Spend(1);
        const auto own = part.get_child_optional("<xmlattr>.Name");
        if (!own || own->data() != name) {
            continue;
        }
        const std::string text = TextOf(part);
        if (kind == "Constant") {
            return Parse<T>(text, "the constant " + name);
        }
        if (kind == "Expression") {
            const CLevel expression(m_depth);
            return Evaluate<T>(SNode{name, kind, &definitions, nullptr}, definitions, text,
                               argument, value);
        }
        if (kind == "pVariable") {
            const size_t dot = name.find('.');
            const std::string property = dot == std::string::npos ? "Value" : name.substr(dot + 1);
            if (property == "Value") {
                return Number<T>(text);
            }
            if (property == "Min" || property == "Max" || property == "Inc") {
                if (const auto limit = Limit<T>(Enter(text), property)) {
                    return *limit;
                }
            }
            throw CError("the variable " + name + " cannot be resolved");
        }
    }
    throw CError("the variable " + Printable(name) + " is not defined");
}

template <class T>
std::optional<T> CEvaluation::Limit(const SNode& node, const std::string& key) {
    const CLevel level(m_depth);
    if (node.Has(key.c_str())) {
        return Parse<T>(ValueOf(node, key.c_str()), "node " + node.name);
    }
    if (const std::string reference = "p" + key; node.Has(reference.c_str())) {
        return Number<T>(ValueOf(node, reference.c_str()));
    }
    return std::nullopt;
}

template std::optional<int64_t> CEvaluation::Limit<int64_t>(const SNode& node,
                                                            const std::string& key);
template std::optional<double> CEvaluation::Limit<double>(const SNode& node,
                                                          const std::string& key);

void CEvaluation::SetInteger(const std::string& name, int64_t value) {
    const SNode& node = Enter(name);
    const CLevel level(m_depth);
    if (node.kind == "IntConverter") {
        return SetInteger(
            ValueOf(node, "pValue"),
            Evaluate<int64_t>(node, *node.tree, ValueOf(node, "FormulaTo"), "FROM", value));
    }
    if (IsFloat(node)) {
        return SetFloat(name, static_cast<double>(value));
    }
    if (IsReference(node)) {
        const std::string target = ValueNode(node);
        if (target.empty()) {
            auto* const kept = m_nodes.Kept(node.name);
            if (kept == nullptr) {
                ThrowFixed(node);
            }
            return kept->store(value);
        }
        if (node.kind == "Boolean") {
            const char* const key = value != 0 ? "OnValue" : "OffValue";
            value = node.Has(key) ? IntegerIn(node, key) : value != 0;
        }
        for (const auto& [kind, child] : *node.tree) {
            Spend(1);
            if (kind == "pValueCopy") {
                SetInteger(TextOf(child), value);
            }
        }
        return SetInteger(target, value);
    }
    const SPlace place = NumberPlace(node);
    const SBits bits = Bits(node, place.length);
    const uint64_t mask = Mask(bits.count);
    uint64_t raw = static_cast<uint64_t>(value) & mask;
    const bool isSigned = ValueOf(node, "Sign") == "Signed";
    const bool fits =
        bits.count == 64 || (isSigned ? value >= -(int64_t{1} << (bits.count - 1)) &&
                                            value < int64_t{1} << (bits.count - 1)
                                      : value >= 0 && static_cast<uint64_t>(value) <= mask);
    if (!fits) {
        throw CError(std::to_string(value) + " does not fit into the " +
                     std::to_string(bits.count) + " bits of " + name);
    }
    if (bits.count < 8 * place.length) {
        raw = (ReadRegister(node, place) & ~(mask << bits.low)) | (raw << bits.low);
    }
    WriteRegister(node, place, raw);
}

void CEvaluation::SetFloat(const std::string& name, double value) {
    const SNode& node = Enter(name);
    const CLevel level(m_depth);
    if (!IsFloat(node)) {
        return SetInteger(name, RoundedWhole(value, node));
    }
    if (node.kind == "Converter") {
        return SetFloat(
            ValueOf(node, "pValue"),
            Evaluate<double>(node, *node.tree, ValueOf(node, "FormulaTo"), "FROM", value));
    }
    if (node.kind == "Float") {
        const std::string target = ValueNode(node);
        if (target.empty()) {
            ThrowFixed(node);
        }
        return SetFloat(target, value);
    }
    if (node.kind != "FloatReg") {
        throw CError("node " + name + " cannot be written");
    }
    const SPlace place = NumberPlace(node);
    WriteRegister(node, place,
                  place.length == 4 ? std::bit_cast<uint32_t>(static_cast<float>(value))
                                    : std::bit_cast<uint64_t>(value));
}

std::string CEvaluation::Text(const std::string& name) {
    const SNode& node = Enter(name);
    const CLevel level(m_depth);
    if (node.kind == "String") {
        return node.Has("pValue") ? Text(ValueOf(node, "pValue")) : ValueOf(node, "Value");
    }
    if (node.kind != "StringReg") {
        ThrowUnknownKind(node);
    }
    const std::vector<uint8_t> bytes = Bytes(node);
    return {bytes.begin(), std::find(bytes.begin(), bytes.end(), 0)};
}

void CEvaluation::SetText(const std::string& name, const std::string& text) {
    const SNode& node = Enter(name);
    const CLevel level(m_depth);
    if (node.kind == "String" && node.Has("pValue")) {
        return SetText(ValueOf(node, "pValue"), text);
    }
    if (node.kind != "StringReg") {
        ThrowFixed(node);
    }
    const SPlace place = Place(node);
    if (text.size() > place.length) {
        throw CError(name + " takes at most " + std::to_string(place.length) + " characters");
    }
    std::string bytes = text;
    bytes.resize(place.length);
    Write(place, bytes.data());
}

std::vector<uint8_t> CEvaluation::Bytes(const SNode& node) {
    const SPlace place = Place(node);
    std::vector<uint8_t> bytes(place.length);
    Read(place, bytes.data());
    return bytes;
}

EAccess CEvaluation::Access(const std::string& name) {
    const SNode& node = Enter(name);
    const CLevel level(m_depth);
    if (IsZero(node, "pIsImplemented")) {
        return EAccess::NotImplemented;
    }
    if (IsZero(node, "pIsAvailable")) {
        return EAccess::NotAvailable;
    }
    EAccess access = EAccess::ReadWrite;
    const auto limit = [&access](const std::string& mode) {
        const EAccess most = mode == "RO"   ? EAccess::ReadOnly
                             : mode == "WO" ? EAccess::WriteOnly
                                            : EAccess::ReadWrite;
        if (most != EAccess::ReadWrite && access != most) {
            access = access == EAccess::ReadWrite ? most : EAccess::NotAvailable;
        }
    };
    // What neither is a register nor leads to one can only be read, selectors apart.
    const std::string target = IsConverter(node)   ? ValueOf(node, "pValue")
                               : IsReference(node) ? ValueNode(node)
                                                   : "";
    if (!target.empty()) {
        access = Access(target);
    } else if (m_nodes.Kept(name) == nullptr) {
        limit(IsRegister(node) && node.Has("AccessMode") ? ValueOf(node, "AccessMode") : "RO");
    }
    if (access != EAccess::ReadWrite && access != EAccess::ReadOnly &&
        access != EAccess::WriteOnly) {
        return access;
    }
    limit(node.Has("ImposedAccessMode") ? ValueOf(node, "ImposedAccessMode") : "RW");
    if (node.Has("pIsLocked") && !IsZero(node, "pIsLocked")) {
        limit("RO");
    }
    return access;
}

CEvaluation::SPlace CEvaluation::Place(const SNode& node) {
    if (!IsRegister(node)) {
        ThrowUnknownKind(node);
    }
    CheckPort(node);
    SPlace place{};
    bool hasAddress = false;
    for (const auto& [kind, part] : node.parent ? *node.parent : *node.tree) {
        Spend(1);
        if (kind == "Address" || kind == "pAddress" || kind == "IntSwissKnife" ||
            kind == "pIndex") {
            hasAddress = true;
            place.address += static_cast<uint64_t>(Summand(node, kind, part));
        }
    }
    if (!hasAddress) {
        throw CError("node " + node.name + " has no address");
    }
    const int64_t length =
        node.Has("pLength") ? Number<int64_t>(ValueOf(node, "pLength")) : IntegerIn(node, "Length");
    constexpr int64_t kMaxRegister = 1 << 20;
    const bool isNumber = IsNumberRegister(node) || node.kind == "FloatReg";
    if (length < 1 || length > (isNumber ? 8 : kMaxRegister) ||
        (node.kind == "FloatReg" && length != 4 && length != 8)) {
        throw CError("node " + node.name + ": a length of " + std::to_string(length) +
                     " bytes cannot be resolved");
    }
    place.length = static_cast<size_t>(length);
    return place;
}

CEvaluation::SPlace CEvaluation::NumberPlace(const SNode& node) {
    if (node.kind == "StringReg" || node.kind == "Register") {
        throw CError("node " + node.name + " is of the kind " + node.kind +
                     ", which holds no number");
    }
    return Place(node);
}

// What a part of the register's description adds to its address.
int64_t CEvaluation::Summand(const SNode& node, const std::string& kind, const Tree& part) {
    const std::string where = "node " + node.name;
    const std::string text = TextOf(part);
    if (kind == "Address") {
        return ParseInteger(text, where);
    }
    if (kind == "pAddress") {
        return Number<int64_t>(text);
    }
    if (kind == "IntSwissKnife") {
        return Evaluate<int64_t>(node, part, ValueOf({node.name, kind, &part, nullptr}, "Formula"),
                                 nullptr, 0);
    }
    const auto offset = part.get_optional<std::string>("<xmlattr>.Offset");
    const auto reference = part.get_optional<std::string>("<xmlattr>.pOffset");
    if (!offset && !reference) {
        throw CError(where + " has an index without an offset");
    }
    Spend(offset ? offset->size() : reference->size());
    const auto index = static_cast<uint64_t>(Number<int64_t>(text));
    const int64_t width = offset ? ParseInteger(*offset, where) : Number<int64_t>(*reference);
    return static_cast<int64_t>(index * static_cast<uint64_t>(width));
}

} // namespace GenApi
