// The Data Stream functions.
#include "api/CallFrame.h"
#include "api/HandleChecks.h"
#include "core/Errors.h"

using namespace GenICam::Client;

namespace {

// Answers for a function that every consumer expects and this producer has no use for.
GC_ERROR NotImplemented(DS_HANDLE handle, const char* function) {
    return Framed([&] {
        DataStreamOf(handle);
        throw implementation_error(Format("%s is not implemented.", function));
    });
}

} // namespace

GC_API DSAnnounceBuffer(DS_HANDLE hDataStream, void* pBuffer, size_t iSize, void* pPrivate,
                        BUFFER_HANDLE* phBuffer) {
    return Framed(
        [&] { DataStreamOf(hDataStream).AnnounceBuffer(pBuffer, iSize, pPrivate, phBuffer); });
}

// A failing allocation is reported by the functions that need the memory.
GC_API DSAllocAndAnnounceBuffer(DS_HANDLE hDataStream, size_t iSize, void* pPrivate,
                                BUFFER_HANDLE* phBuffer) {
    return Framed(
        [&] { DataStreamOf(hDataStream).AnnounceBuffer(nullptr, iSize, pPrivate, phBuffer); });
}

GC_API DSRevokeBuffer(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, void** ppBuffer,
                      void** ppPrivate) {
    return Framed([&] { DataStreamOf(hDataStream).RevokeBuffer(hBuffer, ppBuffer, ppPrivate); });
}

GC_API DSQueueBuffer(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer) {
    return Framed([&] { DataStreamOf(hDataStream).QueueBuffer(hBuffer); });
}

GC_API DSFlushQueue(DS_HANDLE hDataStream, ACQ_QUEUE_TYPE iOperation) {
    return Framed([&] { DataStreamOf(hDataStream).FlushQueue(iOperation); });
}

GC_API DSStartAcquisition(DS_HANDLE hDataStream, ACQ_START_FLAGS iStartFlags,
                          uint64_t iNumToAcquire) {
    return Framed([&] { DataStreamOf(hDataStream).StartAcquisition(iStartFlags, iNumToAcquire); });
}

GC_API DSStopAcquisition(DS_HANDLE hDataStream, ACQ_STOP_FLAGS iStopFlags) {
    return Framed([&] { DataStreamOf(hDataStream).StopAcquisition(iStopFlags); });
}

GC_API DSGetInfo(DS_HANDLE hDataStream, STREAM_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                 void* pBuffer, size_t* piSize) {
    return Framed(
        [&] { return DataStreamOf(hDataStream).GetInfo(iInfoCmd, piType, pBuffer, piSize); });
}

GC_API DSGetBufferInfo(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, BUFFER_INFO_CMD iInfoCmd,
                       INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
    return Framed([&] {
        return DataStreamOf(hDataStream).GetBufferInfo(hBuffer, iInfoCmd, piType, pBuffer, piSize);
    });
}

GC_API DSGetBufferID(DS_HANDLE hDataStream, uint32_t iIndex, BUFFER_HANDLE* phBuffer) {
    return Framed([&] { DataStreamOf(hDataStream).GetBufferID(iIndex, phBuffer); });
}

GC_API DSClose(DS_HANDLE hDataStream) {
    return FramedClose([&] { ClosingStreamOf(hDataStream).Close(); });
}

GC_API DSGetParentDev(DS_HANDLE hDataStream, DEV_HANDLE* phDevice) {
    return Framed([&] {
        CDataStream& stream = DataStreamOf(hDataStream);
        DEV_HANDLE& handle = Require(phDevice, "phDevice");
        handle = HandleOf(stream.Device());
    });
}

GC_API DSGetBufferChunkData(DS_HANDLE hDataStream, BUFFER_HANDLE /*hBuffer*/,
                            SINGLE_CHUNK_DATA* /*pChunkData*/, size_t* /*piNumChunks*/) {
    return NotImplemented(hDataStream, "DSGetBufferChunkData");
}

GC_API DSGetNumBufferParts(DS_HANDLE hDataStream, BUFFER_HANDLE /*hBuffer*/,
                           uint32_t* /*piNumParts*/) {
    return NotImplemented(hDataStream, "DSGetNumBufferParts");
}

GC_API DSGetBufferPartInfo(DS_HANDLE hDataStream, BUFFER_HANDLE /*hBuffer*/,
                           uint32_t /*iPartIndex*/, BUFFER_PART_INFO_CMD /*iInfoCmd*/,
                           INFO_DATATYPE* /*piType*/, void* /*pBuffer*/, size_t* /*piSize*/) {
    return NotImplemented(hDataStream, "DSGetBufferPartInfo");
}
