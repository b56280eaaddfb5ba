// What the samples of an image, or of two, tell about exposure, focus and noise.
#pragma once

#include "files/Plot.h"
#include "files/Samples.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace norveltl {

constexpr size_t kNumBins = 256;

// Of one colour. Values are those of the samples, from 0 to the most that their bits hold.
struct SChannelFigures {
    std::string name; // "grey", "red", "green" or "blue"
    uint64_t numSamples = 0;
    double mean = 0, deviation = 0;
    uint16_t least = 0, most = 0;
    // The shares of samples that are 0, or as bright as can be.
    double black = 0, saturated = 0;
    // The deviation that two images of the same scene have from each other, of each one.
    std::optional<double> noise;
    // Of equally wide ranges of values.
    std::array<uint64_t, kNumBins> histogram{};
};

struct SFigures {
    unsigned bits = 8;
    std::vector<SChannelFigures> channels;
    // How steep edges are: the mean of the squared gradient, by the square of the mean. It does not
    // depend on the exposure, and is the greater the sharper the image is.
    double focus = 0;
};

// The other image has the same format; without it the noise is not known.
SFigures Measure(const SSamples& image, const SSamples* other);

SPlot HistogramOf(const SFigures& figures, const std::string& title);

} // namespace norveltl
