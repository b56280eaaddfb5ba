#include "OptivoImage.h"
#include "Streams.h"

#include <algorithm>

namespace {

// Memory of the consumer between two guards.
class GuardedMemory {
public:
    explicit GuardedMemory(size_t size) : m_size(size), m_bytes(size + 2 * GUARD, FILLER) {}

    unsigned char* Begin() { return m_bytes.data() + GUARD; }
    // Without the size, time and checksum in an image's stamp, by which equal pictures differ.
    std::vector<unsigned char> Content() const {
        std::vector<unsigned char> content(m_bytes.begin() + GUARD, m_bytes.end() - GUARD);
        for (size_t i = 0; i < std::min<size_t>(content.size(), OPTIVO_STAMP_SIZE); ++i) {
            if ((i >= 4 && i < 8) || i >= 16) {
                content[i] = FILLER;
            }
        }
        return content;
    }
    bool IsUntouched() const { return AreAllFiller(m_bytes.begin(), m_bytes.end()); }
    bool AreGuardsIntact() const {
        return AreAllFiller(m_bytes.begin(), m_bytes.begin() + GUARD) &&
               AreAllFiller(m_bytes.end() - GUARD, m_bytes.end());
    }
    size_t Size() const { return m_size; }

private:
    static constexpr unsigned char FILLER = 0xA5;
    static constexpr std::ptrdiff_t GUARD = 8192;
    using Iterator = std::vector<unsigned char>::const_iterator;

    static bool AreAllFiller(Iterator begin, Iterator end) {
        return std::all_of(begin, end, [](unsigned char byte) { return byte == FILLER; });
    }

    size_t m_size;
    std::vector<unsigned char> m_bytes;
};

class SmallBufferTest : public SmallStreamTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(SmallStreamTest::SetUp());
        ASSERT_NO_FATAL_FAILURE(RegisterNewBuffer());
    }

    BUFFER_HANDLE Announce(GuardedMemory& memory) {
        BUFFER_HANDLE buffer = nullptr;
        EXPECT_OK(gentl.DSAnnounceBuffer(stream, memory.Begin(), memory.Size(), nullptr, &buffer));
        return buffer;
    }

    // An acquisition of one image into this memory; all such acquisitions give the same image.
    void AcquireFirstImage(GuardedMemory& memory) {
        const BUFFER_HANDLE buffer = Announce(memory);
        ASSERT_OK(gentl.DSQueueBuffer(stream, buffer));
        Start(1);
        Produce(1);
        ASSERT_EQ(WaitBuffer().handle, buffer);
        Stop();
        ASSERT_OK(gentl.DSRevokeBuffer(stream, buffer, nullptr, nullptr));
    }

    std::vector<unsigned char> FirstImage() {
        GuardedMemory memory(PayloadSize());
        AcquireFirstImage(memory);
        return memory.Content();
    }
};

TEST_F(SmallBufferTest, GetsAsMuchOfTheImageAsItHolds) {
    const std::vector<unsigned char> image = FirstImage();
    for (const size_t size : {PAYLOAD, PAYLOAD - 1, PAYLOAD / 2, size_t{5}, size_t{1}, size_t{0}}) {
        SCOPED_TRACE(size);
        GuardedMemory memory(size);
        AcquireFirstImage(memory);
        EXPECT_TRUE(memory.AreGuardsIntact());
        EXPECT_TRUE(std::equal(image.begin(), image.begin() + static_cast<std::ptrdiff_t>(size),
                               memory.Content().begin()));
    }
}

TEST_F(SmallBufferTest, LargerMemoryIsFilledAsFarAsTheImageGoes) {
    const std::vector<unsigned char> image = FirstImage();
    GuardedMemory memory(PAYLOAD + 100);
    AcquireFirstImage(memory);
    EXPECT_TRUE(memory.AreGuardsIntact());
    const std::vector<unsigned char> content = memory.Content();
    EXPECT_TRUE(std::equal(image.begin(), image.end(), content.begin()));
    EXPECT_TRUE(std::all_of(content.begin() + PAYLOAD, content.end(),
                            [](unsigned char byte) { return byte == 0xA5; }));
}

TEST_F(SmallBufferTest, MayTakeTurnsWithLargeOnes) {
    std::vector<GuardedMemory> memories;
    std::vector<BUFFER_HANDLE> announced;
    for (const size_t size : {PAYLOAD, PAYLOAD / 3, PAYLOAD, size_t{0}, PAYLOAD - 4}) {
        memories.emplace_back(size);
    }
    for (GuardedMemory& memory : memories) {
        announced.push_back(Announce(memory));
        ASSERT_OK(gentl.DSQueueBuffer(stream, announced.back()));
    }
    Start();
    for (size_t i = 0; i < 15; ++i) {
        Produce(1);
        const NewBuffer image = WaitBuffer();
        ASSERT_EQ(image.handle, announced[i % announced.size()]);
        ASSERT_OK(gentl.DSQueueBuffer(stream, image.handle));
    }
    Stop();
    for (const GuardedMemory& memory : memories) {
        SCOPED_TRACE(memory.Size());
        EXPECT_TRUE(memory.AreGuardsIntact());
        EXPECT_EQ(memory.IsUntouched(), memory.Size() == 0);
    }
    ASSERT_OK(gentl.DSFlushQueue(stream, 4));
}

// The library writes an image and then calls it lost: it shows where it was told to write.
TEST_F(SmallBufferTest, OnlyItIsFilledThroughOtherMemory) {
    for (const size_t size : {PAYLOAD, PAYLOAD - 1}) {
        SCOPED_TRACE(size);
        GuardedMemory memory(size);
        const BUFFER_HANDLE buffer = Announce(memory);
        ASSERT_OK(gentl.DSQueueBuffer(stream, buffer));
        Start();
        AddFault(OPTIVO_STREAM_GRAB_IMAGE, OPTIVO_FAULT_RESULT_AFTER, -3);
        Produce(1);
        ASSERT_TRUE(Eventually([this] { return NumUnderrun() == 1; }));
        Stop();
        EXPECT_TRUE(memory.AreGuardsIntact());
        EXPECT_EQ(memory.IsUntouched(), size < PAYLOAD);
        ASSERT_OK(gentl.DSFlushQueue(stream, 4));
        ASSERT_OK(gentl.DSRevokeBuffer(stream, buffer, nullptr, nullptr));
    }
}

TEST_F(SmallBufferTest, ABufferIsSmallOnceTheImagesHaveGrown) {
    GuardedMemory memory(PAYLOAD);
    AcquireFirstImage(memory);
    ASSERT_EQ(OptivoSim_SetImageSize(camera.c_str(), 64, 48), 1);
    const std::vector<unsigned char> larger = FirstImage();
    ASSERT_EQ(larger.size(), 4 * PAYLOAD);
    AcquireFirstImage(memory);
    EXPECT_TRUE(memory.AreGuardsIntact());
    EXPECT_TRUE(std::equal(larger.begin(), larger.begin() + PAYLOAD, memory.Content().begin()));
}

// The payload size is the stream value 4; an answer without a value tells nothing.
TEST_F(SmallBufferTest, IsNoLargerWhereTheCameraToldTheSizeOnlyBefore) {
    FirstImage();
    for (const OptivoFaultKind kind :
         {OPTIVO_FAULT_RESULT, OPTIVO_FAULT_GENERIC_EXCEPTION, OPTIVO_FAULT_FOREIGN_EXCEPTION}) {
        for (const int32_t result : {-1001, 0}) {
            SCOPED_TRACE(testing::Message() << "fault " << kind << " with " << result);
            AddFault(OPTIVO_STREAM_GET_STREAM_INFO, kind, result, OPTIVO_FOREVER, 4);
            GuardedMemory memory(64);
            AcquireFirstImage(memory);
            EXPECT_TRUE(memory.AreGuardsIntact());
            OptivoSim_ClearFaults();
        }
    }
}

TEST_F(SmallBufferTest, IsSmallWhereImagesHaveGrownAndTheCameraTellsTheirSizeLate) {
    FirstImage();
    ASSERT_EQ(OptivoSim_SetImageSize(camera.c_str(), 320, 240), 1);
    AddFault(OPTIVO_STREAM_GET_STREAM_INFO, OPTIVO_FAULT_RESULT, -1010, 1, 4);
    GuardedMemory memory(2 * PAYLOAD);
    AcquireFirstImage(memory);
    EXPECT_TRUE(memory.AreGuardsIntact());
}

TEST_F(SmallBufferTest, IsNoLargerWhereTheCameraTellsTheSizeLate) {
    AddFault(OPTIVO_STREAM_GET_STREAM_INFO, OPTIVO_FAULT_RESULT, -1001, 1, 4);
    GuardedMemory memory(64);
    AcquireFirstImage(memory);
    EXPECT_TRUE(memory.AreGuardsIntact());
}

TEST_F(SmallBufferTest, TheProducersOwnMemoryIsNoLarger) {
    AnnounceBuffers(1, 1);
    AnnounceBuffers(1, PAYLOAD - 1);
    QueueAll();
    Start();
    for (size_t i = 0; i < 6; ++i) {
        Produce(1);
        ASSERT_EQ(WaitBuffer().handle, buffers[i % 2]);
        ASSERT_OK(gentl.DSQueueBuffer(stream, buffers[i % 2]));
    }
}

} // namespace
