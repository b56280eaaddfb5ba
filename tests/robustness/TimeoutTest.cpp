#include "Streams.h"

namespace {

constexpr uint64_t TWO_TO_32 = uint64_t{1} << 32;
constexpr uint64_t TWO_TO_63 = uint64_t{1} << 63;
constexpr uint64_t ALL_BUT_ONE = UINT64_MAX - 1;
constexpr uint64_t ALL_BUT_THE_HIGHEST = TWO_TO_63 - 1;
constexpr std::array<uint64_t, 8> VERY_LONG = {TWO_TO_32 - 1,       TWO_TO_32,     TWO_TO_32 + 1,
                                               ALL_BUT_THE_HIGHEST, TWO_TO_63,     ALL_BUT_ONE,
                                               UINT64_MAX / 1000,   GENTL_INFINITE};

class TimeoutTest : public SmallStreamTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(SmallStreamTest::SetUp());
        ASSERT_OK(gentl.GCRegisterEvent(remote, 4, &m_deviceEvent));
        StartWith(1);
    }

    // The wait neither ends by itself nor misses what it waits for.
    void ExpectWaits(EVENT_HANDLE event, uint64_t timeout, const std::function<void()>& fire) {
        SCOPED_TRACE(timeout);
        std::array<uint64_t, 3> data{};
        size_t size = sizeof data;
        Background waiting([&] { return gentl.EventGetData(event, data.data(), &size, timeout); });
        waiting.AwaitSleep();
        EXPECT_FALSE(waiting.IsDone());
        fire();
        EXPECT_OK(waiting.Finish());
        EXPECT_NE(data[0], 0U);
    }

    template <typename Wait>
    uint64_t MillisecondsOf(const Wait& wait) {
        const auto start = std::chrono::steady_clock::now();
        wait();
        const auto passed = std::chrono::steady_clock::now() - start;
        return static_cast<uint64_t>(
            std::chrono::duration_cast<std::chrono::milliseconds>(passed).count());
    }

    // A wait for a device event that ends in vain succeeds, and leaves the size of 24 alone.
    size_t SizeOfNoEvent(uint64_t timeout) {
        std::array<uint64_t, 3> data{};
        size_t size = sizeof data;
        EXPECT_OK(gentl.EventGetData(m_deviceEvent, data.data(), &size, timeout));
        return size;
    }

    EVENT_HANDLE m_deviceEvent = nullptr;
};

TEST_F(TimeoutTest, VeryLongOnesWaitForAnImage) {
    for (const uint64_t timeout : VERY_LONG) {
        ExpectWaits(newBuffer, timeout, [this] { Produce(1); });
        QueueAll();
    }
}

TEST_F(TimeoutTest, VeryLongOnesWaitForAnEvent) {
    for (const uint64_t timeout : VERY_LONG) {
        ExpectWaits(m_deviceEvent, timeout,
                    [this] { OptivoSim_FireEvent(camera.c_str(), 0x9001, 1); });
    }
}

TEST_F(TimeoutTest, ZeroDoesNotWait) {
    const uint64_t passed = MillisecondsOf([this] {
        for (int i = 0; i < 100; ++i) {
            EXPECT_CODE(-1011, WaitBuffer(0).code);
            EXPECT_EQ(SizeOfNoEvent(0), 24U);
        }
    });
    EXPECT_LT(passed, 1000U);
}

TEST_F(TimeoutTest, ZeroTakesWhatIsThere) {
    Produce(1);
    ASSERT_TRUE(Eventually([this] { return NumAwaitDelivery() == 1; }));
    EXPECT_OK(WaitBuffer(0).code);
    OptivoSim_FireEvent(camera.c_str(), 0x9001, 1);
    std::array<uint64_t, 3> data{};
    size_t size = sizeof data;
    EXPECT_OK(gentl.EventGetData(m_deviceEvent, data.data(), &size, 0));
    EXPECT_EQ(size, 25U);
}

TEST_F(TimeoutTest, ShortOnesLastAsLongAsTheySay) {
    for (const uint64_t timeout : {1U, 5U, 40U}) {
        SCOPED_TRACE(timeout);
        EXPECT_GE(MillisecondsOf([&] { EXPECT_CODE(-1011, WaitBuffer(timeout).code); }), timeout);
        EXPECT_GE(MillisecondsOf([&] { EXPECT_EQ(SizeOfNoEvent(timeout), 24U); }), timeout);
    }
}

TEST_F(TimeoutTest, OnlyTheLow32BitsReachTheCameraLibrary) {
    const std::vector<std::pair<uint64_t, uint64_t>> rows = {{0, 0},
                                                             {200, 200},
                                                             {TWO_TO_32 - 1, 0xFFFFFFFF},
                                                             {TWO_TO_32, 0},
                                                             {TWO_TO_32 + 5, 5},
                                                             {TWO_TO_63, 0},
                                                             {TWO_TO_63 + 77, 77},
                                                             {ALL_BUT_ONE, 0xFFFFFFFE},
                                                             {GENTL_INFINITE, 0xFFFFFFFF}};
    for (const auto& [timeout, expected] : rows) {
        SCOPED_TRACE(timeout);
        EXPECT_OK(gentl.TLUpdateInterfaceList(tl, nullptr, timeout));
        EXPECT_EQ(OptivoSim_LastArgument(OPTIVO_SYSTEM_UPDATE_INTERFACE_LIST), expected);
        EXPECT_OK(gentl.IFUpdateDeviceList(iface, nullptr, timeout));
        EXPECT_EQ(OptivoSim_LastArgument(OPTIVO_INTERFACE_UPDATE_DEVICE_LIST), expected);
    }
}

// Unlike time-outs, counts of images are clamped.
TEST_F(TimeoutTest, CountsOfImagesAreClampedTo32Bits) {
    const std::vector<std::pair<uint64_t, uint64_t>> rows = {
        {0xFFFFFFFE, 0xFFFFFFFE},    {0xFFFFFFFF, 0xFFFFFFFF}, {TWO_TO_32, 0xFFFFFFFF},
        {TWO_TO_32 + 2, 0xFFFFFFFF}, {TWO_TO_63, 0xFFFFFFFF},  {ALL_BUT_ONE, 0xFFFFFFFF},
        {GENTL_INFINITE, 0xFFFFFFFF}};
    for (const auto& [count, expected] : rows) {
        SCOPED_TRACE(count);
        ASSERT_OK(gentl.DSStartAcquisition(stream, 0, count));
        EXPECT_EQ(OptivoSim_LastArgument(OPTIVO_STREAM_START_ACQUISITION), expected);
        EXPECT_TRUE(IsGrabbing());
    }
}

} // namespace
