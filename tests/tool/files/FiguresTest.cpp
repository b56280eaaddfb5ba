// What images tell, from samples few enough to reckon by hand.
#include "files/Figures.h"

#include <gtest/gtest.h>

namespace norveltl {

TEST(Figures, OfGrey) {
    const SSamples image{2, 2, 1, 8, "", {0, 255, 255, 10}};
    const SSamples other{2, 2, 1, 8, "", {2, 253, 255, 12}};
    const SFigures figures = Measure(image, &other);
    ASSERT_EQ(figures.channels.size(), 1U);
    const SChannelFigures& grey = figures.channels.front();
    EXPECT_EQ(grey.name, "grey");
    EXPECT_EQ(grey.numSamples, 4U);
    EXPECT_DOUBLE_EQ(grey.mean, 130);
    EXPECT_NEAR(grey.deviation, 125.0500, 1e-4);
    EXPECT_EQ(grey.least, 0);
    EXPECT_EQ(grey.most, 255);
    EXPECT_DOUBLE_EQ(grey.black, 0.25);
    EXPECT_DOUBLE_EQ(grey.saturated, 0.5);
    // The differences are -2, 2, 0 and -2.
    ASSERT_TRUE(grey.noise);
    EXPECT_NEAR(*grey.noise, 1.1726, 1e-4);
    EXPECT_EQ(grey.histogram[0], 1U);
    EXPECT_EQ(grey.histogram[10], 1U);
    EXPECT_EQ(grey.histogram[255], 2U);
}

TEST(Figures, OneImageTellsNoNoise) {
    const SSamples image{2, 1, 1, 8, "", {3, 5}};
    const SFigures figures = Measure(image, nullptr);
    EXPECT_FALSE(figures.channels.front().noise);
    EXPECT_EQ(figures.channels.front().least, 3);
}

TEST(Figures, ADifferenceOfBrightnessIsNoNoise) {
    const SSamples image{2, 1, 1, 8, "", {3, 5}};
    const SSamples brighter{2, 1, 1, 8, "", {13, 15}};
    EXPECT_DOUBLE_EQ(*Measure(image, &brighter).channels.front().noise, 0);
}

TEST(Figures, MoreBitsShareTheBins) {
    const SSamples image{2, 1, 1, 12, "", {0xABC, 0xFFF}};
    const SFigures figures = Measure(image, nullptr);
    EXPECT_EQ(figures.channels.front().histogram[0xAB], 1U);
    EXPECT_EQ(figures.channels.front().histogram[0xFF], 1U);
    EXPECT_DOUBLE_EQ(figures.channels.front().saturated, 0.5);
}

TEST(Figures, EachColourOfAPattern) {
    struct SCase {
        const char* bayer;
        double red, green, blue;
    };
    for (const SCase& one : {SCase{"RG", 10, 25, 44}, SCase{"GR", 20, 27, 30},
                             SCase{"GB", 30, 27, 20}, SCase{"BG", 44, 25, 10}}) {
        SCOPED_TRACE(one.bayer);
        const SFigures figures = Measure({2, 2, 1, 8, one.bayer, {10, 20, 30, 44}}, nullptr);
        ASSERT_EQ(figures.channels.size(), 3U);
        EXPECT_EQ(figures.channels[0].name, "red");
        EXPECT_DOUBLE_EQ(figures.channels[0].mean, one.red);
        EXPECT_EQ(figures.channels[1].numSamples, 2U);
        EXPECT_DOUBLE_EQ(figures.channels[1].mean, one.green);
        EXPECT_DOUBLE_EQ(figures.channels[2].mean, one.blue);
    }
}

TEST(Figures, EachColourOfAPixel) {
    const SFigures figures = Measure({2, 1, 3, 8, "", {1, 2, 3, 5, 6, 7}}, nullptr);
    ASSERT_EQ(figures.channels.size(), 3U);
    EXPECT_DOUBLE_EQ(figures.channels[0].mean, 3);
    EXPECT_DOUBLE_EQ(figures.channels[1].mean, 4);
    EXPECT_DOUBLE_EQ(figures.channels[2].mean, 5);
}

TEST(Figures, EdgesTellTheFocus) {
    // The only gradient is 4 * 9, and the mean 3.
    const SSamples edge{3, 3, 1, 8, "", {0, 0, 9, 0, 0, 9, 0, 0, 9}};
    EXPECT_DOUBLE_EQ(Measure(edge, nullptr).focus, 36.0 * 36 / 9);
    SSamples brighter = edge;
    for (uint16_t& value : brighter.values) {
        value = static_cast<uint16_t>(value * 20);
    }
    EXPECT_DOUBLE_EQ(Measure(brighter, nullptr).focus, Measure(edge, nullptr).focus);
    const SSamples lying{3, 3, 1, 8, "", {0, 0, 0, 0, 0, 0, 9, 9, 9}};
    EXPECT_DOUBLE_EQ(Measure(lying, nullptr).focus, 36.0 * 36 / 9);
    const SSamples soft{3, 3, 1, 8, "", {0, 3, 6, 0, 3, 6, 0, 3, 6}};
    EXPECT_DOUBLE_EQ(Measure(soft, nullptr).focus, 24.0 * 24 / 9);
    const SSamples flat{3, 3, 1, 8, "", std::vector<uint16_t>(9, 7)};
    EXPECT_DOUBLE_EQ(Measure(flat, nullptr).focus, 0);
    const SSamples dark{3, 3, 1, 8, "", std::vector<uint16_t>(9, 0)};
    EXPECT_DOUBLE_EQ(Measure(dark, nullptr).focus, 0);
    const SSamples tiny{1, 1, 1, 8, "", {7}};
    EXPECT_DOUBLE_EQ(Measure(tiny, nullptr).focus, 0);
}

TEST(Figures, AHistogramIsInPercent) {
    const SPlot grey = HistogramOf(Measure({4, 1, 1, 8, "", {0, 0, 0, 255}}, nullptr), "title");
    ASSERT_EQ(grey.series.size(), 1U);
    EXPECT_TRUE(grey.isFilled);
    EXPECT_DOUBLE_EQ(grey.series[0].values[0], 75);
    EXPECT_DOUBLE_EQ(grey.series[0].values[255], 25);
    EXPECT_DOUBLE_EQ(grey.last, 255);
    const SPlot coloured = HistogramOf(Measure({1, 1, 3, 12, "", {0, 16, 4095}}, nullptr), "");
    ASSERT_EQ(coloured.series.size(), 3U);
    EXPECT_DOUBLE_EQ(coloured.series[1].values[1], 100);
    EXPECT_DOUBLE_EQ(coloured.last, 4080);
}

} // namespace norveltl
