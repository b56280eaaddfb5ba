#include "StreamFixtures.h"

namespace {

class NewBufferEventTest : public MonoStreamTest {
protected:
    InfoCall EventInfo(EVENT_INFO_CMD command) {
        return [=, this](auto... out) { return gentl.EventGetInfo(newBuffer, command, out...); };
    }
};

TEST_F(NewBufferEventTest, TellsHowManyBuffersAwaitDelivery) {
    StartWith(3);
    for (uint32_t count = 0; count <= 3; ++count) {
        ASSERT_TRUE(Eventually([&] { return NumAwaitDelivery() == count; }));
        ExpectCopyOut(EventInfo(1), NumberInfo<uint32_t>(6, count));
        Produce(1);
    }
}

TEST_F(NewBufferEventTest, OtherInfoWritesNothingAndSucceeds) {
    Deliver(1);
    for (const EVENT_INFO_CMD command : {0, 2, 3, 4, 1000, -1}) {
        SCOPED_TRACE(command);
        INFO_DATATYPE type = 99;
        char buffer[8] = "before";
        size_t size = 1;
        EXPECT_OK(gentl.EventGetInfo(newBuffer, command, &type, buffer, &size));
        EXPECT_EQ(type, 99);
        EXPECT_EQ(size, 1U);
        EXPECT_STREQ(buffer, "before");
        EXPECT_OK(gentl.EventGetInfo(newBuffer, command, nullptr, nullptr, nullptr));
    }
}

TEST_F(NewBufferEventTest, DataInfoWritesNothingAndSucceeds) {
    Deliver(1);
    EVENT_NEW_BUFFER_DATA data = {};
    size_t dataSize = sizeof data;
    ASSERT_OK(gentl.EventGetData(newBuffer, &data, &dataSize, 0));
    for (const EVENT_DATA_INFO_CMD command : {0, 1, 2, 1000, -1}) {
        SCOPED_TRACE(command);
        INFO_DATATYPE type = 99;
        char buffer[8] = "before";
        size_t size = 1;
        EXPECT_OK(
            gentl.EventGetDataInfo(newBuffer, &data, sizeof data, command, &type, buffer, &size));
        EXPECT_EQ(type, 99);
        EXPECT_EQ(size, 1U);
        EXPECT_STREQ(buffer, "before");
        EXPECT_OK(
            gentl.EventGetDataInfo(newBuffer, nullptr, 0, command, nullptr, nullptr, nullptr));
    }
}

TEST_F(NewBufferEventTest, FlushEmptiesTheOutputQueue) {
    Deliver(2);
    EXPECT_OK(gentl.EventFlush(newBuffer));
    ExpectLengths(0, 0);
    for (BUFFER_HANDLE buffer : buffers) {
        ExpectFlags(buffer, false, false);
    }
    EXPECT_FAILS(-1011, "Timeout", WaitBuffer(0).code);
    EXPECT_OK(gentl.EventFlush(newBuffer));
    for (BUFFER_HANDLE buffer : buffers) {
        EXPECT_OK(gentl.DSRevokeBuffer(stream, buffer, nullptr, nullptr));
    }
}

TEST_F(NewBufferEventTest, KillSucceeds) {
    RegisterNewBuffer();
    EXPECT_OK(gentl.EventKill(newBuffer));
    EXPECT_OK(gentl.EventKill(newBuffer));
}

TEST_F(NewBufferEventTest, WorksUnregistered) {
    StartWith(2);
    EXPECT_OK(gentl.GCUnregisterEvent(stream, 1));
    Produce(1);
    EXPECT_EQ(WaitBuffer().handle, buffers[0]);
    EXPECT_OK(gentl.GCUnregisterEvent(stream, 1));
    Produce(1);
    EXPECT_EQ(WaitBuffer().handle, buffers[1]);
}

TEST_F(NewBufferEventTest, BuffersNeedNoRegistration) {
    AnnounceBuffers(1);
    QueueAll();
    Start(1);
    Produce(1);
    ASSERT_TRUE(Eventually([&] { return NumAwaitDelivery() == 1; }));
    RegisterNewBuffer();
    EXPECT_EQ(WaitBuffer(0).handle, buffers[0]);
}

} // namespace
