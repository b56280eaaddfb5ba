// The register space of the System module.
#include "CameraSteering.h"
#include "Fixtures.h"

namespace {

class SystemPortTest : public SystemTest {
protected:
    std::string Read(uint64_t address, size_t length) {
        std::string bytes(length, '#');
        size_t size = length;
        EXPECT_OK(gentl.GCReadPort(tl, address, bytes.data(), &size)) << std::hex << address;
        EXPECT_EQ(size, length);
        return bytes;
    }

    uint32_t ReadWord(uint64_t address) {
        uint32_t word = 0;
        std::memcpy(&word, Read(address, sizeof word).data(), sizeof word);
        return word;
    }

    std::string ReadText(uint64_t address, size_t length) { return Read(address, length).c_str(); }

    int32_t Write(uint64_t address, uint32_t value) {
        size_t size = sizeof value;
        return gentl.GCWritePort(tl, address, &value, &size);
    }

    int32_t Select(uint32_t index) { return Write(0x8, index); }
    std::string SelectedId() { return ReadText(0x740, 256); }
    void Update() { ASSERT_OK(gentl.TLUpdateInterfaceList(tl, nullptr, LONG_WAIT)); }

    void ExpectUndefined(uint64_t address) {
        SCOPED_TRACE(address);
        uint32_t word = 77;
        size_t size = sizeof word;
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCReadPort(tl, address, &word, &size));
        EXPECT_EQ(word, 77U);
        EXPECT_EQ(size, sizeof word);
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCWritePort(tl, address, &word, &size));
        EXPECT_EQ(size, sizeof word);
    }
};

std::string Padded(std::string_view text, size_t length) {
    std::string block(text);
    block.resize(length);
    return block;
}

std::string Word(uint32_t value) {
    return {static_cast<char>(value & 0xFF), static_cast<char>(value >> 8 & 0xFF),
            static_cast<char>(value >> 16 & 0xFF), static_cast<char>(value >> 24 & 0xFF)};
}

TEST_F(SystemPortTest, HoldsItsLayout) {
    struct Row {
        uint64_t address;
        size_t length;
        std::string content;
    };
    const Row rows[] = {{0x4, 4, Word(0)},
                        {0x8, 4, Word(0)},
                        {0x44, 4, Word(0)},
                        {0x48, 64, "NORVEL"},
                        {0x88, 64, "NorvelTL"},
                        {0xC8, 16, "4.0.1.0"},
                        {0xD8, 4, Word(3)},
                        {0xDC, 4, Word(0)},
                        {0x100, 256, "NorvelTL40.cti"},
                        {0x200, 1024, gentl.Path()},
                        {0x600, 256, "ZT TL Simulator "},
                        {0x700, 64, "Mixed"},
                        {0x740, 256, ""},
                        {0x840, 256, ""}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.address);
        EXPECT_EQ(Read(row.address, row.length), Padded(row.content, row.length));
    }
}

TEST_F(SystemPortTest, IsReadOnlyButForTheSelector) {
    struct Row {
        uint64_t address;
        const char* text;
    };
    const Row rows[] = {
        {0x4, "Register 4 is not writable."},     {0x44, "Register 44 is not writable."},
        {0x48, "Register 48 is not writable."},   {0x84, "Register 84 is not writable."},
        {0x88, "Register 88 is not writable."},   {0xC8, "Register C8 is not writable."},
        {0xD8, "Register D8 is not writable."},   {0xDC, "Register DC is not writable."},
        {0x100, "Register 100 is not writable."}, {0x200, "Register 200 is not writable."},
        {0x5FC, "Register 5FC is not writable."}, {0x600, "Register 600 is not writable."},
        {0x640, "Register 640 is not writable."}, {0x700, "Register 700 is not writable."},
        {0x740, "Register 740 is not writable."}, {0x840, "Register 840 is not writable."},
        {0x940, "Register 940 is not writable."}};
    for (const Row& row : rows) {
        const std::string before = Read(row.address, 4);
        EXPECT_FAILS(-1005, row.text, Write(row.address, 1));
        EXPECT_EQ(Read(row.address, 4), before);
    }
    EXPECT_OK(Select(1));
}

TEST_F(SystemPortTest, UpdateCommandOfTheDescriptionIsRefused) {
    EXPECT_FAILS(-1005, "Register 44 is not writable.", Write(0x44, 1));
    EXPECT_EQ(ReadWord(0x44), 0U);
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_SYSTEM_UPDATE_INTERFACE_LIST), 0U);
}

TEST_F(SystemPortTest, ShorterTextReplacesTheStartOfItsBlock) {
    EXPECT_EQ(Read(0x600, 64), Padded("ZT TL Simulator ", 64));
    EXPECT_EQ(Read(0x640, 192), std::string(192, '\0'));
    EXPECT_EQ(ReadText(0x700, 64), "Mixed");
}

TEST_F(SystemPortTest, HasGaps) {
    for (const uint64_t address : {0x0U, 0xCU, 0x10U, 0x40U, 0xE0U, 0xFCU}) {
        ExpectUndefined(address);
    }
    for (const uint64_t address :
         {0x7FFFFFFCULL, 0x100000000ULL, 0x1000000000000000ULL, 0x1999999999999998ULL,
          0x199999999999999CULL, 0xFFFFFFFFFFFFFFFCULL}) {
        ExpectUndefined(address);
    }
}

TEST_F(SystemPortTest, RefusesCrookedAddressesAndSizes) {
    for (const uint64_t address : {0x1ULL, 0x2ULL, 0x3ULL, 0x5ULL, 0x49ULL, 0x4AULL, 0x4BULL,
                                   0xFFFFFFFFFFFFFFFEULL, 0xFFFFFFFFFFFFFFFFULL}) {
        ExpectUndefined(address);
    }
    for (const size_t length : {1U, 2U, 3U, 5U, 6U, 7U, 63U}) {
        SCOPED_TRACE(length);
        std::string bytes(64, '#');
        size_t size = length;
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCReadPort(tl, 0x48, bytes.data(), &size));
        EXPECT_EQ(bytes, std::string(64, '#'));
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCWritePort(tl, 0x8, bytes.data(), &size));
        EXPECT_EQ(size, length);
    }
    EXPECT_EQ(ReadWord(0x8), 0U);
}

TEST_F(SystemPortTest, NeedsABufferAndASize) {
    uint32_t word = 77;
    size_t size = 0;
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCReadPort(tl, 0x4, &word, &size));
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCWritePort(tl, 0x8, &word, &size));
    size = 4;
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCReadPort(tl, 0x4, nullptr, &size));
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCWritePort(tl, 0x8, nullptr, &size));
    EXPECT_EQ(size, 4U);
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.GCReadPort(tl, 0x4, &word, nullptr));
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.GCWritePort(tl, 0x8, &word, nullptr));
    EXPECT_EQ(word, 77U);
    EXPECT_EQ(ReadWord(0x8), 0U);
}

TEST_F(SystemPortTest, ReadingBeyondABlockFillsWhatIsThere) {
    Update();
    for (const size_t length : {size_t{12}, size_t{16}, SIZE_MAX - 3}) {
        SCOPED_TRACE(length);
        std::string bytes(16, '#');
        size_t size = length;
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCReadPort(tl, 0x4, bytes.data(), &size));
        EXPECT_EQ(bytes, Word(2) + Word(0) + std::string(8, '#'));
    }
}

TEST_F(SystemPortTest, BlocksThatTouchAreReadTogether) {
    Update();
    EXPECT_EQ(Read(0x4, 8), Word(2) + Word(0));
    EXPECT_EQ(Read(0x44, 68), Word(0) + Padded("NORVEL", 64));
    EXPECT_EQ(Read(0xD8, 8), Word(3) + Word(0));
    EXPECT_EQ(Read(0x4C, 4), Padded("EL", 4));
}

TEST_F(SystemPortTest, WritingBeyondTheSelectorWritesIt) {
    Update();
    const std::string words = Word(1) + Word(5);
    size_t size = words.size();
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCWritePort(tl, 0x8, words.data(), &size));
    EXPECT_EQ(ReadWord(0x8), 1U);
    EXPECT_EQ(SelectedId(), "U3V::usb0");
}

TEST_F(SystemPortTest, WritingAcrossAReadOnlyRegisterEndsThere) {
    Update();
    const std::string words = Word(9) + Word(1);
    size_t size = words.size();
    EXPECT_FAILS(-1005, "Register 4 is not writable.",
                 gentl.GCWritePort(tl, 0x4, words.data(), &size));
    EXPECT_EQ(Read(0x4, 8), Word(2) + Word(0));
    EXPECT_EQ(SelectedId(), "GEV::eth0");
}

TEST_F(SystemPortTest, CountIsZeroUntilTheFirstUpdate) {
    EXPECT_EQ(ReadWord(0x4), 0U);
    size_t size = 0;
    EXPECT_CODE(-1001, gentl.TLGetInterfaceInfo(tl, "GEV::eth0", 0, nullptr, nullptr, &size));
    EXPECT_EQ(ReadWord(0x4), 0U);
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_SYSTEM_UPDATE_INTERFACE_LIST), 0U);
}

TEST_F(SystemPortTest, CountFollowsEveryKindOfFirstUpdate) {
    uint32_t count = 0;
    size_t size = 0;
    IF_HANDLE opened = nullptr;
    const std::function<int32_t()> calls[] = {
        [&] { return gentl.TLUpdateInterfaceList(tl, nullptr, LONG_WAIT); },
        [&] { return gentl.TLGetNumInterfaces(tl, &count); },
        [&] { return gentl.TLGetInterfaceID(tl, 0, nullptr, &size); },
        [&] { return gentl.TLOpenInterface(tl, "GEV::eth0", &opened); },
    };
    for (const auto& call : calls) {
        EXPECT_EQ(ReadWord(0x4), 0U);
        EXPECT_OK(call());
        EXPECT_EQ(ReadWord(0x4), 2U);
        CloseSystem();
        OpenSystem();
    }
}

TEST_F(SystemPortTest, CountIsThatOfTheLastUpdate) {
    Update();
    EXPECT_EQ(ReadWord(0x4), 2U);
    OptivoSim_AddInterface("eth1", "GEV", "GEV");
    EXPECT_EQ(ReadWord(0x4), 2U);
    EXPECT_EQ(NumInterfaces(), 2U);
    EXPECT_EQ(ReadWord(0x4), 2U);
    Update();
    EXPECT_EQ(ReadWord(0x4), 3U);
    OptivoSim_RemoveAll();
    Update();
    EXPECT_EQ(ReadWord(0x4), 0U);
}

TEST_F(SystemPortTest, UpdateSelectsTheFirstInterface) {
    EXPECT_EQ(SelectedId(), "");
    Update();
    EXPECT_EQ(ReadWord(0x8), 0U);
    EXPECT_EQ(SelectedId(), "GEV::eth0");
}

TEST_F(SystemPortTest, SelectionShowsTheId) {
    Update();
    EXPECT_OK(Select(1));
    EXPECT_EQ(ReadWord(0x8), 1U);
    EXPECT_EQ(SelectedId(), "U3V::usb0");
    EXPECT_OK(Select(0));
    EXPECT_EQ(ReadWord(0x8), 0U);
    EXPECT_EQ(SelectedId(), "GEV::eth0");
}

TEST_F(SystemPortTest, EveryUpdateSelectsTheFirstInterfaceAgain) {
    Update();
    EXPECT_OK(Select(1));
    Update();
    EXPECT_EQ(ReadWord(0x8), 0U);
    EXPECT_EQ(SelectedId(), "GEV::eth0");
    OptivoSim_RemoveInterface("eth0");
    Update();
    EXPECT_EQ(SelectedId(), "U3V::usb0");
}

TEST_F(SystemPortTest, QueriesKeepTheSelection) {
    Update();
    EXPECT_OK(Select(1));
    EXPECT_EQ(NumInterfaces(), 2U);
    EXPECT_EQ(InterfaceId(0), "GEV::eth0");
    OpenInterface(0);
    EXPECT_EQ(ReadWord(0x8), 1U);
    EXPECT_EQ(SelectedId(), "U3V::usb0");
}

TEST_F(SystemPortTest, SelectionInAnEmptyListShowsNoId) {
    for (const uint32_t index : {0U, 1U, UINT32_MAX}) {
        EXPECT_OK(Select(index));
        EXPECT_EQ(SelectedId(), "");
    }
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_SYSTEM_UPDATE_INTERFACE_LIST), 0U);
    Update();
    EXPECT_EQ(SelectedId(), "GEV::eth0");
    OptivoSim_RemoveAll();
    Update();
    EXPECT_EQ(SelectedId(), "");
}

TEST_F(SystemPortTest, SelectionBehindTheListKeepsTheId) {
    Update();
    EXPECT_OK(Select(1));
    for (const uint32_t index : {2U, 3U, 0x7FFFFFFFU, 0x80000000U, UINT32_MAX}) {
        EXPECT_OK(Select(index));
        EXPECT_EQ(SelectedId(), "U3V::usb0");
    }
    EXPECT_OK(Select(0));
    EXPECT_EQ(SelectedId(), "GEV::eth0");
}

TEST_F(SystemPortTest, IdLongerThanItsBlockIsCut) {
    const std::string name(1000, 'n');
    ASSERT_EQ(OptivoSim_AddInterface(name.c_str(), "GEV", "GEV"), 1);
    Update();
    EXPECT_EQ(InterfaceId(2), "GEV::" + name);
    EXPECT_OK(Select(2));
    EXPECT_EQ(Read(0x740, 256), "GEV::" + std::string(250, 'n') + '\0');
    EXPECT_EQ(Read(0x840, 256), std::string(256, '\0'));
}

TEST_F(SystemPortTest, IdThatJustFitsItsBlockIsWhole) {
    const std::string name(250, 'n');
    ASSERT_EQ(OptivoSim_AddInterface(name.c_str(), "GEV", "GEV"), 1);
    Update();
    EXPECT_OK(Select(2));
    EXPECT_EQ(Read(0x740, 256), "GEV::" + name + '\0');
}

TEST_F(SystemPortTest, ShorterIdEndsWithAZero) {
    ASSERT_EQ(OptivoSim_AddInterface(std::string(100, 'n').c_str(), "GEV", "GEV"), 1);
    Update();
    EXPECT_OK(Select(2));
    EXPECT_OK(Select(1));
    // Padded to whole registers; those behind keep what they held.
    EXPECT_EQ(Read(0x740, 16), "U3V::usb0" + std::string(3, '\0') + "nnnn");
}

TEST_F(SystemPortTest, StackedAccessSelectsAndReads) {
    Update();
    uint32_t index = 1;
    PORT_REGISTER_STACK_ENTRY write = {0x8, &index, 4};
    size_t numEntries = 1;
    EXPECT_OK(gentl.GCWritePortStacked(tl, &write, &numEntries));
    uint32_t count = 0;
    uint32_t selected = 77;
    char id[256] = {};
    PORT_REGISTER_STACK_ENTRY reads[] = {{0x4, &count, 4}, {0x8, &selected, 4}, {0x740, id, 256}};
    numEntries = 3;
    EXPECT_OK(gentl.GCReadPortStacked(tl, reads, &numEntries));
    EXPECT_EQ(numEntries, 3U);
    EXPECT_EQ(count, 2U);
    EXPECT_EQ(selected, 1U);
    EXPECT_STREQ(id, "U3V::usb0");
}

TEST_F(SystemPortTest, StackedAccessEndsAtACrookedEntry) {
    uint32_t words[3] = {77, 77, 77};
    struct Row {
        uint64_t address;
        size_t size;
    };
    for (const Row& row : {Row{0x2, 4}, Row{0xD8, 6}, Row{0xC, 4}, Row{UINT64_MAX, 4}}) {
        SCOPED_TRACE(row.address);
        words[0] = 77;
        PORT_REGISTER_STACK_ENTRY entries[] = {
            {0xD8, &words[0], 4}, {row.address, &words[1], row.size}, {0xD8, &words[2], 4}};
        size_t numEntries = 3;
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCReadPortStacked(tl, entries, &numEntries));
        EXPECT_EQ(numEntries, 1U);
        EXPECT_EQ(words[0], 3U);
        EXPECT_EQ(words[2], 77U);
    }
}

TEST_F(SystemPortTest, IsApartFromAnotherSystems) {
    Update();
    EXPECT_OK(Select(1));
    TL_HANDLE second = nullptr;
    ASSERT_OK(gentl.TLOpen(&second));
    uint32_t words[2] = {77, 77};
    size_t size = sizeof words;
    EXPECT_OK(gentl.GCReadPort(second, 0x4, words, &size));
    EXPECT_EQ(words[0], 0U);
    EXPECT_EQ(words[1], 0U);
    EXPECT_OK(gentl.TLClose(second));
    EXPECT_EQ(SelectedId(), "U3V::usb0");
}

} // namespace
