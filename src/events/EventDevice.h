// Remote-device events: what a camera reports, as the consumer of its remote port reads it.
// This file knows no module.
#pragma once

#include "events/EventQueue.h"

#include <boost/shared_ptr.hpp>

#include <atomic>
#include <cstdint>
#include <string>

namespace GenICam::Client {

class DevEventEntry final {
public:
    DevEventEntry(std::uint32_t eventId, std::uint64_t value)
        : m_eventId(eventId), m_value(value) {}
    virtual ~DevEventEntry() = default;

    std::uint32_t m_eventId;
    std::uint32_t m_reserved = 0;
    std::string m_text;
    std::uint64_t m_unused = 0;
    std::uint64_t m_value;
    std::uint64_t m_timestamp = 0;
};

size_t DataSizeOf(const DevEventEntry& entry);
// Writes the 24 bytes of a device event and reports the text's length + 25.
// Throws CLibraryInvalidArgument for a null buffer and for a size below DataSizeOf,
// which is less than the 24 bytes: a consumer offers the size that EVENT_SIZE_MAX answers.
void CopyEntry(const DevEventEntry& entry, void* buffer, size_t* size);

// Failures are CLibraryInvalidArgument, which no clause of the frame names.
class CEventDevice final : public CEventQueue<boost::shared_ptr<DevEventEntry>> {
public:
    CEventDevice() = default;
    ~CEventDevice() override { EndWaits(); }
    CEventDevice(const CEventDevice&) = delete;
    CEventDevice& operator=(const CEventDevice&) = delete;

    COutcome GetInfo(EVENT_INFO_CMD command, INFO_DATATYPE* type, void* buffer,
                     size_t* size) override;
    COutcome GetDataInfo(const void* inBuffer, size_t inSize, EVENT_DATA_INFO_CMD command,
                         INFO_DATATYPE* type, void* outBuffer, size_t* outSize) override;

    // Counts the event and queues it while registered. Called on the camera library's threads.
    virtual void Post(const boost::shared_ptr<DevEventEntry>& entry);

private:
    // Wraps at 65536.
    std::atomic<std::uint16_t> m_numFired{0};
};

} // namespace GenICam::Client
