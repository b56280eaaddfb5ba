// The live data streams of the process, and what closed streams had to leave unreleased.
// A buffer may be queued in a stream that did not announce it, so that only all streams together
// know every queue that holds it.
#pragma once

#include "camlib/CameraLibrary.h"

#include <boost/thread/mutex.hpp>

#include <deque>
#include <vector>

namespace GenICam::Client {

class CBufferInfo;
class CDataStream;

// One per process, never destroyed: what is left here stays reachable. Without a stream, and with
// nothing left, it holds no memory.
class CStreamRegistry {
public:
    CStreamRegistry() = default;
    static CStreamRegistry& Instance();

    void Add(CDataStream* stream);
    void Remove(const CDataStream* stream) noexcept;
    // The stream behind a handle, whose closing the caller has begun and now finishes; null for
    // what is no stream, and for a stream that another thread is closing. The handle may be that
    // of a stream that goes at this very moment.
    CDataStream* BeginClosing(const void* handle);
    // Takes a buffer out of every queue of every stream, and waits for a fill of it to end; other
    // streams come and go meanwhile. Throws std::bad_alloc.
    void DropEverywhere(const CBufferInfo& buffer);
    // Keeps the camera's stream (may be null) and the buffers of a closed stream for good. The
    // buffers' handles mean nothing from here on, and no stream uses their memory.
    void Keep(Optivo::ICamStream* camera, const std::deque<CBufferInfo*>& buffers) noexcept;

private:
    boost::mutex m_mutex;
    std::vector<CDataStream*> m_streams;
    std::vector<Optivo::ICamStream*> m_keptStreams; // owned
    std::vector<CBufferInfo*> m_keptBuffers;        // owned
};

} // namespace GenICam::Client
