// Writes images to files on threads of its own behind a bounded queue, so that neither a slow disk
// nor a slow encoder stops the camera. What finds no room is left out and counted.
#pragma once

#include "files/Image.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <filesystem>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace norveltl {

enum class EFileFormat { Png, Pgm, Raw };

struct SImage {
    uint64_t number;
    SImageFormat format;
    std::vector<uint8_t> bytes;
};

class CImageWriter {
public:
    // Creates the folder; throws CToolError when it cannot. Where it holds images of an earlier run
    // they are removed, or, if they shall be kept, a new folder with a number behind its name is
    // taken. The queue holds so many bytes.
    CImageWriter(const std::filesystem::path& folder, EFileFormat format, size_t capacity,
                 EExisting existing);
    // Finishes what is queued.
    ~CImageWriter();
    CImageWriter(const CImageWriter&) = delete;
    CImageWriter& operator=(const CImageWriter&) = delete;

    // Whether there is room now for an image of that size; if not, one more is counted as left out.
    // Throws what writing an earlier image failed with.
    bool HasRoom(size_t size);
    // To be called after HasRoom, by the same thread.
    void Add(SImage image);
    // Waits until all is written, and throws what failed.
    void Finish();

    const std::filesystem::path& Folder() const { return m_folder; }
    size_t NumQueued();
    // To be asked after Finish only, whether or not that threw.
    uint64_t NumPictures() const { return m_numPictures; }
    uint64_t NumRaw() const { return m_numRaw; }
    uint64_t NumLeftOut() const { return m_numLeftOut; }
    const std::set<std::string>& Notes() const { return m_notes; }

private:
    void Run();
    void Write(const SImage& image);
    void Join();

    const std::filesystem::path m_folder;
    const EFileFormat m_format;
    const EExisting m_existing;
    const size_t m_capacity;
    std::mutex m_mutex; // guards what follows
    std::condition_variable m_changed;
    std::deque<SImage> m_queue;
    size_t m_numBytes = 0;
    bool m_finishing = false;
    std::exception_ptr m_failure;
    uint64_t m_numPictures = 0;
    uint64_t m_numRaw = 0;
    uint64_t m_numLeftOut = 0;
    std::set<std::string> m_notes;
    std::vector<std::thread> m_threads;
};

} // namespace norveltl
