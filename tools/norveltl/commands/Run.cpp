#include "commands/Run.h"

#include "files/InputFile.h"
#include "producers/Discovery.h"
#include "producers/Features.h"
#include "terminal/Console.h"
#include "terminal/Names.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <functional>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <thread>
#include <utility>

namespace norveltl {

namespace {

using Clock = std::chrono::steady_clock;

struct SStep {
    std::string text;  // as it was written
    std::string place; // in the file, for errors; empty on the command line
    std::function<void(const CFeatures&)> work;
};

const std::vector<std::string> kVerbs{"set", "get", "exec", "wait"};

// Until the time is over, or the user interrupts.
void Wait(double seconds) {
    constexpr std::chrono::milliseconds kSlice{50};
    const auto end = Clock::now() + std::chrono::duration<double>(seconds);
    while (Clock::now() < end && !Interrupted()) {
        std::this_thread::sleep_for(
            std::min<std::chrono::duration<double>>(kSlice, end - Clock::now()));
    }
    if (Interrupted()) {
        throw CToolError("interrupted");
    }
}

double Seconds(const std::string& text) {
    double seconds = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), seconds);
    constexpr double kMost = 1e9;
    if (result.ec != std::errc() || result.ptr != text.data() + text.size() ||
        !(seconds >= 0 && seconds <= kMost)) {
        throw CToolError("\"" + Printable(text) + "\" is no time in seconds", kWrongUsage);
    }
    return seconds;
}

std::function<void(const CFeatures&)> WorkOf(const std::string& verb, const std::string& word) {
    if (verb == "set") {
        return [assignment = ParseAssignment(word)](const CFeatures& features) {
            features.Set(assignment.first, assignment.second);
        };
    }
    if (verb == "get") {
        return [word](const CFeatures& features) {
            std::cout << features.NameOf(word) << "=" << Printable(features.Get(word)) << std::endl;
        };
    }
    if (verb == "exec") {
        return [word](const CFeatures& features) { features.Execute(word); };
    }
    return [seconds = Seconds(word)](const CFeatures&) { Wait(seconds); };
}

// A verb is for all words up to the next one.
void AddSteps(std::vector<SStep>& steps, const std::vector<std::string>& words,
              const std::string& place) {
    std::string verb;
    bool isIdle = false;
    for (const std::string& word : words) {
        const auto known = FindName(word, kVerbs);
        if (known) {
            if (isIdle) {
                break;
            }
            verb = kVerbs[*known];
            isIdle = true;
        } else if (verb.empty()) {
            throw CToolError("\"" + Printable(word) +
                                 "\" is no step: there are set, get, exec and wait" +
                                 DidYouMean(word, kVerbs),
                             kWrongUsage);
        } else {
            steps.push_back(
                {std::string(verb).append(" ").append(word), place, WorkOf(verb, word)});
            isIdle = false;
        }
    }
    if (isIdle) {
        throw CToolError("\"" + verb + "\" is about nothing", kWrongUsage);
    }
}

// A line holds words, in quotes where they have blanks; what begins with # is a comment.
void AddLines(std::vector<SStep>& steps, const std::string& file) {
    std::istringstream text(ReadFile(PathFromUtf8(file)));
    std::string line;
    for (size_t number = 1; std::getline(text, line); ++number) {
        const std::string place = file + ":" + std::to_string(number) + ": ";
        std::istringstream stream(line);
        std::vector<std::string> words;
        for (std::string word; stream >> std::quoted(word);) {
            words.push_back(word);
        }
        if (words.empty() || words.front().starts_with('#')) {
            continue;
        }
        try {
            AddSteps(steps, words, place);
        } catch (const CToolError& error) {
            throw CToolError(place + error.what(), error.ExitCode());
        }
    }
}

} // namespace

EExitCode Run(const std::string& cti, const SRunOptions& options) {
    std::vector<std::string> words = options.words;
    std::string device = options.device;
    if (device.empty() && !words.empty() && !FindName(words.front(), kVerbs)) {
        device = words.front();
        words.erase(words.begin());
    }
    std::vector<SStep> steps;
    AddSteps(steps, words, "");
    if (!options.file.empty()) {
        AddLines(steps, options.file);
    }
    if (steps.empty()) {
        throw CToolError("there is no step", kWrongUsage);
    }
    const SSystems systems = OpenSystems(cti);
    const SChoice choice = ChooseDevice(systems, device, false);
    const CProducer& producer = choice.system->Producer();
    const CHandle handle = OpenDevice(choice);
    const CFeatures features(producer, RemotePort(producer, handle.Get()));
    CatchInterrupt();
    for (const SStep& step : steps) {
        try {
            step.work(features);
        } catch (const std::runtime_error& error) {
            throw CToolError(step.place + "\"" + Printable(step.text) + "\": " + error.what());
        }
    }
    return kDone;
}

} // namespace norveltl
