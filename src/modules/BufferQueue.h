// A first-in, first-out queue of announced buffers. It does not own them and knows nothing of
// their state.
#pragma once

#include <boost/circular_buffer.hpp>

#include <algorithm>
#include <atomic>
#include <cstddef>

namespace GenICam::Client {

class CBufferInfo;

// Guarded by its owner's lock, except Size, which any thread may ask. Storage is kept, so that
// neither adding nor removing allocates once the queue has been as long before.
class CBufferQueue {
public:
    void PushBack(CBufferInfo* buffer) {
        // One place stays free for a buffer that is put back.
        Reserve(m_buffers.size() + 2);
        m_buffers.push_back(buffer);
        Publish();
    }

    // Puts back what PopFront took.
    void PushFront(CBufferInfo* buffer) {
        Reserve(m_buffers.size() + 1);
        m_buffers.push_front(buffer);
        Publish();
    }

    // The queue is not empty.
    CBufferInfo* PopFront() {
        CBufferInfo* buffer = m_buffers.front();
        m_buffers.pop_front();
        Publish();
        return buffer;
    }

    // Removes and returns the first buffer that is not this one; null when there is none.
    CBufferInfo* PopFirstBut(const CBufferInfo* other) {
        const auto found = std::find_if(m_buffers.begin(), m_buffers.end(),
                                        [other](const auto* buffer) { return buffer != other; });
        if (found == m_buffers.end()) {
            return nullptr;
        }
        CBufferInfo* buffer = *found;
        m_buffers.rerase(found); // moves those in front of it
        Publish();
        return buffer;
    }

    bool Contains(const CBufferInfo* buffer) const {
        return std::find(m_buffers.begin(), m_buffers.end(), buffer) != m_buffers.end();
    }

    // Removes every occurrence.
    void Remove(const CBufferInfo* buffer) {
        m_buffers.erase(std::remove(m_buffers.begin(), m_buffers.end(), buffer), m_buffers.end());
        Publish();
    }

    void Clear() {
        m_buffers.clear();
        Publish();
    }

    void Reserve(std::size_t count) {
        if (count > m_buffers.capacity()) {
            m_buffers.set_capacity(std::max(count, 2 * m_buffers.capacity()));
        }
    }

    // Room for that many more.
    void ReserveMore(std::size_t count) { Reserve(m_buffers.size() + count + 2); }

    bool Empty() const { return m_buffers.empty(); }
    std::size_t Size() const { return m_size.load(std::memory_order_relaxed); }
    auto begin() const { return m_buffers.begin(); }
    auto end() const { return m_buffers.end(); }

private:
    void Publish() { m_size.store(m_buffers.size(), std::memory_order_relaxed); }

    boost::circular_buffer<CBufferInfo*> m_buffers;
    std::atomic<std::size_t> m_size{0};
};

} // namespace GenICam::Client
