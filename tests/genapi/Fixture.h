// Registers in memory, a description above them, and how the tests look at failures.
#pragma once

#include "genapi/Error.h"
#include "genapi/NodeMap.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

inline std::string Repeated(const std::string& text, size_t count) {
    std::string all;
    all.reserve(text.size() * count);
    while (count-- > 0) {
        all += text;
    }
    return all;
}

// A port over so many bytes from address 0, which refuses everything beyond.
class CMemory {
public:
    explicit CMemory(size_t size = 64) : bytes(size) {}

    GenApi::SPort Port() {
        return {[this](uint64_t address, void* buffer, size_t size) {
                    ++numReads;
                    std::memcpy(buffer, At(address, size), size);
                },
                [this](uint64_t address, const void* buffer, size_t size) {
                    ++numWrites;
                    std::memcpy(At(address, size), buffer, size);
                }};
    }

    std::vector<uint8_t> bytes;
    size_t numReads = 0;
    size_t numWrites = 0;

private:
    uint8_t* At(uint64_t address, size_t size) {
        if (address > bytes.size() || size > bytes.size() - address) {
            throw std::runtime_error("no register at " + std::to_string(address));
        }
        return bytes.data() + address;
    }
};

class NodesTest : public testing::Test {
protected:
    GenApi::CNodeMap Nodes(const std::string& nodes) {
        return GenApi::CNodeMap("<RegisterDescription>" + nodes + "</RegisterDescription>",
                                memory.Port());
    }

    CMemory memory;
};

// The text of the CError that a call throws; "nothing" when it returns.
template <class C>
std::string ErrorOf(const C& call) {
    try {
        call();
    } catch (const GenApi::CError& error) {
        return error.what();
    }
    return "nothing";
}

// A number's register of 4 bytes, little-endian and unsigned unless more says otherwise.
inline std::string Register(const std::string& name, unsigned address,
                            const std::string& more = {}) {
    return "<IntReg Name='" + name + "'><Address>" + std::to_string(address) +
           "</Address><Length>4</Length><AccessMode>RW</AccessMode>" + more + "</IntReg>";
}
