#include "modules/StreamRegistry.h"

#include "core/NeverDestroyed.h"
#include "modules/BufferInfo.h"
#include "modules/DataStream.h"

#include <boost/thread/lock_guard.hpp>

#include <algorithm>
#include <list>
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

// While a stream is listed it exists, so that it can be asked under the lock.
CDataStream* CStreamRegistry::BeginClosing(const void* handle) {
    const boost::lock_guard<boost::mutex> lock(m_mutex);
    const auto found =
        std::find_if(m_streams.begin(), m_streams.end(),
                     [handle](CDataStream* stream) { return HandleOf(stream) == handle; });
    return found != m_streams.end() && (*found)->BeginClosing() ? *found : nullptr;
}

void CStreamRegistry::DropEverywhere(const CBufferInfo& buffer) {
    std::vector<CDataStream*> streams;
    std::list<CCallCounter::CScope> inside; // a stream that closes waits for us
    {
        const boost::lock_guard<boost::mutex> lock(m_mutex);
        streams = m_streams;
        for (CDataStream* stream : streams) {
            inside.emplace_back(stream->Calls());
        }
    }
    for (CDataStream* stream : streams) {
        stream->DropBuffer(buffer);
    }
}

void CStreamRegistry::Keep(Optivo::ICamStream* camera,
                           const std::deque<CBufferInfo*>& buffers) noexcept {
    if (camera == nullptr && buffers.empty()) {
        return;
    }
    for (CBufferInfo* buffer : buffers) {
        buffer->RetireHandle();
        buffer->SetOwner(nullptr);
    }
    try {
        for (const CBufferInfo* buffer : buffers) {
            if (buffer->HasStrayed()) {
                DropEverywhere(*buffer);
            }
        }
        const boost::lock_guard<boost::mutex> lock(m_mutex);
        if (camera != nullptr) {
            m_keptStreams.push_back(camera);
        }
        m_keptBuffers.insert(m_keptBuffers.end(), buffers.begin(), buffers.end());
    } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch): they are lost either way
    }
}

} // namespace GenICam::Client
