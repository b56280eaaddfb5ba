#include "files/Image.h"

#include "terminal/Console.h"
#include "terminal/Error.h"

#include <tiffio.h>

#include <algorithm>
#include <bit>
#include <cstdio>
#include <memory>

namespace norveltl {

namespace {

// A file in memory, for the library to write.
struct SFile {
    std::vector<uint8_t> bytes;
    size_t position = 0;
};

SFile& FileOf(thandle_t handle) {
    return *static_cast<SFile*>(handle);
}

tmsize_t Read(thandle_t handle, void* data, tmsize_t size) {
    SFile& file = FileOf(handle);
    const size_t rest = file.bytes.size() - std::min(file.position, file.bytes.size());
    const size_t count = std::min(static_cast<size_t>(size), rest);
    std::copy_n(file.bytes.begin() + static_cast<std::ptrdiff_t>(file.position), count,
                static_cast<uint8_t*>(data));
    file.position += count;
    return static_cast<tmsize_t>(count);
}

tmsize_t Write(thandle_t handle, void* data, tmsize_t size) {
    SFile& file = FileOf(handle);
    const auto count = static_cast<size_t>(size);
    file.bytes.resize(std::max(file.bytes.size(), file.position + count));
    std::copy_n(static_cast<const uint8_t*>(data), count,
                file.bytes.begin() + static_cast<std::ptrdiff_t>(file.position));
    file.position += count;
    return size;
}

toff_t Seek(thandle_t handle, toff_t offset, int origin) {
    SFile& file = FileOf(handle);
    const size_t base = origin == SEEK_SET   ? 0
                        : origin == SEEK_CUR ? file.position
                                             : file.bytes.size();
    file.position = base + static_cast<size_t>(offset);
    return file.position;
}

int Close(thandle_t) {
    return 0;
}

toff_t Size(thandle_t handle) {
    return FileOf(handle).bytes.size();
}

// Numbers of 16 bits stand in the file as they do in this machine's memory.
std::vector<uint8_t> PixelsAsStored(const SPicture& picture) {
    std::vector<uint8_t> pixels = picture.pixels;
    if (picture.bitsPerChannel == 16 && std::endian::native == std::endian::little) {
        for (size_t i = 0; i + 1 < pixels.size(); i += 2) {
            std::swap(pixels[i], pixels[i + 1]);
        }
    }
    return pixels;
}

bool Encode(const SPicture& picture, SFile& file) {
    const std::unique_ptr<TIFF, decltype(&TIFFClose)> tiff(
        TIFFClientOpen("", "w", &file, Read, Write, Seek, Close, Size, nullptr, nullptr),
        TIFFClose);
    if (!tiff) {
        return false;
    }
    const auto set = [&tiff](uint32_t tag, auto value) {
        return TIFFSetField(tiff.get(), tag, value) == 1;
    };
    std::vector<uint8_t> pixels = PixelsAsStored(picture);
    return set(TIFFTAG_IMAGEWIDTH, picture.width) && set(TIFFTAG_IMAGELENGTH, picture.height) &&
           set(TIFFTAG_BITSPERSAMPLE, picture.bitsPerChannel) &&
           set(TIFFTAG_SAMPLESPERPIXEL, picture.numChannels) &&
           set(TIFFTAG_PHOTOMETRIC,
               picture.numChannels == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB) &&
           set(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) &&
           set(TIFFTAG_COMPRESSION, COMPRESSION_NONE) &&
           set(TIFFTAG_ROWSPERSTRIP, picture.height) &&
           TIFFWriteEncodedStrip(tiff.get(), 0, pixels.data(),
                                 static_cast<tmsize_t>(pixels.size())) >= 0 &&
           TIFFFlush(tiff.get()) == 1;
}

} // namespace

void WriteTiff(const std::filesystem::path& path, const SPicture& picture, EExisting existing) {
    SFile file;
    if (!Encode(picture, file)) {
        throw CToolError("cannot encode " + Utf8FromPath(path));
    }
    WriteFile(path, file.bytes, existing);
}

} // namespace norveltl
