#include "RegisterMapFixture.h"

#include <array>

namespace {

using Calls = std::vector<CallbackCall>;

TEST_F(RegisterMapTest, TellsTheAccessOfARegister) {
    Define(0, READ_ONLY, 0);
    Define(4, WRITE_ONLY, 0);
    Define(8, READ_WRITE, 0);
    EXPECT_EQ(map.AccessOf(0), 1U);
    EXPECT_EQ(map.AccessOf(4), 2U);
    EXPECT_EQ(map.AccessOf(8), 3U);
}

TEST_F(RegisterMapTest, AnUndefinedRegisterHasNoAccessAndNoMarker) {
    map.Define(0x20, READ_ONLY, 1, 0xFF, nullptr, 0, nullptr);
    for (const uint64_t address : {0x0ULL, 0x1CULL, 0x24ULL, 0x1999999999999998ULL}) {
        EXPECT_EQ(map.AccessOf(address), 0U) << address;
        EXPECT_EQ(map.MarkerOf(address), 0U) << address;
    }
}

TEST_F(RegisterMapTest, TheOwnerReadsValuesWithoutAccessAndCallback) {
    DefineLogged(0, WRITE_ONLY, 0x01020304, 1);
    DefineLogged(4, READ_ONLY, 0x05060708, 2);
    EXPECT_EQ(map.ValueOf(0), 0x01020304U);
    EXPECT_EQ(map.ValueOf64(0, true), 0x0506070801020304U);
    EXPECT_EQ(map.ValueOf64(0, false), 0x0102030405060708U);
    std::array<uint8_t, 8> buffer{};
    map.RawRead(0, buffer.data(), 8);
    EXPECT_EQ(buffer, (std::array<uint8_t, 8>{4, 3, 2, 1, 8, 7, 6, 5}));
    EXPECT_EQ(calls, Calls());
}

TEST_F(RegisterMapTest, TheOwnerSetsValuesWithoutAccessAndCallback) {
    DefineLogged(0, READ_ONLY, 0, 1);
    DefineLogged(4, READ_ONLY, 0, 2);
    map.SetValue(0, 9);
    EXPECT_EQ(Values(0, 2), (std::vector<uint32_t>{9, 0}));
    map.SetValue64(0, 0x1111111122222222, true);
    EXPECT_EQ(Values(0, 2), (std::vector<uint32_t>{0x22222222, 0x11111111}));
    map.SetValue64(0, 0x1111111122222222, false);
    EXPECT_EQ(Values(0, 2), (std::vector<uint32_t>{0x11111111, 0x22222222}));
    map.RawWrite(0, "ABCDEFGH", 8);
    EXPECT_EQ(Values(0, 2), (std::vector<uint32_t>{0x44434241, 0x48474645}));
    map.WriteString(0, "abc");
    EXPECT_EQ(Values(0, 2), (std::vector<uint32_t>{0x00636261, 0x48474645}));
    EXPECT_EQ(calls, Calls());
}

TEST_F(RegisterMapTest, AnOddlyPlacedBlockOfTheOwnerNeedsNoAlignedBuffer) {
    DefineValues({0, 0});
    const char* text = "xABCDEFGH";
    map.RawWrite(0, text + 1, 8);
    EXPECT_EQ(Bytes(0, 8), "ABCDEFGH");
}

TEST_F(RegisterMapTest, A64BitValueIsSetWholeOrNotAtAll) {
    Define(0x10, READ_WRITE, 7);
    for (const bool lowWordFirst : {true, false}) {
        EXPECT_THROWS(std::out_of_range, "Register 14 is not available.",
                      map.SetValue64(0x10, 0x1111111122222222, lowWordFirst));
        EXPECT_THROWS(std::out_of_range, "Register C is not available.",
                      map.SetValue64(0xC, 0x1111111122222222, lowWordFirst));
        EXPECT_THROWS(std::out_of_range, "Register 14 is not available.",
                      map.ValueOf64(0x10, lowWordFirst));
        EXPECT_THROWS(std::out_of_range, "Register C is not available.",
                      map.ValueOf64(0xC, lowWordFirst));
    }
    EXPECT_EQ(map.ValueOf(0x10), 7U);
    EXPECT_EQ(map.AccessOf(0x14), 0U);
}

TEST_F(RegisterMapTest, TheOwnersBlocksEndAtTheFirstUndefinedRegister) {
    DefineValues({1, 2});
    std::array<uint32_t, 3> words{7, 8, 9};
    EXPECT_THROWS(std::out_of_range, "Register 8 is not available.",
                  map.RawWrite(0, words.data(), 12));
    EXPECT_EQ(Values(0, 2), (std::vector<uint32_t>{7, 8}));
    words = {0, 0, 55};
    EXPECT_THROWS(std::out_of_range, "Register 8 is not available.",
                  map.RawRead(0, words.data(), 12));
    EXPECT_EQ(words, (std::array<uint32_t, 3>{7, 8, 55}));
}

TEST_F(RegisterMapTest, SetAccessChangesTheAccessAlone) {
    map.Define(0, READ_ONLY, 5, 6, LogWrite, 7, LogRead);
    map.SetAccess(0, WRITE_ONLY);
    EXPECT_EQ(map.AccessOf(0), 2U);
    EXPECT_EQ(map.MarkerOf(0), 6U);
    EXPECT_THROWS(GenICam::Client::access_error, "Register 0 is not readable.",
                  map.ReadRegister(0));
    map.WriteRegister(0, 8);
    map.SetAccess(0, READ_WRITE);
    EXPECT_EQ(map.ReadRegister(0), 8U);
    EXPECT_EQ(calls, (Calls{{"write", 0, 8, 7}, {"read", 0, 8, 7}}));
}

TEST_F(RegisterMapTest, SetCallbacksReplacesBothAndTheContext) {
    map.Define(0, READ_WRITE, 5, 6, LogWrite, 1, LogRead);
    map.SetCallbacks(0, nullptr, 2, LogRead);
    map.WriteRegister(0, 7);
    map.ReadRegister(0);
    map.SetCallbacks(0, LogWrite, 3, nullptr);
    map.WriteRegister(0, 8);
    map.ReadRegister(0);
    map.SetCallbacks(0, nullptr, 4, nullptr);
    map.WriteRegister(0, 9);
    EXPECT_EQ(map.ReadRegister(0), 9U);
    EXPECT_EQ(calls, (Calls{{"read", 0, 7, 2}, {"write", 0, 8, 3}}));
    EXPECT_EQ(map.AccessOf(0), 3U);
    EXPECT_EQ(map.MarkerOf(0), 6U);
}

TEST_F(RegisterMapTest, SetMarkerChangesTheMarkerAlone) {
    map.Define(0, READ_WRITE, 5, 6, nullptr, 0, nullptr);
    map.SetMarker(0, 0xFE);
    EXPECT_EQ(map.MarkerOf(0), 0xFEU);
    EXPECT_EQ(map.ValueOf(0), 5U);
    EXPECT_EQ(map.AccessOf(0), 3U);
}

TEST_F(RegisterMapTest, AWrittenStringEndsWithAZeroAndIsFilledToAMultipleOfFour) {
    const struct {
        const char* text;
        std::string bytes;
    } rows[] = {
        {"", {"\0\0\0\0############", 16}},
        {"a", {"a\0\0\0############", 16}},
        {"abc", {"abc\0############", 16}},
        {"abcd", {"abcd\0\0\0\0########", 16}},
        {"abcdefg", {"abcdefg\0########", 16}},
        {"abcdefgh", {"abcdefgh\0\0\0\0####", 16}},
        {"\xC3\xA4\xFF", {"\xC3\xA4\xFF\0############", 16}},
    };
    map.DefineBlock(0, READ_ONLY, "################", 16, 0, nullptr, 0, nullptr);
    for (const auto& row : rows) {
        map.RawWrite(0, "################", 16);
        map.WriteString(0, row.text);
        EXPECT_EQ(Bytes(0, 16), row.bytes) << row.text;
    }
}

TEST_F(RegisterMapTest, AWrittenStringNeedsRegistersForItsTerminatingZero) {
    DefineValues({0, 0});
    EXPECT_THROWS(std::out_of_range, "Register 8 is not available.",
                  map.WriteString(0, "abcdefgh"));
    EXPECT_EQ(Bytes(0, 8), "abcdefgh");
}

TEST_F(RegisterMapTest, WritingAStringLeavesAccessMarkerAndCallbacksAlone) {
    map.DefineString(0, READ_WRITE, "before", 8, 9, LogWrite, 10, LogRead);
    map.WriteString(0, "after");
    EXPECT_EQ(map.AccessOf(4), 3U);
    EXPECT_EQ(map.MarkerOf(4), 9U);
    map.WriteRegister(4, 0);
    EXPECT_EQ(calls, (Calls{{"write", 4, 0, 10}}));
}

} // namespace
