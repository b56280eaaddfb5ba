#include "modules/BufferQueue.h"
#include "modules/BufferInfo.h"

#include <gtest/gtest.h>

#include <deque>
#include <vector>

namespace {

using GenICam::Client::CBufferInfo;
using GenICam::Client::CBufferQueue;

class BufferQueueTest : public testing::Test {
protected:
    CBufferInfo* Buffer(size_t index) {
        while (m_buffers.size() <= index) {
            m_buffers.emplace_back(this, 1, nullptr);
        }
        return &m_buffers[index];
    }

    void Push(const std::vector<size_t>& indexes) {
        for (const size_t index : indexes) {
            queue.PushBack(Buffer(index));
        }
    }

    void ExpectQueued(const std::vector<size_t>& indexes) {
        std::vector<CBufferInfo*> expected;
        for (const size_t index : indexes) {
            expected.push_back(Buffer(index));
        }
        EXPECT_EQ(std::vector<CBufferInfo*>(queue.begin(), queue.end()), expected);
        EXPECT_EQ(queue.Size(), expected.size());
        EXPECT_EQ(queue.Empty(), expected.empty());
    }

    CBufferQueue queue;

private:
    std::deque<CBufferInfo> m_buffers;
};

TEST_F(BufferQueueTest, StartsEmpty) {
    ExpectQueued({});
}

TEST_F(BufferQueueTest, GivesBuffersInTheOrderInWhichTheyCame) {
    Push({2, 0, 1});
    ExpectQueued({2, 0, 1});
    EXPECT_EQ(queue.PopFront(), Buffer(2));
    EXPECT_EQ(queue.PopFront(), Buffer(0));
    ExpectQueued({1});
    EXPECT_EQ(queue.PopFront(), Buffer(1));
    ExpectQueued({});
}

TEST_F(BufferQueueTest, ABufferThatIsPutBackComesFirst) {
    Push({0, 1});
    queue.PushFront(queue.PopFront());
    ExpectQueued({0, 1});
    queue.PushFront(Buffer(2));
    ExpectQueued({2, 0, 1});
}

TEST_F(BufferQueueTest, ABufferIsPutBackIntoAQueueThatWasFilledMeanwhile) {
    for (size_t count = 1; count < 70; ++count) {
        CBufferQueue filled;
        for (size_t i = 0; i < count; ++i) {
            filled.PushBack(Buffer(i));
        }
        CBufferInfo* first = filled.PopFront();
        filled.PushBack(Buffer(count));
        filled.PushFront(first);
        ASSERT_EQ(filled.Size(), count + 1);
        for (size_t i = 0; i <= count; ++i) {
            ASSERT_EQ(filled.PopFront(), Buffer(i)) << "of " << count;
        }
    }
}

TEST_F(BufferQueueTest, PutsBackIntoAnEmptyQueue) {
    queue.PushFront(Buffer(0));
    ExpectQueued({0});
}

TEST_F(BufferQueueTest, RemovesEveryOccurrence) {
    Push({0, 1, 0, 2, 0});
    queue.Remove(Buffer(0));
    ExpectQueued({1, 2});
    queue.Remove(Buffer(3));
    ExpectQueued({1, 2});
    queue.Remove(Buffer(1));
    queue.Remove(Buffer(2));
    ExpectQueued({});
}

TEST_F(BufferQueueTest, RemovesFromAQueueWhoseStorageHasWrappedAround) {
    Push({0, 1, 2, 3});
    queue.PopFront();
    queue.PopFront();
    Push({0, 3, 1});
    queue.Remove(Buffer(3));
    ExpectQueued({2, 0, 1});
}

TEST_F(BufferQueueTest, IsClearedAndUsedAgain) {
    Push({0, 1, 2});
    queue.Clear();
    ExpectQueued({});
    Push({1});
    ExpectQueued({1});
}

TEST_F(BufferQueueTest, ReservingKeepsWhatIsQueued) {
    Push({0, 1});
    queue.Reserve(100);
    queue.Reserve(1);
    ExpectQueued({0, 1});
    Push({2});
    ExpectQueued({0, 1, 2});
}

TEST_F(BufferQueueTest, AQueueOfThousandsLosesNone) {
    constexpr size_t COUNT = 5000;
    for (size_t i = 0; i < COUNT; ++i) {
        queue.PushBack(Buffer(i % 7));
    }
    EXPECT_EQ(queue.Size(), COUNT);
    for (size_t i = 0; i < COUNT; ++i) {
        ASSERT_EQ(queue.PopFront(), Buffer(i % 7));
    }
    ExpectQueued({});
}

} // namespace
