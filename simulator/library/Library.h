// What the calls of all objects share: the world, the faults, the log and the counters. Made by the
// first use and never destroyed: a consumer's threads, and the library's own, may run until the
// process is gone.
#pragma once

#include "base/ResultCodes.h"
#include "base/Sync.h"
#include "calls/CallLog.h"
#include "calls/Faults.h"
#include "world/World.h"

#include <atomic>
#include <cstdint>
#include <string_view>

namespace OptivoSim {

using namespace OptivoBase;

// Thread-safe.
class CLibrary {
public:
    static CLibrary& Get();
    ~CLibrary() = delete;
    CLibrary(const CLibrary&) = delete;
    CLibrary& operator=(const CLibrary&) = delete;

    CFaults& Faults() { return m_faults; }
    CCallLog& Calls() { return m_calls; }
    CWorld& World() { return m_world; }

    // Both answer what the call is answered with.
    Int32 NoteDoubleClose();
    Int32 NoteUseAfterClose();
    std::uint64_t NumDoubleCloses() const { return m_numDoubleCloses; }
    std::uint64_t NumUsesAfterClose() const { return m_numUsesAfterClose; }

    // Null is none.
    void ObserveGrabs(void (*observer)()) { m_grabObserver = observer; }
    void TellGrabObserver() const {
        if (auto* const observer = m_grabObserver.load(std::memory_order_acquire)) {
            observer();
        }
    }

    // False while the file that was to describe the world did not.
    bool HasWorld() const { return m_hasWorld; }
    void Reset();
    // Replaces world and faults by those of a text; false, with the error, changes nothing.
    bool LoadWorld(std::string_view text, STextError& error);

private:
    CLibrary();

    void MakeWorld(const SWorldPlan& plan, bool hasWorld);

    CCallLog m_calls;
    CFaults m_faults;
    CWorld m_world;
    CMutex m_worldLock;      // of those who replace the world
    SWorldPlan m_firstWorld; // that the library began with; fixed from construction on
    std::atomic<std::uint64_t> m_numDoubleCloses{0};
    std::atomic<std::uint64_t> m_numUsesAfterClose{0};
    std::atomic<void (*)()> m_grabObserver{nullptr};
    std::atomic<bool> m_hasWorld{false};
    bool m_hadFirstWorld; // as m_firstWorld
};

} // namespace OptivoSim
