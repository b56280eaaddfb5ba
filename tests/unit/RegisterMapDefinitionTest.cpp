#include "RegisterMapFixture.h"

#include <algorithm>
#include <array>

namespace {

using Calls = std::vector<CallbackCall>;

// Definition keeps everything that it is told.
void ExpectDefined(const GenICam::Client::CRegisterMap& map, uint64_t address, uint32_t access,
                   uint8_t marker) {
    SCOPED_TRACE(address);
    EXPECT_EQ(map.AccessOf(address), access);
    EXPECT_EQ(map.MarkerOf(address), marker);
}

TEST_F(RegisterMapTest, ARegisterHasItsAccessValueAndMarker) {
    map.Define(0x40, WRITE_ONLY, 0x89ABCDEF, 0xA5, nullptr, 0, nullptr);
    ExpectDefined(map, 0x40, 2, 0xA5);
    EXPECT_EQ(map.ValueOf(0x40), 0x89ABCDEFU);
}

TEST_F(RegisterMapTest, ARegisterIsReplacedByItsNextDefinition) {
    map.Define(0x40, READ_WRITE, 1, 2, LogWrite, 3, LogRead);
    map.Define(0x40, READ_ONLY, 9, 0, nullptr, 0, nullptr);
    ExpectDefined(map, 0x40, 1, 0);
    EXPECT_EQ(map.ReadRegister(0x40), 9U);
    EXPECT_EQ(calls, Calls());
}

TEST_F(RegisterMapTest, ADefinitionBelowOthersLeavesThemAlone) {
    Define(0x80, READ_ONLY, 1);
    Define(0x10, READ_ONLY, 2);
    EXPECT_EQ(map.ReadRegister(0x80), 1U);
    EXPECT_EQ(map.ReadRegister(0x10), 2U);
    EXPECT_EQ(map.AccessOf(0x84), 0U);
}

TEST_F(RegisterMapTest, A64BitRegisterHasItsLowWordFirst) {
    map.Define64(0x10, READ_ONLY, 0x0000000100000002, 3, true, nullptr, 0, nullptr);
    EXPECT_EQ(Values(0x10, 2), (std::vector<uint32_t>{2, 1}));
    EXPECT_EQ(map.ValueOf64(0x10, true), 0x0000000100000002U);
    EXPECT_EQ(map.ValueOf64(0x10, false), 0x0000000200000001U);
}

TEST_F(RegisterMapTest, A64BitRegisterHasItsHighWordFirst) {
    map.Define64(0x10, READ_ONLY, 0x0000000100000002, 3, false, nullptr, 0, nullptr);
    EXPECT_EQ(Values(0x10, 2), (std::vector<uint32_t>{1, 2}));
    EXPECT_EQ(map.ValueOf64(0x10, false), 0x0000000100000002U);
    EXPECT_EQ(map.ValueOf64(0x10, true), 0x0000000200000001U);
}

TEST_F(RegisterMapTest, BothHalvesOfA64BitRegisterAreAlikeButForTheValue) {
    map.Define64(0x10, READ_WRITE, 0x0000000100000002, 0x7F, true, LogWrite, 55, LogRead);
    ExpectDefined(map, 0x10, 3, 0x7F);
    ExpectDefined(map, 0x14, 3, 0x7F);
    map.ReadRegister(0x10);
    map.ReadRegister(0x14);
    map.WriteRegister(0x14, 8);
    EXPECT_EQ(calls, (Calls{{"read", 0x10, 2, 55}, {"read", 0x14, 1, 55}, {"write", 0x14, 8, 55}}));
}

TEST_F(RegisterMapTest, A64BitRegisterReplacesBothRegisters) {
    DefineValues({7, 8, 9});
    map.Define64(0, READ_ONLY, 0x0000000A0000000B, 0, true, nullptr, 0, nullptr);
    EXPECT_EQ(Values(0, 3), (std::vector<uint32_t>{11, 10, 9}));
    EXPECT_EQ(map.AccessOf(4), 1U);
}

TEST_F(RegisterMapTest, ARefusedDefinitionChangesNothing) {
    DefineValues({1, 2});
    const auto refused = [](const auto& define) {
        EXPECT_THROWS(std::invalid_argument, "iAccess is an unknown ACCESS value.", define());
    };
    const uint32_t values[] = {8, 9};
    refused([&] { map.Define(0, 4, 8, 0, nullptr, 0, nullptr); });
    refused([&] { map.Define64(0, 4, 8, 0, true, nullptr, 0, nullptr); });
    refused([&] { map.DefineString(0, 4, "text", 8, 0, nullptr, 0, nullptr); });
    refused([&] { map.DefineBlock(0, 4, values, 8, 0, nullptr, 0, nullptr); });
    EXPECT_EQ(Values(0, 2), (std::vector<uint32_t>{1, 2}));
    EXPECT_EQ(map.AccessOf(4), 3U);
}

TEST_F(RegisterMapTest, AStringRegisterHoldsItsText) {
    map.DefineString(0x20, READ_ONLY, "NORVEL", 12, 0, nullptr, 0, nullptr);
    EXPECT_EQ(Bytes(0x20, 12), std::string("NORVEL\0\0\0\0\0\0", 12));
    EXPECT_EQ(map.AccessOf(0x2C), 0U);
}

TEST_F(RegisterMapTest, AStringRegisterCutsATextThatIsTooLong) {
    const std::string text =
        "0123456789012345678901234567890123456789012345678901234567890123456789";
    map.DefineString(0, READ_ONLY, text.c_str(), 64, 0, nullptr, 0, nullptr);
    EXPECT_EQ(Bytes(0, 64), "012345678901234567890123456789012345678901234567890123456789012" +
                                std::string(1, '\0'));
    EXPECT_EQ(map.AccessOf(64), 0U);
}

TEST_F(RegisterMapTest, AStringRegisterAlwaysHasRoomForTheTerminatingZero) {
    const struct {
        const char* text;
        std::string bytes;
    } rows[] = {
        {"", {"\0\0\0\0\0\0\0\0", 8}},       {"a", {"a\0\0\0\0\0\0\0", 8}},
        {"abcd", {"abcd\0\0\0\0", 8}},       {"abcdefg", {"abcdefg\0", 8}},
        {"abcdefgh", {"abcdefg\0", 8}},      {"abcdefghi", {"abcdefg\0", 8}},
        {"abcdefghijklm", {"abcdefg\0", 8}},
    };
    for (const auto& row : rows) {
        map.DefineString(0, READ_ONLY, row.text, 8, 0, nullptr, 0, nullptr);
        EXPECT_EQ(Bytes(0, 8), row.bytes) << row.text;
        EXPECT_EQ(map.AccessOf(8), 0U) << row.text;
    }
}

TEST_F(RegisterMapTest, AStringRegisterLeavesNothingOfAnEarlierText) {
    map.DefineString(0, READ_ONLY, "a longer text", 16, 0, nullptr, 0, nullptr);
    map.DefineString(0, READ_ONLY, "b", 8, 0, nullptr, 0, nullptr);
    EXPECT_EQ(Bytes(0, 16), std::string("b\0\0\0\0\0\0\0"
                                        " text\0\0\0",
                                        16));
}

TEST_F(RegisterMapTest, AllRegistersOfAStringAreDefinedAlike) {
    map.DefineString(0x10, READ_WRITE, "ab", 8, 0x33, LogWrite, 66, LogRead);
    EXPECT_EQ(calls, Calls());
    for (const uint64_t address : {0x10U, 0x14U}) {
        ExpectDefined(map, address, 3, 0x33);
        map.WriteRegister(address, 1);
        map.ReadRegister(address);
    }
    EXPECT_EQ(calls, (Calls{{"write", 0x10, 1, 66},
                            {"read", 0x10, 1, 66},
                            {"write", 0x14, 1, 66},
                            {"read", 0x14, 1, 66}}));
}

TEST_F(RegisterMapTest, ABlockHoldsItsInitialBytes) {
    map.DefineBlock(0x40, READ_ONLY, "ABCDEFGH", 8, 0, nullptr, 0, nullptr);
    EXPECT_EQ(Values(0x40, 2), (std::vector<uint32_t>{0x44434241, 0x48474645}));
    EXPECT_EQ(map.AccessOf(0x3C), 0U);
    EXPECT_EQ(map.AccessOf(0x48), 0U);
}

TEST_F(RegisterMapTest, ABlockWithoutInitialBytesIsZero) {
    DefineValues({1, 2, 3});
    map.DefineBlock(0, READ_ONLY, nullptr, 8, 0, nullptr, 0, nullptr);
    EXPECT_EQ(Values(0, 3), (std::vector<uint32_t>{0, 0, 3}));
    EXPECT_EQ(map.AccessOf(4), 1U);
    EXPECT_EQ(map.AccessOf(8), 3U);
}

TEST_F(RegisterMapTest, AllRegistersOfABlockAreDefinedAlike) {
    map.DefineBlock(0x10, WRITE_ONLY, nullptr, 12, 0x44, LogWrite, 77, LogRead);
    for (const uint64_t address : {0x10U, 0x14U, 0x18U}) {
        ExpectDefined(map, address, 2, 0x44);
        map.WriteRegister(address, 1);
    }
    EXPECT_EQ(calls,
              (Calls{{"write", 0x10, 1, 77}, {"write", 0x14, 1, 77}, {"write", 0x18, 1, 77}}));
}

TEST_F(RegisterMapTest, ABlockWithoutLengthDefinesNothing) {
    map.DefineBlock(0, READ_ONLY, nullptr, 0, 0, nullptr, 0, nullptr);
    EXPECT_EQ(map.AccessOf(0), 0U);
}

TEST_F(RegisterMapTest, AShorterBlockReplacesTheFirstRegistersOfALonger) {
    map.DefineString(0x600, READ_ONLY, "a text of thirty-one characters", 32, 1, nullptr, 0,
                     nullptr);
    map.DefineString(0x600, READ_WRITE, "short", 8, 2, nullptr, 0, nullptr);
    EXPECT_EQ(Bytes(0x600, 8), std::string("short\0\0\0", 8));
    EXPECT_EQ(Bytes(0x608, 24), std::string("f thirty-one characters\0", 24));
    ExpectDefined(map, 0x604, 3, 2);
    ExpectDefined(map, 0x608, 1, 1);
}

TEST_F(RegisterMapTest, ALargeBlockIsDefinedWhole) {
    std::string bytes(200'000, '\0');
    for (size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<char>(i * 7 % 251);
    }
    map.DefineBlock(0x940, READ_ONLY, bytes.data(), bytes.size(), 0, nullptr, 0, nullptr);
    EXPECT_TRUE(Bytes(0x940, bytes.size()) == bytes);
}

// A map that tells which of its operations the others go through.
class CTracedMap final : public GenICam::Client::CRegisterMap {
public:
    uint32_t ReadRegister(uint64_t address) override {
        trace.push_back("read " + std::to_string(address));
        return CRegisterMap::ReadRegister(address);
    }
    void WriteRegister(uint64_t address, uint32_t value) override {
        trace.push_back("write " + std::to_string(address));
        CRegisterMap::WriteRegister(address, value);
    }
    void Define(uint64_t address, uint32_t access, uint32_t value, uint8_t marker, Callback onWrite,
                uint64_t context, Callback onRead) override {
        trace.push_back("define " + std::to_string(address) + " as " + std::to_string(value));
        CRegisterMap::Define(address, access, value, marker, onWrite, context, onRead);
    }
    uint32_t ValueOf(uint64_t address) const override {
        trace.push_back("value of " + std::to_string(address));
        return CRegisterMap::ValueOf(address);
    }
    void SetValue(uint64_t address, uint32_t value) override {
        trace.push_back("set " + std::to_string(address));
        CRegisterMap::SetValue(address, value);
    }

    mutable std::vector<std::string> trace;
};

using Trace = std::vector<std::string>;

TEST(RegisterMapTraceTest, ABlockIsDefinedFromTheTopDown) {
    CTracedMap map;
    const uint32_t values[] = {7, 8, 9};
    map.DefineBlock(16, 1, values, 12, 0, nullptr, 0, nullptr);
    EXPECT_EQ(map.trace, (Trace{"define 24 as 9", "define 20 as 8", "define 16 as 7"}));
}

TEST(RegisterMapTraceTest, AStringIsDefinedAsZerosFromTheTopDownAndThenSet) {
    CTracedMap map;
    map.DefineString(16, 1, "abcd", 12, 0, nullptr, 0, nullptr);
    EXPECT_EQ(map.trace,
              (Trace{"define 24 as 0", "define 20 as 0", "define 16 as 0", "set 16", "set 20"}));
}

TEST(RegisterMapTraceTest, BlocksGoThroughTheOperationsOfSingleRegisters) {
    CTracedMap map;
    const auto ignore = [](uint64_t, uint32_t*, uint64_t) {};
    map.DefineBlock(0, 3, nullptr, 8, 0, nullptr, 0, ignore);
    std::array<char, 8> buffer{};
    map.trace.clear();
    map.ReadBlock(0, buffer.data(), 8);
    EXPECT_EQ(map.trace, (Trace{"read 0", "read 4"}));
    map.SetCallbacks(0, nullptr, 0, nullptr); // there is nothing to do in its read
    map.trace.clear();
    map.ReadBlock(0, buffer.data(), 8);
    EXPECT_EQ(map.trace, (Trace{"read 4"}));
    map.trace.clear();
    map.WriteBlock(0, buffer.data(), 8);
    EXPECT_EQ(map.trace, (Trace{"write 0", "write 4"}));
    map.trace.clear();
    map.RawRead(0, buffer.data(), 8);
    EXPECT_EQ(map.trace, (Trace{"value of 0", "value of 4"}));
    map.trace.clear();
    map.RawWrite(0, buffer.data(), 8);
    EXPECT_EQ(map.trace, (Trace{"set 0", "set 4"}));
}

} // namespace
