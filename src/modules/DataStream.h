// The Data Stream module: the pool of announced buffers, the input and output queues that they
// travel through, and the acquisition thread that moves them from the first to the second.
// It knows its device, which owns it.
#pragma once

#include "camlib/CameraObjects.h"
#include "core/CallCounter.h"
#include "core/CommonBase.h"
#include "core/LockSoon.h"
#include "core/WaitPoint.h"
#include "events/EventError.h"
#include "modules/BufferQueue.h"
#include "modules/NewBufferEvent.h"
#include "platform/Platform.h"

#include <boost/shared_ptr.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/thread_only.hpp>

#include <atomic>
#include <cstdint>
#include <deque>
#include <limits>
#include <memory>
#include <optional>
#include <string>

namespace GenICam::Client {

class CBufferInfo;
class CDevice;

// As many images as come.
inline constexpr std::uint32_t kWithoutLimit = std::numeric_limits<std::uint32_t>::max();

// Consumer threads call the operations concurrently with each other and with the acquisition
// thread; only revoking a buffer while another thread uses it, and using a stream that is being
// closed, are theirs to avoid. Lock order: control, input, output.
// Only the table of operations demands AllocAndAnnounceBuffer and GetDisplayName: nobody calls
// them.
class CDataStream final : public ICommonBase {
public:
    // Opens the camera's stream whose index stands in the ID from its third character on.
    // Throws std::runtime_error when the camera does not open it.
    CDataStream(const char* id, CDevice* device);
    // Ends the construction: calls may come. Throws std::bad_alloc.
    void Publish();
    // Ends waits and the acquisition, then releases the camera's stream and the buffers; the first
    // of these that fails leaves the rest unreleased. Returns when no thread is inside any more.
    ~CDataStream() override;
    CDataStream(const CDataStream&) = delete;
    CDataStream& operator=(const CDataStream&) = delete;

    COutcome GetPortURL(char* buffer, size_t* size) override;
    COutcome GetPortInfo(PORT_INFO_CMD command, INFO_DATATYPE* type, void* buffer,
                         size_t* size) override;
    COutcome GetPortURLInfo(std::uint32_t index, URL_INFO_CMD command, INFO_DATATYPE* type,
                            void* buffer, size_t* size) override;

    // Adds a buffer of size bytes: the consumer's memory, or with a null pointer memory of the
    // buffer's own, whose allocation is not checked.
    virtual void AnnounceBuffer(void* memory, size_t size, void* privateData,
                                BUFFER_HANDLE* handle);
    // Adds a buffer with memory of its own. Throws std::runtime_error when it got none; the buffer
    // stays announced.
    virtual void AllocAndAnnounceBuffer(void** memory, size_t size, void* privateData,
                                        BUFFER_HANDLE* handle);
    // Removes a buffer and destroys it; memory and privateData may be null. A buffer whose state
    // was cleared while it is being filled is waited for.
    // Throws std::runtime_error for what is no buffer and for a buffer that is queued or delivered,
    // invalid_handle_error for another stream's.
    virtual void RevokeBuffer(BUFFER_HANDLE handle, void** memory, void** privateData);
    // Appends a buffer to the input queue unless it is queued already.
    // Throws std::runtime_error for what is no buffer.
    virtual void QueueBuffer(BUFFER_HANDLE handle);
    // Moves buffers between the queues; an unknown operation does nothing.
    virtual void FlushQueue(ACQ_QUEUE_TYPE operation);
    // Starts anew, ending an acquisition under way. A count above 0xFFFFFFFE is without limit.
    // Throws std::runtime_error when the camera or the thread does not start.
    virtual void StartAcquisition(ACQ_START_FLAGS flags, std::uint64_t count);
    // Throws io_error when the camera does not stop; the thread then ends by itself.
    virtual void StopAcquisition(ACQ_STOP_FLAGS flags);
    // Refuses a command that does not exist as invalid_parameter_error.
    virtual COutcome GetInfo(STREAM_INFO_CMD command, INFO_DATATYPE* type, void* buffer,
                             size_t* size);
    virtual COutcome GetBufferInfo(BUFFER_HANDLE handle, BUFFER_INFO_CMD command,
                                   INFO_DATATYPE* type, void* buffer, size_t* size);
    // The announced buffer at a position. Throws std::runtime_error behind the last one.
    virtual void GetBufferID(std::uint32_t index, BUFFER_HANDLE* handle);
    // Destroys this object. The caller has begun the closing, so that nobody else does.
    virtual void Close();
    // Takes the oldest filled buffer, waiting for one up to timeout milliseconds (all bits set:
    // without limit), and writes an EVENT_NEW_BUFFER_DATA. Answers 0, -1001, -1008 or -1011.
    // Throws abort_error when the wait was killed or the stream closes, and std::invalid_argument
    // for bad arguments, which loses the buffer to the consumer.
    virtual GC_ERROR WaitNewBuffer(void* buffer, size_t* size, std::uint64_t timeout);
    virtual std::string GetID();
    virtual std::string GetDisplayName();
    // Makes the next wake-up of a wait under way fail; wakes nobody.
    virtual void KillWait();

    // Behind the module's own operations, because an override of the second base takes a place in
    // this class's table too.
    // EVENT_ERROR and EVENT_NEW_BUFFER; throws std::runtime_error for every other type.
    void RegisterEvent(EVENT_TYPE type, EVENT_HANDLE* event) override;
    void UnregisterEvent(EVENT_TYPE type) override;

    CDevice* Device() const { return m_device; }
    bool IsClosing() const { return m_closing; }
    // True for the first caller, which then closes the stream. Asked under a lock under which the
    // stream cannot go.
    bool BeginClosing() { return !m_closing.exchange(true); }
    // Takes a buffer out of both queues, and waits for a fill of it to end. Its state is clear.
    void DropBuffer(const CBufferInfo& buffer);
    // What this object's destruction waits for.
    CCallCounter& Calls() { return m_calls; }

private:
    class CInputLock;

    // The acquisition thread.
    void AcquisitionLoop() noexcept;
    void SetWaitTime();
    bool AcquireNext();
    bool QueryImageReady(Optivo::UInt32& ready);
    bool DropImage();
    Optivo::Int32 Fill(CBufferInfo& buffer);
    Optivo::Int32 FillSmall(CBufferInfo& buffer);
    bool ReserveScratch() noexcept;
    void Deliver(CBufferInfo& buffer);
    void CountDelivered(CBufferInfo& buffer, std::uint64_t ticks);
    void EndWithoutImage(CBufferInfo& buffer, bool putBack);
    void EndDiscarded(CBufferInfo& buffer, std::optional<std::uint64_t> ticks);
    void EndFill();
    Optivo::Int32 Grab(void* memory);

    void EndUse() noexcept;
    void AwaitInputCalls();
    void LaunchThread();
    void JoinThread();
    void ReleaseAll();
    void LeaveDevice();
    void ResetCounters();
    void LearnPayloadSize();

    template <class Value>
    Optivo::Int32 CameraValue(std::uint32_t command, const size_t* given, Value& value);
    CBufferInfo* Announce(std::unique_ptr<CBufferInfo> buffer);
    std::size_t NumAnnounced();
    bool HasSmallBuffer();
    CBufferInfo* TakeOutput();
    GC_ERROR TimeoutResult() const;

    // Moves between the queues; the locks that each needs are held.
    void MoveInputToOutput();
    void DiscardOutput();
    void MoveOutputToInput();
    void AppendUnqueued(bool evenDelivered);
    void DiscardAll();

    // What the acquisition thread writes, what consumers write, and what both hand over under each
    // lock lies apart: a line that another processor has written has to come from there.
    static constexpr std::size_t kCacheLine = 64;

    std::uint32_t m_index;
    CDevice* m_device;
    std::deque<CBufferInfo*> m_announced; // owned; guarded by the output lock
    std::uint32_t m_xmlLength = 0;
    CCameraObject<Optivo::ICamStream> m_camera;
    std::string m_id;
    boost::shared_ptr<CDataStreamEventNewBuffer> m_newBufferEvent;
    boost::shared_ptr<CEventError> m_errorEvent;
    CWaitPoint<> m_inputFilled;
    // Serialises start, stop and destruction.
    boost::mutex m_control;
    std::unique_ptr<boost::thread> m_thread;
    // A consumer may unload the module and forget the thread.
    std::optional<Platform::CModuleHold> m_hold;
    std::atomic<bool> m_acquiring{false};
    std::atomic<bool> m_grabbing{false};
    std::atomic<bool> m_closing{false};

    // The acquisition thread's.
    alignas(kCacheLine) std::atomic<std::uint64_t> m_numLost{0};
    std::atomic<std::uint64_t> m_numDelivered{0};
    std::atomic<std::uint32_t> m_remaining; // may be kWithoutLimit
    std::atomic<std::int32_t> m_lastGrab{0};
    // Smaller buffers than this are filled through m_scratch.
    std::uint64_t m_payloadSize = 0;
    bool m_isPayloadSizeTold = false; // by the camera, in this acquisition
    std::uint64_t m_scratchSize = 0;
    std::unique_ptr<char[]> m_scratch;

    alignas(kCacheLine) boost::mutex m_inputLock;
    CBufferQueue m_input;
    // The buffer that the thread fills: set under the input lock, and cleared under one of the
    // locks when the thread will not touch the buffer again. Dropping it meanwhile sets
    // m_fillDropped, under both locks.
    std::atomic<CBufferInfo*> m_filling{nullptr};
    bool m_fillDropped = false;
    // Consumers that wait for the input lock; the acquisition thread lets them go first.
    CCallCounter m_inputWaiters;

    alignas(kCacheLine) boost::mutex m_outputLock;
    CBufferQueue m_output;
    // The buffer in m_filling once a flush has put it into the output queue, from where nobody gets
    // it before its fill ends. Changed under both locks.
    const CBufferInfo* m_discardedFill = nullptr;
    std::atomic<bool> m_waitAbort{false};
    CWaitPoint<> m_outputFilled;

    // Calls that may outlast a wait or a join. Those that only take the input lock for a moment are
    // waited for by taking it.
    alignas(kCacheLine) CCallCounter m_calls;
};

// The input lock as consumers take it: announced, so that the acquisition thread makes way.
class CDataStream::CInputLock {
public:
    explicit CInputLock(CDataStream& stream) : m_lock(stream.m_inputLock, boost::try_to_lock) {
        if (!m_lock) {
            const CCallCounter::CScope waiting(stream.m_inputWaiters);
            LockSoon(m_lock);
        }
    }

private:
    boost::unique_lock<boost::mutex> m_lock;
};

} // namespace GenICam::Client
