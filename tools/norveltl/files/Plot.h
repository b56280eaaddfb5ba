// Plots as pictures: a title, two axes with labels, and values from left to right. Knows nothing of
// what they mean.
#pragma once

#include "files/Image.h"

#include <array>
#include <string>
#include <vector>

namespace norveltl {

using Colour = std::array<uint8_t, 3>;
constexpr Colour kPlotBlue{24, 96, 180}, kPlotRed{200, 48, 40}, kPlotGreen{32, 140, 60};

struct SSeries {
    std::vector<double> values; // not below 0; of all series as many
    Colour colour = kPlotBlue;
};

// Texts are ASCII.
struct SPlot {
    std::string title;
    // What the axes show, with units.
    std::string across, up;
    // The numbers that the first and the last value belong to.
    double first = 0, last = 1;
    std::vector<SSeries> series;
    // Down to the axis, which suits a single series.
    bool isFilled = false;
};

SPicture Draw(const SPlot& plot);

} // namespace norveltl
