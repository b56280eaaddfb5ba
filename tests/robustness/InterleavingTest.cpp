// Two calls of a consumer's threads meet at every instruction of one of them.
#include "Process.h"

#if defined(__linux__) && defined(__x86_64__) && !defined(UNDER_A_SANITIZER)

#include "Streams.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <thread>
#include <ucontext.h>

namespace {

constexpr greg_t kTrapFlag = 0x100;

std::atomic<long> s_wanted{-1}; // the instruction at which the other call is made; -1: none
std::atomic<long> s_made{0};
std::atomic<bool> s_isTurn{false}; // of the other thread

void OnInstruction(int /*signal*/, siginfo_t* /*info*/, void* context) {
    if (s_wanted.load() < 0) {
        static_cast<ucontext_t*>(context)->uc_mcontext.gregs[REG_EFL] &= ~kTrapFlag;
    } else if (++s_made == s_wanted) {
        // The other call waits where this one holds a lock that it needs.
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(2);
        for (s_isTurn = true; s_isTurn && std::chrono::steady_clock::now() < end;) {
        }
    }
}

// Makes this thread trap behind every instruction, until none is wanted.
void StartTrapping() {
    asm volatile("pushfq; orq $0x100, (%%rsp); popfq" ::: "memory", "cc");
}

class InterleavingTest : public SmallStreamTest {
protected:
    void SetUp() override {
        SmallStreamTest::SetUp();
        struct sigaction action = {};
        action.sa_sigaction = OnInstruction;
        action.sa_flags = SA_SIGINFO;
        ASSERT_EQ(sigaction(SIGTRAP, &action, &m_before), 0);
    }
    void TearDown() override {
        sigaction(SIGTRAP, &m_before, nullptr);
        SmallStreamTest::TearDown();
    }

private:
    struct sigaction m_before = {};
};

TEST_F(InterleavingTest, AFlushBesideAFetchLeavesNoBufferInTwoPlaces) {
    constexpr long MANY = 4000;
    AnnounceBuffers(1);
    RegisterNewBuffer();
    std::atomic<bool> isOver = false;
    std::thread flushing([&] {
        while (!isOver) {
            if (s_isTurn) {
                gentl.DSFlushQueue(stream, ACQ_QUEUE_UNQUEUED_TO_INPUT);
                s_isTurn = false;
            }
        }
    });
    bool hasEnded = false;
    for (long wanted = 1; wanted < MANY && !hasEnded; ++wanted) {
        gentl.DSFlushQueue(stream, ACQ_QUEUE_ALL_DISCARD);
        gentl.DSFlushQueue(stream, ACQ_QUEUE_OUTPUT_DISCARD);
        gentl.DSQueueBuffer(stream, buffers[0]);
        gentl.DSFlushQueue(stream, ACQ_QUEUE_INPUT_TO_OUTPUT);
        EVENT_NEW_BUFFER_DATA data = {};
        size_t size = sizeof data;
        s_made = 0;
        s_wanted = wanted;
        StartTrapping();
        const int32_t code = gentl.EventGetData(newBuffer, &data, &size, 0);
        s_wanted = -1;
        hasEnded = s_made < wanted;
        while (s_isTurn) {
            std::this_thread::yield();
        }
        ASSERT_EQ(code, 0);
        EXPECT_EQ(NumQueued(), BufferFlag(buffers[0], BUFFER_INFO_IS_QUEUED) ? 1U : 0U)
            << "instruction " << wanted;
    }
    isOver = true;
    flushing.join();
    EXPECT_TRUE(hasEnded) << "the call took more instructions than were tried";
}

} // namespace

#endif
