// The worlds that come with the library, whole and spoilt.
#include "WorldFixtures.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>

namespace {

std::map<std::string, std::string> Examples() {
    std::map<std::string, std::string> texts;
    for (const auto& entry : std::filesystem::directory_iterator(WORLD_EXAMPLES)) {
        std::ifstream file(entry.path(), std::ios::binary);
        texts[entry.path().filename().string()] =
            std::string(std::istreambuf_iterator<char>(file), {});
    }
    return texts;
}

class WorldExamplesTest : public WorldTest {
protected:
    size_t NumCameras() {
        size_t count = 0;
        for (const std::string& id : UpdatedInterfaces()) {
            EXPECT_OK(gentl.TLOpenInterface(tl, id.c_str(), &iface));
            count += UpdatedDevices().size();
            CloseInterface();
        }
        return count;
    }
};

TEST_F(WorldExamplesTest, LoadAndAreListed) {
    std::map<std::string, size_t> numCameras;
    for (const auto& [name, text] : Examples()) {
        SCOPED_TRACE(name);
        ASSERT_NO_FATAL_FAILURE(Load(text));
        numCameras[name] = NumCameras();
    }
    const std::map<std::string, size_t> expected = {
        {"faults.json", 4}, {"hot-plugging.json", 4}, {"many-cameras.json", 64}, {"small.json", 3}};
    EXPECT_EQ(numCameras, expected);
}

// Bytes are cut out, doubled and overwritten; the library answers, whatever comes out.
TEST_F(WorldExamplesTest, SpoiltTextsAreAnswered) {
    std::mt19937 random(1);
    size_t numRefused = 0;
    constexpr size_t ROUNDS = 1000;
    for (const auto& [name, original] : Examples()) {
        for (size_t round = 0; round < ROUNDS; ++round) {
            std::string text = original;
            for (auto changes = random() % 4 + 1; changes > 0; --changes) {
                const size_t place = random() % text.size();
                const size_t length = random() % 20;
                switch (random() % 3) {
                case 0:
                    text.erase(place, length);
                    break;
                case 1:
                    text.insert(random() % text.size(), text.substr(place, length));
                    break;
                default:
                    text[place] = static_cast<char>(random());
                }
            }
            char error[1024] = {};
            if (OptivoSim_LoadWorld(text.c_str(), error, sizeof error) == 0) {
                ++numRefused;
                EXPECT_NE(std::string(error).find(": "), std::string::npos) << error;
            }
        }
    }
    EXPECT_GT(numRefused, ROUNDS);
}

} // namespace
