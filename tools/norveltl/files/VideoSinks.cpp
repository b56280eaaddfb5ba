#include "files/VideoSinks.h"

#include "terminal/Console.h"
#include "terminal/Error.h"

#include <stb/stb_image_write.h>

#include <array>
#include <cmath>
#include <utility>

namespace norveltl {

namespace {

constexpr int kJpegQuality = 90;

SPicture PictureOf(const SImage& image) {
    std::optional<SPicture> picture = Convert(image.bytes, image.format);
    if (!picture) {
        throw CToolError("images of " +
                         (image.format.pixelFormat.empty() ? "an unknown format"
                                                           : Printable(image.format.pixelFormat)) +
                         " become no video");
    }
    return std::move(*picture);
}

CToolError HasChanged() {
    return CToolError("the images' format has changed, which no video can");
}

// The more significant byte of each number, where there are two.
void ReduceTo8Bits(SPicture& picture) {
    if (picture.bitsPerChannel == 8) {
        return;
    }
    for (size_t i = 0; i < picture.pixels.size() / 2; ++i) {
        picture.pixels[i] = picture.pixels[2 * i];
    }
    picture.pixels.resize(picture.pixels.size() / 2);
    picture.bitsPerChannel = 8;
}

std::vector<uint8_t> LowByteFirst(const std::vector<uint8_t>& pixels) {
    std::vector<uint8_t> swapped = pixels;
    for (size_t i = 0; i + 1 < swapped.size(); i += 2) {
        std::swap(swapped[i], swapped[i + 1]);
    }
    return swapped;
}

// Brightness and two colours one after the other, in the range of broadcasts (BT.601).
std::vector<uint8_t> PlanesOf(const SPicture& picture) {
    constexpr std::array<std::array<double, 4>, 3> kRows{{
        {65.481 / 255, 128.553 / 255, 24.966 / 255, 16},
        {-37.797 / 255, -74.203 / 255, 112.0 / 255, 128},
        {112.0 / 255, -93.786 / 255, -18.214 / 255, 128},
    }};
    std::vector<uint8_t> planes;
    planes.reserve(picture.pixels.size());
    for (const auto& row : kRows) {
        for (size_t i = 0; i < picture.pixels.size(); i += 3) {
            const double value = row[0] * picture.pixels[i] + row[1] * picture.pixels[i + 1] +
                                 row[2] * picture.pixels[i + 2] + row[3];
            planes.push_back(static_cast<uint8_t>(std::lround(value)));
        }
    }
    return planes;
}

std::string Y4mHeader(const SPicture& picture, double framesPerSecond) {
    const char* const colours = picture.numChannels == 3      ? "444"
                                : picture.bitsPerChannel == 8 ? "mono"
                                                              : "mono16";
    return "YUV4MPEG2 W" + std::to_string(picture.width) + " H" + std::to_string(picture.height) +
           " F" + std::to_string(std::max(std::lround(framesPerSecond * 1000), 1L)) +
           ":1000 Ip A1:1 C" + colours + "\n";
}

void AppendBytes(void* context, void* data, int size) {
    auto& bytes = *static_cast<std::vector<uint8_t>*>(context);
    const auto* begin = static_cast<const uint8_t*>(data);
    bytes.insert(bytes.end(), begin, begin + size);
}

std::vector<uint8_t> JpegOf(const SPicture& picture) {
    std::vector<uint8_t> file;
    if (stbi_write_jpg_to_func(
            AppendBytes, &file, static_cast<int>(picture.width), static_cast<int>(picture.height),
            static_cast<int>(picture.numChannels), picture.pixels.data(), kJpegQuality) == 0) {
        throw CToolError("cannot encode an image");
    }
    return file;
}

// Blue, green, red from the lowest line on, each line filled up to four bytes.
std::vector<uint8_t> BottomUp(const SPicture& picture) {
    const size_t size = size_t{picture.width} * 3;
    std::vector<uint8_t> lines((size + 3) / 4 * 4 * picture.height);
    for (size_t y = 0; y < picture.height; ++y) {
        const uint8_t* in = picture.pixels.data() + (picture.height - 1 - y) * size;
        uint8_t* out = lines.data() + y * ((size + 3) / 4 * 4);
        for (size_t x = 0; x < picture.width; ++x, in += 3, out += 3) {
            out[0] = in[2];
            out[1] = in[1];
            out[2] = in[0];
        }
    }
    return lines;
}

} // namespace

CPipeSink::CPipeSink(EPipeFormat format, double framesPerSecond)
    : m_format(format), m_framesPerSecond(framesPerSecond) {
    PrepareBinaryOutput();
}

std::function<void()> CPipeSink::Write(const SImage& image) {
    std::string header;
    std::vector<uint8_t> bytes;
    if (m_format == EPipeFormat::Raw) {
        bytes = image.bytes;
    } else {
        SPicture picture = PictureOf(image);
        if (picture.numChannels == 3) {
            ReduceTo8Bits(picture);
        }
        header = Y4mHeader(picture, m_framesPerSecond);
        constexpr std::string_view kFrame = "FRAME\n";
        bytes.assign(kFrame.begin(), kFrame.end());
        const std::vector<uint8_t> samples = picture.numChannels == 3 ? PlanesOf(picture)
                                             : picture.bitsPerChannel == 8
                                                 ? picture.pixels
                                                 : LowByteFirst(picture.pixels);
        bytes.insert(bytes.end(), samples.begin(), samples.end());
    }
    return [this, header = std::move(header), bytes = std::move(bytes)] {
        if (m_numImages == 0) {
            m_header = header;
            WriteOutput({reinterpret_cast<const uint8_t*>(header.data()), header.size()});
        } else if (header != m_header) {
            throw HasChanged();
        }
        WriteOutput(bytes);
        ++m_numImages;
    };
}

CAviSink::CAviSink(const std::filesystem::path& path, EExisting existing, ECodec codec,
                   double framesPerSecond)
    : m_path(path), m_existing(existing), m_codec(codec), m_framesPerSecond(framesPerSecond) {}

std::function<void()> CAviSink::Write(const SImage& image) {
    SPicture picture = PictureOf(image);
    SVideoFormat format{picture.width, picture.height, "MJPG", 24};
    std::vector<uint8_t> frame;
    ReduceTo8Bits(picture); // as no player knows more
    if (m_codec == ECodec::Jpeg) {
        frame = JpegOf(picture);
    } else if (picture.numChannels == 3) {
        format.codec = "";
        frame = BottomUp(picture);
    } else {
        format = {picture.width, picture.height, "Y800", 8};
        frame = std::move(picture.pixels);
    }
    return [this, format, frame = std::move(frame), arrival = image.arrival] {
        Append(format, frame, arrival);
    };
}

void CAviSink::Append(const SVideoFormat& format, std::span<const uint8_t> frame,
                      std::chrono::duration<double> arrival) {
    if (!m_file) {
        m_format = format;
        m_first = arrival;
        m_file.emplace(m_path, m_existing, format, m_framesPerSecond);
    } else if (format != m_format) {
        throw HasChanged();
    }
    m_file->Append(frame);
    m_last = arrival;
    ++m_numImages;
}

void CAviSink::Finish() {
    if (!m_file) {
        return;
    }
    const double elapsed = (m_last - m_first).count();
    m_file->Finish(elapsed > 0 ? static_cast<double>(m_numImages - 1) / elapsed
                               : m_framesPerSecond);
}

} // namespace norveltl
