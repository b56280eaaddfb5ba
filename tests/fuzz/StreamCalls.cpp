// The operations that announce and revoke buffers, queue them, run the acquisition, and ask about
// what lies in a buffer.
#include "Calls.h"

#include <memory>

void CCalls::Announce() {
    static constexpr std::size_t SIZES[] = {0, 1, 95, 96, 97, 128, 256, 1024, 4096};
    const std::size_t size = m_bytes.PickValueInArray(SIZES);
    AnnounceAt(Take(Stream), size);
}

void CCalls::AnnounceAt(void* stream, std::size_t size) {
    std::unique_ptr<char[]> memory;
    if (m_bytes.ConsumeBool()) {
        memory = std::make_unique<char[]>(size);
    }
    COutput<BUFFER_HANDLE> handle(m_bytes);
    const bool isAllocated = m_bytes.ConsumeBool();
    const int32_t code = Try([&] {
        return isAllocated
                   ? gentl.DSAllocAndAnnounceBuffer(stream, size, this, handle.Pointer())
                   : gentl.DSAnnounceBuffer(stream, memory.get(), size, this, handle.Pointer());
    });
    if (code == 0) {
        m_handles.Add(Buffer, handle.Get(), stream, std::move(memory));
    }
}

// A buffer for which there is no memory is announced all the same. No queue must get it.
void CCalls::AnnounceAbsurd() {
    void* const stream = Take(Stream);
    if (!m_handles.IsAlive(Stream, stream)) {
        return;
    }
    Try([&] { return gentl.DSStopAcquisition(stream, 0); });
    const std::size_t size = SIZE_MAX >> m_bytes.ConsumeIntegralInRange(0, 16);
    BUFFER_HANDLE handle = nullptr;
    if (Try([&] { return gentl.DSAllocAndAnnounceBuffer(stream, size, this, &handle); }) != 0) {
        return;
    }
    Describe([&](auto... out) { return gentl.DSGetBufferInfo(stream, handle, out...); });
    void* base = this;
    Demand(Try([&] { return gentl.DSRevokeBuffer(stream, handle, &base, nullptr); }) == 0,
           "a buffer without memory is revoked");
    Demand(base == nullptr, "a buffer without memory has none");
}

void CCalls::Queue() {
    void* const stream = Take(Stream);
    void* const buffer = Take(Buffer);
    Try([&] { return gentl.DSQueueBuffer(stream, buffer); });
}

void CCalls::Revoke() {
    void* const stream = Take(Stream);
    void* const buffer = Take(Buffer);
    COutput<void*> memory(m_bytes);
    COutput<void*> user(m_bytes);
    const int32_t code =
        Try([&] { return gentl.DSRevokeBuffer(stream, buffer, memory.Pointer(), user.Pointer()); });
    if (code == 0) {
        Demand(m_handles.IsAlive(Buffer, buffer), "only what is announced is revoked");
        m_handles.Remove(buffer);
    }
}

void CCalls::Flush() {
    void* const stream = Take(Stream);
    const int32_t operation = m_bytes.ConsumeIntegralInRange(-1, 5);
    Try([&] { return gentl.DSFlushQueue(stream, operation); });
}

void CCalls::Start() {
    static constexpr std::uint64_t COUNTS[] = {UINT64_MAX, 0, 1, 2, 5, 0xFFFFFFFE, 0xFFFFFFFF};
    void* const stream = Take(Stream);
    const std::uint64_t count = m_bytes.PickValueInArray(COUNTS);
    Try([&] { return gentl.DSStartAcquisition(stream, TakeCommand(), count); });
}

void CCalls::Stop() {
    void* const stream = Take(Stream);
    Try([&] { return gentl.DSStopAcquisition(stream, TakeCommand()); });
}

void CCalls::AskBuffer() {
    void* const stream = Take(Stream);
    void* const buffer = Take(Buffer);
    Describe([&](auto... out) { return gentl.DSGetBufferInfo(stream, buffer, out...); });
}

// Fetches an image if one comes soon, and asks everything about it.
void CCalls::AskDelivered(void* stream, void* newBuffer) {
    EVENT_NEW_BUFFER_DATA data{};
    std::size_t size = sizeof data;
    if (Try([&] { return gentl.EventGetData(newBuffer, &data, &size, 2); }) != 0) {
        return;
    }
    for (int32_t command = 0; command < 32; ++command) {
        std::uint64_t value = 0;
        std::size_t width = sizeof value;
        Try([&] {
            return gentl.DSGetBufferInfo(stream, data.BufferHandle, command, nullptr, &value,
                                         &width);
        });
        Demand(width <= 3000, "no value is larger than this");
    }
}

void CCalls::FindBuffer() {
    void* const stream = Take(Stream);
    COutput<BUFFER_HANDLE> handle(m_bytes);
    const auto index = static_cast<std::uint32_t>(TakeCommand());
    if (Try([&] { return gentl.DSGetBufferID(stream, index, handle.Pointer()); }) == 0) {
        Demand(m_handles.IsAlive(Buffer, handle.Get()), "a buffer that is found is announced");
    }
}

void CCalls::NotThere() {
    void* const stream = Take(Stream);
    void* const buffer = Take(Buffer);
    COutput<std::uint32_t> count(m_bytes);
    std::size_t numChunks = 0;
    switch (m_bytes.ConsumeIntegralInRange(0, 2)) {
    case 0:
        Try([&] { return gentl.DSGetBufferChunkData(stream, buffer, nullptr, &numChunks); });
        break;
    case 1:
        Try([&] { return gentl.DSGetNumBufferParts(stream, buffer, count.Pointer()); });
        break;
    default:
        Describe([&](auto... out) { return gentl.DSGetBufferPartInfo(stream, buffer, 0, out...); });
        break;
    }
}
