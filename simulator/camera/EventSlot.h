// The place where a camera keeps the one device-event callback that is installed. Knows nothing of
// what an event means, nor of the thread that reports it.
#pragma once

#include "base/ResultCodes.h"
#include "base/Sync.h"

#include <cstdint>
#include <mutex>
#include <thread>

namespace OptivoSim {

using namespace OptivoBase;

// Thread-safe. No lock is held while a callback runs, so it may call into the library.
class CEventSlot {
public:
    // Replaces the callback; null removes it if the context is the one it was installed with.
    // Returns when the replaced one is not running any more, unless called from within it. The
    // owner is who may remove it later.
    void Install(const void* owner, Optivo::DeviceEventCallback callback, void* context);
    // Removes the callback in the same way if the owner is the one who installed it.
    void Remove(const void* owner);
    bool IsInstalled() const;

    // Runs the callback on the calling thread, of which there is only one at a time; false when
    // none is installed.
    bool Report(UInt32 eventId, std::uint64_t value);

private:
    void WaitForRun(std::unique_lock<std::mutex>& lock);

    mutable CMutex m_lock;
    CCondition m_runEnded;
    const void* m_owner = nullptr;
    Optivo::DeviceEventCallback m_callback = nullptr;
    void* m_context = nullptr;

    unsigned m_depth = 0;     // callbacks that are running, each one within the one before
    std::uint64_t m_runs = 0; // outermost runs begun so far
    std::thread::id m_runner;
};

} // namespace OptivoSim
