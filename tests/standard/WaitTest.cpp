// Waiting for images: how it ends without one.
#include "Process.h"
#include "StandardFixtures.h"

#include <atomic>

namespace {

using Clock = std::chrono::steady_clock;

// The wait itself ends within 20 ms. A machine that does other things as well takes its time
// until the waiting thread runs again.
constexpr auto SOON = std::chrono::milliseconds(100);

// Waits for an event on a thread of its own, with room for any data.
class Waiting {
public:
    Waiting(const Producer& gentl, EVENT_HANDLE event, uint64_t timeout) {
        m_result = std::async(std::launch::async, [this, &gentl, event, timeout] {
            char data[1024];
            size_t size = sizeof data;
            m_hasBegun = true;
            const int32_t code = gentl.EventGetData(event, data, &size, timeout);
            m_end = Clock::now();
            return code;
        });
        EXPECT_TRUE(Eventually([this] { return m_hasBegun.load(); }));
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }

    bool IsDone(uint64_t milliseconds = 0) const { return IsReady(m_result, milliseconds); }

    // What the wait answers; fails when it does not end by itself.
    int32_t Code() {
        if (!IsDone(LONG_WAIT)) {
            ADD_FAILURE() << "the wait does not end";
            std::abort(); // its thread cannot be ended
        }
        return m_result.get();
    }

    Clock::time_point End() const { return m_end; }

private:
    std::atomic<bool> m_hasBegun{false};
    Clock::time_point m_end;
    std::future<int32_t> m_result;
};

class StandardWaitTest : public StandardStreamTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(StandardStreamTest::SetUp());
        RegisterNewBuffer();
    }

    void ExpectKillEnds(EVENT_HANDLE event, uint64_t timeout) {
        Waiting waiting(gentl, event, timeout);
        ASSERT_FALSE(waiting.IsDone());
        const auto start = Clock::now();
        EXPECT_OK(gentl.EventKill(event));
        EXPECT_CODE(-1012, waiting.Code());
        EXPECT_LT(waiting.End() - start, SOON);
    }
};

TEST_F(StandardWaitTest, TimesOut) {
    const auto start = Clock::now();
    EXPECT_REFUSES(-1011, WaitBuffer(60).code);
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(60));
}

TEST_F(StandardWaitTest, TimesOutAtOnce) {
    const auto start = Clock::now();
    EXPECT_REFUSES(-1011, WaitBuffer(0).code);
    EXPECT_LT(Clock::now() - start, SOON);
}

TEST_F(StandardWaitTest, LeavesTheDataWhenItTimesOut) {
    std::string bytes(16, '#');
    size_t size = 16;
    EXPECT_REFUSES(-1011, gentl.EventGetData(newBuffer, bytes.data(), &size, 5));
    EXPECT_EQ(bytes, std::string(16, '#'));
    EXPECT_EQ(size, 16U);
}

TEST_F(StandardWaitTest, IsEndedByAKillWhenFinite) {
    ExpectKillEnds(newBuffer, LONG_WAIT);
}

TEST_F(StandardWaitTest, IsEndedByAKillWhenInfinite) {
    ExpectKillEnds(newBuffer, GENTL_INFINITE);
}

TEST_F(StandardWaitTest, IsEndedByAKillWhileAcquiring) {
    AnnounceBuffers(1);
    ASSERT_NO_FATAL_FAILURE(QueueAll());
    Start();
    ExpectKillEnds(newBuffer, GENTL_INFINITE);
}

TEST_F(StandardWaitTest, ForACamerasEventIsEndedByAKill) {
    EVENT_HANDLE event = nullptr;
    ASSERT_OK(gentl.GCRegisterEvent(device, 4, &event));
    ExpectKillEnds(event, GENTL_INFINITE);
}

TEST_F(StandardWaitTest, ForAnErrorIsEndedByAKill) {
    EVENT_HANDLE event = nullptr;
    ASSERT_OK(gentl.GCRegisterEvent(stream, 0, &event));
    ExpectKillEnds(event, GENTL_INFINITE);
}

TEST_F(StandardWaitTest, EndsByAKillThatCameBefore) {
    EXPECT_OK(gentl.EventKill(newBuffer));
    const auto start = Clock::now();
    EXPECT_REFUSES(-1012, WaitBuffer(LONG_WAIT).code);
    EXPECT_LT(Clock::now() - start, SOON);
}

TEST_F(StandardWaitTest, IsEndedByEachKillOnce) {
    EXPECT_OK(gentl.EventKill(newBuffer));
    EXPECT_REFUSES(-1012, WaitBuffer(0).code);
    EXPECT_REFUSES(-1011, WaitBuffer(0).code);
}

TEST_F(StandardWaitTest, IsNotEndedOnceMoreByTheKillOfTheWaitBefore) {
    ExpectKillEnds(newBuffer, GENTL_INFINITE);
    EXPECT_REFUSES(-1011, WaitBuffer(30).code);
}

TEST_F(StandardWaitTest, OfOneEventIsNotEndedByAnothersKill) {
    EVENT_HANDLE event = nullptr;
    ASSERT_OK(gentl.GCRegisterEvent(device, 4, &event));
    EXPECT_OK(gentl.EventKill(event));
    EXPECT_REFUSES(-1011, WaitBuffer(0).code);
}

TEST_F(StandardWaitTest, LosesNoImageToAKill) {
    AnnounceBuffers(1);
    ASSERT_NO_FATAL_FAILURE(QueueAll());
    Start();
    Produce(1);
    ASSERT_TRUE(Eventually([&] { return NumAwaitDelivery() == 1; }));
    EXPECT_OK(gentl.EventKill(newBuffer));
    EXPECT_REFUSES(-1012, WaitBuffer(LONG_WAIT).code);
    EXPECT_EQ(Fetch(), buffers[0]);
}

TEST_F(StandardWaitTest, GetsTheImageThatComesMeanwhile) {
    AnnounceBuffers(1);
    ASSERT_NO_FATAL_FAILURE(QueueAll());
    Start();
    Waiting waiting(gentl, newBuffer, GENTL_INFINITE);
    Produce(1);
    EXPECT_OK(waiting.Code());
}

// What a wait answers when the camera library said that nothing comes any more, or that an image
// was lost.
TEST_F(StandardWaitTest, TimesOutAfterTheAcquisitionIsOver) {
    for (const int32_t result : {-2, -3, -4, -5}) {
        SCOPED_TRACE(result);
        ASSERT_NO_FATAL_FAILURE(RenewStream());
        GrabAnswers(result, OPTIVO_FOREVER);
        StartWith(1);
        const uint64_t numGrabs = OptivoSim_NumCalls(OPTIVO_STREAM_GRAB_IMAGE);
        Produce(1);
        ASSERT_TRUE(
            Eventually([&] { return OptivoSim_NumCalls(OPTIVO_STREAM_GRAB_IMAGE) > numGrabs; }));
        EXPECT_TRUE(result == -3 || Eventually([&] { return !IsGrabbing(); }));
        std::string bytes(16, '#');
        size_t size = 16;
        const auto start = Clock::now();
        EXPECT_REFUSES(-1011, gentl.EventGetData(newBuffer, bytes.data(), &size, 60));
        EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(60));
        EXPECT_EQ(bytes, std::string(16, '#'));
        EXPECT_EQ(size, 16U);
        EXPECT_REFUSES(-1011, gentl.EventGetData(newBuffer, bytes.data(), &size, 0));
    }
}

TEST_F(StandardWaitTest, IsEndedByAKillAfterTheAcquisitionIsOver) {
    GrabAnswers(-4);
    AnnounceBuffers(1);
    ASSERT_NO_FATAL_FAILURE(QueueAll());
    Start();
    Produce(1);
    ASSERT_TRUE(Eventually([&] { return !IsGrabbing(); }));
    ExpectKillEnds(newBuffer, GENTL_INFINITE);
}

TEST_F(StandardWaitTest, EndsWhenItsEventIsUnregistered) {
    Waiting waiting(gentl, newBuffer, GENTL_INFINITE);
    EXPECT_OK(gentl.GCUnregisterEvent(stream, 1));
    EXPECT_CODE(-1012, waiting.Code());
}

TEST_F(StandardWaitTest, EndsWhenItsStreamCloses) {
    Waiting waiting(gentl, newBuffer, GENTL_INFINITE);
    CloseStream();
    EXPECT_CODE(-1012, waiting.Code());
}

TEST_F(StandardWaitTest, EndsWhenTheDeviceClosesWhileImagesCome) {
    AnnounceBuffers(2);
    ASSERT_NO_FATAL_FAILURE(QueueAll());
    ASSERT_EQ(OptivoSim_SetFrameRate(camera.c_str(), 1000), 1);
    Start();
    std::atomic<int32_t> last{0};
    std::thread consumer([&] {
        for (;;) {
            const NewBuffer image = WaitBuffer(GENTL_INFINITE);
            if (image.code != 0) {
                last = image.code;
                return;
            }
            gentl.DSQueueBuffer(stream, image.handle);
        }
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_OK(gentl.DevClose(device));
    consumer.join();
    EXPECT_TRUE(last == -1012 || last == -1006) << last;
    device = remote = stream = nullptr;
}

TEST_F(StandardWaitTest, ForACamerasEventEndsWhenTheDeviceCloses) {
    EVENT_HANDLE event = nullptr;
    ASSERT_OK(gentl.GCRegisterEvent(device, 4, &event));
    Waiting waiting(gentl, event, GENTL_INFINITE);
    CloseDevice();
    const int32_t code = waiting.Code();
    EXPECT_TRUE(code == -1012 || code == -1006) << code;
}

TEST_F(StandardWaitTest, EndsWhenTheLibraryCloses) {
    Waiting waiting(gentl, newBuffer, GENTL_INFINITE);
    EXPECT_OK(gentl.GCCloseLib());
    EXPECT_CODE(-1012, waiting.Code());
    tl = iface = device = remote = stream = nullptr;
}

// A wait may take no more of the processor than looking a hundred times a second.
TEST_F(StandardWaitTest, RestsUntilSomethingComes) {
    GrabAnswers(-4);
    AnnounceBuffers(1);
    ASSERT_NO_FATAL_FAILURE(QueueAll());
    Start();
    Produce(1);
    ASSERT_TRUE(Eventually([&] { return !IsGrabbing(); }));
    const double before = ProcessorSeconds();
    EXPECT_CODE(-1011, WaitBuffer(500).code);
    EXPECT_LT(ProcessorSeconds() - before, 0.2);
}

} // namespace
