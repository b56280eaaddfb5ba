#include "modules/BufferInfo.h"

#include "core/Errors.h"
#include "core/InfoOut.h"
#include "core/PortUrl.h"
#include "platform/Platform.h"

#include <stdexcept>

namespace GenICam::Client {
namespace {

constexpr std::int32_t kXmlSubMinorVersion = 3;
constexpr std::uint32_t kXmlAddress = 0x100;

std::string Url(std::uint32_t xmlLength) {
    return Format("Local:TLBufferRegs.xml;%x;%x", kXmlAddress, xmlLength);
}

} // namespace

CBufferInfo::CBufferInfo(void* memory, size_t size, void* privateData)
    : m_memory(memory == nullptr ? Platform::AllocateMemory(size) : memory),
      m_size(size),
      m_private(privateData),
      m_ownsMemory(memory == nullptr) {
    PublishHandle();
}

CBufferInfo::~CBufferInfo() {
    RetireHandle();
    if (m_ownsMemory) {
        Platform::FreeMemory(m_memory);
    }
}

void CBufferInfo::GetPortURL(char* buffer, size_t* size) {
    CopyOutUrl<invalid_buffer_error>(Url(m_xmlLength), buffer, size);
}

void CBufferInfo::GetPortInfo(PORT_INFO_CMD command, INFO_DATATYPE* type, void* buffer,
                              size_t* size) {
    const InfoOut out(type, buffer, size);
    if (command == PORT_INFO_ID) {
        out.String("Buffer0");
    } else if (command == PORT_INFO_LITTLE_ENDIAN || command == PORT_INFO_BIG_ENDIAN ||
               !AnswerPortInfo(command, "TLBuffer", "BufferPort", out)) {
        throw std::invalid_argument(Format(kInvalidPortInfoCommand, command));
    }
}

void CBufferInfo::GetPortURLInfo(std::uint32_t index, URL_INFO_CMD command, INFO_DATATYPE* type,
                                 void* buffer, size_t* size) {
    RequireFirstUrl<std::invalid_argument>(index);
    const InfoOut out(type, buffer, size);
    if (command == URL_INFO_URL) {
        out.String(Url(m_xmlLength));
    } else {
        AnswerUrlVersion(command, kXmlSubMinorVersion, out);
    }
}

void CBufferInfo::RegisterEvent(EVENT_TYPE type, EVENT_HANDLE* /*event*/) {
    throw std::invalid_argument(Format("Event ID %ld not implemented", type));
}

void CBufferInfo::GetInfo(BUFFER_INFO_CMD command, INFO_DATATYPE* type, void* buffer,
                          size_t* size) const {
    const InfoOut out(type, buffer, size);
    switch (command) {
    case BUFFER_INFO_BASE:
        if (m_memory == nullptr) {
            throw std::runtime_error("Invalid Memory Buffer");
        }
        out.Pointer(m_memory);
        break;
    case BUFFER_INFO_SIZE:
    case BUFFER_INFO_SIZE_FILLED:
        out.Size(m_size);
        break;
    case BUFFER_INFO_USER_PTR:
        out.Pointer(m_private);
        break;
    case BUFFER_INFO_NEW_DATA:
        out.Bool8(m_newData.load(std::memory_order_relaxed));
        break;
    case BUFFER_INFO_IS_QUEUED:
        out.Bool8(IsQueued());
        break;
    case BUFFER_INFO_IS_ACQUIRING:
        out.Bool8(false);
        break;
    default:
        throw invalid_parameter_error(Format("Invalid buffer info command %d", command));
    }
}

void CBufferInfo::SetState(bool queued, bool newData, bool delivered) {
    m_newData.store(newData, std::memory_order_relaxed);
    m_isDelivered.store(delivered, std::memory_order_relaxed);
    m_isQueued.store(queued, std::memory_order_release);
}

} // namespace GenICam::Client
