// Closing modules with all that was opened through them, and opening them anew.
#include "Process.h"
#include "StandardFixtures.h"

namespace {

class StandardClosingTest : public StandardStreamTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(StandardStreamTest::SetUp());
        StartWith(2);
        ASSERT_OK(gentl.GCRegisterEvent(device, 4, &m_cameraEvent));
        FetchNew();
    }

    void Reopen() {
        tl = iface = device = remote = stream = nullptr;
        buffers.clear();
        OpenSystem();
        OpenInterface();
        OpenDevice(1);
        ASSERT_EQ(OptivoSim_SetFrameRate(camera.c_str(), -1), 1);
        OpenStream();
        StartWith(1);
        EXPECT_EQ(FetchNew(), buffers[0]);
        EXPECT_TRUE(HoldsImage(Memory(buffers[0]), 0));
    }

    void ExpectAlive(uint64_t numInterfaces, uint64_t numDevices, uint64_t numStreams) {
        EXPECT_EQ(OptivoSim_NumAlive(OPTIVO_OBJECT_INTERFACE), numInterfaces);
        EXPECT_EQ(OptivoSim_NumAlive(OPTIVO_OBJECT_DEVICE), numDevices);
        EXPECT_EQ(OptivoSim_NumAlive(OPTIVO_OBJECT_STREAM), numStreams);
    }

    EVENT_HANDLE m_cameraEvent = nullptr;
};

TEST_F(StandardClosingTest, OfAStreamThatAcquires) {
    EXPECT_OK(gentl.DSClose(stream));
    ExpectAlive(1, 1, 0);
    stream = nullptr;
    buffers.clear();
    OpenStream();
    StartWith(1);
    EXPECT_EQ(FetchNew(), buffers[0]);
}

TEST_F(StandardClosingTest, OfADeviceThatAcquires) {
    EXPECT_OK(gentl.DevClose(device));
    ExpectAlive(1, 0, 0);
    device = remote = stream = nullptr;
    buffers.clear();
    OpenDevice(1);
    OpenStream();
    StartWith(1);
    EXPECT_EQ(FetchNew(), buffers[0]);
}

TEST_F(StandardClosingTest, OfAnInterfaceWithADeviceThatAcquires) {
    EXPECT_OK(gentl.IFClose(iface));
    ExpectAlive(0, 0, 0);
    EXPECT_REFUSES(-1006, gentl.DevClose(device));
    iface = device = remote = stream = nullptr;
}

TEST_F(StandardClosingTest, OfASystemWithADeviceThatAcquires) {
    EXPECT_OK(gentl.TLClose(tl));
    ExpectAlive(0, 0, 0);
    EXPECT_REFUSES(-1006, gentl.IFClose(iface));
    Reopen();
}

TEST_F(StandardClosingTest, OfTheLibraryWithADeviceThatAcquires) {
    EXPECT_OK(gentl.GCCloseLib());
    ExpectAlive(0, 0, 0);
    ASSERT_OK(gentl.GCInitLib());
    Reopen();
}

TEST_F(StandardClosingTest, EndsEveryEvent) {
    EXPECT_OK(gentl.DevClose(device));
    char bytes[32];
    size_t size = sizeof bytes;
    EXPECT_REFUSES(-1006, gentl.EventGetData(newBuffer, bytes, &size, 0));
    EXPECT_REFUSES(-1006, gentl.EventGetData(m_cameraEvent, bytes, &size, 0));
    EXPECT_EQ(OptivoSim_HasCallback(camera.c_str()), 0);
    device = remote = stream = nullptr;
}

TEST_F(StandardClosingTest, AgainAndAgain) {
    for (int i = 0; i < 10; ++i) {
        EXPECT_OK(gentl.TLClose(tl));
        ExpectAlive(0, 0, 0);
        ASSERT_NO_FATAL_FAILURE(Reopen());
    }
}

TEST_F(StandardClosingTest, OfAStreamGivesTheMemoryOfQueuedBuffersBack) {
    constexpr size_t kBufferSize = size_t{1} << 20;
    size_t before = 0;
    for (int i = 0; i < 12; ++i) {
        if (i == 2) {
            before = AllocatedBytes();
        }
        CloseStream();
        buffers.clear();
        OpenStream();
        AnnounceBuffers(2, kBufferSize);
        ASSERT_NO_FATAL_FAILURE(QueueAll());
    }
    EXPECT_LT(AllocatedBytes(), before + kBufferSize);
}

TEST_F(StandardClosingTest, ByTwoThreadsAtOnce) {
    for (int i = 0; i < 10; ++i) {
        auto other = std::async(std::launch::async, [&] { return gentl.DevClose(device); });
        const int32_t code = gentl.DevClose(device);
        const int32_t others = other.get();
        EXPECT_TRUE((code == 0 && others == -1006) || (code == -1006 && others == 0))
            << code << " and " << others;
        device = remote = stream = nullptr;
        OpenDevice(1);
        OpenStream();
    }
}

// The module that this one forwards to is in use in the same process.
class StandardBesideFirstTest : public StandardStreamTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(StandardStreamTest::SetUp());
        ASSERT_OK(m_first.GCInitLib());
        ASSERT_OK(m_first.TLOpen(&m_system));
        ASSERT_OK(m_first.TLOpenInterface(m_system, "GEV::eth0", &m_interface));
        ASSERT_OK(m_first.IFUpdateDeviceList(m_interface, nullptr, LONG_WAIT));
        ASSERT_OK(m_first.IFOpenDevice(m_interface, "Norvel-G1300C-10002", 4, &m_device));
    }

    void TearDown() override {
        m_first.GCInitLib();
        EXPECT_OK(m_first.TLClose(m_system));
        StandardStreamTest::TearDown();
    }

    // The first module answers as ever.
    void ExpectFirstWorks() {
        uint32_t count = 0;
        EXPECT_OK(m_first.DevGetNumDataStreams(m_device, &count));
        EXPECT_EQ(count, 1U);
        char text[64];
        size_t size = sizeof text;
        EXPECT_CODE(-1001, m_first.IFGetDeviceID(m_interface, 99, text, &size));
        EXPECT_CODE(0, m_first.GCInitLib());
    }

    Producer& m_first = TheFirst();
    TL_HANDLE m_system = nullptr;
    IF_HANDLE m_interface = nullptr;
    DEV_HANDLE m_device = nullptr;
};

TEST_F(StandardBesideFirstTest, BothStream) {
    DS_HANDLE other = nullptr;
    ASSERT_OK(m_first.DevOpenDataStream(m_device, "DS0", &other));
    BUFFER_HANDLE buffer = nullptr;
    ASSERT_OK(m_first.DSAllocAndAnnounceBuffer(other, 1280 * 1024, nullptr, &buffer));
    ASSERT_OK(m_first.DSQueueBuffer(other, buffer));
    EVENT_HANDLE event = nullptr;
    ASSERT_OK(m_first.GCRegisterEvent(other, 1, &event));
    ASSERT_OK(m_first.DSStartAcquisition(other, 0, GENTL_INFINITE));
    StartWith(1);
    EXPECT_EQ(FetchNew(), buffers[0]);
    EVENT_NEW_BUFFER_DATA data = {};
    size_t size = sizeof data;
    EXPECT_OK(m_first.EventGetData(event, &data, &size, LONG_WAIT));
    EXPECT_EQ(data.BufferHandle, buffer);
    EXPECT_OK(m_first.DSStopAcquisition(other, 0));
    EXPECT_OK(m_first.DSFlushQueue(other, 4));
    EXPECT_OK(m_first.DSClose(other));
}

TEST_F(StandardBesideFirstTest, ClosingThisOneLeavesTheFirst) {
    ASSERT_OK(gentl.GCCloseLib());
    tl = iface = device = remote = stream = nullptr;
    ExpectFirstWorks();
}

TEST_F(StandardBesideFirstTest, ClosingItsSystemLeavesTheFirst) {
    CloseSystem();
    ExpectFirstWorks();
}

TEST_F(StandardBesideFirstTest, ClosingTheFirstLeavesThisOne) {
    StartWith(1);
    ASSERT_OK(m_first.GCCloseLib());
    EXPECT_EQ(FetchNew(), buffers[0]);
    ASSERT_OK(m_first.GCCloseLib());
    char text[64];
    size_t size = sizeof text;
    EXPECT_REFUSES(-1017, gentl.IFGetDeviceID(iface, 99, text, &size));
    ASSERT_OK(m_first.GCCloseLib());
    uint32_t count = 0;
    EXPECT_OK(gentl.TLGetNumInterfaces(tl, &count));
    EXPECT_EQ(count, 2U);
}

TEST_F(StandardBesideFirstTest, ClosingTheFirstLeavesAWaitUnderWay) {
    StartWith(1);
    auto image = WaitElsewhere();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    ASSERT_OK(m_first.GCCloseLib());
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    Produce(1);
    EXPECT_OK(image.get().code);
}

TEST_F(StandardBesideFirstTest, EachHasItsOwnLastError) {
    EXPECT_CODE(-1009, gentl.TLOpen(nullptr));
    char text[64];
    size_t size = sizeof text;
    EXPECT_CODE(-1001, m_first.IFGetDeviceID(m_interface, 99, text, &size));
    EXPECT_LAST_ERROR(-1009, "A pointer is null");
    EXPECT_EQ(LastError(m_first).code, -1001);
}

TEST_F(StandardBesideFirstTest, KnowsNoHandleOfThisOne) {
    uint32_t count = 0;
    EXPECT_CODE(-1006, m_first.TLGetNumInterfaces(tl, &count));
    EXPECT_CODE(-1006, m_first.DevClose(device));
}

} // namespace
