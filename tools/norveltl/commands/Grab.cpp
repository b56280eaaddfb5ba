#include "commands/Grab.h"

#include "files/Plot.h"
#include "grabbing/CameraGrab.h"
#include "producers/Discovery.h"
#include "terminal/Console.h"
#include "terminal/Json.h"
#include "terminal/Table.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iostream>

namespace norveltl {

namespace {

std::string Fixed(double value, int digits) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%.*f", digits, value);
    return text.data();
}

double PerSecond(const STotals& totals, double amount) {
    const double seconds = totals.duration.count();
    return seconds > 0 ? amount / seconds : 0;
}

void PrintTotals(const STotals& totals, const SGrabOptions& options, const CGrabLoop& loop) {
    const auto print = [](const char* label, const std::string& text) {
        std::cout << label << std::string(12 - std::char_traits<char>::length(label), ' ') << text
                  << "\n";
    };
    const bool isCounted = options.count || !options.seconds;
    print("delivered", std::to_string(totals.numDelivered) +
                           (isCounted ? " of " + std::to_string(options.count.value_or(100)) : ""));
    print("incomplete", std::to_string(totals.numIncomplete));
    print("lost", totals.numLost ? std::to_string(*totals.numLost) : "not reported");
    print("time", Fixed(totals.duration.count(), 2) + " s");
    print("rate",
          Fixed(PerSecond(totals, static_cast<double>(totals.numDelivered)), 2) + " frames/s, " +
              Fixed(PerSecond(totals, static_cast<double>(totals.numBytes) / 1e6), 2) + " MB/s");
    if (const CImageFolder* const folder = loop.Folder()) {
        print("files", std::to_string(folder->NumPictures()) + " " +
                           (options.format == "pgm"    ? "PGM"
                            : options.format == "tiff" ? "TIFF"
                                                       : "PNG") +
                           ", " + std::to_string(folder->NumRaw()) + " raw in " +
                           Utf8FromPath(folder->Path()));
        print("repeated", std::to_string(folder->NumRepeated()));
        for (const std::string& note : folder->Notes()) {
            Note(note);
        }
    }
    if (const auto& writer = loop.Writer()) {
        print("left out", std::to_string(writer->NumLeftOut()));
    }
}

void PrintStatistics(const CStatistics& statistics) {
    CTable table({"milliseconds", "min", "median", "90 %", "99 %", "99.9 %", "max", "mean"});
    const auto add = [&table](const char* name, const std::vector<double>& sample) {
        if (const auto spread = SpreadOf(sample)) {
            table.Add({name, Fixed(spread->min, 3), Fixed(spread->median, 3),
                       Fixed(spread->percentile90, 3), Fixed(spread->percentile99, 3),
                       Fixed(spread->percentile999, 3), Fixed(spread->max, 3),
                       Fixed(spread->mean, 3)});
        }
    };
    const std::vector<double> intervals = statistics.Intervals();
    add("interval", intervals);
    add("delay", statistics.Delays());
    table.Print(std::cout);
    std::cout << "intervals\n";
    PrintHistogram(std::cout, intervals);
}

Json SpreadJson(const std::vector<double>& sample) {
    const auto spread = SpreadOf(sample);
    if (!spread) {
        return nullptr;
    }
    return {{"min", spread->min},
            {"median", spread->median},
            {"p90", spread->percentile90},
            {"p99", spread->percentile99},
            {"p999", spread->percentile999},
            {"max", spread->max},
            {"mean", spread->mean}};
}

void PrintJson(const CCameraGrab& grab) {
    const CGrabLoop& loop = grab.Loop();
    const STotals& totals = loop.Totals();
    Json json{{"device", grab.Choice().device->id},
              {"payloadSize", grab.PayloadSize()},
              {"buffers", grab.NumBuffers()},
              {"delivered", totals.numDelivered},
              {"incomplete", totals.numIncomplete},
              {"lost", totals.numLost ? Json(*totals.numLost) : Json()},
              {"bytes", totals.numBytes},
              {"seconds", totals.duration.count()},
              {"framesPerSecond", PerSecond(totals, static_cast<double>(totals.numDelivered))},
              {"interrupted", Interrupted()},
              {"failed", ErrorReported()}};
    if (const CImageFolder* const folder = loop.Folder()) {
        json["files"] = {{"folder", Utf8FromPath(folder->Path())},
                         {"pictures", folder->NumPictures()},
                         {"raw", folder->NumRaw()},
                         {"repeated", folder->NumRepeated()},
                         {"leftOut", loop.Writer()->NumLeftOut()},
                         {"notes", folder->Notes()}};
    }
    if (const auto& statistics = loop.Statistics()) {
        json["milliseconds"] = {{"interval", SpreadJson(statistics->Intervals())},
                                {"delay", SpreadJson(statistics->Delays())}};
    }
    std::cout << ToText(json) << "\n";
}

// Errors on the way are reported at once, so that the totals still follow.
template <class W>
void Attempt(W work) {
    try {
        work();
    } catch (const std::exception& error) {
        ReportError(error.what());
    }
}

} // namespace

EExitCode Grab(const std::string& cti, const SGrabOptions& options) {
    CheckPlace(PathFromUtf8(options.plot), ExistingOf(options));
    const SSystems systems = OpenSystems(cti);
    const SChoice choice = ChooseDevice(systems, options.device, options.first);
    CCameraGrab grab(choice, options);
    if (!options.json) {
        for (const std::string& error : systems.errors) {
            Note(error);
        }
        std::cout << "camera      " << Printable(choice.device->id) << ", "
                  << Printable(choice.device->model.value_or("model not reported")) << ", "
                  << grab.NumBuffers() << " buffers of " << grab.PayloadSize() << " bytes"
                  << std::endl;
        if (!grab.Camera().Reason().empty()) {
            Note("AcquisitionStart is not sent: " + grab.Camera().Reason());
        }
    }
    CatchInterrupt();
    grab.Run();
    const CGrabLoop& loop = grab.Loop();
    if (Interrupted()) {
        ReportError("interrupted");
    }
    if (!options.plot.empty()) {
        Attempt([&] {
            PreparePng();
            WritePng(PathFromUtf8(options.plot), PlotOf(loop.Statistics()->Intervals()),
                     ExistingOf(options));
        });
    }
    if (options.json) {
        PrintJson(grab);
    } else {
        PrintTotals(loop.Totals(), options, loop);
        if (options.stats) {
            PrintStatistics(*loop.Statistics());
        }
    }
    std::cout << std::flush;
    return ErrorReported() ? kFailed : kDone;
}

} // namespace norveltl
