#include "StreamFixtures.h"

namespace {

// More than any machine has.
constexpr size_t ABSURD_SIZES[] = {SIZE_MAX / 4, SIZE_MAX / 2, SIZE_MAX};

class AnnounceTest : public MonoStreamTest {
protected:
    Info BufferInfo(BUFFER_HANDLE buffer, BUFFER_INFO_CMD command) {
        return Ask(
            [&](auto... out) { return gentl.DSGetBufferInfo(stream, buffer, command, out...); });
    }
};

TEST_F(AnnounceTest, TakesTheConsumersMemory) {
    std::vector<unsigned char> memory(100, 0x5A);
    BUFFER_HANDLE buffer = nullptr;
    EXPECT_OK(gentl.DSAnnounceBuffer(stream, memory.data(), memory.size(), this, &buffer));
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(NumAnnounced(), 1U);
    EXPECT_EQ(BufferInfo(buffer, 0), NumberInfo<void*>(10, memory.data()));
    EXPECT_EQ(BufferInfo(buffer, 1), NumberInfo<size_t>(12, 100));
    EXPECT_EQ(BufferInfo(buffer, 2), NumberInfo<void*>(10, this));
    ExpectFlags(buffer, false, false);
    ExpectLengths(0, 0);
    EXPECT_EQ(memory, std::vector<unsigned char>(100, 0x5A));
}

TEST_F(AnnounceTest, AllocatesMemory) {
    const auto announce = [&](BUFFER_HANDLE* buffer) {
        return gentl.DSAnnounceBuffer(stream, nullptr, IMAGE_SIZE, this, buffer);
    };
    const auto allocate = [&](BUFFER_HANDLE* buffer) {
        return gentl.DSAllocAndAnnounceBuffer(stream, IMAGE_SIZE, this, buffer);
    };
    for (const std::function<GC_ERROR(BUFFER_HANDLE*)>& call :
         std::vector<std::function<GC_ERROR(BUFFER_HANDLE*)>>{announce, allocate}) {
        BUFFER_HANDLE buffer = nullptr;
        EXPECT_OK(call(&buffer));
        ASSERT_NE(buffer, nullptr);
        ASSERT_NE(Memory(buffer), nullptr);
        std::memset(Memory(buffer), 0x5A, IMAGE_SIZE);
        EXPECT_EQ(BufferInfo(buffer, 1), NumberInfo<size_t>(12, IMAGE_SIZE));
        EXPECT_EQ(BufferInfo(buffer, 2), NumberInfo<void*>(10, this));
        ExpectFlags(buffer, false, false);
    }
    EXPECT_EQ(NumAnnounced(), 2U);
}

TEST_F(AnnounceTest, EveryBufferHasItsOwnHandleAndMemory) {
    AnnounceBuffers(2);
    ASSERT_EQ(buffers.size(), 2U);
    EXPECT_NE(buffers[0], buffers[1]);
    EXPECT_NE(Memory(buffers[0]), Memory(buffers[1]));
}

TEST_F(AnnounceTest, AnySizeWillDo) {
    unsigned char memory = 0;
    for (const size_t size : {size_t{0}, size_t{1}, IMAGE_SIZE - 1, IMAGE_SIZE + 1}) {
        SCOPED_TRACE(size);
        BUFFER_HANDLE buffer = nullptr;
        EXPECT_OK(gentl.DSAnnounceBuffer(stream, &memory, size, nullptr, &buffer));
        EXPECT_EQ(BufferInfo(buffer, 1), NumberInfo<size_t>(12, size));
        EXPECT_OK(gentl.DSAnnounceBuffer(stream, nullptr, size, nullptr, &buffer));
        EXPECT_EQ(BufferInfo(buffer, 1), NumberInfo<size_t>(12, size));
        EXPECT_OK(gentl.DSAllocAndAnnounceBuffer(stream, size, nullptr, &buffer));
        EXPECT_EQ(BufferInfo(buffer, 1), NumberInfo<size_t>(12, size));
    }
    EXPECT_EQ(NumAnnounced(), 12U);
}

TEST_F(AnnounceTest, PrivatePointerMayBeNull) {
    BUFFER_HANDLE buffer = nullptr;
    EXPECT_OK(gentl.DSAllocAndAnnounceBuffer(stream, IMAGE_SIZE, nullptr, &buffer));
    EXPECT_EQ(BufferInfo(buffer, 2), NumberInfo<void*>(10, nullptr));
}

TEST_F(AnnounceTest, AllocationMayFail) {
    for (const size_t size : ABSURD_SIZES) {
        SCOPED_TRACE(size);
        BUFFER_HANDLE buffer = nullptr;
        EXPECT_OK(gentl.DSAllocAndAnnounceBuffer(stream, size, this, &buffer));
        ASSERT_NE(buffer, nullptr);
        EXPECT_EQ(NumAnnounced(), 1U);
        EXPECT_EQ(BufferInfo(buffer, 1), NumberInfo<size_t>(12, size));
        void* memory = this;
        size_t width = sizeof memory;
        EXPECT_FAILS(-1001, "Invalid Memory Buffer",
                     gentl.DSGetBufferInfo(stream, buffer, 0, nullptr, &memory, &width));
        EXPECT_OK(gentl.DSRevokeBuffer(stream, buffer, &memory, nullptr));
        EXPECT_EQ(memory, nullptr);
        EXPECT_OK(gentl.DSAnnounceBuffer(stream, nullptr, size, this, &buffer));
        EXPECT_OK(gentl.DSRevokeBuffer(stream, buffer, nullptr, nullptr));
    }
}

TEST_F(AnnounceTest, HandleHasToGoSomewhere) {
    char memory[16] = {};
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.DSAnnounceBuffer(stream, memory, 16, nullptr, nullptr));
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.DSAnnounceBuffer(stream, nullptr, 16, nullptr, nullptr));
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.DSAllocAndAnnounceBuffer(stream, 16, nullptr, nullptr));
    EXPECT_EQ(NumAnnounced(), 0U);
}

class RevokeTest : public MonoStreamTest {};

TEST_F(RevokeTest, GivesMemoryAndPrivatePointerBack) {
    std::vector<unsigned char> memory(IMAGE_SIZE, 0x5A);
    BUFFER_HANDLE buffer = nullptr;
    ASSERT_OK(gentl.DSAnnounceBuffer(stream, memory.data(), memory.size(), this, &buffer));
    void* base = nullptr;
    void* user = nullptr;
    EXPECT_OK(gentl.DSRevokeBuffer(stream, buffer, &base, &user));
    EXPECT_EQ(base, memory.data());
    EXPECT_EQ(user, this);
    EXPECT_EQ(NumAnnounced(), 0U);
    EXPECT_EQ(memory, std::vector<unsigned char>(IMAGE_SIZE, 0x5A));
}

TEST_F(RevokeTest, TellsWhereAllocatedMemoryWas) {
    AnnounceBuffers(1);
    const void* before = Memory(buffers[0]);
    void* base = nullptr;
    void* user = nullptr;
    EXPECT_OK(gentl.DSRevokeBuffer(stream, buffers[0], &base, &user));
    EXPECT_EQ(base, before);
    EXPECT_EQ(user, UserPointer(0));
}

TEST_F(RevokeTest, OutputsMayBeNull) {
    AnnounceBuffers(3);
    void* memory[] = {Memory(buffers[0]), Memory(buffers[1])};
    void* output = nullptr;
    EXPECT_OK(gentl.DSRevokeBuffer(stream, buffers[0], &output, nullptr));
    EXPECT_EQ(output, memory[0]);
    EXPECT_OK(gentl.DSRevokeBuffer(stream, buffers[1], nullptr, &output));
    EXPECT_EQ(output, UserPointer(1));
    EXPECT_OK(gentl.DSRevokeBuffer(stream, buffers[2], nullptr, nullptr));
    EXPECT_EQ(NumAnnounced(), 0U);
}

TEST_F(RevokeTest, RefusesAQueuedBuffer) {
    AnnounceBuffers(1);
    ASSERT_OK(gentl.DSQueueBuffer(stream, buffers[0]));
    void* memory = this;
    void* user = this;
    EXPECT_FAILS(-1001, "Buffer queued", gentl.DSRevokeBuffer(stream, buffers[0], &memory, &user));
    EXPECT_EQ(memory, this);
    EXPECT_EQ(user, this);
    EXPECT_EQ(NumAnnounced(), 1U);
    ExpectLengths(1, 0);
}

TEST_F(RevokeTest, RefusesADeliveredBufferUntilItIsFetched) {
    Deliver(1);
    ExpectNotRevocable(buffers[0]);
    ExpectLengths(0, 1);
    ASSERT_EQ(WaitBuffer().handle, buffers[0]);
    EXPECT_OK(gentl.DSRevokeBuffer(stream, buffers[0], nullptr, nullptr));
    EXPECT_EQ(NumAnnounced(), 0U);
}

TEST_F(RevokeTest, RefusesABufferThatIsBeingFilled) {
    StartWith(1);
    HangInGrab();
    ExpectNotRevocable(buffers[0]);
    OptivoSim_Release();
    EXPECT_EQ(WaitBuffer().handle, buffers[0]);
}

TEST_F(RevokeTest, RefusesABufferOfAnotherStream) {
    AnnounceBuffers(2);
    ASSERT_OK(gentl.DSQueueBuffer(stream, buffers[1]));
    const DS_HANDLE another = OpenAnother();
    void* memory = this;
    void* user = this;
    for (BUFFER_HANDLE buffer : buffers) {
        EXPECT_FAILS(-1006, "Invalid Buffer Handle",
                     gentl.DSRevokeBuffer(another, buffer, &memory, &user));
    }
    EXPECT_EQ(memory, this);
    EXPECT_EQ(user, this);
    EXPECT_EQ(NumAnnounced(), 2U);
}

TEST_F(RevokeTest, RefusesWhatIsNoBuffer) {
    void* memory = this;
    void* user = this;
    for (void* handle : {tl, iface, device, remote, stream, BUFFER_HANDLE{nullptr}}) {
        EXPECT_FAILS(-1001, "Invalid Device Handle",
                     gentl.DSRevokeBuffer(stream, handle, &memory, &user));
    }
    EXPECT_EQ(memory, this);
    EXPECT_EQ(user, this);
}

class BufferIdTest : public MonoStreamTest {
protected:
    std::vector<BUFFER_HANDLE> Ids() {
        std::vector<BUFFER_HANDLE> ids;
        BUFFER_HANDLE id = nullptr;
        while (gentl.DSGetBufferID(stream, static_cast<uint32_t>(ids.size()), &id) == 0) {
            ids.push_back(id);
        }
        return ids;
    }
};

TEST_F(BufferIdTest, FollowsTheOrderOfAnnouncement) {
    AnnounceBuffers(4);
    AnnounceMemory(IMAGE_SIZE);
    EXPECT_EQ(Ids(), buffers);
}

TEST_F(BufferIdTest, FollowsRevocations) {
    AnnounceBuffers(5);
    ASSERT_OK(gentl.DSRevokeBuffer(stream, buffers[1], nullptr, nullptr));
    EXPECT_EQ(Ids(), (std::vector{buffers[0], buffers[2], buffers[3], buffers[4]}));
    ASSERT_OK(gentl.DSRevokeBuffer(stream, buffers[4], nullptr, nullptr));
    ASSERT_OK(gentl.DSRevokeBuffer(stream, buffers[0], nullptr, nullptr));
    EXPECT_EQ(Ids(), (std::vector{buffers[2], buffers[3]}));
    AnnounceBuffers(1);
    EXPECT_EQ(Ids(), (std::vector{buffers[2], buffers[3], buffers[5]}));
}

TEST_F(BufferIdTest, HasNothingToDoWithTheQueues) {
    AnnounceBuffers(3);
    RegisterNewBuffer();
    ASSERT_OK(gentl.DSQueueBuffer(stream, buffers[2]));
    ASSERT_OK(gentl.DSQueueBuffer(stream, buffers[0]));
    Start();
    Produce(1);
    ASSERT_EQ(WaitBuffer().handle, buffers[2]);
    EXPECT_EQ(Ids(), buffers);
}

TEST_F(BufferIdTest, RefusesAnIndexBehindTheLast) {
    BUFFER_HANDLE id = this;
    EXPECT_FAILS(-1001, "Invalid Buffer Index 0", gentl.DSGetBufferID(stream, 0, &id));
    AnnounceBuffers(2);
    EXPECT_FAILS(-1001, "Invalid Buffer Index 2", gentl.DSGetBufferID(stream, 2, &id));
    EXPECT_FAILS(-1001, "Invalid Buffer Index 3", gentl.DSGetBufferID(stream, 3, &id));
    EXPECT_FAILS(-1001, "Invalid Buffer Index 2147483647",
                 gentl.DSGetBufferID(stream, 2147483647, &id));
    EXPECT_FAILS(-1001, "Invalid Buffer Index -2147483648",
                 gentl.DSGetBufferID(stream, 2147483648, &id));
    EXPECT_FAILS(-1001, "Invalid Buffer Index -1", gentl.DSGetBufferID(stream, UINT32_MAX, &id));
    EXPECT_EQ(id, this);
}

TEST_F(BufferIdTest, HandleHasToGoSomewhere) {
    AnnounceBuffers(1);
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.DSGetBufferID(stream, 0, nullptr));
}

} // namespace
