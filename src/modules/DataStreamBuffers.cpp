// The data stream's pool of buffers and its two queues.
#include "modules/DataStream.h"

#include "core/Errors.h"
#include "core/Patience.h"
#include "modules/BufferInfo.h"
#include "modules/StreamRegistry.h"

#include <algorithm>
#include <stdexcept>

namespace GenICam::Client {
namespace {

CBufferInfo& BufferOf(BUFFER_HANDLE handle) {
    auto* buffer = HandleCast<CBufferInfo>(handle);
    if (buffer == nullptr) {
        throw std::runtime_error("Invalid Device Handle");
    }
    return *buffer;
}

template <class T>
void WriteIfWanted(T* destination, T value) {
    if (destination != nullptr) {
        *destination = value;
    }
}

} // namespace

CBufferInfo* CDataStream::Announce(std::unique_ptr<CBufferInfo> buffer) {
    buffer->SetOwner(this);
    // Room for its delivery is made here, not by the acquisition thread.
    const auto output = LockedSoon(m_outputLock);
    m_output.Reserve(m_announced.size() + 2);
    m_announced.push_back(buffer.get());
    return buffer.release();
}

std::size_t CDataStream::NumAnnounced() {
    const auto output = LockedSoon(m_outputLock);
    return m_announced.size();
}

bool CDataStream::HasSmallBuffer() {
    const auto output = LockedSoon(m_outputLock);
    return std::any_of(m_announced.begin(), m_announced.end(), [this](const CBufferInfo* buffer) {
        return buffer->Size() < m_payloadSize;
    });
}

void CDataStream::AnnounceBuffer(void* memory, size_t size, void* privateData,
                                 BUFFER_HANDLE* handle) {
    BUFFER_HANDLE& result = Require(handle, "phBuffer");
    result = HandleOf(Announce(std::make_unique<CBufferInfo>(memory, size, privateData)));
}

void CDataStream::AllocAndAnnounceBuffer(void** memory, size_t size, void* privateData,
                                         BUFFER_HANDLE* handle) {
    void*& allocated = Require(memory, "ppBuffer");
    BUFFER_HANDLE& result = Require(handle, "phBuffer");
    CBufferInfo* buffer = Announce(std::make_unique<CBufferInfo>(nullptr, size, privateData));
    if (buffer->Memory() == nullptr) {
        throw std::runtime_error("Invalid Memory Buffer");
    }
    allocated = buffer->Memory();
    result = HandleOf(buffer);
}

void CDataStream::RevokeBuffer(BUFFER_HANDLE handle, void** memory, void** privateData) {
    const CCallCounter::CScope inside(m_calls);
    CBufferInfo& buffer = BufferOf(handle);
    const auto isAnnounced = [&] {
        const auto output = LockedSoon(m_outputLock);
        return std::find(m_announced.begin(), m_announced.end(), &buffer) != m_announced.end();
    };
    if (!isAnnounced()) {
        throw invalid_handle_error("Invalid Buffer Handle");
    }
    if (buffer.IsQueued() || buffer.IsDelivered()) {
        throw std::runtime_error("Buffer queued");
    }
    // Clear state does not mean that no queue holds it: a discard leaves it in the output queue.
    if (buffer.HasStrayed()) {
        CStreamRegistry::Instance().DropEverywhere(buffer);
    } else {
        DropBuffer(buffer);
    }
    {
        const auto output = LockedSoon(m_outputLock);
        if (std::erase(m_announced, &buffer) == 0) { // another thread revoked it meanwhile
            throw invalid_handle_error("Invalid Buffer Handle");
        }
    }
    WriteIfWanted(memory, buffer.Memory());
    WriteIfWanted(privateData, buffer.PrivateData());
    delete &buffer;
}

void CDataStream::DropBuffer(const CBufferInfo& buffer) {
    {
        const CInputLock input(*this);
        const auto output = LockedSoon(m_outputLock);
        m_input.Remove(&buffer);
        m_output.Remove(&buffer);
        if (m_filling.load(std::memory_order_relaxed) == &buffer) {
            m_fillDropped = true;
            m_discardedFill = nullptr;
        }
    }
    for (CPatience patience; m_filling.load(std::memory_order_acquire) == &buffer;) {
        patience.Pause();
    }
}

void CDataStream::QueueBuffer(BUFFER_HANDLE handle) {
    CBufferInfo& buffer = BufferOf(handle);
    if (buffer.IsQueued()) {
        return;
    }
    CWaitPoint<>::Sleeper waiting = nullptr;
    {
        const CInputLock input(*this);
        // Another thread may have queued it meanwhile.
        if (buffer.IsQueued()) {
            return;
        }
        buffer.NoteQueuedIn(this);
        m_input.PushBack(&buffer);
        buffer.SetState(true, false, false);
        waiting = m_inputFilled.Grant();
    }
    m_inputFilled.Wake(waiting);
}

void CDataStream::MoveInputToOutput() {
    m_output.ReserveMore(m_input.Size());
    for (CBufferInfo* buffer : m_input) {
        buffer->SetState(false, false, true);
        m_output.PushBack(buffer);
    }
    m_input.Clear();
    m_outputFilled.Wake(m_outputFilled.Grant());
}

void CDataStream::DiscardOutput() {
    for (CBufferInfo* buffer : m_output) {
        buffer->SetState(false, false, false);
    }
    m_output.Clear();
}

void CDataStream::MoveOutputToInput() {
    m_input.ReserveMore(m_output.Size());
    for (CBufferInfo* buffer : m_output) {
        buffer->SetState(true, false, false);
        m_input.PushBack(buffer);
    }
    m_output.Clear();
}

// Of every buffer, or of those only that are not delivered either and then have no new data.
void CDataStream::AppendUnqueued(bool evenDelivered) {
    m_input.ReserveMore(m_announced.size());
    for (CBufferInfo* buffer : m_announced) {
        if (buffer->IsQueued() || (buffer->IsDelivered() && !evenDelivered)) {
            continue;
        }
        buffer->SetQueued();
        if (!evenDelivered) {
            buffer->ClearNewData();
        }
        m_input.PushBack(buffer);
    }
    m_inputFilled.Wake(m_inputFilled.Grant());
}

// Every announced buffer ends in the output queue, from where a wait delivers it although its
// state is clear; the one that is being filled, when that has ended.
void CDataStream::DiscardAll() {
    m_output.Reserve(m_announced.size() + 2);
    m_output.Clear();
    m_input.Clear();
    for (CBufferInfo* buffer : m_announced) {
        buffer->SetState(false, false, false);
        m_output.PushBack(buffer);
        if (buffer == m_filling.load(std::memory_order_relaxed)) {
            m_discardedFill = buffer;
        }
    }
}

void CDataStream::FlushQueue(ACQ_QUEUE_TYPE operation) {
    if (operation < ACQ_QUEUE_INPUT_TO_OUTPUT || operation > ACQ_QUEUE_ALL_DISCARD) {
        return;
    }
    const CInputLock input(*this);
    const auto output = LockedSoon(m_outputLock);
    switch (operation) {
    case ACQ_QUEUE_UNQUEUED_TO_INPUT:
        AppendUnqueued(false);
        break;
    case ACQ_QUEUE_INPUT_TO_OUTPUT:
        MoveInputToOutput();
        break;
    case ACQ_QUEUE_OUTPUT_DISCARD:
        DiscardOutput();
        break;
    case ACQ_QUEUE_ALL_TO_INPUT:
        MoveOutputToInput();
        AppendUnqueued(true);
        break;
    default:
        DiscardAll();
        break;
    }
}

COutcome CDataStream::GetBufferInfo(BUFFER_HANDLE handle, BUFFER_INFO_CMD command,
                                    INFO_DATATYPE* type, void* buffer, size_t* size) {
    return BufferOf(handle).GetInfo(command, type, buffer, size);
}

void CDataStream::GetBufferID(std::uint32_t index, BUFFER_HANDLE* handle) {
    BUFFER_HANDLE& result = Require(handle, "phBuffer");
    const auto output = LockedSoon(m_outputLock);
    if (index >= m_announced.size()) {
        throw std::runtime_error(
            Format("Invalid Buffer Index %d", static_cast<std::int32_t>(index)));
    }
    result = HandleOf(m_announced[index]);
}

} // namespace GenICam::Client
