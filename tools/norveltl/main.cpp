#include "Console.h"
#include "Grab.h"
#include "List.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace norveltl {

namespace {

// CLI11's own check says what it refuses in hundreds of digits.
std::string CheckAboveZero(const std::string& text) {
    double value = 0;
    return CLI::detail::lexical_cast(text, value) && value > 0 ? ""
                                                               : text + " is no number above 0";
}

struct SCommandLine {
    std::string cti;
    SGrabOptions grab;
    const CLI::App* list = nullptr;
};

void AddGrab(CLI::App& app, SGrabOptions& options) {
    CLI::App* grab = app.add_subcommand("grab", "Take images from a camera");
    grab->add_option("device", options.device,
                     "The camera: its ID, serial number or user name, or a part of its ID or name "
                     "that no other has; not needed for the only camera")
        ->type_name("DEVICE");
    grab->add_flag("--first", options.first, "Take the first of several cameras");
    grab->add_option("-n,--count", options.count, "How many images to take")
        ->check(CheckAboveZero)
        ->type_name("COUNT")
        ->capture_default_str();
    grab->add_option("-o,--output", options.folder, "Write the images as files into this folder")
        ->type_name("FOLDER");
    grab->add_option("--buffers", options.numBuffers, "How many buffers to use")
        ->check(CLI::Range(1, 10000))
        ->type_name("N")
        ->capture_default_str();
    grab->add_option("-t,--timeout", options.timeoutSeconds,
                     "Give up after this time without an image")
        ->check(CheckAboveZero)
        ->type_name("SECONDS")
        ->capture_default_str();
}

void Declare(CLI::App& app, SCommandLine& line) {
    app.set_version_flag("--version", "norveltl " NORVELTL_VERSION);
    app.require_subcommand(1);
    app.fallthrough();
    app.add_option("--cti", line.cti,
                   "The producer module; else the one beside this program, else those in "
                   "GENICAM_GENTL64_PATH")
        ->type_name("PATH");
    line.list = app.add_subcommand("list", "Show producers, interfaces and cameras");
    AddGrab(app, line.grab);
    app.footer("Exit codes: 0 done, 1 failed, 2 wrong usage, 3 nothing found.");
}

int Run(int argc, char** argv) {
    const CConsole console;
    SCommandLine line;
    CLI::App app{"Works with cameras through any GenTL producer.", "norveltl"};
    Declare(app, line);
    try {
        std::vector<std::string> arguments = CConsole::Arguments(argc, argv);
        std::reverse(arguments.begin(), arguments.end());
        app.parse(std::move(arguments));
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kDone : kWrongUsage;
    }
    try {
        const EExitCode code = line.list->parsed() ? List(line.cti) : Grab(line.cti, line.grab);
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
        return norveltl::Run(argc, argv);
    } catch (const std::exception& error) {
        norveltl::ReportError(error.what());
        return norveltl::kFailed;
    }
}
