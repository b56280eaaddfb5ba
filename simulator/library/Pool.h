// Keeps the objects of one kind that were handed out, so that a call on a closed one is noticed
// instead of crashing; a long run forgets the oldest. Knows nothing of what the objects do.
#pragma once

#include "base/Sync.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace OptivoSim {

using namespace OptivoBase;

// TObject has a default constructor, Open(contents) and IsOpen(); a closed one is small.
template <typename TObject>
class CPool {
public:
    // The one of the kind, never destroyed: threads may call to the end of the process.
    static CPool& Get() {
        static CPool* const pool = new CPool;
        return *pool;
    }

    template <typename TContents>
    TObject* HandOut(std::shared_ptr<TContents> contents) {
        const std::lock_guard lock(m_lock);
        if (m_recycled.empty() && m_objects.size() >= m_numAlive + kMostRemembered) {
            m_recycled.push_back(NextClosed());
        }
        if (m_recycled.empty()) {
            m_objects.push_back(std::make_unique<TObject>());
            m_recycled.push_back(m_objects.back().get());
        }
        TObject* const object = m_recycled.back();
        m_recycled.pop_back();
        object->Open(std::move(contents));
        ++m_numAlive;
        return object;
    }

    void NoteClosed() { --m_numAlive; }
    std::uint64_t NumAlive() const { return m_numAlive; }

    // Lets closed objects be handed out again; a stale pointer to one goes unnoticed from then on.
    void RecycleClosed() {
        const std::lock_guard lock(m_lock);
        m_recycled.clear();
        for (const auto& object : m_objects) {
            if (!object->IsOpen()) {
                m_recycled.push_back(object.get());
            }
        }
    }

private:
    static constexpr std::size_t kMostRemembered = 1000;

    // In the order in which they were handed out at first; there is one.
    TObject* NextClosed() {
        do {
            m_cursor = (m_cursor + 1) % m_objects.size();
        } while (m_objects[m_cursor]->IsOpen());
        return m_objects[m_cursor].get();
    }

    CMutex m_lock;
    std::vector<std::unique_ptr<TObject>> m_objects;
    std::vector<TObject*> m_recycled; // not owned
    std::size_t m_cursor = 0;
    std::atomic<std::uint64_t> m_numAlive{0};
};

} // namespace OptivoSim
