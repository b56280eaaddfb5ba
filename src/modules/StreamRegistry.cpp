#include "modules/StreamRegistry.h"

#include "core/NeverDestroyed.h"
#include "modules/BufferInfo.h"
#include "modules/DataStream.h"

#include <boost/thread/lock_guard.hpp>

#include <new>

namespace GenICam::Client {

CStreamRegistry& CStreamRegistry::Instance() {
    static CNeverDestroyed<CStreamRegistry> s_registry;
    return s_registry.m_value;
}

void CStreamRegistry::Add(CDataStream* stream) {
    const boost::lock_guard<boost::mutex> lock(m_mutex);
    m_streams.push_back(stream);
}

void CStreamRegistry::Remove(const CDataStream* stream) noexcept {
    const boost::lock_guard<boost::mutex> lock(m_mutex);
    std::erase(m_streams, stream);
    if (m_streams.empty()) {
        std::vector<CDataStream*>().swap(m_streams);
    }
}

void CStreamRegistry::DropEverywhere(CBufferInfo& buffer) {
    const boost::lock_guard<boost::mutex> lock(m_mutex);
    for (CDataStream* stream : m_streams) {
        stream->DropBuffer(buffer);
    }
}

void CStreamRegistry::Keep(Optivo::ICamStream* camera,
                           const std::deque<CBufferInfo*>& buffers) noexcept {
    if (camera == nullptr && buffers.empty()) {
        return;
    }
    const boost::lock_guard<boost::mutex> lock(m_mutex);
    try {
        if (camera != nullptr) {
            m_keptStreams.push_back(camera);
        }
        m_keptBuffers.insert(m_keptBuffers.end(), buffers.begin(), buffers.end());
    } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch): they are lost either way
    }
    for (CBufferInfo* buffer : buffers) {
        buffer->m_owner = nullptr;
    }
}

} // namespace GenICam::Client
