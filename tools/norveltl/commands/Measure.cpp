#include "commands/Measure.h"

#include "files/Figures.h"
#include "grabbing/CameraGrab.h"
#include "terminal/Console.h"
#include "terminal/Json.h"
#include "terminal/Table.h"

#include <algorithm>
#include <iostream>

namespace norveltl {

namespace {

class CKeptImages : public IImageSink {
public:
    std::function<void()> Write(const SImage& image) override {
        return [this, image] { m_images.push_back(image); };
    }
    void Finish() override {}

    const std::vector<SImage>& Images() const { return m_images; }

private:
    std::vector<SImage> m_images;
};

SSamples SamplesOf(const SImage& image) {
    std::optional<SSamples> samples = Unpack(image.bytes, image.format);
    if (!samples) {
        throw CToolError("images of " +
                         (image.format.pixelFormat.empty() ? "an unknown format"
                                                           : Printable(image.format.pixelFormat)) +
                         " cannot be measured");
    }
    return std::move(*samples);
}

void Print(const SChoice& choice, const SImageFormat& format, const SFigures& figures) {
    std::cout << "camera  " << Printable(choice.device->id) << ", " << Printable(format.pixelFormat)
              << ", " << format.width << " x " << format.height << "\n";
    CTable table({"", "mean", "deviation", "least", "most", "at 0", "at the top", "noise"});
    for (const SChannelFigures& channel : figures.channels) {
        table.Add({channel.name, Fixed(channel.mean, 2), Fixed(channel.deviation, 2),
                   std::to_string(channel.least), std::to_string(channel.most),
                   Fixed(100 * channel.black, 2) + " %", Fixed(100 * channel.saturated, 2) + " %",
                   channel.noise ? Fixed(*channel.noise, 3) : "-"});
    }
    table.Print(std::cout);
    std::cout << "top     " << (1U << figures.bits) - 1 << "\n"
              << "focus   " << Fixed(figures.focus, 5) << "\n";
}

Json ToJson(const SChoice& choice, const SImageFormat& format, const SFigures& figures) {
    Json channels = Json::array();
    for (const SChannelFigures& channel : figures.channels) {
        channels.push_back({{"name", channel.name},
                            {"mean", channel.mean},
                            {"deviation", channel.deviation},
                            {"least", channel.least},
                            {"most", channel.most},
                            {"black", channel.black},
                            {"saturated", channel.saturated},
                            {"noise", channel.noise ? Json(*channel.noise) : Json()},
                            {"histogram", channel.histogram}});
    }
    return {{"device", choice.device->id},     {"pixelFormat", format.pixelFormat},
            {"width", format.width},           {"height", format.height},
            {"top", (1U << figures.bits) - 1}, {"focus", figures.focus},
            {"channels", std::move(channels)}};
}

// The title can show ASCII only.
std::string TitleOf(const SChoice& choice, const SImageFormat& format) {
    std::string title = choice.device->id + ", " + format.pixelFormat + ": histogram";
    std::ranges::replace_if(
        title, [](char c) { return c < 0x20 || c > 0x7E; }, '?');
    return title;
}

} // namespace

EExitCode MeasureCamera(const std::string& cti, const SMeasureOptions& options) {
    SGrabOptions grabOptions;
    grabOptions.count = 2;
    grabOptions.settings = options.settings;
    grabOptions.timeoutSeconds = options.timeoutSeconds;
    grabOptions.force = options.force;
    const auto kept = std::make_shared<CKeptImages>();
    grabOptions.sink = kept;
    CheckPlace(PathFromUtf8(options.plot), ExistingOf(grabOptions));

    const SSystems systems = OpenSystems(cti);
    const SChoice choice = ChooseDevice(systems, options.device, false);
    CCameraGrab grab(choice, grabOptions, "");
    CatchInterrupt();
    grab.Run();
    if (kept->Images().size() < 2) {
        return kFailed;
    }
    const SImage& first = kept->Images().front();
    const SImage& second = kept->Images().back();
    if (first.format != second.format) {
        throw CToolError("the images' format has changed");
    }
    const SSamples samples = SamplesOf(first), other = SamplesOf(second);
    const SFigures figures = Measure(samples, &other);
    if (options.json) {
        std::cout << ToText(ToJson(choice, first.format, figures)) << "\n";
    } else {
        Print(choice, first.format, figures);
    }
    if (!options.plot.empty()) {
        PreparePng();
        WritePng(PathFromUtf8(options.plot),
                 Draw(HistogramOf(figures, TitleOf(choice, first.format))),
                 ExistingOf(grabOptions));
    }
    return ErrorReported() ? kFailed : kDone;
}

} // namespace norveltl
