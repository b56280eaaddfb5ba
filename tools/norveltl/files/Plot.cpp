#include "files/Plot.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <string_view>

namespace norveltl {

namespace {

constexpr uint32_t kWidth = 960, kHeight = 400;
constexpr uint32_t kLeft = 70, kRight = 940, kTop = 20, kBottom = 380;
constexpr uint32_t kScale = 2; // of the digits
constexpr size_t kMaxLines = 8;

using Colour = std::array<uint8_t, 3>;
constexpr Colour kPaper{255, 255, 255}, kGrid{216, 216, 216}, kInk{40, 40, 40}, kCurve{24, 96, 180};

// Three columns and five rows, from the top left bit on.
constexpr std::array<uint16_t, 11> kDigits = {0x7B6F, 0x2C97, 0x73E7, 0x73CF, 0x5BC9, 0x79CF,
                                              0x79EF, 0x7249, 0x7BEF, 0x7BCF, 0x0002};

class CCanvas {
public:
    CCanvas() : m_picture{kWidth, kHeight, 3, std::vector<uint8_t>(size_t{kWidth} * kHeight * 3)} {
        Fill(0, 0, kWidth, kHeight, kPaper);
    }

    void Fill(uint32_t x, uint32_t y, uint32_t width, uint32_t height, Colour colour) {
        for (uint32_t row = y; row < std::min(y + height, kHeight); ++row) {
            for (uint32_t column = x; column < std::min(x + width, kWidth); ++column) {
                std::copy(colour.begin(), colour.end(),
                          m_picture.pixels.data() + (size_t{row} * kWidth + column) * 3);
            }
        }
    }

    // Ends at x; digits and points only.
    void Text(uint32_t x, uint32_t y, std::string_view text) {
        const auto advance = 4 * kScale;
        uint32_t left = x - advance * static_cast<uint32_t>(text.size());
        for (const char c : text) {
            const uint16_t bits = kDigits[c == '.' ? 10 : static_cast<size_t>(c - '0')];
            for (uint32_t i = 0; i < 15; ++i) {
                if ((bits >> (14 - i) & 1) != 0) {
                    Fill(left + i % 3 * kScale, y + i / 3 * kScale, kScale, kScale, kInk);
                }
            }
            left += advance;
        }
    }

    SPicture Take() { return std::move(m_picture); }

private:
    SPicture m_picture;
};

// The distance of the labelled lines: 1, 2 or 5 times a power of ten.
double StepFor(double most) {
    double step = std::pow(10, std::floor(std::log10(most / kMaxLines)));
    for (const double factor : {1.0, 2.0, 5.0, 10.0}) {
        if (most / (step * factor) <= kMaxLines) {
            return step * factor;
        }
    }
    return step * 10;
}

} // namespace

SPicture PlotOf(const std::vector<double>& sample) {
    CCanvas canvas;
    const double most =
        sample.empty() ? 1 : std::max(*std::max_element(sample.begin(), sample.end()) * 1.05, 1e-3);
    const auto height = [most](double value) {
        return kBottom - static_cast<uint32_t>(value / most * (kBottom - kTop));
    };
    const double step = StepFor(most);
    for (int line = 0; line * step <= most; ++line) {
        const double value = line * step;
        canvas.Fill(kLeft, height(value), kRight - kLeft, 1, kGrid);
        std::array<char, 32> label{};
        std::snprintf(label.data(), label.size(), step < 1 ? "%.3f" : "%.0f", value);
        canvas.Text(kLeft - 6, height(value) - 5, label.data());
    }
    // Each column shows the range of the values that fall into it.
    const size_t columns = std::min<size_t>(kRight - kLeft, std::max<size_t>(sample.size(), 1));
    const auto left = [columns](size_t column) {
        return kLeft + static_cast<uint32_t>(column * (kRight - kLeft) / columns);
    };
    for (size_t column = 0; column < columns && !sample.empty(); ++column) {
        const size_t begin = column * sample.size() / columns;
        const size_t end = std::max((column + 1) * sample.size() / columns, begin + 1);
        const auto [least, highest] =
            std::minmax_element(sample.begin() + static_cast<std::ptrdiff_t>(begin),
                                sample.begin() + static_cast<std::ptrdiff_t>(end));
        const uint32_t top = height(*highest);
        canvas.Fill(left(column), top, left(column + 1) - left(column), height(*least) - top + 2,
                    kCurve);
    }
    return canvas.Take();
}

} // namespace norveltl
