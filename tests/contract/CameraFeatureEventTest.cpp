// The events that a camera reports of its frames, and the registers that keep the last of each.
#include "CameraFeatureFixtures.h"
#include "DeviceFixtures.h"

namespace {

constexpr uint32_t FRAME_START = 0x9001;
constexpr uint32_t EXPOSURE_END = 0x9002;

class CameraFeatureEventTest : public CameraFeatureTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(CameraFeatureTest::SetUp());
        ASSERT_OK(gentl.GCRegisterEvent(remote, 4, &m_event));
    }

    void Notify(const char* event, const char* mode = "On") {
        Select("EventSelector", event);
        feature->SetEntry("EventNotification", mode);
    }

    void ExpectEvent(uint32_t id, uint64_t number) {
        EXPECT_EQ(DeviceEvent::Read(m_event, LONG_WAIT), DeviceEvent::Of(id, number));
    }
    void ExpectNoEvent() { EXPECT_EQ(DeviceEvent::Read(m_event, 30), DeviceEvent::Nothing()); }

    EVENT_HANDLE m_event = nullptr;
};

TEST_F(CameraFeatureEventTest, NumbersOfTheEventsAreInTheXml) {
    EXPECT_EQ(feature->Int("EventFrameStart"), int64_t{FRAME_START});
    EXPECT_EQ(feature->Int("EventExposureEnd"), int64_t{EXPOSURE_END});
}

TEST_F(CameraFeatureEventTest, NothingIsReportedUnasked) {
    StartWith(2);
    Produce(2);
    NextStamp();
    NextStamp();
    ExpectNoEvent();
    EXPECT_EQ(feature->Int("EventFrameStartTimestamp"), 0);
    EXPECT_EQ(feature->Int("EventExposureEndTimestamp"), 0);
}

TEST_F(CameraFeatureEventTest, FrameStartHasTheFramesNumber) {
    Notify("FrameStart");
    StartWith(2);
    Produce(3);
    Produce(2);
    for (uint64_t number = 0; number < 5; ++number) {
        ExpectEvent(FRAME_START, number);
    }
    ExpectNoEvent();
}

TEST_F(CameraFeatureEventTest, ExposureEndHasTheFramesNumber) {
    Notify("ExposureEnd");
    StartWith(2);
    Produce(4);
    for (uint64_t number = 0; number < 4; ++number) {
        ExpectEvent(EXPOSURE_END, number);
    }
    ExpectNoEvent();
}

TEST_F(CameraFeatureEventTest, RegistersKeepTheLastOfEach) {
    Notify("FrameStart");
    Notify("ExposureEnd");
    feature->SetFloat("ExposureTime", 2500);
    StartWith(2);
    for (int64_t number = 0; number < 5; ++number) {
        Produce(1);
        ExpectEvent(FRAME_START, static_cast<uint64_t>(number));
        ExpectEvent(EXPOSURE_END, static_cast<uint64_t>(number));
        const auto made = static_cast<int64_t>(NextStamp().nanoseconds);
        EXPECT_EQ(feature->Int("EventFrameStartFrameID"), number);
        EXPECT_EQ(feature->Int("EventFrameStartTimestamp"), made);
        EXPECT_EQ(feature->Int("EventExposureEndFrameID"), number);
        EXPECT_EQ(feature->Int("EventExposureEndTimestamp"), made + 2500000);
    }
}

TEST_F(CameraFeatureEventTest, RegistersAreWrittenBeforeTheEventArrives) {
    Notify("FrameStart");
    StartWith(2);
    for (int64_t number = 0; number < 200; ++number) {
        Produce(1);
        ExpectEvent(FRAME_START, static_cast<uint64_t>(number));
        EXPECT_EQ(feature->Int("EventFrameStartFrameID"), number);
    }
}

TEST_F(CameraFeatureEventTest, NotificationCanEndWhileImagesCome) {
    Notify("FrameStart");
    StartWith(2);
    Produce(1);
    ExpectEvent(FRAME_START, 0);
    Notify("FrameStart", "Off");
    Produce(1);
    ExpectNoEvent();
    EXPECT_EQ(feature->Int("EventFrameStartFrameID"), 0);
    Notify("FrameStart");
    Produce(1);
    ExpectEvent(FRAME_START, 2);
}

TEST_F(CameraFeatureEventTest, TriggeredFramesAreReported) {
    Notify("FrameStart");
    Select("TriggerSelector", "FrameStart");
    feature->SetEntry("TriggerMode", "On");
    StartWith(2);
    ExpectNoEvent();
    feature->Execute("TriggerSoftware");
    ExpectEvent(FRAME_START, 0);
    feature->Execute("TriggerSoftware");
    ExpectEvent(FRAME_START, 1);
    ExpectNoEvent();
}

TEST_F(CameraFeatureEventTest, ClockedFramesAreReportedAtTheirTimes) {
    Notify("FrameStart");
    SetRate(100);
    StartWith(2);
    ExpectEvent(FRAME_START, 0);
    ExpectEvent(FRAME_START, 1);
    ExpectEvent(FRAME_START, 2);
    feature->Execute("AcquisitionStop");
}

// As many as come before anybody looks.
TEST_F(CameraFeatureEventTest, BurstArrivesWhole) {
    constexpr uint32_t COUNT = 100000;
    ASSERT_EQ(OptivoSim_FireEvents(camera.c_str(), 0x9A00, 0x1122334455667788, COUNT), 1);
    const DeviceEvent expected = DeviceEvent::Of(0x9A00, 0x1122334455667788);
    uint32_t numRead = 0;
    while (numRead < COUNT && DeviceEvent::Read(m_event, LONG_WAIT) == expected) {
        ++numRead;
    }
    EXPECT_EQ(numRead, COUNT);
    ExpectNoEvent();
}

TEST_F(CameraFeatureEventTest, BurstOfFramesArrivesInOrder) {
    constexpr uint64_t COUNT = 100000;
    Notify("FrameStart");
    StartWith(2);
    Produce(COUNT);
    uint64_t number = 0;
    while (number < COUNT &&
           DeviceEvent::Read(m_event, LONG_WAIT) == DeviceEvent::Of(FRAME_START, number)) {
        ++number;
    }
    EXPECT_EQ(number, COUNT);
}

} // namespace
