// What is told of a buffer and of the image in it.
#include "GenApi.h"
#include "StandardFixtures.h"

namespace {

constexpr BUFFER_INFO_CMD WIDTH = 10;
constexpr BUFFER_INFO_CMD HEIGHT = 11;
constexpr BUFFER_INFO_CMD PIXEL_FORMAT = 20;
constexpr BUFFER_INFO_CMD GEOMETRY[] = {10, 11, 12, 13, 14, 15, 20, 21, 22};
constexpr BUFFER_INFO_CMD OF_IMAGES[] = {3,  7,  10, 11, 12, 13, 14, 15, 16, 17,
                                         18, 19, 20, 21, 22, 26, 27, 28, 29, 30};

class StandardBufferInfoTest : public StandardStreamTest {
protected:
    // An image is there, and fetched.
    void Image(size_t bufferSize = 0) {
        AnnounceBuffers(1, bufferSize);
        ASSERT_NO_FATAL_FAILURE(QueueAll());
        RegisterNewBuffer();
        Start();
        ASSERT_EQ(FetchNew(), buffers[0]);
    }

    void Expect(BUFFER_INFO_CMD command, const Info& expected) {
        SCOPED_TRACE(command);
        ExpectAnswer(BufferInfo(buffers[0], command), expected);
    }
    void ExpectSize(BUFFER_INFO_CMD command, size_t value) {
        Expect(command, NumberInfo(12, value));
    }
    void ExpectLong(BUFFER_INFO_CMD command, uint64_t value) {
        Expect(command, NumberInfo(8, value));
    }
    void ExpectFlag(BUFFER_INFO_CMD command, bool value) { Expect(command, BoolInfo(value)); }
    uint64_t Long(BUFFER_INFO_CMD command) {
        return Ask(BufferInfo(buffers[0], command)).As<uint64_t>();
    }
    void ExpectUnavailable(BUFFER_INFO_CMD command) {
        EXPECT_REFUSES(-1014, BufferInfoCode(buffers[0], command)) << command;
    }
};

TEST_F(StandardBufferInfoTest, Memory) {
    std::vector<unsigned char> memory(100);
    BUFFER_HANDLE buffer = nullptr;
    ASSERT_OK(gentl.DSAnnounceBuffer(stream, memory.data(), 100, UserPointer(5), &buffer));
    buffers.push_back(buffer);
    Expect(0, NumberInfo<void*>(10, memory.data()));
    ExpectSize(1, 100);
    Expect(2, NumberInfo(10, UserPointer(5)));
}

TEST_F(StandardBufferInfoTest, NewData) {
    AnnounceBuffers(1);
    ExpectFlag(4, false);
    ASSERT_NO_FATAL_FAILURE(QueueAll());
    ExpectFlag(4, false);
    RegisterNewBuffer();
    Start();
    Produce(1);
    ASSERT_TRUE(Eventually([&] { return NumAwaitDelivery() == 1; }));
    ExpectFlag(4, true);
    Fetch();
    ExpectFlag(4, true);
    ASSERT_NO_FATAL_FAILURE(QueueAll());
    ExpectFlag(4, false);
}

TEST_F(StandardBufferInfoTest, IsQueued) {
    AnnounceBuffers(1);
    ExpectFlag(5, false);
    ASSERT_NO_FATAL_FAILURE(QueueAll());
    ExpectFlag(5, true);
    RegisterNewBuffer();
    Start();
    FetchNew();
    ExpectFlag(5, false);
}

TEST_F(StandardBufferInfoTest, IsAcquiring) {
    AnnounceBuffers(1);
    ExpectFlag(6, false);
}

TEST_F(StandardBufferInfoTest, Transport) {
    AnnounceBuffers(1);
    Expect(8, TextInfo("Mixed"));
}

TEST_F(StandardBufferInfoTest, OfImagesWithoutOne) {
    AnnounceBuffers(1);
    for (const BUFFER_INFO_CMD command : OF_IMAGES) {
        ExpectUnavailable(command);
    }
    ExpectSize(9, 0);
}

TEST_F(StandardBufferInfoTest, OfImagesAfterTheirBufferWasQueuedAgain) {
    Image();
    ASSERT_NO_FATAL_FAILURE(QueueAll());
    for (const BUFFER_INFO_CMD command : OF_IMAGES) {
        ExpectUnavailable(command);
    }
    ExpectSize(9, 0);
}

TEST_F(StandardBufferInfoTest, ThatNobodyKnows) {
    Image();
    for (const BUFFER_INFO_CMD command : {23, 24, 25}) {
        ExpectUnavailable(command);
    }
}

TEST_F(StandardBufferInfoTest, ThatNobodyHasHeardOf) {
    Image();
    for (const BUFFER_INFO_CMD command : {-1, 31, 999, 1000, 1001}) {
        EXPECT_REFUSES(-1003, BufferInfoCode(buffers[0], command)) << command;
    }
}

TEST_F(StandardBufferInfoTest, Geometry) {
    Image();
    ExpectSize(WIDTH, 64);
    ExpectSize(HEIGHT, 48);
    ExpectSize(12, 0);
    ExpectSize(13, 0);
    ExpectSize(22, 48);
}

TEST_F(StandardBufferInfoTest, Padding) {
    Image();
    ExpectSize(14, 0);
    ExpectSize(15, 0);
}

TEST_F(StandardBufferInfoTest, PixelFormat) {
    Image();
    ExpectLong(PIXEL_FORMAT, 0x01080001);
    ExpectLong(21, 4);
    Expect(26, NumberInfo<int32_t>(5, 1));
}

TEST_F(StandardBufferInfoTest, Payload) {
    Image();
    ExpectFlag(17, true);
    ExpectSize(18, 0);
    ExpectSize(19, 1);
    ExpectFlag(30, false);
}

TEST_F(StandardBufferInfoTest, Sizes) {
    Image();
    ExpectSize(9, IMAGE_SIZE);
    ExpectSize(27, IMAGE_SIZE);
    ExpectFlag(7, false);
    ExpectFlag(29, false);
}

TEST_F(StandardBufferInfoTest, SizesOfALargeBuffer) {
    Image(2 * IMAGE_SIZE);
    ExpectSize(1, 2 * IMAGE_SIZE);
    ExpectSize(9, IMAGE_SIZE);
    ExpectSize(27, IMAGE_SIZE);
    ExpectFlag(7, false);
}

// 25 lines of 48 and a piece of the next.
TEST_F(StandardBufferInfoTest, SizesOfABufferThatIsTooSmall) {
    Image(1610);
    ExpectSize(9, 1610);
    ExpectSize(27, 3072);
    ExpectFlag(7, true);
    ExpectFlag(29, true);
    ExpectSize(HEIGHT, 48);
    ExpectSize(22, 25);
}

TEST_F(StandardBufferInfoTest, FrameIds) {
    AnnounceBuffers(1);
    RegisterNewBuffer();
    for (int start = 0; start < 2; ++start) {
        Start();
        for (uint64_t number = 0; number < 3; ++number) {
            ASSERT_NO_FATAL_FAILURE(QueueAll());
            FetchNew();
            ExpectLong(16, number);
        }
        Stop();
    }
}

TEST_F(StandardBufferInfoTest, FrameIdsCountWhatIsRemovedUnseen) {
    AnnounceBuffers(2);
    ASSERT_NO_FATAL_FAILURE(QueueAll());
    RegisterNewBuffer();
    Start();
    Produce(2);
    size_t size = 0;
    EXPECT_OK(gentl.EventGetData(newBuffer, nullptr, &size, LONG_WAIT));
    EXPECT_EQ(Fetch(), buffers[1]);
    ExpectAnswer(BufferInfo(buffers[1], 16), NumberInfo<uint64_t>(8, 1));
}

TEST_F(StandardBufferInfoTest, Timestamps) {
    AnnounceBuffers(1);
    RegisterNewBuffer();
    Start();
    uint64_t newest = 0;
    for (int i = 0; i < 3; ++i) {
        ASSERT_NO_FATAL_FAILURE(QueueAll());
        FetchNew();
        const uint64_t ticks = Long(3);
        EXPECT_GT(ticks, newest);
        EXPECT_EQ(Long(28), ticks) << "in nanoseconds";
        newest = ticks;
        ExpectLong(3, ticks);
    }
}

TEST_F(StandardBufferInfoTest, TimestampsAreNanoseconds) {
    AnnounceBuffers(1);
    RegisterNewBuffer();
    Start();
    ASSERT_NO_FATAL_FAILURE(QueueAll());
    FetchNew();
    const uint64_t first = Long(3);
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    ASSERT_NO_FATAL_FAILURE(QueueAll());
    FetchNew();
    EXPECT_GE(Long(3) - first, 100'000'000U);
    EXPECT_LT(Long(3) - first, 10'000'000'000U);
}

TEST_F(StandardBufferInfoTest, GeometryOfAPartOfTheSensor) {
    const GenApi feature(gentl, remote);
    feature.SetInt("Width", 32);
    feature.SetInt("Height", 24);
    feature.SetInt("OffsetX", 8);
    feature.SetInt("OffsetY", 6);
    Image();
    ExpectSize(WIDTH, 32);
    ExpectSize(HEIGHT, 24);
    ExpectSize(12, 8);
    ExpectSize(13, 6);
    ExpectSize(9, 768);
}

TEST_F(StandardBufferInfoTest, PixelFormatOfTheCameras) {
    const GenApi feature(gentl, remote);
    feature.SetEntry("PixelFormat", "Mono16");
    Image();
    ExpectLong(PIXEL_FORMAT, 0x01100007);
    ExpectSize(14, 0);
    ExpectSize(9, 6144);
}

TEST_F(StandardBufferInfoTest, GeometryIsReadAtEachStart) {
    const GenApi feature(gentl, remote);
    Image();
    Stop();
    feature.SetInt("Width", 16);
    feature.SetEntry("PixelFormat", "Mono16");
    ExpectSize(WIDTH, 64);
    ASSERT_NO_FATAL_FAILURE(QueueAll());
    Start();
    FetchNew();
    ExpectSize(WIDTH, 16);
    ExpectLong(PIXEL_FORMAT, 0x01100007);
}

TEST_F(StandardBufferInfoTest, GeometryOfAnImageThatWaitsIsItsOwnAfterRestarts) {
    const GenApi feature(gentl, remote);
    Image();
    ASSERT_NO_FATAL_FAILURE(QueueAll());
    Produce(1);
    ASSERT_TRUE(Eventually([this] { return NumAwaitDelivery() == 1; }));
    for (const int width : {32, 16}) {
        Stop();
        feature.SetInt("Width", width);
        Start();
    }
    Fetch();
    ExpectSize(WIDTH, 64);
    ASSERT_NO_FATAL_FAILURE(QueueAll());
    FetchNew();
    ExpectSize(WIDTH, 16);
}

TEST_F(StandardBufferInfoTest, OfACameraWithoutDescription) {
    AddFault(OPTIVO_DEVICE_READ_PORT, OPTIVO_FAULT_RESULT, -1010);
    Image();
    EXPECT_TRUE(HoldsImage(Memory(buffers[0]), 0));
    for (const BUFFER_INFO_CMD command : GEOMETRY) {
        ExpectUnavailable(command);
    }
    ExpectSize(9, IMAGE_SIZE);
    ExpectLong(16, 0);
    ExpectSize(19, 0);
    ExpectFlag(17, false);
    ExpectFlag(4, true);
}

TEST_F(StandardBufferInfoTest, OfACameraWhoseDescriptionCanBeReadLater) {
    AddFault(OPTIVO_DEVICE_READ_PORT, OPTIVO_FAULT_RESULT, -1010);
    Image();
    Stop();
    OptivoSim_ClearFaults();
    ASSERT_NO_FATAL_FAILURE(QueueAll());
    Start();
    FetchNew();
    ExpectSize(WIDTH, 64);
}

TEST_F(StandardBufferInfoTest, OfChunksAndParts) {
    Image();
    size_t count = 1;
    SINGLE_CHUNK_DATA chunk = {};
    EXPECT_REFUSES(-1014, gentl.DSGetBufferChunkData(stream, buffers[0], &chunk, &count));
    uint32_t numParts = 0;
    EXPECT_REFUSES(-1014, gentl.DSGetNumBufferParts(stream, buffers[0], &numParts));
    char bytes[8];
    size_t size = sizeof bytes;
    EXPECT_REFUSES(-1014,
                   gentl.DSGetBufferPartInfo(stream, buffers[0], 0, 0, nullptr, bytes, &size));
}

} // namespace
