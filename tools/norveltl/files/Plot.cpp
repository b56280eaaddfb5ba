#include "files/Plot.h"

#include "files/Font.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <span>

namespace norveltl {

namespace {

constexpr int kWidth = 960, kHeight = 440;
constexpr int kLeft = 80, kRight = 940, kTop = 60, kBottom = 380;
constexpr int kScale = 2; // of the letters
constexpr int kLetterHeight = 7 * kScale;
constexpr int kMaxLines = 8, kMaxTicks = 10;
constexpr int kLine = 2;

constexpr Colour kPaper{255, 255, 255}, kGrid{224, 224, 224}, kAxis{120, 120, 120},
    kInk{40, 40, 40};

enum class EAlign { Left, Centre, Right };

class CCanvas {
public:
    CCanvas() : m_picture{kWidth, kHeight, 3, std::vector<uint8_t>(size_t{kWidth} * kHeight * 3)} {
        Fill(0, 0, kWidth, kHeight, kPaper);
    }

    void Fill(int x, int y, int width, int height, const Colour& colour) {
        ForEach(x, y, width, height, [&](uint8_t* pixel) { std::ranges::copy(colour, pixel); });
    }

    // What lies below can still be seen.
    void Darken(int x, int y, int width, int height, const Colour& colour) {
        ForEach(x, y, width, height, [&](uint8_t* pixel) {
            std::ranges::transform(colour, std::span(pixel, 3), pixel,
                                   [](uint8_t a, uint8_t b) { return std::min(a, b); });
        });
    }

    void Text(int x, int y, const std::string& text, EAlign align) {
        const int width = WidthOf(text) * kScale;
        const int left = align == EAlign::Left     ? x
                         : align == EAlign::Centre ? x - width / 2
                                                   : x - width;
        for (const SRectangle& part : RectanglesOf(text)) {
            Fill(left + part.x * kScale, y + part.y * kScale, part.width * kScale,
                 part.height * kScale, kInk);
        }
    }

    SPicture Take() { return std::move(m_picture); }

private:
    template <class W>
    void ForEach(int x, int y, int width, int height, W work) {
        for (int row = std::max(y, 0); row < std::min(y + height, kHeight); ++row) {
            for (int column = std::max(x, 0); column < std::min(x + width, kWidth); ++column) {
                work(m_picture.pixels.data() + std::ptrdiff_t{row * kWidth + column} * 3);
            }
        }
    }

    SPicture m_picture;
};

// The distance of labelled lines: 1, 2 or 5 times a power of ten.
double StepFor(double range, int maxLines) {
    const double step = std::pow(10, std::floor(std::log10(range / maxLines)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (range / (step * factor) <= maxLines) {
            return step * factor;
        }
    }
    return step * 10;
}

std::string Label(double value, double step) {
    const int digits = std::max(0, static_cast<int>(std::ceil(-std::log10(step) - 1e-9)));
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%.*f", digits, value);
    return text.data();
}

class CPlotter {
public:
    explicit CPlotter(const SPlot& plot) : m_plot(plot) {
        double most = 0;
        for (const SSeries& series : plot.series) {
            for (const double value : series.values) {
                most = std::max(most, value);
            }
        }
        m_most = most > 0 ? most * 1.05 : 1;
    }

    SPicture Draw() {
        DrawAxes();
        for (const SSeries& series : m_plot.series) {
            DrawSeries(series);
        }
        m_canvas.Fill(kLeft - kLine, kTop, kLine, kBottom - kTop + kLine, kAxis);
        m_canvas.Fill(kLeft - kLine, kBottom, kRight - kLeft + kLine, kLine, kAxis);
        m_canvas.Text((kLeft + kRight) / 2, 12, m_plot.title, EAlign::Centre);
        m_canvas.Text(kLeft - kLine, kTop - 24, m_plot.up, EAlign::Left);
        m_canvas.Text((kLeft + kRight) / 2, kHeight - 24, m_plot.across, EAlign::Centre);
        return m_canvas.Take();
    }

private:
    int Height(double value) const {
        return kBottom - static_cast<int>(value / m_most * (kBottom - kTop));
    }

    void DrawAxes() {
        const double step = StepFor(m_most, kMaxLines);
        for (int line = 0; line * step <= m_most; ++line) {
            const int y = Height(line * step);
            m_canvas.Fill(kLeft, y, kRight - kLeft, 1, kGrid);
            m_canvas.Text(kLeft - 8, y - kLetterHeight / 2, Label(line * step, step),
                          EAlign::Right);
        }
        const double range = m_plot.last - m_plot.first;
        if (range <= 0) {
            return;
        }
        // Values are counted, so that nothing stands between two of them.
        const double tick = std::max(StepFor(range, kMaxTicks), 1.0);
        const auto begin = static_cast<int64_t>(std::ceil(m_plot.first / tick));
        const auto end = static_cast<int64_t>(std::floor(m_plot.last / tick));
        for (int64_t i = begin; i <= end; ++i) {
            const double at = static_cast<double>(i) * tick;
            const int x = kLeft + static_cast<int>((at - m_plot.first + 0.5) / (range + 1) *
                                                   (kRight - kLeft));
            m_canvas.Fill(x, kBottom, 1, 6, kAxis);
            m_canvas.Text(x, kBottom + 10, Label(at, tick), EAlign::Centre);
        }
    }

    // Each column shows the range of the values that fall into it, and reaches to the one before.
    void DrawSeries(const SSeries& series) {
        const std::vector<double>& values = series.values;
        const size_t columns = std::min<size_t>(kRight - kLeft, values.size());
        const auto left = [columns](size_t column) {
            return kLeft + static_cast<int>(column * (kRight - kLeft) / columns);
        };
        for (size_t column = 0; column < columns; ++column) {
            const size_t begin = column * values.size() / columns;
            const size_t end = std::max((column + 1) * values.size() / columns, begin + 1);
            const auto [least, most] =
                std::minmax_element(values.begin() + static_cast<std::ptrdiff_t>(begin),
                                    values.begin() + static_cast<std::ptrdiff_t>(end));
            const int width = left(column + 1) - left(column);
            if (m_plot.isFilled) {
                const int top = Height(*most);
                m_canvas.Darken(left(column), top, width, kBottom - top, series.colour);
                continue;
            }
            DrawLine(left(column), width, *least, *most, series.colour);
            if (column > 0) {
                const auto [low, high] = std::minmax(values[begin - 1], values[begin]);
                DrawLine(left(column), kLine, low, high, series.colour);
            }
        }
    }

    // A line of nothing stands on the axis.
    void DrawLine(int x, int width, double least, double most, const Colour& colour) {
        const int top = std::min(Height(most), kBottom - kLine);
        const int bottom = std::min(Height(least) + kLine, kBottom);
        m_canvas.Darken(x, top, width, bottom - top, colour);
    }

    const SPlot& m_plot;
    double m_most = 1;
    CCanvas m_canvas;
};

} // namespace

SPicture Draw(const SPlot& plot) {
    return CPlotter(plot).Draw();
}

} // namespace norveltl
