// What starts and halts a camera: acquisition modes and commands, the frame rate.
#include "CameraFeatureFixtures.h"

namespace {

class CameraFeatureAcquisitionTest : public CameraFeatureTest {
protected:
    // The camera makes images as fast as they are taken; the stream runs with room for 4.
    void StartInMode(const char* mode) {
        SetRate(0);
        feature->SetEntry("AcquisitionMode", mode);
        StartWith(4);
    }
};

TEST_F(CameraFeatureAcquisitionTest, ContinuousStartsWithTheStream) {
    StartInMode("Continuous");
    for (uint64_t number = 0; number < 20; ++number) {
        EXPECT_GE(NextStamp().number, number);
    }
}

TEST_F(CameraFeatureAcquisitionTest, StopHaltsUntilTheNextStart) {
    StartInMode("Continuous");
    const uint64_t first = NextStamp().number;
    for (int i = 0; i < 3; ++i) {
        feature->Execute("AcquisitionStop");
        Drain();
        ExpectNoImage();
        EXPECT_TRUE(IsGrabbing());
        feature->Execute("AcquisitionStop");
        feature->Execute("AcquisitionStart");
        EXPECT_GT(NextStamp().number, first);
    }
}

TEST_F(CameraFeatureAcquisitionTest, StartOfARunningCameraChangesNothing) {
    SetRate(50);
    StartWith(4);
    OptivoImageStamp last = NextStamp();
    for (int i = 0; i < 3; ++i) {
        feature->Execute("AcquisitionStart");
        const OptivoImageStamp next = NextStamp();
        EXPECT_NEAR(static_cast<double>(next.nanoseconds - last.nanoseconds),
                    20e6 * static_cast<double>(next.number - last.number), 10);
        last = next;
    }
}

TEST_F(CameraFeatureAcquisitionTest, SingleFrameIsOneImageAStart) {
    StartInMode("SingleFrame");
    ExpectNoImage();
    for (uint64_t number = 0; number < 3; ++number) {
        feature->Execute("AcquisitionStart");
        ExpectImages(number, 1);
    }
    EXPECT_TRUE(IsGrabbing());
}

TEST_F(CameraFeatureAcquisitionTest, MultiFrameIsSoManyImagesAStart) {
    feature->SetInt("AcquisitionFrameCount", 3);
    StartInMode("MultiFrame");
    ExpectNoImage();
    feature->Execute("AcquisitionStart");
    ExpectImages(0, 3);
    feature->SetInt("AcquisitionFrameCount", 4);
    ExpectNoImage();
    feature->Execute("AcquisitionStart");
    ExpectImages(3, 4);
}

TEST_F(CameraFeatureAcquisitionTest, ClockMakesNoMoreThanAStartAllows) {
    SetRate(500);
    feature->SetEntry("AcquisitionMode", "MultiFrame");
    feature->SetInt("AcquisitionFrameCount", 3);
    StartWith(4);
    ExpectNoImage();
    feature->Execute("AcquisitionStart");
    ExpectImages(0, 3);
}

TEST_F(CameraFeatureAcquisitionTest, StopEndsAMultiFrame) {
    SetRate(0.01);
    feature->SetEntry("AcquisitionMode", "MultiFrame");
    feature->SetInt("AcquisitionFrameCount", 3);
    StartWith(4);
    feature->Execute("AcquisitionStart");
    feature->Execute("AcquisitionStop");
    feature->SetBool("AcquisitionFrameRateEnable", false);
    ExpectNoImage();
    feature->Execute("AcquisitionStart");
    ExpectImages(0, 3);
}

TEST_F(CameraFeatureAcquisitionTest, ModeCountsFromTheNextStart) {
    StartInMode("Continuous");
    feature->SetEntry("AcquisitionMode", "SingleFrame");
    const uint64_t number = NextStamp().number;
    for (uint64_t i = 1; i < 10; ++i) {
        EXPECT_GE(NextStamp().number, number + i);
    }
    feature->Execute("AcquisitionStop");
    Drain();
    feature->Execute("AcquisitionStart");
    NextStamp();
    ExpectNoImage();
}

TEST_F(CameraFeatureAcquisitionTest, ContinuousStartTakesOverFromAMultiFrame) {
    SetRate(0.01);
    feature->SetEntry("AcquisitionMode", "MultiFrame");
    feature->SetInt("AcquisitionFrameCount", 3);
    StartWith(4);
    feature->Execute("AcquisitionStart");
    feature->SetEntry("AcquisitionMode", "Continuous");
    feature->Execute("AcquisitionStart");
    feature->SetBool("AcquisitionFrameRateEnable", false);
    for (uint64_t number = 0; number < 10; ++number) {
        EXPECT_GE(NextStamp().number, number);
    }
}

TEST_F(CameraFeatureAcquisitionTest, StreamStartsAnewInEachMode) {
    StartInMode("SingleFrame");
    feature->Execute("AcquisitionStart");
    ExpectImages(0, 1);
    Stop();
    feature->SetEntry("AcquisitionMode", "Continuous");
    Start();
    EXPECT_EQ(NextStamp().number, 0U);
    Stop();
    Requeue();
    feature->SetEntry("AcquisitionMode", "SingleFrame");
    Start();
    ExpectNoImage();
}

TEST_F(CameraFeatureAcquisitionTest, FrameRateIsThatOfTheStamps) {
    SetRate(1);
    for (const double rate : {50.0, 200.0}) {
        SCOPED_TRACE(rate);
        feature->SetFloat("AcquisitionFrameRate", rate);
        StartWith(4);
        const OptivoImageStamp first = NextStamp();
        for (int i = 0; i < 5; ++i) {
            const OptivoImageStamp next = NextStamp();
            EXPECT_GT(next.number, first.number);
            EXPECT_NEAR(static_cast<double>(next.nanoseconds - first.nanoseconds),
                        1e9 / rate * static_cast<double>(next.number - first.number), 10);
        }
        RenewStream();
    }
}

TEST_F(CameraFeatureAcquisitionTest, FrameRateChangesWhileImagesCome) {
    SetRate(0.01);
    StartWith(4);
    ExpectNoImage();
    feature->SetFloat("AcquisitionFrameRate", 100);
    EXPECT_EQ(NextStamp().number, 0U);
    feature->SetFloat("AcquisitionFrameRate", 0.01);
    Drain();
    ExpectNoImage();
}

TEST_F(CameraFeatureAcquisitionTest, WithoutTheRateImagesComeAtOnce) {
    SetRate(0.01);
    StartWith(4);
    ExpectNoImage();
    feature->SetBool("AcquisitionFrameRateEnable", false);
    for (uint64_t number = 0; number < 10; ++number) {
        EXPECT_GE(NextStamp().number, number);
    }
    feature->SetBool("AcquisitionFrameRateEnable", true);
    Drain();
    ExpectNoImage();
}

} // namespace
