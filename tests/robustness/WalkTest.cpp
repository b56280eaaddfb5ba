// Random walks over the exported functions of a device's two streams: after every call, every
// code, counter, queue length and buffer state is what a model of them says. A walk that fails is
// printed with its seed, as the few calls that it takes.
// NORVELTL_WALK_SEED=N walks that seed alone and prints every call before it is made;
// NORVELTL_WALK_COUNT=N makes so many walks in every test.
#include "Process.h"
#include "Streams.h"
#include "WalkRunner.h"
#include "WalkShrink.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

namespace {

using Walk::Operation;
using Operations = std::vector<Operation>;
using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

// 368,000 operations where they are fast, and elsewhere as many as take a few seconds. A walk
// fetches eight images on average, and few walks stray further from that than many.
#if defined(_WIN32) || defined(UNDER_A_SANITIZER)
constexpr uint64_t NUM_WALKS = 4;
constexpr uint64_t LEAST_IMAGES_PER_WALK = 3;
#else
constexpr uint64_t NUM_WALKS = 92;
constexpr uint64_t LEAST_IMAGES_PER_WALK = 6;
#endif
constexpr uint64_t NUM_OPERATIONS = 400;
constexpr milliseconds PATIENCE(10000);
// A failing walk is made again and again.
constexpr milliseconds SHRINKING_PATIENCE(200);
constexpr milliseconds SHRINKING_TIME(60000);

uint64_t FromEnvironment(const char* name, uint64_t otherwise) {
    const char* text = std::getenv(name);
    return text == nullptr ? otherwise : std::strtoull(text, nullptr, 10);
}

class WalkTest : public SmallStreamTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(SmallStreamTest::SetUp());
        CloseStream();
        m_around = {&gentl, tl, device, remote, camera, PAYLOAD, {0x1122334455667788, 6, 77, 88},
                    9};
        for (uint32_t i = 0; i < m_around.values.size(); ++i) {
            ASSERT_EQ(OptivoSim_SetStreamValue(camera.c_str(), 5 + i, m_around.values[i]), 1);
        }
        ASSERT_EQ(OptivoSim_SetStreamValue(camera.c_str(), 11, m_around.numLost), 1);
    }

    // Draws and makes operations until one of them fails, which is the last in m_walk then.
    std::string Make(uint64_t seed, bool isTraced) {
        Walk::Random random(seed);
        Walk::Runner runner(m_around, PATIENCE);
        m_walk.clear();
        std::string differences;
        while (differences.empty() && m_walk.size() < NUM_OPERATIONS) {
            m_walk.push_back(Walk::Draw(random, runner.TheModel()));
            if (isTraced) {
                std::cout << m_walk.size() << ". " << ToText(m_walk.back()) << std::endl;
            }
            differences = runner.Do(m_walk.back());
        }
        m_numDrawn += m_walk.size();
        m_numCalls += runner.NumCalls();
        m_numImages += runner.NumImages();
        return differences;
    }

    // The calls up to the first that fails, and how it does; empty when none fails.
    std::string Repeat(const Operations& operations) {
        Walk::Runner runner(m_around, SHRINKING_PATIENCE);
        std::string calls;
        for (size_t i = 0; i < operations.size(); ++i) {
            const std::string differences = runner.Do(operations[i]);
            calls += std::to_string(i + 1) + ". " + runner.LastCall() + '\n';
            if (!differences.empty()) {
                return calls + differences;
            }
        }
        return {};
    }

    std::string Replay(uint64_t seed, const std::string& differences) {
        const auto end = Clock::now() + SHRINKING_TIME;
        const Operations replay = Shrink(m_walk, [&](const Operations& operations) {
            return Clock::now() < end && !Repeat(operations).empty();
        });
        return "seed " + std::to_string(seed) + " fails at call " + std::to_string(m_walk.size()) +
               ", with\n" + differences + "These calls alone fail as well:\n" + Repeat(replay);
    }

    Walk::Surroundings m_around;
    Operations m_walk;
    uint64_t m_numDrawn = 0;
    uint64_t m_numCalls = 0; // of these operations, and the questions after each
    uint64_t m_numImages = 0;
};

class WalkSeedsTest : public WalkTest, public testing::WithParamInterface<uint64_t> {};

TEST_P(WalkSeedsTest, AgreeWithTheModel) {
    const uint64_t only = FromEnvironment("NORVELTL_WALK_SEED", 0);
    const auto start = Clock::now();
    const uint64_t count = only != 0 ? 1 : FromEnvironment("NORVELTL_WALK_COUNT", NUM_WALKS);
    for (uint64_t i = 0; i < count; ++i) {
        const uint64_t seed = only != 0 ? only : GetParam() * 1000000 + i;
        const std::string differences = Make(seed, only != 0);
        ASSERT_EQ(differences, "") << Replay(seed, differences);
    }
    const auto time = std::chrono::duration_cast<milliseconds>(Clock::now() - start);
    std::cout << m_numDrawn << " operations drawn, " << m_numCalls << " calls made and "
              << m_numImages << " images fetched in " << time.count() << " ms\n";
    if (count >= NUM_WALKS) {
        EXPECT_GE(m_numImages, count * LEAST_IMAGES_PER_WALK) << "standstill proves nothing";
    }
}

// Were it blind, every walk would agree.
TEST_F(WalkTest, SeesWhatDiffers) {
    ++m_around.numLost;
    Walk::Runner runner(m_around, SHRINKING_PATIENCE);
    EXPECT_EQ(runner.Do({.kind = Walk::Kind::Open, .place = Walk::STREAM_PLACE}),
              "stream 0, info 2: 9 instead of 10\n");
    EXPECT_EQ(runner.LastCall(), "DevOpenDataStream(stream 0) = 0");
}

TEST(WalkShrinkTest, LeavesOnlyWhatFails) {
    Operations operations(300);
    for (size_t i = 0; i < operations.size(); ++i) {
        operations[i].number = static_cast<int64_t>(i);
    }
    const Operations shortest = Shrink(operations, [](const Operations& tried) {
        const auto has = [&](int64_t number) {
            return std::any_of(tried.begin(), tried.end(), [&](const Operation& operation) {
                return operation.number == number;
            });
        };
        return has(17) && (has(63) || has(299));
    });
    ASSERT_EQ(shortest.size(), 2U);
    EXPECT_EQ(shortest[0].number, 17);
    EXPECT_EQ(shortest[1].number, 63);
}

INSTANTIATE_TEST_SUITE_P(Walks, WalkSeedsTest, testing::Range<uint64_t>(1, 11));

} // namespace
