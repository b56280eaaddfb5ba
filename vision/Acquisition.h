// One acquisition: from a start to the next, with a socket and buffers of its own, so that no image
// outlives it. Knows nothing of the objects that the library hands out.
#pragma once

#include "Camera.h"
#include "Glib.h"

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>

namespace OptivoVision {

struct SFigures {
    UInt64 numStarted = 0;
    UInt64 numLost = 0; // of which nothing was ever grabbed
    UInt64 numResentPackets = 0;
    UInt64 numMissingPackets = 0;
    UInt32 numAborted = 0;
    UInt32 packetSize = 0;
};

// Thread-safe. Stopping does not touch the camera, which may be gone; the end of the object does.
class CAcquisition {
public:
    // Null, with the code, when the camera has no stream.
    static std::shared_ptr<CAcquisition> Start(std::shared_ptr<CCamera> camera, UInt32 count,
                                               Int32& code);
    CAcquisition(std::shared_ptr<CCamera> camera, UInt64 payloadSize, UInt32 count);
    ~CAcquisition();
    CAcquisition(const CAcquisition&) = delete;
    CAcquisition& operator=(const CAcquisition&) = delete;

    // Ends what waits, and the thread that receives.
    void Stop();
    // Whether a grab answers at once; waits for that until the time is over.
    bool WaitReady(std::chrono::milliseconds timeout);
    // Answers as ICamStream::GrabImage.
    Int32 Grab(void* destination, std::chrono::milliseconds timeout);
    SFigures Figures();
    UInt64 PayloadSize() const { return m_payloadSize; }
    bool IsStopped();

private:
    Int32 Open();
    void OnBuffer();
    // With the lock held.
    bool Fetch();
    void CountSkipped(ArvBuffer* buffer);
    bool IsOver() const;
    void Wait(std::unique_lock<std::mutex>& lock, std::chrono::milliseconds timeout);
    Int32 Copy(ArvBuffer* buffer, void* destination) const;

    const std::shared_ptr<CCamera> m_camera;
    const UInt64 m_payloadSize;
    ObjectPtr<ArvStream> m_stream;
    UInt32 m_packetSize = 0;

    std::mutex m_stopping; // of those who stop
    std::mutex m_lock;     // of all below
    std::condition_variable m_changed;
    ObjectPtr<ArvBuffer> m_ready; // the next to be grabbed
    UInt32 m_remaining;
    UInt64 m_last = 0;          // the number of the whole image that was fetched last
    UInt64 m_numIncomplete = 0; // since then
    UInt64 m_numSkipped = 0;
    bool m_isStopped = false;
};

} // namespace OptivoVision
