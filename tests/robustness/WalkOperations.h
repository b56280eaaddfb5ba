// The calls that a random walk makes: as data, so that a walk can be drawn, shortened and printed.
#pragma once

#include "WalkModel.h"

#include <cstdint>
#include <random>
#include <string>

namespace Walk {

inline constexpr size_t NUM_SLOTS = 8; // announced buffers of a stream

// A handle by its place, whatever is there: what was opened or announced there last, or is long
// gone. The numbers of a kind follow each other.
enum Place : int {
    STREAM_PLACE = 0,
    EVENT_PLACE = STREAM_PLACE + static_cast<int>(NUM_STREAMS),
    ERROR_EVENT_PLACE = EVENT_PLACE + static_cast<int>(NUM_STREAMS),
    BUFFER_PLACE = ERROR_EVENT_PLACE + static_cast<int>(NUM_STREAMS),
    NULL_PLACE = BUFFER_PLACE + static_cast<int>(NUM_STREAMS * NUM_SLOTS),
    DEVICE_PLACE,
    REMOTE_PLACE,
    SYSTEM_PLACE,
    FOREIGN_PLACE, // the consumer's own memory
    NUM_PLACES
};

enum class Kind {
    Open,
    Close,
    Announce,
    Alloc,
    Revoke,
    Queue,
    Flush,
    Start,
    Stop,
    Produce,
    Wait,
    Kill,
    EventFlush,
    EventInfo,
    EventDataInfo,
    Register,
    Unregister,
    StreamInfo,
    BufferInfo,
    BufferId,
};

// How an info query is asked.
enum class Room { NoSize, NoBuffer, Unlimited, TooSmall, Exact, Large };
inline constexpr int NUM_ROOMS = 6;

struct Operation {
    Kind kind = Kind::Stop;
    int place = NULL_PLACE;    // of the handle that comes first; the stream to open
    int buffer = BUFFER_PLACE; // of the second handle; the slot to announce into
    int64_t number = 0;        // size, count, operation, command, event type or index
    int64_t detail = 0;        // Room, result of a grab, whether there is an area
};

// "DSQueueBuffer(stream 0, buffer 1.3)"
std::string ToText(const Operation& operation);
bool NamesBuffer(Kind kind);

using Random = std::mt19937_64;
// Draws the next operation; what the model holds only shapes the odds.
Operation Draw(Random& random, const Model& model);

} // namespace Walk
