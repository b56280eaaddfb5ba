// Error events of a device or a data stream. This file knows no module.
#pragma once

#include "events/EventQueue.h"

#include <boost/shared_ptr.hpp>

#include <string>
#include <utility>

namespace GenICam::Client {

class ErrorEventEntry final {
public:
    ErrorEventEntry(GC_ERROR code, std::string text) : m_code(code), m_text(std::move(text)) {}
    virtual ~ErrorEventEntry() = default;

    GC_ERROR m_code;
    std::string m_text;
};

size_t DataSizeOf(const ErrorEventEntry& entry);
// Writes the code, the message and a zero byte, and reports their size.
// Throws std::invalid_argument for a null buffer and for a size that is too small.
void CopyEntry(const ErrorEventEntry& entry, void* buffer, size_t* size);

// Only the table of operations demands GetBlockInfo: nobody calls it.
class CEventError final : public CEventQueue<boost::shared_ptr<ErrorEventEntry>> {
public:
    CEventError() = default;
    ~CEventError() override { EndWaits(); }
    CEventError(const CEventError&) = delete;
    CEventError& operator=(const CEventError&) = delete;

    // Answers EVENT_NUM_IN_QUEUE and writes nothing for every other command.
    COutcome GetInfo(EVENT_INFO_CMD command, INFO_DATATYPE* type, void* buffer,
                     size_t* size) override;
    // Refuses every command as std::invalid_argument.
    COutcome GetDataInfo(const void* inBuffer, size_t inSize, EVENT_DATA_INFO_CMD command,
                         INFO_DATATYPE* type, void* outBuffer, size_t* outSize) override;

    // Takes the code or the message out of the data of an error event.
    // Refuses every other command, and data that is too short, as std::invalid_argument.
    virtual COutcome GetBlockInfo(const void* inBuffer, size_t inSize, EVENT_DATA_INFO_CMD command,
                                  INFO_DATATYPE* type, void* outBuffer, size_t* outSize);
};

} // namespace GenICam::Client
