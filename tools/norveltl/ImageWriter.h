// Writes images to files on a thread of its own, so that a slow disk does not stop the camera
// before the queue is full. Nothing is dropped: Add waits for room.
#pragma once

#include "Image.h"

#include <condition_variable>
#include <deque>
#include <exception>
#include <filesystem>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace norveltl {

struct SImage {
    uint64_t number;
    SImageFormat format;
    std::vector<uint8_t> bytes;
};

class CImageWriter {
public:
    // Creates the folder; throws CToolError when it cannot.
    CImageWriter(std::filesystem::path folder, size_t capacity);
    // Finishes what is queued.
    ~CImageWriter();
    CImageWriter(const CImageWriter&) = delete;
    CImageWriter& operator=(const CImageWriter&) = delete;

    // Waits while the queue is full; throws what writing an earlier image failed with.
    void Add(SImage image);
    // Waits until all is written, and throws what failed.
    void Finish();

    // To be asked after Finish only, whether or not that threw.
    uint64_t NumPng() const { return m_numPng; }
    uint64_t NumRaw() const { return m_numRaw; }
    const std::set<std::string>& Notes() const { return m_notes; }

private:
    void Run();
    void Write(const SImage& image);
    void Join();
    void ThrowFailure() const;

    const std::filesystem::path m_folder;
    const size_t m_capacity;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<SImage> m_queue;
    bool m_finishing = false;
    std::exception_ptr m_failure;
    // Only the thread touches these while it runs.
    uint64_t m_numPng = 0;
    uint64_t m_numRaw = 0;
    std::set<std::string> m_notes;
    std::thread m_thread;
};

} // namespace norveltl
