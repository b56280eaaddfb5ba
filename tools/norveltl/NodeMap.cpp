#include "NodeMap.h"

#include "Console.h"
#include "Description.h"

#include <boost/property_tree/xml_parser.hpp>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <sstream>
#include <type_traits>

namespace norveltl {

namespace {

// Deeper than any sound description; a cycle ends here.
constexpr unsigned kMaxDepth = 32;
constexpr int64_t kMaxRegister = 1 << 20;

uint64_t Mask(unsigned numBits) {
    return numBits >= 64 ? UINT64_MAX : (uint64_t{1} << numBits) - 1;
}

double ParseFloat(const std::string& text, const std::string& where) {
    double value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size()) {
        throw CToolError(where + ": \"" + Printable(text) + "\" is no number");
    }
    return value;
}

template <class T>
T Parse(const std::string& text, const std::string& where) {
    if constexpr (std::is_integral_v<T>) {
        return ParseInteger(text, where);
    } else {
        return text.starts_with("0x") ? static_cast<double>(ParseInteger(text, where))
                                      : ParseFloat(text, where);
    }
}

[[noreturn]] void ThrowUnknownKind(const SNode& node) {
    throw CToolError("node " + node.name + " is of the kind " + node.kind +
                     ", which cannot be resolved");
}

} // namespace

CNodeMap::CNodeMap(const CProducer& producer, PORT_HANDLE port)
    : m_producer(producer), m_port(port) {
    std::istringstream text(ReadDescription(producer, port));
    try {
        boost::property_tree::read_xml(text, m_document,
                                       boost::property_tree::xml_parser::no_comments);
    } catch (const boost::property_tree::xml_parser_error& error) {
        throw CToolError("the camera's XML is malformed in line " + std::to_string(error.line()) +
                         ": " + error.message());
    }
    AddNodes(m_document, nullptr);
}

// Entries of enumerations and parts of formulas have names too, but belong to their node only.
void CNodeMap::AddNodes(const Tree& tree, const Tree* structure) {
    for (const auto& [kind, child] : tree) {
        if (kind == "EnumEntry" || kind == "<xmlattr>" || kind == "pVariable" ||
            kind == "Constant" || kind == "Expression") {
            continue;
        }
        if (const auto name = child.get_optional<std::string>("<xmlattr>.Name")) {
            m_nodes.try_emplace(*name, SNode{*name, kind, &child, structure});
        }
        AddNodes(child, kind == "StructReg" ? &child : nullptr);
    }
}

const SNode& CNodeMap::Node(const std::string& name) const {
    const auto found = m_nodes.find(name);
    if (found == m_nodes.end()) {
        throw CToolError("the camera's XML has no node " + Printable(name));
    }
    return found->second;
}

const SNode& CNodeMap::Enter(const std::string& name, unsigned depth) const {
    if (depth > kMaxDepth) {
        throw CToolError("node " + Printable(name) + " leads back to itself");
    }
    return Node(name);
}

bool CNodeMap::IsFloat(const SNode& node) const {
    return node.kind == "Float" || node.kind == "FloatReg" || node.kind == "SwissKnife" ||
           node.kind == "Converter";
}

// The node that a reference means; a selector may choose it. Empty when it holds a value itself.
std::string CNodeMap::ValueNode(const SNode& node, unsigned depth) const {
    if (!node.Has("pIndex")) {
        return node.Text("pValue");
    }
    const int64_t index = Integer(node.Text("pIndex"), depth + 1);
    for (const auto& [kind, child] : *node.tree) {
        if (kind == "pValueIndexed" &&
            ParseInteger(child.get("<xmlattr>.Index", ""), "node " + node.name) == index) {
            return Trim(child.data());
        }
    }
    if (node.Has("pValueDefault")) {
        return node.Text("pValueDefault");
    }
    throw CToolError("node " + node.name + " has no value node for the index " +
                     std::to_string(index));
}

int64_t CNodeMap::Integer(const std::string& name, unsigned depth) const {
    return Number<int64_t>(name, depth);
}

double CNodeMap::Float(const std::string& name, unsigned depth) const {
    return Number<double>(name, depth);
}

// As Number, from a node of the other kind of number.
static int64_t RoundedWhole(double value, const SNode& node) {
    const double rounded = std::round(value);
    if (!(std::abs(rounded) < 9.2e18)) {
        throw CToolError("node " + node.name + " is beyond 64 bits");
    }
    return static_cast<int64_t>(rounded);
}

template <class T>
T CNodeMap::Number(const std::string& name, unsigned depth) const {
    const SNode& node = Enter(name, depth);
    if constexpr (std::is_integral_v<T>) {
        if (IsFloat(node)) {
            return RoundedWhole(Number<double>(name, depth + 1), node);
        }
    } else if (!IsFloat(node)) {
        return static_cast<double>(Number<int64_t>(name, depth + 1));
    }
    if (IsReference(node)) {
        const std::string target = ValueNode(node, depth);
        if (target.empty() && !node.Has("Value")) {
            throw CToolError("node " + name + " has neither a Value nor a pValue");
        }
        if (node.kind == "Boolean") {
            const int64_t value = target.empty()
                                      ? node.Text("Value") == "true" || node.Text("Value") == "1"
                                      : Integer(target, depth + 1);
            return static_cast<T>(
                value ==
                (node.Has("OnValue") ? ParseInteger(node.Text("OnValue"), "node " + name) : 1));
        }
        return target.empty() ? Parse<T>(node.Text("Value"), "node " + name)
                              : Number<T>(target, depth + 1);
    }
    if (IsKnife(node)) {
        return Evaluate<T>(node, *node.tree, node.Text("Formula"), nullptr, T{}, depth);
    }
    if (IsConverter(node)) {
        return Evaluate<T>(node, *node.tree, node.Text("FormulaFrom"), "TO",
                           Number<T>(node.Text("pValue"), depth + 1), depth);
    }
    const SPlace place = Place(node, depth);
    const uint64_t raw = ReadRegister(node, place);
    if constexpr (std::is_integral_v<T>) {
        const SBits bits = Bits(node, place.length);
        const uint64_t value = (raw >> bits.low) & Mask(bits.count);
        const bool isNegative =
            node.Text("Sign") == "Signed" && ((value >> (bits.count - 1)) & 1) != 0;
        return static_cast<int64_t>(isNegative ? value | ~Mask(bits.count) : value);
    } else {
        return place.length == 4
                   ? static_cast<double>(std::bit_cast<float>(static_cast<uint32_t>(raw)))
                   : std::bit_cast<double>(raw);
    }
}

template <class T>
T CNodeMap::Evaluate(const SNode& node, const Tree& definitions, const std::string& formula,
                     const char* argument, T value, unsigned depth) const {
    const Variables<T> variables = [&](const std::string& name) {
        return Variable<T>(definitions, name, argument, value, depth + 1);
    };
    try {
        if constexpr (std::is_integral_v<T>) {
            return EvaluateInteger(formula, variables);
        } else {
            return EvaluateFloat(formula, variables);
        }
    } catch (const CToolError& error) {
        throw CToolError("node " + node.name + ": " + error.what());
    }
}

template <class T>
T CNodeMap::Variable(const Tree& definitions, const std::string& name, const char* argument,
                     T value, unsigned depth) const {
    if (depth > kMaxDepth) {
        throw CToolError("the variable " + name + " leads back to itself");
    }
    if (argument != nullptr && name == argument) {
        return value;
    }
    for (const auto& [kind, part] : definitions) {
        if (part.get("<xmlattr>.Name", "") != name) {
            continue;
        }
        const std::string text = Trim(part.data());
        if (kind == "Constant") {
            return Parse<T>(text, "the constant " + name);
        }
        if (kind == "pVariable" || kind == "Expression") {
            if (kind == "Expression") {
                return Evaluate<T>(SNode{name, kind, &definitions, nullptr}, definitions, text,
                                   argument, value, depth + 1);
            }
            const size_t dot = name.find('.');
            const std::string property = dot == std::string::npos ? "Value" : name.substr(dot + 1);
            if (property == "Value") {
                return Number<T>(text, depth + 1);
            }
            if (property == "Min" || property == "Max" || property == "Inc") {
                if (const auto limit = Limit<T>(Node(text), property, depth + 1)) {
                    return *limit;
                }
            }
            throw CToolError("the variable " + name + " cannot be resolved");
        }
    }
    throw CToolError("the variable " + Printable(name) + " is not defined");
}

template <class T>
std::optional<T> CNodeMap::Limit(const SNode& node, const std::string& key, unsigned depth) const {
    if (node.Has(key.c_str())) {
        return Parse<T>(node.Text(key.c_str()), "node " + node.name);
    }
    if (const std::string reference = "p" + key; node.Has(reference.c_str())) {
        return Number<T>(node.Text(reference.c_str()), depth + 1);
    }
    return std::nullopt;
}

std::optional<int64_t> CNodeMap::IntegerLimit(const SNode& node, const char* key) const {
    return Limit<int64_t>(node, key, 0);
}

std::optional<double> CNodeMap::FloatLimit(const SNode& node, const char* key) const {
    return Limit<double>(node, key, 0);
}

void CNodeMap::SetInteger(const std::string& name, int64_t value, unsigned depth) const {
    const SNode& node = Enter(name, depth);
    if (node.kind == "IntConverter") {
        return SetInteger(
            node.Text("pValue"),
            Evaluate<int64_t>(node, *node.tree, node.Text("FormulaTo"), "FROM", value, depth),
            depth + 1);
    }
    if (IsFloat(node)) {
        return SetFloat(name, static_cast<double>(value), depth + 1);
    }
    if (IsReference(node)) {
        const std::string target = ValueNode(node, depth);
        if (target.empty()) {
            throw CToolError("node " + name + " has a fixed value");
        }
        if (node.kind == "Boolean") {
            const char* const key = value != 0 ? "OnValue" : "OffValue";
            value = node.Has(key) ? ParseInteger(node.Text(key), "node " + name) : value != 0;
        }
        for (const std::string& copy : node.Texts("pValueCopy")) {
            SetInteger(copy, value, depth + 1);
        }
        return SetInteger(target, value, depth + 1);
    }
    const SPlace place = Place(node, depth);
    const SBits bits = Bits(node, place.length);
    const uint64_t mask = Mask(bits.count);
    uint64_t raw = static_cast<uint64_t>(value) & mask;
    const bool isSigned = node.Text("Sign") == "Signed";
    const bool fits =
        bits.count == 64 || (isSigned ? value >= -(int64_t{1} << (bits.count - 1)) &&
                                            value < int64_t{1} << (bits.count - 1)
                                      : value >= 0 && static_cast<uint64_t>(value) <= mask);
    if (!fits) {
        throw CToolError(std::to_string(value) + " does not fit into the " +
                         std::to_string(bits.count) + " bits of " + name);
    }
    if (bits.count < 8 * place.length) {
        raw = (ReadRegister(node, place) & ~(mask << bits.low)) | (raw << bits.low);
    }
    WriteRegister(node, place, raw);
}

void CNodeMap::SetFloat(const std::string& name, double value, unsigned depth) const {
    const SNode& node = Enter(name, depth);
    if (!IsFloat(node)) {
        return SetInteger(name, RoundedWhole(value, node), depth + 1);
    }
    if (node.kind == "Converter") {
        return SetFloat(
            node.Text("pValue"),
            Evaluate<double>(node, *node.tree, node.Text("FormulaTo"), "FROM", value, depth),
            depth + 1);
    }
    if (node.kind == "Float") {
        const std::string target = ValueNode(node, depth);
        if (target.empty()) {
            throw CToolError("node " + name + " has a fixed value");
        }
        return SetFloat(target, value, depth + 1);
    }
    if (node.kind != "FloatReg") {
        throw CToolError("node " + name + " cannot be written");
    }
    const SPlace place = Place(node, depth);
    WriteRegister(node, place,
                  place.length == 4 ? std::bit_cast<uint32_t>(static_cast<float>(value))
                                    : std::bit_cast<uint64_t>(value));
}

std::string CNodeMap::Text(const std::string& name, unsigned depth) const {
    const SNode& node = Enter(name, depth);
    if (node.kind == "String") {
        return node.Has("pValue") ? Text(node.Text("pValue"), depth + 1) : node.Text("Value");
    }
    if (node.kind != "StringReg") {
        ThrowUnknownKind(node);
    }
    const std::vector<uint8_t> bytes = Bytes(node);
    return {bytes.begin(), std::find(bytes.begin(), bytes.end(), 0)};
}

void CNodeMap::SetText(const std::string& name, const std::string& text, unsigned depth) const {
    const SNode& node = Enter(name, depth);
    if (node.kind == "String" && node.Has("pValue")) {
        return SetText(node.Text("pValue"), text, depth + 1);
    }
    if (node.kind != "StringReg") {
        throw CToolError("node " + name + " has a fixed value");
    }
    const SPlace place = Place(node, depth);
    if (text.size() > place.length) {
        throw CToolError(name + " takes at most " + std::to_string(place.length) + " characters");
    }
    std::string bytes = text;
    bytes.resize(place.length);
    size_t size = bytes.size();
    m_producer.Call(m_producer.GCWritePort, m_port, place.address, bytes.data(), &size);
}

std::vector<uint8_t> CNodeMap::Bytes(const SNode& node) const {
    const SPlace place = Place(node, 0);
    std::vector<uint8_t> bytes(place.length);
    ReadPort(m_producer, m_port, place.address, bytes.data(), bytes.size());
    return bytes;
}

EAccess CNodeMap::Access(const std::string& name, unsigned depth) const {
    const SNode& node = Enter(name, depth);
    if (node.Has("pIsImplemented") && Integer(node.Text("pIsImplemented"), depth + 1) == 0) {
        return EAccess::NotImplemented;
    }
    if (node.Has("pIsAvailable") && Integer(node.Text("pIsAvailable"), depth + 1) == 0) {
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
    // What neither is a register nor leads to one can only be read.
    const std::string target = IsConverter(node)   ? node.Text("pValue")
                               : IsReference(node) ? ValueNode(node, depth)
                                                   : "";
    if (!target.empty()) {
        access = Access(target, depth + 1);
    } else {
        limit(IsRegister(node) && node.Has("AccessMode") ? node.Text("AccessMode") : "RO");
    }
    if (access != EAccess::ReadWrite && access != EAccess::ReadOnly &&
        access != EAccess::WriteOnly) {
        return access;
    }
    limit(node.Has("ImposedAccessMode") ? node.Text("ImposedAccessMode") : "RW");
    if (node.Has("pIsLocked") && Integer(node.Text("pIsLocked"), depth + 1) != 0) {
        limit("RO");
    }
    return access;
}

CNodeMap::SPlace CNodeMap::Place(const SNode& node, unsigned depth) const {
    if (!IsRegister(node)) {
        ThrowUnknownKind(node);
    }
    CheckPort(node);
    const std::string where = "node " + node.name;
    SPlace result{};
    const Tree& place = node.parent ? *node.parent : *node.tree;
    bool hasAddress = false;
    for (const auto& [kind, part] : place) {
        const std::string text = Trim(part.data());
        int64_t summand = 0;
        if (kind == "Address") {
            summand = ParseInteger(text, where);
        } else if (kind == "pAddress") {
            summand = Integer(text, depth + 1);
        } else if (kind == "IntSwissKnife") {
            summand =
                Evaluate<int64_t>(node, part, Trim(part.get("Formula", "")), nullptr, 0, depth);
        } else if (kind == "pIndex") {
            const auto offset = part.get_optional<std::string>("<xmlattr>.Offset");
            const auto reference = part.get_optional<std::string>("<xmlattr>.pOffset");
            if (!offset && !reference) {
                throw CToolError(where + " has an index without an offset");
            }
            summand = Integer(text, depth + 1) *
                      (offset ? ParseInteger(*offset, where) : Integer(*reference, depth + 1));
        } else {
            continue;
        }
        hasAddress = true;
        result.address += static_cast<uint64_t>(summand);
    }
    if (!hasAddress) {
        throw CToolError(where + " has no address");
    }
    const int64_t length = node.Has("pLength") ? Integer(node.Text("pLength"), depth + 1)
                                               : ParseInteger(node.Text("Length"), where);
    const bool isNumber = IsNumberRegister(node) || node.kind == "FloatReg";
    if (length < 1 || length > (isNumber ? 8 : kMaxRegister) ||
        (node.kind == "FloatReg" && length != 4 && length != 8)) {
        throw CToolError(where + ": a length of " + std::to_string(length) +
                         " bytes cannot be resolved");
    }
    result.length = static_cast<size_t>(length);
    return result;
}

} // namespace norveltl
