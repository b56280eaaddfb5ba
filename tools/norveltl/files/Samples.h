// The samples of an image as numbers, however its pixel format packs them.
#pragma once

#include "files/PixelFormats.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace norveltl {

struct SImageFormat {
    uint32_t width = 0;
    uint32_t height = 0;
    // The name of the pixel format, such as "Mono8"; empty when it is unknown.
    std::string pixelFormat;
    // Bytes behind each line that are not part of the image.
    size_t linePadding = 0;

    bool operator==(const SImageFormat&) const = default;
};

// 1 channel is grey, or one colour of three a pixel; 3 are red, green, blue.
struct SSamples {
    uint32_t width = 0;
    uint32_t height = 0;
    unsigned numChannels = 1;
    unsigned bits = 8; // that count of each value
    // What the first two pixels of the first line show, such as "RG"; empty if not one colour each.
    std::string_view bayer;
    std::vector<uint16_t> values; // line by line, pixel by pixel
};

// Colours of other kinds become red, green and blue. Nothing when the format is not known, or the
// image too small or too large for it. Throws CToolError when the bytes are fewer than it takes.
std::optional<SSamples> Unpack(std::span<const uint8_t> bytes, const SImageFormat& format);

// The same for grey of 8 bits, of which a sample is a byte; nothing for other formats. Much faster.
std::optional<std::vector<uint8_t>> UnpackShallowGrey(std::span<const uint8_t> bytes,
                                                      const SImageFormat& format);

// Three channels from one colour a pixel: each colour that is missing is the mean of the nearest
// pixels that have it.
SSamples Demosaic(const SSamples& samples);

} // namespace norveltl
