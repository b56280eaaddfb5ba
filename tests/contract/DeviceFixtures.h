// What the tests of devices, their events and their buffers share beside the common fixtures.
#pragma once

#include "Fixtures.h"

#include <atomic>
#include <memory>

inline void AddLastingFault(OptivoOperation operation, OptivoFaultKind kind, int32_t result = 0,
                            uint32_t count = OPTIVO_FOREVER,
                            uint64_t selector = OPTIVO_ANY_SELECTOR) {
    const OptivoFault fault = {operation, kind, result, selector, 0, count};
    OptivoSim_AddFault(&fault);
}

// The camera library's objects of a kind that were handed out since this was made and are open.
class KindCount {
public:
    explicit KindCount(OptivoObjectKind kind) : m_kind(kind), m_before(OptivoSim_NumAlive(kind)) {}

    uint64_t operator()() const { return OptivoSim_NumAlive(m_kind) - m_before; }

private:
    OptivoObjectKind m_kind;
    uint64_t m_before;
};

// What one wait for a device event gave: the bytes are those of a 24-byte record and of 8 more
// behind it, which nothing may touch.
struct DeviceEvent {
    static constexpr size_t RECORD = 24;
    static constexpr size_t GUARD = 8;
    static constexpr char FILLER = '\x5A';

    int32_t code = 0;
    size_t size = RECORD;
    std::string bytes = std::string(RECORD + GUARD, FILLER);

    // A wait that ended without data.
    static DeviceEvent Nothing() { return {}; }

    static DeviceEvent Of(uint32_t id, uint64_t value) {
        DeviceEvent event;
        event.size = 25;
        std::memset(event.bytes.data(), 0, RECORD);
        std::memcpy(event.bytes.data(), &id, sizeof id);
        std::memcpy(event.bytes.data() + 8, &value, sizeof value);
        return event;
    }

    static DeviceEvent Read(EVENT_HANDLE handle, uint64_t timeout) {
        DeviceEvent event;
        event.code = TheProducer().EventGetData(handle, event.bytes.data(), &event.size, timeout);
        return event;
    }

    bool IsData() const { return code == 0 && size == 25; }
    uint32_t Id() const {
        uint32_t id = 0;
        std::memcpy(&id, bytes.data(), sizeof id);
        return id;
    }

    bool operator==(const DeviceEvent&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const DeviceEvent& event) {
    return out << Info{event.code, TYPE_NOT_WRITTEN, event.size, event.bytes};
}

// A thread that waits in EventGetData. Whoever destroys it before the wait has ended leaves the
// thread to itself.
class Waiter {
public:
    Waiter(EVENT_HANDLE handle, uint64_t timeout) : m_state(std::make_shared<State>()) {
        m_thread = std::thread([state = m_state, handle, timeout] {
            state->begun = true;
            state->event = DeviceEvent::Read(handle, timeout);
            state->error = LastError();
            state->done = true;
        });
        // There is no telling when it waits inside; this is long enough for nearly every run.
        Eventually([this] { return m_state->begun.load(); });
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    ~Waiter() {
        if (IsDone()) {
            m_thread.join();
        } else {
            m_thread.detach();
        }
    }
    Waiter(const Waiter&) = delete;
    Waiter& operator=(const Waiter&) = delete;

    bool IsDone() const { return m_state->done; }

    DeviceEvent Result() const {
        if (!Eventually([this] { return IsDone(); })) {
            ADD_FAILURE() << "the wait does not end";
            return {};
        }
        return m_state->event;
    }
    // The last error when the wait had ended.
    ErrorRecord Error() const { return IsDone() ? m_state->error : ErrorRecord{}; }

private:
    struct State {
        std::atomic<bool> begun{false};
        std::atomic<bool> done{false};
        DeviceEvent event;
        ErrorRecord error;
    };
    std::shared_ptr<State> m_state;
    std::thread m_thread;
};

// The remote-device event of the open camera is registered as event.
class RemoteEventFixture : public DeviceTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(DeviceTest::SetUp());
        ASSERT_OK(Register());
        ASSERT_NE(event, nullptr);
    }

    GC_ERROR Register() { return gentl.GCRegisterEvent(remote, 4, &event); }
    GC_ERROR Unregister() { return gentl.GCUnregisterEvent(remote, 4); }

    // True when a callback was installed; the event has arrived then.
    bool Fire(uint32_t id, uint64_t value = 0) {
        return OptivoSim_FireEvent(camera.c_str(), id, value) == 1;
    }
    // The events may still be on their way.
    bool FireMany(uint32_t id, uint32_t count) {
        return OptivoSim_FireEvents(camera.c_str(), id, 0, count) == 1;
    }

    DeviceEvent Read(uint64_t timeout = LONG_WAIT) { return DeviceEvent::Read(event, timeout); }

    uint64_t EventNumber(EVENT_INFO_CMD command) {
        uint64_t number = 0;
        size_t size = sizeof number;
        EXPECT_OK(gentl.EventGetInfo(event, command, nullptr, &number, &size));
        return number;
    }
    uint64_t NumInQueue() { return EventNumber(1); }
    uint64_t NumFired() { return EventNumber(2); }

    EVENT_HANDLE event = nullptr;
};
