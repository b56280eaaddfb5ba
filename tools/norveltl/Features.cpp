#include "Features.h"

#include "Console.h"

#include <boost/property_tree/xml_parser.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <sstream>
#include <utility>
#include <vector>

namespace norveltl {

namespace {

// Every camera interface can carry a read of this size in one packet.
constexpr size_t kReadBlock = 512;
constexpr uint64_t kMaxDescription = 64u << 20;
// Deeper than any sound description; a cycle ends here.
constexpr unsigned kMaxDepth = 32;

std::string Trim(std::string_view text) {
    constexpr const char* kBlanks = " \t\r\n";
    const size_t begin = text.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos)
        return "";
    return std::string(text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1));
}

std::optional<uint64_t> ParseUnsigned(std::string_view text, int base) {
    uint64_t value = 0;
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value, base);
    if (result.ec != std::errc() || result.ptr != end)
        return std::nullopt;
    return value;
}

std::string_view WithoutHexPrefix(std::string_view text) {
    const bool prefixed = text.starts_with("0x") || text.starts_with("0X");
    return prefixed ? text.substr(2) : text;
}

// Decimal with a sign, or hexadecimal with the prefix 0x.
int64_t ParseInteger(const std::string& text, const std::string& where) {
    const bool negative = text.starts_with("-");
    const std::string_view all = std::string_view(text).substr(negative ? 1 : 0);
    const std::string_view digits = WithoutHexPrefix(all);
    const auto value = ParseUnsigned(digits, digits.size() < all.size() ? 16 : 10);
    if (!value)
        throw CToolError(where + ": \"" + Printable(text) + "\" is no whole number");
    return static_cast<int64_t>(negative ? 0 - *value : *value);
}

struct SLocation {
    uint64_t address;
    size_t length;
};

// "Local:name;address;length", both hexadecimal, perhaps with a query behind them.
SLocation ParseUrl(const std::string& url) {
    const auto fail = [&](const std::string& reason) {
        return CToolError("the camera's XML at \"" + Printable(url) +
                          "\" cannot be read: " + reason);
    };
    std::string scheme = url.substr(0, url.find(':'));
    std::transform(scheme.begin(), scheme.end(), scheme.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    if (scheme != "local")
        throw fail("only descriptions in the camera itself (\"Local:\") are supported");

    const std::string rest = url.substr(0, url.find('?'));
    const size_t last = rest.rfind(';');
    const size_t first =
        last == std::string::npos || last == 0 ? std::string::npos : rest.rfind(';', last - 1);
    if (first == std::string::npos)
        throw fail("it does not have the form Local:name;address;length");
    const std::string name = rest.substr(0, first);
    if (name.ends_with(".zip") || name.ends_with(".ZIP"))
        throw fail("zipped descriptions are not supported");
    const auto number = [](const std::string& text) {
        const std::string trimmed = Trim(text);
        return ParseUnsigned(WithoutHexPrefix(trimmed), 16);
    };
    const auto address = number(rest.substr(first + 1, last - first - 1));
    const auto length = number(rest.substr(last + 1));
    if (!address || !length)
        throw fail("its address or length is no hexadecimal number");
    if (*length == 0 || *length > kMaxDescription)
        throw fail("a length of " + std::to_string(*length) + " bytes is not plausible");
    return {*address, static_cast<size_t>(*length)};
}

std::string DescriptionUrl(const CProducer& producer, PORT_HANDLE port) {
    uint32_t count = 0;
    producer.Call(producer.GCGetNumPortURLs, port, &count);
    if (count == 0)
        throw CToolError("the camera names no XML description");
    const auto query = CProducer::Query(producer.GCGetPortURLInfo, port, 0u, URL_INFO_URL);
    if (const auto url = QueryText(query))
        return *url;
    std::array<char, 4096> url{};
    size_t size = url.size() - 1;
    producer.Call(producer.GCGetPortURL, port, url.data(), &size);
    return url.data();
}

void ReadPort(const CProducer& producer, PORT_HANDLE port, uint64_t address, void* buffer,
              size_t size) {
    size_t transferred = size;
    producer.Call(producer.GCReadPort, port, address, buffer, &transferred);
    if (transferred != size)
        throw CToolError("GCReadPort gave " + std::to_string(transferred) + " instead of " +
                         std::to_string(size) + " bytes");
}

uint64_t Mask(unsigned numBits) {
    return numBits >= 64 ? UINT64_MAX : (uint64_t{1} << numBits) - 1;
}

} // namespace

std::string ReadDescription(const CProducer& producer, PORT_HANDLE port) {
    const SLocation location = ParseUrl(DescriptionUrl(producer, port));
    std::string text(location.length, '\0');
    for (size_t done = 0; done < text.size(); done += kReadBlock)
        ReadPort(producer, port, location.address + done, text.data() + done,
                 std::min(kReadBlock, text.size() - done));
    if (text.starts_with("PK\x03\x04"))
        throw CToolError("the camera's XML is zipped, which is not supported");
    return text.substr(0, text.find('\0'));
}

CFeatures::CFeatures(const CProducer& producer, PORT_HANDLE port)
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

const CFeatures::Tree* CFeatures::SNode::Child(const char* key) const {
    const auto own = tree->find(key);
    if (own != tree->not_found())
        return &own->second;
    if (!parent)
        return nullptr;
    const auto inherited = parent->find(key);
    return inherited != parent->not_found() ? &inherited->second : nullptr;
}

std::string CFeatures::SNode::Text(const char* key) const {
    const Tree* child = Child(key);
    return child ? Trim(child->data()) : "";
}

// Entries of enumerations have names too, but belong to their enumeration only.
void CFeatures::AddNodes(const Tree& tree, const Tree* structure) {
    for (const auto& [kind, child] : tree) {
        if (kind == "EnumEntry" || kind == "<xmlattr>")
            continue;
        if (const auto name = child.get_optional<std::string>("<xmlattr>.Name"))
            m_nodes.try_emplace(*name, SNode{*name, kind, &child, structure});
        AddNodes(child, kind == "StructReg" ? &child : nullptr);
    }
}

const CFeatures::SNode& CFeatures::Node(const std::string& name) const {
    const auto found = m_nodes.find(name);
    if (found == m_nodes.end())
        throw CToolError("the camera's XML has no node " + Printable(name));
    return found->second;
}

bool CFeatures::Has(const std::string& feature) const {
    return m_nodes.contains(feature);
}

int64_t CFeatures::ReadInteger(const std::string& feature) const {
    return Read(feature, 0);
}

std::string CFeatures::ReadEnumeration(const std::string& feature) const {
    const SNode& node = Node(feature);
    const int64_t value = Read(feature, 0);
    for (const auto& [kind, entry] : *node.tree) {
        if (kind != "EnumEntry")
            continue;
        const std::string name = entry.get("<xmlattr>.Name", "");
        if (ParseInteger(Trim(entry.get("Value", "")), "entry " + name) == value)
            return Trim(entry.get("Symbolic", name));
    }
    throw CToolError("feature " + feature + " has no entry for its value " + std::to_string(value));
}

void CFeatures::Execute(const std::string& command) const {
    const SNode& node = Node(command);
    if (node.kind != "Command" || !node.Has("pValue"))
        throw CToolError("node " + command + " (" + node.kind + ") is no command with a pValue");
    const int64_t value = node.Has("pCommandValue")
                              ? Read(node.Text("pCommandValue"), 1)
                              : ParseInteger(node.Text("CommandValue"), "command " + command);
    Write(node.Text("pValue"), value, 1);
}

int64_t CFeatures::Read(const std::string& name, unsigned depth) const {
    if (depth > kMaxDepth)
        throw CToolError("node " + Printable(name) + " leads back to itself");
    const SNode& node = Node(name);
    if (node.kind == "Integer" || node.kind == "Enumeration") {
        if (node.Has("pValue"))
            return Read(node.Text("pValue"), depth + 1);
        if (node.Has("Value"))
            return ParseInteger(node.Text("Value"), "node " + name);
        throw CToolError("node " + name + " has neither a Value nor a pValue");
    }
    const SRegister source = Register(node, depth);
    const uint64_t bits = (ReadBytes(source) >> source.lowBit) & Mask(source.numBits);
    const bool negative = source.isSigned && ((bits >> (source.numBits - 1)) & 1) != 0;
    return static_cast<int64_t>(negative ? bits | ~Mask(source.numBits) : bits);
}

void CFeatures::Write(const std::string& name, int64_t value, unsigned depth) const {
    if (depth > kMaxDepth)
        throw CToolError("node " + Printable(name) + " leads back to itself");
    const SNode& node = Node(name);
    if ((node.kind == "Integer" || node.kind == "Enumeration") && node.Has("pValue"))
        return Write(node.Text("pValue"), value, depth + 1);
    const SRegister target = Register(node, depth);
    const uint64_t mask = Mask(target.numBits);
    uint64_t bits = static_cast<uint64_t>(value) & mask;
    if (target.numBits < 8 * target.length)
        bits = (ReadBytes(target) & ~(mask << target.lowBit)) | (bits << target.lowBit);
    WriteBytes(target, bits);
}

CFeatures::SRegister CFeatures::Register(const SNode& node, unsigned depth) const {
    const bool isMasked = node.kind == "MaskedIntReg" || node.kind == "StructEntry";
    if (node.kind != "IntReg" && !isMasked)
        throw CToolError("node " + node.name + " is of the kind " + node.kind +
                         ", which cannot be resolved");
    CheckPort(node);
    SRegister result{};
    const Tree& place = node.parent ? *node.parent : *node.tree;
    for (const auto& [kind, part] : place) {
        const std::string text = Trim(part.data());
        if (kind == "Address")
            result.address += static_cast<uint64_t>(ParseInteger(text, "node " + node.name));
        else if (kind == "pAddress")
            result.address += static_cast<uint64_t>(Read(text, depth + 1));
        else if (kind == "pIndex" || kind == "IntSwissKnife")
            throw CToolError("node " + node.name + ": an address from a " + kind +
                             " cannot be resolved");
    }
    if (!node.Has("Address") && !node.Has("pAddress"))
        throw CToolError("node " + node.name + " has no address");
    const int64_t length = node.Has("pLength")
                               ? Read(node.Text("pLength"), depth + 1)
                               : ParseInteger(node.Text("Length"), "node " + node.name);
    if (length < 1 || length > 8)
        throw CToolError("node " + node.name + ": a number of " + std::to_string(length) +
                         " bytes cannot be resolved");
    result.length = static_cast<size_t>(length);
    result.bigEndian = node.Text("Endianess") == "BigEndian";
    result.isSigned = node.Text("Sign") == "Signed";
    result.numBits = 8 * static_cast<unsigned>(length);
    if (isMasked)
        SetBits(node, result);
    return result;
}

// In a big-endian register bit 0 is the most significant one.
void CFeatures::SetBits(const SNode& node, SRegister& target) const {
    const bool single = node.Has("Bit");
    const std::string where = "node " + node.name;
    int64_t low = ParseInteger(node.Text(single ? "Bit" : "LSB"), where);
    int64_t high = ParseInteger(node.Text(single ? "Bit" : "MSB"), where);
    const int64_t top = static_cast<int64_t>(8 * target.length) - 1;
    if (target.bigEndian) {
        low = top - low;
        high = top - high;
    }
    if (low > high)
        std::swap(low, high);
    if (low < 0 || high > top)
        throw CToolError(where + ": its bits lie outside its register");
    target.lowBit = static_cast<unsigned>(low);
    target.numBits = static_cast<unsigned>(high - low + 1);
}

// Registers of chunks and events lie in buffers and messages, not behind the camera's port.
void CFeatures::CheckPort(const SNode& node) const {
    const std::string name = node.Text("pPort");
    if (name.empty())
        return;
    const SNode& port = Node(name);
    for (const char* key : {"ChunkID", "pChunkID", "EventID"})
        if (port.Has(key))
            throw CToolError("node " + node.name + " does not lie in the camera's registers");
}

uint64_t CFeatures::ReadBytes(const SRegister& source) const {
    std::array<uint8_t, 8> bytes{};
    ReadPort(m_producer, m_port, source.address, bytes.data(), source.length);
    uint64_t bits = 0;
    for (size_t i = 0; i < source.length; ++i)
        bits = bits << 8 | bytes[source.bigEndian ? i : source.length - 1 - i];
    return bits;
}

void CFeatures::WriteBytes(const SRegister& target, uint64_t bits) const {
    std::array<uint8_t, 8> bytes{};
    for (size_t i = 0; i < target.length; ++i, bits >>= 8)
        bytes[target.bigEndian ? target.length - 1 - i : i] = static_cast<uint8_t>(bits);
    size_t size = target.length;
    m_producer.Call(m_producer.GCWritePort, m_port, target.address, bytes.data(), &size);
}

} // namespace norveltl
