#include "RegisterMapFixture.h"

#include <array>

using GenICam::Client::access_error;

namespace {

using Calls = std::vector<CallbackCall>;

TEST_F(RegisterMapTest, ReadsARegisterThatCanBeRead) {
    Define(0x10, READ_ONLY, 0x12345678);
    Define(0x14, READ_WRITE, 0xFFFFFFFF);
    EXPECT_EQ(map.ReadRegister(0x10), 0x12345678U);
    EXPECT_EQ(map.ReadRegister(0x14), 0xFFFFFFFFU);
}

TEST_F(RegisterMapTest, RefusesToReadAWriteOnlyRegister) {
    DefineLogged(0x2C, WRITE_ONLY, 7, 0);
    EXPECT_THROWS(access_error, "Register 2C is not readable.", map.ReadRegister(0x2C));
    EXPECT_EQ(calls, Calls());
}

TEST_F(RegisterMapTest, WritesARegisterThatCanBeWritten) {
    Define(0, WRITE_ONLY, 1);
    Define(4, READ_WRITE, 2);
    map.WriteRegister(0, 0xCAFEBABE);
    map.WriteRegister(4, 0);
    EXPECT_EQ(Values(0, 2), (std::vector<uint32_t>{0xCAFEBABE, 0}));
}

TEST_F(RegisterMapTest, RefusesToWriteAReadOnlyRegister) {
    DefineLogged(0x44, READ_ONLY, 7, 0);
    EXPECT_THROWS(access_error, "Register 44 is not writable.", map.WriteRegister(0x44, 1));
    EXPECT_EQ(map.ValueOf(0x44), 7U);
    EXPECT_EQ(calls, Calls());
}

TEST_F(RegisterMapTest, PrintsTheAddressInUpperCaseHexadecimal) {
    Define(0xABCC, READ_ONLY, 0);
    EXPECT_THROWS(access_error, "Register ABCC is not writable.", map.WriteRegister(0xABCC, 1));
    EXPECT_THROWS(std::out_of_range, "Register FEDCBA987654 is not available.",
                  map.ReadRegister(0xFEDCBA987654));
}

TEST_F(RegisterMapTest, HasNoRegisterWhereNoneWasDefined) {
    Define(0x20, READ_WRITE, 1);
    for (const uint64_t address : {0x0U, 0x1CU}) {
        const std::string text =
            address == 0 ? "Register 0 is not available." : "Register 1C is not available.";
        EXPECT_THROWS(std::out_of_range, text, map.ReadRegister(address));
        EXPECT_THROWS(std::out_of_range, text, map.WriteRegister(address, 1));
    }
    EXPECT_THROWS(std::out_of_range, "Register 24 is not available.", map.ReadRegister(0x24));
}

TEST_F(RegisterMapTest, KeepsItsRegistersWhereRoomIsReserved) {
    GenICam::Client::CRegisterMap roomy(100);
    EXPECT_THROWS(std::out_of_range, "Register 4 is not available.", roomy.ReadRegister(4));
    roomy.Define(400, READ_ONLY, 5, 0, nullptr, 0, nullptr);
    EXPECT_EQ(roomy.ReadRegister(400), 5U);
}

TEST_F(RegisterMapTest, TheReadCallbackMayUpdateTheValueThatIsReturned) {
    const auto countUp = [](uint64_t, uint32_t* value, uint64_t) { ++*value; };
    map.Define(8, READ_ONLY, 41, 0, nullptr, 0, countUp);
    EXPECT_EQ(map.ReadRegister(8), 42U);
    EXPECT_EQ(map.ReadRegister(8), 43U);
    EXPECT_EQ(map.ValueOf(8), 43U);
}

TEST_F(RegisterMapTest, TheReadCallbackGetsAddressValueAndContext) {
    DefineLogged(0x30, READ_WRITE, 5, 0xFEDCBA9876543210);
    map.ReadRegister(0x30);
    EXPECT_EQ(calls, (Calls{{"read", 0x30, 5, 0xFEDCBA9876543210}}));
}

TEST_F(RegisterMapTest, TheWriteCallbackFindsTheNewValueStored) {
    DefineLogged(0x30, WRITE_ONLY, 5, 0x8000000000000001);
    map.WriteRegister(0x30, 6);
    EXPECT_EQ(calls, (Calls{{"write", 0x30, 6, 0x8000000000000001}}));
    EXPECT_EQ(map.ValueOf(0x30), 6U);
}

TEST_F(RegisterMapTest, TheWriteCallbackMayChangeTheValueThatIsStored) {
    const auto clear = [](uint64_t, uint32_t* value, uint64_t) { *value = 0; };
    map.Define(4, READ_WRITE, 9, 0, clear, 0, nullptr);
    map.WriteRegister(4, 1);
    EXPECT_EQ(map.ReadRegister(4), 0U);
}

TEST_F(RegisterMapTest, TheCallbacksMayReachTheMap) {
    const auto publish = [](uint64_t address, uint32_t* value, uint64_t context) {
        reinterpret_cast<GenICam::Client::CRegisterMap*>(context)->SetValue(address + 4, *value);
    };
    DefineValues({1, 2});
    map.SetCallbacks(0, publish, reinterpret_cast<uint64_t>(&map), nullptr);
    map.WriteRegister(0, 77);
    EXPECT_EQ(Values(0, 2), (std::vector<uint32_t>{77, 77}));
}

TEST_F(RegisterMapTest, ABlockIsReadInLittleEndianOrder) {
    DefineValues({0x04030201, 0x08070605});
    std::array<uint8_t, 10> buffer;
    buffer.fill(0xEE);
    map.ReadBlock(0, buffer.data(), 8);
    EXPECT_EQ(buffer, (std::array<uint8_t, 10>{1, 2, 3, 4, 5, 6, 7, 8, 0xEE, 0xEE}));
}

TEST_F(RegisterMapTest, ABlockIsWrittenInLittleEndianOrder) {
    DefineValues({0, 0, 9});
    const std::array<uint8_t, 8> buffer{0xF1, 2, 3, 4, 5, 6, 7, 0xF8};
    map.WriteBlock(0, buffer.data(), 8);
    EXPECT_EQ(Values(0, 3), (std::vector<uint32_t>{0x040302F1, 0xF8070605, 9}));
}

TEST_F(RegisterMapTest, ABlockOfOneRegisterStandsAnywhere) {
    DefineValues({1, 2, 3});
    uint32_t value = 0;
    map.ReadBlock(4, &value, 4);
    EXPECT_EQ(value, 2U);
}

TEST_F(RegisterMapTest, ABlockNeedsNoAlignedBuffer) {
    DefineValues({0x44434241, 0x48474645});
    char buffer[10] = {};
    map.ReadBlock(0, buffer + 1, 8);
    EXPECT_STREQ(buffer + 1, "ABCDEFGH");
    map.WriteBlock(0, buffer + 1, 4);
    EXPECT_EQ(map.ValueOf(0), 0x44434241U);
}

TEST_F(RegisterMapTest, ABlockCallsTheCallbacksOfEachRegisterInAscendingOrder) {
    for (uint32_t i = 0; i < 3; ++i) {
        DefineLogged(0x40 + 4 * i, READ_WRITE, i, 100 + i);
    }
    std::array<uint32_t, 3> words{};
    map.ReadBlock(0x40, words.data(), 12);
    EXPECT_EQ(calls,
              (Calls{{"read", 0x40, 0, 100}, {"read", 0x44, 1, 101}, {"read", 0x48, 2, 102}}));
    calls.clear();
    words = {7, 8, 9};
    map.WriteBlock(0x40, words.data(), 12);
    EXPECT_EQ(calls,
              (Calls{{"write", 0x40, 7, 100}, {"write", 0x44, 8, 101}, {"write", 0x48, 9, 102}}));
}

TEST_F(RegisterMapTest, ABlockMayHaveRegistersWithAndWithoutCallbacks) {
    DefineValues({1, 2, 3, 4, 5, 6});
    DefineLogged(4, READ_WRITE, 20, 101);
    DefineLogged(16, READ_ONLY, 50, 104);
    std::array<uint32_t, 8> words{};
    words.fill(77);
    map.ReadBlock(0, words.data(), 24);
    EXPECT_EQ(words, (std::array<uint32_t, 8>{1, 20, 3, 4, 50, 6, 77, 77}));
    EXPECT_EQ(calls, (Calls{{"read", 4, 20, 101}, {"read", 16, 50, 104}}));
}

TEST_F(RegisterMapTest, ABlockIsReadUpToTheFirstUndefinedRegister) {
    Define(0x100, READ_ONLY, 0x11111111);
    std::array<uint32_t, 2> words{0xAAAAAAAA, 0xBBBBBBBB};
    EXPECT_THROWS(std::out_of_range, "Register 104 is not available.",
                  map.ReadBlock(0x100, words.data(), 8));
    EXPECT_EQ(words, (std::array<uint32_t, 2>{0x11111111, 0xBBBBBBBB}));
}

TEST_F(RegisterMapTest, ABlockIsReadUpToTheFirstUnreadableRegister) {
    DefineValues({1, 2, 3});
    map.SetAccess(4, WRITE_ONLY);
    std::array<uint32_t, 3> words{77, 77, 77};
    EXPECT_THROWS(access_error, "Register 4 is not readable.", map.ReadBlock(0, words.data(), 12));
    EXPECT_EQ(words, (std::array<uint32_t, 3>{1, 77, 77}));
}

TEST_F(RegisterMapTest, ABlockIsWrittenUpToTheFirstUnwritableRegister) {
    DefineValues({1, 2, 3});
    map.SetAccess(4, READ_ONLY);
    const std::array<uint32_t, 3> words{11, 12, 13};
    EXPECT_THROWS(access_error, "Register 4 is not writable.", map.WriteBlock(0, words.data(), 12));
    EXPECT_EQ(Values(0, 3), (std::vector<uint32_t>{11, 2, 3}));
}

TEST_F(RegisterMapTest, ABlockIsWrittenUpToTheFirstUndefinedRegister) {
    DefineValues({1});
    Define(8, READ_WRITE, 3);
    const std::array<uint32_t, 3> words{11, 12, 13};
    EXPECT_THROWS(std::out_of_range, "Register 4 is not available.",
                  map.WriteBlock(0, words.data(), 12));
    EXPECT_EQ(map.ValueOf(0), 11U);
    EXPECT_EQ(map.ValueOf(8), 3U);
    EXPECT_EQ(map.AccessOf(4), 0U);
}

TEST_F(RegisterMapTest, AnUndefinedBlockIsNeitherReadNorWritten) {
    uint32_t word = 5;
    EXPECT_THROWS(std::out_of_range, "Register C is not available.", map.ReadBlock(0xC, &word, 4));
    EXPECT_THROWS(std::out_of_range, "Register C is not available.", map.WriteBlock(0xC, &word, 4));
    EXPECT_EQ(word, 5U);
}

} // namespace
