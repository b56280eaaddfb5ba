// Threads of one consumer that do all at once what they may do to one stream.
#include "Streams.h"

namespace {

class StormTest : public SmallStreamTest {
protected:
    using Call = std::function<int32_t()>;

    static constexpr int NUM_BUFFERS = 4;
    static constexpr int NUM_STARTS = 60;
    static constexpr std::chrono::seconds LONG_ENOUGH{10}; // where cameras take their time to start

    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(SmallStreamTest::SetUp());
        StartWith(NUM_BUFFERS);
        Unpace();
    }

    // Repeats until the last of the starts; the worst code is the answer.
    Call UntilDone(const Call& call) {
        return [this, call] {
            int32_t worst = 0;
            while (!m_isDone) {
                worst = std::min(worst, call());
            }
            return worst;
        };
    }

    // Starts and stops in turn, and waits for images in between.
    Call Restarts() {
        return [this] {
            int32_t worst = 0;
            const auto end = std::chrono::steady_clock::now() + LONG_ENOUGH;
            for (int i = 0; i < NUM_STARTS && std::chrono::steady_clock::now() < end; ++i) {
                worst = std::min<int32_t>(worst, gentl.DSStopAcquisition(stream, 0));
                worst =
                    std::min<int32_t>(worst, gentl.DSStartAcquisition(stream, 0, GENTL_INFINITE));
                std::this_thread::sleep_for(
                    std::chrono::milliseconds(Cameras::STARTS_AT_ONCE ? 2 : 150));
            }
            m_isDone = true;
            return worst;
        };
    }

    // Takes buffers and queues them again. That another thread was faster (-1008), that there was
    // nothing (-1011), or that a flush has queued it already, is no failure.
    Call Acquires() {
        return UntilDone([this]() -> int32_t {
            EVENT_NEW_BUFFER_DATA data = {};
            size_t size = sizeof data;
            const int32_t code = gentl.EventGetData(newBuffer, &data, &size, 2);
            if (code == 0) {
                ++m_numTaken;
                const int32_t queued = gentl.DSQueueBuffer(stream, data.BufferHandle);
                return queued == -1004 && Producer::IsStandard() ? 0 : queued;
            }
            const bool isBetweenStarts = code == -1001 && !Cameras::STARTS_AT_ONCE;
            return code == -1008 || code == -1011 || isBetweenStarts ? 0 : code;
        });
    }

    Call Flushes(const std::vector<ACQ_QUEUE_TYPE>& operations) {
        return UntilDone([this, operations] {
            int32_t worst = 0;
            for (const ACQ_QUEUE_TYPE operation : operations) {
                worst = std::min<int32_t>(worst, gentl.DSFlushQueue(stream, operation));
                std::this_thread::sleep_for(std::chrono::microseconds(300));
            }
            return worst;
        });
    }

    Call Asks() {
        return UntilDone([this] {
            const int32_t worst = AskAll({1, 3, 4, 5, 8, 9}, {0, 1, 2, 4, 5, 6, 9});
            size_t size = sizeof(uint64_t);
            uint64_t count = 0;
            return std::min<int32_t>(
                worst, gentl.EventGetInfo(newBuffer, EVENT_NUM_IN_QUEUE, nullptr, &count, &size));
        });
    }

    // The stream is as good as ever, and holds its buffers and no others.
    void ExpectWorksOn() {
        EXPECT_GT(m_numTaken, 0);
        Stop();
        EXPECT_OK(gentl.DSFlushQueue(stream, ACQ_QUEUE_ALL_DISCARD));
        EXPECT_EQ(StreamNumber(STREAM_INFO_NUM_ANNOUNCED), NUM_BUFFERS);
        EXPECT_OK(gentl.EventFlush(newBuffer));
        QueueAll();
        Start();
        for (int i = 0; i < 2 * NUM_BUFFERS; ++i) {
            const auto taken = WaitBuffer();
            ASSERT_OK(taken.code);
            EXPECT_OK(gentl.DSQueueBuffer(stream, taken.handle));
        }
        Stop();
        EXPECT_OK(gentl.DSFlushQueue(stream, ACQ_QUEUE_ALL_DISCARD));
        for (auto* const buffer : buffers) {
            EXPECT_OK(gentl.DSRevokeBuffer(stream, buffer, nullptr, nullptr));
        }
        EXPECT_EQ(StreamNumber(STREAM_INFO_NUM_ANNOUNCED), 0U);
    }

    std::atomic<bool> m_isDone = false;
    std::atomic<int> m_numTaken = 0;
};

TEST_F(StormTest, OfStartsFetchesFlushesAndQuestions) {
    const std::vector<Call> calls = {Restarts(),
                                     Acquires(),
                                     Acquires(),
                                     Flushes({0, 1, 2, 3}),
                                     Asks(),
                                     UntilDone([this]() -> int32_t {
                                         std::this_thread::sleep_for(std::chrono::milliseconds(1));
                                         return gentl.EventFlush(newBuffer);
                                     })};
    EXPECT_EQ(RunTogether(calls), std::vector<int32_t>(calls.size(), 0));
    ExpectWorksOn();
}

// A discard leaves every buffer to be fetched, and free to be revoked.
TEST_F(StormTest, OfFetchesAndRevocationsOfTheSameBuffers) {
    ASSERT_OK(gentl.DSStopAcquisition(stream, 0));
    for (int round = 0; round < 100; ++round) {
        ASSERT_OK(gentl.DSFlushQueue(stream, 4));
        const auto fetch = [this]() -> int32_t {
            int32_t code = 0;
            while (code == 0) {
                EVENT_NEW_BUFFER_DATA data = {};
                size_t size = sizeof data;
                code = gentl.EventGetData(newBuffer, &data, &size, 0);
            }
            return code;
        };
        const auto revoke = [this]() -> int32_t {
            int32_t worst = 0;
            for (BUFFER_HANDLE buffer : buffers) {
                worst = std::min<int32_t>(worst,
                                          gentl.DSRevokeBuffer(stream, buffer, nullptr, nullptr));
            }
            return worst;
        };
        const std::vector<int32_t> expected = {-1011, 0};
        ASSERT_EQ(RunTogether({fetch, revoke}), expected);
        ASSERT_EQ(NumAnnounced(), 0U);
        buffers.clear();
        AnnounceBuffers(NUM_BUFFERS);
    }
}

// The buffers that come and go are queued by no thread.
TEST_F(StormTest, OfAnnouncementsAndRevocations) {
    const auto comeAndGo = UntilDone([this] {
        int32_t worst = 0;
        std::array<BUFFER_HANDLE, 8> more{};
        for (BUFFER_HANDLE& buffer : more) {
            worst = std::min<int32_t>(
                worst, gentl.DSAllocAndAnnounceBuffer(stream, PAYLOAD, nullptr, &buffer));
        }
        for (auto* const buffer : more) {
            worst =
                std::min<int32_t>(worst, gentl.DSRevokeBuffer(stream, buffer, nullptr, nullptr));
        }
        return worst;
    });
    const std::vector<Call> calls = {Restarts(), Acquires(), Asks(), comeAndGo, comeAndGo};
    EXPECT_EQ(RunTogether(calls), std::vector<int32_t>(calls.size(), 0));
    ExpectWorksOn();
}

} // namespace
