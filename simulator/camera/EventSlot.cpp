#include "camera/EventSlot.h"

namespace OptivoSim {

void CEventSlot::Install(const void* owner, Optivo::DeviceEventCallback callback, void* context) {
    std::unique_lock<std::mutex> lock(m_lock);
    if (callback == nullptr && context != m_context) {
        return;
    }
    m_owner = callback != nullptr ? owner : nullptr;
    m_callback = callback;
    m_context = context;
    WaitForRun(lock);
}

void CEventSlot::Remove(const void* owner) {
    std::unique_lock<std::mutex> lock(m_lock);
    if (m_owner == owner) {
        m_owner = nullptr;
        m_callback = nullptr;
        m_context = nullptr;
        WaitForRun(lock);
    }
}

bool CEventSlot::IsInstalled() const {
    const std::lock_guard lock(m_lock);
    return m_callback != nullptr;
}

bool CEventSlot::Report(UInt32 eventId, std::uint64_t value) {
    std::unique_lock<std::mutex> lock(m_lock);
    if (m_callback == nullptr) {
        return false;
    }
    const Optivo::DeviceEventCallback callback = m_callback;
    void* const context = m_context;
    if (m_depth++ == 0) {
        ++m_runs;
        m_runner = std::this_thread::get_id();
    }
    lock.unlock();
    callback(eventId, nullptr, nullptr, static_cast<UInt32>(value),
             static_cast<UInt32>(value >> 32U), context);
    lock.lock();
    if (--m_depth == 0) {
        m_runner = {};
        m_runEnded.notify_all();
    }
    return true;
}

void CEventSlot::WaitForRun(std::unique_lock<std::mutex>& lock) {
    if (m_runner == std::this_thread::get_id()) {
        return;
    }
    const std::uint64_t run = m_runs;
    m_runEnded.wait(lock, [&] { return m_depth == 0 || m_runs != run; });
}

} // namespace OptivoSim
