// Random walks over the exported functions of a device's two streams: after every call, every
// code, counter, queue length and buffer state is what a model of them says. A walk that fails is
// printed with its seed, as the few calls that it takes.
// NORVELTL_WALK_SEED=N walks that seed alone and prints every call before it is made;
// NORVELTL_WALK_COUNT=N makes so many walks in every test.
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

// As many as every build makes in a few seconds.
#if defined(__SANITIZE_THREAD__)
constexpr uint64_t NUM_WALKS = 8;
#elif defined(_WIN32)
constexpr uint64_t NUM_WALKS = 8;
#else
constexpr uint64_t NUM_WALKS = 24;
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

class WalkTest : public SmallStreamTest, public testing::WithParamInterface<uint64_t> {
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
        m_numCalls += runner.NumCalls();
        return differences;
    }

    // The differences that the first failing operation makes.
    std::string Repeat(const Operations& operations) {
        Walk::Runner runner(m_around, SHRINKING_PATIENCE);
        for (const Operation& operation : operations) {
            std::string differences = runner.Do(operation);
            if (!differences.empty()) {
                return differences;
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
               ", with\n" + differences + "These calls alone end in\n" + Repeat(replay) +
               ToText(replay);
    }

    Walk::Surroundings m_around;
    Operations m_walk;
    uint64_t m_numCalls = 0;
};

TEST_P(WalkTest, AgreesWithTheModel) {
    const uint64_t only = FromEnvironment("NORVELTL_WALK_SEED", 0);
    const auto start = Clock::now();
    const uint64_t count = only != 0 ? 1 : FromEnvironment("NORVELTL_WALK_COUNT", NUM_WALKS);
    for (uint64_t i = 0; i < count; ++i) {
        const uint64_t seed = only != 0 ? only : GetParam() * 1000000 + i;
        const std::string differences = Make(seed, only != 0);
        ASSERT_EQ(differences, "") << Replay(seed, differences);
    }
    const auto time = std::chrono::duration_cast<milliseconds>(Clock::now() - start);
    std::cout << m_numCalls << " calls in " << time.count() << " ms\n";
}

INSTANTIATE_TEST_SUITE_P(Seeds, WalkTest, testing::Range<uint64_t>(1, 11));

} // namespace
