#include "modules/NewBufferEvent.h"

#include "modules/DataStream.h"

namespace GenICam::Client {

GC_ERROR CDataStreamEventNewBuffer::GetData(void* buffer, size_t* size, std::uint64_t timeout) {
    return m_stream->WaitNewBuffer(buffer, size, timeout);
}

COutcome CDataStreamEventNewBuffer::GetInfo(EVENT_INFO_CMD command, INFO_DATATYPE* type,
                                            void* buffer, size_t* size) {
    return command == EVENT_NUM_IN_QUEUE
               ? m_stream->GetInfo(STREAM_INFO_NUM_AWAIT_DELIVERY, type, buffer, size)
               : COutcome();
}

COutcome CDataStreamEventNewBuffer::GetDataInfo(const void* /*inBuffer*/, size_t /*inSize*/,
                                                EVENT_DATA_INFO_CMD /*command*/,
                                                INFO_DATATYPE* /*type*/, void* /*outBuffer*/,
                                                size_t* /*outSize*/) {
    return {};
}

void CDataStreamEventNewBuffer::Flush() {
    m_stream->FlushQueue(ACQ_QUEUE_OUTPUT_DISCARD);
}

void CDataStreamEventNewBuffer::Kill() {
    m_stream->KillWait();
}

} // namespace GenICam::Client
