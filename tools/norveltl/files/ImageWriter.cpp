#include "files/ImageWriter.h"

#include "terminal/Console.h"
#include "terminal/Error.h"

#include <algorithm>
#include <regex>
#include <utility>

namespace norveltl {

namespace {

constexpr unsigned kMaxThreads = 8;

std::string FileName(uint64_t number, const char* extension) {
    constexpr size_t kMinDigits = 4;
    std::string digits = std::to_string(number);
    if (digits.size() < kMinDigits) {
        digits.insert(0, kMinDigits - digits.size(), '0');
    }
    return "image_" + digits + extension;
}

namespace fs = std::filesystem;

bool IsImage(const fs::path& path) {
    static const std::regex pattern("image_[0-9]{4,}\\.(png|pgm|ppm|raw)");
    return std::regex_match(Utf8FromPath(path.filename()), pattern);
}

std::vector<fs::path> ImagesIn(const fs::path& folder) {
    std::vector<fs::path> images;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        if (entry.is_regular_file() && IsImage(entry.path())) {
            images.push_back(entry.path());
        }
    }
    return images;
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
        const std::vector<fs::path> earlier = ImagesIn(folder);
        if (!earlier.empty() && existing == EExisting::Keep) {
            return FolderBeside(folder);
        }
        for (const fs::path& image : earlier) {
            fs::remove(image);
        }
        return folder;
    } catch (const fs::filesystem_error& error) {
        throw CToolError("cannot use the folder " + Utf8FromPath(folder) + ": " +
                         Printable(error.code().message()));
    }
}

} // namespace

CImageWriter::CImageWriter(const fs::path& folder, EFileFormat format, size_t capacity,
                           EExisting existing)
    : m_folder(FolderOfRun(folder, existing)),
      m_format(format),
      m_existing(existing),
      m_capacity(capacity) {
    PreparePng();
    const unsigned count = std::clamp(std::thread::hardware_concurrency(), 1U, kMaxThreads);
    for (unsigned i = 0; i < count; ++i) {
        m_threads.emplace_back(&CImageWriter::Run, this);
    }
}

CImageWriter::~CImageWriter() {
    Join();
}

// A first image always has room, however large it is.
bool CImageWriter::HasRoom(size_t size) {
    const std::lock_guard lock(m_mutex);
    if (m_failure) {
        std::rethrow_exception(m_failure);
    }
    const bool hasRoom = m_queue.empty() || m_numBytes + size <= m_capacity;
    if (!hasRoom) {
        ++m_numLeftOut;
    }
    return hasRoom;
}

void CImageWriter::Add(SImage image) {
    const std::lock_guard lock(m_mutex);
    m_numBytes += image.bytes.size();
    m_queue.push_back(std::move(image));
    m_changed.notify_one();
}

void CImageWriter::Finish() {
    Join();
    if (m_failure) {
        std::rethrow_exception(m_failure);
    }
}

size_t CImageWriter::NumQueued() {
    const std::lock_guard lock(m_mutex);
    return m_queue.size();
}

void CImageWriter::Join() {
    {
        const std::lock_guard lock(m_mutex);
        m_finishing = true;
        m_changed.notify_all();
    }
    for (std::thread& thread : m_threads) {
        if (thread.joinable()) {
            thread.join();
        }
    }
}

void CImageWriter::Run() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return !m_queue.empty() || m_finishing || m_failure; });
        if (m_queue.empty() || m_failure) {
            return;
        }
        const SImage image = std::move(m_queue.front());
        m_queue.pop_front();
        lock.unlock();
        std::exception_ptr failure;
        try {
            Write(image);
        } catch (...) {
            failure = std::current_exception();
        }
        lock.lock();
        m_numBytes -= image.bytes.size();
        if (failure) {
            m_failure = failure;
            m_changed.notify_all();
            return;
        }
    }
}

void CImageWriter::Write(const SImage& image) {
    std::optional<SPicture> picture;
    if (m_format != EFileFormat::Raw) {
        picture = Convert(image.bytes, image.format);
    }
    if (picture && m_format == EFileFormat::Png) {
        WritePng(m_folder / FileName(image.number, ".png"), *picture, m_existing);
    } else if (picture) {
        WritePnm(m_folder / FileName(image.number, picture->numChannels == 1 ? ".pgm" : ".ppm"),
                 *picture, m_existing);
    } else {
        WriteRaw(m_folder / FileName(image.number, ".raw"), image.bytes, m_existing);
    }
    const std::lock_guard lock(m_mutex);
    ++(picture ? m_numPictures : m_numRaw);
    if (picture || m_format == EFileFormat::Raw) {
        return;
    }
    m_notes.insert(image.format.pixelFormat.empty()
                       ? "the image format is unknown: raw files"
                       : "images of " + Printable(image.format.pixelFormat) + ", " +
                             std::to_string(image.format.width) + " x " +
                             std::to_string(image.format.height) +
                             " pixels, are not converted: raw files");
}

} // namespace norveltl
