// Gives the simulated camera library any text for a world: it is refused at a place that it has and
// changes nothing, or makes the world that it describes whenever it is loaded.
#include "Demand.h"
#include "SmallWorld.h"
#include "WorldModel.h"
#include "WorldSaid.h"
#include "WorldText.h"

#include "OptivoSim.h"
#include "world/WorldFile.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

namespace {

using namespace OptivoSim;

constexpr char BASE[] =
    R"({"interfaces":[{"name":"net","cameras":[{"name":"cam","width":8,"height":8}]}]})";
// Of a world with more cameras only the first are made, as all of 20,000 take half a second to load
// and far longer to be asked.
constexpr std::size_t MOST_CAMERAS = 100;
constexpr std::size_t MOST_READ = 10; // cameras whose text is read once more
// Of a text: a name that is put together must still be short enough to be given.
constexpr std::size_t MOST_BYTES = 4096;

std::vector<std::string> LinesOf(const std::string& text) {
    std::vector<std::string> lines(1);
    for (const char character : text) {
        if (character == '\n') {
            lines.emplace_back();
        } else {
            lines.back() += character;
        }
    }
    return lines;
}

void CheckPlace(const std::string& text, const STextError& error) {
    const std::vector<std::string> lines = LinesOf(text);
    Demand(error.line >= 1 && error.line <= lines.size(), "an error stands on a line of the text");
    Demand(error.column >= 1 && error.column <= lines[error.line - 1].size() + 1,
           "an error stands in its line, or right behind it");
    Demand(!error.reason.empty(), "an error has a reason");
    const bool isPlain = std::all_of(error.reason.begin(), error.reason.end(),
                                     [](unsigned char c) { return c >= 0x20 && c <= 0x7E; });
    Demand(isPlain, "a reason can be read by everybody");
}

void CheckUnread(const std::string& text, const SWorldPlan& plan, const STextError& error) {
    CheckPlace(text, error);
    Demand(plan.interfaces.empty() && plan.faults.empty(), "a refused text leaves no plan");
}

// A world may have faults, which would speak for it.
void Load(const std::string& text) {
    std::array<char, 64> message{};
    Demand(OptivoSim_LoadWorld(text.c_str(), message.data(), message.size()) == 1,
           "a sound world is loaded");
    OptivoSim_ClearFaults();
}

void DemandLines(const Lines& found, const Lines& expected, const char* words) {
    for (std::size_t i = 0; i < std::min(found.size(), expected.size()); ++i) {
        DemandEqual(found[i], expected[i], words);
    }
    DemandEqual(found.size(), expected.size(), words);
}

void CheckWorld(const std::string& text, const SWorldPlan& plan) {
    const Lines expected = Expected(plan);
    Load(text);
    DemandLines(Found(plan), expected, "the world is what the text says");
    Load(text);
    DemandLines(Found(plan), expected, "the world is the same again");
}

void CheckAccepted(const std::string& text, const SWorldPlan& plan) {
    DemandEqual(Difference(plan, text, MOST_READ), "[]", "every member is read as what it is");
    if (NumCameras(plan) <= MOST_CAMERAS) {
        CheckWorld(text, plan);
        return;
    }
    const SWorldPlan first = FirstOf(plan, MOST_CAMERAS);
    CheckWorld(TextOf(first), first);
}

void CheckRefused(const std::string& text, const STextError& error) {
    SWorldPlan base;
    STextError none;
    Demand(ParseWorld(BASE, base, none), "the first world is sound");
    Load(BASE);
    const Lines before = Found(base);
    DemandLines(before, Expected(base), "the first world is there");
    std::array<char, 40> message{};
    message.fill('#');
    const std::size_t capacity = text.size() % 32;
    Demand(OptivoSim_LoadWorld(text.c_str(), message.data(), capacity) == 0, "no world is refused");
    if (capacity != 0) {
        const std::string whole =
            std::to_string(error.line) + ":" + std::to_string(error.column) + ": " + error.reason;
        DemandEqual(message.data(), whole.substr(0, capacity - 1), "the message tells the place");
    }
    Demand(std::all_of(message.begin() + static_cast<std::ptrdiff_t>(capacity), message.end(),
                       [](char c) { return c == '#'; }),
           "the message stays within its capacity");
    DemandLines(Found(base), before, "a refused text changes nothing");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    BeginWithSmallWorld();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > MOST_BYTES) {
        return 0;
    }
    OptivoSim_Reset(); // else closed objects are kept
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    if (bytes.find('\0') != std::string::npos) {
        SWorldPlan whole;
        STextError error;
        if (!ParseWorld(bytes, whole, error)) {
            CheckUnread(bytes, whole, error);
        }
    }
    const std::string text = bytes.substr(0, bytes.find('\0'));
    SWorldPlan plan;
    STextError error;
    if (ParseWorld(text, plan, error)) {
        CheckAccepted(text, plan);
    } else {
        CheckUnread(text, plan, error);
        CheckRefused(text, error);
    }
    return 0;
}
