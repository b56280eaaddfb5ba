// Threads of the consumer that are cancelled while they are inside the module.
#if defined(__linux__)

#include "Streams.h"

#include <pthread.h>

namespace {

// A thread as C programs make it, which the system's own cancellation ends.
class CancellableThread {
public:
    explicit CancellableThread(std::function<void()> run) : m_run(std::move(run)) {
        m_isMade = pthread_create(&m_thread, nullptr, &CancellableThread::Run, this) == 0;
    }
    ~CancellableThread() {
        if (m_isMade) {
            Join();
        }
    }
    CancellableThread(const CancellableThread&) = delete;
    CancellableThread& operator=(const CancellableThread&) = delete;

    void Cancel() const { pthread_cancel(m_thread); }
    // True when the cancellation ended the thread.
    bool Join() {
        void* result = nullptr;
        m_isMade = false;
        return pthread_join(m_thread, &result) == 0 && result == PTHREAD_CANCELED;
    }

private:
    static void* Run(void* self) {
        static_cast<CancellableThread*>(self)->m_run();
        return nullptr;
    }

    std::function<void()> m_run;
    pthread_t m_thread{};
    bool m_isMade = false;
};

class CancelledThreadTest : public SmallStreamTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(SmallStreamTest::SetUp());
        ASSERT_NO_FATAL_FAILURE(RegisterNewBuffer());
        ASSERT_OK(gentl.GCRegisterEvent(remote, 4, &m_deviceEvent));
        ASSERT_OK(gentl.GCRegisterEvent(device, 0, &m_errorEvent));
    }

    // A thread that waits is cancelled, whether it sleeps already or not.
    void CancelAWait(EVENT_HANDLE event, uint64_t timeout) {
        SCOPED_TRACE(timeout);
        for (const auto pause : {0, 1, 20}) {
            std::atomic<bool> isBegun = false;
            CancellableThread waiting([&] {
                char data[64] = {};
                size_t size = sizeof data;
                isBegun = true;
                gentl.EventGetData(event, data, &size, timeout);
            });
            EXPECT_TRUE(Eventually([&] { return isBegun.load(); }));
            std::this_thread::sleep_for(std::chrono::milliseconds(pause));
            waiting.Cancel();
            EXPECT_TRUE(waiting.Join());
        }
    }

    EVENT_HANDLE m_deviceEvent = nullptr;
    EVENT_HANDLE m_errorEvent = nullptr;
};

TEST_F(CancelledThreadTest, InAWaitEndsAndLeavesTheEventAsItWas) {
    for (EVENT_HANDLE event : {newBuffer, m_deviceEvent, m_errorEvent}) {
        for (const uint64_t timeout : {LONG_WAIT, uint64_t{GENTL_INFINITE}}) {
            CancelAWait(event, timeout);
        }
    }
    AnnounceBuffers(1);
    QueueAll();
    Start();
    Produce(1);
    EXPECT_OK(WaitBuffer().code);
    ASSERT_EQ(OptivoSim_FireEvent(camera.c_str(), 0x9001, 1), 1);
    char data[64] = {};
    size_t size = sizeof data;
    EXPECT_OK(gentl.EventGetData(m_deviceEvent, data, &size, LONG_WAIT));
    EXPECT_EQ(size, 25U);
    // Nobody is taken to be inside any more.
    CloseAll();
}

// What comes is for those who still wait.
TEST_F(CancelledThreadTest, InAWaitTakesNothingFromTheOthers) {
    AnnounceBuffers(1);
    QueueAll();
    Start();
    for (int i = 0; i < 20; ++i) {
        CancellableThread cancelled([this] { WaitBuffer(GENTL_INFINITE); });
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        Background waiting([this] {
            const NewBuffer image = WaitBuffer();
            return image.code != 0 ? image.code : gentl.DSQueueBuffer(stream, image.handle);
        });
        waiting.AwaitSleep();
        cancelled.Cancel();
        EXPECT_TRUE(cancelled.Join());
        Produce(1);
        EXPECT_OK(waiting.Finish());
    }
}

// What is half closed can be closed by nobody else.
TEST_F(CancelledThreadTest, WhileItClosesGoesOnToTheEndOfThat) {
    const std::vector<std::pair<OptivoOperation, std::function<int32_t()>>> rows = {
        {OPTIVO_STREAM_CLOSE, [this] { return gentl.DSClose(stream); }},
        {OPTIVO_DEVICE_CLOSE, [this] { return gentl.DevClose(device); }},
        {OPTIVO_INTERFACE_CLOSE, [this] { return gentl.IFClose(iface); }},
        {OPTIVO_SYSTEM_CLOSE, [this] { return gentl.TLClose(tl); }},
    };
    for (const auto& row : rows) {
        const OptivoOperation operation = row.first;
        SCOPED_TRACE(operation);
        const uint64_t before = NumCalls(operation);
        AddFault(operation, OPTIVO_FAULT_HANG);
        std::atomic<int32_t> code = 1;
        CancellableThread closing([&] {
            code = row.second();
            pthread_testcancel();
        });
        EXPECT_TRUE(Eventually([&] { return NumCalls(operation) > before; }));
        closing.Cancel();
        OptivoSim_Release();
        EXPECT_TRUE(closing.Join());
        EXPECT_CODE(0, code);
    }
    tl = iface = device = remote = stream = nullptr;
}

} // namespace

#endif
