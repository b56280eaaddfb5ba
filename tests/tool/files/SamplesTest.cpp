// Samples from the bytes of a camera: every packing, from bytes that were put together by hand.
#include "files/Samples.h"
#include "files/Image.h"
#include "terminal/Error.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace norveltl {

namespace {

using Bytes = std::vector<uint8_t>;
using Values = std::vector<uint16_t>;

Values ValuesOf(const char* format, uint32_t width, uint32_t height, const Bytes& bytes,
                size_t padding = 0) {
    const auto samples = Unpack(bytes, {width, height, format, padding});
    return samples ? samples->values : Values();
}

// Exactly so many bytes are enough.
void ExpectSize(const char* format, uint32_t width, uint32_t height, size_t size,
                size_t padding = 0) {
    SCOPED_TRACE(format);
    const SImageFormat image{width, height, format, padding};
    EXPECT_TRUE(Unpack(Bytes(size), image));
    EXPECT_THROW(Unpack(Bytes(size - 1), image), CToolError);
    EXPECT_THROW(Unpack({}, image), CToolError);
}

} // namespace

TEST(Samples, NumbersAndNamesOfFormatsAgree) {
    std::set<std::string_view> names;
    for (const SPixelFormat& format : PixelFormats()) {
        SCOPED_TRACE(format.name);
        EXPECT_TRUE(names.insert(format.name).second);
        // The convention's numbers tell the bits of a pixel, and whether it has one colour.
        const size_t perGroup = format.SamplesPerLine(format.PixelsPerGroup());
        EXPECT_EQ(format.value >> 16 & 0xFF,
                  perGroup * format.StorageBits() / format.PixelsPerGroup());
        const bool isGrey = format.colours == EColours::Mono || format.colours == EColours::Bayer;
        EXPECT_EQ(format.value >> 24, isGrey ? 1U : 2U);
        EXPECT_EQ(FindPixelFormat(format.name), &format);
        EXPECT_EQ(FindPixelFormat(uint64_t{format.value})->bits, format.bits);
    }
    EXPECT_EQ(names.size(), 93U);
    EXPECT_EQ(FindPixelFormat("Mono9"), nullptr);
    EXPECT_EQ(FindPixelFormat(uint64_t{0x101080001}), nullptr);
}

TEST(Samples, UnpackedNumbersStandLowByteFirst) {
    EXPECT_EQ(ValuesOf("Mono8", 3, 2, {1, 2, 3, 4, 5, 255}), (Values{1, 2, 3, 4, 5, 255}));
    EXPECT_EQ(ValuesOf("Mono16", 2, 1, {0x34, 0x12, 0xFF, 0xFF}), (Values{0x1234, 0xFFFF}));
    EXPECT_EQ(ValuesOf("Mono12", 2, 1, {0xBC, 0x0A, 0xFF, 0xFF}), (Values{0xABC, 0xFFF}));
    EXPECT_EQ(ValuesOf("Mono10", 1, 1, {0xFF, 0x03}), (Values{0x3FF}));
}

TEST(Samples, PackedBitsFollowEachOther) {
    // 0x155 << 30 | 0x200 << 20 | 0x3FF << 10 | 0x001
    EXPECT_EQ(ValuesOf("Mono10p", 4, 1, {0x01, 0xFC, 0x0F, 0x60, 0x55}),
              (Values{0x001, 0x3FF, 0x200, 0x155}));
    EXPECT_EQ(ValuesOf("Mono12p", 2, 1, {0xBC, 0x3A, 0x12}), (Values{0xABC, 0x123}));
    // 0x2001 << 14 | 0x1FFF, of which four bits remain.
    EXPECT_EQ(ValuesOf("Mono14p", 2, 1, {0xFF, 0x5F, 0x00, 0x08}), (Values{0x1FFF, 0x2001}));
}

TEST(Samples, TripletsHoldTwoSamples) {
    EXPECT_EQ(ValuesOf("Mono10Packed", 2, 1, {0xA9, 0x21, 0x56}), (Values{0x2A5, 0x15A}));
    EXPECT_EQ(ValuesOf("Mono12Packed", 2, 1, {0xAB, 0x3C, 0x12}), (Values{0xABC, 0x123}));
    // Bits that no sample has.
    EXPECT_EQ(ValuesOf("Mono10Packed", 2, 1, {0xA9, 0xED, 0x56}), (Values{0x2A5, 0x15A}));
}

TEST(Samples, LinesFollowEachOtherWithinAByte) {
    EXPECT_EQ(ValuesOf("Mono12p", 1, 2, {0xBC, 0x3A, 0x12}), (Values{0xABC, 0x123}));
    EXPECT_EQ(ValuesOf("Mono12Packed", 1, 3, {0xAB, 0x3C, 0x12, 0x45, 0x06}),
              (Values{0xABC, 0x123, 0x456}));
}

TEST(Samples, PaddedLinesBeginWithAByte) {
    EXPECT_EQ(ValuesOf("Mono12p", 1, 2, {0xBC, 0xFA, 99, 98, 0x23, 0x01}, 2),
              (Values{0xABC, 0x123}));
    EXPECT_EQ(ValuesOf("Mono8", 2, 2, {1, 2, 99, 3, 4}, 1), (Values{1, 2, 3, 4}));
    EXPECT_EQ(ValuesOf("Mono10Packed", 1, 2, {0xA9, 0x01, 99, 0x56, 0x02}, 1),
              (Values{0x2A5, 0x15A}));
}

TEST(Samples, GreyOfEightBitsIsTheSameAsAPicture) {
    const Bytes bytes{1, 2, 3, 77, 4, 5, 255, 78, 6, 7, 8};
    EXPECT_EQ(Convert(bytes, {3, 3, "Mono8", 1})->pixels, (Bytes{1, 2, 3, 4, 5, 255, 6, 7, 8}));
    EXPECT_EQ(Convert(bytes, {3, 2, "Mono8", 0})->pixels, (Bytes{1, 2, 3, 77, 4, 5}));
    EXPECT_THROW(Convert(bytes, {3, 4, "Mono8", 0}), CToolError);
    EXPECT_THROW(Convert(bytes, {3, 3, "Mono8", 2}), CToolError);
    EXPECT_FALSE(Convert({}, {0, 3, "Mono8", 0}));
    // One channel alone does not make it grey.
    EXPECT_EQ(Convert(bytes, {2, 2, "BayerRG8", 0})->numChannels, 3U);
}

TEST(Samples, ColoursComeAsRedGreenBlue) {
    EXPECT_EQ(ValuesOf("RGB8", 2, 1, {1, 2, 3, 4, 5, 6}), (Values{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(ValuesOf("BGR8", 2, 1, {1, 2, 3, 4, 5, 6}), (Values{3, 2, 1, 6, 5, 4}));
    EXPECT_EQ(ValuesOf("RGBa8", 1, 2, {1, 2, 3, 9, 4, 5, 6, 9}), (Values{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(ValuesOf("BGRa8", 1, 1, {1, 2, 3, 9}), (Values{3, 2, 1}));
    EXPECT_EQ(ValuesOf("BGR12", 1, 1, {1, 2, 3, 4, 5, 6}), (Values{0x605, 0x403, 0x201}));
    // 0x300 << 20 | 0x202 << 10 | 0x101, and two bits that are no sample's.
    EXPECT_EQ(ValuesOf("RGB10p", 1, 1, {0x01, 0x09, 0x08, 0xF0}), (Values{0x101, 0x202, 0x300}));
}

TEST(Samples, SubsampledColoursAreSharedByTheirPixels) {
    const Values grey{16, 16, 16, 200, 200, 200};
    EXPECT_EQ(ValuesOf("YUV422_8_UYVY", 2, 1, {128, 16, 128, 200}), grey);
    EXPECT_EQ(ValuesOf("YUV422_8", 2, 1, {16, 128, 200, 128}), grey);
    EXPECT_EQ(ValuesOf("YUV8_UYV", 2, 1, {128, 16, 128, 128, 200, 128}), grey);
    EXPECT_EQ(ValuesOf("YCbCr8", 2, 1, {16, 128, 128, 200, 128, 128}), grey);
    // Red, then something dark of the same colour.
    const Values red{254, 0, 0, 178, 0, 0};
    EXPECT_EQ(ValuesOf("YUV422_8_UYVY", 2, 1, {85, 76, 255, 0}), red);
    EXPECT_EQ(ValuesOf("YCbCr422_8_CbYCrY", 2, 1, {85, 76, 255, 0}), red);
    EXPECT_EQ(ValuesOf("YCbCr422_8", 2, 1, {76, 85, 0, 255}), red);
    const Values four{254, 0, 0, 178, 0, 0, 254, 0, 0, 178, 0, 0};
    EXPECT_EQ(ValuesOf("YUV411_8_UYYVYY", 4, 1, {85, 76, 0, 255, 76, 0}), four);
    EXPECT_EQ(ValuesOf("YCbCr411_8", 4, 1, {76, 0, 85, 76, 0, 255}), four);
    // A last group of which only one pixel is the image's.
    EXPECT_EQ(ValuesOf("YUV422_8_UYVY", 1, 1, {85, 76, 255, 99}), (Values{254, 0, 0}));
}

TEST(Samples, BroadcastColoursHaveRangesOfTheirOwn) {
    EXPECT_EQ(ValuesOf("YCbCr601_8_CbYCr", 3, 1, {128, 16, 128, 128, 235, 128, 90, 81, 240}),
              (Values{0, 0, 0, 255, 255, 255, 254, 0, 0}));
    EXPECT_EQ(ValuesOf("YCbCr709_8_CbYCr", 3, 1, {128, 16, 128, 128, 235, 128, 102, 63, 240}),
              (Values{0, 0, 0, 255, 255, 255, 255, 1, 0}));
}

TEST(Samples, EveryByteIsNeeded) {
    ExpectSize("Mono8", 5, 3, 15);
    ExpectSize("Mono8", 5, 3, 15 + 2 * 4, 4); // not behind the last line
    ExpectSize("Mono16", 5, 3, 30);
    ExpectSize("Mono10p", 5, 3, 19);
    ExpectSize("Mono12p", 5, 3, 23);
    ExpectSize("Mono10Packed", 5, 3, 23);
    ExpectSize("Mono12Packed", 5, 3, 8 * 3 + 2 * 4, 4);
    ExpectSize("BayerRG12p", 4, 2, 12);
    ExpectSize("RGB8", 5, 3, 45);
    ExpectSize("BGR16", 5, 3, 90);
    ExpectSize("YUV422_8", 5, 3, 36);
    ExpectSize("YUV411_8_UYYVYY", 5, 3, 36);
    ExpectSize("Mono16", 1, 1, 2);
}

TEST(Samples, WhatIsNotKnownIsNotGuessed) {
    EXPECT_FALSE(Unpack(Bytes(100), {4, 4, "Coord3D_ABC32f", 0}));
    EXPECT_FALSE(Unpack(Bytes(100), {4, 4, "", 0}));
    EXPECT_FALSE(Unpack(Bytes(100), {0, 4, "Mono8", 0}));
    EXPECT_FALSE(Unpack(Bytes(100), {1, 4, "BayerRG8", 0}));
    EXPECT_FALSE(Unpack(Bytes(100), {0xFFFFFFFF, 0xFFFFFFFF, "RGB16", 0}));
}

TEST(Samples, TheFourColourPatterns) {
    // One colour is bright; it is where its name says, and fills the picture.
    struct SCase {
        const char* format;
        Values red;
    };
    for (const SCase& one :
         {SCase{"BayerRG8", {200, 0, 0, 0}}, SCase{"BayerGR8", {0, 200, 0, 0}},
          SCase{"BayerGB8", {0, 0, 200, 0}}, SCase{"BayerBG8", {0, 0, 0, 200}}}) {
        SCOPED_TRACE(one.format);
        const Bytes bytes(one.red.begin(), one.red.end());
        const SSamples picture = Demosaic(*Unpack(bytes, {2, 2, one.format, 0}));
        EXPECT_EQ(picture.values, (Values{200, 0, 0, 200, 0, 0, 200, 0, 0, 200, 0, 0}));
    }
}

TEST(Samples, WhiteStaysAtTheTopOfAPicture) {
    const auto picture = Convert(Bytes{0xBC, 0x3A, 0x12}, {2, 1, "Mono12p", 0});
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->bitsPerChannel, 16U);
    EXPECT_EQ(picture->pixels, (Bytes{0xAB, 0xC0, 0x12, 0x30}));
    const auto bayer = Convert(Bytes(6, 0xFF), {2, 2, "BayerGB12p", 0});
    ASSERT_TRUE(bayer);
    EXPECT_EQ(bayer->numChannels, 3U);
    EXPECT_EQ(bayer->pixels.size(), 24U);
    EXPECT_EQ(bayer->pixels[0], 0xFF);
    EXPECT_EQ(bayer->pixels[1], 0xF0);
}

} // namespace norveltl
