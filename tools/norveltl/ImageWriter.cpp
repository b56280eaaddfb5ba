#include "ImageWriter.h"

#include "Console.h"
#include "Error.h"

#include <algorithm>
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

} // namespace

CImageWriter::CImageWriter(std::filesystem::path folder, EFileFormat format, size_t capacity)
    : m_folder(std::move(folder)), m_format(format), m_capacity(capacity) {
    std::error_code error;
    std::filesystem::create_directories(m_folder, error);
    if (!std::filesystem::is_directory(m_folder, error)) {
        throw CToolError("cannot create the folder " + Utf8FromPath(m_folder));
    }
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
        WritePng(m_folder / FileName(image.number, ".png"), *picture);
    } else if (picture) {
        WritePnm(m_folder / FileName(image.number, picture->numChannels == 1 ? ".pgm" : ".ppm"),
                 *picture);
    } else {
        WriteRaw(m_folder / FileName(image.number, ".raw"), image.bytes);
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
