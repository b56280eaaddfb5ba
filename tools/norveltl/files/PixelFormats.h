// The pixel formats that become pictures: their names and numbers by the Pixel Format Naming
// Convention, and how their samples lie in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace norveltl {

enum class EPacking {
    Bytes,   // each sample in one byte or two, low byte first
    Bits,    // one behind the other, low bits first ("p")
    Triplets // two samples of 10 or 12 bits in three bytes, low bits in the middle ("Packed")
};

enum class EColours { Mono, Bayer, Rgb, Yuv, YCbCr601, YCbCr709 };

struct SPixelFormat {
    std::string_view name;
    uint32_t value;
    EPacking packing;
    unsigned bits; // of a sample
    EColours colours;
    // One letter a sample. Bayer: the first two pixels of the first line. Else a group that is
    // repeated: of one pixel, or with subsampled colours of as many as it has Y.
    std::string_view order;

    // The bits that a sample takes.
    unsigned StorageBits() const;
    size_t PixelsPerGroup() const;
    size_t SamplesPerLine(size_t width) const;
    // Without padding; nothing when lines do not end with a byte.
    std::optional<size_t> LineSize(size_t width) const;
};

std::span<const SPixelFormat> PixelFormats();
// Null for a format that is not known here.
const SPixelFormat* FindPixelFormat(std::string_view name);
const SPixelFormat* FindPixelFormat(uint64_t value);

} // namespace norveltl
