#include "DeviceFixtures.h"

#if defined(__SANITIZE_THREAD__)
// An allocation that fails answers null under this sanitizer too, as everywhere else.
extern "C" __attribute__((weak, visibility("default"))) const char* __tsan_default_options() {
    return "allocator_may_return_null=1";
}
#endif

namespace {

constexpr size_t ABSURD = size_t{1} << 62;

class BufferFixture : public StreamTest {
protected:
    InfoCall BufferInfo(BUFFER_HANDLE buffer, BUFFER_INFO_CMD command) {
        return [=, this](auto... out) {
            return gentl.DSGetBufferInfo(stream, buffer, command, out...);
        };
    }

    Info PointerInfo(const void* pointer) {
        return NumberInfo(10, reinterpret_cast<uintptr_t>(pointer));
    }
    Info SizeInfo(size_t size) { return NumberInfo(12, size); }

    BUFFER_HANDLE Announce(void* memory, size_t size, void* user) {
        BUFFER_HANDLE buffer = nullptr;
        EXPECT_OK(gentl.DSAnnounceBuffer(stream, memory, size, user, &buffer));
        EXPECT_NE(buffer, nullptr);
        return buffer;
    }

    void ExpectState(BUFFER_HANDLE buffer, bool newData, bool queued) {
        EXPECT_EQ(Ask(BufferInfo(buffer, 4)), BoolInfo(newData));
        EXPECT_EQ(Ask(BufferInfo(buffer, 5)), BoolInfo(queued));
        EXPECT_EQ(Ask(BufferInfo(buffer, 6)), BoolInfo(false));
    }
};

class BufferInfoTest : public BufferFixture {};

TEST_F(BufferInfoTest, OfTheConsumersMemory) {
    unsigned char memory[100] = {};
    const BUFFER_HANDLE buffer = Announce(memory, sizeof memory, this);
    ExpectCopyOut(BufferInfo(buffer, 0), PointerInfo(memory));
    ExpectCopyOut(BufferInfo(buffer, 1), SizeInfo(100));
    ExpectCopyOut(BufferInfo(buffer, 2), PointerInfo(this));
    ExpectCopyOut(BufferInfo(buffer, 4), BoolInfo(false));
    ExpectCopyOut(BufferInfo(buffer, 5), BoolInfo(false));
    ExpectCopyOut(BufferInfo(buffer, 6), BoolInfo(false));
    ExpectCopyOut(BufferInfo(buffer, 9), SizeInfo(100));
}

TEST_F(BufferInfoTest, OfMemoryThatTheModuleAllocates) {
    BUFFER_HANDLE allocated = nullptr;
    ASSERT_OK(gentl.DSAllocAndAnnounceBuffer(stream, 4096, nullptr, &allocated));
    for (const BUFFER_HANDLE buffer : {allocated, Announce(nullptr, 4096, nullptr)}) {
        const Info base = Ask(BufferInfo(buffer, 0));
        auto* memory = base.As<unsigned char*>();
        ASSERT_NE(memory, nullptr);
        std::memset(memory, 0xA5, 4096);
        ExpectCopyOut(BufferInfo(buffer, 0), PointerInfo(memory));
        ExpectCopyOut(BufferInfo(buffer, 1), SizeInfo(4096));
        ExpectCopyOut(BufferInfo(buffer, 2), PointerInfo(nullptr));
        ExpectCopyOut(BufferInfo(buffer, 9), SizeInfo(4096));
    }
}

TEST_F(BufferInfoTest, EachBufferHasItsOwn) {
    ASSERT_NO_FATAL_FAILURE(AnnounceBuffers(3, 1000));
    std::vector<Info> bases;
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(Ask(BufferInfo(buffers[i], 2)), PointerInfo(UserPointer(i)));
        bases.push_back(Ask(BufferInfo(buffers[i], 0)));
    }
    EXPECT_NE(bases[0], bases[1]);
    EXPECT_NE(bases[1], bases[2]);
    EXPECT_NE(bases[0], bases[2]);
}

TEST_F(BufferInfoTest, OfASizeOfZero) {
    unsigned char memory[1] = {0x5A};
    const BUFFER_HANDLE buffer = Announce(memory, 0, nullptr);
    EXPECT_EQ(Ask(BufferInfo(buffer, 0)), PointerInfo(memory));
    EXPECT_EQ(Ask(BufferInfo(buffer, 1)), SizeInfo(0));
    EXPECT_EQ(Ask(BufferInfo(buffer, 9)), SizeInfo(0));
    EXPECT_EQ(Ask(BufferInfo(Announce(nullptr, 0, nullptr), 1)), SizeInfo(0));
}

TEST_F(BufferInfoTest, RefusesOtherCommandsByNumber) {
    const BUFFER_HANDLE buffer = AnnounceMemory(16);
    std::vector<BUFFER_INFO_CMD> commands = {3, 7, 8, 1000, 1001, INT32_MAX, -1, INT32_MIN};
    for (BUFFER_INFO_CMD command = 10; command <= 30; ++command) {
        commands.push_back(command);
    }
    for (const BUFFER_INFO_CMD command : commands) {
        const std::string text = "Invalid buffer info command " + std::to_string(command);
        INFO_DATATYPE type = 99;
        char out[16] = "before";
        size_t size = sizeof out;
        EXPECT_FAILS(-1009, text,
                     gentl.DSGetBufferInfo(stream, buffer, command, &type, out, &size));
        EXPECT_FAILS(-1009, text,
                     gentl.DSGetBufferInfo(stream, buffer, command, nullptr, nullptr, nullptr));
        EXPECT_EQ(type, 99);
        EXPECT_EQ(size, sizeof out);
        EXPECT_STREQ(out, "before");
    }
}

TEST_F(BufferInfoTest, RefusesWhatIsNoBuffer) {
    AnnounceMemory(16);
    for (const BUFFER_HANDLE wrong :
         std::vector<BUFFER_HANDLE>{nullptr, tl, iface, device, remote, stream}) {
        for (const BUFFER_INFO_CMD command : {0, 1, 3, 1000}) {
            size_t size = SIZE_NOT_WRITTEN;
            EXPECT_FAILS(-1001, "Invalid Device Handle",
                         gentl.DSGetBufferInfo(stream, wrong, command, nullptr, nullptr, &size));
            EXPECT_EQ(size, SIZE_NOT_WRITTEN);
        }
    }
    size_t size = SIZE_NOT_WRITTEN;
    EXPECT_FAILS(-1001, "Invalid Device Handle",
                 gentl.DSGetBufferInfo(buffers[0], buffers[0], 1, nullptr, nullptr, &size));
}

TEST_F(BufferInfoTest, IsToldByAnyStream) {
    const BUFFER_HANDLE buffer = AnnounceMemory(16, this);
    DS_HANDLE other = nullptr;
    ASSERT_OK(gentl.DevOpenDataStream(device, "DS1", &other));
    EXPECT_EQ(Ask([&](auto... out) { return gentl.DSGetBufferInfo(other, buffer, 2, out...); }),
              PointerInfo(this));
}

// The memory of this buffer could not be allocated.
class AbsurdBufferTest : public BufferFixture,
                         public testing::WithParamInterface<std::pair<const char*, size_t>> {
protected:
    BUFFER_HANDLE AnnounceAbsurd(void* user) {
        BUFFER_HANDLE buffer = nullptr;
        if (GetParam().first == std::string("Allocated")) {
            EXPECT_OK(gentl.DSAllocAndAnnounceBuffer(stream, GetParam().second, user, &buffer));
        } else {
            EXPECT_OK(gentl.DSAnnounceBuffer(stream, nullptr, GetParam().second, user, &buffer));
        }
        EXPECT_NE(buffer, nullptr);
        return buffer;
    }
};

TEST_P(AbsurdBufferTest, IsAnnouncedAllTheSame) {
    const BUFFER_HANDLE buffer = AnnounceAbsurd(this);
    EXPECT_EQ(NumAnnounced(), 1U);
    BUFFER_HANDLE first = nullptr;
    EXPECT_OK(gentl.DSGetBufferID(stream, 0, &first));
    EXPECT_EQ(first, buffer);
    EXPECT_EQ(Ask(BufferInfo(buffer, 1)), SizeInfo(GetParam().second));
    EXPECT_EQ(Ask(BufferInfo(buffer, 2)), PointerInfo(this));
    EXPECT_EQ(Ask(BufferInfo(buffer, 9)), SizeInfo(GetParam().second));
    ExpectState(buffer, false, false);
}

TEST_P(AbsurdBufferTest, HasNoBase) {
    const BUFFER_HANDLE buffer = AnnounceAbsurd(nullptr);
    INFO_DATATYPE type = 99;
    void* base = this;
    size_t size = sizeof base;
    EXPECT_FAILS(-1001, "Invalid Memory Buffer",
                 gentl.DSGetBufferInfo(stream, buffer, 0, &type, &base, &size));
    EXPECT_FAILS(-1001, "Invalid Memory Buffer",
                 gentl.DSGetBufferInfo(stream, buffer, 0, nullptr, nullptr, nullptr));
    EXPECT_EQ(type, 99);
    EXPECT_EQ(base, this);
    EXPECT_EQ(size, sizeof base);
}

TEST_P(AbsurdBufferTest, CanBeQueuedAndRevoked) {
    const BUFFER_HANDLE buffer = AnnounceAbsurd(this);
    EXPECT_OK(gentl.DSQueueBuffer(stream, buffer));
    ExpectState(buffer, false, true);
    EXPECT_OK(gentl.DSFlushQueue(stream, 4));
    void* memory = this;
    void* user = nullptr;
    EXPECT_OK(gentl.DSRevokeBuffer(stream, buffer, &memory, &user));
    EXPECT_EQ(memory, nullptr);
    EXPECT_EQ(user, this);
    EXPECT_EQ(NumAnnounced(), 0U);
}

INSTANTIATE_TEST_SUITE_P(
    Ways, AbsurdBufferTest,
    testing::Values(std::pair("Allocated", ABSURD), std::pair("Allocated", SIZE_MAX),
                    std::pair("Announced", ABSURD), std::pair("Announced", SIZE_MAX)),
    [](const auto& way) {
        return way.param.first + std::string(way.param.second == ABSURD ? "Huge" : "Largest");
    });

// The state of a buffer on its way through the queues.
class BufferStateTest : public BufferFixture {};

TEST_F(BufferStateTest, FollowsItsCycle) {
    ASSERT_NO_FATAL_FAILURE(AnnounceBuffers(1));
    const BUFFER_HANDLE buffer = buffers[0];
    RegisterNewBuffer();
    ExpectState(buffer, false, false);
    QueueAll();
    ExpectState(buffer, false, true);
    Start();
    for (int i = 0; i < 2; ++i) {
        Produce(1);
        ASSERT_TRUE(Eventually([this] { return NumAwaitDelivery() == 1; }));
        ExpectState(buffer, true, false);
        ASSERT_EQ(WaitBuffer().handle, buffer);
        ExpectState(buffer, true, false);
        QueueAll();
        ExpectState(buffer, false, true);
    }
    Stop();
    ExpectState(buffer, false, true);
    EXPECT_OK(gentl.DSFlushQueue(stream, 4));
    ExpectState(buffer, false, false);
}

TEST_F(BufferStateTest, IsQueuedWhileItIsFilled) {
    AddLastingFault(OPTIVO_STREAM_GRAB_IMAGE, OPTIVO_FAULT_HANG, 0, 1);
    StartWith(1);
    Produce(1);
    ASSERT_TRUE(Eventually([] { return OptivoSim_NumCalls(OPTIVO_STREAM_GRAB_IMAGE) == 1; }));
    EXPECT_EQ(NumQueued(), 0U);
    ExpectState(buffers[0], false, true);
    OptivoSim_Release();
    EXPECT_EQ(WaitBuffer().handle, buffers[0]);
    ExpectState(buffers[0], true, false);
}

TEST_F(BufferStateTest, FilledSizeIsTheAnnouncedSizeWhateverTheImage) {
    const size_t sizes[] = {PayloadSize(), PayloadSize() + 1, 2 * PayloadSize()};
    for (const size_t size : sizes) {
        AnnounceMemory(size);
    }
    QueueAll();
    RegisterNewBuffer();
    Start();
    for (const size_t size : sizes) {
        Produce(1);
        const BUFFER_HANDLE filled = WaitBuffer().handle;
        EXPECT_EQ(Ask(BufferInfo(filled, 9)), SizeInfo(size));
        EXPECT_EQ(Ask(BufferInfo(filled, 1)), SizeInfo(size));
    }
}

TEST_F(BufferStateTest, TimestampStaysHidden) {
    StartWith(1);
    Produce(1);
    const BUFFER_HANDLE filled = WaitBuffer().handle;
    ASSERT_EQ(filled, buffers[0]);
    uint64_t timestamp = 77;
    size_t size = sizeof timestamp;
    EXPECT_FAILS(-1009, "Invalid buffer info command 3",
                 gentl.DSGetBufferInfo(stream, filled, 3, nullptr, &timestamp, &size));
    EXPECT_EQ(timestamp, 77U);
}

// Every buffer is a port, which tells the same of each, whatever its memory and its state.
class BufferPortTest : public BufferFixture {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(BufferFixture::SetUp());
        AnnounceBuffers(2, 64);
        AnnounceMemory(16);
        buffers.push_back(Announce(nullptr, ABSURD, nullptr));
        ASSERT_OK(gentl.DSQueueBuffer(stream, buffers[1]));
    }

    InfoCall PortInfo(BUFFER_HANDLE buffer, PORT_INFO_CMD command) {
        return [=, this](auto... out) { return gentl.GCGetPortInfo(buffer, command, out...); };
    }
};

TEST_F(BufferPortTest, InfoIsTheSameOfEach) {
    for (const BUFFER_HANDLE buffer : buffers) {
        ExpectCopyOut(PortInfo(buffer, 0), TextInfo("Buffer0"));
        ExpectCopyOut(PortInfo(buffer, 1), TextInfo("NORVEL"));
        ExpectCopyOut(PortInfo(buffer, 2), TextInfo("NorvelTL"));
        ExpectCopyOut(PortInfo(buffer, 3), TextInfo("Mixed"));
        ExpectCopyOut(PortInfo(buffer, 4), TextInfo("TLBuffer"));
        ExpectCopyOut(PortInfo(buffer, 7), BoolInfo(true));
        ExpectCopyOut(PortInfo(buffer, 8), BoolInfo(true));
        ExpectCopyOut(PortInfo(buffer, 9), BoolInfo(false));
        ExpectCopyOut(PortInfo(buffer, 10), BoolInfo(false));
        ExpectCopyOut(PortInfo(buffer, 12), TextInfo("BufferPort"));
    }
}

TEST_F(BufferPortTest, ByteOrderVersionAndOtherInfoAreRefused) {
    for (const PORT_INFO_CMD command : {5, 6, 11, 13, 14, 1000, -1, INT32_MIN}) {
        SCOPED_TRACE(command);
        INFO_DATATYPE type = 99;
        char out[16] = "before";
        size_t size = sizeof out;
        EXPECT_FAILS(-1001, UNSPECIFIED,
                     gentl.GCGetPortInfo(buffers[0], command, &type, out, &size));
        EXPECT_EQ(type, 99);
        EXPECT_EQ(size, sizeof out);
        EXPECT_STREQ(out, "before");
    }
}

TEST_F(BufferPortTest, UrlKeepsItsLastCharacter) {
    for (const BUFFER_HANDLE buffer : buffers) {
        char url[64];
        std::memset(url, '#', sizeof url);
        size_t size = 29;
        EXPECT_OK(gentl.GCGetPortURL(buffer, url, &size));
        EXPECT_STREQ(url, "Local:TLBufferRegs.xml;100;0");
        EXPECT_EQ(size, 29U);
        EXPECT_EQ(url[29], '#');
        size = 64;
        EXPECT_OK(gentl.GCGetPortURL(buffer, url, &size));
        EXPECT_EQ(size, 29U);
    }
}

TEST_F(BufferPortTest, UrlFailsWithAnotherCodeThanThatOfItsStream) {
    size_t size = 28;
    char url[64] = "before";
    EXPECT_FAILS(-1013, "Invalid Buffer Size", gentl.GCGetPortURL(buffers[0], url, &size));
    EXPECT_EQ(size, 29U);
    EXPECT_FAILS(-1013, "Invalid Buffer Size", gentl.GCGetPortURL(buffers[0], url, nullptr));
    size = 32;
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCGetPortURL(stream, url, &size));
    EXPECT_EQ(size, 33U);
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCGetPortURL(stream, url, nullptr));
    EXPECT_STREQ(url, "before");
}

TEST_F(BufferPortTest, UrlSizeIsToldWithoutABuffer) {
    for (const size_t offered : {size_t{0}, size_t{1}, size_t{1000}}) {
        size_t size = offered;
        EXPECT_OK(gentl.GCGetPortURL(buffers[0], nullptr, &size));
        EXPECT_EQ(size, 29U);
    }
}

TEST_F(BufferPortTest, UrlInfo) {
    const auto urlInfo = [this](URL_INFO_CMD command) -> InfoCall {
        return [=, this](auto... out) {
            return gentl.GCGetPortURLInfo(buffers[1], 0, command, out...);
        };
    };
    ExpectCopyOut(urlInfo(0), TextInfo("Local:TLBufferRegs.xml;100;0"));
    const int32_t versions[] = {1, 0, 1, 0, 3};
    for (URL_INFO_CMD command = 1; command <= 5; ++command) {
        SCOPED_TRACE(command);
        ExpectCopyOut(urlInfo(command), NumberInfo<int32_t>(5, versions[command - 1]));
    }
}

TEST_F(BufferPortTest, AccessLeavesItsMemoryAlone) {
    const auto* memory = Ask(BufferInfo(buffers[2], 0)).As<const unsigned char*>();
    char bytes[16] = "written to it";
    size_t size = sizeof bytes;
    EXPECT_OK(gentl.GCWritePort(buffers[2], 0, bytes, &size));
    EXPECT_EQ(memory[0], 0);
    EXPECT_OK(gentl.GCReadPort(buffers[2], 0, bytes, &size));
    EXPECT_STREQ(bytes, "written to it");
    EXPECT_EQ(size, sizeof bytes);
}

TEST_F(BufferPortTest, SupportsNoEvent) {
    for (const EVENT_TYPE type : {0, 1, 2, 3, 4, 5, 1000, -1}) {
        EVENT_HANDLE none = this;
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCRegisterEvent(buffers[0], type, &none));
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCRegisterEvent(buffers[0], type, nullptr));
        EXPECT_FAILS(-1001, "Event ID " + std::to_string(type) + " not implemented",
                     gentl.GCUnregisterEvent(buffers[0], type));
        EXPECT_EQ(none, this);
    }
}

} // namespace
