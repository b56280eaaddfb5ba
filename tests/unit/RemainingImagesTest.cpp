// How many images an acquisition may still deliver. What tells an endless one from one of
// 4294967295 images would show outside after that many; so the stream's own count is looked at.
#include "ModuleFixture.h"

#include <chrono>
#include <thread>

namespace {

using GenICam::Client::CDataStream;

// An explicit instantiation may name what is private.
uint32_t RemainingOf(const CDataStream& stream);
template <auto Member>
struct Revealed {
    friend uint32_t RemainingOf(const CDataStream& stream) { return stream.*Member; }
};
template struct Revealed<&CDataStream::m_remaining>;

class RemainingImagesTest : public ModuleTest {
protected:
    void SetUp() override {
        ModuleTest::SetUp();
        ASSERT_EQ(OptivoSim_SetImageSize(kCamera, 32, 24), 1);
        ASSERT_EQ(OptivoSim_SetFrameRate(kCamera, -1), 1);
    }

    // What is left of so many after three.
    uint32_t LeftOf(uint64_t count) {
        for (int i = 0; i < 3; ++i) {
            BUFFER_HANDLE handle = nullptr;
            stream->AnnounceBuffer(nullptr, kImageSize, nullptr, &handle);
            stream->QueueBuffer(handle);
        }
        stream->StartAcquisition(0, count);
        EXPECT_EQ(OptivoSim_ProduceImages(kCamera, 3), 1);
        for (int i = 0; i < 30000 && NumDelivered() < 3; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        stream->StopAcquisition(0);
        EXPECT_EQ(NumDelivered(), 3U);
        stream->FlushQueue(4);
        return RemainingOf(*stream);
    }

    uint64_t NumDelivered() {
        uint64_t count = 0;
        size_t size = sizeof count;
        EXPECT_ANSWERS(stream->GetInfo(1, nullptr, &count, &size));
        return count;
    }

    static constexpr const char* kCamera = "Norvel-G640M-10001";
    static constexpr size_t kImageSize = 768; // 32 * 24
};

TEST_F(RemainingImagesTest, AreCountedDownToNone) {
    EXPECT_EQ(LeftOf(3), 0U);
    EXPECT_EQ(LeftOf(1000), 997U);
    EXPECT_EQ(LeftOf(0xFFFFFFFE), 0xFFFFFFFBU);
}

TEST_F(RemainingImagesTest, AreNeverFewerWithoutALimit) {
    EXPECT_EQ(RemainingOf(*stream), 0xFFFFFFFFU);
    for (const uint64_t count : {UINT64_MAX, uint64_t{0xFFFFFFFF}, uint64_t{0x100000005}}) {
        EXPECT_EQ(LeftOf(count), 0xFFFFFFFFU);
    }
}

} // namespace
