#include "Fixtures.h"

#include "Background.h"
#include "Steering.h"

#include <algorithm>

namespace {

// The camera library reports events on a thread of its own, whatever the consumer is doing.
class CallbackTest : public DeviceTest {
protected:
    static constexpr uint32_t NUM_EVENTS = 1000;

    void Register() { ASSERT_OK(gentl.GCRegisterEvent(remote, 4, &m_event)); }

    void FireMany() { ASSERT_EQ(OptivoSim_FireEvents(camera.c_str(), 0x9001, 7, NUM_EVENTS), 1); }

    // Reports made before have been delivered when this one has.
    void AwaitDelivery() { OptivoSim_FireEvent(camera.c_str(), 0x9002, 0); }

    uint64_t EventNumber(EVENT_INFO_CMD command) {
        uint64_t value = 0;
        size_t size = sizeof value;
        EXPECT_OK(gentl.EventGetInfo(m_event, command, nullptr, &value, &size));
        return value;
    }

    EVENT_HANDLE m_event = nullptr;
    AliveCount alive;
};

TEST_F(CallbackTest, PostsWhileTheConsumerRegistersAndUnregisters) {
    Register();
    FireMany();
    for (int i = 0; i < 200; ++i) {
        ASSERT_OK(gentl.GCUnregisterEvent(remote, 4));
        ASSERT_OK(gentl.GCRegisterEvent(remote, 4, &m_event));
    }
    AwaitDelivery();
    EXPECT_GE(EventNumber(2), EventNumber(1));
    EXPECT_GE(EventNumber(1), 1U);
    EXPECT_LE(EventNumber(2), NUM_EVENTS + 1);
}

TEST_F(CallbackTest, IsOverWhenUnregisteringReturns) {
    for (int i = 0; i < 20; ++i) {
        Register();
        FireMany();
        ASSERT_OK(gentl.GCUnregisterEvent(remote, 4));
        const uint64_t numFired = EventNumber(2);
        EXPECT_EQ(OptivoSim_HasCallback(camera.c_str()), 0);
        AwaitDelivery();
        EXPECT_EQ(EventNumber(2), numFired);
    }
}

TEST_F(CallbackTest, PostsWhileThreadsWait) {
    Register();
    std::atomic<uint32_t> numReceived = 0;
    const auto receive = [&]() -> int32_t {
        while (numReceived < NUM_EVENTS) {
            std::array<uint64_t, 3> data{};
            size_t size = sizeof data;
            const int32_t code = gentl.EventGetData(m_event, data.data(), &size, 5);
            // A waiter may find that another one took its event.
            if (code == -1001) {
                continue;
            }
            if (code != 0 || (size != sizeof data && (size != 25 || data[1] != 7))) {
                return -1;
            }
            numReceived += size == 25 ? 1U : 0U;
        }
        return 0;
    };
    FireMany();
    EXPECT_EQ(RunTogether({receive, receive, receive}), (std::vector<int32_t>{0, 0, 0}));
    EXPECT_EQ(numReceived, NUM_EVENTS);
    EXPECT_EQ(EventNumber(1), 0U);
}

TEST_F(CallbackTest, PostsWhileTheConsumerFlushesAndAsks) {
    Register();
    FireMany();
    for (int i = 0; i < 200; ++i) {
        ASSERT_OK(gentl.EventFlush(m_event));
        EXPECT_LE(EventNumber(1), NUM_EVENTS);
        ASSERT_OK(gentl.EventKill(m_event));
    }
    AwaitDelivery();
    EXPECT_EQ(EventNumber(2), NUM_EVENTS + 1);
}

TEST_F(CallbackTest, PostsWhileTheDeviceCloses) {
    for (int i = 0; i < 20; ++i) {
        Register();
        FireMany();
        CloseDevice();
        EXPECT_EQ(OptivoSim_HasCallback(camera.c_str()), 0);
        ASSERT_NO_FATAL_FAILURE(OpenDevice());
    }
}

TEST_F(CallbackTest, PostsWhileAThreadWaitsAndTheDeviceCloses) {
    for (int i = 0; i < 10; ++i) {
        Register();
        Background waiting([this]() -> int32_t {
            std::array<uint64_t, 3> data{};
            size_t size = sizeof data;
            return gentl.EventGetData(m_event, data.data(), &size, GENTL_INFINITE);
        });
        waiting.AwaitSleep();
        FireMany();
        CloseDevice();
        const int32_t code = waiting.Finish();
        EXPECT_TRUE(code == 0 || code == -1012 || code == -1001) << code;
        ASSERT_NO_FATAL_FAILURE(OpenDevice());
    }
}

TEST_F(CallbackTest, PostsWhileTheSystemCloses) {
    for (int i = 0; i < 10; ++i) {
        Register();
        FireMany();
        CloseSystem();
        EXPECT_EQ(OptivoSim_HasCallback(camera.c_str()), 0);
        OpenSystem();
        OpenInterface();
        OpenDevice();
    }
}

TEST_F(CallbackTest, PostsWhileTheInterfaceCloses) {
    Register();
    FireMany();
    CloseInterface();
    CloseSystem();
    AwaitDelivery();
    EXPECT_EQ(EventNumber(1), NUM_EVENTS + 1);
    FireMany();
    CloseDevice();
    EXPECT_EQ(OptivoSim_HasCallback(camera.c_str()), 0);
}

// The library keeps its device, and must not call back into ours.
TEST_F(CallbackTest, IsRemovedEvenIfTheLibraryDoesNotClose) {
    Register();
    AddFault(OPTIVO_DEVICE_CLOSE, OPTIVO_FAULT_RESULT, -1001);
    CloseDevice();
    LeavesAlive(OPTIVO_OBJECT_DEVICE, 1);
    EXPECT_EQ(OptivoSim_HasCallback(camera.c_str()), 0);
    EXPECT_EQ(OptivoSim_FireEvent(camera.c_str(), 0x9001, 1), 0);
}

TEST_F(CallbackTest, IsGoneAfterACloseEvenIfItCannotBeRemoved) {
    for (const OptivoFaultKind kind :
         {OPTIVO_FAULT_RESULT, OPTIVO_FAULT_GENERIC_EXCEPTION, OPTIVO_FAULT_FOREIGN_EXCEPTION}) {
        Register();
        AddFault(OPTIVO_DEVICE_REGISTER_EVENT_CALLBACK, kind, -1001);
        FireMany();
        CloseDevice();
        EXPECT_EQ(OptivoSim_HasCallback(camera.c_str()), 0);
        ASSERT_NO_FATAL_FAILURE(OpenDevice());
    }
}

TEST_F(CallbackTest, ThreadsMayRegisterTogether) {
    const auto toggle = [this]() -> int32_t {
        int32_t worst = 0;
        for (int i = 0; i < 50; ++i) {
            EVENT_HANDLE event = nullptr;
            worst = std::min(worst, gentl.GCRegisterEvent(remote, 4, &event));
            worst = std::min(worst, gentl.GCUnregisterEvent(remote, 4));
        }
        return worst;
    };
    EXPECT_EQ(RunTogether({toggle, toggle}), (std::vector<int32_t>{0, 0}));
}

} // namespace
