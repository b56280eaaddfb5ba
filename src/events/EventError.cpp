#include "events/EventError.h"

#include "core/InfoOut.h"

#include <cstring>

namespace GenICam::Client {

size_t DataSizeOf(const ErrorEventEntry& entry) {
    return sizeof entry.m_code + entry.m_text.size() + 1;
}

void CopyEntry(const ErrorEventEntry& entry, void* buffer, size_t* size) {
    if (buffer == nullptr) {
        throw std::invalid_argument("Invalid buffer");
    }
    const size_t needed = DataSizeOf(entry);
    if (*size < needed) {
        throw std::invalid_argument("Invalid buffer Size");
    }
    auto* bytes = static_cast<char*>(buffer);
    std::memcpy(bytes, &entry.m_code, sizeof entry.m_code);
    std::memcpy(bytes + sizeof entry.m_code, entry.m_text.c_str(), entry.m_text.size() + 1);
    *size = needed;
}

COutcome CEventError::GetInfo(EVENT_INFO_CMD command, INFO_DATATYPE* type, void* buffer,
                              size_t* size) {
    return command == EVENT_NUM_IN_QUEUE
               ? CInfoOut(type, buffer, size).Int32(static_cast<std::int32_t>(NumQueued()))
               : COutcome();
}

COutcome CEventError::GetDataInfo(const void* /*inBuffer*/, size_t /*inSize*/,
                                  EVENT_DATA_INFO_CMD /*command*/, INFO_DATATYPE* /*type*/,
                                  void* /*outBuffer*/, size_t* /*outSize*/) {
    return Refusal<std::invalid_argument>("Invalid Parameter");
}

COutcome CEventError::GetBlockInfo(const void* inBuffer, size_t inSize, EVENT_DATA_INFO_CMD command,
                                   INFO_DATATYPE* type, void* outBuffer, size_t* outSize) {
    constexpr size_t kCodeSize = sizeof(GC_ERROR);
    if (inBuffer == nullptr || inSize < kCodeSize) {
        return Refusal<std::invalid_argument>("Invalid buffer");
    }
    const CInfoOut out(type, outBuffer, outSize);
    const auto* bytes = static_cast<const char*>(inBuffer);
    switch (command) {
    case EVENT_DATA_ID:
        return out.Bytes(INFO_DATATYPE_INT32, bytes, kCodeSize);
    case EVENT_DATA_VALUE:
        return out.Bytes(INFO_DATATYPE_STRING, bytes + kCodeSize, inSize - kCodeSize);
    default:
        return Refusal<std::invalid_argument>("Invalid Event Data Info ID");
    }
}

} // namespace GenICam::Client
