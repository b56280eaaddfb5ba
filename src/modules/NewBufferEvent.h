// The new-buffer event of a data stream: the stream's output queue as a consumer of events sees
// it. It knows its stream, which owns it.
#pragma once

#include "events/EventObj.h"

namespace GenICam::Client {

class CDataStream;

// Registering changes nothing: the event delivers whether or not it is registered.
// Only the table of operations demands Push, Register and Unregister: nobody calls them.
class CDataStreamEventNewBuffer final : public CEventObj {
public:
    explicit CDataStreamEventNewBuffer(CDataStream* stream) : m_stream(stream) {}

    GC_ERROR GetData(void* buffer, size_t* size, std::uint64_t timeout) override;
    // Answers EVENT_NUM_IN_QUEUE and writes nothing for every other command.
    COutcome GetInfo(EVENT_INFO_CMD command, INFO_DATATYPE* type, void* buffer,
                     size_t* size) override;
    // Writes nothing.
    COutcome GetDataInfo(const void* inBuffer, size_t inSize, EVENT_DATA_INFO_CMD command,
                         INFO_DATATYPE* type, void* outBuffer, size_t* outSize) override;
    void Flush() override;
    void Kill() override;
    virtual void Push() {}
    virtual void Register() {}
    virtual void Unregister() {}

private:
    CDataStream* m_stream;
};

} // namespace GenICam::Client
