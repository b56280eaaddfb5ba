// A camera's data stream with its buffers: what was started is stopped, and what was announced is
// revoked, however the work ends.
#pragma once

#include "producers/Discovery.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <set>
#include <span>
#include <vector>

namespace norveltl {

class CStream {
public:
    // Opens the device's first stream. The device must outlive this object.
    CStream(const CProducer& producer, DEV_HANDLE device);
    ~CStream();
    CStream(const CStream&) = delete;
    CStream& operator=(const CStream&) = delete;

    // The size of an image in bytes where the stream itself knows it.
    std::optional<uint64_t> PayloadSize() const;
    // The number of buffers that the stream needs at least.
    uint64_t MinBuffers() const;
    // Lets the producer allocate the buffers, and queues them.
    void Announce(size_t size, size_t count);

    DS_HANDLE Handle() const { return m_stream.Get(); }
    EVENT_HANDLE Event() const { return m_newBuffer; }

    void Start();
    void Stop() noexcept;
    // The next filled buffer, or null when there is none within the time-out.
    BUFFER_HANDLE Wait(std::chrono::milliseconds timeout);
    void Queue(BUFFER_HANDLE buffer);

    // Both cost little enough to be asked of every image. A producer that does not answer has
    // filled the whole buffer.
    bool IsIncomplete(BUFFER_HANDLE buffer);
    uint64_t NumFilled(BUFFER_HANDLE buffer) const;

    std::optional<uint64_t> Info(STREAM_INFO_CMD command) const;
    std::optional<uint64_t> Info(BUFFER_HANDLE buffer, BUFFER_INFO_CMD command) const;
    // The same for what not every producer tells: whoever refused once is not asked again.
    std::optional<uint64_t> OptionalInfo(BUFFER_HANDLE buffer, BUFFER_INFO_CMD command);
    // The image that the camera filled in; valid until the buffer is queued again.
    std::span<const uint8_t> Bytes(BUFFER_HANDLE buffer) const;

private:
    const CProducer& m_producer;
    CHandle m_stream;
    EVENT_HANDLE m_newBuffer = nullptr;
    std::vector<BUFFER_HANDLE> m_buffers;
    size_t m_bufferSize = 0;
    bool m_started = false;
    bool m_tellsIncomplete = true;
    std::set<BUFFER_INFO_CMD> m_refused;
};

} // namespace norveltl
