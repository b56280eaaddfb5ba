#include "files/Image.h"

#include "terminal/Console.h"
#include "terminal/Error.h"

#include <stb/stb_image_write.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <limits>
#include <memory>
#include <utility>

// Part of the PNG encoder, which its header does not declare.
extern "C" unsigned char* stbi_zlib_compress(unsigned char* data, int size, int* packedSize,
                                             int quality);

namespace norveltl {

namespace {

constexpr int kCompression = 5;

enum class EKind { kMono, kBayer, kColor };

struct SKnownFormat {
    const char* name;
    uint64_t value;
    EKind kind;
    unsigned bytesPerPixel;
    // Mono: significant bits. Bayer: column and row of the red pixel as 2 * row + column.
    // Color: 1 when blue comes first.
    unsigned detail;
};

constexpr std::array<SKnownFormat, 13> kFormats{{
    {"Mono8", 0x01080001, EKind::kMono, 1, 8},
    {"Mono10", 0x01100003, EKind::kMono, 2, 10},
    {"Mono12", 0x01100005, EKind::kMono, 2, 12},
    {"Mono14", 0x01100025, EKind::kMono, 2, 14},
    {"Mono16", 0x01100007, EKind::kMono, 2, 16},
    {"BayerRG8", 0x01080009, EKind::kBayer, 1, 0},
    {"BayerGR8", 0x01080008, EKind::kBayer, 1, 1},
    {"BayerGB8", 0x0108000A, EKind::kBayer, 1, 2},
    {"BayerBG8", 0x0108000B, EKind::kBayer, 1, 3},
    {"RGB8", 0x02180014, EKind::kColor, 3, 0},
    {"BGR8", 0x02180015, EKind::kColor, 3, 1},
    {"RGB8Packed", 0x02180014, EKind::kColor, 3, 0},
    {"BGR8Packed", 0x02180015, EKind::kColor, 3, 1},
}};

template <class Condition>
const SKnownFormat* FindFormat(Condition condition) {
    const auto* found = std::find_if(kFormats.begin(), kFormats.end(), condition);
    return found != kFormats.end() ? found : nullptr;
}

// The image's lines, each as the bytes of its pixels.
class CLines {
public:
    CLines(std::span<const uint8_t> bytes, const SImageFormat& format, const SKnownFormat& known)
        : m_bytes(bytes),
          m_lineSize(size_t{format.width} * known.bytesPerPixel),
          m_stride(m_lineSize + format.linePadding) {
        const bool fits = format.width > 0 && format.height > 0 && m_lineSize <= bytes.size() &&
                          (bytes.size() - m_lineSize) / m_stride >= format.height - 1;
        if (!fits) {
            throw CToolError("an image of " + std::to_string(bytes.size()) + " bytes cannot hold " +
                             std::to_string(format.width) + " x " + std::to_string(format.height) +
                             " pixels of " + format.pixelFormat);
        }
    }

    std::span<const uint8_t> operator[](size_t y) const {
        return m_bytes.subspan(y * m_stride, m_lineSize);
    }

private:
    std::span<const uint8_t> m_bytes;
    size_t m_lineSize;
    size_t m_stride;
};

// Fewer than 16 significant bits move up, so that white stays white.
void ConvertMono(const CLines& lines, unsigned numBits, SPicture& picture) {
    auto out = picture.pixels.begin();
    for (size_t y = 0; y < picture.height; ++y) {
        const std::span<const uint8_t> line = lines[y];
        if (numBits == 8) {
            out = std::copy(line.begin(), line.end(), out);
            continue;
        }
        for (size_t i = 0; i < line.size(); i += 2) {
            const unsigned value = line[i] | static_cast<unsigned>(line[i + 1]) << 8;
            const unsigned shifted = value << (16 - numBits);
            *out++ = static_cast<uint8_t>(shifted >> 8);
            *out++ = static_cast<uint8_t>(shifted);
        }
    }
}

void ConvertColor(const CLines& lines, bool blueFirst, SPicture& picture) {
    auto out = picture.pixels.begin();
    for (size_t y = 0; y < picture.height; ++y) {
        const auto begin = out;
        const std::span<const uint8_t> line = lines[y];
        out = std::copy(line.begin(), line.end(), out);
        for (auto pixel = begin; blueFirst && pixel != out; pixel += 3) {
            std::swap(pixel[0], pixel[2]);
        }
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

// Each missing colour is the mean of the nearest pixels that have it.
void ConvertBayer(const CLines& lines, unsigned red, SPicture& picture) {
    const size_t width = picture.width, height = picture.height;
    auto out = picture.pixels.begin();
    for (size_t y = 0; y < height; ++y) {
        const auto above = lines[Mirror(y, -1, height)];
        const auto line = lines[y];
        const auto below = lines[Mirror(y, 1, height)];
        const bool redRow = (y & 1) == red / 2;
        for (size_t x = 0; x < width; ++x, out += 3) {
            const size_t l = Mirror(x, -1, width), r = Mirror(x, 1, width);
            const int sides = line[l] + line[r], ends = above[x] + below[x];
            // The colour that rules this row, the other one, and where they go.
            const int own = redRow ? 0 : 2;
            std::array<int, 3> rgb{};
            if ((((x & 1) == red % 2) == redRow)) {
                rgb[static_cast<size_t>(own)] = line[x];
                rgb[1] = (sides + ends) / 4;
                rgb[static_cast<size_t>(2 - own)] = (above[l] + above[r] + below[l] + below[r]) / 4;
            } else {
                rgb[static_cast<size_t>(own)] = sides / 2;
                rgb[1] = line[x];
                rgb[static_cast<size_t>(2 - own)] = ends / 2;
            }
            std::transform(rgb.begin(), rgb.end(), out,
                           [](int value) { return static_cast<uint8_t>(value); });
        }
    }
}

void AppendNumber(std::vector<uint8_t>& bytes, uint32_t number) {
    for (const unsigned shift : {24U, 16U, 8U, 0U}) {
        bytes.push_back(static_cast<uint8_t>(number >> shift));
    }
}

// The checksum of PNG chunks (ISO 3309).
uint32_t Crc(std::span<const uint8_t> bytes) {
    uint32_t crc = 0xFFFFFFFF;
    for (const uint8_t byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320U : 0U);
        }
    }
    return ~crc;
}

void AppendChunk(std::vector<uint8_t>& file, std::string_view type, std::span<const uint8_t> data) {
    AppendNumber(file, static_cast<uint32_t>(data.size()));
    const size_t begin = file.size();
    file.insert(file.end(), type.begin(), type.end());
    file.insert(file.end(), data.begin(), data.end());
    AppendNumber(file, Crc(std::span(file).subspan(begin)));
}

// The PNG encoder knows 8 bits only. Each line holds the differences to its left neighbours.
std::vector<uint8_t> EncodeDeepPng(const SPicture& picture) {
    const size_t lineSize = size_t{picture.width} * picture.numChannels * 2;
    const size_t distance = size_t{picture.numChannels} * 2;
    std::vector<uint8_t> lines;
    lines.reserve((lineSize + 1) * picture.height);
    for (size_t y = 0; y < picture.height; ++y) {
        const uint8_t* const line = picture.pixels.data() + y * lineSize;
        lines.push_back(1);
        for (size_t i = 0; i < lineSize; ++i) {
            lines.push_back(
                static_cast<uint8_t>(line[i] - (i < distance ? 0 : line[i - distance])));
        }
    }
    int size = 0;
    const std::unique_ptr<unsigned char, void (*)(void*)> packed(
        stbi_zlib_compress(lines.data(), static_cast<int>(lines.size()), &size, kCompression),
        std::free);
    if (!packed) {
        throw CToolError("no memory to encode an image");
    }
    std::vector<uint8_t> header;
    AppendNumber(header, picture.width);
    AppendNumber(header, picture.height);
    const uint8_t colourType = picture.numChannels == 1 ? 0 : 2;
    header.insert(header.end(), {16, colourType, 0, 0, 0});
    std::vector<uint8_t> file = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    AppendChunk(file, "IHDR", header);
    AppendChunk(file, "IDAT", {packed.get(), static_cast<size_t>(size)});
    AppendChunk(file, "IEND", {});
    return file;
}

void AppendBytes(void* context, void* data, int size) {
    auto& bytes = *static_cast<std::vector<uint8_t>*>(context);
    const auto* begin = static_cast<const uint8_t*>(data);
    bytes.insert(bytes.end(), begin, begin + size);
}

} // namespace

std::optional<std::string> PixelFormatName(uint64_t value) {
    const SKnownFormat* known =
        FindFormat([value](const SKnownFormat& format) { return format.value == value; });
    return known ? std::optional<std::string>(known->name) : std::nullopt;
}

std::optional<SPicture> Convert(std::span<const uint8_t> bytes, const SImageFormat& format) {
    const SKnownFormat* known = FindFormat(
        [&](const SKnownFormat& candidate) { return candidate.name == format.pixelFormat; });
    // The smallest colour pattern is 2 x 2, and the PNG encoder counts in int.
    if (!known || (known->kind == EKind::kBayer && (format.width < 2 || format.height < 2)) ||
        uint64_t{format.width} * format.height > std::numeric_limits<int>::max() / 8) {
        return std::nullopt;
    }
    const CLines lines(bytes, format, *known);
    SPicture picture{format.width, format.height, known->kind == EKind::kMono ? 1u : 3u, {}};
    if (known->kind == EKind::kMono && known->bytesPerPixel == 2) {
        picture.bitsPerChannel = 16;
    }
    picture.pixels.resize(size_t{format.width} * format.height * picture.numChannels *
                          (picture.bitsPerChannel / 8));
    switch (known->kind) {
    case EKind::kMono:
        ConvertMono(lines, known->detail, picture);
        break;
    case EKind::kBayer:
        ConvertBayer(lines, known->detail, picture);
        break;
    case EKind::kColor:
        ConvertColor(lines, known->detail != 0, picture);
        break;
    }
    return picture;
}

void PreparePng() {
    // One line filter for all lines and quick compression: half the time for files that are little
    // larger, so that a camera's images are written as fast as they come.
    stbi_write_force_png_filter = 1;
    stbi_write_png_compression_level = kCompression;
}

void WritePng(const std::filesystem::path& path, const SPicture& picture, EExisting existing) {
    if (picture.bitsPerChannel == 16) {
        return WriteFile(path, EncodeDeepPng(picture), existing);
    }
    std::vector<uint8_t> file;
    const int width = static_cast<int>(picture.width);
    const int channels = static_cast<int>(picture.numChannels);
    const int done =
        stbi_write_png_to_func(AppendBytes, &file, width, static_cast<int>(picture.height),
                               channels, picture.pixels.data(), width * channels);
    if (done == 0) {
        throw CToolError("cannot encode " + Utf8FromPath(path));
    }
    WriteFile(path, file, existing);
}

void WritePnm(const std::filesystem::path& path, const SPicture& picture, EExisting existing) {
    const std::string header = std::string(picture.numChannels == 1 ? "P5" : "P6") + "\n" +
                               std::to_string(picture.width) + " " +
                               std::to_string(picture.height) + "\n" +
                               (picture.bitsPerChannel == 16 ? "65535" : "255") + "\n";
    std::vector<uint8_t> file(header.begin(), header.end());
    file.insert(file.end(), picture.pixels.begin(), picture.pixels.end());
    WriteFile(path, file, existing);
}

void WriteRaw(const std::filesystem::path& path, std::span<const uint8_t> bytes,
              EExisting existing) {
    WriteFile(path, bytes, existing);
}

} // namespace norveltl
