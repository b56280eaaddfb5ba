#include "GenApi.h"

#include "Formula.h"

#include <boost/property_tree/xml_parser.hpp>

#include <bit>
#include <cmath>
#include <sstream>

namespace {

namespace Xml = boost::property_tree::xml_parser;

[[noreturn]] void Fail(const std::string& name, const std::string& what) {
    throw std::runtime_error("node " + name + ": " + what);
}

int64_t ToInt(const std::string& text) {
    return std::stoll(text, nullptr, 0);
}

} // namespace

GenApi::GenApi(Producer& gentl, PORT_HANDLE port) : m_gentl(gentl), m_port(port) {
    FetchXml();
    std::istringstream text(m_xml);
    Xml::read_xml(text, m_tree, Xml::no_comments | Xml::trim_whitespace);
    for (const auto& [kind, tree] : m_tree.get_child("RegisterDescription")) {
        if (const auto name = tree.get_optional<std::string>("<xmlattr>.Name")) {
            m_nodes.emplace(*name, Node{*name, kind, &tree});
        }
    }
}

// "Local:FILE;ADDRESS;LENGTH", both in hexadecimal.
void GenApi::FetchXml() {
    char url[512] = {};
    size_t size = sizeof url;
    Check(m_gentl.GCGetPortURL(m_port, url, &size));
    const std::string text = url;
    const size_t address = text.find(';');
    const size_t length = text.find(';', address + 1);
    if (!text.starts_with("Local:") || length == std::string::npos) {
        throw std::runtime_error("no local URL: " + text);
    }
    m_xml.resize(std::stoul(text.substr(length + 1), nullptr, 16));
    Read(std::stoull(text.substr(address + 1), nullptr, 16), m_xml.data(), m_xml.size());
    if (!m_xml.starts_with("<?xml") || !m_xml.ends_with("</RegisterDescription>\n")) {
        throw std::runtime_error("the text does not end where the URL says: " + text);
    }
}

void GenApi::Check(int32_t answer) const {
    if (answer != 0) {
        char text[512] = {};
        size_t size = sizeof text;
        m_gentl.GCGetLastError(nullptr, text, &size);
        throw PortError(answer, text);
    }
}

void GenApi::Read(uint64_t address, void* bytes, size_t size) const {
    Check(m_gentl.GCReadPort(m_port, address, bytes, &size));
}

void GenApi::Write(uint64_t address, const void* bytes, size_t size) const {
    Check(m_gentl.GCWritePort(m_port, address, bytes, &size));
}

std::vector<std::string> GenApi::Features() const {
    std::vector<std::string> names;
    for (const auto& [name, node] : m_nodes) {
        if (node.kind == "Category") {
            for (const std::string& feature : Properties(name, "pFeature")) {
                if (Kind(feature) != "Category") {
                    names.push_back(feature);
                }
            }
        }
    }
    return names;
}

std::vector<std::string> GenApi::Registers() const {
    std::vector<std::string> names;
    for (const auto& [name, node] : m_nodes) {
        if (node.tree->count("Address") > 0) {
            names.push_back(name);
        }
    }
    return names;
}

const GenApi::Node& GenApi::Find(const std::string& name) const {
    const auto node = m_nodes.find(name);
    if (node == m_nodes.end()) {
        Fail(name, "not in the XML");
    }
    return node->second;
}

const GenApi::Node& GenApi::Behind(const Node& node) const {
    const auto name = node.tree->get_optional<std::string>("pValue");
    if (!name) {
        Fail(node.name, "a " + node.kind + " without a value");
    }
    return Find(*name);
}

std::vector<std::string> GenApi::Properties(const std::string& name,
                                            const std::string& property) const {
    std::vector<std::string> texts;
    for (const auto& [key, child] : *Find(name).tree) {
        if (key == property) {
            texts.push_back(child.data());
        }
    }
    return texts;
}

std::string GenApi::Access(const std::string& name) const {
    const Node& node = Find(name);
    const auto lock = node.tree->get_optional<std::string>("pIsLocked");
    const bool isConstant = node.kind == "IntSwissKnife" || node.tree->count("Value") > 0;
    if (isConstant || (lock && Int(*lock) != 0)) {
        return "RO";
    }
    const auto access = node.tree->get_optional<std::string>("AccessMode");
    return access ? *access : Access(Behind(node).name);
}

GenApi::Register GenApi::Place(const std::string& name) const {
    const Node& node = Find(name);
    if (node.tree->count("Address") == 0) {
        return Place(Behind(node).name);
    }
    Register place;
    for (const auto& [key, child] : *node.tree) {
        if (key == "Address") {
            place.address += static_cast<uint64_t>(ToInt(child.data()));
        } else if (key == "pIndex") {
            place.address += static_cast<uint64_t>(
                Int(child.data()) * ToInt(child.get<std::string>("<xmlattr>.Offset")));
        } else if (key == "Length") {
            place.length = static_cast<size_t>(ToInt(child.data()));
        }
    }
    return place;
}

std::string GenApi::Bytes(const std::string& name) const {
    const Register place = Place(name);
    std::string bytes(place.length, '\0');
    Read(place.address, bytes.data(), bytes.size());
    return bytes;
}

void GenApi::SetBytes(const std::string& name, const std::string& bytes) const {
    Write(Place(name).address, bytes.data(), bytes.size());
}

std::string GenApi::Text(const std::string& name) const {
    return Bytes(name).c_str();
}

void GenApi::SetText(const std::string& name, const std::string& text) const {
    std::string bytes = text;
    bytes.resize(Place(name).length);
    SetBytes(name, bytes);
}

int64_t GenApi::RegisterValue(const Node& node) const {
    const Register place = Place(node.name);
    if (place.length > sizeof(int64_t) ||
        node.tree->get<std::string>("Endianess") != "LittleEndian") {
        Fail(node.name, "no such numbers are known");
    }
    uint64_t bits = 0;
    Read(place.address, &bits, place.length);
    const auto unused = static_cast<unsigned>(64 - 8 * place.length);
    const bool isSigned = node.tree->get("Sign", std::string("Unsigned")) == "Signed";
    return isSigned ? static_cast<int64_t>(bits << unused) >> unused : static_cast<int64_t>(bits);
}

template <typename Number>
Number GenApi::Calculate(const Node& node, const std::string& formula,
                         std::map<std::string, Number> variables) const {
    for (const auto& [key, child] : *node.tree) {
        if (key == "pVariable") {
            const Tree& variable = child;
            variables[variable.get<std::string>("<xmlattr>.Name")] =
                static_cast<Number>(Int(variable.data()));
        }
    }
    return Formula<Number>(node.tree->get<std::string>(formula), variables).Value();
}

int64_t GenApi::IntOf(const Node& node) const {
    if (node.kind == "IntReg") {
        return RegisterValue(node);
    }
    if (node.kind == "IntSwissKnife") {
        return Calculate<int64_t>(node, "Formula", {});
    }
    if (node.kind != "Integer" && node.kind != "Enumeration" && node.kind != "Boolean" &&
        node.kind != "Command") {
        Fail(node.name, "a " + node.kind + " is no integer");
    }
    const auto value = node.tree->get_optional<std::string>("Value");
    return value ? ToInt(*value) : IntOf(Behind(node));
}

void GenApi::SetIntOf(const Node& node, int64_t value) const {
    if (node.kind == "IntReg") {
        const Register place = Place(node.name);
        Write(place.address, &value, place.length);
    } else if (node.kind == "IntSwissKnife" || node.tree->count("Value") > 0) {
        Fail(node.name, "cannot be written");
    } else {
        SetIntOf(Behind(node), value);
    }
}

double GenApi::FloatOf(const Node& node) const {
    if (node.kind == "FloatReg") {
        return std::bit_cast<double>(RegisterValue(node));
    }
    if (node.kind == "Converter") {
        return Calculate<double>(node, "FormulaFrom", {{"TO", FloatOf(Behind(node))}});
    }
    return node.kind == "Float" ? FloatOf(Behind(node)) : static_cast<double>(IntOf(node));
}

void GenApi::SetFloatOf(const Node& node, double value) const {
    if (node.kind == "FloatReg") {
        const Register place = Place(node.name);
        Write(place.address, &value, place.length);
    } else if (node.kind == "Converter") {
        SetFloatOf(Behind(node), Calculate<double>(node, "FormulaTo", {{"FROM", value}}));
    } else if (node.kind == "Float") {
        SetFloatOf(Behind(node), value);
    } else {
        SetIntOf(node, std::llround(value));
    }
}

int64_t GenApi::Int(const std::string& name) const {
    return IntOf(Find(name));
}

void GenApi::SetInt(const std::string& name, int64_t value) const {
    SetIntOf(Find(name), value);
}

double GenApi::Float(const std::string& name) const {
    return FloatOf(Find(name));
}

void GenApi::SetFloat(const std::string& name, double value) const {
    SetFloatOf(Find(name), value);
}

bool GenApi::Bool(const std::string& name) const {
    return Int(name) == ToInt(Find(name).tree->get<std::string>("OnValue"));
}

void GenApi::SetBool(const std::string& name, bool value) const {
    SetInt(name, ToInt(Find(name).tree->get<std::string>(value ? "OnValue" : "OffValue")));
}

std::map<std::string, int64_t> GenApi::Entries(const std::string& name) const {
    std::map<std::string, int64_t> entries;
    for (const auto& [key, child] : *Find(name).tree) {
        if (key == "EnumEntry") {
            entries[child.get<std::string>("<xmlattr>.Name")] =
                ToInt(child.get<std::string>("Value"));
        }
    }
    return entries;
}

std::string GenApi::Entry(const std::string& name) const {
    const int64_t value = Int(name);
    for (const auto& [entry, number] : Entries(name)) {
        if (number == value) {
            return entry;
        }
    }
    Fail(name, "no entry has the value " + std::to_string(value));
}

void GenApi::SetEntry(const std::string& name, const std::string& entry) const {
    const auto entries = Entries(name);
    const auto found = entries.find(entry);
    if (found == entries.end()) {
        Fail(name, "has no entry " + entry);
    }
    SetInt(name, found->second);
}

void GenApi::Execute(const std::string& name) const {
    const Node& node = Find(name);
    if (node.kind != "Command") {
        Fail(name, "no command");
    }
    SetIntOf(node, ToInt(node.tree->get<std::string>("CommandValue")));
}

int64_t GenApi::IntLimit(const std::string& name, const std::string& limit) const {
    const Node& node = Find(name);
    const auto other = node.tree->get_optional<std::string>("p" + limit);
    return other ? Int(*other) : ToInt(node.tree->get<std::string>(limit));
}

double GenApi::FloatLimit(const std::string& name, const std::string& limit) const {
    const Node& node = Find(name);
    const auto other = node.tree->get_optional<std::string>("p" + limit);
    return other ? Float(*other) : std::stod(node.tree->get<std::string>(limit));
}
