#include "files/ImageFolder.h"

#include "terminal/Console.h"
#include "terminal/Error.h"

#include <boost/crc.hpp>

#include <regex>
#include <utility>

namespace norveltl {

namespace {

std::string StemOf(uint64_t number) {
    constexpr size_t kMinDigits = 4;
    std::string digits = std::to_string(number);
    if (digits.size() < kMinDigits) {
        digits.insert(0, kMinDigits - digits.size(), '0');
    }
    return "image_" + digits;
}

namespace fs = std::filesystem;

bool IsOfRun(const fs::path& path) {
    static const std::regex pattern("image_[0-9]{4,}\\.(png|pgm|ppm|tif|raw)");
    const std::string name = Utf8FromPath(path.filename());
    return name == CImageFolder::kReport || std::regex_match(name, pattern);
}

std::vector<fs::path> FilesIn(const fs::path& folder) {
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        if (entry.is_regular_file() && IsOfRun(entry.path())) {
            files.push_back(entry.path());
        }
    }
    return files;
}

// Creating is what claims a folder, whoever else looks for one.
fs::path FolderBeside(const fs::path& folder) {
    const fs::path name = folder.filename();
    const bool isNamed = !name.empty() && name != "." && name != "..";
    for (unsigned run = 2;; ++run) {
        fs::path other = isNamed        ? folder
                         : name.empty() ? folder.parent_path()
                                        : fs::canonical(folder);
        other += "-" + std::to_string(run);
        if (fs::create_directory(other)) {
            return other;
        }
    }
}

fs::path FolderOfRun(const fs::path& folder, EExisting existing) {
    try {
        fs::create_directories(folder);
        const std::vector<fs::path> earlier = FilesIn(folder);
        if (!earlier.empty() && existing == EExisting::Keep) {
            return FolderBeside(folder);
        }
        for (const fs::path& file : earlier) {
            fs::remove(file);
        }
        return folder;
    } catch (const fs::filesystem_error& error) {
        throw CToolError("cannot use the folder " + Utf8FromPath(folder) + ": " +
                         Printable(error.code().message()));
    }
}

uint32_t ChecksumOf(const std::vector<uint8_t>& bytes) {
    boost::crc_32_type crc;
    crc.process_bytes(bytes.data(), bytes.size());
    return crc.checksum();
}

} // namespace

EFileFormat FileFormatOf(const std::string& name) {
    return name == "raw"    ? EFileFormat::Raw
           : name == "pgm"  ? EFileFormat::Pgm
           : name == "tiff" ? EFileFormat::Tiff
                            : EFileFormat::Png;
}

SImageRecord WriteImage(const std::filesystem::path& folder, const std::string& stem,
                        const SImage& image, EFileFormat format, EExisting existing) {
    std::optional<SPicture> picture;
    if (format != EFileFormat::Raw) {
        picture = Convert(image.bytes, image.format);
    }
    const auto write = [&](const char* suffix, auto function, const auto& content) {
        std::string name = stem + suffix;
        function(folder / PathFromUtf8(name), content, existing);
        return name;
    };
    std::string file;
    if (!picture) {
        file = write(".raw", WriteRaw, image.bytes);
    } else if (format == EFileFormat::Png) {
        file = write(".png", WritePng, *picture);
    } else if (format == EFileFormat::Tiff) {
        file = write(".tif", WriteTiff, *picture);
    } else {
        file = write(picture->numChannels == 1 ? ".pgm" : ".ppm", WritePnm, *picture);
    }
    return {image.number, std::move(file), image.bytes.size(), ChecksumOf(image.bytes), false,
            image.format, image.arrival,   image.frameId,      image.timestamp};
}

CImageFolder::CImageFolder(const fs::path& folder, EFileFormat format, EExisting existing)
    : m_folder(FolderOfRun(folder, existing)), m_format(format), m_existing(existing) {}

std::function<void()> CImageFolder::Write(const SImage& image) {
    SImageRecord record = WriteImage(m_folder, StemOf(image.number), image, m_format, m_existing);
    return [this, record = std::move(record)] { Record(record); };
}

void CImageFolder::Record(SImageRecord record) {
    if (!m_records.empty()) {
        const SImageRecord& before = m_records.back();
        record.isRepeated = before.number + 1 == record.number && before.size == record.size &&
                            before.checksum == record.checksum;
    }
    m_numRepeated += record.isRepeated ? 1 : 0;
    const bool isPicture = record.IsPicture();
    m_numPictures += isPicture ? 1 : 0;
    if (!isPicture && m_format != EFileFormat::Raw) {
        const SImageFormat& format = record.format;
        m_notes.insert(format.pixelFormat.empty() ? "the image format is unknown: raw files"
                                                  : "images of " + Printable(format.pixelFormat) +
                                                        ", " + std::to_string(format.width) +
                                                        " x " + std::to_string(format.height) +
                                                        " pixels, are not converted: raw files");
    }
    m_records.push_back(std::move(record));
}

} // namespace norveltl
