#include "core/LiveObjects.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <set>
#include <thread>
#include <vector>

namespace {

using GenICam::Client::CLiveObjects;

class LiveObjectsTest : public testing::Test {
protected:
    // Objects lie 16 bytes apart, at addresses that need not exist.
    static const void* Object(std::uintptr_t number) {
        return reinterpret_cast<const void*>(0x10000 + 16 * number);
    }

    std::array<CLiveObjects::Slot, 16> m_slots{};
    CLiveObjects m_objects{m_slots};
};

TEST_F(LiveObjectsTest, ContainsWhatWasAddedUntilItIsRemoved) {
    EXPECT_FALSE(m_objects.Contains(Object(1)));
    m_objects.Add(Object(1));
    EXPECT_TRUE(m_objects.Contains(Object(1)));
    EXPECT_FALSE(m_objects.Contains(Object(2)));
    m_objects.Remove(Object(1));
    EXPECT_FALSE(m_objects.Contains(Object(1)));
    m_objects.Remove(Object(1));
    m_objects.Add(Object(1));
    EXPECT_TRUE(m_objects.Contains(Object(1)));
}

TEST_F(LiveObjectsTest, NeverContainsWhatNoObjectCanBe) {
    for (const std::uintptr_t address : {std::uintptr_t{0}, std::uintptr_t{1}, UINTPTR_MAX}) {
        EXPECT_FALSE(m_objects.Contains(reinterpret_cast<const void*>(address)));
    }
}

TEST_F(LiveObjectsTest, GrowsBeyondItsFirstSlots) {
    // Larger tables are not given back.
    static std::array<CLiveObjects::Slot, 16> slots{};
    static CLiveObjects objects{slots};
    for (std::uintptr_t i = 0; i < 100000; ++i) {
        objects.Add(Object(i));
    }
    for (std::uintptr_t i = 0; i < 100000; ++i) {
        ASSERT_TRUE(objects.Contains(Object(i)));
    }
    EXPECT_FALSE(objects.Contains(Object(100000)));
    for (std::uintptr_t i = 0; i < 100000; i += 2) {
        objects.Remove(Object(i));
    }
    for (std::uintptr_t i = 0; i < 100000; ++i) {
        ASSERT_EQ(objects.Contains(Object(i)), i % 2 == 1);
    }
}

TEST_F(LiveObjectsTest, AgreesWithAPlainSet) {
    std::mt19937 random(7);
    std::set<std::uintptr_t> expected;
    for (int round = 0; round < 200000; ++round) {
        const std::uintptr_t number = random() % 64;
        if (expected.erase(number) != 0) {
            m_objects.Remove(Object(number));
        } else if (expected.size() < 6) { // never grows
            expected.insert(number);
            m_objects.Add(Object(number));
        }
        const std::uintptr_t asked = random() % 64;
        ASSERT_EQ(m_objects.Contains(Object(asked)), expected.count(asked) == 1) << round;
    }
}

TEST_F(LiveObjectsTest, FindsWhatStaysWhileOthersComeAndGo) {
    static std::array<CLiveObjects::Slot, 16> slots{};
    static CLiveObjects objects{slots};
    objects.Add(Object(1));
    std::atomic<bool> stop{false};
    std::atomic<int> missed{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back([&] {
            while (!stop) {
                missed += objects.Contains(Object(1)) ? 0 : 1;
                missed += objects.Contains(Object(5000)) ? 1 : 0;
            }
        });
    }
    for (int round = 0; round < 300; ++round) {
        for (std::uintptr_t i = 2; i < 60; ++i) {
            objects.Add(Object(i));
        }
        for (std::uintptr_t i = 2; i < 60; ++i) {
            objects.Remove(Object(i));
        }
    }
    stop = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(missed, 0);
}

} // namespace
