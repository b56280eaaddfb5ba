// The Data Stream modules and their buffers.
#include "Buffers.h"
#include "Closing.h"
#include "First.h"
#include "Info.h"

using namespace Standard;

namespace {

// use gets the stream.
template <class Use>
GC_ERROR WithStream(DS_HANDLE handle, Use&& use) {
    return Answer([&]() -> GC_ERROR {
        auto* stream = CModules::Find<SStream>(handle);
        return stream == nullptr ? RefuseHandle() : use(*stream);
    });
}

// use gets the stream and a buffer that it announced.
template <class Use>
GC_ERROR WithBuffer(DS_HANDLE streamHandle, BUFFER_HANDLE bufferHandle, Use&& use) {
    return WithStream(streamHandle, [&](SStream& stream) {
        auto* buffer = CModules::Find<SBuffer>(bufferHandle);
        return buffer == nullptr || buffer->parent != &stream ? RefuseHandle()
                                                              : use(stream, *buffer);
    });
}

GC_ERROR Announce(SStream& stream, void* memory, size_t size, void* user, BUFFER_HANDLE* handle) {
    if (handle == nullptr || size == 0) {
        return Refuse(GC_ERR_INVALID_PARAMETER, "A buffer needs memory and a place for its handle");
    }
    auto& modules = CModules::Instance();
    auto& buffer =
        modules.Open<SBuffer>(nullptr, &stream, [=](SBuffer& it) { it.Reset(user, size); });
    BUFFER_HANDLE first = nullptr;
    const GC_ERROR code = First().DSAnnounceBuffer(stream.first, memory, size, &buffer, &first);
    if (code != GC_ERR_SUCCESS) {
        modules.Close(buffer, &stream);
        return RefuseAsFirst(code, GC_ERR_ERROR, "The buffer cannot be announced");
    }
    SValue base;
    if (base.Ask([&](auto... answer) {
            return First().DSGetBufferInfo(stream.first, first, BUFFER_INFO_BASE, answer...);
        }) != GC_ERR_SUCCESS) {
        modules.Close(buffer, &stream);
        First().DSRevokeBuffer(stream.first, first, nullptr, nullptr);
        return Refuse(GC_ERR_OUT_OF_MEMORY, "There is no memory for the buffer");
    }
    buffer.first = first;
    *handle = &buffer;
    return code;
}

constexpr SCommand kStreamCommands[] = {{STREAM_INFO_ID, INFO_DATATYPE_STRING},
                                        {STREAM_INFO_NUM_DELIVERED, INFO_DATATYPE_UINT64},
                                        {STREAM_INFO_NUM_UNDERRUN, INFO_DATATYPE_UINT64},
                                        {STREAM_INFO_NUM_ANNOUNCED, INFO_DATATYPE_SIZET},
                                        {STREAM_INFO_NUM_QUEUED, INFO_DATATYPE_SIZET},
                                        {STREAM_INFO_NUM_AWAIT_DELIVERY, INFO_DATATYPE_SIZET},
                                        {STREAM_INFO_NUM_STARTED, INFO_DATATYPE_UINT64},
                                        {STREAM_INFO_IS_GRABBING, INFO_DATATYPE_BOOL8},
                                        {STREAM_INFO_TLTYPE, INFO_DATATYPE_STRING},
                                        {STREAM_INFO_NUM_CHUNKS_MAX, INFO_DATATYPE_UNKNOWN},
                                        {STREAM_INFO_FLOW_TABLE, INFO_DATATYPE_UNKNOWN}};

} // namespace

GC_API DSAnnounceBuffer(DS_HANDLE hDataStream, void* pBuffer, size_t iSize, void* pPrivate,
                        BUFFER_HANDLE* phBuffer) {
    return WithStream(hDataStream, [&](SStream& stream) {
        return pBuffer == nullptr ? RefuseNull()
                                  : Announce(stream, pBuffer, iSize, pPrivate, phBuffer);
    });
}

GC_API DSAllocAndAnnounceBuffer(DS_HANDLE hDataStream, size_t iSize, void* pPrivate,
                                BUFFER_HANDLE* phBuffer) {
    return WithStream(hDataStream, [&](SStream& stream) {
        return Announce(stream, nullptr, iSize, pPrivate, phBuffer);
    });
}

GC_API DSRevokeBuffer(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, void** ppBuffer,
                      void** ppPrivate) {
    return WithBuffer(hDataStream, hBuffer, [&](SStream& stream, SBuffer& buffer) {
        return RevokeBuffer(stream, buffer, ppBuffer, ppPrivate);
    });
}

GC_API DSQueueBuffer(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer) {
    return WithBuffer(hDataStream, hBuffer,
                      [](SStream& stream, SBuffer& buffer) { return QueueBuffer(stream, buffer); });
}

GC_API DSFlushQueue(DS_HANDLE hDataStream, ACQ_QUEUE_TYPE iOperation) {
    return WithStream(hDataStream, [&](SStream& stream) { return FlushQueue(stream, iOperation); });
}

GC_API DSStartAcquisition(DS_HANDLE hDataStream, ACQ_START_FLAGS iStartFlags,
                          uint64_t iNumToAcquire) {
    return WithStream(hDataStream, [&](SStream& stream) {
        if (iStartFlags != ACQ_START_FLAGS_DEFAULT) {
            return Refuse(GC_ERR_INVALID_PARAMETER, "There are no such flags");
        }
        return StartAcquisition(stream, iNumToAcquire);
    });
}

GC_API DSStopAcquisition(DS_HANDLE hDataStream, ACQ_STOP_FLAGS iStopFlags) {
    return WithStream(hDataStream, [&](const SStream& stream) {
        const GC_ERROR code = First().DSStopAcquisition(stream.first, iStopFlags);
        return code == GC_ERR_SUCCESS
                   ? code
                   : RefuseAsFirst(code, GC_ERR_ERROR, "The acquisition does not stop");
    });
}

GC_API DSGetInfo(DS_HANDLE hDataStream, STREAM_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                 void* pBuffer, size_t* piSize) {
    return WithStream(hDataStream, [&](const SStream& stream) {
        const SOut out{piType, pBuffer, piSize};
        switch (iInfoCmd) {
        case STREAM_INFO_PAYLOAD_SIZE: {
            const auto size = PayloadSize(stream);
            return size ? GiveNumber(out, INFO_DATATYPE_SIZET, *size) : RefuseUnavailable();
        }
        case STREAM_INFO_DEFINES_PAYLOADSIZE:
            return GiveNumber(out, INFO_DATATYPE_BOOL8, PayloadSize(stream) ? 1 : 0);
        case STREAM_INFO_BUF_ANNOUNCE_MIN:
        case STREAM_INFO_BUF_ALIGNMENT:
            return GiveNumber(out, INFO_DATATYPE_SIZET, 1);
        default:
            return GiveFirst(out, kStreamCommands, iInfoCmd, [&](auto... answer) {
                return First().DSGetInfo(stream.first, iInfoCmd, answer...);
            });
        }
    });
}

GC_API DSGetBufferInfo(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, BUFFER_INFO_CMD iInfoCmd,
                       INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
    return WithBuffer(hDataStream, hBuffer, [&](const SStream& stream, const SBuffer& buffer) {
        return GiveBufferInfo({piType, pBuffer, piSize}, stream, buffer, iInfoCmd);
    });
}

GC_API DSGetBufferID(DS_HANDLE hDataStream, uint32_t iIndex, BUFFER_HANDLE* phBuffer) {
    return WithStream(hDataStream, [&](const SStream& stream) -> GC_ERROR {
        if (phBuffer == nullptr) {
            return RefuseNull();
        }
        BUFFER_HANDLE first = nullptr;
        if (First().DSGetBufferID(stream.first, iIndex, &first) == GC_ERR_SUCCESS) {
            for (SBuffer* buffer : CModules::Instance().ChildrenOf<SBuffer>(&stream)) {
                if (buffer->first == first) {
                    *phBuffer = buffer;
                    return GC_ERR_SUCCESS;
                }
            }
        }
        return Refuse(GC_ERR_INVALID_INDEX, "There are not so many buffers");
    });
}

GC_API DSClose(DS_HANDLE hDataStream) {
    return WithStream(hDataStream,
                      [](SStream& stream) { return CloseStream(stream, stream.parent); });
}

GC_API DSGetParentDev(DS_HANDLE hDataStream, DEV_HANDLE* phDevice) {
    return WithStream(hDataStream, [&](const SStream& stream) -> GC_ERROR {
        if (phDevice == nullptr) {
            return RefuseNull();
        }
        *phDevice = stream.parent.load();
        return GC_ERR_SUCCESS;
    });
}

GC_API DSGetBufferChunkData(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer,
                            SINGLE_CHUNK_DATA* /*pChunkData*/, size_t* /*piNumChunks*/) {
    return WithBuffer(hDataStream, hBuffer, [](const SStream&, const SBuffer&) {
        return Refuse(GC_ERR_NOT_AVAILABLE, "The buffer has no chunks");
    });
}

GC_API DSGetNumBufferParts(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, uint32_t* /*piNumParts*/) {
    return WithBuffer(hDataStream, hBuffer, [](const SStream&, const SBuffer&) {
        return Refuse(GC_ERR_NOT_AVAILABLE, "The buffer has no parts");
    });
}

GC_API DSGetBufferPartInfo(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, uint32_t /*iPartIndex*/,
                           BUFFER_PART_INFO_CMD /*iInfoCmd*/, INFO_DATATYPE* /*piType*/,
                           void* /*pBuffer*/, size_t* /*piSize*/) {
    return WithBuffer(hDataStream, hBuffer, [](const SStream&, const SBuffer&) {
        return Refuse(GC_ERR_NOT_AVAILABLE, "The buffer has no parts");
    });
}
