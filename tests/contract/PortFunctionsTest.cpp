#include "Fixtures.h"

namespace {

constexpr char UNSPECIFIED[] = "Unspecified runtime error.";
// The version text of the module's own ports ends with a zero that counts as a character.
constexpr std::string_view VERSION{"4.0.1.0\0", 8};
// Likewise the ID of a stream's port.
constexpr std::string_view STREAM_ID{"DS0\0", 4};

// Every kind of port is open.
class PortTest : public StreamTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(StreamTest::SetUp());
        AnnounceBuffers(1);
        ASSERT_EQ(buffers.size(), 1U);
    }

    PORT_HANDLE Buffer() const { return buffers[0]; }

    struct NamedPort {
        const char* name;
        PORT_HANDLE handle;
    };
    std::vector<NamedPort> AllPorts() const {
        return {{"System", tl},          {"Interface", iface},    {"Device", device},
                {"remote port", remote}, {"Data Stream", stream}, {"buffer", Buffer()}};
    }

    InfoCall PortInfo(PORT_HANDLE port, PORT_INFO_CMD command) {
        return [=, this](auto... out) { return gentl.GCGetPortInfo(port, command, out...); };
    }

    InfoCall UrlInfo(PORT_HANDLE port, URL_INFO_CMD command) {
        return [=, this](auto... out) { return gentl.GCGetPortURLInfo(port, 0, command, out...); };
    }

    // The URL as a consumer with a large buffer gets it.
    std::string Url(PORT_HANDLE port) {
        char url[512] = {};
        size_t size = sizeof url;
        EXPECT_OK(gentl.GCGetPortURL(port, url, &size));
        return url;
    }

    void ExpectText(PORT_HANDLE port, PORT_INFO_CMD command, std::string_view text) {
        SCOPED_TRACE(command);
        ExpectCopyOut(PortInfo(port, command), TextInfo(text));
    }

    void ExpectFlag(PORT_HANDLE port, PORT_INFO_CMD command, bool value) {
        SCOPED_TRACE(command);
        ExpectCopyOut(PortInfo(port, command), BoolInfo(value));
    }

    void ExpectRefused(PORT_HANDLE port, PORT_INFO_CMD command, int32_t code,
                       const std::string& text) {
        SCOPED_TRACE(command);
        INFO_DATATYPE type = 99;
        char buffer[64] = "before";
        size_t size = sizeof buffer;
        EXPECT_FAILS(code, text, gentl.GCGetPortInfo(port, command, &type, buffer, &size));
        EXPECT_EQ(type, 99);
        EXPECT_EQ(size, sizeof buffer);
        EXPECT_STREQ(buffer, "before");
        EXPECT_FAILS(code, text, gentl.GCGetPortInfo(port, command, nullptr, nullptr, nullptr));
    }

    // What all ports tell alike.
    void ExpectCommonInfo(PORT_HANDLE port) {
        ExpectText(port, 1, "NORVEL");
        ExpectText(port, 2, "NorvelTL");
        ExpectText(port, 3, "Mixed");
        ExpectFlag(port, 7, true);
        ExpectFlag(port, 8, true);
        ExpectFlag(port, 9, false);
        ExpectFlag(port, 10, false);
    }

    // What all but a buffer's port tell alike.
    void ExpectByteOrder(PORT_HANDLE port) {
        ExpectFlag(port, 5, true);
        ExpectFlag(port, 6, false);
    }

    void ExpectUrlInfo(PORT_HANDLE port, const std::string& url, int32_t subMinor) {
        ExpectCopyOut(UrlInfo(port, 0), TextInfo(url));
        ExpectCopyOut(UrlInfo(port, 1), NumberInfo<int32_t>(5, 1));
        ExpectCopyOut(UrlInfo(port, 2), NumberInfo<int32_t>(5, 0));
        ExpectCopyOut(UrlInfo(port, 3), NumberInfo<int32_t>(5, 1));
        ExpectCopyOut(UrlInfo(port, 4), NumberInfo<int32_t>(5, 0));
        ExpectCopyOut(UrlInfo(port, 5), NumberInfo<int32_t>(5, subMinor));
    }

    void AddFault(OptivoOperation operation, int32_t result, uint64_t address) {
        const OptivoFault fault = {operation, OPTIVO_FAULT_RESULT, result, address,
                                   0,         OPTIVO_FOREVER};
        OptivoSim_AddFault(&fault);
    }
};

TEST_F(PortTest, HasOneUrl) {
    for (const NamedPort& port : AllPorts()) {
        SCOPED_TRACE(port.name);
        uint32_t count = 77;
        EXPECT_OK(gentl.GCGetNumPortURLs(port.handle, &count));
        EXPECT_EQ(count, 1U);
    }
}

TEST_F(PortTest, InfoOfTheSystem) {
    ExpectText(tl, 0, "TL0");
    ExpectCommonInfo(tl);
    ExpectByteOrder(tl);
    ExpectText(tl, 4, "TLSystem");
    ExpectText(tl, 11, VERSION);
    ExpectText(tl, 12, "TLPort");
}

TEST_F(PortTest, InfoOfAnInterface) {
    ExpectText(iface, 0, interfaceId);
    ExpectCommonInfo(iface);
    ExpectByteOrder(iface);
    ExpectText(iface, 4, "TLInterface");
    ExpectText(iface, 11, VERSION);
    ExpectText(iface, 12, "InterfacePort");
}

TEST_F(PortTest, InfoOfADevice) {
    ExpectText(device, 0, "TLDEV::" + camera);
    ExpectCommonInfo(device);
    ExpectByteOrder(device);
    ExpectText(device, 4, "TLDevice");
    ExpectText(device, 11, VERSION);
    ExpectText(device, 12, "DevicePort");
}

TEST_F(PortTest, InfoOfARemotePort) {
    ExpectText(remote, 0, camera);
    ExpectCommonInfo(remote);
    ExpectByteOrder(remote);
    ExpectText(remote, 4, "Device");
    ExpectText(remote, 11, "1.2");
    ExpectText(remote, 12, "Device");
}

TEST_F(PortTest, InfoOfAStream) {
    ExpectText(stream, 0, STREAM_ID);
    ExpectCommonInfo(stream);
    ExpectByteOrder(stream);
    ExpectText(stream, 4, "TLDataStream");
    ExpectText(stream, 11, VERSION);
    ExpectText(stream, 12, "StreamPort");
}

TEST_F(PortTest, InfoOfABuffer) {
    ExpectText(Buffer(), 0, "Buffer0");
    ExpectCommonInfo(Buffer());
    ExpectText(Buffer(), 4, "TLBuffer");
    ExpectText(Buffer(), 12, "BufferPort");
    for (const PORT_INFO_CMD command : {5, 6, 11, 13}) {
        ExpectRefused(Buffer(), command, -1001, UNSPECIFIED);
    }
}

TEST_F(PortTest, UnknownInfoIsRefused) {
    for (PORT_HANDLE port : {tl, iface, device, Buffer()}) {
        for (const PORT_INFO_CMD command : {13, 1000, -1}) {
            ExpectRefused(port, command, -1001, UNSPECIFIED);
        }
    }
    ExpectRefused(remote, 13, -1009, "Invalid port info command 13");
    ExpectRefused(remote, 1000, -1009, "Invalid port info command 1000");
    ExpectRefused(remote, -1, -1009, "Invalid port info command -1");
}

TEST_F(PortTest, UnknownInfoOfAStreamIsSilent) {
    for (const PORT_INFO_CMD command : {13, 14, 1000}) {
        SCOPED_TRACE(command);
        INFO_DATATYPE type = 99;
        char buffer[64] = "before";
        size_t size = sizeof buffer;
        EXPECT_OK(gentl.GCGetPortInfo(stream, command, &type, buffer, &size));
        EXPECT_EQ(type, 99);
        EXPECT_EQ(size, sizeof buffer);
        EXPECT_STREQ(buffer, "before");
        EXPECT_OK(gentl.GCGetPortInfo(stream, command, nullptr, nullptr, nullptr));
    }
}

TEST_F(PortTest, UrlInfo) {
    {
        SCOPED_TRACE("System");
        ExpectUrlInfo(tl, Url(tl), 2);
    }
    {
        SCOPED_TRACE("Interface");
        ExpectUrlInfo(iface, Url(iface), 9);
    }
    {
        SCOPED_TRACE("Device");
        ExpectUrlInfo(device, "Local:TLDevRegs.xml;500;", 4);
    }
    {
        SCOPED_TRACE("remote port");
        ExpectUrlInfo(remote, Url(remote), 2);
    }
    {
        SCOPED_TRACE("Data Stream");
        ExpectUrlInfo(stream, "Local:TLDataStreamRegs.xml;200;0", 8);
    }
    {
        SCOPED_TRACE("buffer");
        ExpectUrlInfo(Buffer(), "Local:TLBufferRegs.xml;100;0", 3);
    }
}

TEST_F(PortTest, UrlInfoOfAnotherIndexIsRefused) {
    for (const NamedPort& port : AllPorts()) {
        for (const URL_INFO_CMD command : {0, 1, 5, 6}) {
            SCOPED_TRACE(port.name);
            INFO_DATATYPE type = 99;
            char buffer[512] = "before";
            size_t size = sizeof buffer;
            const auto ask = [&] {
                return gentl.GCGetPortURLInfo(port.handle, 1, command, &type, buffer, &size);
            };
            if (port.handle == remote) {
                EXPECT_FAILS(-1009, "URL Index 1 is out of range", ask());
            } else {
                EXPECT_FAILS(-1001, UNSPECIFIED, ask());
                EXPECT_FAILS(
                    -1001, UNSPECIFIED,
                    gentl.GCGetPortURLInfo(port.handle, UINT32_MAX, command, &type, buffer, &size));
            }
            EXPECT_EQ(type, 99);
            EXPECT_EQ(size, sizeof buffer);
            EXPECT_STREQ(buffer, "before");
        }
    }
}

TEST_F(PortTest, FurtherUrlInfoIsSilent) {
    for (const NamedPort& port : AllPorts()) {
        for (const URL_INFO_CMD command : {6, 7, 8, 9, 10, 11, 1000}) {
            SCOPED_TRACE(port.name);
            INFO_DATATYPE type = 99;
            char buffer[64] = "before";
            size_t size = sizeof buffer;
            EXPECT_OK(gentl.GCGetPortURLInfo(port.handle, 0, command, &type, buffer, &size));
            EXPECT_EQ(type, 99);
            EXPECT_EQ(size, sizeof buffer);
            EXPECT_STREQ(buffer, "before");
            EXPECT_OK(gentl.GCGetPortURLInfo(port.handle, 0, command, nullptr, nullptr, nullptr));
        }
    }
}

TEST_F(PortTest, UrlOfTheSystem) {
    size_t needed = 0;
    EXPECT_OK(gentl.GCGetPortURL(tl, nullptr, &needed));
    const std::string url = Url(tl);
    EXPECT_EQ(needed, url.size() + 2);
    ASSERT_EQ(url.substr(0, 21), "Local:TLRegs.xml;940;");
    const std::string length = url.substr(21);
    EXPECT_FALSE(length.empty());
    EXPECT_EQ(length.find_first_not_of("0123456789abcdef"), std::string::npos) << length;
    EXPECT_EQ(std::stoul(length, nullptr, 16) % 4, 0U);

    std::string buffer(600, '#');
    size_t size = needed;
    EXPECT_OK(gentl.GCGetPortURL(tl, buffer.data(), &size));
    EXPECT_EQ(size, needed);
    EXPECT_STREQ(buffer.c_str(), url.c_str());
    EXPECT_EQ(buffer[needed], '#');

    for (const size_t offered : {needed - 1, size_t{1}, size_t{0}}) {
        SCOPED_TRACE(offered);
        std::string untouched(600, '#');
        size = offered;
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCGetPortURL(tl, untouched.data(), &size));
        EXPECT_EQ(size, needed);
        EXPECT_EQ(untouched, std::string(600, '#'));
    }
}

TEST_F(PortTest, UrlOfADeviceLosesItsLastCharacter) {
    size_t size = 0;
    EXPECT_OK(gentl.GCGetPortURL(device, nullptr, &size));
    EXPECT_EQ(size, 26U);
    char buffer[64] = {};
    EXPECT_OK(gentl.GCGetPortURL(device, buffer, &size));
    EXPECT_STREQ(buffer, "Local:TLDevRegs.xml;500;");
    EXPECT_EQ(size, 26U);
    size = 0;
    buffer[0] = '#';
    EXPECT_OK(gentl.GCGetPortURL(device, buffer, &size));
    EXPECT_STREQ(buffer, "Local:TLDevRegs.xml;500;");
    EXPECT_EQ(size, 26U);
    size = 25;
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCGetPortURL(device, buffer, &size));
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCGetPortURL(device, buffer, nullptr));
}

TEST_F(PortTest, UrlsOfAStreamAndABuffer) {
    struct Row {
        PORT_HANDLE port;
        const char* url;
        size_t needed;
        int32_t code;
        const char* text;
    };
    const Row rows[] = {
        {stream, "Local:TLDataStreamRegs.xml;200;0", 33, -1001, UNSPECIFIED},
        {Buffer(), "Local:TLBufferRegs.xml;100;0", 29, -1013, "Invalid Buffer Size"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.url);
        EXPECT_EQ(AskText([&](auto... out) { return gentl.GCGetPortURL(row.port, out...); }),
                  PlainTextInfo(row.url));
        for (const size_t offered : {row.needed - 1, size_t{1}, size_t{0}}) {
            SCOPED_TRACE(offered);
            char buffer[64] = "before";
            size_t size = offered;
            EXPECT_FAILS(row.code, row.text, gentl.GCGetPortURL(row.port, buffer, &size));
            EXPECT_EQ(size, row.needed);
            EXPECT_STREQ(buffer, "before");
        }
        EXPECT_FAILS(row.code, row.text, gentl.GCGetPortURL(row.port, nullptr, nullptr));
    }
}

TEST_F(PortTest, UrlsOfTheCameraLibraryNeedABuffer) {
    size_t size = 512;
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCGetPortURL(iface, nullptr, &size));
    EXPECT_FAILS(-1013, "Invalid buffer", gentl.GCGetPortURL(remote, nullptr, &size));
    EXPECT_EQ(size, 512U);
    EXPECT_NE(Url(iface), "");
    EXPECT_NE(Url(remote), "");
}

TEST_F(PortTest, WithoutRegistersReadsAndWritesNothing) {
    for (PORT_HANDLE port : {device, stream, Buffer()}) {
        for (const uint64_t address : {uint64_t{0}, uint64_t{3}, UINT64_MAX}) {
            char buffer[8] = "before";
            size_t size = sizeof buffer;
            EXPECT_OK(gentl.GCReadPort(port, address, buffer, &size));
            EXPECT_STREQ(buffer, "before");
            EXPECT_EQ(size, sizeof buffer);
            EXPECT_OK(gentl.GCWritePort(port, address, buffer, &size));
            EXPECT_EQ(size, sizeof buffer);
            EXPECT_OK(gentl.GCReadPort(port, address, nullptr, nullptr));
            EXPECT_OK(gentl.GCWritePort(port, address, nullptr, nullptr));
        }
    }
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_DEVICE_READ_PORT), 0U);
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_DEVICE_WRITE_PORT), 0U);
}

TEST_F(PortTest, ReadsTheRegistersOfTheSystem) {
    char vendor[64] = {};
    size_t size = sizeof vendor;
    EXPECT_OK(gentl.GCReadPort(tl, 0x48, vendor, &size));
    EXPECT_STREQ(vendor, "NORVEL");
    EXPECT_EQ(size, sizeof vendor);
    uint32_t value = 77;
    size = sizeof value;
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCReadPort(tl, 0x10, &value, &size));
    EXPECT_FAILS(-1005, "Register 44 is not writable.", gentl.GCWritePort(tl, 0x44, &value, &size));
    EXPECT_EQ(value, 77U);
}

TEST_F(PortTest, HandsAddressAndSizeOnUnchanged) {
    AddFault(OPTIVO_DEVICE_READ_PORT, 0, OPTIVO_ANY_SELECTOR);
    AddFault(OPTIVO_DEVICE_WRITE_PORT, 0, OPTIVO_ANY_SELECTOR);
    AddFault(OPTIVO_INTERFACE_READ_PORT, 0, OPTIVO_ANY_SELECTOR);
    AddFault(OPTIVO_INTERFACE_WRITE_PORT, 0, OPTIVO_ANY_SELECTOR);
    char buffer[8] = {};
    size_t size = 3;
    EXPECT_OK(gentl.GCReadPort(remote, 0xFEDCBA9876543211, buffer, &size));
    EXPECT_EQ(OptivoSim_LastSelector(OPTIVO_DEVICE_READ_PORT), 0xFEDCBA9876543211);
    EXPECT_OK(gentl.GCWritePort(remote, 0xFEDCBA9876543212, buffer, &size));
    EXPECT_EQ(OptivoSim_LastSelector(OPTIVO_DEVICE_WRITE_PORT), 0xFEDCBA9876543212);
    EXPECT_OK(gentl.GCReadPort(iface, 0xFEDCBA9876543213, buffer, &size));
    EXPECT_EQ(OptivoSim_LastSelector(OPTIVO_INTERFACE_READ_PORT), 0xFEDCBA9876543213);
    EXPECT_OK(gentl.GCWritePort(iface, 0xFEDCBA9876543214, buffer, &size));
    EXPECT_EQ(OptivoSim_LastSelector(OPTIVO_INTERFACE_WRITE_PORT), 0xFEDCBA9876543214);
    EXPECT_EQ(size, 3U);
}

TEST_F(PortTest, StackedReadReadsEveryEntry) {
    char vendor[64] = {};
    char model[64] = {};
    uint32_t count = 77;
    PORT_REGISTER_STACK_ENTRY entries[] = {
        {0x48, vendor, sizeof vendor}, {0x88, model, sizeof model}, {0x4, &count, sizeof count}};
    size_t numEntries = 3;
    EXPECT_OK(gentl.GCReadPortStacked(tl, entries, &numEntries));
    EXPECT_EQ(numEntries, 3U);
    EXPECT_STREQ(vendor, "NORVEL");
    EXPECT_STREQ(model, "NorvelTL");
    EXPECT_EQ(count, NumInterfaces());
    EXPECT_EQ(entries[0].Size, sizeof vendor);
    EXPECT_EQ(entries[0].Address, 0x48U);
    EXPECT_EQ(entries[0].pBuffer, vendor);
}

TEST_F(PortTest, StackedReadTakesNoMoreThanTheCount) {
    char vendor[64] = {};
    char model[64] = "before";
    PORT_REGISTER_STACK_ENTRY entries[] = {{0x48, vendor, sizeof vendor},
                                           {0x88, model, sizeof model}};
    size_t numEntries = 1;
    EXPECT_OK(gentl.GCReadPortStacked(tl, entries, &numEntries));
    EXPECT_EQ(numEntries, 1U);
    EXPECT_STREQ(vendor, "NORVEL");
    EXPECT_STREQ(model, "before");
}

TEST_F(PortTest, StackedReadEndsAtTheFirstFailure) {
    char vendor[64] = {};
    uint32_t undefined = 77;
    char model[64] = "before";
    PORT_REGISTER_STACK_ENTRY entries[] = {{0x48, vendor, sizeof vendor},
                                           {0x10, &undefined, sizeof undefined},
                                           {0x88, model, sizeof model}};
    size_t numEntries = 3;
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCReadPortStacked(tl, entries, &numEntries));
    EXPECT_EQ(numEntries, 1U);
    EXPECT_STREQ(vendor, "NORVEL");
    EXPECT_EQ(undefined, 77U);
    EXPECT_STREQ(model, "before");
}

TEST_F(PortTest, StackedReadMayFailAtOnce) {
    uint32_t value = 77;
    PORT_REGISTER_STACK_ENTRY entries[] = {{0x10, &value, 4}, {0x4, &value, 4}};
    size_t numEntries = 2;
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCReadPortStacked(tl, entries, &numEntries));
    EXPECT_EQ(numEntries, 0U);
    EXPECT_EQ(value, 77U);
}

TEST_F(PortTest, StackedWriteEndsAtTheFirstFailure) {
    ASSERT_GE(NumInterfaces(), 2U);
    uint32_t first = 1;
    uint32_t refused = 1;
    uint32_t last = 0;
    PORT_REGISTER_STACK_ENTRY entries[] = {{0x8, &first, 4}, {0x44, &refused, 4}, {0x8, &last, 4}};
    size_t numEntries = 3;
    EXPECT_FAILS(-1005, "Register 44 is not writable.",
                 gentl.GCWritePortStacked(tl, entries, &numEntries));
    EXPECT_EQ(numEntries, 1U);
    uint32_t selected = 77;
    size_t size = sizeof selected;
    EXPECT_OK(gentl.GCReadPort(tl, 0x8, &selected, &size));
    EXPECT_EQ(selected, 1U);
}

TEST_F(PortTest, StackedWriteWritesEveryEntry) {
    ASSERT_GE(NumInterfaces(), 2U);
    uint32_t first = 0;
    uint32_t second = 1;
    PORT_REGISTER_STACK_ENTRY entries[] = {{0x8, &first, 4}, {0x8, &second, 4}};
    size_t numEntries = 2;
    EXPECT_OK(gentl.GCWritePortStacked(tl, entries, &numEntries));
    EXPECT_EQ(numEntries, 2U);
    uint32_t selected = 77;
    size_t size = sizeof selected;
    EXPECT_OK(gentl.GCReadPort(tl, 0x8, &selected, &size));
    EXPECT_EQ(selected, 1U);
}

TEST_F(PortTest, StackedAccessOfTheCameraStopsAskingIt) {
    AddFault(OPTIVO_DEVICE_READ_PORT, -1005, 0x2000);
    AddFault(OPTIVO_DEVICE_READ_PORT, 0, OPTIVO_ANY_SELECTOR);
    AddFault(OPTIVO_DEVICE_WRITE_PORT, -1010, 0x2000);
    AddFault(OPTIVO_DEVICE_WRITE_PORT, 0, OPTIVO_ANY_SELECTOR);
    uint32_t values[4] = {};
    PORT_REGISTER_STACK_ENTRY entries[] = {{0x1000, &values[0], 4},
                                           {0x1004, &values[1], 4},
                                           {0x2000, &values[2], 4},
                                           {0x1008, &values[3], 4}};
    size_t numEntries = 4;
    EXPECT_FAILS(-1005, "Register 0x2000 is not readable.",
                 gentl.GCReadPortStacked(remote, entries, &numEntries));
    EXPECT_EQ(numEntries, 2U);
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_DEVICE_READ_PORT), 3U);
    EXPECT_EQ(OptivoSim_LastSelector(OPTIVO_DEVICE_READ_PORT), 0x2000U);
    numEntries = 4;
    EXPECT_FAILS(-1010, "Read register 0x2000 is failed.",
                 gentl.GCWritePortStacked(remote, entries, &numEntries));
    EXPECT_EQ(numEntries, 2U);
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_DEVICE_WRITE_PORT), 3U);
    EXPECT_EQ(OptivoSim_LastSelector(OPTIVO_DEVICE_WRITE_PORT), 0x2000U);
}

TEST_F(PortTest, StackedAccessWithoutRegistersCountsEveryEntry) {
    uint32_t value = 77;
    PORT_REGISTER_STACK_ENTRY entries[] = {{0, &value, 4}, {UINT64_MAX, nullptr, 0}};
    for (PORT_HANDLE port : {device, stream, Buffer()}) {
        size_t numEntries = 2;
        EXPECT_OK(gentl.GCReadPortStacked(port, entries, &numEntries));
        EXPECT_EQ(numEntries, 2U);
        EXPECT_OK(gentl.GCWritePortStacked(port, entries, &numEntries));
        EXPECT_EQ(numEntries, 2U);
    }
    EXPECT_EQ(value, 77U);
}

TEST_F(PortTest, StackedAccessWithoutEntriesIsNotRecorded) {
    uint32_t value = 77;
    PORT_REGISTER_STACK_ENTRY entry = {0x4, &value, 4};
    for (const auto function : {gentl.GCReadPortStacked, gentl.GCWritePortStacked}) {
        size_t numEntries = 0;
        EXPECT_FAILS_UNRECORDED(-1009, function(tl, &entry, &numEntries));
        EXPECT_EQ(numEntries, 0U);
        numEntries = 1;
        EXPECT_FAILS_UNRECORDED(-1009, function(tl, nullptr, &numEntries));
        EXPECT_EQ(numEntries, 1U);
        EXPECT_FAILS_UNRECORDED(-1009, function(tl, &entry, nullptr));
        EXPECT_FAILS_UNRECORDED(-1009, function(device, nullptr, nullptr));
    }
    EXPECT_EQ(value, 77U);
}

TEST_F(PortTest, SystemAndInterfaceHaveNoEvents) {
    for (PORT_HANDLE source : {tl, iface}) {
        for (const EVENT_TYPE type : {0, 1, 2, 3, 4, 5, 1000, -1}) {
            const std::string text = "Event ID " + std::to_string(type) + " not implemented";
            EVENT_HANDLE event = this;
            EXPECT_FAILS(-1001, text, gentl.GCRegisterEvent(source, type, &event));
            EXPECT_EQ(event, this);
            EXPECT_FAILS(-1001, text, gentl.GCRegisterEvent(source, type, nullptr));
            EXPECT_FAILS(-1001, text, gentl.GCUnregisterEvent(source, type));
        }
    }
}

TEST_F(PortTest, BufferHasNoEvents) {
    EVENT_HANDLE event = this;
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCRegisterEvent(Buffer(), 1, &event));
    EXPECT_EQ(event, this);
    EXPECT_FAILS(-1001, "Event ID 1 not implemented", gentl.GCUnregisterEvent(Buffer(), 1));
}

} // namespace
