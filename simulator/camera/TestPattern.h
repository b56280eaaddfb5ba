// The pictures of a camera: one tall picture, rendered once, from which every image is cut at an
// offset that moves from image to image. Knows nothing of time or of who asks.
#pragma once

#include <array>
#include <atomic>
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

struct SImageFormat {
    EPixelFormat pixelFormat = EPixelFormat::Mono8;
    std::uint32_t width = 0;
    std::uint32_t height = 0;

    std::size_t RowSize() const {
        switch (pixelFormat) {
        case EPixelFormat::RGB8:
            return std::size_t{width} * 3;
        case EPixelFormat::Mono16:
            return std::size_t{width} * 2;
        default:
            return width;
        }
    }
    std::size_t PayloadSize() const { return RowSize() * height; }
    bool operator==(const SImageFormat&) const = default;
};

// Everything that an image's pixels depend on.
struct SPicture {
    SImageFormat format;
    std::uint32_t offsetX = 0; // of the image in the binned sensor
    std::uint32_t offsetY = 0;
    std::uint32_t binningX = 1;
    std::uint32_t binningY = 1;
    ETestPattern pattern = ETestPattern::GreyDiagonalRampMoving;
    double brightness = 1; // what pixels are multiplied by; they end at white

    bool operator==(const SPicture&) const = default;
};

// At pixel (x, y) of the sensor, image n shows, of 256 values each (m is 2n times the vertical
// binning):
//   GreyHorizontalRamp       x
//   GreyVerticalRampMoving   y + m
//   GreyDiagonalRampMoving   x + y + m
//   ColorBar                 diagonal bars 32 pixels wide, each with a ramp of its own, which move
//                            like the diagonal ramp: white, yellow, cyan, green, magenta, red, blue
//                            and black; where a channel is lit it rises from 128 by 4 a pixel,
//                            elsewhere from 0 by 2. Grey is the mean of the channels.
// A value v becomes 257 v times the brightness, of which formats of 8 bits keep the upper half.
// The first 32 bytes of an image are left to its stamp.
class CTestPattern {
public:
    explicit CTestPattern(const SPicture& picture);

    std::size_t PayloadSize() const { return m_payloadSize; }
    // Writes an image of PayloadSize() bytes, stamped with its number and time if it has room.
    void CopyImage(std::uint64_t number, std::uint64_t nanoseconds, void* destination) const;

private:
    static constexpr std::uint32_t kPeriod = 256;     // rows after which the pattern repeats
    static constexpr std::uint32_t kRowsPerImage = 2; // even: a Bayer mosaic keeps its phase
    static constexpr std::uint32_t kNumPhases = kPeriod / kRowsPerImage;

    std::uint64_t PixelHash(std::uint64_t phase) const;

    std::size_t m_rowSize;
    std::size_t m_payloadSize;
    std::vector<std::uint8_t> m_bytes;
    // Made when a phase is shown first; 0 until then.
    mutable std::array<std::atomic<std::uint64_t>, kNumPhases> m_hashes{};
};

} // namespace OptivoSim
