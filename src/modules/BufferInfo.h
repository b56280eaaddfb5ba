// One announced buffer: its memory, the consumer's pointer, and the state that its stream keeps.
// This file knows no stream.
#pragma once

#include "core/CommonBase.h"

#include <atomic>
#include <memory>

namespace GenICam::Client {

// The state bytes are written by the stream and its acquisition thread and may be read by any
// thread.
class CBufferInfo final : public ICommonBase {
public:
    // Uses the consumer's memory, size bytes, or with a null pointer zeroed memory of its own; an
    // allocation that fails leaves the memory null.
    CBufferInfo(void* memory, size_t size, void* privateData);
    ~CBufferInfo() override;
    CBufferInfo(const CBufferInfo&) = delete;
    CBufferInfo& operator=(const CBufferInfo&) = delete;

    COutcome GetPortURL(char* buffer, size_t* size) override;
    COutcome GetPortInfo(PORT_INFO_CMD command, INFO_DATATYPE* type, void* buffer,
                         size_t* size) override;
    COutcome GetPortURLInfo(std::uint32_t index, URL_INFO_CMD command, INFO_DATATYPE* type,
                            void* buffer, size_t* size) override;
    // A buffer has no events: throws std::invalid_argument.
    void RegisterEvent(EVENT_TYPE type, EVENT_HANDLE* event) override;

    // Answers BUFFER_INFO commands. Refuses the base of a buffer without memory as
    // std::runtime_error and a command that does not exist as invalid_parameter_error.
    COutcome GetInfo(BUFFER_INFO_CMD command, INFO_DATATYPE* type, void* buffer,
                     size_t* size) const;

    void* Memory() const { return m_memory; }
    size_t Size() const { return m_size; }
    void* PrivateData() const { return m_private; }

    // In the stream's input queue or being filled.
    bool IsQueued() const { return m_isQueued.load(std::memory_order_acquire); }
    // In the stream's output queue. To be asked after IsQueued: a buffer that is delivered
    // meanwhile then answers yes to one of the two.
    bool IsDelivered() const { return m_isDelivered.load(std::memory_order_acquire); }
    // The three state bytes at once: queued, new data, delivered.
    void SetState(bool queued, bool newData, bool delivered);
    // The consumer has it. Who finds it delivered no more finds it unqueued, for good.
    void SetFetched();
    void SetQueued() { m_isQueued.store(true, std::memory_order_relaxed); }
    void ClearNewData() { m_newData.store(false, std::memory_order_relaxed); }
    // Raw ticks of the performance counter at the end of the last fill; 0 before the first.
    std::uint64_t Timestamp() const { return m_timestamp.load(std::memory_order_relaxed); }
    void SetTimestamp(std::uint64_t ticks) { m_timestamp.store(ticks, std::memory_order_relaxed); }

    // The stream that announced the buffer; null when it has gone without it.
    void SetOwner(const void* stream) { m_owner = stream; }
    void NoteQueuedIn(const void* stream) {
        if (stream != m_owner) {
            m_hasStrayed = true;
        }
    }
    // Whether the buffer was ever queued in a stream that did not announce it.
    bool HasStrayed() const { return m_hasStrayed; }

private:
    struct SFreeMemory {
        void operator()(void* memory) const;
    };

    std::unique_ptr<void, SFreeMemory> m_ownMemory;
    void* m_memory;
    size_t m_size;
    void* m_private;
    std::atomic<bool> m_isQueued{false};
    std::atomic<bool> m_newData{false};
    std::atomic<bool> m_isDelivered{false};
    std::atomic<std::uint64_t> m_timestamp{0};
    std::atomic<const void*> m_owner{nullptr}; // only ever compared
    std::atomic<bool> m_hasStrayed{false};
    std::uint32_t m_xmlLength = 0;
};

} // namespace GenICam::Client
