// What values features take: limits and increments, what depends on what, entries and selectors.
#include "CameraFeatureFixtures.h"

#include <cmath>
#include <limits>

namespace {

class CameraFeatureValueTest : public CameraFeatureTest {
protected:
    // At each limit, and beyond it; one off the increment, where it is not 1.
    void ExpectInteger(const std::string& name, int64_t least, int64_t most, int64_t step = 1) {
        SCOPED_TRACE(name);
        EXPECT_EQ(feature->IntLimit(name, "Min"), least);
        EXPECT_EQ(feature->IntLimit(name, "Max"), most);
        const auto increment = feature->Properties(name, "Inc");
        EXPECT_EQ(increment.empty() ? "1" : increment.front(), std::to_string(step));
        for (const int64_t value : {most, least, least + step}) {
            EXPECT_NO_THROW(feature->SetInt(name, value)) << value;
            EXPECT_EQ(feature->Int(name), value);
        }
        for (const int64_t value : {most + step, most + 1, int64_t{UINT32_MAX}, least - 1}) {
            EXPECT_OUTSIDE_LIMITS(feature->SetInt(name, value)) << value;
        }
        for (int64_t value = least + 1; value < least + step; ++value) {
            EXPECT_OUTSIDE_LIMITS(feature->SetInt(name, value)) << value;
        }
        EXPECT_EQ(feature->Int(name), least + step);
        feature->SetInt(name, least);
    }

    void ExpectFloat(const std::string& name, double least, double most) {
        SCOPED_TRACE(name);
        EXPECT_EQ(feature->FloatLimit(name, "Min"), least);
        EXPECT_EQ(feature->FloatLimit(name, "Max"), most);
        for (const double value : {least, (least + most) / 2, most}) {
            EXPECT_NO_THROW(feature->SetFloat(name, value)) << value;
            EXPECT_EQ(feature->Float(name), value);
        }
        const double infinity = std::numeric_limits<double>::infinity();
        for (const double value :
             {std::nextafter(least, -infinity), std::nextafter(most, infinity), -most, infinity,
              -infinity, std::numeric_limits<double>::quiet_NaN()}) {
            EXPECT_OUTSIDE_LIMITS(feature->SetFloat(name, value)) << value;
        }
        EXPECT_EQ(feature->Float(name), most);
    }

    void ExpectEntries(const std::string& name, const std::map<std::string, int64_t>& entries) {
        SCOPED_TRACE(name);
        EXPECT_EQ(feature->Entries(name), entries);
        int64_t largest = 0;
        for (const auto& [entry, value] : entries) {
            EXPECT_NO_THROW(feature->SetEntry(name, entry)) << entry;
            EXPECT_EQ(feature->Entry(name), entry);
            EXPECT_EQ(feature->Int(name), value);
            largest = std::max(largest, value);
        }
        const std::string last = feature->Entry(name);
        for (const int64_t value : {largest + 1, int64_t{UINT32_MAX}}) {
            EXPECT_OUTSIDE_LIMITS(feature->SetInt(name, value)) << value;
        }
        EXPECT_EQ(feature->Entry(name), last);
    }

    // Name, offset, size and limit of the image in one direction.
    void ExpectExtent(const char* extent, int64_t value, int64_t most) {
        EXPECT_EQ(feature->Int(extent), value) << extent;
        EXPECT_EQ(feature->IntLimit(extent, "Max"), most) << extent;
    }
};

TEST_F(CameraFeatureValueTest, ImageHasLimitsAndIncrements) {
    ExpectInteger("Width", 4, 64, 4);
    ExpectInteger("Height", 2, 48, 2);
    ExpectInteger("OffsetX", 0, 60, 4);
    ExpectInteger("OffsetY", 0, 46, 2);
    ExpectInteger("BinningHorizontal", 1, 4);
    ExpectInteger("BinningVertical", 1, 4);
}

TEST_F(CameraFeatureValueTest, OtherIntegersHaveLimits) {
    ExpectInteger("AcquisitionFrameCount", 1, 65535);
    EXPECT_EQ(feature->IntLimit("TLParamsLocked", "Min"), 0);
    EXPECT_EQ(feature->IntLimit("TLParamsLocked", "Max"), 1);
    EXPECT_OUTSIDE_LIMITS(feature->SetInt("TLParamsLocked", 2));
    EXPECT_EQ(feature->Int("TLParamsLocked"), 0);
}

TEST_F(CameraFeatureValueTest, FloatsHaveLimits) {
    ExpectFloat("AcquisitionFrameRate", 0.01, 10000);
    ExpectFloat("ExposureTime", 10, 1000000);
}

TEST_F(CameraFeatureValueTest, GainIsInTenthsOfADecibel) {
    EXPECT_EQ(feature->FloatLimit("Gain", "Min"), 0);
    EXPECT_EQ(feature->FloatLimit("Gain", "Max"), 24);
    for (const double value : {0.0, 0.1, 6.0, 24.0}) {
        feature->SetFloat("Gain", value);
        EXPECT_DOUBLE_EQ(feature->Float("Gain"), value);
    }
    EXPECT_EQ(feature->Int("GainReg"), 240);
    EXPECT_OUTSIDE_LIMITS(feature->SetFloat("Gain", 24.1));
    EXPECT_OUTSIDE_LIMITS(feature->SetFloat("Gain", -0.1));
    EXPECT_EQ(feature->Int("GainReg"), 240);
}

TEST_F(CameraFeatureValueTest, TemperatureIsInTenthsOfADegree) {
    EXPECT_EQ(feature->Int("DeviceTemperatureReg"), 425);
    EXPECT_EQ(feature->Float("DeviceTemperature"), 42.5);
    EXPECT_EQ(feature->FloatLimit("DeviceTemperature", "Min"), -40);
    EXPECT_EQ(feature->FloatLimit("DeviceTemperature", "Max"), 125);
}

TEST_F(CameraFeatureValueTest, EnumerationsTakeTheirEntries) {
    ExpectEntries("PixelFormat", {{"Mono8", 0x01080001},
                                  {"Mono16", 0x01100007},
                                  {"BayerRG8", 0x01080009},
                                  {"RGB8", 0x02180014}});
    ExpectEntries("TestPattern", {{"Black", 0},
                                  {"White", 1},
                                  {"GreyHorizontalRamp", 2},
                                  {"GreyVerticalRampMoving", 3},
                                  {"GreyDiagonalRampMoving", 4},
                                  {"ColorBar", 5}});
    ExpectEntries("AcquisitionMode", {{"Continuous", 0}, {"SingleFrame", 1}, {"MultiFrame", 2}});
    ExpectEntries("TriggerSelector", {{"AcquisitionStart", 0}, {"FrameStart", 1}});
    ExpectEntries("EventSelector", {{"FrameStart", 0}, {"ExposureEnd", 1}});
    ExpectEntries("UserSetSelector", {{"Default", 0}, {"UserSet1", 1}});
    for (const char* trigger : {"AcquisitionStart", "FrameStart"}) {
        SCOPED_TRACE(trigger);
        Select("TriggerSelector", trigger);
        ExpectEntries("TriggerMode", {{"Off", 0}, {"On", 1}});
        ExpectEntries("TriggerSource", {{"Software", 0}, {"Line0", 1}});
        ExpectEntries("TriggerActivation", {{"RisingEdge", 0}, {"FallingEdge", 1}, {"AnyEdge", 2}});
    }
    for (const char* event : {"FrameStart", "ExposureEnd"}) {
        SCOPED_TRACE(event);
        Select("EventSelector", event);
        ExpectEntries("EventNotification", {{"Off", 0}, {"On", 1}});
    }
}

TEST_F(CameraFeatureValueTest, BooleanIsOnOrOff) {
    for (const bool value : {false, true, false}) {
        feature->SetBool("AcquisitionFrameRateEnable", value);
        EXPECT_EQ(feature->Bool("AcquisitionFrameRateEnable"), value);
    }
    EXPECT_OUTSIDE_LIMITS(feature->SetInt("AcquisitionFrameRateEnable", 2));
    EXPECT_FALSE(feature->Bool("AcquisitionFrameRateEnable"));
}

TEST_F(CameraFeatureValueTest, SelectorsChooseAmongRegisters) {
    EXPECT_EQ(feature->Properties("TriggerSelector", "pSelected"),
              (std::vector<std::string>{"TriggerMode", "TriggerSource", "TriggerActivation",
                                        "TriggerSoftware"}));
    EXPECT_EQ(feature->Properties("EventSelector", "pSelected"),
              std::vector<std::string>{"EventNotification"});
    EXPECT_EQ(feature->Properties("UserSetSelector", "pSelected"),
              (std::vector<std::string>{"UserSetLoad", "UserSetSave"}));
    Select("TriggerSelector", "FrameStart");
    EXPECT_EQ(feature->Place("TriggerMode").address, 0x560U);
    EXPECT_EQ(feature->Place("TriggerSource").address, 0x564U);
    EXPECT_EQ(feature->Place("TriggerActivation").address, 0x568U);
    EXPECT_EQ(feature->Place("TriggerSoftware").address, 0x56CU);
    feature->SetEntry("TriggerMode", "On");
    feature->SetEntry("TriggerSource", "Line0");
    feature->SetEntry("TriggerActivation", "AnyEdge");
    Select("TriggerSelector", "AcquisitionStart");
    EXPECT_EQ(feature->Entry("TriggerMode"), "Off");
    EXPECT_EQ(feature->Entry("TriggerSource"), "Software");
    EXPECT_EQ(feature->Entry("TriggerActivation"), "RisingEdge");
    Select("TriggerSelector", "FrameStart");
    EXPECT_EQ(feature->Entry("TriggerMode"), "On");
    EXPECT_EQ(feature->Entry("TriggerSource"), "Line0");
    EXPECT_EQ(feature->Entry("TriggerActivation"), "AnyEdge");
    Select("EventSelector", "ExposureEnd");
    EXPECT_EQ(feature->Place("EventNotification").address, 0x58CU);
    feature->SetEntry("EventNotification", "On");
    Select("EventSelector", "FrameStart");
    EXPECT_EQ(feature->Entry("EventNotification"), "Off");
}

TEST_F(CameraFeatureValueTest, SizeAndOffsetShareTheSensor) {
    feature->SetInt("Width", 40);
    feature->SetInt("Height", 20);
    ExpectInteger("OffsetX", 0, 24, 4);
    ExpectInteger("OffsetY", 0, 28, 2);
    feature->SetInt("OffsetX", 24);
    feature->SetInt("OffsetY", 28);
    EXPECT_OUTSIDE_LIMITS(feature->SetInt("Width", 44));
    EXPECT_OUTSIDE_LIMITS(feature->SetInt("Height", 22));
    feature->SetInt("OffsetX", 8);
    feature->SetInt("OffsetY", 4);
    ExpectInteger("Width", 4, 56, 4);
    ExpectInteger("Height", 2, 44, 2);
    EXPECT_EQ(feature->Int("WidthMax"), 64);
    EXPECT_EQ(feature->Int("HeightMax"), 48);
}

TEST_F(CameraFeatureValueTest, BinningMakesTheImageFit) {
    feature->SetInt("BinningHorizontal", 3);
    EXPECT_EQ(feature->Int("WidthMax"), 21);
    ExpectExtent("Width", 20, 21);
    feature->SetInt("BinningVertical", 4);
    EXPECT_EQ(feature->Int("HeightMax"), 12);
    ExpectExtent("Height", 12, 12);
    EXPECT_EQ(feature->Int("SensorWidth"), 64);
    EXPECT_EQ(feature->Int("SensorHeight"), 48);
    feature->SetInt("BinningHorizontal", 1);
    feature->SetInt("BinningVertical", 1);
    ExpectExtent("Width", 20, 64);
    ExpectExtent("Height", 12, 48);
}

TEST_F(CameraFeatureValueTest, BinningMovesAnOffsetThatNoLongerFits) {
    feature->SetInt("Width", 24);
    feature->SetInt("OffsetX", 40);
    feature->SetInt("Height", 10);
    feature->SetInt("OffsetY", 38);
    feature->SetInt("BinningHorizontal", 2);
    feature->SetInt("BinningVertical", 2);
    EXPECT_EQ(feature->Int("Width"), 24);
    EXPECT_EQ(feature->Int("OffsetX"), 8);
    EXPECT_EQ(feature->Int("Height"), 10);
    EXPECT_EQ(feature->Int("OffsetY"), 14);
}

TEST_F(CameraFeatureValueTest, BinningKeepsTheOffsetsIncrement) {
    feature->SetInt("Width", 8);
    feature->SetInt("OffsetX", 40);
    feature->SetInt("BinningHorizontal", 3);
    EXPECT_EQ(feature->IntLimit("OffsetX", "Max"), 13);
    EXPECT_EQ(feature->Int("OffsetX"), 12);
}

TEST_F(CameraFeatureValueTest, PayloadFollowsSizeAndFormat) {
    const auto expectPayload = [&](int64_t bytes) {
        EXPECT_EQ(feature->Int("PayloadSize"), bytes);
        EXPECT_EQ(PayloadSize(), static_cast<size_t>(bytes));
    };
    expectPayload(3072);
    feature->SetEntry("PixelFormat", "Mono16");
    expectPayload(6144);
    feature->SetEntry("PixelFormat", "RGB8");
    expectPayload(9216);
    feature->SetEntry("PixelFormat", "BayerRG8");
    expectPayload(3072);
    feature->SetInt("Width", 60);
    feature->SetInt("Height", 46);
    expectPayload(2760);
    feature->SetInt("BinningHorizontal", 2);
    expectPayload(1472);
}

} // namespace
