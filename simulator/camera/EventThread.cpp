#include "camera/EventThread.h"

#include <utility>

namespace OptivoSim {

CEventThread& CEventThread::Get() {
    static auto* const thread = new CEventThread;
    return *thread;
}

void CEventThread::Post(std::function<void()> task) {
    const std::lock_guard lock(m_lock);
    m_tasks.push_back(std::move(task));
    if (!m_isRunning) {
        std::thread thread([this] { Loop(); });
        m_isRunning = true;
        m_id = thread.get_id();
        thread.detach();
    }
    m_posted.notify_one();
}

void CEventThread::Run(const std::function<void()>& task) {
    bool isWithin = false;
    {
        const std::lock_guard lock(m_lock);
        isWithin = m_id == std::this_thread::get_id();
    }
    if (isWithin) {
        task();
        return;
    }
    CMutex doneLock;
    CCondition doneChanged;
    bool isDone = false;
    Post([&] {
        task();
        const std::lock_guard lock(doneLock);
        isDone = true;
        doneChanged.notify_one();
    });
    std::unique_lock<std::mutex> lock(doneLock);
    doneChanged.wait(lock, [&] { return isDone; });
}

void CEventThread::Loop() {
    std::unique_lock<std::mutex> lock(m_lock);
    for (;;) {
        m_posted.wait(lock, [this] { return !m_tasks.empty(); });
        const std::function<void()> task = std::move(m_tasks.front());
        m_tasks.pop_front();
        lock.unlock();
        task();
        lock.lock();
    }
}

} // namespace OptivoSim
