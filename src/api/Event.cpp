// The event functions.
#include "api/CallFrame.h"
#include "api/HandleChecks.h"
#include "core/Errors.h"

using namespace GenICam::Client;

namespace {

// The codes that a wait for data answers without an exception, with the texts for them.
COutcome WaitOutcome(GC_ERROR result) noexcept {
    switch (result) {
    case GC_ERR_TIMEOUT:
        return Refusal<timeout_error>("Timeout");
    case GC_ERR_NO_DATA:
        return Refusal<no_data_error>("No Event Data");
    case GC_ERR_ERROR:
        return Refusal<std::runtime_error>("Port is not available");
    default:
        return result;
    }
}

} // namespace

GC_API GCRegisterEvent(EVENTSRC_HANDLE hEventSrc, EVENT_TYPE iEventID, EVENT_HANDLE* phEvent) {
    return FramedOn(hEventSrc, IsModule,
                    [&] { EventSourceOf(hEventSrc).RegisterEvent(iEventID, phEvent); });
}

GC_API GCUnregisterEvent(EVENTSRC_HANDLE hEventSrc, EVENT_TYPE iEventID) {
    return FramedOn(hEventSrc, IsModule,
                    [&] { EventSourceOf(hEventSrc).UnregisterEvent(iEventID); });
}

GC_API EventGetData(EVENT_HANDLE hEvent, void* pBuffer, size_t* piSize, uint64_t iTimeout) {
    return FramedOn(hEvent, IsEvent, [&] {
        return WaitOutcome(EventOf(hEvent).GetData(pBuffer, piSize, iTimeout));
    });
}

GC_API EventGetDataInfo(EVENT_HANDLE hEvent, const void* pInBuffer, size_t iInSize,
                        EVENT_DATA_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pOutBuffer,
                        size_t* piOutSize) {
    return FramedOn(hEvent, IsEvent, [&] {
        return EventOf(hEvent).GetDataInfo(pInBuffer, iInSize, iInfoCmd, piType, pOutBuffer,
                                           piOutSize);
    });
}

GC_API EventGetInfo(EVENT_HANDLE hEvent, EVENT_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                    void* pBuffer, size_t* piSize) {
    return FramedOn(hEvent, IsEvent,
                    [&] { return EventOf(hEvent).GetInfo(iInfoCmd, piType, pBuffer, piSize); });
}

GC_API EventFlush(EVENT_HANDLE hEvent) {
    return FramedOn(hEvent, IsEvent, [&] { EventOf(hEvent).Flush(); });
}

GC_API EventKill(EVENT_HANDLE hEvent) {
    return FramedOn(hEvent, IsEvent, [&] { EventOf(hEvent).Kill(); });
}
