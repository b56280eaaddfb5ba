#include "Grab.h"

#include "Console.h"
#include "Discovery.h"
#include "Features.h"
#include "ImageWriter.h"
#include "Progress.h"
#include "Stream.h"

#include <algorithm>
#include <chrono>
#include <iomanip>
#include <iostream>
#include <limits>
#include <optional>
#include <sstream>

namespace norveltl {

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

// Short enough to notice an interruption, since no producer must end a wait early.
constexpr std::chrono::milliseconds kWaitSlice{250};
constexpr size_t kWriteQueue = 64;

struct STotals {
    uint64_t numDelivered = 0;
    uint64_t numIncomplete = 0;
    uint64_t numBytes = 0;
    std::optional<uint64_t> numLost;
    Seconds duration{0};
};

void Note(const std::string& text) {
    std::cout << "note: " << text << std::endl;
}

// What the camera's own features say, with the reasons why some of it may be missing.
class CCameraFacts {
public:
    CCameraFacts(const CProducer& producer, DEV_HANDLE device) {
        try {
            m_features.emplace(producer, RemotePort(producer, device));
        } catch (const CToolError& error) {
            m_reason = error.what();
        }
    }

    bool Has(const char* feature) const { return m_features && m_features->Has(feature); }
    void Execute(const char* command) const { m_features->Execute(command); }
    // Why there are no features at all; empty when there are.
    const std::string& Reason() const { return m_reason; }

    uint64_t PayloadSize() const {
        const std::string known = "the image size is not known: the stream does not tell it, and ";
        if (!m_features)
            throw CToolError(known + m_reason);
        try {
            const int64_t size = m_features->ReadInteger("PayloadSize");
            if (size > 0)
                return static_cast<uint64_t>(size);
            throw CToolError("PayloadSize is " + std::to_string(size));
        } catch (const CToolError& error) {
            throw CToolError(known + error.what());
        }
    }

    // Fields that cannot be read stay 0 or empty; each is told about once.
    SImageFormat Format() const {
        SImageFormat format;
        if (!m_features)
            return format;
        const auto attempt = [](auto read) {
            try {
                read();
            } catch (const CToolError& error) {
                Note(error.what());
            }
        };
        attempt([&] { format.width = Extent("Width"); });
        attempt([&] { format.height = Extent("Height"); });
        attempt([&] { format.pixelFormat = m_features->ReadEnumeration("PixelFormat"); });
        return format;
    }

private:
    uint32_t Extent(const char* feature) const {
        const int64_t value = m_features->ReadInteger(feature);
        if (value < 1 || value > std::numeric_limits<uint32_t>::max())
            throw CToolError(std::string(feature) + " is " + std::to_string(value));
        return static_cast<uint32_t>(value);
    }

    std::optional<CFeatures> m_features;
    std::string m_reason;
};

// Stream first, camera second; the reverse at the end.
class CAcquisition {
public:
    CAcquisition(CStream& stream, const CCameraFacts& camera) : m_stream(stream), m_camera(camera) {
        m_stream.Start();
        if (m_camera.Has("AcquisitionStart"))
            m_camera.Execute("AcquisitionStart");
    }

    ~CAcquisition() {
        try {
            if (m_camera.Has("AcquisitionStop"))
                m_camera.Execute("AcquisitionStop");
        } catch (const std::exception& error) {
            ReportError(error.what());
        }
        m_stream.Stop();
    }

    CAcquisition(const CAcquisition&) = delete;
    CAcquisition& operator=(const CAcquisition&) = delete;

private:
    CStream& m_stream;
    const CCameraFacts& m_camera;
};

// The number's meaning depends on the namespace: only the two that share their numbers are named.
std::string PixelFormatOf(const CStream& stream, BUFFER_HANDLE buffer) {
    constexpr uint64_t kGigEVision = 1, kPfnc32Bit = 4;
    const auto value = stream.Info(buffer, BUFFER_INFO_PIXELFORMAT);
    const uint64_t nameSpace =
        stream.Info(buffer, BUFFER_INFO_PIXELFORMAT_NAMESPACE).value_or(kPfnc32Bit);
    if (!value || (nameSpace != kGigEVision && nameSpace != kPfnc32Bit))
        return "";
    return PixelFormatName(*value).value_or("");
}

// Takes images until there are enough, the user interrupts, or none comes any more.
class CGrabLoop {
public:
    CGrabLoop(CStream& stream, const CCameraFacts& camera, const SGrabOptions& options)
        : m_stream(stream), m_options(options) {
        if (options.folder.empty())
            return;
        m_writer.emplace(PathFromUtf8(options.folder), kWriteQueue);
        m_cameraFormat = camera.Format();
    }

    void Run() {
        CProgress progress(m_options.count);
        const Clock::time_point begin = Clock::now();
        Clock::time_point lastImage = begin;
        while (m_totals.numDelivered < m_options.count && !Interrupted()) {
            if (BUFFER_HANDLE buffer = m_stream.Wait(kWaitSlice)) {
                lastImage = Clock::now();
                m_totals.duration = lastImage - begin;
                Take(buffer);
            } else if (Seconds(Clock::now() - lastImage).count() > m_options.timeoutSeconds) {
                throw CToolError(SilenceText());
            }
            progress.Update(m_totals.numDelivered);
        }
        progress.Finish(m_totals.numDelivered);
        CountLost();
    }

    // Waits for the files; all totals hold after that.
    void Finish() {
        if (!m_totals.numLost)
            CountLost();
        if (m_writer)
            m_writer->Finish();
    }

    const STotals& Totals() const { return m_totals; }
    const std::optional<CImageWriter>& Writer() const { return m_writer; }

private:
    // An incomplete image does not count as one of those that were asked for, and is not written.
    void Take(BUFFER_HANDLE buffer) {
        if (m_stream.Info(buffer, BUFFER_INFO_IS_INCOMPLETE).value_or(0) != 0) {
            ++m_totals.numIncomplete;
            m_stream.Queue(buffer);
            return;
        }
        const std::span<const uint8_t> bytes = m_stream.Bytes(buffer);
        ++m_totals.numDelivered;
        m_totals.numBytes += bytes.size();
        std::optional<SImage> image;
        if (m_writer)
            image = SImage{m_totals.numDelivered, FormatOf(buffer), {bytes.begin(), bytes.end()}};
        m_stream.Queue(buffer);
        if (image)
            m_writer->Add(std::move(*image));
    }

    void CountLost() { m_totals.numLost = m_stream.Info(STREAM_INFO_NUM_UNDERRUN); }

    SImageFormat FormatOf(BUFFER_HANDLE buffer) const {
        SImageFormat format = m_cameraFormat;
        const auto width = m_stream.Info(buffer, BUFFER_INFO_WIDTH);
        const auto height = m_stream.Info(buffer, BUFFER_INFO_HEIGHT);
        if (width && height) {
            format.width = static_cast<uint32_t>(*width);
            format.height = static_cast<uint32_t>(*height);
        }
        if (std::string name = PixelFormatOf(m_stream, buffer); !name.empty())
            format.pixelFormat = std::move(name);
        format.linePadding =
            static_cast<size_t>(m_stream.Info(buffer, BUFFER_INFO_XPADDING).value_or(0));
        return format;
    }

    std::string SilenceText() const {
        std::string text = "no image came within " + FormatSeconds(m_options.timeoutSeconds);
        if (m_stream.Info(STREAM_INFO_IS_GRABBING) == uint64_t{0})
            text += ", and the stream has stopped by itself";
        return text + "\n  Check that the camera is not waiting for a trigger; -t sets the time.";
    }

    static std::string FormatSeconds(double seconds) {
        std::ostringstream text;
        text << seconds << " s";
        return text.str();
    }

    CStream& m_stream;
    const SGrabOptions& m_options;
    SImageFormat m_cameraFormat;
    std::optional<CImageWriter> m_writer;
    STotals m_totals;
};

void PrintTotals(const STotals& totals, const SGrabOptions& options,
                 const std::optional<CImageWriter>& writer) {
    const double seconds = totals.duration.count();
    const auto perSecond = [seconds](double amount) { return seconds > 0 ? amount / seconds : 0; };
    std::cout << std::fixed << std::setprecision(2) << "delivered   " << totals.numDelivered
              << " of " << options.count << "\n"
              << "incomplete  " << totals.numIncomplete << "\n"
              << "lost        "
              << (totals.numLost ? std::to_string(*totals.numLost) : "not reported") << "\n"
              << "time        " << seconds << " s\n"
              << "rate        " << perSecond(static_cast<double>(totals.numDelivered))
              << " frames/s, " << perSecond(static_cast<double>(totals.numBytes) / 1e6)
              << " MB/s\n";
    if (writer) {
        std::cout << "files       " << writer->NumPng() << " PNG, " << writer->NumRaw()
                  << " raw in " << options.folder << "\n";
        for (const std::string& note : writer->Notes())
            Note(note);
    }
    std::cout << std::flush;
}

// Errors on the way are reported at once, so that the totals still follow.
void RunAndReport(CGrabLoop& loop, CStream& stream, const CCameraFacts& camera) {
    try {
        CAcquisition acquisition(stream, camera);
        loop.Run();
    } catch (const std::exception& error) {
        ReportError(error.what());
    }
    try {
        loop.Finish();
    } catch (const std::exception& error) {
        ReportError(error.what());
    }
}

void PrintChoice(const SDevice& device, size_t payloadSize, size_t numBuffers) {
    std::cout << "camera      " << Printable(device.id) << ", "
              << Printable(device.model.value_or("model not reported")) << ", " << numBuffers
              << " buffers of " << payloadSize << " bytes" << std::endl;
}

} // namespace

EExitCode Grab(const std::string& cti, const SGrabOptions& options) {
    const SSystems systems = OpenSystems(cti);
    const SChoice choice = ChooseDevice(systems, options.device, options.first);
    for (const std::string& error : systems.errors)
        Note(error);
    const CProducer& producer = choice.system->Producer();
    const CHandle device = OpenDevice(choice);
    const CCameraFacts camera(producer, device.Get());
    CStream stream(producer, device.Get());

    std::optional<uint64_t> payloadSize = stream.PayloadSize();
    if (!payloadSize)
        payloadSize = camera.PayloadSize();
    const size_t numBuffers =
        std::max(options.numBuffers, static_cast<size_t>(stream.MinBuffers()));
    stream.Announce(static_cast<size_t>(*payloadSize), numBuffers);
    PrintChoice(*choice.device, static_cast<size_t>(*payloadSize), numBuffers);
    if (!camera.Reason().empty())
        Note("AcquisitionStart is not sent: " + camera.Reason());

    CGrabLoop loop(stream, camera, options);
    CatchInterrupt();
    RunAndReport(loop, stream, camera);
    if (Interrupted())
        ReportError("interrupted");
    PrintTotals(loop.Totals(), options, loop.Writer());
    return ErrorReported() ? kFailed : kDone;
}

} // namespace norveltl
