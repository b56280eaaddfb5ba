// The device events of one camera in a soak, at both ends: who fires them, and who fetches them.
#pragma once

#include "Chance.h"
#include "Producer.h"
#include "Tally.h"

#include <array>
#include <cstdint>
#include <mutex>
#include <string>

// Fires a camera's events. An event's value is its number among those of this camera that arrived
// at a callback, from 1 on. Knows nothing of the consumer.
class EventSource {
public:
    explicit EventSource(std::string camera) : m_camera(std::move(camera)) {}

    const std::string& Camera() const { return m_camera; }
    // Returns when so many were fired; answers how many of them arrived.
    unsigned Fire(unsigned count);

    // While this is held no event is fired.
    std::unique_lock<std::mutex> Pause() { return std::unique_lock(m_lock); }
    // To be asked while paused.
    uint64_t NumArrived() const { return m_numArrived; }

private:
    std::string m_camera;
    std::mutex m_lock;
    uint64_t m_numArrived = 0;
};

using EventSources = std::array<EventSource, 4>;

// Fetches or flushes the events of one camera while it is open, and complains of every event that
// arrived and is missing.
class EventReader {
public:
    EventReader(Producer& gentl, EventSource& source, Tally& tally, unsigned seed)
        : m_gentl(gentl), m_source(source), m_tally(tally), m_chance(seed) {}

    void Register(DEV_HANDLE device);
    // Now and then fetches or flushes what has arrived.
    void Look();
    // Before the device closes. Sometimes that close must end the events.
    void Unregister();
    void AfterClose();

private:
    void Fetch();
    void Flush();
    void Expect(bool holds, const char* what);
    uint64_t NumQueued();

    Producer& m_gentl;
    EventSource& m_source;
    Tally& m_tally;
    Chance m_chance;
    PORT_HANDLE m_port = nullptr;
    EVENT_HANDLE m_event = nullptr;
    uint64_t m_numSeen = 0; // fetched, flushed, or gone with their device
};
