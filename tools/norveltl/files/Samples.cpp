#include "files/Samples.h"

#include "terminal/Error.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace norveltl {

namespace {

// The packed image, and where in it the samples lie.
class CPackedImage {
public:
    CPackedImage(std::span<const uint8_t> bytes, const SImageFormat& image,
                 const SPixelFormat& format)
        : m_bytes(bytes), m_format(format), m_perLine(format.SamplesPerLine(image.width)) {
        const size_t lineBits = m_perLine * format.StorageBits();
        const size_t lineSize = (lineBits + 7) / 8;
        // Lines without padding follow each other even within a byte.
        m_stride = image.linePadding > 0 ? lineSize + image.linePadding : 0;
        const bool fits = m_stride > 0
                              ? lineSize <= bytes.size() &&
                                    (bytes.size() - lineSize) / m_stride >= image.height - 1
                              : (uint64_t{lineBits} * image.height + 7) / 8 <= bytes.size();
        if (!fits) {
            throw CToolError("an image of " + std::to_string(bytes.size()) + " bytes cannot hold " +
                             std::to_string(image.width) + " x " + std::to_string(image.height) +
                             " pixels of " + image.pixelFormat);
        }
    }

    size_t SamplesPerLine() const { return m_perLine; }

    // Of 8 bits a sample.
    std::span<const uint8_t> Line(size_t y) const {
        return m_bytes.subspan(y * (m_stride > 0 ? m_stride : m_perLine), m_perLine);
    }

    // line: as many as there are samples in a line.
    void Read(size_t y, std::span<uint16_t> line) const {
        const std::span<const uint8_t> bytes = m_bytes.subspan(y * m_stride);
        const size_t first = m_stride > 0 ? 0 : y * m_perLine;
        const auto fill = [&](auto sample) {
            for (size_t i = 0; i < line.size(); ++i) {
                line[i] = static_cast<uint16_t>(sample(first + i));
            }
        };
        const unsigned bits = m_format.bits;
        const unsigned mask = (1U << bits) - 1;
        if (m_format.packing == EPacking::Triplets) {
            fill([&](size_t i) {
                const uint8_t* const triplet = bytes.data() + i / 2 * 3;
                const unsigned low = i % 2 == 0 ? triplet[1] & 0xFU : triplet[1] >> 4U;
                const unsigned high = triplet[i % 2 * 2];
                return high << (bits - 8) | (low & (mask >> 8));
            });
        } else if (m_format.packing == EPacking::Bits) {
            fill([&](size_t i) {
                const size_t at = i * bits / 8;
                unsigned value = 0;
                for (unsigned k = 0; k < 3 && at + k < bytes.size(); ++k) {
                    value |= static_cast<unsigned>(bytes[at + k]) << (8 * k);
                }
                return value >> (i * bits % 8) & mask;
            });
        } else if (bits == 8) {
            fill([&](size_t i) { return bytes[i]; });
        } else {
            fill([&](size_t i) {
                return (bytes[2 * i] | static_cast<unsigned>(bytes[2 * i + 1]) << 8) & mask;
            });
        }
    }

private:
    std::span<const uint8_t> m_bytes;
    const SPixelFormat& m_format;
    size_t m_perLine;
    size_t m_stride;
};

// The weights of red and blue in the brightness, and what range the numbers have.
struct SColourMatrix {
    double red, blue;
    double black, brightnessRange, colourRange;
};

SColourMatrix MatrixOf(EColours colours) {
    switch (colours) {
    case EColours::YCbCr601:
        return {0.299, 0.114, 16, 219, 224};
    case EColours::YCbCr709:
        return {0.2126, 0.0722, 16, 219, 224};
    default:
        return {0.299, 0.114, 0, 255, 255};
    }
}

std::array<uint16_t, 3> RgbOf(uint16_t y, uint16_t u, uint16_t v, const SColourMatrix& matrix) {
    const double brightness = (y - matrix.black) / matrix.brightnessRange;
    const double blueness = (u - 128) / matrix.colourRange * 2 * (1 - matrix.blue);
    const double redness = (v - 128) / matrix.colourRange * 2 * (1 - matrix.red);
    const double green = brightness - (matrix.red * redness + matrix.blue * blueness) /
                                          (1 - matrix.red - matrix.blue);
    const auto whole = [](double value) {
        return static_cast<uint16_t>(std::clamp(std::lround(value * 255), 0L, 255L));
    };
    return {whole(brightness + redness), whole(green), whole(brightness + blueness)};
}

// out: 3 numbers for each pixel of the line, of which the last group may have more.
void ArrangeYuv(std::span<const uint16_t> line, const SPixelFormat& format, size_t width,
                uint16_t* out) {
    const SColourMatrix matrix = MatrixOf(format.colours);
    const size_t size = format.order.size();
    for (size_t x = 0; x < width; line = line.subspan(size)) {
        const uint16_t u = line[format.order.find('U')], v = line[format.order.find('V')];
        for (size_t i = 0; i < size && x < width; ++i) {
            if (format.order[i] == 'Y') {
                out = std::ranges::copy(RgbOf(line[i], u, v, matrix), out).out;
                ++x;
            }
        }
    }
}

void ArrangeRgb(std::span<const uint16_t> line, const SPixelFormat& format, uint16_t* out) {
    const size_t size = format.order.size();
    const size_t red = format.order.find('R'), blue = format.order.find('B');
    for (; !line.empty(); line = line.subspan(size)) {
        *out++ = line[red];
        *out++ = line[1];
        *out++ = line[blue];
    }
}

// Mirrors at the border without repeating the border pixel, which keeps the colour pattern.
size_t Mirror(size_t i, int offset, size_t size) {
    if (offset < 0) {
        return i > 0 ? i - 1 : 1;
    }
    if (offset > 0) {
        return i + 1 < size ? i + 1 : size - 2;
    }
    return i;
}

// Null for an image that cannot be unpacked.
const SPixelFormat* FormatToUnpack(const SImageFormat& format) {
    const SPixelFormat* const known = FindPixelFormat(format.pixelFormat);
    const uint32_t least = known && known->colours == EColours::Bayer ? 2 : 1;
    // Encoders count in int.
    const bool fits = format.width >= least && format.height >= least &&
                      uint64_t{format.width} * format.height <= std::numeric_limits<int>::max() / 8;
    return fits ? known : nullptr;
}

} // namespace

std::optional<std::vector<uint8_t>> UnpackShallowGrey(std::span<const uint8_t> bytes,
                                                      const SImageFormat& format) {
    const SPixelFormat* const known = FormatToUnpack(format);
    if (!known || known->colours != EColours::Mono || known->bits != 8) {
        return std::nullopt;
    }
    const CPackedImage image(bytes, format, *known);
    std::vector<uint8_t> values;
    values.reserve(size_t{format.width} * format.height);
    for (size_t y = 0; y < format.height; ++y) {
        const auto line = image.Line(y);
        values.insert(values.end(), line.begin(), line.end());
    }
    return values;
}

std::optional<SSamples> Unpack(std::span<const uint8_t> bytes, const SImageFormat& format) {
    const SPixelFormat* const known = FormatToUnpack(format);
    if (!known) {
        return std::nullopt;
    }
    const bool isBayer = known->colours == EColours::Bayer;
    const CPackedImage image(bytes, format, *known);
    const bool isGrey = isBayer || known->colours == EColours::Mono;
    SSamples samples{format.width,
                     format.height,
                     isGrey ? 1U : 3U,
                     known->bits,
                     isBayer ? known->order : "",
                     {}};
    const size_t lineSize = size_t{format.width} * samples.numChannels;
    samples.values.resize(lineSize * format.height);
    std::vector<uint16_t> line(image.SamplesPerLine());
    for (size_t y = 0; y < format.height; ++y) {
        uint16_t* const out = samples.values.data() + y * lineSize;
        if (isGrey) {
            image.Read(y, {out, lineSize});
            continue;
        }
        image.Read(y, line);
        if (known->colours == EColours::Rgb) {
            ArrangeRgb(line, *known, out);
        } else {
            ArrangeYuv(line, *known, format.width, out);
        }
    }
    return samples;
}

SSamples Demosaic(const SSamples& samples) {
    const size_t width = samples.width, height = samples.height;
    SSamples coloured{samples.width, samples.height, 3, samples.bits, {}, {}};
    coloured.values.resize(samples.values.size() * 3);
    const auto lineAt = [&](size_t y) { return samples.values.data() + y * width; };
    // Red is in every other line, from the first or second on.
    const bool isRedFirst = samples.bayer.find('R') != std::string_view::npos;
    const size_t redColumn = isRedFirst ? samples.bayer.find('R') : 1 - samples.bayer.find('B');
    auto* out = coloured.values.data();
    for (size_t y = 0; y < height; ++y) {
        const auto* const above = lineAt(Mirror(y, -1, height));
        const auto* const line = lineAt(y);
        const auto* const below = lineAt(Mirror(y, 1, height));
        const bool isRedLine = (y % 2 == 0) == isRedFirst;
        for (size_t x = 0; x < width; ++x, out += 3) {
            const size_t l = Mirror(x, -1, width), r = Mirror(x, 1, width);
            const int sides = line[l] + line[r], ends = above[x] + below[x];
            // The colour that rules this line, the other one, and where they go.
            const size_t own = isRedLine ? 0 : 2;
            std::array<int, 3> rgb{};
            if (((x % 2 == redColumn) == isRedLine)) {
                rgb[own] = line[x];
                rgb[1] = (sides + ends) / 4;
                rgb[2 - own] = (above[l] + above[r] + below[l] + below[r]) / 4;
            } else {
                rgb[own] = sides / 2;
                rgb[1] = line[x];
                rgb[2 - own] = ends / 2;
            }
            std::ranges::transform(rgb, out,
                                   [](int value) { return static_cast<uint16_t>(value); });
        }
    }
    return coloured;
}

} // namespace norveltl
