#include "commands/Grab.h"

#include "files/Plot.h"
#include "grabbing/GrabSession.h"
#include "producers/Discovery.h"
#include "terminal/Console.h"
#include "terminal/Json.h"
#include "terminal/Table.h"

#include <algorithm>
#include <iostream>

namespace norveltl {

namespace {

double PerSecond(const STotals& totals, double amount) {
    const double seconds = totals.duration.count();
    return seconds > 0 ? amount / seconds : 0;
}

void PrintTotals(std::ostream& out, const CCameraGrab& camera) {
    const CSubject subject(camera.Name());
    const CGrabLoop& loop = camera.Loop();
    const STotals& totals = loop.Totals();
    const SGrabOptions& options = camera.Options();
    const auto print = [&out](const char* label, const std::string& text) {
        out << label << std::string(12 - std::char_traits<char>::length(label), ' ') << text
            << "\n";
    };
    if (!camera.Name().empty()) {
        print("camera", camera.Name());
    }
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
    if (const CPipeSink* const pipe = loop.Pipe()) {
        print("streamed", std::to_string(pipe->NumImages()));
    }
    if (const CAviSink* const video = loop.Video()) {
        print("recorded",
              std::to_string(video->NumImages()) + " in " + Utf8FromPath(video->Path()));
    }
    if (const auto& writer = loop.Writer()) {
        print("left out", std::to_string(writer->NumLeftOut()));
    }
}

std::vector<double> SkewOf(const CGrabSession& session) {
    std::vector<const CStatistics*> statistics;
    for (const auto& camera : session.All()) {
        statistics.push_back(&*camera->Loop().Statistics());
    }
    return CStatistics::SkewOf(statistics);
}

class CSpreadTable {
public:
    void Add(const char* name, const std::vector<double>& sample) {
        if (const auto spread = SpreadOf(sample)) {
            m_table.Add({name, Fixed(spread->min, 3), Fixed(spread->median, 3),
                         Fixed(spread->percentile90, 3), Fixed(spread->percentile99, 3),
                         Fixed(spread->percentile999, 3), Fixed(spread->max, 3),
                         Fixed(spread->mean, 3)});
        }
    }
    void Print(std::ostream& out) const { m_table.Print(out); }

private:
    CTable m_table{{"milliseconds", "min", "median", "90 %", "99 %", "99.9 %", "max", "mean"}};
};

void PrintStatistics(std::ostream& out, const CStatistics& statistics) {
    CSpreadTable table;
    const std::vector<double> intervals = statistics.Intervals();
    table.Add("interval", intervals);
    table.Add("delay", statistics.Delays());
    table.Print(out);
    out << "intervals\n";
    PrintHistogram(out, intervals);
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

Json CameraJson(const CCameraGrab& camera) {
    const CGrabLoop& loop = camera.Loop();
    const STotals& totals = loop.Totals();
    Json json{{"device", camera.Choice().device->id},
              {"payloadSize", camera.PayloadSize()},
              {"buffers", camera.NumBuffers()},
              {"delivered", totals.numDelivered},
              {"incomplete", totals.numIncomplete},
              {"lost", totals.numLost ? Json(*totals.numLost) : Json()},
              {"bytes", totals.numBytes},
              {"seconds", totals.duration.count()},
              {"framesPerSecond", PerSecond(totals, static_cast<double>(totals.numDelivered))},
              {"interrupted", Interrupted()},
              {"failed", camera.HasFailed() || Interrupted()}};
    if (const CImageFolder* const folder = loop.Folder()) {
        json["files"] = {{"folder", Utf8FromPath(folder->Path())},
                         {"pictures", folder->NumPictures()},
                         {"raw", folder->NumRaw()},
                         {"repeated", folder->NumRepeated()},
                         {"leftOut", loop.Writer()->NumLeftOut()},
                         {"notes", folder->Notes()}};
    }
    if (const CAviSink* const video = loop.Video()) {
        json["video"] = {{"file", Utf8FromPath(video->Path())},
                         {"images", video->NumImages()},
                         {"leftOut", loop.Writer()->NumLeftOut()}};
    }
    if (const auto& statistics = loop.Statistics(); statistics && camera.Options().stats) {
        json["milliseconds"] = {{"interval", SpreadJson(statistics->Intervals())},
                                {"delay", SpreadJson(statistics->Delays())}};
    }
    return json;
}

// One camera's figures stand alone, those of several in a list.
Json SessionJson(const CGrabSession& session, bool isSingle) {
    if (isSingle) {
        Json json = CameraJson(*session.All().front());
        json["failed"] = ErrorReported();
        return json;
    }
    Json cameras = Json::array();
    for (const auto& camera : session.All()) {
        cameras.push_back(CameraJson(*camera));
    }
    return {{"cameras", std::move(cameras)},
            {"failed", ErrorReported()},
            {"milliseconds", {{"skew", SpreadJson(SkewOf(session))}}}};
}

void PrintSession(std::ostream& out, const CGrabSession& session, bool isSingle) {
    for (const auto& camera : session.All()) {
        PrintTotals(out, *camera);
        if (camera->Options().stats) {
            PrintStatistics(out, *camera->Loop().Statistics());
        }
    }
    if (!isSingle) {
        CSpreadTable table;
        table.Add("skew", SkewOf(session));
        table.Print(out);
    }
}

std::vector<SChoice> ChooseAll(const SSystems& systems, const SGrabOptions& options) {
    if (options.devices.size() < 2) {
        return {ChooseDevice(systems, options.devices.empty() ? "" : options.devices.front(),
                             options.first)};
    }
    std::vector<SChoice> choices;
    for (const std::string& name : options.devices) {
        const SChoice choice = ChooseDevice(systems, name, false);
        for (size_t i = 0; i < choices.size(); ++i) {
            if (choices[i].device == choice.device) {
                throw CToolError("\"" + options.devices[i] + "\" and \"" + name +
                                     "\" are the same camera",
                                 kWrongUsage);
            }
        }
        choices.push_back(choice);
    }
    return choices;
}

// Cameras that cannot be opened do not keep the others from it.
CGrabSession::Cameras OpenAll(const std::vector<SChoice>& choices, const SGrabOptions& options) {
    const bool isSingle = choices.size() == 1;
    CGrabSession::Cameras cameras;
    for (const SChoice& choice : choices) {
        if (isSingle) {
            cameras.push_back(std::make_unique<CCameraGrab>(choice, options, ""));
            continue;
        }
        SGrabOptions own = options;
        if (!options.folder.empty()) {
            own.folder = Utf8FromPath(PathFromUtf8(options.folder) /
                                      PathFromUtf8(FileNameFrom(choice.device->id)));
        }
        const std::string name = Printable(choice.device->id);
        const CSubject subject(name);
        try {
            cameras.push_back(std::make_unique<CCameraGrab>(choice, own, name));
        } catch (const std::exception& error) {
            ReportError(error.what());
        }
    }
    return cameras;
}

void PrintCamera(std::ostream& out, const CCameraGrab& camera) {
    const SDevice& device = *camera.Choice().device;
    out << "camera      " << Printable(device.id) << ", "
        << Printable(device.model.value_or("model not reported")) << ", " << camera.NumBuffers()
        << " buffers of " << camera.PayloadSize() << " bytes" << std::endl;
    if (!camera.Camera().Reason().empty()) {
        const CSubject subject(camera.Name());
        Note("AcquisitionStart is not sent: " + camera.Camera().Reason());
    }
}

void WritePlot(const CGrabSession& session, const SGrabOptions& options) {
    try {
        PreparePng();
        const std::vector<double> intervals =
            session.All().front()->Loop().Statistics()->Intervals();
        const SPlot plot{"Intervals between images",
                         "number of the image",
                         "milliseconds since the image before",
                         2,
                         1 + static_cast<double>(intervals.size()),
                         {{intervals}},
                         false};
        WritePng(PathFromUtf8(options.plot), Draw(plot), ExistingOf(options));
    } catch (const std::exception& error) {
        ReportError(error.what());
    }
}

void CheckOptions(const SGrabOptions& options) {
    const auto refuse = [](const std::string& text) { throw CToolError(text, kWrongUsage); };
    if (options.devices.size() > 1 &&
        (!options.plot.empty() || !options.record.empty() || IsStreamed(options))) {
        refuse("--plot, --record and -o - are for one camera");
    }
    if (IsStreamed(options) && TerminalWidth()) {
        refuse("-o - is for a pipe or a file: the standard output is a terminal");
    }
    if (IsStreamed(options) && options.json) {
        refuse("-o - leaves no room for JSON on the standard output");
    }
    if (IsStreamed(options) && !options.format.empty() && options.format != "raw") {
        refuse("-o - writes Y4M, or with -f raw what the camera sends");
    }
    CheckPlace(PathFromUtf8(options.plot), ExistingOf(options));
    CheckPlace(PathFromUtf8(options.record), ExistingOf(options));
}

} // namespace

EExitCode Grab(const std::string& cti, const SGrabOptions& options) {
    CheckOptions(options);
    const SSystems systems = OpenSystems(cti);
    const std::vector<SChoice> choices = ChooseAll(systems, options);
    const bool isSingle = choices.size() == 1;
    CGrabSession session(OpenAll(choices, options));
    if (session.All().empty()) {
        return kFailed;
    }
    std::ostream& out = IsStreamed(options) ? std::cerr : std::cout;
    if (!options.json) {
        for (const std::string& error : systems.errors) {
            Note(error);
        }
        for (const auto& camera : session.All()) {
            PrintCamera(out, *camera);
        }
    }
    CatchInterrupt();
    session.Run(out, options.json);
    if (Interrupted()) {
        ReportError("interrupted");
    }
    if (!options.plot.empty()) {
        WritePlot(session, options);
    }
    if (options.json) {
        out << ToText(SessionJson(session, isSingle)) << "\n";
    } else {
        PrintSession(out, session, isSingle);
    }
    out << std::flush;
    return ErrorReported() ? kFailed : kDone;
}

} // namespace norveltl
