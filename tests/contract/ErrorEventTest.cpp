#include "DeviceFixtures.h"

namespace {

// Error events are registered on a device or on a data stream. Nothing reports one: what a consumer
// sees is an empty queue.
class ErrorEventTest : public StreamTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(StreamTest::SetUp());
        ASSERT_OK(gentl.GCRegisterEvent(device, 0, &m_deviceError));
        ASSERT_OK(gentl.GCRegisterEvent(stream, 0, &m_streamError));
        ASSERT_NE(m_deviceError, nullptr);
        ASSERT_NE(m_streamError, nullptr);
    }

    std::vector<EVENT_HANDLE> Both() const { return {m_deviceError, m_streamError}; }

    Info NumInQueue(EVENT_HANDLE event) {
        return Ask([&](auto... out) { return gentl.EventGetInfo(event, 1, out...); });
    }

    EVENT_HANDLE m_deviceError = nullptr;
    EVENT_HANDLE m_streamError = nullptr;
};

TEST_F(ErrorEventTest, IsOneForEachSource) {
    EXPECT_NE(m_deviceError, m_streamError);
    EXPECT_NE(m_deviceError, device);
    EXPECT_NE(m_streamError, stream);
    RegisterNewBuffer();
    EXPECT_NE(newBuffer, m_streamError);
    DS_HANDLE other = nullptr;
    EVENT_HANDLE otherError = nullptr;
    ASSERT_OK(gentl.DevOpenDataStream(device, "DS1", &other));
    ASSERT_OK(gentl.GCRegisterEvent(other, 0, &otherError));
    EXPECT_NE(otherError, m_streamError);
}

TEST_F(ErrorEventTest, IsTheSameAtEachRegistration) {
    for (const EVENTSRC_HANDLE source : {device, stream}) {
        EVENT_HANDLE again = nullptr;
        EXPECT_OK(gentl.GCRegisterEvent(source, 0, &again));
        EXPECT_EQ(again, source == device ? m_deviceError : m_streamError);
        EXPECT_OK(gentl.GCUnregisterEvent(source, 0));
        EXPECT_OK(gentl.GCUnregisterEvent(source, 0));
        again = nullptr;
        EXPECT_OK(gentl.GCRegisterEvent(source, 0, &again));
        EXPECT_EQ(again, source == device ? m_deviceError : m_streamError);
    }
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_DEVICE_REGISTER_EVENT_CALLBACK), 0U);
}

TEST_F(ErrorEventTest, OtherTypesAreRefusedByName) {
    for (const EVENT_TYPE type : {1, 2, 3, 4, 5, 1000, -1}) {
        const std::string text = "Event ID " + std::to_string(type) + " not implemented";
        for (const EVENTSRC_HANDLE source : {device, stream}) {
            if (source == stream && type == 1) {
                continue; // the new-buffer event
            }
            EVENT_HANDLE none = this;
            EXPECT_FAILS(-1001, text, gentl.GCRegisterEvent(source, type, &none));
            EXPECT_FAILS(-1001, text, gentl.GCRegisterEvent(source, type, nullptr));
            EXPECT_FAILS(-1001, text, gentl.GCUnregisterEvent(source, type));
            EXPECT_EQ(none, this);
        }
    }
}

TEST_F(ErrorEventTest, RegisteringNeedsARoomForTheHandle) {
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.GCRegisterEvent(device, 0, nullptr));
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.GCRegisterEvent(stream, 0, nullptr));
}

TEST_F(ErrorEventTest, TellsTheLengthOfItsQueue) {
    for (const EVENT_HANDLE event : Both()) {
        ExpectCopyOut([&](auto... out) { return gentl.EventGetInfo(event, 1, out...); },
                      NumberInfo<int32_t>(5, 0));
    }
}

TEST_F(ErrorEventTest, OtherInfoIsSilent) {
    for (const EVENT_HANDLE event : Both()) {
        for (const EVENT_INFO_CMD command : {0, 2, 3, 4, 5, 1000, -1}) {
            SCOPED_TRACE(command);
            INFO_DATATYPE type = 99;
            char buffer[16] = "before";
            size_t size = sizeof buffer;
            EXPECT_OK(gentl.EventGetInfo(event, command, &type, buffer, &size));
            EXPECT_OK(gentl.EventGetInfo(event, command, nullptr, nullptr, nullptr));
            EXPECT_EQ(type, 99);
            EXPECT_EQ(size, sizeof buffer);
            EXPECT_STREQ(buffer, "before");
        }
    }
}

TEST_F(ErrorEventTest, DataInfoAlwaysFails) {
    const char data[] = "\x17\xFC\xFF\xFFThe text of an error";
    for (const EVENT_HANDLE event : Both()) {
        for (const EVENT_DATA_INFO_CMD command : {0, 1, 2, 1000, -1}) {
            SCOPED_TRACE(command);
            INFO_DATATYPE type = 99;
            char buffer[64] = "before";
            size_t size = sizeof buffer;
            EXPECT_FAILS(
                -1001, UNSPECIFIED,
                gentl.EventGetDataInfo(event, data, sizeof data, command, &type, buffer, &size));
            EXPECT_FAILS(
                -1001, UNSPECIFIED,
                gentl.EventGetDataInfo(event, nullptr, 0, command, nullptr, nullptr, nullptr));
            EXPECT_EQ(type, 99);
            EXPECT_EQ(size, sizeof buffer);
            EXPECT_STREQ(buffer, "before");
        }
    }
}

TEST_F(ErrorEventTest, TimeOutSucceedsAndWritesNothing) {
    for (const EVENT_HANDLE event : Both()) {
        const ErrorRecord before = LastError();
        EXPECT_EQ(DeviceEvent::Read(event, 0), DeviceEvent::Nothing());
        EXPECT_EQ(DeviceEvent::Read(event, 2), DeviceEvent::Nothing());
        EXPECT_OK(gentl.EventGetData(event, nullptr, nullptr, 0));
        EXPECT_EQ(LastError(), before);
    }
}

TEST_F(ErrorEventTest, FlushAndKillDoNoHarm) {
    for (const EVENT_HANDLE event : Both()) {
        const Waiter waiter(event, 80);
        EXPECT_OK(gentl.EventFlush(event));
        EXPECT_OK(gentl.EventKill(event));
        EXPECT_EQ(waiter.Result(), DeviceEvent::Nothing());
    }
}

TEST_F(ErrorEventTest, FailuresOfTheCameraAreNotReported) {
    ASSERT_NO_FATAL_FAILURE(StartWith(1));
    AddLastingFault(OPTIVO_STREAM_GRAB_IMAGE, OPTIVO_FAULT_RESULT, -1010, 1);
    Produce(1);
    ASSERT_TRUE(Eventually([this] { return !IsGrabbing(); }));
    AddLastingFault(OPTIVO_DEVICE_READ_PORT, OPTIVO_FAULT_RESULT, -1010, 1);
    uint32_t value = 0;
    size_t size = sizeof value;
    EXPECT_FAILS(-1010, "Read register 0x400 is failed.",
                 gentl.GCReadPort(remote, 0x400, &value, &size));
    for (const EVENT_HANDLE event : Both()) {
        EXPECT_EQ(NumInQueue(event), (NumberInfo<int32_t>(5, 0)));
        EXPECT_EQ(DeviceEvent::Read(event, 0), DeviceEvent::Nothing());
    }
}

TEST_F(ErrorEventTest, DeviceEventsDoNotComeHere) {
    EVENT_HANDLE remoteEvent = nullptr;
    ASSERT_OK(gentl.GCRegisterEvent(remote, 4, &remoteEvent));
    ASSERT_EQ(OptivoSim_FireEvent(camera.c_str(), 1, 1), 1);
    for (const EVENT_HANDLE event : Both()) {
        EXPECT_EQ(NumInQueue(event), (NumberInfo<int32_t>(5, 0)));
    }
}

TEST_F(ErrorEventTest, ClosingTheSourceEndsTheWait) {
    const Waiter onDevice(m_deviceError, GENTL_INFINITE);
    const Waiter onStream(m_streamError, LONG_WAIT);
    CloseStream();
    EXPECT_EQ(onStream.Result().code, -1012);
    EXPECT_FALSE(onDevice.IsDone());
    CloseDevice();
    EXPECT_EQ(onDevice.Result().code, -1012);
    EXPECT_EQ(onDevice.Error(), (ErrorRecord{-1012, "Wait terminated"}));
}

} // namespace
