#include "Acquisition.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace OptivoVision {

namespace {

constexpr UInt32 kWithoutLimit = 0xFFFFFFFF;
// How soon a wait notices that the camera is gone.
constexpr std::chrono::milliseconds kLookInterval(200);
// Images of half a second, as long as the memory for them stays reasonable.
constexpr double kBufferedSeconds = 0.5;
constexpr double kMostBuffers = 64;
constexpr UInt64 kMemoryLimit = UInt64{512} << 20;
constexpr UInt64 kFewestBuffers = 4;
// Images count from 1 on, and GigE Vision 1 counts in 16 bits.
constexpr UInt64 kLargestShortId = 0xFFFF;

UInt64 NumBuffers(double frameRate, UInt64 payloadSize) {
    const auto wanted =
        static_cast<UInt64>(std::clamp(frameRate * kBufferedSeconds, 8.0, kMostBuffers));
    return std::clamp(kMemoryLimit / std::max<UInt64>(payloadSize, 1), kFewestBuffers, wanted);
}

UInt64 Figure(ArvStream* stream, const char* name) {
    return arv_stream_get_info_uint64_by_name(stream, name);
}

} // namespace

std::shared_ptr<CAcquisition> CAcquisition::Start(std::shared_ptr<CCamera> camera, UInt32 count,
                                                  Int32& code) {
    UInt64 payloadSize = 0;
    code = camera->PayloadSize(payloadSize);
    if (code != kSuccess) {
        return nullptr;
    }
    auto acquisition = std::make_shared<CAcquisition>(std::move(camera), payloadSize, count);
    code = acquisition->Open();
    return code == kSuccess ? acquisition : nullptr;
}

CAcquisition::CAcquisition(std::shared_ptr<CCamera> camera, UInt64 payloadSize, UInt32 count)
    : m_camera(std::move(camera)), m_payloadSize(payloadSize), m_remaining(count) {}

// Aravis ends its thread once more, and complains where there is none.
CAcquisition::~CAcquisition() {
    Stop();
    if (m_stream != nullptr) {
        Fenced([this] {
            RequireThread();
            arv_stream_start_thread(m_stream.get());
            return kSuccess;
        });
        m_stream.reset();
    }
}

Int32 CAcquisition::Open() {
    const auto onEvent = +[](void* context, ArvStreamCallbackType type, ArvBuffer*) {
        if (type == ARV_STREAM_CALLBACK_TYPE_BUFFER_DONE) {
            static_cast<CAcquisition*>(context)->OnBuffer();
        }
    };
    Int32 code = kSuccess;
    m_stream = m_camera->CreateStream(m_payloadSize, onEvent, this, code);
    if (m_stream == nullptr) {
        return code;
    }
    m_packetSize = m_camera->PacketSize();
    for (UInt64 left = NumBuffers(m_camera->FrameRate(), m_payloadSize); left > 0; --left) {
        // Without memory GLib would end the process.
        void* const memory = g_try_malloc(m_payloadSize);
        if (memory == nullptr) {
            return kError;
        }
        arv_stream_push_buffer(m_stream.get(),
                               arv_buffer_new_full(m_payloadSize, memory, memory, g_free));
    }
    return kSuccess;
}

// On the thread that receives, which has put the buffer into the queue before.
void CAcquisition::OnBuffer() {
    { const std::lock_guard lock(m_lock); }
    m_changed.notify_all();
}

void CAcquisition::Stop() {
    const std::lock_guard stopping(m_stopping);
    {
        const std::lock_guard lock(m_lock);
        if (m_isStopped || m_stream == nullptr) {
            return;
        }
        m_isStopped = true;
    }
    m_changed.notify_all();
    arv_stream_stop_thread(m_stream.get(), FALSE);
}

bool CAcquisition::IsStopped() {
    const std::lock_guard lock(m_lock);
    return m_isStopped;
}

bool CAcquisition::Fetch() {
    if (m_ready == nullptr && !m_isStopped && m_remaining != 0) {
        m_ready.reset(arv_stream_try_pop_buffer(m_stream.get()));
        if (m_ready != nullptr) {
            CountSkipped(m_ready.get());
        }
    }
    return m_ready != nullptr;
}

// Aravis counts the packets of an image for which it had no buffer, and a gap between images as
// one. So the numbers of whole images tell: what lies between two of them, and did not come
// incomplete, has never come. An incomplete image need not have a number.
void CAcquisition::CountSkipped(ArvBuffer* buffer) {
    if (arv_buffer_get_status(buffer) != ARV_BUFFER_STATUS_SUCCESS) {
        ++m_numIncomplete;
        return;
    }
    const UInt64 id = arv_buffer_get_frame_id(buffer);
    if (m_last == 0) {
        m_numIncomplete = 0;
    } else if (id != m_last) {
        const UInt64 wrapped = id < m_last ? kLargestShortId : 0;
        const UInt64 between = id + wrapped - m_last - 1;
        const UInt64 incomplete = std::min(m_numIncomplete, between);
        m_numIncomplete -= incomplete;
        m_numSkipped += between <= kLargestShortId ? between - incomplete : 0;
    }
    m_last = id;
}

bool CAcquisition::IsOver() const {
    return m_isStopped || m_remaining == 0 || m_camera->IsGone();
}

void CAcquisition::Wait(std::unique_lock<std::mutex>& lock, std::chrono::milliseconds timeout) {
    const auto end = std::chrono::steady_clock::now() + timeout;
    while (!Fetch() && !IsOver()) {
        const auto now = std::chrono::steady_clock::now();
        if (now >= end) {
            return;
        }
        m_changed.wait_until(
            lock, std::min<std::chrono::steady_clock::time_point>(end, now + kLookInterval));
    }
}

bool CAcquisition::WaitReady(std::chrono::milliseconds timeout) {
    std::unique_lock lock(m_lock);
    Wait(lock, timeout);
    return m_ready != nullptr || (IsOver() && !m_isStopped);
}

Int32 CAcquisition::Grab(void* destination, std::chrono::milliseconds timeout) {
    std::unique_lock lock(m_lock);
    Wait(lock, timeout);
    if (m_isStopped || m_ready == nullptr) {
        return IsOver() ? Optivo::kGrabEnded : Optivo::kGrabNothingYet;
    }
    ObjectPtr<ArvBuffer> buffer = std::move(m_ready);
    const bool isWhole = arv_buffer_get_status(buffer.get()) == ARV_BUFFER_STATUS_SUCCESS;
    if (isWhole && destination != nullptr && m_remaining != kWithoutLimit) {
        --m_remaining;
    }
    lock.unlock();

    const Int32 result = isWhole ? Copy(buffer.get(), destination) : Optivo::kGrabLost;
    arv_stream_push_buffer(m_stream.get(), buffer.release());
    return result;
}

// What the camera did not fill is 0, so that nothing of another image shows there.
Int32 CAcquisition::Copy(ArvBuffer* buffer, void* destination) const {
    if (destination == nullptr) {
        return Optivo::kGrabDelivered;
    }
    std::size_t size = 0;
    const void* const data = arv_buffer_get_data(buffer, &size);
    size = data != nullptr ? std::min<std::size_t>(size, m_payloadSize) : 0;
    if (size != 0) {
        std::memcpy(destination, data, size);
    }
    std::memset(static_cast<char*>(destination) + size, 0, m_payloadSize - size);
    return Optivo::kGrabDelivered;
}

SFigures CAcquisition::Figures() {
    const std::lock_guard lock(m_lock);
    ArvStream* const stream = m_stream.get();
    guint64 completed = 0;
    guint64 failed = 0;
    guint64 unbuffered = 0;
    arv_stream_get_statistics(stream, &completed, &failed, &unbuffered);
    return {.numStarted = completed + failed + m_numSkipped,
            .numLost = m_numSkipped,
            .numResentPackets = Figure(stream, "n_resent_packets"),
            .numMissingPackets = Figure(stream, "n_missing_packets"),
            .numAborted = static_cast<UInt32>(failed),
            .packetSize = m_packetSize};
}

} // namespace OptivoVision
