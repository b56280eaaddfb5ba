#include "view/Region.h"

#include <algorithm>
#include <span>

namespace norveltl {

namespace {

SRegion Cut(SRegion region, const SPicture& picture) {
    if (region.x >= picture.width || region.y >= picture.height || region.width == 0 ||
        region.height == 0) {
        return {0, 0, picture.width, picture.height};
    }
    region.width = std::min(region.width, picture.width - region.x);
    region.height = std::min(region.height, picture.height - region.y);
    return region;
}

// The sum of so many squared samples of 16 bits fits into 32.
constexpr uint32_t kMaxScale = 256;

uint32_t Ratio(uint32_t size, uint32_t limit) {
    return (size - 1) / limit + 1;
}

class CDeep {
public:
    static constexpr size_t kBytes = 2;
    static uint32_t Get(const uint8_t* bytes) { return uint32_t{bytes[0]} << 8 | bytes[1]; }
    static void Put(uint8_t* bytes, uint32_t value) {
        bytes[0] = static_cast<uint8_t>(value >> 8);
        bytes[1] = static_cast<uint8_t>(value);
    }
};

class CShallow {
public:
    static constexpr size_t kBytes = 1;
    static uint32_t Get(const uint8_t* bytes) { return *bytes; }
    static void Put(uint8_t* bytes, uint32_t value) { *bytes = static_cast<uint8_t>(value); }
};

// Sums the lines of a row of squares first, so that the picture is read in its order.
template <class Sample>
void Average(const SPicture& picture, SShown& shown) {
    const size_t channels = picture.numChannels, scale = std::max(shown.scale, 1U);
    const size_t lineSize = picture.width * channels * Sample::kBytes;
    const size_t numSums = shown.width * scale * channels;
    const auto area = static_cast<uint32_t>(scale * scale);
    std::vector<uint32_t> sums;
    uint8_t* out = shown.pixels.data();
    for (size_t y = 0; y < shown.height; ++y) {
        sums.assign(numSums, 0);
        for (size_t line = 0; line < scale; ++line) {
            const uint8_t* in = picture.pixels.data() +
                                (shown.region.y + y * scale + line) * lineSize +
                                shown.region.x * channels * Sample::kBytes;
            for (size_t i = 0; i < numSums; ++i, in += Sample::kBytes) {
                sums[i] += Sample::Get(in);
            }
        }
        for (size_t x = 0; x < shown.width; ++x) {
            for (size_t channel = 0; channel < channels; ++channel, out += Sample::kBytes) {
                uint32_t sum = area / 2; // so that the mean is rounded
                for (size_t i = 0; i < scale; ++i) {
                    sum += sums[(x * scale + i) * channels + channel];
                }
                Sample::Put(out, sum / area);
            }
        }
    }
}

void Copy(const SPicture& picture, size_t pixelSize, SShown& shown) {
    const std::span<const uint8_t> pixels(picture.pixels);
    shown.pixels.reserve(shown.width * pixelSize * shown.height);
    for (size_t y = 0; y < shown.height; ++y) {
        const size_t begin = (shown.region.y + y) * picture.width + shown.region.x;
        const auto line = pixels.subspan(begin * pixelSize, shown.width * pixelSize);
        shown.pixels.insert(shown.pixels.end(), line.begin(), line.end());
    }
}

} // namespace

SShown Show(const SPicture& picture, SRegion region, uint32_t maxWidth, uint32_t maxHeight) {
    SShown shown;
    shown.region = Cut(region, picture);
    if (shown.region.width == 0 || shown.region.height == 0) {
        return shown;
    }
    shown.scale =
        std::max(Ratio(shown.region.width, maxWidth), Ratio(shown.region.height, maxHeight));
    shown.scale = std::min({shown.scale, shown.region.width, shown.region.height, kMaxScale});
    shown.width = shown.region.width / shown.scale;
    shown.height = shown.region.height / shown.scale;
    const bool isDeep = picture.bitsPerChannel > 8;
    const size_t pixelSize = size_t{picture.numChannels} * (isDeep ? 2 : 1);
    if (shown.scale == 1) {
        Copy(picture, pixelSize, shown);
        return shown;
    }
    shown.pixels.resize(size_t{shown.width} * shown.height * pixelSize);
    if (isDeep) {
        Average<CDeep>(picture, shown);
    } else {
        Average<CShallow>(picture, shown);
    }
    return shown;
}

} // namespace norveltl
