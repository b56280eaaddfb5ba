#include "Camera.h"

#include "OptivoImage.h"
#include "OptivoSim.h"

#include <array>
#include <chrono>

namespace {

constexpr size_t BUFFERS = 6;
constexpr int32_t LOST_IMAGE = -3;

uint64_t Milliseconds(std::chrono::milliseconds time) {
    return static_cast<uint64_t>(time.count());
}

} // namespace

SoakCamera::SoakCamera(Producer& gentl, SoakInterface& iface, EventSource& source, Tally& tally,
                       unsigned seed)
    : m_gentl(gentl),
      m_iface(iface),
      m_id(source.Camera()),
      m_tally(tally),
      m_chance(seed),
      m_events(gentl, source, tally, seed) {
    m_thread = std::thread([this] { Run(); });
}

SoakCamera::~SoakCamera() {
    m_stop = true;
    m_thread.join();
}

// A camera that is unplugged or not listed, or whose opening fails, is tried again a little later.
void SoakCamera::Run() {
    while (!m_stop) {
        DEV_HANDLE device = nullptr;
        if (!Open(&device)) {
            ++m_tally.numRefused;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            continue;
        }
        m_events.Register(device);
        UseDevice(device);
        m_events.Unregister();
        m_gentl.DevClose(device);
        m_events.AfterClose();
    }
}

bool SoakCamera::Open(DEV_HANDLE* device) {
    const auto lock = m_iface.Lock();
    return m_gentl.IFOpenDevice(m_iface.handle, m_id.c_str(), DEVICE_ACCESS_CONTROL, device) == 0;
}

void SoakCamera::UseDevice(DEV_HANDLE device) {
    const unsigned rounds = 1 + m_chance.Below(3);
    for (unsigned i = 0; i < rounds && !m_stop; ++i) {
        DS_HANDLE stream = nullptr;
        if (m_gentl.DevOpenDataStream(device, "DS0", &stream) != 0) {
            ++m_tally.numRefused;
            return;
        }
        EVENT_HANDLE event = nullptr;
        if (m_gentl.GCRegisterEvent(stream, EVENT_NEW_BUFFER, &event) == 0) {
            UseStream(stream, event);
        } else {
            Complain("no new-buffer event");
        }
        // Sometimes the device's close must do it.
        if (m_chance.Below(4) == 0) {
            return;
        }
        m_gentl.DSClose(stream);
    }
}

void SoakCamera::UseStream(DS_HANDLE stream, EVENT_HANDLE event) {
    size_t payload = 0;
    size_t size = sizeof payload;
    INFO_DATATYPE type = 0;
    const STREAM_INFO_CMD command =
        Producer::IsStandard() ? STREAM_INFO_PAYLOAD_SIZE : STREAM_INFO_DEFINES_PAYLOADSIZE;
    if (m_gentl.DSGetInfo(stream, command, &type, &payload, &size) != 0 || payload == 0) {
        ++m_tally.numRefused; // just unplugged
        return;
    }
    std::array<BUFFER_HANDLE, BUFFERS> buffers{};
    for (BUFFER_HANDLE& buffer : buffers) {
        if (m_gentl.DSAllocAndAnnounceBuffer(stream, payload, nullptr, &buffer) != 0 ||
            m_gentl.DSQueueBuffer(stream, buffer) != 0) {
            Complain("a buffer cannot be announced and queued");
        }
    }
    for (int round = 0; round < 2 && !m_stop; ++round) {
        m_account = {NumSpoilt()};
        if (m_gentl.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE) != 0) {
            ++m_tally.numRefused;
            break;
        }
        ++m_tally.numAcquisitions;
        Acquire(stream, event);
    }
    // A stream that is closed with queued buffers does not free them.
    m_gentl.DSFlushQueue(stream, ACQ_QUEUE_ALL_DISCARD);
    for (BUFFER_HANDLE buffer : buffers) {
        if (m_gentl.DSRevokeBuffer(stream, buffer, nullptr, nullptr) != 0) {
            Complain("a discarded buffer cannot be revoked");
        }
    }
}

void SoakCamera::Acquire(DS_HANDLE stream, EVENT_HANDLE event) {
    TakeImages(stream, event, 1 + m_chance.Below(300));
    if (m_gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT) != 0) {
        Complain("an acquisition does not stop");
    }
    // What is not fetched now goes back unseen.
    if (m_chance.Below(2) == 0) {
        TakeImages(stream, event, Number(stream, STREAM_INFO_NUM_AWAIT_DELIVERY));
    }
    CheckAccount(stream);
    m_gentl.DSFlushQueue(stream, ACQ_QUEUE_ALL_TO_INPUT);
}

void SoakCamera::TakeImages(DS_HANDLE stream, EVENT_HANDLE event, uint64_t count) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    while (count > 0 && !m_stop && std::chrono::steady_clock::now() < end) {
        EVENT_NEW_BUFFER_DATA data{};
        size_t size = sizeof data;
        const GC_ERROR code =
            m_gentl.EventGetData(event, &data, &size, Milliseconds(std::chrono::milliseconds(50)));
        // An acquisition that has ended by itself is not available, or just brings nothing more.
        if (code == GC_ERR_TIMEOUT) {
            if (Number(stream, STREAM_INFO_IS_GRABBING) == 0) {
                return;
            }
            continue;
        }
        if (code == GC_ERR_ERROR && HasEnded(stream)) {
            return;
        }
        if (code != 0) {
            Complain("EventGetData answers " + std::to_string(code));
            return;
        }
        CheckImage(stream, data.BufferHandle);
        m_events.Look();
        if (m_gentl.DSQueueBuffer(stream, data.BufferHandle) != 0) {
            Complain("a delivered buffer cannot be queued");
        }
        --count;
    }
}

// Waits can be told a moment before the stream is.
bool SoakCamera::HasEnded(DS_HANDLE stream) {
    for (int i = 0; i < 100 && Number(stream, STREAM_INFO_IS_GRABBING) != 0; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return Number(stream, STREAM_INFO_IS_GRABBING) == 0;
}

void SoakCamera::CheckImage(DS_HANDLE stream, BUFFER_HANDLE buffer) {
    void* base = nullptr;
    size_t filled = 0;
    size_t size = sizeof base;
    INFO_DATATYPE type = 0;
    m_gentl.DSGetBufferInfo(stream, buffer, BUFFER_INFO_BASE, &type, &base, &size);
    size = sizeof filled;
    m_gentl.DSGetBufferInfo(stream, buffer, BUFFER_INFO_SIZE_FILLED, &type, &filled, &size);
    OptivoImageStamp stamp{};
    if (base == nullptr || OptivoImage_Read(base, filled, &stamp) != 1) {
        Complain("a torn image");
        return;
    }
    if (stamp.number < m_account.next) {
        Complain("image " + std::to_string(stamp.number) + " after image " +
                 std::to_string(m_account.next - 1));
    } else {
        m_account.numMissing += stamp.number - m_account.next;
    }
    m_account.next = stamp.number + 1;
    ++m_account.numFetched;
    ++m_tally.numImages;
    m_tally.numBytes += filled;
}

uint64_t SoakCamera::NumSpoilt() const {
    return OptivoSim_NumSpoilt(OPTIVO_STREAM_GRAB_IMAGE, LOST_IMAGE, m_id.c_str());
}

// Exact, as nothing moves after the stop. Every image that the camera made was delivered, was lost,
// or waited in the camera, which threw it away; what was delivered was fetched or waits. Grabs that
// were made to fail count as lost without an image. The images that are missing between the fetched
// ones were lost, and the other lost ones are behind the last, which is where the waiting ones are.
void SoakCamera::CheckAccount(DS_HANDLE stream) {
    const uint64_t delivered = Number(stream, STREAM_INFO_NUM_DELIVERED);
    const uint64_t underrun = Number(stream, STREAM_INFO_NUM_UNDERRUN);
    const uint64_t made = Number(stream, STREAM_INFO_NUM_STARTED);
    const uint64_t waiting = Number(stream, STREAM_INFO_NUM_AWAIT_DELIVERY);
    const uint64_t untaken = OptivoSim_NumUntaken(m_id.c_str());
    const uint64_t spoilt = NumSpoilt() - m_account.numSpoiltBefore;
    const uint64_t lost = underrun - spoilt;
    m_tally.numLost += underrun;
    if (underrun < spoilt || delivered != m_account.numFetched + waiting ||
        delivered + lost + untaken != made || m_account.numMissing > lost ||
        m_account.next + (lost - m_account.numMissing) + untaken + waiting != made) {
        Complain("made " + std::to_string(made) + ", delivered " + std::to_string(delivered) +
                 ", fetched " + std::to_string(m_account.numFetched) + " up to number " +
                 std::to_string(m_account.next) + " with " + std::to_string(m_account.numMissing) +
                 " missing, waiting " + std::to_string(waiting) + ", lost " +
                 std::to_string(underrun) + " of which " + std::to_string(spoilt) +
                 " without an image, left in the camera " + std::to_string(untaken));
    }
}

uint64_t SoakCamera::Number(DS_HANDLE stream, STREAM_INFO_CMD command) {
    uint64_t value = 0;
    size_t size = sizeof value;
    INFO_DATATYPE type = 0;
    if (m_gentl.DSGetInfo(stream, command, &type, &value, &size) != 0) {
        Complain("a stream does not answer");
    }
    return value;
}
