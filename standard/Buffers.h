// What becomes of a stream's buffers: the standard delivers each once for each time that it was
// queued, and tells what image is in it.
#pragma once

#include "Info.h"
#include "Modules.h"

#include <optional>

namespace Standard {

// The functions DSQueueBuffer, DSRevokeBuffer, DSFlushQueue and DSStartAcquisition.
GC_ERROR QueueBuffer(const SStream& stream, SBuffer& buffer);
GC_ERROR RevokeBuffer(const SStream& stream, SBuffer& buffer, void** memory, void** user);
GC_ERROR FlushQueue(const SStream& stream, ACQ_QUEUE_TYPE operation);
GC_ERROR StartAcquisition(SStream& stream, std::uint64_t numToAcquire);

// In bytes; none where the camera library names none.
std::optional<std::uint64_t> PayloadSize(const SStream& stream);

// Makes note of what the first module delivered. False when that was discarded before it was
// filled, so that nobody is to see it.
bool NoteDelivery(SStream& stream, SBuffer& buffer) noexcept;

// DSGetBufferInfo.
GC_ERROR GiveBufferInfo(const SOut& out, const SStream& stream, const SBuffer& buffer,
                        BUFFER_INFO_CMD command);

} // namespace Standard
