// From a buffer of a stream to an image that outlives it.
#pragma once

#include "files/ImageSink.h"
#include "grabbing/Stream.h"

namespace norveltl {

// What the buffer does not tell of its format is as usual.
SImage CopyImage(CStream& stream, BUFFER_HANDLE buffer, const SImageFormat& usual, uint64_t number,
                 std::chrono::duration<double> arrival);

} // namespace norveltl
