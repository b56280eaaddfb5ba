// Images that a camera loses, delays or repeats, as a consumer of the stream finds them.
#include "StreamFixtures.h"

namespace {

constexpr uint64_t NUM_IMAGES = 12;

class ImageFaultTest : public MonoStreamTest {
protected:
    using Numbers = std::vector<uint64_t>;

    void Plan(const OptivoImageFault& fault) {
        ASSERT_EQ(OptivoSim_AddImageFault(camera.c_str(), &fault), 1);
    }

    // The numbers of the images that arrive of so many; all of them are whole.
    Numbers Arriving(uint64_t count = NUM_IMAGES) {
        Numbers numbers;
        for (uint64_t i = 0; i < count; ++i) {
            Produce(1);
        }
        EXPECT_TRUE(Eventually([&] { return NumDelivered() + NumUnderrun() >= count; }));
        for (BUFFER_HANDLE buffer : FetchAll()) {
            OptivoImageStamp stamp;
            EXPECT_EQ(OptivoImage_Read(Memory(buffer), IMAGE_SIZE, &stamp), 1);
            numbers.push_back(stamp.number);
            EXPECT_OK(gentl.DSQueueBuffer(stream, buffer));
        }
        return numbers;
    }

    static Numbers Sound() { return {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}; }

    // Which of 200 images arrive, with each second one lost by chance.
    Numbers ByChance(uint64_t seed) {
        RenewStream();
        Plan({OPTIVO_IMAGE_LOST, 0, 0, 100, 0.5, seed});
        AnnounceBuffers(200);
        QueueAll();
        RegisterNewBuffer();
        Start();
        Numbers numbers = Arriving(200);
        // What is left of the fault must not reach the next run.
        Produce(400);
        EXPECT_TRUE(Eventually([&] { return StreamNumber(6) == 600; }));
        EXPECT_TRUE(Eventually([&] { return NumAwaitDelivery() == 200; }));
        return numbers;
    }
};

TEST_F(ImageFaultTest, LostImageIsAGapAndCounted) {
    Plan({OPTIVO_IMAGE_LOST, 0, 3, 2, 0, 0});
    StartWith(NUM_IMAGES);
    EXPECT_EQ(Arriving(), (Numbers{0, 1, 2, 5, 6, 7, 8, 9, 10, 11}));
    EXPECT_EQ(NumUnderrun(), 2U);
    EXPECT_EQ(NumDelivered(), 10U);
    EXPECT_EQ(StreamNumber(6), 12U);
}

TEST_F(ImageFaultTest, AnyImageMayBeLost) {
    Plan({OPTIVO_IMAGE_LOST, 0, 0, OPTIVO_FOREVER, 0, 0});
    StartWith(NUM_IMAGES);
    EXPECT_EQ(Arriving(), Numbers{});
    EXPECT_EQ(NumUnderrun(), 12U);
    EXPECT_EQ(NumDelivered(), 0U);
    EXPECT_TRUE(IsGrabbing());
}

TEST_F(ImageFaultTest, LostImagesAreMadeUpForWhenSoManyAreAsked) {
    Plan({OPTIVO_IMAGE_LOST, 0, 1, 2, 0, 0});
    ASSERT_EQ(OptivoSim_SetFrameRate(camera.c_str(), 200), 1);
    AnnounceBuffers(8);
    QueueAll();
    RegisterNewBuffer();
    Start(4);
    ASSERT_TRUE(Eventually([&] { return !IsGrabbing(); }));
    EXPECT_EQ(Arriving(0), (Numbers{0, 3, 4, 5}));
}

TEST_F(ImageFaultTest, RepeatedImageStandsForTheOneThatIsDue) {
    Plan({OPTIVO_IMAGE_REPEATED, 0, 4, 2, 0, 0});
    StartWith(NUM_IMAGES);
    EXPECT_EQ(Arriving(), (Numbers{0, 1, 2, 3, 3, 3, 6, 7, 8, 9, 10, 11}));
    EXPECT_EQ(NumUnderrun(), 0U);
    EXPECT_EQ(NumDelivered(), 12U);
}

TEST_F(ImageFaultTest, FirstImageHasNoneToRepeat) {
    Plan({OPTIVO_IMAGE_REPEATED, 0, 0, 2, 1, 0});
    StartWith(NUM_IMAGES);
    EXPECT_EQ(Arriving(), (Numbers{0, 0, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}));
}

TEST_F(ImageFaultTest, LateImageComesWhole) {
    using Clock = std::chrono::steady_clock;
    Plan({OPTIVO_IMAGE_LATE, 300, 1, 1, 0, 0});
    StartWith(3);
    const auto start = Clock::now();
    Produce(3);
    EXPECT_OK(WaitBuffer().code);
    const NewBuffer late = WaitBuffer();
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(300));
    EXPECT_TRUE(HoldsImage(Memory(late.handle), 1));
    EXPECT_TRUE(HoldsImage(Memory(WaitBuffer().handle), 2));
    EXPECT_EQ(NumUnderrun(), 0U);
}

TEST_F(ImageFaultTest, LateImageIsStampedWhenItWasDue) {
    Plan({OPTIVO_IMAGE_LATE, 200, 0, 1, 0, 0});
    StartWith(2);
    Produce(1);
    Produce(1);
    OptivoImageStamp first;
    OptivoImageStamp second;
    ASSERT_EQ(OptivoImage_Read(Memory(WaitBuffer().handle), IMAGE_SIZE, &first), 1);
    ASSERT_EQ(OptivoImage_Read(Memory(WaitBuffer().handle), IMAGE_SIZE, &second), 1);
    EXPECT_LT(second.nanoseconds - first.nanoseconds, 200000000U);
}

TEST_F(ImageFaultTest, StopEndsTheWaitForALateImage) {
    Plan({OPTIVO_IMAGE_LATE, 3600000, 0, 1, 0, 0});
    StartWith(2);
    Produce(2);
    EXPECT_EQ(CodeName(WaitBuffer(50).code), CodeName(-1011));
    Stop();
    Start();
    Produce(1);
    EXPECT_TRUE(HoldsImage(Memory(WaitBuffer().handle), 0));
}

TEST_F(ImageFaultTest, StopLeavesWhatNobodyTook) {
    Plan({OPTIVO_IMAGE_LATE, 3600000, 1, 1, 0, 0});
    StartWith(3);
    Produce(3);
    EXPECT_TRUE(Eventually([&] { return NumDelivered() == 1; }));
    EXPECT_EQ(OptivoSim_NumUntaken(camera.c_str()), 0U);
    Stop();
    EXPECT_EQ(OptivoSim_NumUntaken(camera.c_str()), 2U);
    EXPECT_EQ(StreamNumber(6), 3U);
    EXPECT_EQ(NumUnderrun(), 0U);
    EXPECT_EQ(OptivoSim_NumUntaken("nobody"), 0U);
    Start();
    EXPECT_EQ(OptivoSim_NumUntaken(camera.c_str()), 0U);
}

TEST_F(ImageFaultTest, FirstFaultThatAppliesDecides) {
    Plan({OPTIVO_IMAGE_LOST, 0, 2, 1, 0, 0});
    Plan({OPTIVO_IMAGE_REPEATED, 0, 4, 1, 0, 0});
    StartWith(NUM_IMAGES);
    // The image that is lost is none that the second fault skips.
    EXPECT_EQ(Arriving(), (Numbers{0, 1, 3, 4, 4, 6, 7, 8, 9, 10, 11}));
}

TEST_F(ImageFaultTest, FaultOfNoImageIsIgnored) {
    Plan({OPTIVO_IMAGE_LOST, 0, 0, 0, 0, 0});
    StartWith(NUM_IMAGES);
    EXPECT_EQ(Arriving(), Sound());
}

TEST_F(ImageFaultTest, OutlivesTheStream) {
    Plan({OPTIVO_IMAGE_LOST, 0, 14, 1, 0, 0});
    StartWith(NUM_IMAGES);
    EXPECT_EQ(Arriving(), Sound());
    RenewStream();
    StartWith(NUM_IMAGES);
    EXPECT_EQ(Arriving(), (Numbers{0, 1, 3, 4, 5, 6, 7, 8, 9, 10, 11}));
}

TEST_F(ImageFaultTest, BelongsToItsCamera) {
    OptivoImageFault fault = {OPTIVO_IMAGE_LOST, 0, 0, OPTIVO_FOREVER, 0, 0};
    EXPECT_EQ(OptivoSim_AddImageFault("Norvel-G1300C-10002", &fault), 1);
    EXPECT_EQ(OptivoSim_AddImageFault("nobody", &fault), 0);
    EXPECT_EQ(OptivoSim_AddImageFault(camera.c_str(), nullptr), 0);
    StartWith(NUM_IMAGES);
    EXPECT_EQ(Arriving(), Sound());
}

TEST_F(ImageFaultTest, ChanceIsRepeatable) {
    const Numbers first = ByChance(7);
    EXPECT_EQ(ByChance(7), first);
    EXPECT_NE(ByChance(8), first);
    EXPECT_GT(first.size(), 70U);
    EXPECT_LT(first.size(), 130U);
}

TEST_F(ImageFaultTest, ChanceEndsWithItsCount) {
    Plan({OPTIVO_IMAGE_LOST, 0, 10, 5, 0.5, 1});
    StartWith(100);
    const Numbers numbers = Arriving(100);
    ASSERT_EQ(numbers.size(), 95U);
    EXPECT_EQ(numbers[9], 9U);
    EXPECT_EQ(numbers.back(), 99U);
    EXPECT_EQ(NumUnderrun(), 5U);
}

} // namespace
