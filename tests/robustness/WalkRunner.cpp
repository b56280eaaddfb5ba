#include "WalkRunner.h"

#include "OptivoSim.h"

#include <algorithm>
#include <utility>

namespace Walk {
namespace {

const char* const STREAM_IDS[NUM_STREAMS] = {"DS0", "DS1"};

} // namespace

Runner::Runner(Surroundings surroundings, std::chrono::milliseconds patience)
    : m_around(std::move(surroundings)), m_gentl(*m_around.gentl), m_patience(patience) {
    At(DEVICE_PLACE) = m_around.device;
    At(REMOTE_PLACE) = m_around.remote;
    At(SYSTEM_PLACE) = m_around.system;
    At(FOREIGN_PLACE) = m_foreign;
}

// Clear buffers go with their streams.
Runner::~Runner() {
    OptivoSim_ClearFaults();
    for (size_t i = 0; i < NUM_STREAMS; ++i) {
        if (m_model.streams[i].isOpen) {
            m_gentl.DSStopAcquisition(m_handles[STREAM_PLACE + i], 0);
            m_gentl.DSFlushQueue(m_handles[STREAM_PLACE + i], 4);
        }
    }
    for (size_t i = 0; i < NUM_STREAMS; ++i) {
        if (m_model.streams[i].isOpen) {
            m_gentl.DSClose(m_handles[STREAM_PLACE + i]);
        }
    }
}

std::string Runner::Do(const Operation& operation) {
    m_differences.clear();
    m_code.reset();
    m_lastCall = ToText(operation);
    const auto buffer = BufferOf(At(operation.buffer));
    if (NamesBuffer(operation.kind) && buffer) {
        m_lastCall += " of announcement " + std::to_string(*buffer + 1);
    }
    Perform(operation);
    m_lastCall += m_code ? " = " + std::to_string(*m_code) : "";
    Settle();
    return std::exchange(m_differences, {});
}

void Runner::Perform(const Operation& operation) {
    switch (operation.kind) {
    case Kind::Open:
        return Open(operation);
    case Kind::Close:
        return Close(operation);
    case Kind::Announce:
    case Kind::Alloc:
        return Announce(operation);
    case Kind::Revoke:
        return Revoke(operation);
    case Kind::Queue:
        return Queue(operation);
    case Kind::Flush:
    case Kind::Start:
    case Kind::Stop:
        return Control(operation);
    case Kind::Produce:
        return Produce(operation);
    case Kind::Wait:
        return Wait(operation);
    case Kind::Kill:
    case Kind::EventFlush:
        return EventControl(operation);
    case Kind::EventInfo:
        return EventInfo(operation);
    case Kind::EventDataInfo:
        return EventDataInfo(operation);
    case Kind::Register:
    case Kind::Unregister:
        return Register(operation);
    case Kind::StreamInfo:
        return StreamInfo(operation);
    case Kind::BufferInfo:
        return BufferInfo(operation);
    case Kind::BufferId:
        return BufferId(operation);
    }
}

void Runner::Open(const Operation& operation) {
    const auto stream = static_cast<size_t>(operation.place);
    Handle opened = nullptr;
    Expect(DONE, m_gentl.DevOpenDataStream(m_around.device, STREAM_IDS[stream], &opened));
    if (m_model.streams[stream].isOpen) {
        ExpectSame("stream opened again", At(operation.place), opened);
        return;
    }
    m_model.Open(stream);
    At(operation.place) = opened;
    Expect(DONE, m_gentl.GCRegisterEvent(opened, 1, &m_handles[EVENT_PLACE + stream]));
    Expect(DONE, m_gentl.GCRegisterEvent(opened, 0, &m_handles[ERROR_EVENT_PLACE + stream]));
}

void Runner::Close(const Operation& operation) {
    const Handle handle = At(operation.place);
    const auto stream = StreamOf(handle);
    Expect(stream ? DONE : WRONG_HANDLE, m_gentl.DSClose(handle));
    if (stream) {
        m_model.Close(*stream);
    }
}

// A slot is taken while its buffer is announced.
void Runner::Announce(const Operation& operation) {
    const Handle handle = At(operation.place);
    const auto stream = StreamOf(handle);
    int place = operation.buffer;
    if (stream) {
        const auto slot = static_cast<size_t>(place - BUFFER_PLACE) % NUM_SLOTS;
        place = BUFFER_PLACE + static_cast<int>(*stream * NUM_SLOTS + slot);
        const auto before = BufferOf(At(place));
        const auto& announced = m_model.streams[*stream].announced;
        if (before && std::count(announced.begin(), announced.end(), *before) > 0) {
            return;
        }
    }
    const auto size = static_cast<size_t>(operation.number);
    Announced made;
    made.handle = &made;
    made.user = reinterpret_cast<void*>(0x1000 + m_announced.size());
    made.isConsumers = operation.kind == Kind::Announce;
    int32_t code = 0;
    if (made.isConsumers) {
        m_memory.emplace_back(size + GUARD_SIZE, GUARD);
        made.memory = m_memory.back().data();
        code = m_gentl.DSAnnounceBuffer(handle, made.memory, size, made.user, &made.handle);
    } else {
        code = m_gentl.DSAllocAndAnnounceBuffer(handle, size, made.user, &made.handle);
    }
    Expect(stream ? DONE : WRONG_HANDLE, code);
    ExpectSame("buffer handle written", stream.has_value(), made.handle != &made);
    if (stream) {
        m_model.Announce(*stream, size);
        KeepAnnounced(*stream, place, made);
    }
}

void Runner::KeepAnnounced(size_t stream, int place, const Announced& announced) {
    At(place) = announced.handle;
    m_announced.push_back(announced);
    if (announced.isConsumers) {
        return;
    }
    INFO_DATATYPE type = 0;
    size_t size = sizeof(void*);
    void* memory = nullptr;
    Expect(DONE, m_gentl.DSGetBufferInfo(m_handles[STREAM_PLACE + stream], announced.handle, 0,
                                         &type, &memory, &size));
    m_announced.back().memory = static_cast<unsigned char*>(memory);
}

void Runner::Revoke(const Operation& operation) {
    const Handle handle = At(operation.place);
    const auto stream = StreamOf(handle);
    const auto buffer = BufferOf(At(operation.buffer));
    void* const untouched = this;
    void* memory = untouched;
    void* user = untouched;
    const int32_t code = m_gentl.DSRevokeBuffer(handle, At(operation.buffer), &memory, &user);
    const Answer expected = stream && buffer ? m_model.Revoke(*stream, *buffer) : WRONG_HANDLE;
    Expect(expected, code);
    const bool isRevoked = expected == DONE;
    ExpectSame<void*>("memory", isRevoked ? m_announced[*buffer].memory : untouched, memory);
    ExpectSame<void*>("private pointer", isRevoked ? m_announced[*buffer].user : untouched, user);
}

void Runner::Queue(const Operation& operation) {
    const Handle handle = At(operation.place);
    const auto stream = StreamOf(handle);
    const auto buffer = BufferOf(At(operation.buffer));
    const bool isSound = stream && buffer;
    Expect(isSound ? DONE : WRONG_HANDLE, m_gentl.DSQueueBuffer(handle, At(operation.buffer)));
    if (isSound) {
        m_model.Queue(*stream, *buffer);
    }
}

void Runner::Control(const Operation& operation) {
    const Handle handle = At(operation.place);
    const auto stream = StreamOf(handle);
    const Answer expected = stream ? DONE : WRONG_HANDLE;
    const auto number = static_cast<int32_t>(operation.number);
    switch (operation.kind) {
    case Kind::Flush:
        Expect(expected, m_gentl.DSFlushQueue(handle, number));
        return stream ? m_model.Flush(*stream, number) : void();
    case Kind::Start: {
        const auto count = static_cast<uint64_t>(operation.number);
        Expect(expected, m_gentl.DSStartAcquisition(handle, 0, count));
        return stream ? m_model.Start(*stream, count) : void();
    }
    default:
        Expect(expected, m_gentl.DSStopAcquisition(handle, 0));
        return stream ? m_model.Stop(*stream) : void();
    }
}

// A fault is only certain to meet one thread when no other one grabs.
void Runner::Produce(const Operation& operation) {
    const auto count = static_cast<uint64_t>(operation.number);
    if (m_model.WouldContend(count)) {
        return;
    }
    int32_t result = static_cast<int32_t>(operation.detail);
    if (m_model.NumTaking(count) != 1) {
        result = 0;
    }
    if (result != 0) {
        const OptivoFault fault = {
            OPTIVO_STREAM_GRAB_IMAGE, OPTIVO_FAULT_RESULT, result, OPTIVO_ANY_SELECTOR, 0, 1};
        OptivoSim_AddFault(&fault);
    }
    ExpectSame("images produced", 1, OptivoSim_ProduceImages(m_around.camera.c_str(), count));
    m_model.Produce(count, result);
}

std::optional<size_t> Runner::StreamOf(Handle handle) const {
    for (size_t i = 0; i < NUM_STREAMS; ++i) {
        if (m_model.streams[i].isOpen && m_handles[STREAM_PLACE + i] == handle) {
            return i;
        }
    }
    return {};
}

std::optional<size_t> Runner::BufferOf(Handle handle) const {
    for (size_t i = 0; i < m_announced.size(); ++i) {
        if (m_model.buffers[i].isAlive && m_announced[i].handle == handle) {
            return i;
        }
    }
    return {};
}

std::optional<size_t> Runner::EventOf(Handle handle) const {
    for (size_t i = 0; i < NUM_STREAMS; ++i) {
        if (m_model.streams[i].isOpen && m_handles[EVENT_PLACE + i] == handle) {
            return i;
        }
    }
    return {};
}

bool Runner::IsErrorEvent(Handle handle) const {
    for (size_t i = 0; i < NUM_STREAMS; ++i) {
        if (m_model.streams[i].isOpen && m_handles[ERROR_EVENT_PLACE + i] == handle) {
            return true;
        }
    }
    return false;
}

} // namespace Walk
