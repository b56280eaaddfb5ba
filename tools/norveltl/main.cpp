#include "commands/Check.h"
#include "commands/Complete.h"
#include "commands/Events.h"
#include "commands/FeatureCommands.h"
#include "commands/Grab.h"
#include "commands/Info.h"
#include "commands/List.h"
#include "commands/Measure.h"
#include "commands/Registers.h"
#include "commands/Run.h"
#include "commands/View.h"
#include "terminal/Console.h"
#include "terminal/Names.h"

#include "genapi/Text.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>

namespace norveltl {

namespace {

// CLI11's own check says what it refuses in hundreds of digits.
std::string CheckAboveZero(const std::string& text) {
    double value = 0;
    const bool isNumber = CLI::detail::lexical_cast(text, value) && std::isfinite(value);
    return isNumber && value > 0 ? "" : text + " is no number above 0";
}

std::string CheckCount(const std::string& text) {
    const auto count = GenApi::ParseUnsigned(text, 10);
    return count.value_or(0) > 0 ? ""
                                 : text + " is no whole number from 1 to " +
                                       std::to_string(std::numeric_limits<uint64_t>::max());
}

std::string CheckNotEmpty(const std::string& text) {
    return text.empty() ? "an empty text names nothing" : "";
}

// What is not known, as a command or an option, and what may have been meant.
std::string Unknown(const CLI::App& app, const CLI::App* command) {
    const std::vector<std::string> remaining = app.remaining(true);
    const std::string word = remaining.empty() ? "" : remaining.front();
    std::vector<std::string> known;
    if (word.starts_with("--")) {
        for (const CLI::App* owner : {&app, command}) {
            for (const CLI::Option* option :
                 owner ? owner->get_options() : std::vector<const CLI::Option*>()) {
                for (const std::string& name : option->get_lnames()) {
                    known.push_back("--" + name);
                }
            }
        }
        return "there is no option " + word + DidYouMean(word, known);
    }
    if (word.empty() || command) {
        return "";
    }
    for (const CLI::App* other : app.get_subcommands({})) {
        known.push_back(other->get_name());
    }
    return "there is no command " + word + DidYouMean(word, known);
}

// Like every other error.
std::string UsageError(const CLI::App* app, const CLI::Error& error) {
    const std::vector<const CLI::App*> commands = app->get_subcommands({});
    const auto command = std::find_if(commands.begin(), commands.end(),
                                      [](const CLI::App* one) { return one->parsed(); });
    const CLI::App* const given = command == commands.end() ? nullptr : *command;
    const std::string help = "norveltl" + (given ? " " + given->get_name() : "");
    std::string text = dynamic_cast<const CLI::ExtrasError*>(&error) ? Unknown(*app, given) : "";
    if (text.empty()) {
        text = error.what();
    }
    return "norveltl: " + text + "\n  \"" + help + " --help\" tells what there is.\n";
}

// What the user asked for; the command that was named fills run.
struct SCommandLine {
    std::string cti;
    bool json = false;
    SInfoOptions info;
    SXmlOptions xml;
    SRegisterOptions registers;
    SFeatureOptions features;
    SGrabOptions grab;
    SRunOptions steps;
    SMeasureOptions measure;
    SEventOptions events;
    SCheckOptions check;
    SViewOptions view;
    std::function<EExitCode()> run;
};

constexpr const char* kDeviceHelp =
    "The camera: its ID, serial number or user name, or a part of its ID or name that no other "
    "has; not needed for the only camera";

template <class C>
CLI::App* AddCommand(CLI::App& app, SCommandLine& line, const char* name, const char* help,
                     C command) {
    CLI::App* added = app.add_subcommand(name, help);
    added->callback([&line, command] { line.run = [&line, command] { return command(line); }; });
    return added;
}

void AddJson(CLI::App* command, bool& json) {
    command->add_flag("--json", json, "Print JSON");
}

void AddForce(CLI::App* command, bool& force) {
    command->add_flag("--force", force, "Replace files that exist already");
}

// Either the first word or the option names the camera.
// One name, or a list of them.
template <class D>
void AddDevice(CLI::App* command, D& device) {
    command->add_option("-d,--device,device", device, kDeviceHelp)->type_name("DEVICE");
}

void AddTarget(CLI::App* command, std::string& target, std::string& device) {
    command
        ->add_option("target", target,
                     "A camera, as for --device, or system, interface:ID, device:DEVICE, "
                     "port:DEVICE (the camera's own registers) or stream:DEVICE; what follows the "
                     "colon is not needed for the only one")
        ->type_name("TARGET");
    command->add_option("-d,--device", device, kDeviceHelp)->type_name("DEVICE");
}

void AddSettings(CLI::App* command, std::vector<std::string>& settings) {
    command->add_option("--set", settings, "Write features before; may be repeated")
        ->allow_extra_args(false)
        ->type_name("NAME=VALUE");
}

// "--set A=1 B=2" means "--set A=1 --set B=2", whatever else follows.
std::vector<std::string> WithRepeatedSet(const std::vector<std::string>& arguments) {
    std::vector<std::string> repeated;
    bool isSetting = false;
    for (const std::string& argument : arguments) {
        const bool isName = !argument.starts_with("-") && argument.find('=') != std::string::npos;
        if (isSetting && isName && repeated.back() != "--set") {
            repeated.emplace_back("--set");
        }
        isSetting = argument == "--set" || argument.starts_with("--set=") || (isSetting && isName);
        repeated.push_back(argument);
    }
    return repeated;
}

void AddModuleCommands(CLI::App& app, SCommandLine& line) {
    CLI::App* list = AddCommand(app, line, "list", "Show producers, interfaces and cameras",
                                [](auto& l) { return List(l.cti, l.json); });
    AddJson(list, line.json);

    CLI::App* info = AddCommand(app, line, "info", "Show every info answer of modules",
                                [](auto& l) { return Info(l.cti, l.info); });
    AddTarget(info, line.info.target, line.info.device);
    AddJson(info, line.info.json);

    CLI::App* xml = AddCommand(app, line, "xml", "Show the description of a module or camera",
                               [](auto& l) { return ShowXml(l.cti, l.xml); });
    AddTarget(xml, line.xml.target, line.xml.device);
    xml->add_option("-o,--output", line.xml.file, "Write it into this file")
        ->check(CheckNotEmpty)
        ->type_name("FILE");
    AddForce(xml, line.xml.force);
}

void AddTypes(CLI::App* command, std::string& type) {
    constexpr std::pair<const char*, const char*> kTypes[] = {
        {"u32", "Values are unsigned numbers of 32 bits"},
        {"i32", "Values are signed numbers of 32 bits"},
        {"u64", "Values are unsigned numbers of 64 bits"},
        {"i64", "Values are signed numbers of 64 bits"},
        {"f32", "Values are floating-point numbers of 32 bits"},
        {"f64", "Values are floating-point numbers of 64 bits"},
        {"string", "Values are texts, up to a zero"},
    };
    for (const auto& [name, help] : kTypes) {
        command->add_flag_callback(
            std::string("--") + name,
            [&type, name = name] {
                if (!type.empty()) {
                    throw CLI::ValidationError("--" + type + " and --" + name,
                                               "values have one type only");
                }
                type = name;
            },
            help);
    }
}

void AddRegisterCommands(CLI::App& app, SCommandLine& line) {
    CLI::App* read = AddCommand(app, line, "read", "Read registers, as a dump or by type",
                                [](auto& l) { return ReadRegisters(l.cti, l.registers); });
    CLI::App* write =
        AddCommand(app, line, "write", "Write registers, bytes in hexadecimal or by type",
                   [](auto& l) { return WriteRegisters(l.cti, l.registers); });
    for (CLI::App* command : {read, write}) {
        AddTarget(command, line.registers.target, line.registers.device);
        command->get_option("target")->required();
        AddTypes(command, line.registers.type);
    }
    AddJson(read, line.registers.json);
    read->add_option("places", line.registers.places, "Where to read, and how many bytes")
        ->type_name("ADDRESS[:LENGTH]");
    write->add_option("places", line.registers.places, "What to write where")
        ->type_name("ADDRESS=VALUE");
}

void AddFeatureCommands(CLI::App& app, SCommandLine& line) {
    CLI::App* list = AddCommand(app, line, "features", "Show the features of a camera",
                                [](auto& l) { return ListFeatures(l.cti, l.features); });
    CLI::App* get = AddCommand(app, line, "get", "Read features of a camera",
                               [](auto& l) { return GetFeatures(l.cti, l.features); });
    CLI::App* set = AddCommand(app, line, "set", "Write features of a camera, in their order",
                               [](auto& l) { return SetFeatures(l.cti, l.features); });
    CLI::App* execute = AddCommand(app, line, "exec", "Execute commands of a camera",
                                   [](auto& l) { return ExecuteCommands(l.cti, l.features); });
    for (CLI::App* command : {list, get, set, execute}) {
        command->add_option("-d,--device", line.features.device, kDeviceHelp)->type_name("DEVICE");
        command
            ->add_option("names", line.features.names,
                         command == set ? "The camera, and features with their values"
                                        : "The camera, and names of features")
            ->type_name(command == set ? "[DEVICE] NAME=VALUE" : "[DEVICE] NAME")
            ->required(command != list);
    }
    AddJson(list, line.features.json);
    AddJson(get, line.features.json);
    CLI::Option* const save =
        list->add_option("--save", line.features.save, "Write the settings into this file")
            ->check(CheckNotEmpty)
            ->type_name("FILE");
    list->add_option("--load", line.features.load, "Set the camera by this file")
        ->check(CheckNotEmpty)
        ->excludes(save)
        ->type_name("FILE");
    AddForce(list, line.features.force);
}

void AddRun(CLI::App& app, SCommandLine& line) {
    SRunOptions& options = line.steps;
    CLI::App* run = AddCommand(app, line, "run", "Do several steps while the camera stays open",
                               [](auto& l) { return Run(l.cti, l.steps); });
    run->add_option("-d,--device", options.device, kDeviceHelp)->type_name("DEVICE");
    run->add_option("words", options.words,
                    "The camera, and steps: set NAME=VALUE..., get NAME..., exec NAME..., wait "
                    "SECONDS")
        ->type_name("[DEVICE] STEP");
    run->add_option("-f,--file", options.file, "Do the steps in the lines of this file too")
        ->check(CheckNotEmpty)
        ->type_name("FILE");
}

void AddGrab(CLI::App& app, SCommandLine& line) {
    SGrabOptions& options = line.grab;
    CLI::App* grab = AddCommand(app, line, "grab", "Take images from a camera, or from several",
                                [](auto& l) { return Grab(l.cti, l.grab); });
    AddDevice(grab, options.devices);
    grab->add_flag("--first", options.first, "Take the first of several cameras");
    grab->add_option("-n,--count", options.count, "How many images to take; 100 without -t")
        ->check(CheckCount)
        ->type_name("COUNT");
    grab->add_option("-t,--time", options.seconds, "How long to take images")
        ->check(CheckAboveZero)
        ->type_name("SECONDS");
    grab->add_option("-o,--output", options.folder,
                     "Write the images as files into this folder; or with - to the standard output")
        ->check(CheckNotEmpty)
        ->type_name("FOLDER");
    grab->add_option("-f,--format", options.format,
                     "What files: png, unless it is pgm (ppm if coloured), tiff or raw; to the "
                     "standard output Y4M, unless it is raw")
        ->check(CLI::IsMember({"png", "pgm", "tiff", "raw"}));
    CLI::Option* record = grab->add_option("--record", options.record, "Record a video as AVI")
                              ->check(CheckNotEmpty)
                              ->type_name("FILE");
    grab->add_option("--codec", options.codec, "How the video is compressed: jpeg or none")
        ->check(CLI::IsMember({"jpeg", "none"}))
        ->needs(record)
        ->capture_default_str();
    grab->add_option("--buffers", options.numBuffers, "How many buffers to use")
        ->check(CLI::Range(1, 10000))
        ->type_name("N")
        ->capture_default_str();
    grab->add_option("--queue", options.queueMegabytes,
                     "How many megabytes may wait to be written before images are left out")
        ->check(CLI::Range(1, 1'000'000))
        ->type_name("MB")
        ->capture_default_str();
    AddSettings(grab, options.settings);
    CLI::Option* trigger = grab->add_option_function<std::string>(
        "--trigger", [&options](const std::string&) { options.triggers = true; },
        "Trigger each image: by software, which is the camera's command");
    trigger->check(CLI::IsMember({"software"}))->type_name("SOURCE");
    grab->add_option("--every", options.everySeconds, "The time from one trigger to the next")
        ->check(CheckAboveZero)
        ->check(CLI::Range(0.0, 86400.0))
        ->needs(trigger)
        ->type_name("SECONDS")
        ->capture_default_str();
    grab->add_option("--timeout", options.timeoutSeconds,
                     "Give up after this time without an image")
        ->check(CheckAboveZero)
        ->type_name("SECONDS")
        ->capture_default_str();
    grab->add_flag("--stats", options.stats, "Show how regularly the images came");
    grab->add_option("--plot", options.plot, "Draw the intervals into this PNG file")
        ->check(CheckNotEmpty)
        ->type_name("FILE");
    AddForce(grab, options.force);
    AddJson(grab, options.json);
}

void AddMeasure(CLI::App& app, SCommandLine& line) {
    SMeasureOptions& options = line.measure;
    CLI::App* measure =
        AddCommand(app, line, "measure", "Measure exposure, focus and noise in a camera's picture",
                   [](auto& l) { return MeasureCamera(l.cti, l.measure); });
    AddDevice(measure, options.device);
    AddSettings(measure, options.settings);
    measure
        ->add_option("--timeout", options.timeoutSeconds,
                     "Give up after this time without an image")
        ->check(CheckAboveZero)
        ->type_name("SECONDS")
        ->capture_default_str();
    measure->add_option("--plot", options.plot, "Draw the histogram into this PNG file")
        ->check(CheckNotEmpty)
        ->type_name("FILE");
    AddForce(measure, options.force);
    AddJson(measure, options.json);
}

void AddEvents(CLI::App& app, SCommandLine& line) {
    SEventOptions& options = line.events;
    CLI::App* events = AddCommand(app, line, "events", "Show events as they come",
                                  [](auto& l) { return Events(l.cti, l.events); });
    AddDevice(events, options.device);
    events->add_option("-t,--time", options.seconds, "How long to wait for events")
        ->check(CheckAboveZero)
        ->type_name("SECONDS");
    AddSettings(events, options.settings);
    events->add_flag("--acquire", options.acquire, "Take images meanwhile, and drop them");
    AddJson(events, options.json);
}

void AddCheck(CLI::App& app, SCommandLine& line) {
    CLI::App* check = AddCommand(
        app, line, "check", "Use every camera as consumers do, and judge the producer's answers",
        [](auto& l) { return Check(l.cti, l.check); });
    check->add_flag("--all", line.check.all, "Show what passed too");
    AddJson(check, line.check.json);
    check
        ->add_option("--junit", line.check.junit,
                     "Write the findings into this file too, as JUnit XML")
        ->check(CheckNotEmpty)
        ->type_name("FILE");
}

void AddView(CLI::App& app, SCommandLine& line) {
    CLI::App* view = AddCommand(app, line, "view", "Show cameras live in a browser",
                                [](auto& l) { return View(l.cti, l.view); });
    AddDevice(view, line.view.names);
    view->add_option("--port", line.view.port, "Where to listen; any port that is free without it")
        ->check(CLI::Range(1, 65535))
        ->type_name("PORT");
    view->add_option("--keep", line.view.keep,
                     "The folder for snapshots and recordings that the page asks for")
        ->check(CheckNotEmpty)
        ->type_name("FOLDER")
        ->capture_default_str();
    CLI::Option* password =
        view->add_option("--password", line.view.password,
                         "Ask whoever opens the page for the password in this file's first line; - "
                         "asks for it here")
            ->check(CheckNotEmpty)
            ->type_name("FILE");
    view->add_option("--listen", line.view.listen,
                     "The address to listen on, for other machines; this one only without it")
        ->check(CheckNotEmpty)
        ->needs(password)
        ->type_name("ADDRESS");
    view->add_flag("--no-browser", line.view.noBrowser, "Print the address only");
}

void Declare(CLI::App& app, SCommandLine& line) {
    app.set_version_flag("--version", "norveltl " NORVELTL_VERSION);
    // That there is one is seen to later, so that a misspelt command is named.
    app.require_subcommand(0, 1);
    app.fallthrough();
    app.ignore_case();
    app.failure_message(UsageError);
    app.add_option("--cti", line.cti,
                   "The producer module; else the one beside this program, else those in "
                   "GENICAM_GENTL64_PATH")
        ->check(CheckNotEmpty)
        ->type_name("PATH");
    AddModuleCommands(app, line);
    AddRegisterCommands(app, line);
    AddFeatureCommands(app, line);
    AddRun(app, line);
    AddGrab(app, line);
    AddMeasure(app, line);
    AddEvents(app, line);
    AddCheck(app, line);
    AddView(app, line);
    app.footer("Exit codes: 0 done, 1 failed, 2 wrong usage, 3 nothing found.");
}

int RunMain(int argc, char** argv) {
    const CConsole console;
    SCommandLine line;
    CLI::App app{"Works with cameras through any GenTL producer.", "norveltl"};
    Declare(app, line);
    try {
        std::vector<std::string> arguments = WithRepeatedSet(CConsole::Arguments(argc, argv));
        if (!arguments.empty() && arguments.front() == "--complete") {
            Complete(app, {arguments.begin() + 1, arguments.end()});
            return kDone;
        }
        std::reverse(arguments.begin(), arguments.end());
        app.parse(std::move(arguments));
        if (!line.run) {
            throw CLI::RequiredError("A command");
        }
    } catch (const CLI::ParseError& error) {
        const EExitCode code = app.exit(error) == 0 ? kDone : kWrongUsage;
        CheckOutput();
        return code == kDone && ErrorReported() ? kFailed : code;
    }
    try {
        const EExitCode code = line.run();
        CheckOutput();
        // Closing may have failed after the command was done.
        return code == kDone && ErrorReported() ? kFailed : code;
    } catch (const CToolError& error) {
        ReportError(error.what());
        return error.ExitCode();
    }
}

} // namespace

} // namespace norveltl

int main(int argc, char** argv) {
    try {
        return norveltl::RunMain(argc, argv);
    } catch (const std::exception& error) {
        norveltl::ReportError(error.what());
        return norveltl::kFailed;
    }
}
