#include "Fixtures.h"

namespace {

class ParentTest : public StreamTest {};

TEST_F(ParentTest, OfAnInterfaceIsItsSystem) {
    TL_HANDLE parent = nullptr;
    EXPECT_OK(gentl.IFGetParentTL(iface, &parent));
    EXPECT_EQ(parent, tl);
}

TEST_F(ParentTest, OfADeviceIsItsInterface) {
    IF_HANDLE parent = nullptr;
    EXPECT_OK(gentl.DevGetParentIF(device, &parent));
    EXPECT_EQ(parent, iface);
}

TEST_F(ParentTest, OfAStreamIsItsDevice) {
    DEV_HANDLE parent = nullptr;
    EXPECT_OK(gentl.DSGetParentDev(stream, &parent));
    EXPECT_EQ(parent, device);
}

TEST_F(ParentTest, IsItsOwnForEachOfTwoSystems) {
    TL_HANDLE secondSystem = nullptr;
    ASSERT_OK(gentl.TLOpen(&secondSystem));
    IF_HANDLE secondInterface = nullptr;
    ASSERT_OK(gentl.TLOpenInterface(secondSystem, interfaceId.c_str(), &secondInterface));
    EXPECT_NE(secondInterface, iface);
    TL_HANDLE parent = nullptr;
    EXPECT_OK(gentl.IFGetParentTL(secondInterface, &parent));
    EXPECT_EQ(parent, secondSystem);
    EXPECT_OK(gentl.IFGetParentTL(iface, &parent));
    EXPECT_EQ(parent, tl);
    EXPECT_OK(gentl.TLClose(secondSystem));
}

TEST_F(ParentTest, WorksAsAHandle) {
    DEV_HANDLE parentDevice = nullptr;
    IF_HANDLE parentInterface = nullptr;
    TL_HANDLE parentSystem = nullptr;
    ASSERT_OK(gentl.DSGetParentDev(stream, &parentDevice));
    ASSERT_OK(gentl.DevGetParentIF(parentDevice, &parentInterface));
    ASSERT_OK(gentl.IFGetParentTL(parentInterface, &parentSystem));
    uint32_t count = 0;
    EXPECT_OK(gentl.TLGetNumInterfaces(parentSystem, &count));
    EXPECT_GE(count, 2U);
}

TEST_F(ParentTest, NullOutputIsInvalid) {
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.IFGetParentTL(iface, nullptr));
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.DevGetParentIF(device, nullptr));
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.DSGetParentDev(stream, nullptr));
}

TEST_F(ParentTest, ThatIsClosedIsNotAvailable) {
    CloseInterface();
    IF_HANDLE parent = this;
    EXPECT_FAILS_WITH_TEXT(-1014, gentl.DevGetParentIF(device, &parent));
    EXPECT_EQ(parent, this);
    CloseSystem();
    EXPECT_FAILS_WITH_TEXT(-1014, gentl.DevGetParentIF(device, &parent));
    EXPECT_EQ(parent, this);

    DEV_HANDLE parentDevice = nullptr;
    EXPECT_OK(gentl.DSGetParentDev(stream, &parentDevice));
    EXPECT_EQ(parentDevice, device);
}

// An interface opened anew is another one, although the ID is the same.
TEST_F(ParentTest, IsNoLaterInterfaceOfThatId) {
    CloseInterface();
    OpenInterface();
    IF_HANDLE parent = this;
    EXPECT_FAILS_WITH_TEXT(-1014, gentl.DevGetParentIF(device, &parent));
    EXPECT_EQ(parent, this);
}

class NotImplementedTest : public StreamTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(StreamTest::SetUp());
        AnnounceBuffers(1);
    }
};

TEST_F(NotImplementedTest, ChunkData) {
    SINGLE_CHUNK_DATA chunks[4] = {{1, 2, 3}};
    size_t numChunks = 4;
    EXPECT_FAILS_WITH_TEXT(-1003,
                           gentl.DSGetBufferChunkData(stream, buffers[0], chunks, &numChunks));
    EXPECT_EQ(numChunks, 4U);
    EXPECT_EQ(chunks[0].ChunkID, 1U);
    EXPECT_EQ(chunks[0].ChunkOffset, 2);
    EXPECT_EQ(chunks[0].ChunkLength, 3U);
    EXPECT_FAILS_WITH_TEXT(-1003,
                           gentl.DSGetBufferChunkData(stream, buffers[0], nullptr, &numChunks));
    EXPECT_EQ(numChunks, 4U);
    EXPECT_FAILS_WITH_TEXT(-1003, gentl.DSGetBufferChunkData(stream, buffers[0], nullptr, nullptr));
}

TEST_F(NotImplementedTest, NumberOfParts) {
    uint32_t numParts = 77;
    EXPECT_FAILS_WITH_TEXT(-1003, gentl.DSGetNumBufferParts(stream, buffers[0], &numParts));
    EXPECT_EQ(numParts, 77U);
    EXPECT_FAILS_WITH_TEXT(-1003, gentl.DSGetNumBufferParts(stream, buffers[0], nullptr));
}

TEST_F(NotImplementedTest, PartInfo) {
    for (const BUFFER_PART_INFO_CMD command : {0, 1, 2, 1000}) {
        SCOPED_TRACE(command);
        INFO_DATATYPE type = 99;
        uint64_t value = 77;
        size_t size = sizeof value;
        EXPECT_FAILS_WITH_TEXT(
            -1003, gentl.DSGetBufferPartInfo(stream, buffers[0], 0, command, &type, &value, &size));
        EXPECT_EQ(type, 99);
        EXPECT_EQ(value, 77U);
        EXPECT_EQ(size, sizeof value);
    }
    EXPECT_FAILS_WITH_TEXT(
        -1003, gentl.DSGetBufferPartInfo(stream, buffers[0], 0, 0, nullptr, nullptr, nullptr));
}

} // namespace
