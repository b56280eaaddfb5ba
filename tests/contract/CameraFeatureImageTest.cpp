// What features do to the pixels of an image, byte for byte.
#include "CameraFeatureFixtures.h"

#include <cmath>

namespace {

// The settings that an image shows, as the tests state them.
struct Look {
    std::string format = "Mono8";
    std::string pattern = "GreyDiagonalRampMoving";
    uint32_t width = 320;
    uint32_t height = 20;
    uint32_t offsetX = 0;
    uint32_t offsetY = 0;
    uint32_t binningX = 1;
    uint32_t binningY = 1;
    double brightness = 1;
};

using Pixels = std::vector<unsigned char>;
constexpr uint32_t GREEN = 1;
constexpr uint32_t GREY = 3;

uint32_t BarValue(uint32_t place, uint32_t channel) {
    // White, yellow, cyan, green, magenta, red, blue, black.
    static constexpr const char* CHANNELS[] = {"RGB", "RG", "GB", "G", "RB", "R", "B", ""};
    if (channel == GREY) {
        return (BarValue(place, 0) + BarValue(place, 1) + BarValue(place, 2)) / 3;
    }
    const std::string lit = CHANNELS[place / 32 % 8];
    const bool isLit = lit.find("RGB"[channel]) != std::string::npos;
    return isLit ? 128 + place % 32 * 4 : place % 32 * 2;
}

uint32_t PatternValue(const std::string& pattern, uint32_t x, uint32_t y, uint32_t channel) {
    if (pattern == "Black" || pattern == "White") {
        return pattern == "White" ? 255 : 0;
    }
    if (pattern == "GreyHorizontalRamp") {
        return x % 256;
    }
    if (pattern == "GreyVerticalRampMoving") {
        return y % 256;
    }
    return pattern == "ColorBar" ? BarValue(x + y, channel) : (x + y) % 256;
}

// Red and green in even lines, green and blue in odd ones.
uint32_t MosaicChannel(uint32_t column, uint32_t row) {
    return row % 2 == 0 ? column % 2 : GREEN + column % 2;
}

// The whole image of that number, its first bytes included.
Pixels Expected(const Look& look, uint32_t number) {
    Pixels pixels;
    for (uint32_t row = 0; row < look.height; ++row) {
        const uint32_t y = (row + look.offsetY + 2 * number) * look.binningY;
        for (uint32_t column = 0; column < look.width; ++column) {
            const uint32_t x = (column + look.offsetX) * look.binningX;
            const auto add = [&](uint32_t channel, bool isWide) {
                const double value = 257.0 * PatternValue(look.pattern, x, y, channel);
                const auto shade =
                    static_cast<uint32_t>(std::lround(std::min(value * look.brightness, 65535.0)));
                if (isWide) {
                    pixels.push_back(static_cast<unsigned char>(shade % 256));
                }
                pixels.push_back(static_cast<unsigned char>(shade / 256));
            };
            if (look.format == "RGB8") {
                add(0, false);
                add(1, false);
                add(2, false);
            } else {
                add(look.format == "BayerRG8" ? MosaicChannel(column, row) : GREY,
                    look.format == "Mono16");
            }
        }
    }
    return pixels;
}

class CameraFeatureImageTest : public CameraFeatureTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(CameraFeatureTest::SetUp());
        ASSERT_EQ(OptivoSim_SetImageSize(camera.c_str(), 320, 20), 1);
    }

    // Sets what decides the pixels, except the brightness.
    void Apply(const Look& look) {
        feature->SetEntry("PixelFormat", look.format);
        feature->SetEntry("TestPattern", look.pattern);
        feature->SetInt("BinningHorizontal", look.binningX);
        feature->SetInt("BinningVertical", look.binningY);
        feature->SetInt("Width", look.width);
        feature->SetInt("Height", look.height);
        feature->SetInt("OffsetX", look.offsetX);
        feature->SetInt("OffsetY", look.offsetY);
    }

    void ExpectNext(const Look& look, uint32_t number) {
        SCOPED_TRACE(look.format + ", " + look.pattern + ", image " + std::to_string(number));
        const NewBuffer image = WaitBuffer();
        ASSERT_OK(image.code);
        const unsigned char* const memory = Memory(image.handle);
        const Pixels expected = Expected(look, number);
        OptivoImageStamp stamp;
        ASSERT_EQ(OptivoImage_Read(memory, expected.size(), &stamp), 1);
        EXPECT_EQ(stamp.number, number);
        const auto [found, wanted] =
            std::mismatch(memory + 32, memory + expected.size(), expected.begin() + 32);
        EXPECT_TRUE(wanted == expected.end())
            << "byte " << found - memory << " is " << int{*found} << " instead of " << int{*wanted};
        EXPECT_OK(gentl.DSQueueBuffer(stream, image.handle));
    }

    // Images 0 and 1 of a stream that starts anew.
    void ExpectImagesOf(const Look& look) {
        StartWith(2);
        Produce(2);
        ExpectNext(look, 0);
        ExpectNext(look, 1);
        RenewStream();
    }
};

TEST_F(CameraFeatureImageTest, EveryPatternInEveryFormat) {
    Look look;
    for (const auto& [format, ignoredFormat] : feature->Entries("PixelFormat")) {
        for (const auto& [pattern, ignoredPattern] : feature->Entries("TestPattern")) {
            look.format = format;
            look.pattern = pattern;
            Apply(look);
            ExpectImagesOf(look);
        }
    }
}

TEST_F(CameraFeatureImageTest, MovementRepeatsAfter128Images) {
    const Look look;
    StartWith(2);
    for (uint32_t number = 0; number < 130; ++number) {
        Produce(1);
        ExpectNext(look, number);
    }
}

TEST_F(CameraFeatureImageTest, SizeAndOffsetCutTheSensor) {
    for (const char* format : {"Mono8", "Mono16", "BayerRG8", "RGB8"}) {
        const Look look{.format = format,
                        .pattern = "ColorBar",
                        .width = 100,
                        .height = 6,
                        .offsetX = 36,
                        .offsetY = 10};
        Apply(look);
        ExpectImagesOf(look);
    }
}

TEST_F(CameraFeatureImageTest, BinningTakesEverySoManyth) {
    for (const char* format : {"Mono8", "BayerRG8", "RGB8"}) {
        for (const char* pattern : {"GreyVerticalRampMoving", "ColorBar"}) {
            const Look look{.format = format,
                            .pattern = pattern,
                            .width = 92,
                            .height = 8,
                            .offsetX = 8,
                            .offsetY = 2,
                            .binningX = 3,
                            .binningY = 2};
            Apply(look);
            ExpectImagesOf(look);
        }
    }
}

TEST_F(CameraFeatureImageTest, ExposureAndGainBrighten) {
    struct Row {
        double exposure;
        double gain;
        double brightness;
    };
    const Row rows[] = {{10000, 0, 1},
                        {5000, 0, 0.5},
                        {20000, 0, 2},
                        {10, 0, 0.001},
                        {1000000, 0, 100},
                        {10000, 20, 10},
                        {10000, 6, 1.99526231496888},
                        {2500, 12, 0.995267926383743}};
    for (const char* format : {"Mono8", "Mono16"}) {
        for (const Row& row : rows) {
            SCOPED_TRACE(row.brightness);
            const Look look{.format = format, .brightness = row.brightness};
            Apply(look);
            feature->SetFloat("ExposureTime", row.exposure);
            feature->SetFloat("Gain", row.gain);
            ExpectImagesOf(look);
        }
    }
}

TEST_F(CameraFeatureImageTest, ChangesShowInTheNextImage) {
    Look look;
    StartWith(2);
    Produce(1);
    ExpectNext(look, 0);
    look.pattern = "GreyHorizontalRamp";
    feature->SetEntry("TestPattern", look.pattern);
    Produce(1);
    ExpectNext(look, 1);
    look.brightness = 0.25;
    feature->SetFloat("ExposureTime", 2500);
    Produce(1);
    ExpectNext(look, 2);
    look.brightness = 2.5;
    feature->SetFloat("Gain", 20);
    Produce(1);
    ExpectNext(look, 3);
}

} // namespace
