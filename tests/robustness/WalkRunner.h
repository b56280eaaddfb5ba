// Makes the calls of a random walk, on the module and on the model, and tells where they differ.
#pragma once

#include "Producer.h"
#include "WalkModel.h"
#include "WalkOperations.h"

#include <array>
#include <chrono>
#include <deque>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace Walk {

// What a walk needs of the modules above its streams.
struct Surroundings {
    Producer* gentl = nullptr;
    void* system = nullptr;
    void* device = nullptr;
    void* remote = nullptr;
    std::string camera;
    size_t payload = 0;
    // What the camera's stream answers for its values 5 to 8, and the images that it lost.
    std::array<uint64_t, 4> values{};
    uint64_t numLost = 0;
};

// The device has no stream at first, and none in the end.
class Runner {
public:
    // patience: how long the images may take to be where the model has them.
    Runner(Surroundings surroundings, std::chrono::milliseconds patience);
    ~Runner();
    Runner(const Runner&) = delete;
    Runner& operator=(const Runner&) = delete;

    // What differs afterwards; empty when nothing does. Operations that make no sense here (a slot
    // that is taken) are left out.
    std::string Do(const Operation& operation);

    // The operation, the announced buffer that its handle denotes, and what it answered.
    const std::string& LastCall() const { return m_lastCall; }

    const Model& TheModel() const { return m_model; }
    uint64_t NumCalls() const { return m_numCalls; }
    uint64_t NumImages() const { return m_numImages; }

private:
    using Handle = void*;
    // What the consumer's memory holds at first, also behind the buffer's end.
    static constexpr unsigned char GUARD = 0xA5;
    static constexpr size_t GUARD_SIZE = 16;
    // What an announcement keeps beside the model's buffer of the same position.
    struct Announced {
        Handle handle = nullptr;
        void* user = nullptr;
        unsigned char* memory = nullptr;
        bool isConsumers = false;
    };
    // What an info query offers, and what it must leave there.
    struct Query {
        Answer answer;
        int32_t type = 0;
        std::string bytes;
        bool isWritten = false; // the size and, if there is a destination, the bytes
    };

    void Perform(const Operation& operation);
    void Open(const Operation& operation);
    void Close(const Operation& operation);
    void Announce(const Operation& operation);
    void Revoke(const Operation& operation);
    void Queue(const Operation& operation);
    void Control(const Operation& operation);
    void Produce(const Operation& operation);
    void Wait(const Operation& operation);
    void EventControl(const Operation& operation);
    void EventInfo(const Operation& operation);
    void EventDataInfo(const Operation& operation);
    void Register(const Operation& operation);
    void StreamInfo(const Operation& operation);
    void BufferInfo(const Operation& operation);
    void BufferId(const Operation& operation);

    void KeepAnnounced(size_t stream, int place, const Announced& announced);
    void ExpectFetched(const Fetched& fetched, bool hasArea, const void* area);
    void ExpectImage(size_t buffer);
    std::optional<Query> StreamValue(size_t stream, int32_t command);
    std::optional<Query> BufferValue(size_t buffer, int32_t command);
    template <class Call>
    void Ask(Query expected, int64_t room, Call call);

    // The state that every call leaves.
    void Settle();
    std::string CountsThatDiffer();
    void ExpectBuffersAgree();
    void ExpectFlagsAgree(Handle stream, size_t buffer);
    uint64_t Number(size_t stream, int32_t command);

    // What a handle denotes now, whatever it was handed out for: addresses are used again.
    std::optional<size_t> StreamOf(Handle handle) const;
    std::optional<size_t> BufferOf(Handle handle) const;
    std::optional<size_t> EventOf(Handle handle) const;
    bool IsErrorEvent(Handle handle) const;
    Handle& At(int place) { return m_handles[static_cast<size_t>(place)]; }

    void Expect(const Answer& expected, int32_t code);
    void ExpectSourceError(int32_t code);
    void ExpectText(const Answer& recorded);
    template <class Value>
    void ExpectSame(const char* what, const Value& expected, const Value& actual);

    Surroundings m_around;
    Producer& m_gentl;
    std::chrono::milliseconds m_patience;
    Model m_model;
    std::array<Handle, NUM_PLACES> m_handles{};
    std::vector<Announced> m_announced;
    std::deque<std::vector<unsigned char>> m_memory;
    std::string m_differences;
    std::string m_lastCall;
    std::optional<int32_t> m_code; // of the operation's first call
    uint64_t m_numCalls = 0;
    uint64_t m_numImages = 0; // that waits gave, each once
    unsigned char m_foreign[64]{};
};

template <class Value>
void Runner::ExpectSame(const char* what, const Value& expected, const Value& actual) {
    if (!(expected == actual)) {
        std::ostringstream text;
        text << what << ": " << actual << " instead of " << expected << '\n';
        m_differences += text.str();
    }
}

} // namespace Walk
