#include "commands/Complete.h"

#include "producers/Discovery.h"
#include "producers/Modules.h"
#include "terminal/Console.h"
#include "terminal/Names.h"

#include <algorithm>
#include <iostream>

namespace norveltl {

namespace {

struct SCandidate {
    std::string word;
    std::string help;
};
using Candidates = std::vector<SCandidate>;

const CLI::App* CommandNamed(const CLI::App& app, const std::string& word) {
    for (const CLI::App* command : app.get_subcommands({})) {
        if (EqualsIgnoringCase(command->get_name(), word)) {
            return command;
        }
    }
    return nullptr;
}

const CLI::Option* OptionNamed(const CLI::App& app, const CLI::App* command,
                               const std::string& word) {
    for (const CLI::App* owner : {command, &app}) {
        const CLI::Option* const option = owner ? owner->get_option_no_throw(word) : nullptr;
        if (option && word.starts_with("-")) {
            return option;
        }
    }
    return nullptr;
}

// What was typed so far.
struct SLine {
    const CLI::App* command = nullptr;
    const CLI::Option* open = nullptr; // waits for its value
    size_t numPositionals = 0;
    std::string cti;
    bool hasDevice = false;
};

SLine Read(const CLI::App& app, const std::vector<std::string>& words) {
    SLine line;
    for (const std::string& word : words) {
        if (line.open) {
            if (line.open->check_lname("cti")) {
                line.cti = word;
            }
            line.hasDevice |= line.open->check_lname("device");
            line.open = nullptr;
        } else if (word.starts_with("-")) {
            const CLI::Option* const option = OptionNamed(app, line.command, word);
            line.open = option && option->get_expected_min() > 0 ? option : nullptr;
        } else if (!line.command) {
            line.command = CommandNamed(app, word);
        } else {
            ++line.numPositionals;
        }
    }
    return line;
}

void AddOptions(Candidates& candidates, const CLI::App& owner) {
    const auto add = [&](const std::string& name, const CLI::Option& option) {
        // Every command has a --help, and the program itself.
        if (std::ranges::none_of(candidates,
                                 [&](const auto& known) { return known.word == name; })) {
            candidates.push_back({name, option.get_description()});
        }
    };
    for (const CLI::Option* option : owner.get_options()) {
        for (const std::string& name : option->get_snames()) {
            add("-" + name, *option);
        }
        for (const std::string& name : option->get_lnames()) {
            add("--" + name, *option);
        }
    }
}

void AddCameras(Candidates& candidates, const std::string& cti) {
    const SSystems systems = OpenSystems(cti);
    for (const SChoice& choice : AllDevices(systems)) {
        const SDevice& device = *choice.device;
        candidates.push_back({device.id, device.userName.value_or("")});
        if (device.userName && !device.userName->empty()) {
            candidates.push_back({*device.userName, device.id});
        }
    }
}

// "TEXT:{png,pgm}" names its choices.
void AddChoices(Candidates& candidates, const std::string& type) {
    const size_t begin = type.find('{');
    const size_t end = type.find('}');
    if (begin == std::string::npos || end == std::string::npos) {
        return;
    }
    for (const std::string& word :
         CLI::detail::split(type.substr(begin + 1, end - begin - 1), ',')) {
        candidates.push_back({word, ""});
    }
}

void AddPositional(Candidates& candidates, const SLine& line) {
    for (const CLI::Option* option : line.command->get_options()) {
        const std::string type = option->get_positional() ? option->get_type_name() : "";
        const bool isFirst = line.numPositionals == 0 && !line.hasDevice;
        if (type.find("STEP") != std::string::npos) {
            for (const char* verb : {"set", "get", "exec", "wait"}) {
                candidates.push_back({verb, ""});
            }
        }
        if (isFirst && type == "TARGET") {
            for (const char* name : {"system", "interface", "device", "port", "stream"}) {
                candidates.push_back({name, ""});
            }
        }
        if (isFirst && (type == "TARGET" || type.find("DEVICE") != std::string::npos)) {
            AddCameras(candidates, line.cti);
        }
    }
}

Candidates All(const CLI::App& app, const SLine& line, const std::string& word) {
    Candidates candidates;
    if (line.open) {
        AddChoices(candidates, line.open->get_type_name());
        if (line.open->check_lname("device")) {
            AddCameras(candidates, line.cti);
        }
    } else if (word.starts_with("-")) {
        if (line.command) {
            AddOptions(candidates, *line.command);
        }
        AddOptions(candidates, app);
    } else if (line.command) {
        AddPositional(candidates, line);
    } else {
        for (const CLI::App* command : app.get_subcommands({})) {
            candidates.push_back({command->get_name(), command->get_description()});
        }
    }
    return candidates;
}

} // namespace

void Complete(const CLI::App& app, const std::vector<std::string>& words) {
    const std::string word = words.empty() ? "" : words.front().substr(1);
    const std::vector<std::string> before(words.begin() + (words.empty() ? 0 : 1), words.end());
    try {
        const Candidates all = All(app, Read(app, before), word);
        for (const SCandidate& candidate : all) {
            if (Lower(candidate.word).starts_with(Lower(word))) {
                std::cout << Printable(candidate.word) << "\t" << Printable(candidate.help) << "\n";
            }
        }
    } catch (const std::runtime_error&) {
        // There is nobody to tell it in the middle of a word.
    }
}

} // namespace norveltl
