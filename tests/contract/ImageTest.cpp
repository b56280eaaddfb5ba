#include "StreamFixtures.h"

#include <set>

namespace {

constexpr size_t GUARD = 256;
constexpr unsigned char FILLER = 0x5A;

class ImageTest : public MonoStreamTest {
protected:
    // Announces and queues memory that goes on behind what is announced.
    std::vector<unsigned char>& QueueMemory(size_t announced) {
        auto& memory = m_guarded.emplace_back(announced + GUARD, FILLER);
        BUFFER_HANDLE buffer = nullptr;
        EXPECT_OK(gentl.DSAnnounceBuffer(stream, memory.data(), announced, nullptr, &buffer));
        EXPECT_OK(gentl.DSQueueBuffer(stream, buffer));
        buffers.push_back(buffer);
        return memory;
    }

    static void ExpectGuardIntact(const std::vector<unsigned char>& memory) {
        EXPECT_EQ(std::count(memory.end() - GUARD, memory.end(), FILLER), std::ptrdiff_t{GUARD});
    }

    Info BufferSize(BUFFER_HANDLE buffer, BUFFER_INFO_CMD command) {
        return Ask(
            [&](auto... out) { return gentl.DSGetBufferInfo(stream, buffer, command, out...); });
    }

    // Fills every buffer; all are queued.
    void FillAll() {
        RegisterNewBuffer();
        Start();
        Produce(buffers.size());
        ASSERT_TRUE(Eventually([&] { return NumAwaitDelivery() == buffers.size(); }));
        EXPECT_EQ(FetchAll(), buffers);
    }

private:
    std::deque<std::vector<unsigned char>> m_guarded;
};

TEST_F(ImageTest, EveryBufferHoldsTheNextImage) {
    Deliver(5);
    for (size_t i = 0; i < 5; ++i) {
        const NewBuffer image = WaitBuffer();
        ASSERT_EQ(image.handle, buffers[i]);
        EXPECT_TRUE(HoldsImage(Memory(image.handle), i));
    }
}

TEST_F(ImageTest, BuffersAreOverwritten) {
    StartWith(2);
    for (uint64_t number = 0; number < 12; ++number) {
        Produce(1);
        const NewBuffer image = WaitBuffer();
        ASSERT_EQ(image.code, 0);
        EXPECT_TRUE(HoldsImage(Memory(image.handle), number));
        ASSERT_OK(gentl.DSQueueBuffer(stream, image.handle));
    }
}

TEST_F(ImageTest, ConsumersMemoryIsFilled) {
    const std::vector<unsigned char>& memory = QueueMemory(IMAGE_SIZE);
    FillAll();
    EXPECT_TRUE(HoldsImage(memory.data(), 0));
    ExpectGuardIntact(memory);
}

TEST_F(ImageTest, LargerBufferKeepsItsEnd) {
    const std::vector<unsigned char>& memory = QueueMemory(IMAGE_SIZE + 1000);
    FillAll();
    EXPECT_TRUE(HoldsImage(memory.data(), 0));
    EXPECT_EQ(std::count(memory.begin() + IMAGE_SIZE, memory.end(), FILLER), 1000 + GUARD);
}

TEST_F(ImageTest, SmallerBufferHoldsTheBeginning) {
    std::vector<const std::vector<unsigned char>*> memories;
    const size_t sizes[] = {IMAGE_SIZE - 1, 0, 1, 100, IMAGE_SIZE};
    for (const size_t size : sizes) {
        memories.push_back(&QueueMemory(size));
    }
    FillAll();
    for (size_t i = 0; i < memories.size(); ++i) {
        SCOPED_TRACE(sizes[i]);
        EXPECT_TRUE(HoldsImage(memories[i]->data(), i, sizes[i]));
        ExpectGuardIntact(*memories[i]);
    }
    EXPECT_EQ(NumDelivered(), 5U);
    EXPECT_EQ(NumUnderrun(), 0U);
}

TEST_F(ImageTest, SmallerAllocatedBufferHoldsTheBeginning) {
    AnnounceBuffers(2, 100);
    QueueAll();
    FillAll();
    for (uint64_t i = 0; i < 2; ++i) {
        EXPECT_TRUE(HoldsImage(Memory(buffers[i]), i, 100));
    }
}

TEST_F(ImageTest, SmallerBufferIsPutBackLikeAnyOther) {
    const std::vector<unsigned char>& first = QueueMemory(100);
    const std::vector<unsigned char>& second = QueueMemory(100);
    GrabAnswers(-1);
    GrabAnswers(-3);
    FillAll();
    EXPECT_TRUE(HoldsImage(first.data(), 0, 100));
    EXPECT_TRUE(HoldsImage(second.data(), 1, 100));
    EXPECT_EQ(NumUnderrun(), 1U);
}

TEST_F(ImageTest, LargerImageDoesNotOverrunOldBuffers) {
    const std::vector<unsigned char>& memory = QueueMemory(IMAGE_SIZE);
    FillAll();
    Stop();
    ASSERT_EQ(OptivoSim_SetImageSize(camera.c_str(), IMAGE_WIDTH, 2 * IMAGE_HEIGHT), 1);
    ASSERT_OK(gentl.DSQueueBuffer(stream, buffers[0]));
    Start();
    Produce(2);
    ASSERT_EQ(WaitBuffer().handle, buffers[0]);
    EXPECT_TRUE(HoldsImage(memory.data(), 0, IMAGE_SIZE, 2 * IMAGE_SIZE));
    ExpectGuardIntact(memory);
}

TEST_F(ImageTest, FilledSizeIsTheAnnouncedSize) {
    for (const size_t size : {size_t{100}, IMAGE_SIZE, IMAGE_SIZE + 1000}) {
        QueueMemory(size);
        EXPECT_EQ(BufferSize(buffers.back(), 9), NumberInfo<size_t>(12, size));
    }
    FillAll();
    EXPECT_EQ(BufferSize(buffers[0], 9), NumberInfo<size_t>(12, 100));
    EXPECT_EQ(BufferSize(buffers[1], 9), NumberInfo<size_t>(12, 3072));
    EXPECT_EQ(BufferSize(buffers[2], 9), NumberInfo<size_t>(12, 4072));
}

TEST_F(ImageTest, TimestampIsNotReported) {
    Deliver(1);
    ASSERT_EQ(WaitBuffer().handle, buffers[0]);
    uint64_t value = 77;
    size_t size = sizeof value;
    INFO_DATATYPE type = 99;
    EXPECT_FAILS(-1009, "Invalid buffer info command 3",
                 gentl.DSGetBufferInfo(stream, buffers[0], 3, &type, &value, &size));
    EXPECT_EQ(value, 77U);
    EXPECT_EQ(size, sizeof value);
    EXPECT_EQ(type, 99);
}

// The first camera that a consumer finds, as it comes.
class BayerImageTest : public StreamTest {};

TEST_F(BayerImageTest, IsOfThePayloadSize) {
    EXPECT_EQ(camera, "Norvel-G1300C-10002");
    EXPECT_EQ(PayloadSize(), 1310720U);
    std::vector<unsigned char> memory(1310720 + GUARD, FILLER);
    BUFFER_HANDLE buffer = nullptr;
    ASSERT_OK(gentl.DSAnnounceBuffer(stream, memory.data(), 1310720, nullptr, &buffer));
    ASSERT_OK(gentl.DSQueueBuffer(stream, buffer));
    RegisterNewBuffer();
    Start();
    Produce(1);
    ASSERT_EQ(WaitBuffer().handle, buffer);
    const auto image = memory.end() - GUARD;
    EXPECT_GT(std::set<unsigned char>(memory.begin(), image).size(), 16U);
    EXPECT_NE(std::vector<unsigned char>(image - 8, image), std::vector<unsigned char>(8, FILLER));
    EXPECT_EQ(std::count(image, memory.end(), FILLER), std::ptrdiff_t{GUARD});
}

} // namespace
