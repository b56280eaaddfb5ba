// A video as AVI with OpenDML's indexes: segments of limited size, each with an index of its own,
// so that it may grow without limit and plays while it grows, also when nobody comes to end it.
#pragma once

#include "files/OutputFile.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <span>
#include <string_view>
#include <vector>

namespace norveltl {

// What each frame is: "MJPG", "Y800" and so on; "" for red, green and blue without compression.
struct SVideoFormat {
    uint32_t width;
    uint32_t height;
    std::string_view codec;
    uint16_t bitsPerPixel;

    bool operator==(const SVideoFormat&) const = default;
};

class CAviFile {
public:
    static constexpr uint64_t kUsualSegment = uint64_t{1} << 30;

    // Everything throws CToolError, naming the file, when it cannot be written. The file stands
    // under its own name from the beginning. segmentSize is in bytes.
    CAviFile(const std::filesystem::path& path, EExisting existing, const SVideoFormat& format,
             double framesPerSecond, uint64_t segmentSize = kUsualSegment);

    void Append(std::span<const uint8_t> frame);
    // To be called once, at the end.
    void Finish(double framesPerSecond);

private:
    struct SFrame {
        uint64_t offset; // of the data
        uint32_t size;
    };
    struct SSegment {
        uint64_t offset;
        uint32_t size;
        uint32_t numFrames;
    };

    void WriteHeader();
    void BeginSegment(const char* kind);
    void EndSegment();
    void WriteFrameIndex();
    void WriteOldIndex();
    // Brings everything up to date that stands before the frames.
    void UpdateHeader();
    void WriteAt(uint64_t offset, std::span<const uint8_t> bytes);
    void Write(std::span<const uint8_t> bytes);
    [[noreturn]] void Fail() const;

    const std::filesystem::path m_path;
    const SVideoFormat m_format;
    const uint64_t m_segmentSize;
    double m_framesPerSecond;
    std::ofstream m_file;
    uint64_t m_end = 0;
    uint64_t m_segment = 0;         // where the open one begins
    uint64_t m_list = 0;            // where its list of frames begins
    std::vector<SFrame> m_frames;   // of the open segment
    std::vector<SSegment> m_closed; // the frame indexes of those that are complete
    uint32_t m_numInFirst = 0;
    uint32_t m_numFrames = 0;
    uint32_t m_largest = 0;
    std::chrono::steady_clock::time_point m_updated;
};

} // namespace norveltl
