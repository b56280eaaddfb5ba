// The queue of an event kind: entries in order of arrival, and the timed wait for them.
// An entry kind gives DataSizeOf(entry), the size that a consumer must offer, and
// CopyEntry(entry, buffer, size). This file knows no kind and no module.
#pragma once

#include "core/CallCounter.h"
#include "core/Errors.h"
#include "core/WaitPoint.h"
#include "events/EventObj.h"

#include <boost/container/deque.hpp>
#include <boost/thread/mutex.hpp>

#include <atomic>
#include <stdexcept>

namespace GenICam::Client {

// Entry is the shared pointer to an entry. Any thread may push while others wait; each entry wakes
// one waiter. A kind ends the waits in its destructor.
template <class Entry>
class CEventQueue : public CEventObj {
public:
    // A wait that times out succeeds and writes nothing. A size of 0 asks for the size of the
    // oldest entry and leaves it queued.
    // Throws std::invalid_argument "Buffer too small", std::runtime_error when another thread took
    // the entry, invalid_parameter_error for a null size; the entry stays queued each time.
    GC_ERROR GetData(void* buffer, size_t* size, std::uint64_t timeout) final {
        const CCallCounter::CScope inside(m_calls);
        boost::unique_lock<boost::mutex> lock(m_mutex);
        if (m_entries.empty()) {
            switch (m_arrival.Wait(lock, timeout)) {
            case WaitResult::TimedOut:
                return GC_ERR_SUCCESS;
            case WaitResult::Closed:
                throw abort_error("Wait terminated");
            case WaitResult::Woken:
                break;
            }
            if (m_entries.empty()) {
                throw std::runtime_error(" Empty event queue but signaled");
            }
        }
        size_t& given = Require(size, "piSize");
        const auto& oldest = *m_entries.front();
        const size_t needed = DataSizeOf(oldest);
        if (given == 0) {
            given = needed;
            return GC_ERR_SUCCESS;
        }
        if (given < needed) {
            throw std::invalid_argument("Buffer too small");
        }
        CopyEntry(oldest, buffer, size);
        m_entries.pop_front();
        return GC_ERR_SUCCESS;
    }

    void Flush() final {
        const boost::unique_lock<boost::mutex> lock(m_mutex);
        m_entries.clear();
    }

    // Does nothing: a waiting thread goes on waiting.
    void Kill() final {}

    // Queues an entry while the event is registered.
    virtual void Push(const Entry& entry) {
        if (m_registered.load(std::memory_order_relaxed) == 0) {
            return;
        }
        CWaitPoint<>::Sleeper waiting = nullptr;
        {
            const boost::unique_lock<boost::mutex> lock(m_mutex);
            m_entries.push_back(entry);
            waiting = m_arrival.Grant();
        }
        m_arrival.Wake(waiting);
    }

    virtual void Register() { m_registered.store(1, std::memory_order_relaxed); }
    virtual void Unregister() { m_registered.store(0, std::memory_order_relaxed); }

protected:
    CEventQueue() = default;

    // Retires the handle, ends all waits with abort_error and returns after the waiters have left.
    void EndWaits() {
        RetireHandle();
        {
            const boost::unique_lock<boost::mutex> lock(m_mutex);
            m_arrival.Close();
        }
        m_calls.Drain();
    }

    std::size_t NumQueued() {
        const boost::unique_lock<boost::mutex> lock(m_mutex);
        return m_entries.size();
    }

private:
    boost::mutex m_mutex;
    CWaitPoint<> m_arrival;
    boost::container::deque<Entry> m_entries; // has no memory until the first entry comes
    // 0 or 1; entries that arrive while it is 0 are dropped.
    std::atomic<std::uint64_t> m_registered{0};
    CCallCounter m_calls;
};

} // namespace GenICam::Client
