#include "genapi/Error.h"
#include "genapi/Evaluation.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace GenApi {

// A camera takes its time for each.
static constexpr size_t kAccessWork = 10'000;

// In a big-endian register bit 0 is the most significant one.
CEvaluation::SBits CEvaluation::Bits(const SNode& node, size_t length) {
    if (node.kind == "IntReg") {
        return {0, static_cast<unsigned>(8 * length)};
    }
    const bool single = node.Has("Bit");
    int64_t low = IntegerIn(node, single ? "Bit" : "LSB");
    int64_t high = IntegerIn(node, single ? "Bit" : "MSB");
    const int64_t top = static_cast<int64_t>(8 * length) - 1;
    if (low < 0 || low > top || high < 0 || high > top) {
        throw CError("node " + node.name + ": its bits lie outside its register");
    }
    if (ValueOf(node, "Endianess") == "BigEndian") {
        low = top - low;
        high = top - high;
    }
    if (low > high) {
        std::swap(low, high);
    }
    return {static_cast<unsigned>(low), static_cast<unsigned>(high - low + 1)};
}

// Registers of chunks and events lie in buffers and messages, not behind the camera's port.
void CEvaluation::CheckPort(const SNode& node) {
    const std::string name = ValueOf(node, "pPort");
    if (name.empty()) {
        return;
    }
    const SNode& port = m_nodes.Node(name);
    for (const char* key : {"ChunkID", "pChunkID", "EventID"}) {
        if (port.Has(key)) {
            throw CError("node " + node.name + " does not lie in the camera's registers");
        }
    }
}

uint64_t CEvaluation::ReadRegister(const SNode& node, const SPlace& place) {
    std::array<uint8_t, 8> bytes{};
    Read(place, bytes.data());
    if (ValueOf(node, "Endianess") == "BigEndian") {
        std::reverse(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(place.length));
    }
    uint64_t bits = 0;
    std::memcpy(&bits, bytes.data(), bytes.size());
    return bits;
}

void CEvaluation::WriteRegister(const SNode& node, const SPlace& place, uint64_t bits) {
    std::array<uint8_t, 8> bytes{};
    std::memcpy(bytes.data(), &bits, bytes.size());
    if (ValueOf(node, "Endianess") == "BigEndian") {
        std::reverse(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(place.length));
    }
    Write(place, bytes.data());
}

void CEvaluation::Read(const SPlace& place, void* buffer) {
    Spend(kAccessWork);
    m_port.read(place.address, buffer, place.length);
}

void CEvaluation::Write(const SPlace& place, const void* buffer) {
    Spend(kAccessWork);
    m_port.write(place.address, buffer, place.length);
}

} // namespace GenApi
