#include "Camera.h"

#include "OptivoImage.h"

#include <array>
#include <chrono>

namespace {

constexpr size_t BUFFERS = 6;
// The library keeps as many images for a stream, and one may be under way.
constexpr uint64_t MOST_PENDING = 17;

uint64_t Milliseconds(std::chrono::milliseconds time) {
    return static_cast<uint64_t>(time.count());
}

} // namespace

void Tally::Complain(const std::string& text) {
    const std::lock_guard lock(m_lock);
    m_complaints.push_back(text);
}

std::vector<std::string> Tally::Complaints() {
    const std::lock_guard lock(m_lock);
    return m_complaints;
}

SoakCamera::SoakCamera(Producer& gentl, IF_HANDLE iface, std::string id, Tally& tally,
                       unsigned seed)
    : m_gentl(gentl), m_iface(iface), m_id(std::move(id)), m_tally(tally), m_chance(seed) {
    m_thread = std::thread([this] { Run(); });
}

SoakCamera::~SoakCamera() {
    m_stop = true;
    m_thread.join();
}

// A camera that is unplugged, or whose opening fails, is tried again a little later.
void SoakCamera::Run() {
    while (!m_stop) {
        DEV_HANDLE device = nullptr;
        if (m_gentl.IFOpenDevice(m_iface, m_id.c_str(), DEVICE_ACCESS_CONTROL, &device) != 0) {
            ++m_tally.numRefused;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            continue;
        }
        UseDevice(device);
        m_gentl.DevClose(device);
    }
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
            m_tally.Complain(m_id + ": no new-buffer event");
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
    if (m_gentl.DSGetInfo(stream, STREAM_INFO_DEFINES_PAYLOADSIZE, &type, &payload, &size) != 0 ||
        payload == 0) {
        ++m_tally.numRefused; // just unplugged
        return;
    }
    std::array<BUFFER_HANDLE, BUFFERS> buffers{};
    for (BUFFER_HANDLE& buffer : buffers) {
        if (m_gentl.DSAllocAndAnnounceBuffer(stream, payload, nullptr, &buffer) != 0 ||
            m_gentl.DSQueueBuffer(stream, buffer) != 0) {
            m_tally.Complain(m_id + ": a buffer cannot be announced and queued");
        }
    }
    for (int round = 0; round < 2 && !m_stop; ++round) {
        if (m_gentl.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE) != 0) {
            ++m_tally.numRefused;
            break;
        }
        ++m_tally.numAcquisitions;
        m_hasImage = false;
        TakeImages(stream, event, 1 + m_chance.Below(300));
        m_gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT);
        CheckCounters(stream);
        m_gentl.DSFlushQueue(stream, ACQ_QUEUE_ALL_TO_INPUT);
    }
    // A stream that is closed with queued buffers does not free them.
    m_gentl.DSFlushQueue(stream, ACQ_QUEUE_ALL_DISCARD);
    for (BUFFER_HANDLE buffer : buffers) {
        if (m_gentl.DSRevokeBuffer(stream, buffer, nullptr, nullptr) != 0) {
            m_tally.Complain(m_id + ": a discarded buffer cannot be revoked");
        }
    }
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
            m_tally.Complain(m_id + ": EventGetData answers " + std::to_string(code));
            return;
        }
        CheckImage(stream, data.BufferHandle);
        if (m_gentl.DSQueueBuffer(stream, data.BufferHandle) != 0) {
            m_tally.Complain(m_id + ": a delivered buffer cannot be queued");
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
        m_tally.Complain(m_id + ": a torn image");
        return;
    }
    if (m_hasImage && stamp.number <= m_lastNumber) {
        m_tally.Complain(m_id + ": image " + std::to_string(stamp.number) + " after image " +
                         std::to_string(m_lastNumber));
    }
    m_hasImage = true;
    m_lastNumber = stamp.number;
    ++m_tally.numImages;
    m_tally.numBytes += filled;
}

// What the camera made was delivered, lost, or still waits. Grabs that were made to fail lose
// images that no camera made.
void SoakCamera::CheckCounters(DS_HANDLE stream) {
    const uint64_t delivered = Number(stream, STREAM_INFO_NUM_DELIVERED);
    const uint64_t lost = Number(stream, STREAM_INFO_NUM_UNDERRUN);
    const uint64_t made = Number(stream, STREAM_INFO_NUM_STARTED);
    m_tally.numLost += lost;
    if (made != 0 && (delivered > made || made - delivered > lost + MOST_PENDING)) {
        m_tally.Complain(m_id + ": made " + std::to_string(made) + ", delivered " +
                         std::to_string(delivered) + ", lost " + std::to_string(lost));
    }
}

uint64_t SoakCamera::Number(DS_HANDLE stream, STREAM_INFO_CMD command) {
    uint64_t value = 0;
    size_t size = sizeof value;
    INFO_DATATYPE type = 0;
    return m_gentl.DSGetInfo(stream, command, &type, &value, &size) == 0 ? value : 0;
}
