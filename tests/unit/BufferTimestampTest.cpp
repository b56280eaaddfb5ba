// When a buffer was filled, which it keeps to itself.
#include "ModuleFixture.h"
#include "modules/BufferInfo.h"
#include "platform/Clock.h"

#include <chrono>
#include <thread>

namespace {

using namespace GenICam::Client;

class BufferTimestampTest : public ModuleTest {
protected:
    void SetUp() override {
        ModuleTest::SetUp();
        ASSERT_EQ(OptivoSim_SetImageSize(kCamera, 32, 24), 1);
        ASSERT_EQ(OptivoSim_SetFrameRate(kCamera, -1), 1);
        BUFFER_HANDLE handle = nullptr;
        stream->AnnounceBuffer(nullptr, 32 * 24, nullptr, &handle);
        buffer = HandleCast<CBufferInfo>(handle);
        ASSERT_NE(buffer, nullptr);
        stream->QueueBuffer(handle);
    }

    static void GrabAnswersOnce(int32_t result) {
        const OptivoFault fault = {
            OPTIVO_STREAM_GRAB_IMAGE, OPTIVO_FAULT_RESULT, result, OPTIVO_ANY_SELECTOR, 0, 1};
        OptivoSim_AddFault(&fault);
    }

    // Starts for one image, and returns when the acquisition has ended.
    void Acquire() {
        stream->StartAcquisition(0, 1);
        ASSERT_EQ(OptivoSim_ProduceImages(kCamera, 1), 1);
        for (int i = 0; i < 30000 && IsGrabbing(); ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        ASSERT_FALSE(IsGrabbing());
        stream->StopAcquisition(0);
    }

    bool IsGrabbing() {
        bool8_t flag = 0;
        size_t size = sizeof flag;
        EXPECT_ANSWERS(stream->GetInfo(8, nullptr, &flag, &size));
        return flag != 0;
    }

    static constexpr const char* kCamera = "Norvel-G640M-10001";

    const CBufferInfo* buffer = nullptr;
};

TEST_F(BufferTimestampTest, IsNoneUntilTheBufferIsFilled) {
    EXPECT_EQ(buffer->Timestamp(), 0U);
}

TEST(PerformanceCounterTest, Grows) {
    const uint64_t before = Platform::PerformanceCounter();
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    const uint64_t after = Platform::PerformanceCounter();
    EXPECT_GT(after, before);
    EXPECT_LT(after - before, uint64_t{3600} * 1'000'000'000);
}

// Between the looks at the other clock, the thread may have to wait.
TEST(PerformanceCounterTest, ItsTicksAreAsLongAsTheyAre) {
    using std::chrono::nanoseconds;
    using std::chrono::steady_clock;
    const auto outerStart = steady_clock::now();
    const uint64_t before = Platform::PerformanceCounter();
    const auto innerStart = steady_clock::now();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    const auto innerEnd = steady_clock::now();
    const uint64_t after = Platform::PerformanceCounter();
    const auto outerEnd = steady_clock::now();
    const auto passed =
        static_cast<int64_t>(Platform::NanosecondsOf(after) - Platform::NanosecondsOf(before));
    constexpr int64_t kTick = 1000;
    EXPECT_GE(passed, nanoseconds(innerEnd - innerStart).count() - kTick);
    EXPECT_LE(passed, nanoseconds(outerEnd - outerStart).count() + kTick);
}

TEST(PerformanceCounterTest, DecadesOfTicksFit) {
    const uint64_t second = 1'000'000'000;
    const uint64_t ticks = uint64_t{1} << 56;
    const uint64_t rate = second * (ticks / second) / Platform::NanosecondsOf(ticks / second);
    EXPECT_EQ(Platform::NanosecondsOf(ticks) / second, ticks / rate);
}

TEST_F(BufferTimestampTest, IsTakenAtTheEndOfTheFill) {
    const uint64_t before = Platform::PerformanceCounter();
    Acquire();
    EXPECT_GE(buffer->Timestamp(), before);
    EXPECT_LE(buffer->Timestamp(), Platform::PerformanceCounter());
}

// The grab that ends the acquisition gives no image either.
TEST_F(BufferTimestampTest, IsNotTakenOfGrabsWithoutAnImage) {
    for (const int32_t result : {-1, -3, -2}) {
        GrabAnswersOnce(result);
    }
    Acquire();
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_STREAM_GRAB_IMAGE), 3U);
    EXPECT_EQ(buffer->Timestamp(), 0U);
}

} // namespace
