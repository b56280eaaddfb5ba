// A folder of image files, one for each image, and the account of them.
#pragma once

#include "files/ImageSink.h"

#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace norveltl {

enum class EFileFormat { Png, Pgm, Tiff, Raw };

// "png", "pgm", "tiff", "raw"; PNG for anything else.
EFileFormat FileFormatOf(const std::string& name);

// What is kept in mind of an image that was written.
struct SImageRecord {
    uint64_t number;
    std::string file;
    size_t size; // of what the camera sent, as is the CRC-32
    uint32_t checksum;
    bool isRepeated; // the same bytes as the image before
    SImageFormat format;
    std::chrono::duration<double> arrival;
    std::optional<uint64_t> frameId, timestamp;

    bool IsPicture() const { return !file.ends_with(".raw"); }
};

// Writes it as "STEM.png" and so on, or as "STEM.raw" when its format does not become a picture.
SImageRecord WriteImage(const std::filesystem::path& folder, const std::string& stem,
                        const SImage& image, EFileFormat format, EExisting existing);

class CImageFolder : public IImageSink {
public:
    // Creates the folder; throws CToolError when it cannot. Where it holds images of an earlier run
    // they are removed, or, if they shall be kept, a new folder with a number behind its name is
    // taken.
    CImageFolder(const std::filesystem::path& folder, EFileFormat format, EExisting existing);

    std::function<void()> Write(const SImage& image) override;
    void Finish() override {}

    const std::filesystem::path& Path() const { return m_folder; }
    // What follows is to be asked once no image is written any more. In the images' order.
    const std::vector<SImageRecord>& Records() const { return m_records; }
    uint64_t NumPictures() const { return m_numPictures; }
    uint64_t NumRaw() const { return m_records.size() - m_numPictures; }
    uint64_t NumRepeated() const { return m_numRepeated; }
    const std::set<std::string>& Notes() const { return m_notes; }

    // The name of the file that tells what the images are.
    static constexpr const char* kReport = "grab.json";

private:
    void Record(SImageRecord record);

    const std::filesystem::path m_folder;
    const EFileFormat m_format;
    const EExisting m_existing;
    std::vector<SImageRecord> m_records;
    uint64_t m_numPictures = 0;
    uint64_t m_numRepeated = 0;
    std::set<std::string> m_notes;
};

} // namespace norveltl
