// Events: which module has which, and what is told of them.
#include "StandardFixtures.h"

namespace {

constexpr EVENT_TYPE ERRORS = 0;
constexpr EVENT_TYPE NEW_BUFFER = 1;
constexpr EVENT_TYPE REMOTE_DEVICE = 4;

class StandardEventTest : public StandardStreamTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(StandardStreamTest::SetUp());
        AnnounceBuffers(1);
    }

    EVENT_HANDLE Register(EVENTSRC_HANDLE source, EVENT_TYPE type) {
        EVENT_HANDLE event = nullptr;
        EXPECT_OK(gentl.GCRegisterEvent(source, type, &event));
        return event;
    }

    void ExpectOnly(EVENTSRC_HANDLE source, const std::vector<EVENT_TYPE>& types) {
        for (const EVENT_TYPE type : {-1, 0, 1, 2, 3, 4, 5, 6, 1000}) {
            SCOPED_TRACE(type);
            EVENT_HANDLE event = this;
            if (std::find(types.begin(), types.end(), type) == types.end()) {
                EXPECT_REFUSES(-1003, gentl.GCRegisterEvent(source, type, &event));
                EXPECT_EQ(event, this);
                EXPECT_REFUSES(-1003, gentl.GCUnregisterEvent(source, type));
            } else {
                EXPECT_OK(gentl.GCRegisterEvent(source, type, &event));
                EXPECT_OK(gentl.GCUnregisterEvent(source, type));
            }
        }
    }

    InfoCall EventInfo(EVENT_HANDLE event, EVENT_INFO_CMD command) {
        return [=, this](auto... out) { return gentl.EventGetInfo(event, command, out...); };
    }

    InfoCall DataInfo(EVENT_HANDLE event, const std::string& data, EVENT_DATA_INFO_CMD command) {
        return [=, this](auto... out) {
            return gentl.EventGetDataInfo(event, data.data(), data.size(), command, out...);
        };
    }

    bool Fire(uint32_t id, uint64_t value) {
        return OptivoSim_FireEvent(camera.c_str(), id, value) == 1;
    }
};

TEST_F(StandardEventTest, OfEveryModule) {
    ExpectOnly(tl, {});
    ExpectOnly(iface, {});
    ExpectOnly(device, {ERRORS, REMOTE_DEVICE});
    ExpectOnly(remote, {REMOTE_DEVICE});
    ExpectOnly(stream, {ERRORS, NEW_BUFFER});
    ExpectOnly(buffers[0], {});
}

TEST_F(StandardEventTest, RegisteredTwiceIsInUse) {
    const std::vector<std::pair<EVENTSRC_HANDLE, EVENT_TYPE>> events = {
        {stream, NEW_BUFFER}, {stream, ERRORS}, {device, ERRORS}, {remote, REMOTE_DEVICE}};
    for (const auto& event : events) {
        const auto source = event.first;
        const EVENT_TYPE type = event.second;
        Register(source, type);
        EVENT_HANDLE again = this;
        EXPECT_REFUSES(-1004, gentl.GCRegisterEvent(source, type, &again));
        EXPECT_EQ(again, this);
    }
}

TEST_F(StandardEventTest, IsRegisteredOnceHoweverManyTryIt) {
    ExpectOneOpens([this](void** handle) { return gentl.GCRegisterEvent(stream, ERRORS, handle); },
                   [this](void*) { return gentl.GCUnregisterEvent(stream, ERRORS); });
}

TEST_F(StandardEventTest, OfTheCameraIsTheSameOnDeviceAndPort) {
    Register(device, REMOTE_DEVICE);
    EVENT_HANDLE again = this;
    EXPECT_REFUSES(-1004, gentl.GCRegisterEvent(remote, REMOTE_DEVICE, &again));
    EXPECT_OK(gentl.GCUnregisterEvent(remote, REMOTE_DEVICE));
}

TEST_F(StandardEventTest, UnregisteredTwiceIsNotAvailable) {
    Register(stream, NEW_BUFFER);
    EXPECT_OK(gentl.GCUnregisterEvent(stream, NEW_BUFFER));
    EXPECT_REFUSES(-1014, gentl.GCUnregisterEvent(stream, NEW_BUFFER));
}

TEST_F(StandardEventTest, IsRegisteredAgain) {
    for (int i = 0; i < 3; ++i) {
        Register(stream, NEW_BUFFER);
        EXPECT_OK(gentl.GCUnregisterEvent(stream, NEW_BUFFER));
    }
}

TEST_F(StandardEventTest, NeedsAPlaceForItsHandle) {
    EXPECT_REFUSES(-1009, gentl.GCRegisterEvent(stream, NEW_BUFFER, nullptr));
}

TEST_F(StandardEventTest, OfANewBufferDescribesItself) {
    const EVENT_HANDLE event = Register(stream, NEW_BUFFER);
    ExpectAnswer(EventInfo(event, 0), NumberInfo<int32_t>(5, 1));
    ExpectAnswer(EventInfo(event, 1), NumberInfo<size_t>(12, 0));
    ExpectAnswer(EventInfo(event, 2), NumberInfo<uint64_t>(8, 0));
    ExpectAnswer(EventInfo(event, 3), NumberInfo<size_t>(12, 16));
    ExpectAnswer(EventInfo(event, 4), NumberInfo<size_t>(12, sizeof(void*)));
    EXPECT_REFUSES(-1003, Ask(EventInfo(event, 5)).code);
    EXPECT_REFUSES(-1003, Ask(EventInfo(event, -1)).code);
}

TEST_F(StandardEventTest, OfTheCameraDescribesItself) {
    const EVENT_HANDLE event = Register(device, REMOTE_DEVICE);
    ASSERT_TRUE(Fire(1, 2));
    ASSERT_TRUE(Fire(3, 4));
    ExpectAnswer(EventInfo(event, 0), NumberInfo<int32_t>(5, 4));
    ExpectAnswer(EventInfo(event, 1), NumberInfo<size_t>(12, 2));
    ExpectAnswer(EventInfo(event, 3), NumberInfo<size_t>(12, 24));
    EXPECT_REFUSES(-1003, Ask(EventInfo(event, 5)).code);
}

TEST_F(StandardEventTest, OfErrorsDescribesItself) {
    const EVENT_HANDLE event = Register(stream, ERRORS);
    ExpectAnswer(EventInfo(event, 0), NumberInfo<int32_t>(5, 0));
    ExpectAnswer(EventInfo(event, 1), NumberInfo<size_t>(12, 0));
    ExpectAnswer(EventInfo(event, 2), NumberInfo<uint64_t>(8, 0));
    ExpectAnswer(EventInfo(event, 3), NumberInfo<size_t>(12, 1024));
}

TEST_F(StandardEventTest, CountsWhatFired) {
    ASSERT_NO_FATAL_FAILURE(QueueAll());
    RegisterNewBuffer();
    Start();
    FetchNew();
    ExpectAnswer(EventInfo(newBuffer, 2), NumberInfo<uint64_t>(8, 1));
}

TEST_F(StandardEventTest, CountsWhatFiredWithoutBeingFetched) {
    const EVENT_HANDLE event = Register(device, REMOTE_DEVICE);
    ASSERT_TRUE(Fire(1, 2));
    ASSERT_TRUE(Fire(1, 2));
    ExpectAnswer(EventInfo(event, 2), NumberInfo<uint64_t>(8, 2));
}

TEST_F(StandardEventTest, OfTheCameraArrivesWhole) {
    const EVENT_HANDLE event = Register(device, REMOTE_DEVICE);
    ASSERT_TRUE(Fire(0xABCD, 0x1122334455667788));
    std::string bytes(40, '#');
    size_t size = 24;
    EXPECT_OK(gentl.EventGetData(event, bytes.data(), &size, LONG_WAIT));
    EXPECT_EQ(size, 24U);
    EXPECT_EQ(bytes.substr(24), std::string(16, '#')) << "behind what was offered";
    const std::string data = bytes.substr(0, 24);
    ExpectAnswer(DataInfo(event, data, 0), TextInfo("ABCD"));
    ExpectAnswer(DataInfo(event, data, 2), NumberInfo<uint64_t>(8, 0xABCD));
    ExpectAnswer(DataInfo(event, data, 1), NumberInfo<uint64_t>(13, 0x1122334455667788));
    EXPECT_REFUSES(-1003, Ask(DataInfo(event, data, 3)).code);
    EXPECT_REFUSES(-1016, Ask(DataInfo(event, data.substr(1), 0)).code);
}

TEST_F(StandardEventTest, OfTheCameraIsNotLostIntoTooLittleRoom) {
    const EVENT_HANDLE event = Register(remote, REMOTE_DEVICE);
    ASSERT_TRUE(Fire(5, 6));
    std::string bytes(40, '#');
    size_t size = 23;
    EXPECT_REFUSES(-1016, gentl.EventGetData(event, bytes.data(), &size, LONG_WAIT));
    EXPECT_EQ(size, 24U);
    EXPECT_EQ(bytes, std::string(40, '#'));
    EXPECT_OK(gentl.EventGetData(event, bytes.data(), &size, 0));
    EXPECT_EQ(bytes[0], 5);
}

TEST_F(StandardEventTest, OfTheCameraTimesOut) {
    const EVENT_HANDLE event = Register(device, REMOTE_DEVICE);
    std::string bytes(40, '#');
    size_t size = 24;
    EXPECT_REFUSES(-1011, gentl.EventGetData(event, bytes.data(), &size, 1));
    EXPECT_REFUSES(-1011, gentl.EventGetData(event, bytes.data(), &size, 0));
    EXPECT_EQ(bytes, std::string(40, '#'));
    EXPECT_EQ(size, 24U);
}

TEST_F(StandardEventTest, OfErrorsTimesOut) {
    const EVENT_HANDLE event = Register(stream, ERRORS);
    std::string bytes(1024, '#');
    size_t size = bytes.size();
    EXPECT_REFUSES(-1011, gentl.EventGetData(event, bytes.data(), &size, 1));
    EXPECT_EQ(bytes, std::string(1024, '#'));
}

TEST_F(StandardEventTest, OfTheCameraIsFlushed) {
    const EVENT_HANDLE event = Register(device, REMOTE_DEVICE);
    ASSERT_TRUE(Fire(1, 2));
    EXPECT_OK(gentl.EventFlush(event));
    ExpectAnswer(EventInfo(event, 1), NumberInfo<size_t>(12, 0));
    char bytes[24];
    size_t size = sizeof bytes;
    EXPECT_REFUSES(-1011, gentl.EventGetData(event, bytes, &size, 0));
}

TEST_F(StandardEventTest, OfTheCameraComesNoMoreWhenUnregistered) {
    Register(device, REMOTE_DEVICE);
    EXPECT_OK(gentl.GCUnregisterEvent(device, REMOTE_DEVICE));
    EXPECT_EQ(OptivoSim_HasCallback(camera.c_str()), 0);
}

TEST_F(StandardEventTest, OfTheCameraIsNotOldWhenRegisteredAgain) {
    Register(device, REMOTE_DEVICE);
    ASSERT_TRUE(Fire(1, 2));
    EXPECT_OK(gentl.GCUnregisterEvent(device, REMOTE_DEVICE));
    const EVENT_HANDLE event = Register(device, REMOTE_DEVICE);
    char bytes[24];
    size_t size = sizeof bytes;
    EXPECT_REFUSES(-1011, gentl.EventGetData(event, bytes, &size, 0));
}

TEST_F(StandardEventTest, OfANewBufferTellsOfItsData) {
    RegisterNewBuffer();
    const EVENT_NEW_BUFFER_DATA data = {buffers[0], UserPointer(7)};
    const std::string bytes(reinterpret_cast<const char*>(&data), sizeof data);
    ExpectAnswer(DataInfo(newBuffer, bytes, 0), NumberInfo<void*>(10, buffers[0]));
    ExpectAnswer(DataInfo(newBuffer, bytes, 1), NumberInfo<void*>(10, UserPointer(7)));
    EXPECT_REFUSES(-1014, Ask(DataInfo(newBuffer, bytes, 2)).code);
    EXPECT_REFUSES(-1003, Ask(DataInfo(newBuffer, bytes, 3)).code);
    EXPECT_REFUSES(-1016, Ask(DataInfo(newBuffer, bytes.substr(1), 0)).code);
    EXPECT_REFUSES(-1009, Ask([&](auto... out) {
                              return gentl.EventGetDataInfo(newBuffer, nullptr, 16, 0, out...);
                          }).code);
}

TEST_F(StandardEventTest, OfANewBufferIsNotLostIntoTooLittleRoom) {
    ASSERT_NO_FATAL_FAILURE(QueueAll());
    RegisterNewBuffer();
    Start();
    Produce(1);
    ASSERT_TRUE(Eventually([&] { return NumAwaitDelivery() == 1; }));
    for (const size_t offered : {size_t{0}, size_t{1}, size_t{15}}) {
        std::string bytes(16, '#');
        size_t size = offered;
        EXPECT_REFUSES(-1016, gentl.EventGetData(newBuffer, bytes.data(), &size, 0));
        EXPECT_EQ(size, 16U);
        EXPECT_EQ(bytes, std::string(16, '#'));
    }
    EXPECT_EQ(Fetch(), buffers[0]);
}

TEST_F(StandardEventTest, OfANewBufferIsRemovedWithoutABuffer) {
    ASSERT_NO_FATAL_FAILURE(QueueAll());
    RegisterNewBuffer();
    Start();
    Produce(1);
    size_t size = 0;
    EXPECT_OK(gentl.EventGetData(newBuffer, nullptr, &size, LONG_WAIT));
    EXPECT_EQ(size, 16U);
    ExpectNothing();
}

TEST_F(StandardEventTest, NeedsASize) {
    RegisterNewBuffer();
    char bytes[16];
    EXPECT_REFUSES(-1009, gentl.EventGetData(newBuffer, bytes, nullptr, 0));
}

TEST_F(StandardEventTest, OfANewBufferIsFlushed) {
    ASSERT_NO_FATAL_FAILURE(QueueAll());
    RegisterNewBuffer();
    Start();
    Produce(1);
    ASSERT_TRUE(Eventually([&] { return NumAwaitDelivery() == 1; }));
    EXPECT_OK(gentl.EventFlush(newBuffer));
    ExpectNothing();
    EXPECT_OK(gentl.DSQueueBuffer(stream, buffers[0])) << "it is no longer in a queue";
}

} // namespace
