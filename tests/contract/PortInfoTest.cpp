#include "PortFixtures.h"

namespace {

// The version text of the module's own ports ends with a zero that counts as a character.
constexpr std::string_view VERSION{"4.0.1.0\0", 8};
// Likewise the ID of a stream's port.
constexpr std::string_view STREAM_ID{"DS0\0", 4};

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
    buffer[0] = '#';
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCGetPortURL(device, buffer, &size));
    EXPECT_EQ(size, 25U);
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCGetPortURL(device, buffer, nullptr));
    EXPECT_EQ(buffer[0], '#');
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

} // namespace
