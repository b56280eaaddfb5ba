// Triggers: which start frames or acquisitions, and which do nothing.
#include "CameraFeatureFixtures.h"

namespace {

class CameraFeatureTriggerTest : public CameraFeatureTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(CameraFeatureTest::SetUp());
        SetRate(0);
    }

    void TurnOn(const char* trigger, const char* source, const char* activation = "RisingEdge") {
        Select("TriggerSelector", trigger);
        feature->SetEntry("TriggerSource", source);
        feature->SetEntry("TriggerActivation", activation);
        feature->SetEntry("TriggerMode", "On");
    }

    void TurnOff(const char* trigger) {
        Select("TriggerSelector", trigger);
        feature->SetEntry("TriggerMode", "Off");
    }

    void Trigger(const char* trigger) {
        Select("TriggerSelector", trigger);
        feature->Execute("TriggerSoftware");
    }

    void Pulse(bool isRising) {
        ASSERT_EQ(OptivoSim_PulseLine(camera.c_str(), isRising ? 1 : 0), 1);
    }
};

TEST_F(CameraFeatureTriggerTest, SoftwareStartsAFrame) {
    TurnOn("FrameStart", "Software");
    StartWith(4);
    ExpectNoImage();
    for (uint64_t number = 0; number < 3; ++number) {
        Trigger("FrameStart");
        ExpectImages(number, 1);
    }
    for (int i = 0; i < 4; ++i) {
        Trigger("FrameStart");
    }
    ExpectImages(3, 4);
}

TEST_F(CameraFeatureTriggerTest, FramesAreFreeAgainWithoutTheTrigger) {
    TurnOn("FrameStart", "Software");
    StartWith(4);
    ExpectNoImage();
    TurnOff("FrameStart");
    EXPECT_EQ(NextStamp().number, 0U);
    TurnOn("FrameStart", "Software");
    Drain();
    ExpectNoImage();
}

TEST_F(CameraFeatureTriggerTest, ClockRestsWhileFramesAreTriggered) {
    SetRate(500);
    TurnOn("FrameStart", "Software");
    StartWith(4);
    ExpectNoImage();
    Trigger("FrameStart");
    ExpectImages(0, 1);
}

TEST_F(CameraFeatureTriggerTest, TriggerThatIsOffDoesNothing) {
    SetRate(-1);
    StartWith(4);
    for (const char* trigger : {"FrameStart", "AcquisitionStart"}) {
        Select("TriggerSelector", trigger);
        feature->SetEntry("TriggerSource", "Line0");
        Pulse(true);
        feature->SetEntry("TriggerSource", "Software");
        feature->Execute("TriggerSoftware");
    }
    ExpectNoImage();
}

TEST_F(CameraFeatureTriggerTest, OtherSourceDoesNothing) {
    TurnOn("FrameStart", "Line0", "AnyEdge");
    StartWith(4);
    Trigger("FrameStart");
    ExpectNoImage();
    feature->SetEntry("TriggerSource", "Software");
    Pulse(true);
    Pulse(false);
    ExpectNoImage();
    Trigger("AcquisitionStart");
    ExpectNoImage();
    Trigger("FrameStart");
    ExpectImages(0, 1);
}

TEST_F(CameraFeatureTriggerTest, ActivationChoosesTheEdge) {
    struct Row {
        const char* activation;
        uint64_t numRising;
        uint64_t numFalling;
    };
    for (const Row& row :
         {Row{"RisingEdge", 1, 0}, Row{"FallingEdge", 0, 1}, Row{"AnyEdge", 1, 1}}) {
        SCOPED_TRACE(row.activation);
        TurnOn("FrameStart", "Line0", row.activation);
        StartWith(4);
        Pulse(true);
        ExpectImages(0, row.numRising);
        Pulse(false);
        ExpectImages(row.numRising, row.numFalling);
        RenewStream();
    }
}

TEST_F(CameraFeatureTriggerTest, FramesAreTriggeredWithinAnAcquisition) {
    TurnOn("FrameStart", "Software");
    feature->SetEntry("AcquisitionMode", "MultiFrame");
    feature->SetInt("AcquisitionFrameCount", 2);
    StartWith(4);
    Trigger("FrameStart");
    ExpectNoImage();
    feature->Execute("AcquisitionStart");
    ExpectNoImage();
    for (int i = 0; i < 4; ++i) {
        Trigger("FrameStart");
    }
    ExpectImages(0, 2);
    feature->Execute("AcquisitionStart");
    Trigger("FrameStart");
    feature->Execute("AcquisitionStop");
    Trigger("FrameStart");
    ExpectImages(2, 1);
}

TEST_F(CameraFeatureTriggerTest, SoftwareStartsAnAcquisition) {
    TurnOn("AcquisitionStart", "Software");
    StartWith(4);
    ExpectNoImage();
    feature->Execute("AcquisitionStart");
    ExpectNoImage();
    Trigger("FrameStart");
    ExpectNoImage();
    Trigger("AcquisitionStart");
    for (uint64_t number = 0; number < 10; ++number) {
        EXPECT_GE(NextStamp().number, number);
    }
    feature->Execute("AcquisitionStop");
    Drain();
    ExpectNoImage();
}

TEST_F(CameraFeatureTriggerTest, LineStartsAnAcquisitionOfSomeImages) {
    TurnOn("AcquisitionStart", "Line0", "FallingEdge");
    feature->SetEntry("AcquisitionMode", "MultiFrame");
    feature->SetInt("AcquisitionFrameCount", 3);
    StartWith(4);
    Pulse(true);
    ExpectNoImage();
    Pulse(false);
    ExpectImages(0, 3);
    feature->SetEntry("AcquisitionMode", "SingleFrame");
    Pulse(false);
    ExpectImages(3, 1);
}

TEST_F(CameraFeatureTriggerTest, BothTriggersAreNeeded) {
    TurnOn("FrameStart", "Line0");
    TurnOn("AcquisitionStart", "Software");
    StartWith(4);
    Pulse(true);
    ExpectNoImage();
    Trigger("AcquisitionStart");
    ExpectNoImage();
    Pulse(true);
    ExpectImages(0, 1);
}

TEST_F(CameraFeatureTriggerTest, OneLineStartsAcquisitionAndFrame) {
    TurnOn("AcquisitionStart", "Line0");
    TurnOn("FrameStart", "Line0");
    feature->SetEntry("AcquisitionMode", "SingleFrame");
    StartWith(4);
    Pulse(true);
    ExpectImages(0, 1);
    Pulse(true);
    ExpectImages(1, 1);
}

TEST_F(CameraFeatureTriggerTest, UnknownCameraHasNoLine) {
    EXPECT_EQ(OptivoSim_PulseLine("nobody", 1), 0);
}

} // namespace
