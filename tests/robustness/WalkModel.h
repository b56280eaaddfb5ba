// What the streams of one device hold and answer, in plain containers: what a random walk over the
// exported functions compares the module with. It knows neither the module nor its sources, and
// thinks of no threads: images come when they are asked for, and are where they belong at once.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace Walk {

inline constexpr size_t NUM_STREAMS = 2;
inline constexpr uint64_t WITHOUT_LIMIT = 0xFFFFFFFF;

// The code of a call, and the text that it records unless it is 0.
struct Answer {
    int32_t code = 0;
    std::string text;

    bool operator==(const Answer&) const = default;
};
inline const Answer DONE = {};
inline const Answer UNSPECIFIED = {-1001, "Unspecified runtime error."};
inline const Answer WRONG_HANDLE = {-1001, "Invalid Device Handle"};
// Of a port or an event; the call itself answers -1006.
inline const Answer WRONG_SOURCE = {-1009, "Function call on wrong handle or NULL pointer."};

struct Buffer {
    bool isAlive = true;
    size_t size = 0;
    bool isQueued = false;
    bool hasNewData = false;
    bool isDelivered = false;
    std::optional<uint64_t> image; // that it was filled with last

    void Set(bool queued, bool newData, bool delivered) {
        isQueued = queued;
        hasNewData = newData;
        isDelivered = delivered;
    }
};

// Buffers are known by their position in Model::buffers; a queue may hold one more than once.
struct Stream {
    bool isOpen = false;
    std::deque<size_t> announced;
    std::deque<size_t> input;
    std::deque<size_t> output;
    uint64_t numDelivered = 0;
    uint64_t numLost = 0;
    uint64_t remaining = WITHOUT_LIMIT;
    bool isGrabbing = false;
    int32_t lastGrab = 0;

    // The camera's side: images since its start, the next one to take, and how many may still come.
    bool isStarted = false;
    uint64_t numMade = 0;
    uint64_t next = 0;
    uint64_t allowance = 0;
};

// What a wait gives.
struct Fetched {
    Answer answer;
    std::optional<size_t> buffer; // that is handed out
    bool isSizeSet = false;
    bool isNew = false; // filled since it was fetched or discarded last
};

struct Model {
    std::array<Stream, NUM_STREAMS> streams;
    std::vector<Buffer> buffers; // every one that there ever was

    void Open(size_t stream);
    void Close(size_t stream);
    size_t Announce(size_t stream, size_t size);
    Answer Revoke(size_t stream, size_t buffer);
    void Queue(size_t stream, size_t buffer);
    void Flush(size_t stream, int32_t operation);
    void Start(size_t stream, uint64_t count);
    void Stop(size_t stream);

    // The camera makes images; the first grab answers the result instead, unless it is 0.
    void Produce(uint64_t count, int32_t result = 0);
    // The streams that would take them.
    size_t NumTaking(uint64_t count) const;
    // Whether two streams would fill the same buffer, in an order that nobody knows.
    bool WouldContend(uint64_t count) const;

    // A wait without patience; size is what the caller's size holds, if there is one.
    Fetched Fetch(size_t stream, bool hasArea, std::optional<size_t> size);

private:
    void Grab(Stream& stream, int32_t result);
    void Fill(Stream& stream);
    void Forget(size_t buffer);
    void DiscardOutput(Stream& stream);
    void DiscardAll(Stream& stream);
    void InputToOutput(Stream& stream);
    void AllToInput(Stream& stream);
    void UnqueuedToInput(Stream& stream);
};

} // namespace Walk
