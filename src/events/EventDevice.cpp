#include "events/EventDevice.h"

#include "camlib/LibraryAbi.h"
#include "core/InfoOut.h"

#include <cstring>

namespace GenICam::Client {
namespace {

// The data of a device event as the consumer gets it.
struct DevEventRecord {
    std::uint32_t m_eventId;
    std::uint32_t m_reserved;
    std::uint64_t m_value;
    std::uint64_t m_timestamp;
};
static_assert(sizeof(DevEventRecord) == 24);

[[noreturn]] void Fail(const char* text, unsigned int line) {
    throw LibraryInvalidArgument(text, "EventDevice", line, "InvalidArgumentException");
}

// The consumer is told 4 bytes, whatever is needed.
void RequireSize(size_t* size, size_t needed) {
    size_t& given = Require(size, "piSize");
    if (given < needed) {
        given = sizeof(std::uint32_t);
        Fail("In buffer too small", __LINE__);
    }
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
    const DevEventRecord record{entry.m_eventId, entry.m_reserved, entry.m_value,
                                entry.m_timestamp};
    std::memcpy(buffer, &record, sizeof record);
    *size = entry.m_text.size() + 25;
}

void CEventDevice::GetInfo(EVENT_INFO_CMD command, INFO_DATATYPE* type, void* buffer,
                           size_t* size) {
    if (buffer == nullptr) {
        Fail("Invalid buffer handle", __LINE__);
    }
    const InfoOut out(type, buffer, size);
    // The type that goes with a 64-bit answer is that of a 32-bit one.
    const auto answer64 = [&](INFO_DATATYPE reported, std::uint64_t value) {
        RequireSize(size, sizeof value);
        out.Bytes(reported, &value, sizeof value);
    };
    switch (command) {
    case EVENT_EVENT_TYPE:
        RequireSize(size, sizeof(std::int32_t));
        out.Int32(EVENT_REMOTE_DEVICE);
        break;
    case EVENT_NUM_IN_QUEUE:
        answer64(INFO_DATATYPE_INT32, NumQueued());
        break;
    case EVENT_NUM_FIRED:
        answer64(INFO_DATATYPE_INT32, m_numFired.load(std::memory_order_relaxed));
        break;
    case EVENT_SIZE_MAX:
    case EVENT_INFO_DATA_SIZE_MAX:
        answer64(INFO_DATATYPE_UINT32, sizeof(DevEventRecord));
        break;
    default:
        break;
    }
}

void CEventDevice::GetDataInfo(const void* inBuffer, size_t inSize, EVENT_DATA_INFO_CMD command,
                               INFO_DATATYPE* type, void* outBuffer, size_t* outSize) {
    if (inBuffer == nullptr || outBuffer == nullptr) {
        Fail("Invalid buffer handle", __LINE__);
    }
    if (inSize < sizeof(DevEventRecord)) {
        Fail("In buffer too small", __LINE__);
    }
    if (command != EVENT_DATA_ID) {
        Fail(Format("Invalid Event Data Info ID %d", command).c_str(), __LINE__);
    }
    RequireSize(outSize, sizeof(std::int32_t));
    InfoOut(type, outBuffer, outSize).Bytes(INFO_DATATYPE_INT32, inBuffer, sizeof(std::int32_t));
}

void CEventDevice::Post(const boost::shared_ptr<DevEventEntry>& entry) {
    m_numFired.fetch_add(1, std::memory_order_relaxed);
    Push(entry);
}

} // namespace GenICam::Client
