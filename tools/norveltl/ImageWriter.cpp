#include "ImageWriter.h"

#include "Console.h"
#include "Error.h"

#include <utility>

namespace norveltl {

namespace {

std::string FileName(uint64_t number, const char* extension) {
    constexpr size_t kMinDigits = 4;
    std::string digits = std::to_string(number);
    if (digits.size() < kMinDigits)
        digits.insert(0, kMinDigits - digits.size(), '0');
    return "image_" + digits + extension;
}

} // namespace

CImageWriter::CImageWriter(std::filesystem::path folder, size_t capacity)
    : m_folder(std::move(folder)), m_capacity(capacity) {
    std::error_code error;
    std::filesystem::create_directories(m_folder, error);
    if (!std::filesystem::is_directory(m_folder, error))
        throw CToolError("cannot create the folder " + Utf8FromPath(m_folder));
    m_thread = std::thread(&CImageWriter::Run, this);
}

CImageWriter::~CImageWriter() {
    Join();
}

void CImageWriter::Add(SImage image) {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_queue.size() < m_capacity || m_failure; });
    ThrowFailure();
    m_queue.push_back(std::move(image));
    m_changed.notify_all();
}

void CImageWriter::Finish() {
    Join();
    ThrowFailure();
}

void CImageWriter::Join() {
    {
        const std::lock_guard lock(m_mutex);
        m_finishing = true;
        m_changed.notify_all();
    }
    if (m_thread.joinable())
        m_thread.join();
}

void CImageWriter::ThrowFailure() const {
    if (m_failure)
        std::rethrow_exception(m_failure);
}

void CImageWriter::Run() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return !m_queue.empty() || m_finishing; });
        if (m_queue.empty())
            return;
        const SImage image = std::move(m_queue.front());
        m_queue.pop_front();
        m_changed.notify_all();
        lock.unlock();
        std::exception_ptr failure;
        try {
            Write(image);
        } catch (...) {
            failure = std::current_exception();
        }
        lock.lock();
        if (failure) {
            m_failure = failure;
            m_queue.clear();
            m_changed.notify_all();
            return;
        }
    }
}

void CImageWriter::Write(const SImage& image) {
    if (const auto picture = Convert(image.bytes, image.format)) {
        WritePng(m_folder / FileName(image.number, ".png"), *picture);
        ++m_numPng;
        if (!picture->note.empty())
            m_notes.insert(picture->note);
        return;
    }
    WriteRaw(m_folder / FileName(image.number, ".raw"), image.bytes);
    ++m_numRaw;
    m_notes.insert(image.format.pixelFormat.empty()
                       ? "the image format is unknown: raw files"
                       : "images of " + Printable(image.format.pixelFormat) + ", " +
                             std::to_string(image.format.width) + " x " +
                             std::to_string(image.format.height) +
                             " pixels, are not converted: raw files");
}

} // namespace norveltl
