// Images that follow each other as a video: into the standard output, or into a file.
#pragma once

#include "files/AviFile.h"
#include "files/ImageSink.h"

#include <filesystem>
#include <optional>
#include <string>

namespace norveltl {

enum class EPipeFormat { Y4m, Raw };
enum class ECodec { Jpeg, None };

// Every sink throws CToolError for images that are no picture, or not the same kind of picture as
// the first one was.
class CPipeSink : public IImageSink {
public:
    // Makes the standard output fit for it. The frame rate is what the stream says of itself.
    CPipeSink(EPipeFormat format, double framesPerSecond);

    std::function<void()> Write(const SImage& image) override;
    void Finish() override {}

    // Once no image is written any more.
    uint64_t NumImages() const { return m_numImages; }

private:
    const EPipeFormat m_format;
    const double m_framesPerSecond;
    std::string m_header; // of the first image
    uint64_t m_numImages = 0;
};

class CAviSink : public IImageSink {
public:
    // The frame rate is the file's until the end; then it follows from the images' arrival.
    CAviSink(const std::filesystem::path& path, EExisting existing, ECodec codec,
             double framesPerSecond);

    std::function<void()> Write(const SImage& image) override;
    void Finish() override;

    const std::filesystem::path& Path() const { return m_path; }
    uint64_t NumImages() const { return m_numImages; }

private:
    void Append(const SVideoFormat& format, std::span<const uint8_t> frame,
                std::chrono::duration<double> arrival);

    const std::filesystem::path m_path;
    const EExisting m_existing;
    const ECodec m_codec;
    const double m_framesPerSecond;
    SVideoFormat m_format{};
    std::optional<CAviFile> m_file;
    uint64_t m_numImages = 0;
    std::chrono::duration<double> m_first{0}, m_last{0};
};

} // namespace norveltl
