#include "RegisterMapFixture.h"
#include "api/CallFrame.h"

#include <array>
#include <functional>

namespace {

using GenICam::Client::CRegisterMap;
using GenICam::Client::Translated;

constexpr char INVALID[] = "Address is invalid.";
constexpr char MISALIGNED[] = "Address and/or uiSize have to be multiples of four.";
constexpr char NO_BUFFER[] = "pBuffer is not valid.";
constexpr char BAD_ACCESS[] = "iAccess is an unknown ACCESS value.";

uint32_t scratch[16];

// An operation that takes an address, with arguments that are sound otherwise.
struct Operation {
    const char* name;
    std::function<void(CRegisterMap&, uint64_t)> call;
};

const std::vector<Operation>& DefiningOperations() {
    static const std::vector<Operation> operations = {
        {"Define", [](auto& map, auto at) { map.Define(at, 3, 1, 0, nullptr, 0, nullptr); }},
        {"Define64",
         [](auto& map, auto at) { map.Define64(at, 3, 1, 0, true, nullptr, 0, nullptr); }},
        {"DefineString",
         [](auto& map, auto at) { map.DefineString(at, 3, "abc", 8, 0, nullptr, 0, nullptr); }},
        {"DefineBlock",
         [](auto& map, auto at) { map.DefineBlock(at, 3, scratch, 8, 0, nullptr, 0, nullptr); }},
    };
    return operations;
}

const std::vector<Operation>& QueryingOperations() {
    static const std::vector<Operation> operations = {
        {"AccessOf", [](auto& map, auto at) { map.AccessOf(at); }},
        {"MarkerOf", [](auto& map, auto at) { map.MarkerOf(at); }},
    };
    return operations;
}

const std::vector<Operation>& OperationsOnExistingRegisters() {
    static const std::vector<Operation> operations = {
        {"ReadBlock", [](auto& map, auto at) { map.ReadBlock(at, scratch, 8); }},
        {"ReadRegister", [](auto& map, auto at) { map.ReadRegister(at); }},
        {"WriteBlock", [](auto& map, auto at) { map.WriteBlock(at, scratch, 8); }},
        {"WriteRegister", [](auto& map, auto at) { map.WriteRegister(at, 1); }},
        {"RawRead", [](auto& map, auto at) { map.RawRead(at, scratch, 8); }},
        {"ValueOf", [](auto& map, auto at) { map.ValueOf(at); }},
        {"ValueOf64", [](auto& map, auto at) { map.ValueOf64(at, true); }},
        {"SetAccess", [](auto& map, auto at) { map.SetAccess(at, 1); }},
        {"SetCallbacks", [](auto& map, auto at) { map.SetCallbacks(at, nullptr, 0, nullptr); }},
        {"WriteString", [](auto& map, auto at) { map.WriteString(at, "abcd"); }},
        {"RawWrite", [](auto& map, auto at) { map.RawWrite(at, scratch, 8); }},
        {"SetValue", [](auto& map, auto at) { map.SetValue(at, 1); }},
        {"SetValue64", [](auto& map, auto at) { map.SetValue64(at, 1, true); }},
        {"SetMarker", [](auto& map, auto at) { map.SetMarker(at, 1); }},
    };
    return operations;
}

std::vector<Operation> AllOperations() {
    std::vector<Operation> all = DefiningOperations();
    for (const auto* more : {&QueryingOperations(), &OperationsOnExistingRegisters()}) {
        all.insert(all.end(), more->begin(), more->end());
    }
    return all;
}

TEST_F(RegisterMapTest, EveryOperationRefusesABadAddress) {
    const struct {
        uint64_t address;
        const char* text;
    } rows[] = {
        {0xFFFFFFFFFFFFFFFF, INVALID},
        {1, MISALIGNED},
        {2, MISALIGNED},
        {3, MISALIGNED},
        {0x1999999999999999, MISALIGNED},
        {0xFFFFFFFFFFFFFFFE, MISALIGNED},
        {0x199999999999999C, "Address too large: 0 <= 1844674407370955164 <= 461168601842738790"},
        {0xFFFFFFFFFFFFFFFC, "Address too large: 0 <= 18446744073709551612 <= 461168601842738790"},
    };
    DefineValues({5, 6, 7});
    for (const Operation& operation : AllOperations()) {
        for (const auto& row : rows) {
            SCOPED_TRACE(std::string(operation.name) + " at " + std::to_string(row.address));
            EXPECT_THROWS(std::invalid_argument, row.text, operation.call(map, row.address));
        }
    }
    EXPECT_EQ(Values(0, 3), (std::vector<uint32_t>{5, 6, 7}));
}

TEST_F(RegisterMapTest, EveryAccessOfAnUndefinedRegisterFails) {
    Define(0x40, READ_WRITE, 1);
    for (const Operation& operation : OperationsOnExistingRegisters()) {
        SCOPED_TRACE(operation.name);
        EXPECT_THROWS(std::out_of_range, "Register 3C is not available.",
                      operation.call(map, 0x3C));
        EXPECT_THROWS(std::out_of_range, "Register 1999999999999998 is not available.",
                      operation.call(map, 0x1999999999999998));
    }
}

TEST_F(RegisterMapTest, EveryBlockOperationRefusesAnOddSize) {
    DefineValues({1, 2});
    for (const size_t size : {size_t{1}, size_t{2}, size_t{3}, size_t{6}}) {
        SCOPED_TRACE(size);
        EXPECT_THROWS(std::invalid_argument, MISALIGNED, map.ReadBlock(0, scratch, size));
        EXPECT_THROWS(std::invalid_argument, MISALIGNED, map.WriteBlock(0, scratch, size));
        EXPECT_THROWS(std::invalid_argument, MISALIGNED, map.RawRead(0, scratch, size));
        EXPECT_THROWS(std::invalid_argument, MISALIGNED, map.RawWrite(0, scratch, size));
        EXPECT_THROWS(std::invalid_argument, MISALIGNED,
                      map.DefineString(0, 3, "a", size, 0, nullptr, 0, nullptr));
        EXPECT_THROWS(std::invalid_argument, MISALIGNED,
                      map.DefineBlock(0, 3, nullptr, size, 0, nullptr, 0, nullptr));
    }
    EXPECT_EQ(Values(0, 2), (std::vector<uint32_t>{1, 2}));
}

TEST_F(RegisterMapTest, EveryBlockAccessNeedsABuffer) {
    DefineValues({1, 2});
    for (const size_t size : {size_t{0}, size_t{4}, size_t{8}}) {
        SCOPED_TRACE(size);
        EXPECT_THROWS(std::invalid_argument, NO_BUFFER, map.ReadBlock(0, nullptr, size));
        EXPECT_THROWS(std::invalid_argument, NO_BUFFER, map.WriteBlock(0, nullptr, size));
        EXPECT_THROWS(std::invalid_argument, NO_BUFFER, map.RawRead(0, nullptr, size));
        EXPECT_THROWS(std::invalid_argument, NO_BUFFER, map.RawWrite(0, nullptr, size));
    }
}

TEST_F(RegisterMapTest, EveryBlockAccessNeedsASize) {
    DefineValues({1, 2});
    EXPECT_THROWS(std::invalid_argument, NO_BUFFER, map.ReadBlock(0, scratch, 0));
    EXPECT_THROWS(std::invalid_argument, NO_BUFFER, map.WriteBlock(0, scratch, 0));
    EXPECT_THROWS(std::invalid_argument, NO_BUFFER, map.RawRead(0, scratch, 0));
    EXPECT_THROWS(std::invalid_argument, NO_BUFFER, map.RawWrite(0, scratch, 0));
}

// What is wrong first is what the text tells: address, alignment, range, scratch, register, access.
TEST_F(RegisterMapTest, ChecksInOrder) {
    Define(0, WRITE_ONLY, 1);
    EXPECT_THROWS(std::invalid_argument, INVALID, map.ReadBlock(UINT64_MAX, nullptr, 3));
    EXPECT_THROWS(std::invalid_argument, MISALIGNED, map.ReadBlock(0xFFFFFFFFFFFFFFFD, nullptr, 0));
    EXPECT_THROWS(std::invalid_argument, MISALIGNED, map.ReadBlock(0xFFFFFFFFFFFFFFF0, nullptr, 6));
    EXPECT_THROWS(std::invalid_argument,
                  "Address too large: 0 <= 18446744073709551600 <= 461168601842738790",
                  map.ReadBlock(0xFFFFFFFFFFFFFFF0, nullptr, 0));
    EXPECT_THROWS(std::invalid_argument, NO_BUFFER, map.ReadBlock(0x100, nullptr, 4));
    EXPECT_THROWS(std::out_of_range, "Register 100 is not available.",
                  map.ReadBlock(0x100, scratch, 4));
    EXPECT_THROWS(GenICam::Client::access_error, "Register 0 is not readable.",
                  map.ReadBlock(0, scratch, 8));
}

TEST_F(RegisterMapTest, EveryDefinitionRefusesAnUnknownAccess) {
    for (const uint32_t access : {0U, 4U, 5U, 7U, 0x80000000U, 0xFFFFFFFFU}) {
        SCOPED_TRACE(access);
        EXPECT_THROWS(std::invalid_argument, BAD_ACCESS,
                      map.Define(0, access, 1, 0, nullptr, 0, nullptr));
        EXPECT_THROWS(std::invalid_argument, BAD_ACCESS,
                      map.Define64(0, access, 1, 0, true, nullptr, 0, nullptr));
        EXPECT_THROWS(std::invalid_argument, BAD_ACCESS,
                      map.DefineString(0, access, "a", 8, 0, nullptr, 0, nullptr));
        EXPECT_THROWS(std::invalid_argument, BAD_ACCESS,
                      map.DefineBlock(0, access, nullptr, 8, 0, nullptr, 0, nullptr));
    }
    EXPECT_EQ(map.AccessOf(0), 0U);
    EXPECT_EQ(map.AccessOf(4), 0U);
}

TEST_F(RegisterMapTest, SetAccessRefusesAnUnknownAccess) {
    Define(0, READ_ONLY, 1);
    for (const uint32_t access : {0U, 4U, 0xFFFFFFFFU}) {
        EXPECT_THROWS(std::invalid_argument, BAD_ACCESS, map.SetAccess(0, access));
    }
    EXPECT_EQ(map.AccessOf(0), 1U);
}

// The code and the text that a consumer gets for a failing access of the map.
void ExpectConsumerGets(int32_t code, const std::string& text, const std::function<void()>& call) {
    EXPECT_EQ(Translated(call), code);
    int32_t recorded = 0;
    char recordedText[200] = {};
    size_t size = sizeof recordedText;
    EXPECT_EQ(GenICam::Client::ReadLastError(&recorded, recordedText, &size), 0);
    EXPECT_EQ(recorded, code);
    EXPECT_EQ(recordedText, text);
}

TEST_F(RegisterMapTest, AConsumerIsToldOfForbiddenAccessAlone) {
    Define(0x44, READ_ONLY, 1);
    Define(0x48, WRITE_ONLY, 1);
    ExpectConsumerGets(-1005, "Register 44 is not writable.",
                       [&] { map.WriteBlock(0x44, scratch, 4); });
    ExpectConsumerGets(-1005, "Register 48 is not readable.",
                       [&] { map.ReadBlock(0x48, scratch, 4); });
    const char* unspecified = "Unspecified runtime error.";
    ExpectConsumerGets(-1001, unspecified, [&] { map.ReadBlock(0x4C, scratch, 4); });
    ExpectConsumerGets(-1001, unspecified, [&] { map.ReadBlock(0x46, scratch, 4); });
    ExpectConsumerGets(-1001, unspecified, [&] { map.ReadBlock(0x44, scratch, 6); });
    ExpectConsumerGets(-1001, unspecified, [&] { map.ReadBlock(0x44, nullptr, 4); });
}

} // namespace
