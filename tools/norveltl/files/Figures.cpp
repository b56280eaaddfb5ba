#include "files/Figures.h"

#include <algorithm>
#include <cmath>

namespace norveltl {

namespace {

constexpr std::array<const char*, 3> kNames{"red", "green", "blue"};

// Which of red, green and blue a sample of the pattern is.
size_t ColourAt(std::string_view bayer, size_t x, size_t y) {
    const char colour = bayer[(x + y) % 2];
    if (colour == 'G') {
        return 1;
    }
    return (colour == 'R') == (y % 2 == 0) ? 0 : 2;
}

// Sums over the samples of one colour.
class CChannel {
public:
    explicit CChannel(unsigned bits) : m_top((1U << bits) - 1), m_shift(bits - 8) {}

    void Add(uint16_t value, const uint16_t* other) {
        ++m_figures.histogram[value >> m_shift];
        m_figures.least = m_figures.numSamples == 0 ? value : std::min(m_figures.least, value);
        m_figures.most = std::max(m_figures.most, value);
        ++m_figures.numSamples;
        m_sum += value;
        m_squares += uint64_t{value} * value;
        m_numBlack += value == 0 ? 1 : 0;
        m_numSaturated += value == m_top ? 1 : 0;
        if (other) {
            const int64_t difference = int64_t{value} - *other;
            m_differences += difference;
            m_squaredDifferences += static_cast<uint64_t>(difference * difference);
        }
    }

    SChannelFigures Figures(const char* name, bool isPair) const {
        SChannelFigures figures = m_figures;
        figures.name = name;
        const auto count = static_cast<double>(std::max<uint64_t>(figures.numSamples, 1));
        figures.mean = static_cast<double>(m_sum) / count;
        figures.deviation = Deviation(figures.mean, static_cast<double>(m_squares) / count);
        figures.black = static_cast<double>(m_numBlack) / count;
        figures.saturated = static_cast<double>(m_numSaturated) / count;
        if (isPair) {
            figures.noise = Deviation(static_cast<double>(m_differences) / count,
                                      static_cast<double>(m_squaredDifferences) / count) /
                            std::sqrt(2.0);
        }
        return figures;
    }

private:
    static double Deviation(double mean, double meanSquare) {
        return std::sqrt(std::max(meanSquare - mean * mean, 0.0));
    }

    unsigned m_top, m_shift;
    SChannelFigures m_figures;
    uint64_t m_sum = 0, m_squares = 0, m_numBlack = 0, m_numSaturated = 0;
    int64_t m_differences = 0;
    uint64_t m_squaredDifferences = 0;
};

std::vector<double> BrightnessOf(const SSamples& image) {
    std::vector<double> grey;
    grey.reserve(image.values.size() / image.numChannels);
    for (size_t i = 0; i < image.values.size(); i += image.numChannels) {
        double sum = 0;
        for (size_t channel = 0; channel < image.numChannels; ++channel) {
            sum += image.values[i + channel];
        }
        grey.push_back(sum / image.numChannels);
    }
    return grey;
}

// Gradients after Sobel.
double FocusOf(const SSamples& image) {
    const std::vector<double> grey = BrightnessOf(image);
    const size_t width = image.width, height = image.height;
    double sum = 0, squares = 0;
    for (const double value : grey) {
        sum += value;
    }
    const double mean = sum / static_cast<double>(grey.size());
    if (width < 3 || height < 3 || mean <= 0) {
        return 0;
    }
    for (size_t y = 1; y + 1 < height; ++y) {
        const double* const above = grey.data() + (y - 1) * width;
        const double* const line = above + width;
        const double* const below = line + width;
        for (size_t x = 1; x + 1 < width; ++x) {
            const double across = above[x + 1] + 2 * line[x + 1] + below[x + 1] - above[x - 1] -
                                  2 * line[x - 1] - below[x - 1];
            const double down = below[x - 1] + 2 * below[x] + below[x + 1] - above[x - 1] -
                                2 * above[x] - above[x + 1];
            squares += across * across + down * down;
        }
    }
    return squares / static_cast<double>((width - 2) * (height - 2)) / (mean * mean);
}

} // namespace

SFigures Measure(const SSamples& image, const SSamples* other) {
    const bool isGrey = image.numChannels == 1 && image.bayer.empty();
    std::vector<CChannel> channels(isGrey ? 1 : 3, CChannel(image.bits));
    size_t i = 0;
    for (size_t y = 0; y < image.height; ++y) {
        for (size_t x = 0; x < size_t{image.width} * image.numChannels; ++x, ++i) {
            const size_t channel = isGrey                ? 0
                                   : image.bayer.empty() ? x % 3
                                                         : ColourAt(image.bayer, x, y);
            channels[channel].Add(image.values[i], other ? &other->values[i] : nullptr);
        }
    }
    SFigures figures{image.bits, {}, FocusOf(image.bayer.empty() ? image : Demosaic(image))};
    for (size_t channel = 0; channel < channels.size(); ++channel) {
        figures.channels.push_back(
            channels[channel].Figures(isGrey ? "grey" : kNames[channel], other != nullptr));
    }
    return figures;
}

SPlot HistogramOf(const SFigures& figures, const std::string& title) {
    constexpr std::array<Colour, 3> kColours{kPlotRed, kPlotGreen, kPlotBlue};
    const double width = std::pow(2.0, figures.bits) / kNumBins;
    SPlot plot{title, "value of the sample", "samples, %", 0, (kNumBins - 1) * width, {}, false};
    plot.isFilled = figures.channels.size() == 1;
    for (const SChannelFigures& channel : figures.channels) {
        SSeries series{{}, plot.isFilled ? kPlotBlue : kColours[plot.series.size()]};
        for (const uint64_t count : channel.histogram) {
            series.values.push_back(100 * static_cast<double>(count) /
                                    static_cast<double>(std::max<uint64_t>(channel.numSamples, 1)));
        }
        plot.series.push_back(std::move(series));
    }
    return plot;
}

} // namespace norveltl
