// From a buffer's bytes to a picture that a PNG file can hold. Knows nothing of producers.
#pragma once

#include "files/OutputFile.h"
#include "files/Samples.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace norveltl {

// Lines without padding; 1 channel is grey, 3 are red, green, blue. 16 bits stand with the high
// byte first.
struct SPicture {
    uint32_t width;
    uint32_t height;
    unsigned numChannels;
    std::vector<uint8_t> pixels;
    unsigned bitsPerChannel = 8;
};

// Nothing when there is no conversion for the format. Throws CToolError when the bytes are fewer
// than the format takes.
std::optional<SPicture> Convert(std::span<const uint8_t> bytes, const SImageFormat& format);

// To be called before the first picture is written; the writing functions are then thread-safe.
void PreparePng();

// All throw CToolError, naming the file, when it cannot be written. Pnm is PGM or PPM.
void WritePng(const std::filesystem::path& path, const SPicture& picture,
              EExisting existing = EExisting::Replace);
void WritePnm(const std::filesystem::path& path, const SPicture& picture,
              EExisting existing = EExisting::Replace);
void WriteTiff(const std::filesystem::path& path, const SPicture& picture,
               EExisting existing = EExisting::Replace);
void WriteRaw(const std::filesystem::path& path, std::span<const uint8_t> bytes,
              EExisting existing = EExisting::Replace);

} // namespace norveltl
