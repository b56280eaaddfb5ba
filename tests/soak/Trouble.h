// What befalls the cameras of a soak: faults of the library, lost images, pulled plugs, bursts of
// events. Knows nothing of the consumer.
#pragma once

#include "Chance.h"
#include "Events.h"
#include <atomic>
#include <cstdint>
#include <thread>

class Trouble {
public:
    Trouble(EventSources& sources, unsigned seed);
    // Ends at once; all plugs are in again.
    ~Trouble();
    Trouble(const Trouble&) = delete;
    Trouble& operator=(const Trouble&) = delete;

    uint64_t NumMade() const { return m_numMade; }

private:
    void Run();
    // False when nothing came of it.
    bool Make();

    EventSources& m_sources;
    Chance m_chance;
    std::atomic<uint64_t> m_numMade{0};
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};
