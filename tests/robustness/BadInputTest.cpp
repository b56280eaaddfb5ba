#include "Streams.h"

#include <algorithm>
#include <limits>

namespace {

constexpr int32_t LEAST = std::numeric_limits<int32_t>::min();
constexpr int32_t MOST = std::numeric_limits<int32_t>::max();

class UnknownCommandTest : public SmallStreamTest {
protected:
    using Query = std::function<int32_t(int32_t, INFO_DATATYPE*, void*, size_t*)>;
    struct Row {
        std::string name;
        Query query;
    };

    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(SmallStreamTest::SetUp());
        AnnounceBuffers(1);
        m_buffer = buffers[0];
    }

    // Fails with this text, in which # is the number; writes nothing.
    void ExpectRefused(int32_t code, const std::string& text, const std::vector<int32_t>& commands,
                       const std::vector<Row>& rows) {
        for (const Row& row : rows) {
            for (const int32_t command : commands) {
                SCOPED_TRACE(row.name + " " + std::to_string(command));
                std::string expected = text;
                if (const size_t mark = expected.find('#'); mark != std::string::npos) {
                    expected.replace(mark, 1, std::to_string(command));
                }
                Outputs out;
                EXPECT_FAILS(code, expected, row.query(command, &out.type, out.bytes, &out.size));
                out.ExpectUntouched();
            }
        }
    }

    void ExpectIgnored(const std::vector<int32_t>& commands, const std::vector<Row>& rows) {
        for (const Row& row : rows) {
            for (const int32_t command : commands) {
                SCOPED_TRACE(row.name + " " + std::to_string(command));
                Outputs out;
                EXPECT_OK(row.query(command, &out.type, out.bytes, &out.size));
                out.ExpectUntouched();
            }
        }
    }

    Query PortInfo(PORT_HANDLE port) {
        return [this, port](int32_t command, auto... out) {
            return gentl.GCGetPortInfo(port, command, out...);
        };
    }
    Query UrlInfo(PORT_HANDLE port) {
        return [this, port](int32_t command, auto... out) {
            return gentl.GCGetPortURLInfo(port, 0, command, out...);
        };
    }

    struct Outputs {
        void ExpectUntouched() const {
            EXPECT_EQ(type, 99);
            EXPECT_EQ(size, 16U);
            EXPECT_EQ(std::string(bytes, sizeof bytes), std::string(16, '#'));
        }
        Outputs() { std::fill_n(bytes, sizeof bytes, '#'); }

        INFO_DATATYPE type = 99;
        char bytes[16];
        size_t size = sizeof bytes;
    };

    BUFFER_HANDLE m_buffer = nullptr;
};

TEST_F(UnknownCommandTest, OfInfoFunctions) {
    const std::vector<int32_t> none = {-1, 99, 999, 1005, 100000, LEAST, MOST};
    ExpectRefused(
        -1001, UNSPECIFIED, none,
        {{"TLGetInfo", [this](int32_t c, auto... out) { return gentl.TLGetInfo(tl, c, out...); }},
         {"TLGetInterfaceInfo",
          [this](int32_t c, auto... out) {
              return gentl.TLGetInterfaceInfo(tl, "GEV::eth0", c, out...);
          }},
         {"IFGetInfo",
          [this](int32_t c, auto... out) { return gentl.IFGetInfo(iface, c, out...); }},
         {"IFGetDeviceInfo",
          [this](int32_t c, auto... out) {
              return gentl.IFGetDeviceInfo(iface, camera.c_str(), c, out...);
          }},
         {"DevGetInfo",
          [this](int32_t c, auto... out) { return gentl.DevGetInfo(device, c, out...); }}});
    ExpectRefused(
        -1009, "Unsupported GCInfo parameter", none,
        {{"GCGetInfo", [this](int32_t c, auto... out) { return gentl.GCGetInfo(c, out...); }}});
    ExpectRefused(-1009, "Invalid stream info command #", none,
                  {{"DSGetInfo", [this](int32_t c, auto... out) {
                        return gentl.DSGetInfo(stream, c, out...);
                    }}});
    ExpectRefused(-1009, "Invalid buffer info command #", none,
                  {{"DSGetBufferInfo", [this](int32_t c, auto... out) {
                        return gentl.DSGetBufferInfo(stream, m_buffer, c, out...);
                    }}});
}

TEST_F(UnknownCommandTest, OfPorts) {
    const std::vector<int32_t> none = {13, 99, 1000, MOST};
    ExpectRefused(-1001, UNSPECIFIED, none,
                  {{"system", PortInfo(tl)},
                   {"interface", PortInfo(iface)},
                   {"device", PortInfo(device)},
                   {"buffer", PortInfo(m_buffer)}});
    ExpectRefused(-1009, "Invalid port info command #", none, {{"remote", PortInfo(remote)}});
    ExpectIgnored(none, {{"stream", PortInfo(stream)}});
    ExpectIgnored({6, 99, 1000, MOST, -1, LEAST}, {{"system", UrlInfo(tl)},
                                                   {"interface", UrlInfo(iface)},
                                                   {"device", UrlInfo(device)},
                                                   {"remote", UrlInfo(remote)},
                                                   {"stream", UrlInfo(stream)},
                                                   {"buffer", UrlInfo(m_buffer)}});
}

TEST_F(UnknownCommandTest, OfEvents) {
    EVENT_HANDLE deviceEvent = nullptr;
    EVENT_HANDLE errorEvent = nullptr;
    RegisterNewBuffer();
    ASSERT_OK(gentl.GCRegisterEvent(remote, 4, &deviceEvent));
    ASSERT_OK(gentl.GCRegisterEvent(stream, 0, &errorEvent));
    const auto info = [this](EVENT_HANDLE event) {
        return
            [this, event](int32_t c, auto... out) { return gentl.EventGetInfo(event, c, out...); };
    };
    ExpectIgnored({5, 99, 1000, MOST}, {{"device event", info(deviceEvent)},
                                        {"error event", info(errorEvent)},
                                        {"new-buffer event", info(newBuffer)}});
    const auto dataInfo = [this](EVENT_HANDLE event) {
        return [this, event](int32_t c, auto... out) {
            const std::array<char, 24> data{};
            return gentl.EventGetDataInfo(event, data.data(), data.size(), c, out...);
        };
    };
    ExpectRefused(-1001, UNSPECIFIED, {-1, 1, 2, 1000, LEAST, MOST},
                  {{"device event", dataInfo(deviceEvent)}, {"error event", dataInfo(errorEvent)}});
    ExpectIgnored({-1, 0, 1, 1000, MOST}, {{"new-buffer event", dataInfo(newBuffer)}});
}

TEST_F(UnknownCommandTest, OfEventSources) {
    struct Source {
        std::string name;
        EVENTSRC_HANDLE handle;
        std::vector<EVENT_TYPE> known;
        int32_t code;
        bool tellsWhy;
    };
    const std::vector<Source> sources = {
        {"system", tl, {}, -1001, true},         {"interface", iface, {}, -1001, true},
        {"device", device, {0}, -1001, true},    {"remote port", remote, {4}, -1009, true},
        {"stream", stream, {0, 1}, -1001, true}, {"buffer", m_buffer, {}, -1001, false}};
    for (const Source& source : sources) {
        for (const EVENT_TYPE type : {-1, 0, 1, 2, 3, 4, 5, 6, 1000, MOST}) {
            if (std::count(source.known.begin(), source.known.end(), type) > 0) {
                continue;
            }
            SCOPED_TRACE(source.name + " " + std::to_string(type));
            const std::string why = "Event ID " + std::to_string(type) + " not implemented";
            EVENT_HANDLE event = this;
            EXPECT_FAILS(source.code, source.tellsWhy ? why : UNSPECIFIED,
                         gentl.GCRegisterEvent(source.handle, type, &event));
            EXPECT_EQ(event, this);
            EXPECT_FAILS(source.code, why, gentl.GCUnregisterEvent(source.handle, type));
        }
    }
}

TEST_F(UnknownCommandTest, OfQueuesAndFlags) {
    QueueAll();
    for (const int32_t operation : {-1, 5, 6, 1000, LEAST, MOST}) {
        SCOPED_TRACE(operation);
        EXPECT_OK(gentl.DSFlushQueue(stream, operation));
        EXPECT_EQ(NumQueued(), 1U);
        EXPECT_EQ(NumAwaitDelivery(), 0U);
        EXPECT_OK(gentl.DSStartAcquisition(stream, operation, 1));
        EXPECT_OK(gentl.DSStopAcquisition(stream, operation));
        DEV_HANDLE second = nullptr;
        EXPECT_OK(gentl.IFOpenDevice(iface, "Norvel-G640M-10001", operation, &second));
        EXPECT_OK(gentl.DevClose(second));
    }
}

TEST_F(UnknownCommandTest, OfIndexes) {
    for (const uint32_t index : {2U, 100U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        SCOPED_TRACE(index);
        char bytes[64] = {};
        size_t size = sizeof bytes;
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.TLGetInterfaceID(tl, index, bytes, &size));
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.IFGetDeviceID(iface, index, bytes, &size));
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.DevGetDataStreamID(device, index, bytes, &size));
        for (PORT_HANDLE port : {tl, iface, device, stream, m_buffer}) {
            EXPECT_FAILS(-1001, UNSPECIFIED,
                         gentl.GCGetPortURLInfo(port, index, 0, nullptr, bytes, &size));
        }
        const std::string number = std::to_string(static_cast<int32_t>(index));
        EXPECT_FAILS(-1009, "URL Index " + number + " is out of range",
                     gentl.GCGetPortURLInfo(remote, index, 0, nullptr, bytes, &size));
        BUFFER_HANDLE found = this;
        EXPECT_FAILS(-1001, "Invalid Buffer Index " + number,
                     gentl.DSGetBufferID(stream, index, &found));
        EXPECT_EQ(found, this);
        EXPECT_EQ(size, sizeof bytes);
    }
}

class AbsurdSizeTest : public SmallStreamTest {};

TEST_F(AbsurdSizeTest, OfAnOutputIsNoLargerThanTheValue) {
    std::string bytes(64, '#');
    size_t size = SIZE_MAX;
    EXPECT_OK(gentl.TLGetInfo(tl, 1, nullptr, bytes.data(), &size));
    EXPECT_EQ(size, 7U);
    EXPECT_EQ(bytes, "NORVEL" + std::string(1, '\0') + std::string(57, '#'));
    size = SIZE_MAX;
    EXPECT_OK(gentl.DSGetInfo(stream, 3, nullptr, bytes.data(), &size));
    EXPECT_EQ(size, 4U);
    size = SIZE_MAX;
    EXPECT_OK(gentl.GCGetInfo(1, nullptr, bytes.data(), &size));
    EXPECT_EQ(size, 7U);
    size = SIZE_MAX;
    ASSERT_TRUE(RecordOtherError());
    EXPECT_OK(gentl.GCGetLastError(nullptr, bytes.data(), &size));
    EXPECT_EQ(size, 29U);
}

TEST_F(AbsurdSizeTest, OfABufferIsTakenAsItIs) {
    for (const size_t size : {SIZE_MAX, SIZE_MAX - 1, SIZE_MAX / 2 + 1, size_t{1} << 62}) {
        SCOPED_TRACE(size);
        BUFFER_HANDLE buffer = nullptr;
        ASSERT_OK(gentl.DSAllocAndAnnounceBuffer(stream, size, nullptr, &buffer));
        EXPECT_EQ(
            Ask([&](auto... out) { return gentl.DSGetBufferInfo(stream, buffer, 1, out...); }),
            NumberInfo(12, size));
        void* base = this;
        size_t width = sizeof base;
        EXPECT_FAILS(-1001, "Invalid Memory Buffer",
                     gentl.DSGetBufferInfo(stream, buffer, 0, nullptr, &base, &width));
        EXPECT_EQ(base, this);
        EXPECT_OK(gentl.DSRevokeBuffer(stream, buffer, &base, nullptr));
        EXPECT_EQ(base, nullptr);

        ASSERT_OK(gentl.DSAnnounceBuffer(stream, this, size, nullptr, &buffer));
        EXPECT_OK(gentl.DSRevokeBuffer(stream, buffer, &base, nullptr));
        EXPECT_EQ(base, this);
    }
    EXPECT_EQ(NumAnnounced(), 0U);
}

TEST_F(AbsurdSizeTest, OfARegisterAccessEndsWithTheRegisters) {
    std::string bytes(256 * 1024, '#');
    for (const size_t offered : {SIZE_MAX - 3, SIZE_MAX / 2 - 3, size_t{1} << 40}) {
        SCOPED_TRACE(offered);
        size_t size = offered;
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCReadPort(tl, 0x940, bytes.data(), &size));
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCReadPort(tl, 0x4, bytes.data(), &size));
        EXPECT_CODE(-1005, gentl.GCWritePort(tl, 0x4, bytes.data(), &size));
        EXPECT_FAILS(-1015, "Invalid Address",
                     gentl.GCReadPort(remote, 0x400, bytes.data(), &size));
        EXPECT_FAILS(-1015, "Invalid Address",
                     gentl.GCWritePort(remote, 0x600, bytes.data(), &size));
    }
    EXPECT_EQ(bytes.back(), '#');
}

TEST_F(AbsurdSizeTest, OfAnAddressIsRefused) {
    for (const uint64_t address : {UINT64_MAX, UINT64_MAX - 3, uint64_t{1} << 63,
                                   uint64_t{0x1999999999999998}, uint64_t{5}}) {
        SCOPED_TRACE(address);
        uint32_t value = 77;
        size_t size = sizeof value;
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCReadPort(tl, address, &value, &size));
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCWritePort(tl, address, &value, &size));
        EXPECT_FAILS(-1015, "Invalid Address", gentl.GCReadPort(remote, address, &value, &size));
        PORT_REGISTER_STACK_ENTRY entry = {address, &value, sizeof value};
        size_t count = SIZE_MAX;
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCReadPortStacked(tl, &entry, &count));
        EXPECT_EQ(count, 0U);
        EXPECT_EQ(value, 77U);
    }
}

} // namespace
