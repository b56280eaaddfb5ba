#include "modules/BufferInfo.h"

#include "core/Errors.h"
#include "core/InfoOut.h"
#include "core/PortUrl.h"
#include "platform/Platform.h"

#include <stdexcept>

namespace GenICam::Client {
namespace {

constexpr std::int32_t kBufferXmlSubMinorVersion = 3;
constexpr std::uint32_t kBufferXmlAddress = 0x100;

std::string BufferUrl(std::uint32_t xmlLength) {
    return LocalUrl("TLBufferRegs.xml", kBufferXmlAddress, xmlLength);
}

} // namespace

CBufferInfo::CBufferInfo(void* memory, size_t size, void* privateData)
    : m_ownMemory(memory == nullptr ? Platform::AllocateMemory(size) : nullptr),
      m_memory(memory == nullptr ? m_ownMemory.get() : memory),
      m_size(size),
      m_private(privateData) {
    PublishHandle();
}

CBufferInfo::~CBufferInfo() {
    RetireHandle();
}

void CBufferInfo::SFreeMemory::operator()(void* memory) const {
    Platform::FreeMemory(memory);
}

COutcome CBufferInfo::GetPortURL(char* buffer, size_t* size) {
    return CopyOutUrl<invalid_buffer_error>(BufferUrl(m_xmlLength), buffer, size);
}

COutcome CBufferInfo::GetPortInfo(PORT_INFO_CMD command, INFO_DATATYPE* type, void* buffer,
                                  size_t* size) {
    const CInfoOut out(type, buffer, size);
    const COutcome unknown = InvalidPortInfoCommand<std::invalid_argument>(command);
    switch (command) {
    case PORT_INFO_ID:
        return out.String("Buffer0");
    case PORT_INFO_LITTLE_ENDIAN:
    case PORT_INFO_BIG_ENDIAN:
        return unknown;
    default:
        return AnswerPortInfo(command, "TLBuffer", "BufferPort", out).value_or(unknown);
    }
}

COutcome CBufferInfo::GetPortURLInfo(std::uint32_t index, URL_INFO_CMD command, INFO_DATATYPE* type,
                                     void* buffer, size_t* size) {
    const CInfoOut out(type, buffer, size);
    return AnswerUrlInfo<std::invalid_argument>(index, command, kBufferXmlSubMinorVersion, out,
                                                [&] { return out.String(BufferUrl(m_xmlLength)); });
}

void CBufferInfo::RegisterEvent(EVENT_TYPE type, EVENT_HANDLE* /*event*/) {
    throw std::invalid_argument(Format("Event ID %ld not implemented", type));
}

COutcome CBufferInfo::GetInfo(BUFFER_INFO_CMD command, INFO_DATATYPE* type, void* buffer,
                              size_t* size) const {
    const CInfoOut out(type, buffer, size);
    switch (command) {
    case BUFFER_INFO_BASE:
        if (m_memory == nullptr) {
            return Refusal<std::runtime_error>("Invalid Memory Buffer");
        }
        return out.Pointer(m_memory);
    case BUFFER_INFO_SIZE:
    case BUFFER_INFO_SIZE_FILLED:
        return out.Size(m_size);
    case BUFFER_INFO_USER_PTR:
        return out.Pointer(m_private);
    case BUFFER_INFO_NEW_DATA:
        return out.Bool8(m_newData.load(std::memory_order_relaxed));
    case BUFFER_INFO_IS_QUEUED:
        return out.Bool8(IsQueued());
    case BUFFER_INFO_IS_ACQUIRING:
        return out.Bool8(false);
    default:
        return Refusal<invalid_parameter_error>("Invalid buffer info command %d", command);
    }
}

void CBufferInfo::SetState(bool queued, bool newData, bool delivered) {
    m_newData.store(newData, std::memory_order_relaxed);
    m_isDelivered.store(delivered, std::memory_order_relaxed);
    m_isQueued.store(queued, std::memory_order_release);
}

void CBufferInfo::SetFetched() {
    m_newData.store(true, std::memory_order_relaxed);
    m_isQueued.store(false, std::memory_order_relaxed);
    m_isDelivered.store(false, std::memory_order_release);
}

} // namespace GenICam::Client
