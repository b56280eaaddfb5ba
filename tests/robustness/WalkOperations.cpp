#include "WalkOperations.h"

#include <iterator>
#include <utility>

namespace Walk {
namespace {

constexpr int64_t PAYLOAD_OF_WALKS = 32 * 24;
constexpr int64_t SIZES[] = {PAYLOAD_OF_WALKS, PAYLOAD_OF_WALKS, PAYLOAD_OF_WALKS + 100, 100, 7};
constexpr int64_t COUNTS[] = {-1, -1, -1, 0xFFFFFFFF, 0x100000005, 1, 2, 3, 5, 0};
constexpr int64_t AREA_SIZES[] = {16, 16, 16, 16, 64, 0, 1, 15, -1};
constexpr int64_t GRAB_RESULTS[] = {-1, -2, -3, -4, -1001, 5};
constexpr int64_t FLUSHES[] = {0, 1, 2, 2, 3, 3, 4, 4, 4, 5, 1000, -1};
constexpr int64_t EVENT_TYPES[] = {1, 1, 1, 0, 2, 4, -1};
constexpr int64_t STREAM_COMMANDS[] = {0,  1,  2,  3,    4,    5,    6,    7,    8,   9,
                                       10, 11, 12, 1000, 1001, 1002, 1003, 1004, 1005};

uint64_t Below(Random& random, uint64_t limit) {
    return random() % limit;
}

template <size_t Count>
int64_t Any(Random& random, const int64_t (&numbers)[Count]) {
    return numbers[Below(random, Count)];
}

// Mostly the kind of handle that the call wants.
int PlaceOf(Random& random, int first, size_t count) {
    if (Below(random, 20) == 0) {
        return static_cast<int>(Below(random, NUM_PLACES));
    }
    return first + static_cast<int>(Below(random, count));
}

constexpr std::pair<Kind, unsigned> WEIGHTS[] = {
    {Kind::Open, 1},       {Kind::Close, 1},         {Kind::Announce, 10},  {Kind::Alloc, 8},
    {Kind::Revoke, 6},     {Kind::Queue, 24},        {Kind::Flush, 7},      {Kind::Start, 6},
    {Kind::Stop, 3},       {Kind::Produce, 14},      {Kind::Wait, 15},      {Kind::Kill, 1},
    {Kind::EventFlush, 2}, {Kind::EventInfo, 2},     {Kind::Register, 2},   {Kind::Unregister, 1},
    {Kind::BufferId, 2},   {Kind::EventDataInfo, 1}, {Kind::StreamInfo, 5}, {Kind::BufferInfo, 5}};

Kind DrawKind(Random& random) {
    unsigned total = 0;
    for (const auto& [kind, weight] : WEIGHTS) {
        total += weight;
    }
    uint64_t at = Below(random, total);
    for (const auto& [kind, weight] : WEIGHTS) {
        if (at < weight) {
            return kind;
        }
        at -= weight;
    }
    return Kind::Stop;
}

int64_t DrawNumber(Random& random, Kind kind) {
    switch (kind) {
    case Kind::Announce:
    case Kind::Alloc:
        return Any(random, SIZES);
    case Kind::Flush:
        return Any(random, FLUSHES);
    case Kind::Start:
        return Any(random, COUNTS);
    case Kind::Produce:
        return static_cast<int64_t>(Below(random, 4)) + 1;
    case Kind::Wait:
        return Any(random, AREA_SIZES);
    case Kind::Register:
    case Kind::Unregister:
        return Any(random, EVENT_TYPES);
    case Kind::StreamInfo:
        return Any(random, STREAM_COMMANDS);
    case Kind::BufferInfo:
    case Kind::BufferId:
        return static_cast<int64_t>(Below(random, 11));
    default:
        return static_cast<int64_t>(Below(random, 4));
    }
}

int64_t DrawDetail(Random& random, Kind kind) {
    switch (kind) {
    case Kind::Produce:
        return Below(random, 8) == 0 ? Any(random, GRAB_RESULTS) : 0;
    case Kind::Wait:
        return Below(random, 10) != 0 ? 1 : 0;
    default:
        return static_cast<int64_t>(Below(random, NUM_ROOMS));
    }
}

int DrawPlace(Random& random, Kind kind) {
    switch (kind) {
    case Kind::Open:
        return static_cast<int>(Below(random, NUM_STREAMS));
    case Kind::Wait:
        return Below(random, 30) == 0 ? PlaceOf(random, ERROR_EVENT_PLACE, NUM_STREAMS)
                                      : PlaceOf(random, EVENT_PLACE, NUM_STREAMS);
    case Kind::Kill:
    case Kind::EventFlush:
    case Kind::EventInfo:
    case Kind::EventDataInfo:
        return PlaceOf(random, EVENT_PLACE, NUM_STREAMS);
    default:
        return PlaceOf(random, STREAM_PLACE, NUM_STREAMS);
    }
}

// A buffer of the stream that the call is for, unless it is one of all places.
int DrawBuffer(Random& random, int place, Kind kind) {
    const bool isOwn = place < static_cast<int>(NUM_STREAMS) && Below(random, 8) != 0;
    if (kind == Kind::Announce || kind == Kind::Alloc || isOwn) {
        const size_t stream = static_cast<size_t>(place) % NUM_STREAMS;
        return BUFFER_PLACE + static_cast<int>(stream * NUM_SLOTS + Below(random, NUM_SLOTS));
    }
    return PlaceOf(random, BUFFER_PLACE, NUM_STREAMS * NUM_SLOTS);
}

std::string PlaceText(int place) {
    if (place < EVENT_PLACE) {
        return "stream " + std::to_string(place);
    }
    if (place < ERROR_EVENT_PLACE) {
        return "event " + std::to_string(place - EVENT_PLACE);
    }
    if (place < BUFFER_PLACE) {
        return "error event " + std::to_string(place - ERROR_EVENT_PLACE);
    }
    if (place < NULL_PLACE) {
        const int slot = place - BUFFER_PLACE;
        const int count = static_cast<int>(NUM_SLOTS);
        return "buffer " + std::to_string(slot / count) + '.' + std::to_string(slot % count);
    }
    const char* const names[] = {"null", "device", "remote port", "system", "foreign memory"};
    return names[place - NULL_PLACE];
}

std::string RoomText(int64_t room) {
    const char* const names[] = {"no size",   "no buffer",  "size 0",
                                 "too small", "exact size", "large size"};
    return names[room];
}

struct Shape {
    const char* name;
    bool hasBuffer;
    bool hasRoom;
};

Shape ShapeOf(Kind kind) {
    static constexpr Shape SHAPES[] = {
        {"DevOpenDataStream", false, false}, {"DSClose", false, false},
        {"DSAnnounceBuffer", true, false},   {"DSAllocAndAnnounceBuffer", true, false},
        {"DSRevokeBuffer", true, false},     {"DSQueueBuffer", true, false},
        {"DSFlushQueue", false, false},      {"DSStartAcquisition", false, false},
        {"DSStopAcquisition", false, false}, {"OptivoSim_ProduceImages", false, false},
        {"EventGetData", false, false},      {"EventKill", false, false},
        {"EventFlush", false, false},        {"EventGetInfo", false, true},
        {"EventGetDataInfo", false, false},  {"GCRegisterEvent", false, false},
        {"GCUnregisterEvent", false, false}, {"DSGetInfo", false, true},
        {"DSGetBufferInfo", true, true},     {"DSGetBufferID", false, false}};
    return SHAPES[static_cast<size_t>(kind)];
}

bool HasNumber(Kind kind) {
    switch (kind) {
    case Kind::Open:
    case Kind::Close:
    case Kind::Revoke:
    case Kind::Queue:
    case Kind::Stop:
    case Kind::Kill:
    case Kind::EventFlush:
    case Kind::EventDataInfo:
        return false;
    default:
        return true;
    }
}

} // namespace

std::string ToText(const Operation& operation) {
    const Shape shape = ShapeOf(operation.kind);
    if (operation.kind == Kind::Produce) {
        const std::string fault =
            operation.detail == 0 ? ""
                                  : "; the first grab answers " + std::to_string(operation.detail);
        return std::string(shape.name) + '(' + std::to_string(operation.number) + ')' + fault;
    }
    std::string text = std::string(shape.name) + '(' + PlaceText(operation.place);
    if (shape.hasBuffer) {
        text += ", " + PlaceText(operation.buffer);
    }
    if (operation.kind == Kind::Wait) {
        text += operation.detail != 0 ? ", area" : ", no area";
        return text + (operation.number < 0 ? ", no size)"
                                            : ", size " + std::to_string(operation.number) + ')');
    }
    if (HasNumber(operation.kind)) {
        text += ", " + std::to_string(operation.number);
    }
    if (shape.hasRoom) {
        text += ", " + RoomText(operation.detail);
    }
    return text + ')';
}

bool NamesBuffer(Kind kind) {
    return ShapeOf(kind).hasBuffer && kind != Kind::Announce && kind != Kind::Alloc;
}

Operation Draw(Random& random, const Model& model) {
    Operation drawn;
    drawn.kind = DrawKind(random);
    drawn.place = DrawPlace(random, drawn.kind);
    drawn.buffer = DrawBuffer(random, drawn.place, drawn.kind);
    drawn.number = DrawNumber(random, drawn.kind);
    drawn.detail = DrawDetail(random, drawn.kind);
    for (size_t i = 0; i < NUM_STREAMS; ++i) {
        const Stream& stream = model.streams[i];
        const auto place = static_cast<int>(STREAM_PLACE + i);
        if (!stream.isOpen && Below(random, 10) == 0) {
            return {.kind = Kind::Open, .place = place};
        }
        if (stream.isOpen && !stream.isGrabbing && Below(random, 12) == 0) {
            return {.kind = Kind::Start, .place = place, .number = Any(random, COUNTS)};
        }
        // Ending a loop that polls takes its time unless the camera is stopped first.
        if (drawn.kind == Kind::Start && drawn.place == place && stream.isGrabbing &&
            Below(random, 8) != 0) {
            return {.kind = Kind::Produce, .number = 1};
        }
    }
    return drawn;
}

} // namespace Walk
