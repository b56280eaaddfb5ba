// An image on its way from the camera to where it is kept, and what takes it there. Knows nothing
// of producers and queues.
#pragma once

#include "files/Image.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace norveltl {

struct SImage {
    uint64_t number; // from 1 on
    SImageFormat format;
    std::vector<uint8_t> bytes;                 // as the camera sent them
    std::chrono::duration<double> arrival{0};   // since the grab began
    std::optional<uint64_t> frameId, timestamp; // the producer's
};

class IImageSink {
public:
    virtual ~IImageSink() = default;

    // Does the bulk of the work, for several images at once on as many threads. What it answers
    // does the rest, and is called for one image at a time, in their order.
    virtual std::function<void()> Write(const SImage& image) = 0;
    // After the last image; also after one that failed.
    virtual void Finish() = 0;
};

} // namespace norveltl
