#include "grabbing/GrabLoop.h"

#include "grabbing/ImageCopy.h"
#include "terminal/Console.h"

#include <algorithm>
#include <sstream>
#include <utility>

namespace norveltl {

namespace {

// Short enough to notice an interruption, since no producer must end a wait early.
constexpr std::chrono::milliseconds kWaitSlice{250};
constexpr size_t kMaxStatistics = 1'000'000;
constexpr uint64_t kDefaultCount = 100;
// Of a camera that does not tell its own.
constexpr double kUsualFramesPerSecond = 25;

std::optional<uint64_t> CountOf(const SGrabOptions& options) {
    return options.count || options.seconds ? options.count : kDefaultCount;
}

std::string FormatSeconds(double seconds) {
    std::ostringstream text;
    text << seconds << " s";
    return text.str();
}

} // namespace

CGrabLoop::CGrabLoop(CStream& stream, const CCameraFacts& camera, const SGrabOptions& options)
    : m_stream(stream), m_options(options), m_count(CountOf(options)) {
    if (options.stats || !options.plot.empty() || options.devices.size() > 1) {
        m_statistics.emplace(std::min<uint64_t>(m_count.value_or(kMaxStatistics), kMaxStatistics));
    }
    OpenSinks(camera);
}

void CGrabLoop::OpenSinks(const CCameraFacts& camera) {
    const double rate = m_options.triggers ? 1 / m_options.everySeconds
                                           : camera.FrameRate().value_or(kUsualFramesPerSecond);
    const EExisting existing = ExistingOf(m_options);
    CImageWriter::Sinks sinks;
    if (IsStreamed(m_options)) {
        sinks.push_back(m_pipe = std::make_shared<CPipeSink>(
                            m_options.format == "raw" ? EPipeFormat::Raw : EPipeFormat::Y4m, rate));
    } else if (!m_options.folder.empty()) {
        sinks.push_back(m_folder = std::make_shared<CImageFolder>(PathFromUtf8(m_options.folder),
                                                                  FileFormatOf(m_options.format),
                                                                  existing));
        m_settings = camera.Settings();
    }
    if (!m_options.record.empty()) {
        sinks.push_back(m_video = std::make_shared<CAviSink>(
                            PathFromUtf8(m_options.record), existing,
                            m_options.codec == "none" ? ECodec::None : ECodec::Jpeg, rate));
    }
    if (m_options.sink) {
        sinks.push_back(m_options.sink);
    }
    if (!sinks.empty()) {
        m_writer.emplace(std::move(sinks), m_options.queueMegabytes << 20);
        m_cameraFormat = camera.Format();
    }
}

bool CGrabLoop::IsDone(Clock::duration elapsed) const {
    return (m_count && m_totals.numDelivered >= *m_count) ||
           (m_options.seconds && elapsed >= std::chrono::duration<double>(*m_options.seconds));
}

double CGrabLoop::ShareDone(Clock::duration elapsed) const {
    double share = 0;
    if (m_count) {
        share = static_cast<double>(m_numImages) / static_cast<double>(*m_count);
    }
    if (m_options.seconds) {
        share =
            std::max(share, std::chrono::duration<double>(elapsed).count() / *m_options.seconds);
    }
    return std::min(share, 1.0);
}

SProgress CGrabLoop::State() const {
    SProgress state{m_numImages,
                    m_numBytes,
                    m_stream.Info(STREAM_INFO_NUM_UNDERRUN),
                    m_stream.Info(STREAM_INFO_NUM_AWAIT_DELIVERY),
                    std::nullopt,
                    std::nullopt};
    if (m_writer) {
        state.numToWrite = m_writer->NumQueued();
        if (const uint64_t numLeftOut = m_writer->NumLeftOut(); numLeftOut > 0) {
            state.numLeftOut = numLeftOut;
        }
    }
    return state;
}

void CGrabLoop::Run() {
    const Clock::time_point begin = m_begin = Clock::now();
    m_totals.begin = std::chrono::system_clock::now();
    Clock::time_point now = begin;
    Clock::time_point lastImage = begin;
    while (!IsDone(now - begin) && !Interrupted()) {
        auto* const buffer = m_stream.Wait(kWaitSlice);
        now = Clock::now();
        if (buffer || m_totals.numDelivered == 0) {
            m_totals.duration = now - begin;
        }
        if (buffer) {
            lastImage = now;
            Take(buffer, now);
        } else if (now - lastImage > std::chrono::duration<double>(m_options.timeoutSeconds)) {
            throw CToolError(SilenceText());
        }
    }
    m_totals.numLost = m_stream.Info(STREAM_INFO_NUM_UNDERRUN);
}

void CGrabLoop::Finish() {
    if (!m_totals.numLost) {
        m_totals.numLost = m_stream.Info(STREAM_INFO_NUM_UNDERRUN);
    }
    if (m_writer) {
        m_writer->Finish();
    }
}

// An incomplete image does not count as one of those that were asked for, and is not written.
void CGrabLoop::Take(BUFFER_HANDLE buffer, Clock::time_point arrival) {
    if (m_stream.IsIncomplete(buffer)) {
        ++m_totals.numIncomplete;
        m_stream.Queue(buffer);
        return;
    }
    ++m_totals.numDelivered;
    m_totals.numBytes += m_stream.NumFilled(buffer);
    m_numImages = m_totals.numDelivered;
    m_numBytes = m_totals.numBytes;
    if (m_statistics) {
        m_statistics->Add(arrival,
                          m_stream.OptionalInfo(buffer, BUFFER_INFO_TIMESTAMP).value_or(0));
    }
    std::optional<SImage> image;
    if (m_writer && m_writer->HasRoom(m_stream.Bytes(buffer).size())) {
        image =
            CopyImage(m_stream, buffer, m_cameraFormat, m_totals.numDelivered, arrival - m_begin);
    }
    m_stream.Queue(buffer);
    if (image) {
        m_writer->Add(std::move(*image));
    }
}

std::string CGrabLoop::SilenceText() const {
    std::string text = "no image came within " + FormatSeconds(m_options.timeoutSeconds);
    if (m_stream.Info(STREAM_INFO_IS_GRABBING) == uint64_t{0}) {
        text += ", and the stream has stopped by itself";
    }
    return text +
           "\n  Check that the camera is not waiting for a trigger; --timeout sets the time.";
}

} // namespace norveltl
