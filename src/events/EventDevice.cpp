#include "events/EventDevice.h"

#include "camlib/LibraryAbi.h"
#include "core/InfoOut.h"

#include <cstring>

namespace GenICam::Client {
namespace {

// The data of a device event as the consumer gets it.
struct SDevEventRecord {
    std::uint32_t m_eventId;
    std::uint32_t m_reserved;
    std::uint64_t m_value;
    std::uint64_t m_timestamp;
};
static_assert(sizeof(SDevEventRecord) == 24);

[[noreturn]] void Fail(const char* text, unsigned int line) {
    throw CLibraryInvalidArgument(text, "EventDevice", line, "InvalidArgumentException");
}

// Copies a value out where the consumer offers as much; it is told 4 bytes, whatever is needed.
template <class Value>
COutcome Answer(INFO_DATATYPE reported, const Value& value, INFO_DATATYPE* type, void* buffer,
                size_t* size) {
    size_t& given = Require(size, "piSize");
    if (given < sizeof value) {
        given = sizeof(std::uint32_t);
        return Refusal<CLibraryInvalidArgument>("In buffer too small");
    }
    return CInfoOut(type, buffer, size).Bytes(reported, &value, sizeof value);
}

} // namespace

size_t DataSizeOf(const DevEventEntry& entry) {
    return entry.m_text.size() + 5;
}

void CopyEntry(const DevEventEntry& entry, void* buffer, size_t* size) {
    if (buffer == nullptr) {
        Fail("Invalid buffer", __LINE__);
    }
    if (*size < DataSizeOf(entry)) {
        Fail("Invalid buffer Size", __LINE__);
    }
    const SDevEventRecord record{entry.m_eventId, entry.m_reserved, entry.m_value,
                                 entry.m_timestamp};
    std::memcpy(buffer, &record, sizeof record);
    *size = entry.m_text.size() + 25;
}

COutcome CEventDevice::GetInfo(EVENT_INFO_CMD command, INFO_DATATYPE* type, void* buffer,
                               size_t* size) {
    if (buffer == nullptr) {
        return Refusal<CLibraryInvalidArgument>("Invalid buffer handle");
    }
    // The type that goes with a 64-bit answer is that of a 32-bit one.
    const auto answer64 = [&](INFO_DATATYPE reported, std::uint64_t value) {
        return Answer(reported, value, type, buffer, size);
    };
    switch (command) {
    case EVENT_EVENT_TYPE:
        return Answer(INFO_DATATYPE_INT32, std::int32_t{EVENT_REMOTE_DEVICE}, type, buffer, size);
    case EVENT_NUM_IN_QUEUE:
        return answer64(INFO_DATATYPE_INT32, NumQueued());
    case EVENT_NUM_FIRED:
        return answer64(INFO_DATATYPE_INT32, m_numFired.load(std::memory_order_relaxed));
    case EVENT_SIZE_MAX:
    case EVENT_INFO_DATA_SIZE_MAX:
        return answer64(INFO_DATATYPE_UINT32, sizeof(SDevEventRecord));
    default:
        return {};
    }
}

COutcome CEventDevice::GetDataInfo(const void* inBuffer, size_t inSize, EVENT_DATA_INFO_CMD command,
                                   INFO_DATATYPE* type, void* outBuffer, size_t* outSize) {
    if (inBuffer == nullptr || outBuffer == nullptr) {
        return Refusal<CLibraryInvalidArgument>("Invalid buffer handle");
    }
    if (inSize < sizeof(SDevEventRecord)) {
        return Refusal<CLibraryInvalidArgument>("In buffer too small");
    }
    if (command != EVENT_DATA_ID) {
        return Refusal<CLibraryInvalidArgument>("Invalid Event Data Info ID %d", command);
    }
    SDevEventRecord record{};
    std::memcpy(&record, inBuffer, sizeof record);
    return Answer(INFO_DATATYPE_INT32, record.m_eventId, type, outBuffer, outSize);
}

void CEventDevice::Post(const boost::shared_ptr<DevEventEntry>& entry) {
    m_numFired.fetch_add(1, std::memory_order_relaxed);
    Push(entry);
}

} // namespace GenICam::Client
