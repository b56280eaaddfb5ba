// The port of an interface, which the camera library serves.
#include "CameraSteering.h"
#include "Fixtures.h"

#include <cstdio>

namespace {

constexpr uint64_t ID_REGISTER = 0x100;
constexpr uint64_t COUNT_REGISTER = 0x200;
constexpr uint64_t TIMEOUT_REGISTER = 0x204;

class InterfacePortTest : public InterfaceTest {
protected:
    int32_t Read(uint64_t address) {
        m_size = sizeof m_value;
        return gentl.GCReadPort(iface, address, &m_value, &m_size);
    }

    int32_t Write(uint64_t address, uint32_t value) {
        m_value = value;
        m_size = sizeof m_value;
        return gentl.GCWritePort(iface, address, &m_value, &m_size);
    }

    uint32_t m_value = 0;
    size_t m_size = 0;
};

TEST_F(InterfacePortTest, ReadsAndWritesTheRegistersOfTheCameraLibrary) {
    EXPECT_OK(Read(COUNT_REGISTER));
    EXPECT_EQ(m_value, 2U);
    EXPECT_EQ(m_size, 4U);
    EXPECT_OK(Write(TIMEOUT_REGISTER, 4321));
    m_value = 0;
    EXPECT_OK(Read(TIMEOUT_REGISTER));
    EXPECT_EQ(m_value, 4321U);

    char id[256] = {};
    size_t size = sizeof id;
    EXPECT_OK(gentl.GCReadPort(iface, ID_REGISTER, id, &size));
    EXPECT_STREQ(id, "eth0");
}

TEST_F(InterfacePortTest, ReadsTextsByTheirKeys) {
    struct Row {
        uint64_t key;
        const char* text;
    };
    for (const Row& row : {Row{2, "GEV"}, Row{5, "GEV"}}) {
        char text[512] = {};
        size_t size = sizeof text;
        EXPECT_OK(gentl.GCReadPort(iface, row.key, text, &size));
        EXPECT_STREQ(text, row.text);
        // The size is the camera library's own.
        EXPECT_EQ(size, 4U);
    }
}

TEST_F(InterfacePortTest, HandsAddressAndSizeOnUnchanged) {
    Steering::Add({OPTIVO_INTERFACE_READ_PORT});
    Steering::Add({OPTIVO_INTERFACE_WRITE_PORT});
    struct Row {
        uint64_t address;
        size_t size;
    };
    for (const Row& row :
         {Row{0, 4}, Row{3, 3}, Row{0xFEDCBA9876543211, 0}, Row{UINT64_MAX, SIZE_MAX}}) {
        SCOPED_TRACE(row.address);
        char buffer[8] = "before";
        size_t size = row.size;
        EXPECT_OK(gentl.GCReadPort(iface, row.address, buffer, &size));
        EXPECT_OK(gentl.GCWritePort(iface, row.address, buffer, &size));
        for (const OptivoOperation operation :
             {OPTIVO_INTERFACE_READ_PORT, OPTIVO_INTERFACE_WRITE_PORT}) {
            EXPECT_EQ(OptivoSim_LastSelector(operation), row.address);
            EXPECT_EQ(OptivoSim_LastArgument(operation), row.size);
        }
        EXPECT_EQ(size, row.size);
        EXPECT_STREQ(buffer, "before");
    }
}

TEST_F(InterfacePortTest, RefusesMissingArgumentsItself) {
    const uint64_t numReads = OptivoSim_NumCalls(OPTIVO_INTERFACE_READ_PORT);
    const uint64_t numWrites = OptivoSim_NumCalls(OPTIVO_INTERFACE_WRITE_PORT);
    size_t size = 4;
    EXPECT_FAILS(-1009, "Invalid parameter",
                 gentl.GCReadPort(iface, COUNT_REGISTER, nullptr, &size));
    EXPECT_FAILS(-1009, "Invalid parameter",
                 gentl.GCReadPort(iface, COUNT_REGISTER, &m_value, nullptr));
    EXPECT_FAILS(-1009, "Invalid parameter",
                 gentl.GCWritePort(iface, TIMEOUT_REGISTER, nullptr, &size));
    EXPECT_FAILS(-1009, "Invalid parameter",
                 gentl.GCWritePort(iface, TIMEOUT_REGISTER, &m_value, nullptr));
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_INTERFACE_READ_PORT), numReads);
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_INTERFACE_WRITE_PORT), numWrites);
}

TEST_F(InterfacePortTest, TellsFailuresInTheWordsOfARead) {
    struct Row {
        int32_t result;
        const char* text;
    };
    const Row rows[] = {{-1014, "Port is not available"},
                        {-1013, "Invalid Buffer"},
                        {-1012, "Wait terminated."},
                        {-1011, "Timeout"},
                        {-1010, "Read register 0xFEDCBA9876543210 is failed."},
                        {-1009, "Invalid parameter"},
                        {-1008, "No data."},
                        {-1007, "Invalid id."},
                        {-1006, "Not invalid handle."},
                        {-1005, "Register 0xFEDCBA9876543210 is not readable."},
                        {-1004, "Resource in use."},
                        {-1003, "Register 0xFEDCBA9876543210 is not implemented"},
                        {-1002, "Not invalid."},
                        {-1001, "Unspecified runtime error."}};
    for (const Row& row : rows) {
        Steering::Add({OPTIVO_INTERFACE_READ_PORT, OPTIVO_FAULT_RESULT, row.result});
        Steering::Add({OPTIVO_INTERFACE_WRITE_PORT, OPTIVO_FAULT_RESULT, row.result});
        EXPECT_FAILS(row.result, row.text, Read(0xFEDCBA9876543210));
        EXPECT_FAILS(row.result, row.text, Write(0xFEDCBA9876543210, 1));
        OptivoSim_ClearFaults();
    }
}

TEST_F(InterfacePortTest, PrintsAddressesInUpperCaseWithoutPadding) {
    Steering::Add({OPTIVO_INTERFACE_READ_PORT, OPTIVO_FAULT_RESULT, -1010});
    EXPECT_FAILS(-1010, "Read register 0x0 is failed.", Read(0));
    EXPECT_FAILS(-1010, "Read register 0xA is failed.", Read(10));
    EXPECT_FAILS(-1010, "Read register 0xFFFFFFFFFFFFFFFF is failed.", Read(UINT64_MAX));
}

TEST_F(InterfacePortTest, EveryOtherResultIsSuccess) {
    for (const int32_t result :
         {-1015, -1016, -1021, -1000, -1, 1, 5, 1001, -10003, INT32_MAX, INT32_MIN}) {
        SCOPED_TRACE(result);
        Steering::Add({OPTIVO_INTERFACE_READ_PORT, OPTIVO_FAULT_RESULT, result});
        Steering::Add({OPTIVO_INTERFACE_WRITE_PORT, OPTIVO_FAULT_RESULT, result});
        EXPECT_OK(Read(COUNT_REGISTER));
        EXPECT_OK(Write(TIMEOUT_REGISTER, 1));
        OptivoSim_ClearFaults();
    }
}

TEST_F(InterfacePortTest, RegisterThatIsNotThereIsReadAndWrittenWithoutEffect) {
    m_value = 77;
    EXPECT_OK(Read(0x40000000));
    EXPECT_EQ(m_value, 77U);
    EXPECT_OK(Write(0x40000000, 1));
}

TEST_F(InterfacePortTest, ReadOnlyRegisterIsNotReadableWhenWritten) {
    EXPECT_FAILS(-1005, "Register 0x200 is not readable.", Write(COUNT_REGISTER, 1));
}

TEST_F(InterfacePortTest, StackedAccessEndsAtTheFirstFailure) {
    Steering::Add({OPTIVO_INTERFACE_READ_PORT, OPTIVO_FAULT_RESULT, -1011, TIMEOUT_REGISTER});
    uint32_t values[3] = {77, 77, 77};
    PORT_REGISTER_STACK_ENTRY entries[] = {{COUNT_REGISTER, &values[0], 4},
                                           {TIMEOUT_REGISTER, &values[1], 4},
                                           {COUNT_REGISTER, &values[2], 4}};
    size_t numEntries = 3;
    EXPECT_FAILS(-1011, "Timeout", gentl.GCReadPortStacked(iface, entries, &numEntries));
    EXPECT_EQ(numEntries, 1U);
    EXPECT_EQ(values[0], 2U);
    EXPECT_EQ(values[2], 77U);
}

TEST_F(InterfacePortTest, StackedAccessSkipsNothingThatEndsInSuccess) {
    Steering::Add({OPTIVO_INTERFACE_WRITE_PORT, OPTIVO_FAULT_RESULT, -1015});
    uint32_t value = 1;
    PORT_REGISTER_STACK_ENTRY entries[] = {{0x1, &value, 4}, {0x2, &value, 4}};
    size_t numEntries = 2;
    EXPECT_OK(gentl.GCWritePortStacked(iface, entries, &numEntries));
    EXPECT_EQ(numEntries, 2U);
}

TEST_F(InterfacePortTest, ExceptionOfTheCameraLibraryLosesItsText) {
    for (const OptivoFaultKind kind :
         {OPTIVO_FAULT_GENERIC_EXCEPTION, OPTIVO_FAULT_FOREIGN_EXCEPTION}) {
        Steering::Add({OPTIVO_INTERFACE_READ_PORT, kind});
        Steering::Add({OPTIVO_INTERFACE_WRITE_PORT, kind});
        EXPECT_FAILS(-1001, UNSPECIFIED, Read(COUNT_REGISTER));
        EXPECT_FAILS(-1001, UNSPECIFIED, Write(TIMEOUT_REGISTER, 1));
        char url[512] = {};
        size_t size = sizeof url;
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCGetPortURL(iface, url, &size));
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCGetPortURLInfo(iface, 0, 0, nullptr, url, &size));
        OptivoSim_ClearFaults();
    }
    EXPECT_OK(Read(COUNT_REGISTER));
}

TEST_F(InterfacePortTest, EachInterfaceHasItsOwnRegisters) {
    IF_HANDLE other = nullptr;
    ASSERT_OK(gentl.TLOpenInterface(tl, "U3V::usb0", &other));
    ASSERT_OK(gentl.IFUpdateDeviceList(other, nullptr, LONG_WAIT));
    uint32_t count = 0;
    size_t size = sizeof count;
    EXPECT_OK(gentl.GCReadPort(other, COUNT_REGISTER, &count, &size));
    EXPECT_EQ(count, 1U);
    EXPECT_OK(Read(COUNT_REGISTER));
    EXPECT_EQ(m_value, 2U);
}

class InterfaceUrlTest : public InterfaceTest {
protected:
    std::string Url() {
        char url[512] = {};
        size_t size = sizeof url;
        EXPECT_OK(gentl.GCGetPortURL(iface, url, &size));
        return url;
    }

    InfoCall UrlInfo() {
        return [this](auto... out) { return gentl.GCGetPortURLInfo(iface, 0, 0, out...); };
    }
};

TEST_F(InterfaceUrlTest, LeadsToADescription) {
    unsigned address = 0;
    unsigned length = 0;
    ASSERT_EQ(std::sscanf(Url().c_str(), "Local:Norvel_Interface.xml;%x;%x", &address, &length), 2);
    std::string xml(length, '#');
    size_t size = length;
    EXPECT_OK(gentl.GCReadPort(iface, address, xml.data(), &size));
    EXPECT_NE(xml.find("<RegisterDescription"), std::string::npos);
}

TEST_F(InterfaceUrlTest, IsWhatTheCameraLibraryAnswers) {
    char url[300] = {};
    size_t size = sizeof url;
    EXPECT_OK(gentl.GCGetPortURL(iface, url, &size));
    EXPECT_EQ(OptivoSim_LastSelector(OPTIVO_INTERFACE_READ_PORT), 4U);
    EXPECT_EQ(OptivoSim_LastArgument(OPTIVO_INTERFACE_READ_PORT), 300U);
    EXPECT_EQ(size, std::strlen(url) + 1);
}

TEST_F(InterfaceUrlTest, InfoTellsTheUrl) {
    const std::string url = Url();
    ExpectCopyOut(UrlInfo(), TextInfo(url));
    EXPECT_EQ(OptivoSim_LastSelector(OPTIVO_INTERFACE_READ_PORT), 4U);
    EXPECT_EQ(OptivoSim_LastArgument(OPTIVO_INTERFACE_READ_PORT), 512U);
}

TEST_F(InterfaceUrlTest, InfoTellsVersions) {
    const int32_t versions[] = {1, 0, 1, 0, 9};
    for (int command = 1; command <= 5; ++command) {
        SCOPED_TRACE(command);
        ExpectCopyOut(
            [&](auto... out) { return gentl.GCGetPortURLInfo(iface, 0, command, out...); },
            NumberInfo<int32_t>(5, versions[command - 1]));
    }
}

TEST_F(InterfaceUrlTest, NeedsABuffer) {
    const uint64_t before = OptivoSim_NumCalls(OPTIVO_INTERFACE_READ_PORT);
    size_t size = 512;
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCGetPortURL(iface, nullptr, &size));
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCGetPortURL(iface, nullptr, nullptr));
    EXPECT_EQ(size, 512U);
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_INTERFACE_READ_PORT), before);
}

TEST_F(InterfaceUrlTest, NeedsRoom) {
    const size_t needed = Url().size() + 1;
    char url[512] = {};
    size_t size = needed;
    EXPECT_OK(gentl.GCGetPortURL(iface, url, &size));
    for (const size_t offered : {needed - 1, size_t{1}, size_t{0}}) {
        std::string untouched(512, '#');
        size = offered;
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCGetPortURL(iface, untouched.data(), &size));
        EXPECT_EQ(untouched, std::string(512, '#'));
    }
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCGetPortURL(iface, url, nullptr));
}

TEST_F(InterfaceUrlTest, EveryResultButZeroFails) {
    for (const int32_t result : {-1015, -1014, -1005, -1001, -1, 1, 5}) {
        SCOPED_TRACE(result);
        Steering::Add({OPTIVO_INTERFACE_READ_PORT, OPTIVO_FAULT_RESULT_AFTER, result, 4});
        char url[512] = {};
        size_t size = sizeof url;
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCGetPortURL(iface, url, &size));
        INFO_DATATYPE type = 99;
        size = sizeof url;
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCGetPortURLInfo(iface, 0, 0, &type, url, &size));
        OptivoSim_ClearFaults();
    }
}

TEST_F(InterfaceUrlTest, InfoSurvivesAWrongAnswer) {
    const std::string url = Url();
    Steering::Add({OPTIVO_INTERFACE_READ_PORT, OPTIVO_FAULT_OVERLONG_SIZE, 0, 4});
    EXPECT_EQ(Ask(UrlInfo()), TextInfo(url));
    OptivoSim_ClearFaults();
    Steering::Add({OPTIVO_INTERFACE_READ_PORT, OPTIVO_FAULT_UNTERMINATED_TEXT, 0, 4});
    const std::string text = Ask(UrlInfo()).Text();
    EXPECT_EQ(text.find_first_not_of('X'), std::string::npos);
    EXPECT_GE(text.size(), 511U);
    EXPECT_LE(text.size(), 512U);
}

TEST_F(InterfaceUrlTest, OfAnotherIndexIsRefusedUnasked) {
    const uint64_t before = OptivoSim_NumCalls(OPTIVO_INTERFACE_READ_PORT);
    for (const uint32_t index : {1U, 2U, UINT32_MAX}) {
        for (const URL_INFO_CMD command : {0, 1, 5, 6}) {
            char url[512] = "before";
            size_t size = sizeof url;
            EXPECT_FAILS(-1001, UNSPECIFIED,
                         gentl.GCGetPortURLInfo(iface, index, command, nullptr, url, &size));
            EXPECT_STREQ(url, "before");
        }
    }
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_INTERFACE_READ_PORT), before);
}

TEST_F(InterfaceUrlTest, FurtherCommandsWriteNothing) {
    for (const URL_INFO_CMD command : {6, 7, 1000}) {
        INFO_DATATYPE type = 99;
        char url[512] = "before";
        size_t size = 3;
        EXPECT_OK(gentl.GCGetPortURLInfo(iface, 0, command, &type, url, &size));
        EXPECT_EQ(type, 99);
        EXPECT_STREQ(url, "before");
        EXPECT_EQ(size, 3U);
    }
}

} // namespace
