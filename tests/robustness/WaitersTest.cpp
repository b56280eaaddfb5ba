#include "Streams.h"

namespace {

// Other threads wait for an event when the module that has it is closed.
class WaitersTest : public SmallStreamTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(SmallStreamTest::SetUp());
        ASSERT_NO_FATAL_FAILURE(RegisterNewBuffer());
        ASSERT_OK(gentl.GCRegisterEvent(stream, 0, &m_streamError));
        ASSERT_OK(gentl.GCRegisterEvent(device, 0, &m_deviceError));
        ASSERT_OK(gentl.GCRegisterEvent(remote, 4, &m_deviceEvent));
    }

    std::unique_ptr<Background> Wait(EVENT_HANDLE event, uint64_t timeout = GENTL_INFINITE) {
        auto waiting = std::make_unique<Background>([this, event, timeout] {
            char data[64] = {};
            size_t size = sizeof data;
            const int32_t code = gentl.EventGetData(event, data, &size, timeout);
            // What the waiter was given is told apart from a wait that ended without.
            return code == 0 && size == sizeof data ? 1 : code;
        });
        waiting->AwaitSleep();
        EXPECT_FALSE(waiting->IsDone());
        return waiting;
    }

    void ExpectEndsWaits(const std::vector<EVENT_HANDLE>& events,
                         const std::function<int32_t()>& close) {
        std::vector<std::unique_ptr<Background>> waiters;
        for (EVENT_HANDLE event : events) {
            waiters.push_back(Wait(event));
            waiters.push_back(Wait(event, uint64_t{1} << 63));
            waiters.push_back(Wait(event, LONG_WAIT * 10));
        }
        EXPECT_OK(close());
        for (const auto& waiter : waiters) {
            EXPECT_CODE(-1012, waiter->Finish());
        }
    }

    std::vector<EVENT_HANDLE> StreamEvents() const { return {newBuffer, m_streamError}; }
    std::vector<EVENT_HANDLE> AllEvents() const {
        return {newBuffer, m_streamError, m_deviceError, m_deviceEvent};
    }

    EVENT_HANDLE m_streamError = nullptr;
    EVENT_HANDLE m_deviceError = nullptr;
    EVENT_HANDLE m_deviceEvent = nullptr;
};

TEST_F(WaitersTest, ReturnWhenTheStreamIsClosed) {
    ExpectEndsWaits(StreamEvents(), [this] { return gentl.DSClose(stream); });
    stream = nullptr;
}

TEST_F(WaitersTest, ReturnWhenTheAcquiringStreamIsClosed) {
    Start();
    ExpectEndsWaits(StreamEvents(), [this] { return gentl.DSClose(stream); });
    stream = nullptr;
}

TEST_F(WaitersTest, ReturnWhenAStreamIsClosedThatDoesNotStop) {
    AddFault(OPTIVO_STREAM_STOP_ACQUISITION, OPTIVO_FAULT_RESULT, -1001);
    LeavesAlive(OPTIVO_OBJECT_STREAM, 1);
    Start();
    ExpectEndsWaits(StreamEvents(), [this] { return gentl.DSClose(stream); });
    stream = nullptr;
}

TEST_F(WaitersTest, ReturnWhenTheDeviceIsClosed) {
    ExpectEndsWaits(AllEvents(), [this] { return gentl.DevClose(device); });
    device = remote = stream = nullptr;
}

TEST_F(WaitersTest, ReturnWhenTheSystemIsClosed) {
    ExpectEndsWaits(AllEvents(), [this] { return gentl.TLClose(tl); });
    tl = iface = device = remote = stream = nullptr;
}

TEST_F(WaitersTest, ReturnWhenADeviceWithoutInterfaceIsClosed) {
    CloseInterface();
    CloseSystem();
    ExpectEndsWaits(AllEvents(), [this] { return gentl.DevClose(device); });
    device = remote = stream = nullptr;
}

TEST_F(WaitersTest, ReturnWhenTheStreamIsClosedAgainAndAgain) {
    for (int i = 0; i < 10; ++i) {
        ExpectEndsWaits({newBuffer}, [this] { return gentl.DSClose(stream); });
        ASSERT_NO_FATAL_FAILURE(OpenStream());
        ASSERT_NO_FATAL_FAILURE(RegisterNewBuffer());
    }
}

TEST_F(WaitersTest, WriteNothingWhenTheyReturn) {
    std::array<char, 64> data{};
    data.fill('#');
    size_t size = data.size();
    Background waiting(
        [&] { return gentl.EventGetData(newBuffer, data.data(), &size, LONG_WAIT); });
    waiting.AwaitSleep();
    CloseStream();
    EXPECT_CODE(-1012, waiting.Finish());
    EXPECT_EQ(size, data.size());
    EXPECT_EQ(std::string(data.data(), data.size()), std::string(64, '#'));
}

TEST_F(WaitersTest, OfADeviceDoNotNoticeThatItsInterfaceCloses) {
    const auto waiting = Wait(m_deviceEvent);
    const auto waitingForImage = Wait(newBuffer);
    CloseInterface();
    CloseSystem();
    EXPECT_FALSE(waiting->IsDone());
    EXPECT_FALSE(waitingForImage->IsDone());
    ASSERT_EQ(OptivoSim_FireEvent(camera.c_str(), 0x9001, 1), 1);
    EXPECT_OK(waiting->Finish());
    AnnounceBuffers(1);
    QueueAll();
    Start();
    Produce(1);
    EXPECT_OK(waitingForImage->Finish());
}

TEST_F(WaitersTest, OfTheDeviceDoNotNoticeThatItsStreamCloses) {
    const auto waiting = Wait(m_deviceEvent);
    CloseStream();
    EXPECT_FALSE(waiting->IsDone());
    ASSERT_EQ(OptivoSim_FireEvent(camera.c_str(), 0x9001, 1), 1);
    EXPECT_OK(waiting->Finish());
}

TEST_F(WaitersTest, GoOnWaitingWhenTheLibraryIsClosed) {
    AnnounceBuffers(1);
    QueueAll();
    Start();
    const auto waiting = Wait(newBuffer);
    const auto waitingForEvent = Wait(m_deviceEvent);
    ASSERT_OK(gentl.GCCloseLib());
    EXPECT_CODE(-1002, WaitBuffer(0).code);
    EXPECT_FALSE(waiting->IsDone());
    Produce(1);
    EXPECT_OK(waiting->Finish());
    EXPECT_FALSE(waitingForEvent->IsDone());
    ASSERT_EQ(OptivoSim_FireEvent(camera.c_str(), 0x9001, 1), 1);
    EXPECT_OK(waitingForEvent->Finish());
    ASSERT_OK(gentl.GCInitLib());
}

TEST_F(WaitersTest, ThatWereKilledReturnWhenTheStreamIsClosed) {
    const auto waiting = Wait(newBuffer);
    EXPECT_OK(gentl.EventKill(newBuffer));
    waiting->AwaitSleep();
    EXPECT_FALSE(waiting->IsDone());
    CloseStream();
    EXPECT_CODE(-1012, waiting->Finish());
}

TEST_F(WaitersTest, ThatAreWokenForNothingWaitNoSecondTime) {
    const auto waiting = Wait(newBuffer, LONG_WAIT);
    const auto start = std::chrono::steady_clock::now();
    ASSERT_OK(gentl.DSFlushQueue(stream, 0));
    EXPECT_CODE(-1008, waiting->Finish());
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(LONG_WAIT / 2));
}

TEST_F(WaitersTest, AreWokenOneForAFlush) {
    AnnounceBuffers(1);
    QueueAll();
    const auto first = Wait(newBuffer);
    const auto second = Wait(newBuffer);
    ASSERT_OK(gentl.DSFlushQueue(stream, 0));
    ASSERT_TRUE(Eventually([&] { return first->IsDone() || second->IsDone(); }));
    const bool isFirst = first->IsDone();
    EXPECT_CODE(0, (isFirst ? first : second)->Finish());
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_FALSE((isFirst ? second : first)->IsDone());
    EXPECT_EQ(NumAwaitDelivery(), 0U);
    ASSERT_OK(gentl.DSFlushQueue(stream, 2));
    ASSERT_OK(gentl.DSFlushQueue(stream, 0));
    EXPECT_CODE(0, (isFirst ? second : first)->Finish());
}

TEST_F(WaitersTest, ThatWereKilledTogetherAllEnd) {
    AnnounceBuffers(2);
    QueueAll();
    Start();
    const auto first = Wait(newBuffer);
    const auto second = Wait(newBuffer);
    EXPECT_OK(gentl.EventKill(newBuffer));
    Produce(2);
    EXPECT_CODE(-1012, first->Finish());
    EXPECT_CODE(-1012, second->Finish());
    EXPECT_TRUE(Eventually([this] { return NumAwaitDelivery() == 2; }));
    EXPECT_OK(WaitBuffer(0).code);
    EXPECT_OK(WaitBuffer(0).code);
}

TEST_F(WaitersTest, AreServedOneByOne) {
    AnnounceBuffers(4);
    QueueAll();
    Start();
    std::vector<std::unique_ptr<Background>> waiters;
    for (size_t i = 0; i < buffers.size(); ++i) {
        waiters.push_back(Wait(newBuffer));
    }
    const auto numDone = [&] {
        size_t count = 0;
        for (const auto& waiter : waiters) {
            count += waiter->IsDone() ? 1U : 0U;
        }
        return count;
    };
    for (size_t i = 1; i <= buffers.size(); ++i) {
        Produce(1);
        EXPECT_TRUE(Eventually([&] { return numDone() == i; }));
        EXPECT_EQ(NumAwaitDelivery(), 0U);
    }
    for (const auto& waiter : waiters) {
        EXPECT_OK(waiter->Finish());
    }
}

// The image and the end come at the same time; either may be first.
TEST_F(WaitersTest, EndTogetherWithImagesOnTheirWay) {
    for (int i = 0; i < 10; ++i) {
        buffers.clear();
        AnnounceBuffers(2);
        QueueAll();
        Start();
        const auto waiting = Wait(newBuffer);
        RunTogether({[this] { return OptivoSim_ProduceImages(camera.c_str(), 3); },
                     [this] { return gentl.DSClose(stream); }});
        const int32_t code = waiting->Finish();
        EXPECT_TRUE(code == 0 || code == -1012) << code;
        ASSERT_NO_FATAL_FAILURE(OpenStream());
        ASSERT_NO_FATAL_FAILURE(RegisterNewBuffer());
    }
}

} // namespace
