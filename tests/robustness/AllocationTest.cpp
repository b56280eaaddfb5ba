// What can only be told where the process's memory can be watched.
#include "Process.h"

#if defined(__linux__)

#include "Streams.h"

#include <atomic>

namespace {

// Sanitizers count to the byte. glibc counts what it keeps for the next request too, which grew by
// up to 9 kB over a thousand visits.
#if defined(UNDER_A_SANITIZER)
constexpr size_t MOST_BYTES = 0;
#else
constexpr size_t MOST_BYTES = 16384;
#endif

class MemoryUseTest : public LibraryTest {
protected:
    // One visit of a consumer to a world of its own, in which nothing is kept from an earlier one.
    void AcquireOnce() {
        OptivoSim_Reset();
        OpenSystem();
        OpenInterface();
        OpenDevice();
        OptivoSim_SetImageSize(camera.c_str(), 32, 24);
        OptivoSim_SetFrameRate(camera.c_str(), 0);
        OpenStream();
        EVENT_HANDLE event = nullptr;
        BUFFER_HANDLE buffer = nullptr;
        EVENT_NEW_BUFFER_DATA data = {};
        size_t size = sizeof data;
        ASSERT_OK(gentl.GCRegisterEvent(remote, 4, &event));
        ASSERT_OK(gentl.GCRegisterEvent(stream, 1, &event));
        ASSERT_OK(gentl.DSAllocAndAnnounceBuffer(stream, 32 * 24, nullptr, &buffer));
        ASSERT_OK(gentl.DSQueueBuffer(stream, buffer));
        ASSERT_OK(gentl.DSStartAcquisition(stream, 0, GENTL_INFINITE));
        ASSERT_OK(gentl.EventGetData(event, &data, &size, LONG_WAIT));
        CloseAll();
    }
};

TEST_F(MemoryUseTest, StaysTheSameWhateverIsOpenedAndClosed) {
    for (int i = 0; i < 30; ++i) {
        ASSERT_NO_FATAL_FAILURE(AcquireOnce());
    }
    const size_t before = AllocatedBytes();
    for (int i = 0; i < 100; ++i) {
        ASSERT_NO_FATAL_FAILURE(AcquireOnce());
    }
    EXPECT_LE(AllocatedBytes(), before + MOST_BYTES);
}

class KeptBuffersTest : public SmallStreamTest {};

// The buffers before the first queued one are freed with their stream.
TEST_F(KeptBuffersTest, AreTheQueuedOneAndThoseBehindItAlone) {
    constexpr size_t LARGE = size_t{8} << 20;
    AnnounceBuffers(1, LARGE);
    AnnounceBuffers(1, PAYLOAD);
    AnnounceBuffers(1, LARGE);
    ASSERT_OK(gentl.DSQueueBuffer(stream, buffers[1]));
    const size_t before = AllocatedBytes();
    CloseStream();
    const size_t freed = before - AllocatedBytes();
    EXPECT_GE(freed, LARGE);
    EXPECT_LT(freed, LARGE + LARGE / 2);
}

#if defined(UNDER_A_SANITIZER)

std::atomic<uint64_t> s_numAllocations{0};

void CountAllocations() {
    static const int s_isInstalled = __sanitizer_install_malloc_and_free_hooks(
        [](const volatile void*, size_t) { ++s_numAllocations; }, [](const volatile void*) {});
    ASSERT_GT(s_isInstalled, 0);
    s_numAllocations = 0;
}

class ImagePathTest : public SmallStreamTest {};

TEST_F(ImagePathTest, AllocatesNothingBetweenImageAndConsumer) {
    StartWith(4);
    Unpace();
    int32_t worst = 0;
    const auto acquire = [&](int count) {
        for (int i = 0; i < count && worst == 0; ++i) {
            const NewBuffer image = WaitBuffer();
            worst = image.code != 0 ? image.code : gentl.DSQueueBuffer(stream, image.handle);
        }
    };
    acquire(100);
    CountAllocations();
    acquire(1000);
    EXPECT_EQ(s_numAllocations, 0U);
    EXPECT_EQ(worst, 0);

    // They are counted indeed.
    AnnounceBuffers(1);
    EXPECT_GE(s_numAllocations, 2U);
}

#endif

} // namespace

#endif
