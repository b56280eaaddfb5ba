#include "Events.h"

#include "OptivoSim.h"

namespace {

constexpr uint32_t EVENT_ID = 0x9001;

// What a device event is fetched as.
struct Record {
    uint32_t id;
    uint32_t reserved;
    uint64_t value;
    uint64_t timestamp;
};
static_assert(sizeof(Record) == 24);

} // namespace

unsigned EventSource::Fire(unsigned count) {
    unsigned numArrived = 0;
    for (unsigned i = 0; i < count; ++i) {
        const std::lock_guard lock(m_lock);
        if (OptivoSim_FireEvent(m_camera.c_str(), EVENT_ID, m_numArrived + 1) == 1) {
            ++m_numArrived;
            ++numArrived;
        }
    }
    return numArrived;
}

void EventReader::Expect(bool holds, const char* what) {
    if (!holds) {
        m_tally.Complain(m_source.Camera() + ": " + what);
    }
}

// Paused, as an event that arrives before the registration is complete is nobody's.
void EventReader::Register(DEV_HANDLE device) {
    const auto pause = m_source.Pause();
    Expect(m_numSeen == m_source.NumArrived(), "a closed camera has a callback");
    m_event = nullptr;
    Expect(m_gentl.DevGetPort(device, &m_port) == 0 &&
               m_gentl.GCRegisterEvent(m_port, EVENT_REMOTE_DEVICE, &m_event) == 0,
           "no remote-device event");
}

uint64_t EventReader::NumQueued() {
    uint64_t count = 0;
    size_t size = sizeof count;
    INFO_DATATYPE type = 0;
    Expect(m_gentl.EventGetInfo(m_event, EVENT_NUM_IN_QUEUE, &type, &count, &size) == 0,
           "the number of events is not told");
    return count;
}

void EventReader::Look() {
    switch (m_chance.Below(200)) {
    case 0:
    case 1:
        return Fetch();
    case 2:
        return Flush();
    default:
        return;
    }
}

// An event that is missing shows in the number of the next.
void EventReader::Fetch() {
    for (uint64_t left = NumQueued(); left > 0; --left) {
        Record record{};
        size_t size = sizeof record;
        Expect(m_gentl.EventGetData(m_event, &record, &size, 0) == 0, "an event is not fetched");
        Expect(record.id == EVENT_ID, "an event of another ID");
        if (record.value != m_numSeen + 1) {
            m_tally.Complain(m_source.Camera() + ": event " + std::to_string(record.value) +
                             " after event " + std::to_string(m_numSeen));
        }
        m_numSeen = record.value;
        ++m_tally.numEventsFetched;
    }
}

void EventReader::Flush() {
    const auto pause = m_source.Pause();
    const uint64_t queued = NumQueued();
    Expect(m_numSeen + queued == m_source.NumArrived(), "events are missing from the queue");
    Expect(m_gentl.EventFlush(m_event) == 0 && NumQueued() == 0, "events are not flushed");
    m_numSeen = m_source.NumArrived();
    m_tally.numEventsDiscarded += queued;
}

// An unplugged camera cannot be told to fire no more: the close of its device does that, and what
// comes until then is nobody's.
void EventReader::Unregister() {
    if (m_chance.Below(2) == 0) {
        return;
    }
    const auto unregister = [this] {
        Expect(m_gentl.GCUnregisterEvent(m_port, EVENT_REMOTE_DEVICE) == 0,
               "an event stays registered");
    };
    // By the standard, the handle of an event ends with its registration.
    if (Producer::IsStandard()) {
        const auto pause = m_source.Pause();
        Fetch();
        Expect(m_numSeen == m_source.NumArrived(), "the last events are missing");
        unregister();
        return;
    }
    unregister();
    const bool isSilent = OptivoSim_HasCallback(m_source.Camera().c_str()) == 0;
    Fetch();
    const auto pause = m_source.Pause();
    Expect(!isSilent || m_numSeen == m_source.NumArrived(), "the last events are missing");
}

// How many events a close threw away cannot be told from how many arrived while it went on.
void EventReader::AfterClose() {
    const auto pause = m_source.Pause();
    m_tally.numEventsDiscarded += m_source.NumArrived() - m_numSeen;
    m_numSeen = m_source.NumArrived();
}
