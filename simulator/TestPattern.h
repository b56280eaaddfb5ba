// The pictures of a camera: one tall picture, rendered once, from which every image is cut at an
// offset that moves from image to image. Knows nothing of time or of who asks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace OptivoSim {

// The values are those of the pixel format naming convention.
enum class EPixelFormat : std::uint32_t {
    Mono8 = 0x01080001,
    Mono16 = 0x01100007,
    BayerRG8 = 0x01080009,
    RGB8 = 0x02180014
};

// The values of the feature TestPattern.
enum class ETestPattern : std::uint32_t {
    Black = 0,
    White = 1,
    GreyHorizontalRamp = 2,
    GreyVerticalRampMoving = 3,
    GreyDiagonalRampMoving = 4,
    ColorBar = 5
};

struct ImageFormat {
    EPixelFormat pixelFormat = EPixelFormat::Mono8;
    std::uint32_t width = 0;
    std::uint32_t height = 0;

    std::size_t RowSize() const {
        return std::size_t{width} * (pixelFormat == EPixelFormat::RGB8 ? 3 : 1);
    }
    std::size_t PayloadSize() const { return RowSize() * height; }
};

// Mono8 shows a diagonal ramp: pixel (x, y) of image n is (x + y + 2n) mod 256. The coloured
// formats show diagonal bars 32 pixels wide, each with a ramp of its own. All move by two rows an
// image.
class CTestPattern {
public:
    explicit CTestPattern(const ImageFormat& format);

    std::size_t PayloadSize() const { return m_payloadSize; }
    // The PayloadSize() bytes of an image, valid as long as the pattern.
    const std::uint8_t* Image(std::uint64_t number) const;

private:
    std::size_t m_rowSize;
    std::size_t m_payloadSize;
    std::vector<std::uint8_t> m_bytes;
};

} // namespace OptivoSim
