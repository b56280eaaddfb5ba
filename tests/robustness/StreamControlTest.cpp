// What a stream's start, stop and flush hold while they, or the acquisition thread, are slow.
#include "Streams.h"

#if defined(__linux__)
#include <cerrno>

#include <dlfcn.h>
#include <pthread.h>
#endif

namespace {

class StreamControlTest : public SmallStreamTest {
protected:
    // The call does not end before OptivoSim_Release, and then succeeds.
    void ExpectWaitsForRelease(const std::function<int32_t()>& call) {
        Background waiting(call);
        waiting.AwaitSleep();
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        EXPECT_FALSE(waiting.IsDone());
        OptivoSim_Release();
        EXPECT_OK(waiting.Finish());
    }
};

TEST_F(StreamControlTest, AStopEndsTheThreadBeforeTheLibraryStops) {
    StartWith(1);
    const auto stopping = HangIn(OPTIVO_STREAM_STOP_ACQUISITION,
                                 [this] { return gentl.DSStopAcquisition(stream, 0); });
    EXPECT_TRUE(Eventually([this] { return !IsGrabbing(); }));
    EXPECT_FALSE(stopping->IsDone());
    OptivoSim_Release();
    EXPECT_OK(stopping->Finish());
}

TEST_F(StreamControlTest, AStartKeepsTheInputQueueToItself) {
    AnnounceBuffers(1);
    const auto starting = HangIn(OPTIVO_STREAM_START_ACQUISITION, [this] {
        return gentl.DSStartAcquisition(stream, 0, GENTL_INFINITE);
    });
    ExpectWaitsForRelease([this] { return gentl.DSQueueBuffer(stream, buffers[0]); });
    EXPECT_OK(starting->Finish());
}

// Up to its end, when it asks for the size of the images.
TEST_F(StreamControlTest, AStartKeepsTheInputQueueAlsoAfterTheLibraryHasStarted) {
    AnnounceBuffers(1);
    constexpr uint64_t PAYLOAD_SIZE = 4;
    AddFault(OPTIVO_STREAM_GET_STREAM_INFO, OPTIVO_FAULT_HANG, 0, 1, PAYLOAD_SIZE);
    const uint64_t before = NumCalls(OPTIVO_STREAM_GET_STREAM_INFO);
    Background starting([this] { return gentl.DSStartAcquisition(stream, 0, GENTL_INFINITE); });
    ASSERT_TRUE(Eventually([&] { return NumCalls(OPTIVO_STREAM_GET_STREAM_INFO) > before; }));
    ExpectWaitsForRelease([this] { return gentl.DSQueueBuffer(stream, buffers[0]); });
    EXPECT_OK(starting.Finish());
}

// The thread drops an image under the input lock, which every flush takes first.
TEST_F(StreamControlTest, AFlushOfTheEventWaitsForAnImageThatIsDropped) {
    RegisterNewBuffer();
    Start();
    HangNextGrab();
    ExpectWaitsForRelease([this] { return gentl.EventFlush(newBuffer); });
}

TEST_F(StreamControlTest, AnOutputDiscardWaitsForAnImageThatIsDropped) {
    Start();
    HangNextGrab();
    ExpectWaitsForRelease([this] { return gentl.DSFlushQueue(stream, 1); });
}

} // namespace

#if defined(__linux__)

namespace {

using ThreadCreation = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);

// Whether this thread gets no other threads.
thread_local bool s_refusesThreads = false;

class RefusedThreads {
public:
    RefusedThreads() { s_refusesThreads = true; }
    ~RefusedThreads() { s_refusesThreads = false; }
    RefusedThreads(const RefusedThreads&) = delete;
    RefusedThreads& operator=(const RefusedThreads&) = delete;
};

} // namespace

// A sanitizer's, which must hear of every thread.
extern "C" __attribute__((weak)) int __interceptor_pthread_create(pthread_t*, const pthread_attr_t*,
                                                                  void* (*)(void*), void*);

// What every library of the process finds before the system's own.
extern "C" __attribute__((visibility("default"))) int
pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*),
               void* argument) noexcept {
    if (s_refusesThreads) {
        return EAGAIN;
    }
    static const auto s_create =
        __interceptor_pthread_create != nullptr
            ? &__interceptor_pthread_create
            : reinterpret_cast<ThreadCreation>(dlsym(RTLD_NEXT, "pthread_create"));
    return s_create(thread, attributes, run, argument);
}

namespace {

class MissingThreadTest : public SmallStreamTest {
protected:
    void ExpectStartFails() {
        const RefusedThreads refused;
        EXPECT_FAILS(-1001, "Unable to start acquisition",
                     gentl.DSStartAcquisition(stream, 0, GENTL_INFINITE));
        EXPECT_FALSE(IsGrabbing());
        EXPECT_EQ(NumCalls(OPTIVO_STREAM_START_ACQUISITION),
                  NumCalls(OPTIVO_STREAM_STOP_ACQUISITION) + m_numRestarts)
            << "the camera stays started";
    }

    uint64_t m_numRestarts = 0; // which stop nothing
};

TEST_F(MissingThreadTest, AStartWithoutItFails) {
    AnnounceBuffers(1);
    QueueAll();
    RegisterNewBuffer();
    ExpectStartFails();
    Start();
    EXPECT_TRUE(IsGrabbing());
    Produce(1);
    EXPECT_OK(WaitBuffer().code);
}

TEST_F(MissingThreadTest, ARestartWithoutItFails) {
    StartWith(1);
    m_numRestarts = 1;
    ExpectStartFails();
    Start();
    EXPECT_TRUE(IsGrabbing());
    Produce(1);
    EXPECT_OK(WaitBuffer().code);
}

TEST_F(MissingThreadTest, AStreamWithoutItStopsAndCloses) {
    ExpectStartFails();
    EXPECT_OK(gentl.DSStopAcquisition(stream, 0));
    AddFault(OPTIVO_STREAM_STOP_ACQUISITION, OPTIVO_FAULT_GENERIC_EXCEPTION);
    {
        const RefusedThreads refused;
        EXPECT_FAILS(-1001, "Unable to start acquisition",
                     gentl.DSStartAcquisition(stream, 0, GENTL_INFINITE));
    }
    CloseStream();
    EXPECT_EQ(alive.Streams(), 0U);
}

} // namespace

#endif
