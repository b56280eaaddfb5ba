// The stamp of an image tells a consumer that it is whole, which one it is, and what went missing.
#include "StreamFixtures.h"

#include <atomic>
#include <cstddef>

namespace {

class ImageStampTest : public MonoStreamTest {
protected:
    using Image = std::vector<unsigned char>;

    Image Take() {
        const NewBuffer image = WaitBuffer();
        EXPECT_OK(image.code);
        if (image.code != 0) {
            return Image(IMAGE_SIZE);
        }
        const unsigned char* const memory = Memory(image.handle);
        Image copy(memory, memory + IMAGE_SIZE);
        EXPECT_OK(gentl.DSQueueBuffer(stream, image.handle));
        return copy;
    }

    static bool IsWhole(const Image& image, OptivoImageStamp* stamp) {
        return OptivoImage_Read(image.data(), image.size(), stamp) == 1;
    }
    static bool IsWhole(const Image& image) {
        OptivoImageStamp stamp;
        return IsWhole(image, &stamp);
    }
};

TEST_F(ImageStampTest, TellsTheImage) {
    static_assert(sizeof(OptivoImageStamp) == 32);
    StartWith(2);
    uint64_t last = 0;
    for (uint64_t number = 0; number < 300; ++number) {
        Produce(1);
        OptivoImageStamp stamp;
        ASSERT_TRUE(IsWhole(Take(), &stamp));
        EXPECT_EQ(stamp.magic, 0x4749564EU);
        EXPECT_EQ(stamp.imageSize, IMAGE_SIZE);
        EXPECT_EQ(stamp.number, number);
        EXPECT_GT(stamp.nanoseconds, last);
        last = stamp.nanoseconds;
    }
}

std::atomic<uint64_t> g_numObserved = 0;

TEST_F(ImageStampTest, EveryGrabThatBringsAnImageIsObserved) {
    g_numObserved = 0;
    OptivoSim_ObserveGrabs([] { ++g_numObserved; });
    StartWith(2);
    for (uint64_t number = 1; number <= 5; ++number) {
        Produce(1);
        Take();
        EXPECT_EQ(g_numObserved, number);
    }
    OptivoSim_ObserveGrabs(nullptr);
    Produce(1);
    Take();
    EXPECT_EQ(g_numObserved, 5U);
}

TEST_F(ImageStampTest, NumbersStartAnewWithTheStream) {
    for (int i = 0; i < 2; ++i) {
        StartWith(2);
        Produce(2);
        OptivoImageStamp stamp;
        EXPECT_TRUE(IsWhole(Take(), &stamp));
        EXPECT_EQ(stamp.number, 0U);
        EXPECT_TRUE(IsWhole(Take(), &stamp));
        EXPECT_EQ(stamp.number, 1U);
        RenewStream();
    }
}

TEST_F(ImageStampTest, AnyFlippedByteIsATornImage) {
    StartWith(1);
    Produce(1);
    Image image = Take();
    ASSERT_TRUE(IsWhole(image));
    for (size_t i = 0; i < image.size(); ++i) {
        for (const int flip : {0x01, 0x80, 0xFF}) {
            image[i] = static_cast<unsigned char>(image[i] ^ flip);
            EXPECT_FALSE(IsWhole(image)) << "byte " << i;
            image[i] = static_cast<unsigned char>(image[i] ^ flip);
        }
    }
    EXPECT_TRUE(IsWhole(image));
}

TEST_F(ImageStampTest, HalvesOfTwoImagesAreATornImage) {
    StartWith(2);
    Produce(2);
    const Image first = Take();
    const Image second = Take();
    for (const size_t cut : {32U, 33U, 1536U, 3071U}) {
        Image mixed = first;
        std::copy(second.begin() + static_cast<std::ptrdiff_t>(cut), second.end(),
                  mixed.begin() + static_cast<std::ptrdiff_t>(cut));
        EXPECT_FALSE(IsWhole(mixed)) << cut;
    }
}

TEST_F(ImageStampTest, OtherSizeIsNoWholeImage) {
    StartWith(1);
    Produce(1);
    const Image image = Take();
    for (const size_t size : {size_t{0}, size_t{31}, size_t{32}, size_t{33}, IMAGE_SIZE - 1}) {
        EXPECT_FALSE(
            IsWhole(Image(image.begin(), image.begin() + static_cast<std::ptrdiff_t>(size))))
            << size;
    }
    Image longer = image;
    longer.push_back(0);
    EXPECT_FALSE(IsWhole(longer));
}

TEST_F(ImageStampTest, TornImageStillTellsItsStamp) {
    StartWith(1);
    Produce(1);
    Image image = Take();
    image.back() = static_cast<unsigned char>(image.back() + 1);
    OptivoImageStamp stamp;
    EXPECT_FALSE(IsWhole(image, &stamp));
    EXPECT_EQ(stamp.imageSize, IMAGE_SIZE);
    EXPECT_EQ(stamp.number, 0U);
}

TEST_F(ImageStampTest, BytesOfAnotherKindAreNoImage) {
    for (const int filler : {0x00, 0x5A, 0xFF}) {
        EXPECT_FALSE(IsWhole(Image(IMAGE_SIZE, static_cast<unsigned char>(filler))));
    }
}

TEST_F(ImageStampTest, BufferThatIsReadTwiceShowsAStaleImage) {
    StartWith(1);
    Produce(1);
    const NewBuffer image = WaitBuffer();
    OptivoImageStamp before;
    OptivoImageStamp after;
    EXPECT_EQ(OptivoImage_Read(Memory(image.handle), IMAGE_SIZE, &before), 1);
    Produce(1);
    ASSERT_TRUE(Eventually([&] { return NumUnderrun() == 1; }));
    EXPECT_EQ(OptivoImage_Read(Memory(image.handle), IMAGE_SIZE, &after), 1);
    EXPECT_EQ(after.number, before.number);
}

TEST_F(ImageStampTest, ImageWithoutABufferLeavesAGap) {
    StartWith(1);
    Produce(3);
    ASSERT_TRUE(Eventually([&] { return NumUnderrun() == 2; }));
    OptivoImageStamp stamp;
    EXPECT_TRUE(IsWhole(Take(), &stamp));
    EXPECT_EQ(stamp.number, 0U);
    Produce(1);
    EXPECT_TRUE(IsWhole(Take(), &stamp));
    EXPECT_EQ(stamp.number, 3U);
}

} // namespace
