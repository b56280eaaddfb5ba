// What the tests of the register map share: short ways to define registers and to see their bytes,
// and callbacks that keep a log.
#pragma once

#include "Thrown.h"
#include "core/Errors.h"
#include "core/RegisterMap.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

// One call of a register's callback.
struct CallbackCall {
    std::string kind;
    uint64_t address;
    uint32_t value;
    uint64_t context;

    bool operator==(const CallbackCall&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const CallbackCall& call) {
    return out << call.kind << " at " << call.address << " with " << call.value << " for "
               << call.context;
}

class RegisterMapTest : public testing::Test {
protected:
    static constexpr uint32_t READ_ONLY = 1;
    static constexpr uint32_t WRITE_ONLY = 2;
    static constexpr uint32_t READ_WRITE = 3;

    void SetUp() override { calls.clear(); }

    void Define(uint64_t address, uint32_t access, uint32_t value) {
        map.Define(address, access, value, 0, nullptr, 0, nullptr);
    }

    // Registers of both ways of access from 0 on.
    void DefineValues(const std::vector<uint32_t>& values) {
        for (size_t i = 0; i < values.size(); ++i) {
            Define(4 * i, READ_WRITE, values[i]);
        }
    }

    // A register whose callbacks keep the log.
    void DefineLogged(uint64_t address, uint32_t access, uint32_t value, uint64_t context) {
        map.Define(address, access, value, 0, LogWrite, context, LogRead);
    }

    std::vector<uint32_t> Values(uint64_t address, size_t count) const {
        std::vector<uint32_t> values;
        for (size_t i = 0; i < count; ++i) {
            values.push_back(map.ValueOf(address + 4 * i));
        }
        return values;
    }

    std::string Bytes(uint64_t address, size_t size) const {
        std::string bytes(size, '?');
        map.RawRead(address, bytes.data(), size);
        return bytes;
    }

    static void LogRead(uint64_t address, uint32_t* value, uint64_t context) {
        calls.push_back({"read", address, *value, context});
    }

    static void LogWrite(uint64_t address, uint32_t* value, uint64_t context) {
        calls.push_back({"write", address, *value, context});
    }

    inline static std::vector<CallbackCall> calls;
    GenICam::Client::CRegisterMap map;
};
