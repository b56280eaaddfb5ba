// The thread on which all device events are reported, one after the other. Knows nothing of
// cameras.
#pragma once

#include "base/Sync.h"

#include <deque>
#include <functional>
#include <thread>

namespace OptivoSim {

using namespace OptivoBase;

// Starts with the first task and never ends; the object must live as long as the process.
class CEventThread {
public:
    // The one of this library.
    static CEventThread& Get();

    void Post(std::function<void()> task);
    // Returns when the task is done. A task may itself run a task, which is then done at once.
    void Run(const std::function<void()>& task);

private:
    void Loop();

    CMutex m_lock;
    CCondition m_posted;
    std::deque<std::function<void()>> m_tasks;
    bool m_isRunning = false;
    std::thread::id m_id;
};

} // namespace OptivoSim
