#include "Buffers.h"

#include "First.h"
#include "platform/Clock.h"

#include <algorithm>

namespace Standard {

namespace Platform = GenICam::Client::Platform;

namespace {

constexpr SCommand kFirstCommands[] = {
    {BUFFER_INFO_BASE, INFO_DATATYPE_PTR},
    {BUFFER_INFO_SIZE, INFO_DATATYPE_SIZET},
    {BUFFER_INFO_IS_QUEUED, INFO_DATATYPE_BOOL8},
    {BUFFER_INFO_IS_ACQUIRING, INFO_DATATYPE_BOOL8},
    {BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE, INFO_DATATYPE_UNKNOWN},
    {BUFFER_INFO_CHUNKLAYOUTID, INFO_DATATYPE_UNKNOWN},
    {BUFFER_INFO_FILENAME, INFO_DATATYPE_UNKNOWN}};

bool Flag(const SStream& stream, const SBuffer& buffer, BUFFER_INFO_CMD command) noexcept {
    bool8_t flag = 0;
    size_t size = sizeof flag;
    First().DSGetBufferInfo(stream.first, buffer.first, command, nullptr, &flag, &size);
    return flag != 0;
}

bool IsQueued(const SStream& stream, const SBuffer& buffer) noexcept {
    return Flag(stream, buffer, BUFFER_INFO_IS_QUEUED);
}

// The first module marks what it hands over as new, whether it is or not.
bool HasNewData(const SStream& stream, const SBuffer& buffer) noexcept {
    return buffer.hasImage || (buffer.isAwaited && Flag(stream, buffer, BUFFER_INFO_NEW_DATA));
}

std::uint64_t BitsPerPixel(std::uint64_t pixelFormat) {
    // Bits 16 to 23 of a format's number, by the Pixel Format Naming Convention.
    return pixelFormat >> 16 & 0xFF;
}

// The bytes behind each line; none where lines and payload do not fit together.
std::optional<std::uint64_t> LinePadding(const CGeometry& geometry) {
    const auto width = geometry.Get(EFact::Width);
    const auto height = geometry.Get(EFact::Height);
    const auto format = geometry.Get(EFact::PixelFormat);
    const auto payload = geometry.Get(EFact::PayloadSize);
    if (!width || !height || !format || !payload || *height == 0 || *payload % *height != 0) {
        return std::nullopt;
    }
    const std::uint64_t line = (*width * BitsPerPixel(*format) + 7) / 8;
    const std::uint64_t pitch = *payload / *height;
    return pitch < line ? std::nullopt : std::optional(pitch - line);
}

bool IsImage(const CGeometry& geometry) {
    return geometry.Get(EFact::Width) && geometry.Get(EFact::Height) &&
           geometry.Get(EFact::PixelFormat);
}

GC_ERROR GiveIfKnown(const SOut& out, std::optional<std::uint64_t> number,
                     INFO_DATATYPE type = INFO_DATATYPE_SIZET) {
    return number ? GiveNumber(out, type, *number) : RefuseUnavailable();
}

// The bytes of the image that are in the buffer; where it is too small, the image is cut off.
std::optional<std::uint64_t> SizeFilled(const SBuffer& buffer) {
    const auto payload = buffer.geometry.Get(EFact::PayloadSize);
    return payload ? std::optional(std::min<std::uint64_t>(*payload, buffer.size)) : std::nullopt;
}

bool IsCutOff(const SBuffer& buffer) {
    return buffer.geometry.Get(EFact::PayloadSize).value_or(0) > buffer.size;
}

// The lines that are whole.
std::optional<std::uint64_t> DeliveredHeight(const SBuffer& buffer) {
    const auto height = buffer.geometry.Get(EFact::Height);
    return height && IsCutOff(buffer)
               ? *height * buffer.size / *buffer.geometry.Get(EFact::PayloadSize)
               : height;
}

// Of a buffer that holds one.
GC_ERROR GiveImageInfo(const SOut& out, const SBuffer& buffer, BUFFER_INFO_CMD command) {
    const CGeometry& geometry = buffer.geometry;
    switch (command) {
    case BUFFER_INFO_WIDTH:
        return GiveIfKnown(out, geometry.Get(EFact::Width));
    case BUFFER_INFO_HEIGHT:
        return GiveIfKnown(out, geometry.Get(EFact::Height));
    case BUFFER_INFO_DELIVERED_IMAGEHEIGHT:
        return GiveIfKnown(out, DeliveredHeight(buffer));
    case BUFFER_INFO_XOFFSET:
        return GiveIfKnown(out, geometry.Get(EFact::OffsetX));
    case BUFFER_INFO_YOFFSET:
        return GiveIfKnown(out, geometry.Get(EFact::OffsetY));
    case BUFFER_INFO_XPADDING:
        return GiveIfKnown(out, LinePadding(geometry));
    case BUFFER_INFO_YPADDING:
        return LinePadding(geometry) ? GiveNumber(out, INFO_DATATYPE_SIZET, 0)
                                     : RefuseUnavailable();
    case BUFFER_INFO_PIXELFORMAT:
        return GiveIfKnown(out, geometry.Get(EFact::PixelFormat), INFO_DATATYPE_UINT64);
    case BUFFER_INFO_PIXELFORMAT_NAMESPACE:
        return geometry.Get(EFact::PixelFormat)
                   ? GiveNumber(out, INFO_DATATYPE_UINT64, PIXELFORMAT_NAMESPACE_PFNC_32BIT)
                   : RefuseUnavailable();
    case BUFFER_INFO_PIXEL_ENDIANNESS:
        return GiveNumber(out, INFO_DATATYPE_INT32, PIXELENDIANNESS_LITTLE);
    case BUFFER_INFO_IMAGEPRESENT:
        return GiveNumber(out, INFO_DATATYPE_BOOL8, IsImage(geometry) ? 1 : 0);
    case BUFFER_INFO_IMAGEOFFSET:
        return GiveNumber(out, INFO_DATATYPE_SIZET, 0);
    case BUFFER_INFO_PAYLOADTYPE:
        return GiveNumber(out, INFO_DATATYPE_SIZET,
                          IsImage(geometry) ? PAYLOAD_TYPE_IMAGE : PAYLOAD_TYPE_UNKNOWN);
    case BUFFER_INFO_FRAMEID:
        return GiveNumber(out, INFO_DATATYPE_UINT64, buffer.frameId);
    case BUFFER_INFO_TIMESTAMP:
    case BUFFER_INFO_TIMESTAMP_NS:
        return GiveNumber(out, INFO_DATATYPE_UINT64, Platform::NanosecondsOf(buffer.ticks));
    case BUFFER_INFO_IS_INCOMPLETE:
    case BUFFER_INFO_DATA_LARGER_THAN_BUFFER:
        return GiveNumber(out, INFO_DATATYPE_BOOL8, IsCutOff(buffer) ? 1 : 0);
    case BUFFER_INFO_CONTAINS_CHUNKDATA:
        return GiveNumber(out, INFO_DATATYPE_BOOL8, 0);
    case BUFFER_INFO_DATA_SIZE:
        return GiveIfKnown(out, geometry.Get(EFact::PayloadSize));
    case BUFFER_INFO_SIZE_FILLED:
        return GiveIfKnown(out, SizeFilled(buffer));
    default:
        return RefuseUnknown();
    }
}

bool IsAboutImages(BUFFER_INFO_CMD command) {
    return command == BUFFER_INFO_TIMESTAMP || command == BUFFER_INFO_IS_INCOMPLETE ||
           (command >= BUFFER_INFO_SIZE_FILLED && command <= BUFFER_INFO_DELIVERED_IMAGEHEIGHT) ||
           (command >= BUFFER_INFO_PIXEL_ENDIANNESS && command <= BUFFER_INFO_CONTAINS_CHUNKDATA);
}

void Await(SBuffer& buffer) {
    buffer.hasImage.store(false, std::memory_order_relaxed);
    buffer.isEmpty.store(false, std::memory_order_relaxed);
    buffer.isOlder.store(false, std::memory_order_relaxed);
    buffer.isAwaited.store(true, std::memory_order_release);
}

void KeepGeometryOfWaitingImages(const SStream& stream) {
    for (SBuffer* buffer : CModules::Instance().ChildrenOf<SBuffer>(&stream)) {
        if (buffer->isAwaited && !buffer->isOlder && Flag(stream, *buffer, BUFFER_INFO_NEW_DATA)) {
            buffer->geometry.CopyFrom(stream.geometry);
            buffer->isOlder = true;
        }
    }
}

} // namespace

GC_ERROR QueueBuffer(const SStream& stream, SBuffer& buffer) {
    // Of threads that queue it at once, one does.
    if (IsQueued(stream, buffer) || buffer.isAwaited.exchange(true)) {
        return Refuse(GC_ERR_RESOURCE_IN_USE, "The buffer is queued, or awaits its delivery");
    }
    Await(buffer);
    const GC_ERROR code = First().DSQueueBuffer(stream.first, buffer.first);
    if (code != GC_ERR_SUCCESS) {
        buffer.isAwaited = false;
        return RefuseAsFirst(code, GC_ERR_INVALID_HANDLE, "The buffer cannot be queued");
    }
    return code;
}

GC_ERROR RevokeBuffer(const SStream& stream, SBuffer& buffer, void** memory, void** user) {
    if (buffer.isAwaited || IsQueued(stream, buffer)) {
        return Refuse(GC_ERR_RESOURCE_IN_USE, "The buffer is queued, or awaits its delivery");
    }
    void* const first = buffer.first;
    void* const its = buffer.user;
    if (!CModules::Instance().Close(buffer, &stream)) {
        return RefuseHandle();
    }
    const GC_ERROR code = First().DSRevokeBuffer(stream.first, first, memory, nullptr);
    if (code != GC_ERR_SUCCESS) {
        return RefuseAsFirst(code, GC_ERR_RESOURCE_IN_USE, "The buffer cannot be revoked");
    }
    if (user != nullptr) {
        *user = its;
    }
    return code;
}

GC_ERROR FlushQueue(const SStream& stream, ACQ_QUEUE_TYPE operation) {
    if (operation < ACQ_QUEUE_INPUT_TO_OUTPUT || operation > ACQ_QUEUE_ALL_DISCARD) {
        return Refuse(GC_ERR_INVALID_PARAMETER, "There is no such operation");
    }
    const auto buffers = CModules::Instance().ChildrenOf<SBuffer>(&stream);
    const bool isToInput =
        operation == ACQ_QUEUE_ALL_TO_INPUT || operation == ACQ_QUEUE_UNQUEUED_TO_INPUT;
    // Before they are moved, as a thread that waits may have them at once. An image that comes
    // while the queues are moved counts as none.
    for (SBuffer* buffer : buffers) {
        if (operation == ACQ_QUEUE_ALL_DISCARD) {
            buffer->isAwaited = false;
            buffer->hasImage = false;
        } else if (operation == ACQ_QUEUE_INPUT_TO_OUTPUT) {
            if (IsQueued(stream, *buffer)) {
                buffer->isEmpty = true;
            }
        } else if (isToInput && (operation == ACQ_QUEUE_ALL_TO_INPUT || !buffer->isAwaited)) {
            Await(*buffer);
        }
    }
    GC_ERROR code = First().DSFlushQueue(stream.first, operation);
    if (code == GC_ERR_SUCCESS && operation == ACQ_QUEUE_ALL_DISCARD) {
        // To the first module the buffers await their delivery.
        code = First().DSFlushQueue(stream.first, ACQ_QUEUE_OUTPUT_DISCARD);
    }
    if (code != GC_ERR_SUCCESS) {
        return RefuseAsFirst(code, GC_ERR_ERROR, "The queues cannot be flushed");
    }
    for (SBuffer* buffer : buffers) {
        if (IsQueued(stream, *buffer)) {
            buffer->isEmpty = false; // it is being filled
            if (isToInput && !buffer->isAwaited) {
                Await(*buffer); // it was fetched a moment ago
            }
        } else if (operation == ACQ_QUEUE_OUTPUT_DISCARD &&
                   !Flag(stream, *buffer, BUFFER_INFO_NEW_DATA)) {
            buffer->isAwaited = false; // unlike one that was delivered since
        }
    }
    return code;
}

GC_ERROR StartAcquisition(SStream& stream, std::uint64_t numToAcquire) {
    if (numToAcquire == 0) {
        return Refuse(GC_ERR_INVALID_PARAMETER, "No image is wanted");
    }
    bool8_t isGrabbing = 0;
    size_t size = sizeof isGrabbing;
    First().DSGetInfo(stream.first, STREAM_INFO_IS_GRABBING, nullptr, &isGrabbing, &size);
    if (isGrabbing != 0) {
        return Refuse(GC_ERR_RESOURCE_IN_USE, "The stream acquires already");
    }
    KeepGeometryOfWaitingImages(stream);
    auto& device = static_cast<SDevice&>(*stream.parent);
    device.camera.Read(device.port.load()->first, stream.geometry);
    stream.geometry.Set(EFact::PayloadSize, PayloadSize(stream));
    stream.numNoFrames = stream.numFetched.load();
    const GC_ERROR code =
        First().DSStartAcquisition(stream.first, ACQ_START_FLAGS_DEFAULT, numToAcquire);
    return code == GC_ERR_SUCCESS
               ? code
               : RefuseAsFirst(code, GC_ERR_ERROR, "The acquisition does not start");
}

std::optional<std::uint64_t> PayloadSize(const SStream& stream) {
    std::uint64_t payload = 0;
    size_t size = sizeof payload;
    const GC_ERROR code =
        First().DSGetInfo(stream.first, STREAM_INFO_DEFINES_PAYLOADSIZE, nullptr, &payload, &size);
    return code == GC_ERR_SUCCESS && payload != 0 ? std::optional(payload) : std::nullopt;
}

bool NoteDelivery(SStream& stream, SBuffer& buffer) noexcept {
    // A buffer is delivered to one thread at a time.
    if (!buffer.isAwaited.load(std::memory_order_relaxed) || buffer.parent != &stream) {
        return false;
    }
    buffer.isAwaited.store(false, std::memory_order_relaxed);
    const std::uint64_t number = stream.numFetched.fetch_add(1, std::memory_order_relaxed);
    if (buffer.isEmpty.load(std::memory_order_relaxed)) {
        buffer.isEmpty.store(false, std::memory_order_relaxed);
        stream.numNoFrames.fetch_add(1, std::memory_order_relaxed);
        return true;
    }
    buffer.ticks.store(Platform::PerformanceCounter(), std::memory_order_relaxed);
    buffer.frameId.store(number - stream.numNoFrames.load(std::memory_order_relaxed),
                         std::memory_order_relaxed);
    if (!buffer.isOlder.load(std::memory_order_relaxed)) {
        buffer.geometry.CopyFrom(stream.geometry);
    }
    buffer.hasImage.store(true, std::memory_order_release);
    return true;
}

GC_ERROR GiveBufferInfo(const SOut& out, const SStream& stream, const SBuffer& buffer,
                        BUFFER_INFO_CMD command) {
    if (command == BUFFER_INFO_NEW_DATA) {
        return GiveNumber(out, INFO_DATATYPE_BOOL8, HasNewData(stream, buffer) ? 1 : 0);
    }
    if (command == BUFFER_INFO_USER_PTR) {
        void* const user = buffer.user;
        return Give(out, INFO_DATATYPE_PTR, &user, sizeof user);
    }
    if (command == BUFFER_INFO_TLTYPE) {
        return GiveText(out, "Mixed");
    }
    if (IsAboutImages(command)) {
        if (buffer.hasImage) {
            return GiveImageInfo(out, buffer, command);
        }
        return command == BUFFER_INFO_SIZE_FILLED ? GiveNumber(out, INFO_DATATYPE_SIZET, 0)
                                                  : RefuseUnavailable();
    }
    return GiveFirst(out, kFirstCommands, command, [&](auto... answer) {
        return First().DSGetBufferInfo(stream.first, buffer.first, command, answer...);
    });
}

} // namespace Standard
