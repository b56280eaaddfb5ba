// What a stream tells of itself, and how its acquisition starts and stops.
#include "StandardFixtures.h"

namespace {

class StandardStreamInfoTest : public StandardStreamTest {};

TEST_F(StandardStreamInfoTest, Id) {
    ExpectAnswer(StreamInfo(0), TextInfo("DS0"));
}

TEST_F(StandardStreamInfoTest, Transport) {
    ExpectAnswer(StreamInfo(10), TextInfo("Mixed"));
}

TEST_F(StandardStreamInfoTest, NumDelivered) {
    StartWith(2);
    FetchNew();
    ExpectAnswer(StreamInfo(1), NumberInfo<uint64_t>(8, 1));
}

TEST_F(StandardStreamInfoTest, NumLost) {
    StartWith(1);
    FetchNew();
    Produce(2);
    ASSERT_TRUE(Eventually([&] { return NumUnderrun() == 2; }));
    ExpectAnswer(StreamInfo(2), NumberInfo<uint64_t>(8, 2));
}

TEST_F(StandardStreamInfoTest, NumAnnounced) {
    AnnounceBuffers(3);
    ExpectAnswer(StreamInfo(3), NumberInfo<size_t>(12, 3));
}

TEST_F(StandardStreamInfoTest, NumQueued) {
    AnnounceBuffers(3);
    EXPECT_OK(gentl.DSQueueBuffer(stream, buffers[0]));
    EXPECT_OK(gentl.DSQueueBuffer(stream, buffers[1]));
    ExpectAnswer(StreamInfo(4), NumberInfo<size_t>(12, 2));
}

TEST_F(StandardStreamInfoTest, NumAwaitingDelivery) {
    Deliver(2);
    ExpectAnswer(StreamInfo(5), NumberInfo<size_t>(12, 2));
}

TEST_F(StandardStreamInfoTest, NumStarted) {
    StartWith(2);
    FetchNew();
    ExpectAnswer(StreamInfo(6), NumberInfo<uint64_t>(8, 1));
}

TEST_F(StandardStreamInfoTest, PayloadSize) {
    ExpectAnswer(StreamInfo(7), NumberInfo<size_t>(12, IMAGE_SIZE));
}

TEST_F(StandardStreamInfoTest, IsGrabbing) {
    ExpectAnswer(StreamInfo(8), BoolInfo(false));
    StartWith(1);
    ExpectAnswer(StreamInfo(8), BoolInfo(true));
    Stop();
    ExpectAnswer(StreamInfo(8), BoolInfo(false));
}

TEST_F(StandardStreamInfoTest, DefinesPayloadSize) {
    ExpectAnswer(StreamInfo(9), BoolInfo(true));
}

TEST_F(StandardStreamInfoTest, DefinesNoPayloadSizeWhenTheLibraryTellsNone) {
    AddFault(OPTIVO_STREAM_GET_STREAM_INFO, OPTIVO_FAULT_RESULT, -1001);
    CloseStream();
    OpenStream();
    ExpectAnswer(StreamInfo(9), BoolInfo(false));
    EXPECT_REFUSES(-1014, Ask(StreamInfo(7)).code);
}

TEST_F(StandardStreamInfoTest, BuffersAreFree) {
    ExpectAnswer(StreamInfo(12), NumberInfo<size_t>(12, 1));
    ExpectAnswer(StreamInfo(13), NumberInfo<size_t>(12, 1));
}

TEST_F(StandardStreamInfoTest, ThatNobodyKnows) {
    EXPECT_REFUSES(-1014, Ask(StreamInfo(11)).code);
    EXPECT_REFUSES(-1014, Ask(StreamInfo(14)).code);
}

TEST_F(StandardStreamInfoTest, ThatNobodyHasHeardOf) {
    for (const STREAM_INFO_CMD command : {-1, 15, 999, 1000, 1005}) {
        EXPECT_REFUSES(-1003, Ask(StreamInfo(command)).code) << command;
    }
}

TEST_F(StandardStreamInfoTest, OfTheProducersOwn) {
    ASSERT_EQ(OptivoSim_SetStreamValue(camera.c_str(), 5, 55), 1);
    const Info first = Ask(StreamInfo(1001));
    EXPECT_OK(first.code);
    EXPECT_EQ(first.type, 8);
    EXPECT_EQ(first.size, 8U);
    EXPECT_EQ(Ask(StreamInfo(1002)).type, 8);
    EXPECT_EQ(Ask(StreamInfo(1003)).type, 6);
    EXPECT_EQ(Ask(StreamInfo(1004)).size, 4U);
}

TEST_F(StandardStreamInfoTest, DoesNotStartForNoImage) {
    EXPECT_REFUSES(-1009, gentl.DSStartAcquisition(stream, 0, 0));
    EXPECT_FALSE(IsGrabbing());
}

TEST_F(StandardStreamInfoTest, DoesNotStartWithUnknownFlags) {
    EXPECT_REFUSES(-1009, gentl.DSStartAcquisition(stream, 1, 1));
    EXPECT_FALSE(IsGrabbing());
}

TEST_F(StandardStreamInfoTest, DoesNotStartTwice) {
    StartWith(1);
    EXPECT_REFUSES(-1004, gentl.DSStartAcquisition(stream, 0, GENTL_INFINITE));
    EXPECT_EQ(FetchNew(), buffers[0]) << "the acquisition goes on";
}

TEST_F(StandardStreamInfoTest, DoesNotStartWhenTheCameraDoesNot) {
    AddFault(OPTIVO_STREAM_START_ACQUISITION, OPTIVO_FAULT_RESULT, -1010, 1);
    EXPECT_REFUSES(-1001, gentl.DSStartAcquisition(stream, 0, GENTL_INFINITE));
    EXPECT_FALSE(IsGrabbing());
    Start();
}

TEST_F(StandardStreamInfoTest, EndsAfterItsNumberOfImages) {
    AnnounceBuffers(3);
    ASSERT_NO_FATAL_FAILURE(QueueAll());
    RegisterNewBuffer();
    Start(2);
    Produce(3);
    Fetch();
    Fetch();
    ExpectNothing();
    EXPECT_TRUE(Eventually([&] { return !IsGrabbing(); }));
}

TEST_F(StandardStreamInfoTest, StartsAgainAfterItsNumberOfImages) {
    AnnounceBuffers(1);
    RegisterNewBuffer();
    for (int i = 0; i < 3; ++i) {
        ASSERT_NO_FATAL_FAILURE(QueueAll());
        Start(1);
        FetchNew();
        ASSERT_TRUE(Eventually([&] { return !IsGrabbing(); }));
    }
}

} // namespace
