#include "TestPattern.h"

#include <array>

namespace OptivoSim {

namespace {

constexpr std::uint32_t kPeriod = 256;     // rows after which the pattern repeats
constexpr std::uint32_t kRowsPerImage = 2; // even, so that a Bayer mosaic keeps its phase
constexpr std::uint32_t kBarWidth = 32;

enum EChannel : std::uint32_t { kRed = 0, kGreen = 1, kBlue = 2 };

// White, yellow, cyan, green, magenta, red, blue and black, as one bit a channel.
constexpr std::array<std::uint8_t, kPeriod / kBarWidth> kBars = {7, 3, 6, 2, 5, 1, 4, 0};

std::uint8_t BarValue(std::uint32_t diagonal, std::uint32_t channel) {
    const std::uint32_t ramp = diagonal % kBarWidth;
    const bool isLit = (kBars[diagonal % kPeriod / kBarWidth] >> channel & 1U) != 0;
    return static_cast<std::uint8_t>(isLit ? 128 + 4 * ramp : 2 * ramp);
}

std::uint32_t BayerRGChannel(std::uint32_t x, std::uint32_t y) {
    if (x % 2 != y % 2) {
        return kGreen;
    }
    return y % 2 == 0 ? kRed : kBlue;
}

void RenderRow(EPixelFormat format, std::uint32_t width, std::uint32_t y, std::uint8_t* row) {
    for (std::uint32_t x = 0; x < width; ++x) {
        const std::uint32_t diagonal = x + y;
        switch (format) {
        case EPixelFormat::Mono8:
            *row++ = static_cast<std::uint8_t>(diagonal);
            break;
        case EPixelFormat::Mono16:
            break;
        case EPixelFormat::BayerRG8:
            *row++ = BarValue(diagonal, BayerRGChannel(x, y));
            break;
        case EPixelFormat::RGB8:
            *row++ = BarValue(diagonal, kRed);
            *row++ = BarValue(diagonal, kGreen);
            *row++ = BarValue(diagonal, kBlue);
            break;
        }
    }
}

} // namespace

CTestPattern::CTestPattern(const ImageFormat& format)
    : m_rowSize(format.RowSize()),
      m_payloadSize(format.PayloadSize()),
      m_bytes(m_payloadSize + m_rowSize * kPeriod) {
    std::uint8_t* row = m_bytes.data();
    for (std::uint32_t y = 0; y < format.height + kPeriod; ++y, row += m_rowSize) {
        RenderRow(format.pixelFormat, format.width, y, row);
    }
}

const std::uint8_t* CTestPattern::Image(std::uint64_t number) const {
    return m_bytes.data() + number % (kPeriod / kRowsPerImage) * kRowsPerImage * m_rowSize;
}

} // namespace OptivoSim
