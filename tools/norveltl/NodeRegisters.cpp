#include "NodeMap.h"

#include "Description.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace norveltl {

// In a big-endian register bit 0 is the most significant one.
CNodeMap::SBits CNodeMap::Bits(const SNode& node, size_t length) const {
    if (node.kind == "IntReg") {
        return {0, static_cast<unsigned>(8 * length)};
    }
    const bool single = node.Has("Bit");
    const std::string where = "node " + node.name;
    int64_t low = ParseInteger(node.Text(single ? "Bit" : "LSB"), where);
    int64_t high = ParseInteger(node.Text(single ? "Bit" : "MSB"), where);
    const int64_t top = static_cast<int64_t>(8 * length) - 1;
    if (node.Text("Endianess") == "BigEndian") {
        low = top - low;
        high = top - high;
    }
    if (low > high) {
        std::swap(low, high);
    }
    if (low < 0 || high > top) {
        throw CToolError(where + ": its bits lie outside its register");
    }
    return {static_cast<unsigned>(low), static_cast<unsigned>(high - low + 1)};
}

// Registers of chunks and events lie in buffers and messages, not behind the camera's port.
void CNodeMap::CheckPort(const SNode& node) const {
    const std::string name = node.Text("pPort");
    if (name.empty()) {
        return;
    }
    const SNode& port = Node(name);
    for (const char* key : {"ChunkID", "pChunkID", "EventID"}) {
        if (port.Has(key)) {
            throw CToolError("node " + node.name + " does not lie in the camera's registers");
        }
    }
}

uint64_t CNodeMap::ReadRegister(const SNode& node, const SPlace& place) const {
    std::array<uint8_t, 8> bytes{};
    ReadPort(m_producer, m_port, place.address, bytes.data(), place.length);
    if (node.Text("Endianess") == "BigEndian") {
        std::reverse(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(place.length));
    }
    uint64_t bits = 0;
    std::memcpy(&bits, bytes.data(), bytes.size());
    return bits;
}

void CNodeMap::WriteRegister(const SNode& node, const SPlace& place, uint64_t bits) const {
    std::array<uint8_t, 8> bytes{};
    std::memcpy(bytes.data(), &bits, bytes.size());
    if (node.Text("Endianess") == "BigEndian") {
        std::reverse(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(place.length));
    }
    size_t size = place.length;
    m_producer.Call(m_producer.GCWritePort, m_port, place.address, bytes.data(), &size);
}

} // namespace norveltl
