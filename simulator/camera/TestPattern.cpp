#include "camera/TestPattern.h"

#include "OptivoImage.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace OptivoSim {

namespace {

constexpr std::uint32_t kBarWidth = 32;
constexpr std::uint32_t kNumValues = 256;

enum EChannel : std::uint32_t { kRed = 0, kGreen = 1, kBlue = 2, kNumChannels = 3 };

// White, yellow, cyan, green, magenta, red, blue and black, as one bit a channel.
constexpr std::array<std::uint8_t, kNumValues / kBarWidth> kBars = {7, 3, 6, 2, 5, 1, 4, 0};

std::uint32_t BarValue(std::uint32_t diagonal, std::uint32_t channel) {
    const std::uint32_t ramp = diagonal % kBarWidth;
    const bool isLit = (kBars[diagonal % kNumValues / kBarWidth] >> channel & 1U) != 0;
    return isLit ? 128 + 4 * ramp : 2 * ramp;
}

std::uint32_t BayerRGChannel(std::uint32_t x, std::uint32_t y) {
    if (x % 2 != y % 2) {
        return kGreen;
    }
    return y % 2 == 0 ? kRed : kBlue;
}

// The values of a picture's pixels, from 0 to 255 before the brightness.
class CPainter {
public:
    explicit CPainter(const SPicture& picture) : m_picture(picture) {
        for (std::uint32_t value = 0; value < kNumValues; ++value) {
            const double shade = std::round(value * 257.0 * picture.brightness);
            m_shades[value] = static_cast<std::uint16_t>(std::min(shade, 65535.0));
        }
    }

    void PaintRow(std::uint32_t row, std::uint8_t* bytes) const {
        const std::uint32_t y = (row + m_picture.offsetY) * m_picture.binningY;
        for (std::uint32_t column = 0; column < m_picture.format.width; ++column) {
            const std::uint32_t x = (column + m_picture.offsetX) * m_picture.binningX;
            switch (m_picture.format.pixelFormat) {
            case EPixelFormat::Mono8:
                *bytes++ = Byte(Grey(x, y));
                break;
            case EPixelFormat::Mono16: {
                const std::uint16_t shade = m_shades[Grey(x, y)];
                *bytes++ = static_cast<std::uint8_t>(shade);
                *bytes++ = static_cast<std::uint8_t>(shade >> 8U);
                break;
            }
            case EPixelFormat::BayerRG8:
                *bytes++ = Byte(Colour(x, y, BayerRGChannel(column, row)));
                break;
            case EPixelFormat::RGB8:
                for (std::uint32_t channel = kRed; channel < kNumChannels; ++channel) {
                    *bytes++ = Byte(Colour(x, y, channel));
                }
                break;
            }
        }
    }

private:
    std::uint8_t Byte(std::uint32_t value) const {
        return static_cast<std::uint8_t>(m_shades[value] >> 8U);
    }

    std::uint32_t Grey(std::uint32_t x, std::uint32_t y) const {
        if (m_picture.pattern != ETestPattern::ColorBar) {
            return Colour(x, y, kGreen);
        }
        return (BarValue(x + y, kRed) + BarValue(x + y, kGreen) + BarValue(x + y, kBlue)) / 3;
    }

    std::uint32_t Colour(std::uint32_t x, std::uint32_t y, std::uint32_t channel) const {
        switch (m_picture.pattern) {
        case ETestPattern::Black:
            return 0;
        case ETestPattern::White:
            return kNumValues - 1;
        case ETestPattern::GreyHorizontalRamp:
            return x % kNumValues;
        case ETestPattern::GreyVerticalRampMoving:
            return y % kNumValues;
        case ETestPattern::GreyDiagonalRampMoving:
            return (x + y) % kNumValues;
        case ETestPattern::ColorBar:
            break;
        }
        return BarValue(x + y, channel);
    }

    const SPicture& m_picture;
    std::array<std::uint16_t, kNumValues> m_shades{};
};

} // namespace

CTestPattern::CTestPattern(const SPicture& picture)
    : m_rowSize(picture.format.RowSize()),
      m_payloadSize(picture.format.PayloadSize()),
      m_bytes(m_payloadSize + m_rowSize * kPeriod) {
    const CPainter painter(picture);
    std::uint8_t* row = m_bytes.data();
    for (std::uint32_t y = 0; y < picture.format.height + kPeriod; ++y, row += m_rowSize) {
        painter.PaintRow(y, row);
    }
}

std::uint64_t CTestPattern::PixelHash(std::uint64_t phase) const {
    std::uint64_t hash = m_hashes[phase].load(std::memory_order_relaxed);
    if (hash == 0) {
        hash = OptivoImage_PixelHash(m_bytes.data() + phase * kRowsPerImage * m_rowSize,
                                     m_payloadSize);
        m_hashes[phase].store(hash, std::memory_order_relaxed);
    }
    return hash;
}

void CTestPattern::CopyImage(std::uint64_t number, std::uint64_t nanoseconds,
                             void* destination) const {
    const std::uint64_t phase = number % kNumPhases;
    std::memcpy(destination, m_bytes.data() + phase * kRowsPerImage * m_rowSize, m_payloadSize);
    if (m_payloadSize < OPTIVO_STAMP_SIZE) {
        return;
    }
    OptivoImageStamp stamp{OPTIVO_STAMP_MAGIC, static_cast<std::uint32_t>(m_payloadSize), number,
                           nanoseconds, 0};
    stamp.checksum = OptivoImage_Checksum(&stamp, PixelHash(phase));
    std::memcpy(destination, &stamp, sizeof stamp);
}

} // namespace OptivoSim
