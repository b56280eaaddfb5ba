// The part of a picture that somebody looks at, no larger than they can show.
#pragma once

#include "files/Image.h"

#include <cstdint>
#include <vector>

namespace norveltl {

// In pixels of the picture.
struct SRegion {
    uint32_t x = 0, y = 0, width = 0, height = 0;
};

// What is shown of a picture: each of its pixels is the mean of scale x scale pixels of the region.
struct SShown {
    SRegion region;
    uint32_t scale = 1;
    uint32_t width = 0, height = 0;
    std::vector<uint8_t> pixels; // as in SPicture
};

// The region is cut to the picture first, and is all of it when nothing is left; pixels on the
// right and below that fill no whole square of a scaled picture are left out. A scale is at most
// 256. maxWidth and maxHeight are above 0.
SShown Show(const SPicture& picture, SRegion region, uint32_t maxWidth, uint32_t maxHeight);

} // namespace norveltl
