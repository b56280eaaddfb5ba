// The data stream's acquisition thread, its start and stop, and the consumer's wait for its images.
#include "modules/DataStream.h"

#include "core/Errors.h"
#include "modules/BufferInfo.h"
#include "platform/Cancellation.h"
#include "platform/Clock.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <new>
#include <stdexcept>

namespace GenICam::Client {
namespace {

constexpr Optivo::UInt32 kGrabTimeout = 100;
// How long consumers that want the input lock go first, at most.
constexpr std::chrono::microseconds kMakeWayTime(1000);
// What a grab counts as that threw; like every unknown result it ends the acquisition.
constexpr Optivo::Int32 kGrabThrew = GC_ERR_ERROR;
// A grab result that turns a timed-out wait into a success.
constexpr Optivo::Int32 kGrabNothingExpected = -4;

// Runs calls of the library; false when they threw. What ends the thread passes.
template <class Calls>
bool RunsThrough(Calls&& calls) {
    try {
        calls();
        return true;
    } catch (const boost::thread_interrupted&) {
        throw;
    } catch (Platform::ThreadCancelled&) {
        throw;
    } catch (...) {
        return false;
    }
}

} // namespace

void CDataStream::ResetCounters() {
    m_numLost.store(0, std::memory_order_relaxed);
    m_numDelivered.store(0, std::memory_order_relaxed);
}

void CDataStream::JoinThread() {
    if (m_thread && m_thread->joinable()) {
        m_thread->join();
    }
    m_hold.reset();
}

void CDataStream::LaunchThread() {
    try {
        m_hold.emplace();
        m_thread = std::make_unique<boost::thread>(&CDataStream::AcquisitionLoop, this);
    } catch (const std::exception&) {
        m_hold.reset();
        m_acquiring = false;
        m_grabbing = false;
        RunsThrough([this] { m_camera.Call(&Optivo::ICamStream::StopAcquisition, 0); });
        throw std::runtime_error("Unable to start acquisition");
    }
}

// The running loop is ended before the input lock is taken, which it needs to end.
void CDataStream::StartAcquisition(ACQ_START_FLAGS /*flags*/, std::uint64_t count) {
    const CCallCounter::CScope inside(m_calls);
    m_acquiring = false;
    const boost::unique_lock<boost::mutex> control(m_control);
    m_acquiring = false; // another start may have set it meanwhile
    JoinThread();
    const CInputLock input(*this);
    m_remaining = static_cast<std::uint32_t>(std::min<std::uint64_t>(count, kWithoutLimit));
    if (m_camera.Call(&Optivo::ICamStream::StartAcquisition, 0, m_remaining) != 0) {
        throw std::runtime_error("Unable to start acquisition");
    }
    m_isPayloadSizeTold = false;
    LearnPayloadSize();
    if (HasSmallBuffer()) {
        ReserveScratch();
    }
    ResetCounters();
    m_lastGrab.store(0, std::memory_order_relaxed);
    m_grabbing = true;
    m_acquiring = true;
    LaunchThread();
}

void CDataStream::StopAcquisition(ACQ_STOP_FLAGS /*flags*/) {
    const CCallCounter::CScope inside(m_calls);
    m_acquiring = false;
    const boost::unique_lock<boost::mutex> control(m_control);
    m_acquiring = false; // another start may have set it meanwhile
    if (m_camera.Call(&Optivo::ICamStream::StopAcquisition, 0) != 0) {
        throw io_error("Unable to stop acquisition");
    }
    JoinThread();
    m_thread.reset();
}

// Images may have grown since the camera told their size before, so that this holds for one
// acquisition; until it is told, what was told before is the best guess.
void CDataStream::LearnPayloadSize() {
    std::uint64_t told = 0;
    m_isPayloadSizeTold = RunsThrough([&] {
                              if (CameraValue(Optivo::kStreamPayloadSize, nullptr, told) != 0) {
                                  told = 0;
                              }
                          }) &&
                          told != 0;
    if (m_isPayloadSizeTold) {
        m_payloadSize = told;
    }
}

// Nothing catches a buffer without memory: it ends the process.
void CDataStream::AcquisitionLoop() noexcept {
    try {
        SetWaitTime();
        while (m_acquiring && m_remaining != 0 && AcquireNext()) {
        }
    } catch (const boost::thread_interrupted&) {
        if (CBufferInfo* filling = m_filling.load(std::memory_order_relaxed)) {
            EndWithoutImage(*filling, false);
        }
    }
    m_grabbing = false;
}

// The camera's own time-out does as well.
void CDataStream::SetWaitTime() {
    Optivo::UInt32 milliseconds = 1000;
    Optivo::Size size = sizeof milliseconds;
    RunsThrough([&] {
        m_camera.Call(&Optivo::ICamStream::SetStreamParameter, Optivo::kStreamTimeout,
                      &milliseconds, &size);
    });
}

// False when the acquisition is over. Polls without a pause: the library may wait for the image.
bool CDataStream::AcquireNext() {
    Optivo::UInt32 ready = 0;
    if (!QueryImageReady(ready)) {
        return false;
    }
    if (ready == 0) {
        return true;
    }
    auto input = LockedSoon(m_inputLock);
    if (m_input.Empty()) {
        const bool goOn = DropImage();
        input.unlock();
        m_inputWaiters.DrainFor(kMakeWayTime);
        return goOn;
    }
    CBufferInfo& buffer = *m_input.PopFront();
    m_filling.store(&buffer, std::memory_order_relaxed);
    m_fillDropped = false;
    input.unlock();

    switch (Fill(buffer)) {
    case Optivo::kGrabDelivered:
        Deliver(buffer);
        return true;
    case Optivo::kGrabNothingYet:
        EndWithoutImage(buffer, true);
        return true;
    case Optivo::kGrabLost:
        EndWithoutImage(buffer, true);
        m_numLost.fetch_add(1, std::memory_order_relaxed);
        return true;
    case Optivo::kGrabEnded:
        EndWithoutImage(buffer, true);
        return false;
    default:
        EndWithoutImage(buffer, false);
        return false;
    }
}

// False when the library threw, which ends the acquisition as it does in a grab.
bool CDataStream::QueryImageReady(Optivo::UInt32& ready) {
    Optivo::Size size = sizeof ready;
    return RunsThrough([&] {
        m_camera.Call(&Optivo::ICamStream::GetStreamInfo, Optivo::kStreamImageReady, &ready, &size);
    });
}

// Takes an image for which there is no buffer; false when the acquisition is over.
bool CDataStream::DropImage() {
    switch (Grab(nullptr)) {
    case Optivo::kGrabDelivered:
    case Optivo::kGrabLost:
        m_numLost.fetch_add(1, std::memory_order_relaxed);
        return true;
    case Optivo::kGrabNothingYet:
        return true;
    default:
        return false;
    }
}

Optivo::Int32 CDataStream::Grab(void* memory) {
    Optivo::Int32 result = kGrabThrew;
    RunsThrough(
        [&] { result = m_camera.Call(&Optivo::ICamStream::GrabImage, memory, kGrabTimeout); });
    m_lastGrab.store(result, std::memory_order_relaxed);
    return result;
}

Optivo::Int32 CDataStream::Fill(CBufferInfo& buffer) {
    if (buffer.Memory() == nullptr) {
        throw std::runtime_error("Invalid Memory Buffer");
    }
    if (!m_isPayloadSizeTold) {
        LearnPayloadSize();
    }
    return buffer.Size() < m_payloadSize ? FillSmall(buffer) : Grab(buffer.Memory());
}

// Called without the acquisition thread, or on it. False without memory.
bool CDataStream::ReserveScratch() noexcept {
    if (m_scratchSize < m_payloadSize) {
        m_scratch.reset(new (std::nothrow) char[m_payloadSize]);
        m_scratchSize = m_scratch ? m_payloadSize : 0;
    }
    return m_scratch != nullptr;
}

// The library writes a whole image; what the buffer cannot hold of it is cut off.
Optivo::Int32 CDataStream::FillSmall(CBufferInfo& buffer) {
    if (!ReserveScratch()) { // the buffer may be newer than the start
        return GC_ERR_OUT_OF_MEMORY;
    }
    const Optivo::Int32 result = Grab(m_scratch.get());
    if (result == Optivo::kGrabDelivered) {
        std::memcpy(buffer.Memory(), m_scratch.get(), buffer.Size());
    }
    return result;
}

void CDataStream::CountDelivered(CBufferInfo& buffer, std::uint64_t ticks) {
    buffer.SetState(false, true, true);
    buffer.SetTimestamp(ticks);
    m_numDelivered.fetch_add(1, std::memory_order_relaxed);
    if (m_remaining.load(std::memory_order_relaxed) != kWithoutLimit) {
        m_remaining.fetch_sub(1, std::memory_order_relaxed);
    }
}

// The image in a buffer that was dropped meanwhile is lost.
void CDataStream::Deliver(CBufferInfo& buffer) {
    const std::uint64_t ticks = Platform::PerformanceCounter();
    CWaitPoint<>::Sleeper waiting = nullptr;
    {
        const auto output = LockedSoon(m_outputLock);
        if (m_discardedFill == nullptr) {
            if (m_fillDropped) {
                m_numLost.fetch_add(1, std::memory_order_relaxed);
            } else {
                CountDelivered(buffer, ticks);
                m_output.PushBack(&buffer);
                waiting = m_outputFilled.Grant();
            }
            EndFill();
        }
    }
    if (m_filling.load(std::memory_order_relaxed) != nullptr) {
        EndDiscarded(buffer, ticks);
    } else {
        m_outputFilled.Wake(waiting);
    }
}

void CDataStream::EndWithoutImage(CBufferInfo& buffer, bool putBack) {
    {
        const auto input = LockedSoon(m_inputLock);
        if (m_discardedFill == nullptr) {
            if (putBack && !m_fillDropped) {
                m_input.PushFront(&buffer);
            }
            EndFill();
            return;
        }
    }
    EndDiscarded(buffer, std::nullopt);
}

// The buffer waits in the output queue, unless consumers have taken it out or queued it since: then
// the image is lost.
void CDataStream::EndDiscarded(CBufferInfo& buffer, std::optional<std::uint64_t> ticks) {
    CWaitPoint<>::Sleeper waiting = nullptr;
    {
        const auto input = LockedSoon(m_inputLock);
        const auto output = LockedSoon(m_outputLock);
        const bool isInOutput = m_discardedFill != nullptr && m_output.Contains(&buffer);
        if (ticks && isInOutput && !buffer.IsQueued()) {
            CountDelivered(buffer, *ticks);
        } else if (ticks) {
            m_numLost.fetch_add(1, std::memory_order_relaxed);
        }
        if (isInOutput) {
            waiting = m_outputFilled.Grant();
        }
        m_discardedFill = nullptr;
        EndFill();
    }
    m_outputFilled.Wake(waiting);
}

void CDataStream::EndFill() {
    m_filling.store(nullptr, std::memory_order_release);
}

GC_ERROR CDataStream::TimeoutResult() const {
    switch (m_lastGrab.load(std::memory_order_relaxed)) {
    case Optivo::kGrabEnded:
        return GC_ERR_ERROR;
    case kGrabNothingExpected:
        return GC_ERR_SUCCESS;
    default:
        return GC_ERR_TIMEOUT;
    }
}

// The oldest buffer of the output queue, taken out; null when there is none whose fill has ended.
CBufferInfo* CDataStream::TakeOutput() {
    return m_output.PopFirstBut(m_discardedFill);
}

// The buffer is taken before the arguments are looked at.
GC_ERROR CDataStream::WaitNewBuffer(void* buffer, size_t* size, std::uint64_t timeout) {
    const CCallCounter::CScope inside(m_calls);
    auto output = LockedSoon(m_outputLock);
    m_waitAbort.store(false, std::memory_order_relaxed);
    CBufferInfo* filled = TakeOutput();
    if (filled == nullptr) {
        const WaitResult ended = m_outputFilled.Wait(output, timeout);
        if (ended == WaitResult::TimedOut) {
            return TimeoutResult();
        }
        if (ended == WaitResult::Closed || m_waitAbort.load(std::memory_order_relaxed)) {
            throw abort_error("Wait terminated");
        }
        filled = TakeOutput();
        if (filled == nullptr) {
            return GC_ERR_NO_DATA;
        }
    }
    filled->SetFetched();
    // Read here: without the lock another thread may revoke the buffer.
    const EVENT_NEW_BUFFER_DATA data{HandleOf(filled), filled->PrivateData()};
    output.unlock();

    if (size == nullptr) {
        throw std::invalid_argument("Invalid Size");
    }
    if (buffer != nullptr) {
        if (*size != 0 && *size < sizeof data) {
            throw std::invalid_argument("Invalid Buffer Size");
        }
        std::memcpy(buffer, &data, sizeof data);
    }
    *size = sizeof(EVENT_NEW_BUFFER_DATA);
    return GC_ERR_SUCCESS;
}

void CDataStream::KillWait() {
    m_waitAbort.store(true, std::memory_order_relaxed);
}

} // namespace GenICam::Client
