#include "files/Image.h"

#include "terminal/Console.h"
#include "terminal/Error.h"

#include <boost/crc.hpp>
#include <stb/stb_image_write.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

// Part of the PNG encoder, which its header does not declare.
extern "C" unsigned char* stbi_zlib_compress(unsigned char* data, int size, int* packedSize,
                                             int quality);

namespace norveltl {

namespace {

constexpr int kCompression = 5;

void AppendNumber(std::vector<uint8_t>& bytes, uint32_t number) {
    for (const unsigned shift : {24U, 16U, 8U, 0U}) {
        bytes.push_back(static_cast<uint8_t>(number >> shift));
    }
}

void AppendChunk(std::vector<uint8_t>& file, std::string_view type, std::span<const uint8_t> data) {
    AppendNumber(file, static_cast<uint32_t>(data.size()));
    const size_t begin = file.size();
    file.insert(file.end(), type.begin(), type.end());
    file.insert(file.end(), data.begin(), data.end());
    boost::crc_32_type crc;
    crc.process_bytes(file.data() + begin, file.size() - begin);
    AppendNumber(file, crc.checksum());
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

std::optional<SPicture> Convert(std::span<const uint8_t> bytes, const SImageFormat& format) {
    if (auto grey = UnpackShallowGrey(bytes, format)) {
        return SPicture{format.width, format.height, 1, std::move(*grey)};
    }
    std::optional<SSamples> samples = Unpack(bytes, format);
    if (!samples) {
        return std::nullopt;
    }
    if (!samples->bayer.empty()) {
        samples = Demosaic(*samples);
    }
    SPicture picture{samples->width, samples->height, samples->numChannels, {}};
    if (samples->bits == 8) {
        picture.pixels.assign(samples->values.begin(), samples->values.end());
        return picture;
    }
    // Fewer than 16 significant bits move up, so that white stays white.
    picture.bitsPerChannel = 16;
    picture.pixels.reserve(samples->values.size() * 2);
    for (const uint16_t value : samples->values) {
        const unsigned shifted = static_cast<unsigned>(value) << (16 - samples->bits);
        picture.pixels.push_back(static_cast<uint8_t>(shifted >> 8));
        picture.pixels.push_back(static_cast<uint8_t>(shifted));
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
