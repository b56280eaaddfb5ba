// The ports of all modules: their registers, and the descriptions that name them.
#include "GenApi.h"
#include "StandardFixtures.h"

namespace {

class StandardPortTest : public StandardStreamTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(StandardStreamTest::SetUp());
        AnnounceBuffers(2);
    }

    std::vector<PORT_HANDLE> Ports() const { return {tl, iface, device, remote, stream}; }

    std::string Url(PORT_HANDLE port) {
        const Info url = AskText([&](auto... out) { return gentl.GCGetPortURL(port, out...); });
        EXPECT_OK(url.code);
        return url.Text();
    }

    InfoCall UrlInfo(PORT_HANDLE port, URL_INFO_CMD command, uint32_t index = 0) {
        return
            [=, this](auto... out) { return gentl.GCGetPortURLInfo(port, index, command, out...); };
    }

    InfoCall PortInfo(PORT_HANDLE port, PORT_INFO_CMD command) {
        return [=, this](auto... out) { return gentl.GCGetPortInfo(port, command, out...); };
    }

    int32_t Read(PORT_HANDLE port, uint64_t address, size_t size) {
        std::vector<char> bytes(size + 1);
        return gentl.GCReadPort(port, address, bytes.data(), &size);
    }

    int32_t Write(PORT_HANDLE port, uint64_t address, size_t size) {
        const std::vector<char> bytes(size + 1);
        return gentl.GCWritePort(port, address, bytes.data(), &size);
    }

    // Register by register, as the description names them.
    void ExpectAllAnswer(PORT_HANDLE port) {
        const GenApi features(gentl, port);
        EXPECT_FALSE(features.Registers().empty());
        for (const std::string& name : features.Registers()) {
            SCOPED_TRACE(name);
            const GenApi::Register place = features.Place(name);
            EXPECT_OK(Read(port, place.address, place.length));
            EXPECT_REFUSES(-1005, Write(port, place.address, place.length));
        }
        for (const std::string& name : features.Features()) {
            EXPECT_EQ(features.Access(name), "RO") << name;
        }
    }

    void ExpectUrl(PORT_HANDLE port, const std::string& fileName) {
        const std::string url = Url(port);
        const size_t length = GenApi(gentl, port).Xml().size();
        char expected[128];
        std::snprintf(expected, sizeof expected, "Local:%s;10000;%zx", fileName.c_str(), length);
        EXPECT_EQ(url, expected);
        ExpectTextAnswer([&](auto... out) { return gentl.GCGetPortURL(port, out...); }, expected);
        ExpectAnswer(UrlInfo(port, 0), TextInfo(expected));
        ExpectAnswer(UrlInfo(port, 7), NumberInfo<uint64_t>(8, 0x10000));
        ExpectAnswer(UrlInfo(port, 8), NumberInfo<uint64_t>(8, length));
        ExpectAnswer(UrlInfo(port, 9), NumberInfo<int32_t>(5, 0));
        ExpectAnswer(UrlInfo(port, 10), TextInfo(fileName));
    }

    void ExpectOutside(uint64_t address, size_t size) {
        for (PORT_HANDLE port : {PORT_HANDLE{device}, PORT_HANDLE{stream}}) {
            EXPECT_REFUSES(-1015, Read(port, address, size)) << std::hex << address;
            EXPECT_REFUSES(-1015, Write(port, address, size)) << std::hex << address;
        }
    }
};

TEST_F(StandardPortTest, OfADeviceNamesItsDescription) {
    ExpectUrl(device, "NorvelTLDevice.xml");
}

TEST_F(StandardPortTest, OfAStreamNamesItsDescription) {
    ExpectUrl(stream, "NorvelTLStream.xml");
}

TEST_F(StandardPortTest, OfTheOthersLeadsToADescription) {
    for (PORT_HANDLE port : {iface, remote}) {
        EXPECT_FALSE(GenApi(gentl, port).Features().empty());
    }
}

TEST_F(StandardPortTest, HasOneUrl) {
    for (PORT_HANDLE port : Ports()) {
        uint32_t count = 0;
        EXPECT_OK(gentl.GCGetNumPortURLs(port, &count));
        EXPECT_EQ(count, 1U);
        EXPECT_REFUSES(-1009, gentl.GCGetNumPortURLs(port, nullptr));
    }
}

TEST_F(StandardPortTest, RefusesAnIndexBehindTheUrl) {
    for (PORT_HANDLE port : Ports()) {
        EXPECT_REFUSES(-1017, Ask(UrlInfo(port, 0, 1)).code);
        EXPECT_REFUSES(-1017, Ask(UrlInfo(port, 0, 0xFFFFFFFF)).code);
    }
}

TEST_F(StandardPortTest, RefusesAnUnknownUrlInfo) {
    for (PORT_HANDLE port : Ports()) {
        for (const URL_INFO_CMD command : {-1, 11, 999}) {
            EXPECT_REFUSES(-1003, Ask(UrlInfo(port, command)).code) << command;
        }
        EXPECT_REFUSES(-1014, Ask(UrlInfo(port, 6)).code);
    }
}

TEST_F(StandardPortTest, TellsPartsOfEveryUrl) {
    for (PORT_HANDLE port : Ports()) {
        const std::string url = Url(port);
        const size_t address = url.find(';');
        const size_t length = url.find(';', address + 1);
        const size_t name = url.find(':') + 1;
        ExpectAnswer(UrlInfo(port, 7),
                     NumberInfo<uint64_t>(8, std::stoull(url.substr(address + 1), nullptr, 16)));
        ExpectAnswer(UrlInfo(port, 8),
                     NumberInfo<uint64_t>(8, std::stoull(url.substr(length + 1), nullptr, 16)));
        ExpectAnswer(UrlInfo(port, 9), NumberInfo<int32_t>(5, 0));
        ExpectAnswer(UrlInfo(port, 10), TextInfo(url.substr(name, address - name)));
        ExpectAnswer(UrlInfo(port, 1), NumberInfo<int32_t>(5, 1));
    }
}

TEST_F(StandardPortTest, OfADeviceAnswersForEveryRegister) {
    ExpectAllAnswer(device);
}

TEST_F(StandardPortTest, OfAStreamAnswersForEveryRegister) {
    ExpectAllAnswer(stream);
}

TEST_F(StandardPortTest, OfADeviceHoldsWhatItTells) {
    const GenApi features(gentl, device);
    EXPECT_EQ(features.Text("DeviceID"), "Norvel-G640M-10001");
    EXPECT_EQ(features.Text("DeviceModelName"), "G640M");
    EXPECT_EQ(features.Text("DeviceSerialNumber"), "10001");
    EXPECT_EQ(features.Entry("DeviceAccessStatus"), "OpenReadWrite");
    EXPECT_EQ(features.Int("TimestampFrequency"), 1000000000);
}

TEST_F(StandardPortTest, OfAStreamHoldsWhatItTells) {
    const GenApi features(gentl, stream);
    ASSERT_OK(gentl.DSQueueBuffer(stream, buffers[0]));
    EXPECT_EQ(features.Text("StreamID"), "DS0");
    EXPECT_EQ(features.Int("StreamAnnouncedBufferCount"), 2);
    EXPECT_EQ(features.Int("StreamInputBufferCount"), 1);
    EXPECT_EQ(features.Int("StreamOutputBufferCount"), 0);
    EXPECT_EQ(features.Int("PayloadSize"), 3072);
    EXPECT_FALSE(features.Bool("StreamIsGrabbing"));
}

TEST_F(StandardPortTest, OfAStreamFollowsTheAcquisition) {
    const GenApi features(gentl, stream);
    ASSERT_OK(gentl.DSQueueBuffer(stream, buffers[0]));
    RegisterNewBuffer();
    Start();
    EXPECT_TRUE(features.Bool("StreamIsGrabbing"));
    FetchNew();
    EXPECT_EQ(features.Int("StreamDeliveredFrameCount"), 1);
    EXPECT_EQ(features.Int("StreamStartedFrameCount"), 1);
    EXPECT_EQ(features.Int("StreamLostFrameCount"), 0);
}

TEST_F(StandardPortTest, ReadsAPartOfARegister) {
    char bytes[8] = "#######";
    size_t size = 3;
    EXPECT_OK(gentl.GCReadPort(device, 0x207 - 7 + 1, bytes, &size));
    EXPECT_EQ(size, 3U);
    EXPECT_STREQ(bytes, "640####");
}

TEST_F(StandardPortTest, RefusesAddressesWithoutRegister) {
    ExpectOutside(0xFFFF, 1);
    ExpectOutside(0x8000, 4);
    ExpectOutside(0xFFFFFFFFFFFFFFFF, 1);
    ExpectOutside(0xFFFFFFFFFFFFFFFC, 8);
    ExpectOutside(0, 257);
}

TEST_F(StandardPortTest, RefusesWhatEndsBehindTheDescription) {
    for (PORT_HANDLE port : {PORT_HANDLE{device}, PORT_HANDLE{stream}}) {
        const size_t length = GenApi(gentl, port).Xml().size();
        EXPECT_OK(Read(port, 0x10000 + length - 1, 1));
        EXPECT_REFUSES(-1015, Read(port, 0x10000 + length - 1, 2));
        EXPECT_REFUSES(-1015, Read(port, 0x10000 + length, 1));
        EXPECT_REFUSES(-1005, Write(port, 0x10000, 4));
    }
}

TEST_F(StandardPortTest, RefusesNullPointers) {
    for (PORT_HANDLE port : Ports()) {
        char bytes[4];
        size_t size = 4;
        EXPECT_REFUSES(-1009, gentl.GCReadPort(port, 0, nullptr, &size));
        EXPECT_REFUSES(-1009, gentl.GCReadPort(port, 0, bytes, nullptr));
        EXPECT_REFUSES(-1009, gentl.GCWritePort(port, 0, nullptr, &size));
        EXPECT_REFUSES(-1009, gentl.GCWritePort(port, 0, bytes, nullptr));
        EXPECT_REFUSES(-1009, gentl.GCReadPortStacked(port, nullptr, &size));
        EXPECT_REFUSES(-1009, gentl.GCWritePortStacked(port, nullptr, &size));
    }
}

TEST_F(StandardPortTest, ReadsAStackUpToTheFirstRefusal) {
    char id[19] = {};
    char model[6] = {};
    char none[4] = {};
    PORT_REGISTER_STACK_ENTRY entries[] = {
        {0, id, 18}, {0x200, model, 5}, {0x9000, none, 4}, {0, none, 4}};
    size_t count = 4;
    EXPECT_REFUSES(-1015, gentl.GCReadPortStacked(device, entries, &count));
    EXPECT_EQ(count, 2U);
    EXPECT_STREQ(id, "Norvel-G640M-10001");
    EXPECT_STREQ(model, "G640M");
    count = 2;
    EXPECT_OK(gentl.GCReadPortStacked(device, entries, &count));
    EXPECT_EQ(count, 2U);
}

TEST_F(StandardPortTest, OfTheSystemRefusesAnUnknownAddress) {
    EXPECT_REFUSES(-1015, Read(tl, 0xFFFFFF00, 4));
}

TEST_F(StandardPortTest, OfTheCameraReachesItsRegisters) {
    const GenApi features(gentl, remote);
    features.SetInt("Width", 32);
    EXPECT_EQ(features.Int("Width"), 32);
    EXPECT_REFUSES(-1015, Read(remote, 0xFFFFFF00, 4));
}

TEST_F(StandardPortTest, OfACameraWithoutPlugCannotBeRead) {
    ASSERT_EQ(OptivoSim_Unplug(camera.c_str()), 1);
    EXPECT_REFUSES(-1010, Read(remote, 0x400, 4));
}

TEST_F(StandardPortTest, OfABufferHasNoRegisters) {
    EXPECT_REFUSES(-1014, Read(buffers[0], 0, 4));
    EXPECT_REFUSES(-1014, Write(buffers[0], 0, 4));
}

TEST_F(StandardPortTest, OfABufferHasNoUrl) {
    uint32_t count = 7;
    EXPECT_OK(gentl.GCGetNumPortURLs(buffers[0], &count));
    EXPECT_EQ(count, 0U);
    EXPECT_REFUSES(-1017, Ask(UrlInfo(buffers[0], 0)).code);
    char url[64];
    size_t size = sizeof url;
    EXPECT_REFUSES(-1014, gentl.GCGetPortURL(buffers[0], url, &size));
}

TEST_F(StandardPortTest, TellsItsModule) {
    ExpectAnswer(PortInfo(tl, 4), TextInfo("TLSystem"));
    ExpectAnswer(PortInfo(iface, 4), TextInfo("TLInterface"));
    ExpectAnswer(PortInfo(device, 4), TextInfo("TLDevice"));
    ExpectAnswer(PortInfo(remote, 4), TextInfo("Device"));
    ExpectAnswer(PortInfo(stream, 4), TextInfo("TLDataStream"));
    ExpectAnswer(PortInfo(buffers[0], 4), TextInfo("TLBuffer"));
}

// Consumers connect a description's Port node of that name.
TEST_F(StandardPortTest, IsNamedAsInItsDescription) {
    for (PORT_HANDLE port : {iface, device, remote, stream}) {
        const std::string name = Ask(PortInfo(port, 12)).Text();
        EXPECT_NE(GenApi(gentl, port).Xml().find("<Port Name=\"" + name + "\""), std::string::npos)
            << name;
    }
}

TEST_F(StandardPortTest, TellsItsByteOrder) {
    for (PORT_HANDLE port : Ports()) {
        ExpectAnswer(PortInfo(port, 5), BoolInfo(true));
        ExpectAnswer(PortInfo(port, 6), BoolInfo(false));
    }
}

TEST_F(StandardPortTest, TellsItsAccess) {
    for (PORT_HANDLE port : Ports()) {
        ExpectAnswer(PortInfo(port, 7), BoolInfo(true));
        const bool canBeWritten = port != device && port != stream;
        ExpectAnswer(PortInfo(port, 8), BoolInfo(canBeWritten));
        ExpectAnswer(PortInfo(port, 9), BoolInfo(false));
        ExpectAnswer(PortInfo(port, 10), BoolInfo(false));
    }
}

TEST_F(StandardPortTest, RefusesAnUnknownInfo) {
    for (PORT_HANDLE port : {tl, iface, device, remote, stream, buffers[0]}) {
        for (const PORT_INFO_CMD command : {-1, 13, 999}) {
            EXPECT_REFUSES(-1003, Ask(PortInfo(port, command)).code) << command;
        }
    }
}

} // namespace
