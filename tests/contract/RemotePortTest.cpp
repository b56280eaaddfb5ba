#include "DeviceFixtures.h"

#include <algorithm>

namespace {

// The camera is Norvel-G1300C-10002, of 1280 x 1024 pixels.
class RemotePortTest : public DeviceTest {
protected:
    uint32_t ReadNumber(uint64_t address) {
        uint32_t value = 0;
        size_t size = sizeof value;
        EXPECT_OK(gentl.GCReadPort(remote, address, &value, &size));
        EXPECT_EQ(size, sizeof value);
        return value;
    }

    // A read and a write fail alike and change nothing.
    void ExpectAccessFails(uint64_t address, int32_t code, const std::string& text) {
        const std::string before = "before";
        std::string bytes = before;
        size_t size = 4;
        EXPECT_FAILS(code, text, gentl.GCReadPort(remote, address, bytes.data(), &size));
        EXPECT_FAILS(code, text, gentl.GCWritePort(remote, address, bytes.data(), &size));
        EXPECT_EQ(bytes, before);
        EXPECT_EQ(size, 4U);
    }

    void ExpectResultFails(int32_t result, uint64_t address, int32_t code,
                           const std::string& text) {
        SCOPED_TRACE(result);
        AddLastingFault(OPTIVO_DEVICE_READ_PORT, OPTIVO_FAULT_RESULT, result, 1, address);
        AddLastingFault(OPTIVO_DEVICE_WRITE_PORT, OPTIVO_FAULT_RESULT, result, 1, address);
        ExpectAccessFails(address, code, text);
    }

    std::string Url() {
        char url[512] = {};
        size_t size = sizeof url;
        EXPECT_OK(gentl.GCGetPortURL(remote, url, &size));
        return url;
    }

    InfoCall UrlInfo() {
        return [this](auto... out) { return gentl.GCGetPortURLInfo(remote, 0, 0, out...); };
    }
};

TEST_F(RemotePortTest, ReadsTheCamerasRegisters) {
    EXPECT_EQ(ReadNumber(0x400), 1280U);
    EXPECT_EQ(ReadNumber(0x404), 1024U);
    char model[64] = {};
    size_t size = sizeof model;
    EXPECT_OK(gentl.GCReadPort(remote, 0x140, model, &size));
    EXPECT_STREQ(model, "G1300C");
    EXPECT_EQ(size, sizeof model);
}

TEST_F(RemotePortTest, WritesTheCamerasRegisters) {
    for (const uint32_t value : {1U, 0xFEDCBA98U, 0U}) {
        size_t size = sizeof value;
        EXPECT_OK(gentl.GCWritePort(remote, 0x800, &value, &size));
        EXPECT_EQ(size, sizeof value);
        EXPECT_EQ(ReadNumber(0x800), value);
    }
}

TEST_F(RemotePortTest, LeavesSizeAndAlignmentToTheLibrary) {
    const uint32_t value = 0x44332211;
    size_t size = sizeof value;
    ASSERT_OK(gentl.GCWritePort(remote, 0x800, &value, &size));
    unsigned char bytes[4] = {0xAA, 0xAA, 0xAA, 0xAA};
    size = 2;
    EXPECT_OK(gentl.GCReadPort(remote, 0x801, bytes, &size));
    EXPECT_EQ(OptivoSim_LastSelector(OPTIVO_DEVICE_READ_PORT), 0x801U);
    EXPECT_EQ(OptivoSim_LastArgument(OPTIVO_DEVICE_READ_PORT), 2U);
    EXPECT_EQ(bytes[0], 0x22);
    EXPECT_EQ(bytes[1], 0x33);
    EXPECT_EQ(bytes[2], 0xAA);
    const unsigned char last = 0x99;
    size = 1;
    EXPECT_OK(gentl.GCWritePort(remote, 0x803, &last, &size));
    EXPECT_EQ(OptivoSim_LastSelector(OPTIVO_DEVICE_WRITE_PORT), 0x803U);
    EXPECT_EQ(OptivoSim_LastArgument(OPTIVO_DEVICE_WRITE_PORT), 1U);
    EXPECT_EQ(ReadNumber(0x800), 0x99332211U);
    size = SIZE_MAX;
    EXPECT_FAILS(-1015, "Invalid Address", gentl.GCReadPort(remote, 0x800, bytes, &size));
    EXPECT_EQ(size, SIZE_MAX);
}

TEST_F(RemotePortTest, TellsWhatTheLibraryRefuses) {
    ExpectAccessFails(0x9999, -1015, "Invalid Address");
    ExpectAccessFails(UINT64_MAX, -1015, "Invalid Address");
    uint32_t value = 0;
    size_t size = sizeof value;
    EXPECT_FAILS(-1005, "Register 0x300 is not readable.",
                 gentl.GCWritePort(remote, 0x300, &value, &size));
    EXPECT_EQ(ReadNumber(0x300), 1280U);
    EXPECT_FAILS(-1009, "Invalid parameter", gentl.GCWritePort(remote, 0x400, &value, &size));
    EXPECT_EQ(ReadNumber(0x400), 1280U);
    EXPECT_FAILS(-1009, "Invalid parameter", gentl.GCReadPort(remote, 0x400, nullptr, &size));
    EXPECT_FAILS(-1009, "Invalid parameter", gentl.GCReadPort(remote, 0x400, &value, nullptr));
    EXPECT_FAILS(-1009, "Invalid parameter", gentl.GCWritePort(remote, 0x800, nullptr, &size));
    EXPECT_FAILS(-1009, "Invalid parameter", gentl.GCWritePort(remote, 0x800, &value, nullptr));
}

TEST_F(RemotePortTest, EveryResultHasItsCodeAndText) {
    struct Row {
        int32_t result;
        int32_t code;
        const char* text;
    };
    const Row rows[] = {
        {-1001, -1001, "Unspecified runtime error."},
        {-1002, -1006, "Not invalid."},
        {-1004, -1004, "Resource in use."},
        {-1006, -1006, "Not invalid handle."},
        {-1007, -1007, "Invalid id."},
        {-1008, -1008, "No data."},
        {-1009, -1009, "Invalid parameter"},
        {-1011, -1011, "Timeout"},
        {-1012, -1012, "Wait terminated."},
        {-1013, -1013, "Invalid Buffer"},
        {-1014, -1014, "Port is not available"},
        {-1015, -1015, "Invalid Address"},
        {-1016, -1001, "Unspecified error."},
        {-1021, -1001, "Unspecified error."},
        {-2000, -1001, "Unspecified error."},
        {-10003, -1001, "Unspecified error."},
        {INT32_MIN, -1001, "Unspecified error."},
        {1, -1001, "Unspecified error."},
        {7, -1001, "Unspecified error."},
        {1005, -1001, "Unspecified error."},
        {INT32_MAX, -1001, "Unspecified error."},
    };
    for (const Row& row : rows) {
        ExpectResultFails(row.result, 0x1000, row.code, row.text);
    }
}

TEST_F(RemotePortTest, TextsTellTheAddressInUpperCaseHexadecimal) {
    struct Row {
        uint64_t address;
        const char* digits;
    };
    const Row rows[] = {
        {0, "0"},
        {0x9, "9"},
        {0xab, "AB"},
        {0x1000, "1000"},
        {0xffffffff, "FFFFFFFF"},
        {0x100000000, "100000000"},
        {0x8000000000000000, "8000000000000000"},
        {0xfedcba9876543210, "FEDCBA9876543210"},
        {0xfffffffffffffffe, "FFFFFFFFFFFFFFFE"},
    };
    for (const Row& row : rows) {
        const std::string place = std::string("egister 0x") + row.digits;
        ExpectResultFails(-1003, row.address, -1003, "R" + place + " is not implemented");
        ExpectResultFails(-1005, row.address, -1005, "R" + place + " is not readable.");
        ExpectResultFails(-1010, row.address, -1010, "Read r" + place + " is failed.");
    }
}

TEST_F(RemotePortTest, WorksAfterAFailure) {
    ExpectResultFails(-1010, 0x400, -1010, "Read register 0x400 is failed.");
    EXPECT_EQ(ReadNumber(0x400), 1280U);
    ExpectResultFails(7, 0x400, -1001, "Unspecified error.");
    EXPECT_EQ(ReadNumber(0x400), 1280U);
}

TEST_F(RemotePortTest, AFailureThatWroteIsAFailure) {
    AddLastingFault(OPTIVO_DEVICE_READ_PORT, OPTIVO_FAULT_RESULT_AFTER, -1011, 1);
    uint32_t width = 0;
    size_t size = sizeof width;
    EXPECT_FAILS(-1011, "Timeout", gentl.GCReadPort(remote, 0x400, &width, &size));
    EXPECT_EQ(width, 1280U);
}

TEST_F(RemotePortTest, ExceptionsOfTheLibraryLoseTheirText) {
    for (const OptivoFaultKind kind :
         {OPTIVO_FAULT_GENERIC_EXCEPTION, OPTIVO_FAULT_FOREIGN_EXCEPTION}) {
        SCOPED_TRACE(kind);
        AddLastingFault(OPTIVO_DEVICE_READ_PORT, kind, 3, 1);
        AddLastingFault(OPTIVO_DEVICE_WRITE_PORT, kind, 3, 1);
        ExpectAccessFails(0x600, -1001, UNSPECIFIED);
        AddLastingFault(OPTIVO_DEVICE_GET_INFO, kind, 3, 2, 8);
        char url[512] = "before";
        size_t size = sizeof url;
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCGetPortURL(remote, url, &size));
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCGetPortURLInfo(remote, 0, 0, nullptr, url, &size));
        EXPECT_STREQ(url, "before");
        AddLastingFault(OPTIVO_DEVICE_REGISTER_EVENT_CALLBACK, kind, 3, 2);
        EVENT_HANDLE event = this;
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCRegisterEvent(remote, 4, &event));
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCUnregisterEvent(remote, 4));
        EXPECT_EQ(event, this);
    }
}

TEST_F(RemotePortTest, LeadsToTheCamerasXml) {
    const std::string url = Url();
    EXPECT_EQ(OptivoSim_LastSelector(OPTIVO_DEVICE_GET_INFO), 8U);
    const std::string start = "Local:Norvel_Camera.xml;10000;";
    ASSERT_EQ(url.substr(0, start.size()), start);
    std::string xml(std::stoul(url.substr(start.size()), nullptr, 16), '\0');
    size_t size = xml.size();
    EXPECT_OK(gentl.GCReadPort(remote, 0x10000, xml.data(), &size));
    EXPECT_EQ(xml.substr(0, 5), "<?xml");
    EXPECT_TRUE(xml.ends_with("</RegisterDescription>\n"));
}

TEST_F(RemotePortTest, UrlNeedsABuffer) {
    size_t size = 512;
    const uint64_t before = OptivoSim_NumCalls(OPTIVO_DEVICE_GET_INFO);
    EXPECT_FAILS(-1013, "Invalid buffer", gentl.GCGetPortURL(remote, nullptr, &size));
    EXPECT_EQ(size, 512U);
    EXPECT_FAILS(-1013, "Invalid buffer", gentl.GCGetPortURL(remote, nullptr, nullptr));
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_DEVICE_GET_INFO), before);
}

TEST_F(RemotePortTest, UrlAndSizeComeFromTheLibrary) {
    const std::string text = "http://camera/%s;%x.xml";
    ASSERT_EQ(OptivoSim_SetCameraText(camera.c_str(), 8, text.c_str()), 1);
    char url[64] = {};
    size_t size = sizeof url;
    EXPECT_OK(gentl.GCGetPortURL(remote, url, &size));
    EXPECT_STREQ(url, "http://camera/%s;%x.xml");
    EXPECT_EQ(size, 24U);
    size = 24;
    EXPECT_OK(gentl.GCGetPortURL(remote, url, &size));
    EXPECT_EQ(OptivoSim_LastArgument(OPTIVO_DEVICE_GET_INFO), 24U);
    for (const size_t offered : {size_t{23}, size_t{1}, size_t{0}}) {
        SCOPED_TRACE(offered);
        char small[64] = "before";
        size = offered;
        EXPECT_FAILS(-1013, "Buffer too small", gentl.GCGetPortURL(remote, small, &size));
        EXPECT_STREQ(small, "before");
        EXPECT_EQ(size, 24U);
    }
    EXPECT_FAILS(-1013, "Buffer too small", gentl.GCGetPortURL(remote, url, nullptr));
}

TEST_F(RemotePortTest, EveryOtherResultMeansThatTheUrlHasNoRoom) {
    for (const int32_t result : {-1, -1001, -1002, -1014, -2000, 1, 7}) {
        SCOPED_TRACE(result);
        AddLastingFault(OPTIVO_DEVICE_GET_INFO, OPTIVO_FAULT_RESULT, result, 2, 8);
        INFO_DATATYPE type = 99;
        char url[512] = "before";
        size_t size = sizeof url;
        EXPECT_FAILS(-1013, "Buffer too small", gentl.GCGetPortURL(remote, url, &size));
        EXPECT_FAILS(-1013, "Buffer too small",
                     gentl.GCGetPortURLInfo(remote, 0, 0, &type, url, &size));
        EXPECT_STREQ(url, "before");
        EXPECT_EQ(size, sizeof url);
        EXPECT_EQ(type, 99);
    }
}

TEST_F(RemotePortTest, UrlInfoTellsTheUrl) {
    ExpectCopyOut(UrlInfo(), TextInfo(Url()));
    ASSERT_EQ(OptivoSim_SetCameraText(camera.c_str(), 8, ""), 1);
    ExpectCopyOut(UrlInfo(), TextInfo(""));
    ASSERT_EQ(OptivoSim_SetCameraText(camera.c_str(), 8, std::string(511, 'u').c_str()), 1);
    ExpectCopyOut(UrlInfo(), TextInfo(std::string(511, 'u')));
    EXPECT_EQ(OptivoSim_LastArgument(OPTIVO_DEVICE_GET_INFO), 512U);
}

TEST_F(RemotePortTest, UrlInfoHasRoomFor512Bytes) {
    ASSERT_EQ(OptivoSim_SetCameraText(camera.c_str(), 8, std::string(512, 'u').c_str()), 1);
    size_t size = SIZE_NOT_WRITTEN;
    EXPECT_FAILS(-1013, "Buffer too small",
                 gentl.GCGetPortURLInfo(remote, 0, 0, nullptr, nullptr, &size));
    EXPECT_EQ(size, SIZE_NOT_WRITTEN);
}

TEST_F(RemotePortTest, UrlInfoSurvivesALibraryThatDoesNotTerminateIt) {
    AddLastingFault(OPTIVO_DEVICE_GET_INFO, OPTIVO_FAULT_UNTERMINATED_TEXT, 0, OPTIVO_FOREVER, 8);
    const Info info = Ask(UrlInfo());
    EXPECT_EQ(info.code, 0);
    ASSERT_LE(info.size, 513U);
    ASSERT_GT(info.size, 500U);
    EXPECT_EQ(info.Text(), std::string(info.size - 1, 'X'));
}

TEST_F(RemotePortTest, UrlInfoSurvivesALibraryThatExaggeratesItsSize) {
    const std::string url = Url();
    AddLastingFault(OPTIVO_DEVICE_GET_INFO, OPTIVO_FAULT_OVERLONG_SIZE, 0, OPTIVO_FOREVER, 8);
    EXPECT_EQ(Ask(UrlInfo()), TextInfo(url));
}

TEST_F(RemotePortTest, UrlVersionsNeedNoCamera) {
    AddLastingFault(OPTIVO_DEVICE_GET_INFO, OPTIVO_FAULT_RESULT, -1001);
    const int32_t versions[] = {1, 0, 1, 0, 2};
    for (URL_INFO_CMD command = 1; command <= 5; ++command) {
        SCOPED_TRACE(command);
        ExpectCopyOut(
            [&](auto... out) { return gentl.GCGetPortURLInfo(remote, 0, command, out...); },
            NumberInfo<int32_t>(5, versions[command - 1]));
    }
}

TEST_F(RemotePortTest, RefusesOtherIndexesAndCommandsByNumber) {
    for (const uint32_t index : {1U, 2U, 1000U}) {
        EXPECT_FAILS(-1009, "URL Index " + std::to_string(index) + " is out of range",
                     gentl.GCGetPortURLInfo(remote, index, 0, nullptr, nullptr, nullptr));
    }
    for (const PORT_INFO_CMD command : {13, 14, 1000, INT32_MAX, -1, INT32_MIN}) {
        EXPECT_FAILS(-1009, "Invalid port info command " + std::to_string(command),
                     gentl.GCGetPortInfo(remote, command, nullptr, nullptr, nullptr));
    }
}

TEST_F(RemotePortTest, InfoNeedsNoCamera) {
    for (const OptivoOperation operation :
         {OPTIVO_DEVICE_GET_INFO, OPTIVO_DEVICE_READ_PORT, OPTIVO_DEVICE_WRITE_PORT}) {
        AddLastingFault(operation, OPTIVO_FAULT_GENERIC_EXCEPTION);
    }
    const char* texts[] = {"Norvel-G1300C-10002", "NORVEL", "NorvelTL", "Mixed", "Device"};
    for (PORT_INFO_CMD command = 0; command <= 4; ++command) {
        SCOPED_TRACE(command);
        EXPECT_EQ(Ask([&](auto... out) { return gentl.GCGetPortInfo(remote, command, out...); }),
                  TextInfo(texts[command]));
    }
    const bool flags[] = {true, false, true, true, false, false};
    for (PORT_INFO_CMD command = 5; command <= 10; ++command) {
        SCOPED_TRACE(command);
        EXPECT_EQ(Ask([&](auto... out) { return gentl.GCGetPortInfo(remote, command, out...); }),
                  BoolInfo(flags[command - 5]));
    }
    EXPECT_EQ(Ask([&](auto... out) { return gentl.GCGetPortInfo(remote, 11, out...); }),
              TextInfo("1.2"));
    EXPECT_EQ(Ask([&](auto... out) { return gentl.GCGetPortInfo(remote, 12, out...); }),
              TextInfo("Device"));
}

TEST_F(RemotePortTest, BelongsToItsCamera) {
    DEV_HANDLE other = nullptr;
    ASSERT_OK(gentl.IFOpenDevice(iface, DeviceId(1).c_str(), 4, &other));
    PORT_HANDLE otherRemote = nullptr;
    ASSERT_OK(gentl.DevGetPort(other, &otherRemote));
    uint32_t width = 0;
    size_t size = sizeof width;
    EXPECT_OK(gentl.GCReadPort(otherRemote, 0x400, &width, &size));
    EXPECT_EQ(width, 640U);
    EXPECT_EQ(ReadNumber(0x400), 1280U);
    EXPECT_OK(gentl.DevClose(other));
}

TEST_F(RemotePortTest, ServesManyThreads) {
    std::atomic<int> numWrong{0};
    std::vector<std::thread> threads;
    for (const uint32_t expected : {1280U, 1024U, 1280U}) {
        threads.emplace_back([&, expected] {
            for (int i = 0; i < 200; ++i) {
                uint32_t value = 0;
                size_t size = sizeof value;
                const uint64_t address = expected == 1280 ? 0x400 : 0x404;
                if (gentl.GCReadPort(remote, address, &value, &size) != 0 || value != expected) {
                    ++numWrong;
                }
            }
        });
    }
    std::for_each(threads.begin(), threads.end(), [](std::thread& thread) { thread.join(); });
    EXPECT_EQ(numWrong, 0);
}

} // namespace
