#include "grabbing/Stream.h"

#include <algorithm>

namespace norveltl {

CStream::CStream(const CProducer& producer, DEV_HANDLE device)
    : m_producer(producer), m_stream(OpenFirstStream(producer, device)) {
    producer.Call(producer.GCRegisterEvent, m_stream.Get(), EVENT_NEW_BUFFER, &m_newBuffer);
}

CStream::~CStream() {
    Stop();
    const CProducer& p = m_producer;
    // Without the flush the buffers still count as queued, and cannot be revoked.
    if (!m_buffers.empty()) {
        p.CallOrReport(p.DSFlushQueue, m_stream.Get(), ACQ_QUEUE_ALL_DISCARD);
    }
    for (BUFFER_HANDLE buffer : m_buffers) {
        p.CallOrReport(p.DSRevokeBuffer, m_stream.Get(), buffer, nullptr, nullptr);
    }
    p.CallOrReport(p.GCUnregisterEvent, m_stream.Get(), EVENT_NEW_BUFFER);
}

// Some producers answer the size itself, as a wide number, where others answer whether they know
// it, as a flag.
std::optional<uint64_t> CStream::PayloadSize() const {
    const auto defines = QueryTypedNumber(
        CProducer::Query(m_producer.DSGetInfo, m_stream.Get(), STREAM_INFO_DEFINES_PAYLOADSIZE));
    if (!defines || defines->value == 0) {
        return std::nullopt;
    }
    if (const auto size = Info(STREAM_INFO_PAYLOAD_SIZE); size && *size > 0) {
        return size;
    }
    if (defines->type != INFO_DATATYPE_BOOL8 && defines->value > 1) {
        return defines->value;
    }
    return std::nullopt;
}

uint64_t CStream::MinBuffers() const {
    return Info(STREAM_INFO_BUF_ANNOUNCE_MIN).value_or(1);
}

void CStream::Announce(size_t size, size_t count) {
    m_bufferSize = size;
    for (size_t i = 0; i < count; ++i) {
        BUFFER_HANDLE buffer = nullptr;
        m_producer.Call(m_producer.DSAllocAndAnnounceBuffer, m_stream.Get(), size, nullptr,
                        &buffer);
        m_buffers.push_back(buffer);
        Queue(buffer);
    }
}

void CStream::Start() {
    m_producer.Call(m_producer.DSStartAcquisition, m_stream.Get(), ACQ_START_FLAGS_DEFAULT,
                    GENTL_INFINITE);
    m_started = true;
}

void CStream::Stop() noexcept {
    if (std::exchange(m_started, false)) {
        m_producer.CallOrReport(m_producer.DSStopAcquisition, m_stream.Get(),
                                ACQ_STOP_FLAGS_DEFAULT);
    }
}

// A wait may also end in success without an image, which leaves the handle null.
BUFFER_HANDLE CStream::Wait(std::chrono::milliseconds timeout) {
    EVENT_NEW_BUFFER_DATA data{};
    size_t size = sizeof(data);
    const GC_ERROR code =
        m_producer.EventGetData(m_newBuffer, &data, &size, static_cast<uint64_t>(timeout.count()));
    if (code == GC_ERR_TIMEOUT || code == GC_ERR_NO_DATA) {
        return nullptr;
    }
    m_producer.Check(m_producer.EventGetData.name, code);
    return data.BufferHandle;
}

void CStream::Queue(BUFFER_HANDLE buffer) {
    m_producer.Call(m_producer.DSQueueBuffer, m_stream.Get(), buffer);
}

// A refusal can cost a producer more than the image itself, so that it is asked for only once.
bool CStream::IsIncomplete(BUFFER_HANDLE buffer) {
    if (!m_tellsIncomplete) {
        return false;
    }
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    bool8_t value = 0;
    size_t size = sizeof(value);
    m_tellsIncomplete =
        m_producer.DSGetBufferInfo(m_stream.Get(), buffer, BUFFER_INFO_IS_INCOMPLETE, &type, &value,
                                   &size) == GC_ERR_SUCCESS;
    return m_tellsIncomplete && value != 0;
}

uint64_t CStream::NumFilled(BUFFER_HANDLE buffer) const {
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t value = 0;
    size_t size = sizeof(value);
    const GC_ERROR code = m_producer.DSGetBufferInfo(m_stream.Get(), buffer,
                                                     BUFFER_INFO_SIZE_FILLED, &type, &value, &size);
    return code == GC_ERR_SUCCESS && type == INFO_DATATYPE_SIZET ? value : m_bufferSize;
}

std::optional<uint64_t> CStream::Info(STREAM_INFO_CMD command) const {
    return QueryNumber(CProducer::Query(m_producer.DSGetInfo, m_stream.Get(), command));
}

std::optional<uint64_t> CStream::Info(BUFFER_HANDLE buffer, BUFFER_INFO_CMD command) const {
    return QueryNumber(
        CProducer::Query(m_producer.DSGetBufferInfo, m_stream.Get(), buffer, command));
}

std::optional<uint64_t> CStream::OptionalInfo(BUFFER_HANDLE buffer, BUFFER_INFO_CMD command) {
    if (m_refused.contains(command)) {
        return std::nullopt;
    }
    const auto value = Info(buffer, command);
    if (!value) {
        m_refused.insert(command);
    }
    return value;
}

std::span<const uint8_t> CStream::Bytes(BUFFER_HANDLE buffer) const {
    const auto base = Info(buffer, BUFFER_INFO_BASE);
    const auto announced = Info(buffer, BUFFER_INFO_SIZE);
    if (!base || *base == 0 || !announced) {
        throw CToolError("the producer does not tell where a buffer's bytes are");
    }
    const uint64_t filled =
        std::min(Info(buffer, BUFFER_INFO_SIZE_FILLED).value_or(*announced), *announced);
    const uint64_t offset = std::min(Info(buffer, BUFFER_INFO_IMAGEOFFSET).value_or(0), filled);
    return {reinterpret_cast<const uint8_t*>(static_cast<uintptr_t>(*base + offset)),
            static_cast<size_t>(filled - offset)};
}

} // namespace norveltl
