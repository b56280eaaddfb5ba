// Hands images to sinks on threads of its own behind a bounded queue, so that neither a slow disk
// nor a slow encoder stops the camera. What finds no room is left out and counted.
#pragma once

#include "files/ImageSink.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace norveltl {

class CImageWriter {
public:
    using Sinks = std::vector<std::shared_ptr<IImageSink>>;

    // The queue holds so many bytes.
    CImageWriter(Sinks sinks, size_t capacity);
    // Waits for what is queued.
    ~CImageWriter();
    CImageWriter(const CImageWriter&) = delete;
    CImageWriter& operator=(const CImageWriter&) = delete;

    // Whether there is room now for an image of that size; if not, one more is counted as left out.
    // Throws what writing an earlier image failed with.
    bool HasRoom(size_t size);
    // To be called after HasRoom, by the same thread.
    void Add(SImage image);
    // Waits until all is written, finishes every sink, and throws what failed first unless HasRoom
    // did.
    void Finish();

    size_t NumQueued() const;
    uint64_t NumLeftOut() const;

private:
    void Run();
    void Write(const SImage& image, uint64_t turn);
    void Join();

    const Sinks m_sinks;
    const size_t m_capacity;
    mutable std::mutex m_mutex; // guards what follows
    std::condition_variable m_changed;
    std::condition_variable m_nextTurn;
    std::deque<SImage> m_queue;
    size_t m_numBytes = 0;
    bool m_finishing = false;
    std::exception_ptr m_failure;
    bool m_isThrown = false;
    uint64_t m_numTaken = 0;
    uint64_t m_turn = 0; // of the images taken, whose is next
    uint64_t m_numLeftOut = 0;
    std::vector<std::thread> m_threads;
};

} // namespace norveltl
