#include "view/LiveCamera.h"

#include "grabbing/ImageCopy.h"

#include <algorithm>
#include <utility>

namespace norveltl {

namespace {

// Enough that a browser which takes the processor for a moment costs no image.
constexpr size_t kNumBuffers = 16;
constexpr std::chrono::milliseconds kWaitSlice{100};
constexpr size_t kMaxIntervals = 300;

// Each page can freeze a picture; nobody looks at more.
constexpr size_t kMaxHeld = 4;
// Of a camera that does not tell its own.
constexpr double kUsualFramesPerSecond = 25;

} // namespace

const SPicture* CFrame::Picture() const {
    std::call_once(m_converted, [this] { m_picture = Convert(m_image.bytes, m_image.format); });
    return m_picture ? &*m_picture : nullptr;
}

CLiveCamera::SRun::SRun(const CProducer& producer, DEV_HANDLE device, const CCameraFacts& camera)
    : stream(producer, device), format(camera.Format()) {
    const auto payload = stream.PayloadSize();
    stream.Announce(static_cast<size_t>(payload ? *payload : camera.PayloadSize()),
                    std::max(kNumBuffers, static_cast<size_t>(stream.MinBuffers())));
    acquisition.emplace(stream, camera);
}

CLiveCamera::CLiveCamera(const SChoice& choice)
    : m_about(*choice.device),
      m_origin(OriginJson(choice)),
      m_producer(choice.system->Producer()),
      m_device(OpenDevice(choice)),
      m_camera(m_producer, m_device.Get()),
      m_events(*choice.system, m_device.Get(),
               m_camera.Features() ? &*m_camera.Features() : nullptr, m_control) {
    Start();
}

CLiveCamera::~CLiveCamera() {
    Stop();
}

void CLiveCamera::Start() {
    const std::lock_guard control(m_control);
    if (m_run) {
        return;
    }
    auto run = std::make_unique<SRun>(m_producer, m_device.Get(), m_camera);
    {
        const std::lock_guard lock(m_lock);
        m_quality.acquires = true;
        m_quality.trouble.clear();
        m_recent.clear();
    }
    run->thread = std::thread([this, &its = *run] { TakeImages(its); });
    m_run = std::move(run);
}

void CLiveCamera::Stop() {
    const std::lock_guard control(m_control);
    if (!m_run) {
        return;
    }
    m_run->isOver = true;
    m_run->thread.join();
    m_run.reset();
    const std::lock_guard lock(m_lock);
    EndRecording("the images were stopped");
    m_quality.acquires = false;
    m_arrival.notify_all();
}

void CLiveCamera::TakeImages(SRun& run) {
    try {
        while (!run.isOver) {
            if (auto* const buffer = run.stream.Wait(kWaitSlice)) {
                Take(run, buffer);
            } else if (run.stream.Info(STREAM_INFO_IS_GRABBING) == uint64_t{0}) {
                throw CToolError("the stream has stopped by itself: is the camera still there?");
            }
        }
    } catch (const std::exception& error) {
        const std::lock_guard lock(m_lock);
        m_quality.trouble = error.what();
        m_quality.acquires = false;
        EndRecording(m_quality.trouble);
        m_arrival.notify_all();
    }
}

void CLiveCamera::EndRecording(const std::string& trouble) {
    if (const auto recording = std::exchange(m_recording, nullptr)) {
        recording->End(trouble);
    }
}

void CLiveCamera::Take(SRun& run, BUFFER_HANDLE buffer) {
    if (run.stream.IsIncomplete(buffer)) {
        run.stream.Queue(buffer);
        const std::lock_guard lock(m_lock);
        ++m_quality.numIncomplete;
        if (m_recording) {
            m_recording->CountIncomplete();
        }
        return;
    }
    bool isWanted = false;
    uint64_t number = 0;
    std::optional<uint64_t> numLost;
    std::shared_ptr<CRecording> recording;
    {
        const std::lock_guard lock(m_lock);
        Account(run, run.stream.Bytes(buffer).size());
        number = m_quality.numDelivered;
        numLost = m_quality.numLost;
        isWanted = std::exchange(m_isWanted, false);
        recording = m_recording;
    }
    if (recording) {
        recording->Take(run.stream, buffer, numLost);
    }
    if (isWanted) {
        auto frame =
            std::make_shared<const CFrame>(CopyImage(run.stream, buffer, run.format, number, {}),
                                           std::chrono::system_clock::now());
        const std::lock_guard lock(m_lock);
        m_newest = std::move(frame);
        m_arrival.notify_all();
    }
    run.stream.Queue(buffer);
}

void CLiveCamera::Account(SRun& run, size_t numBytes) {
    const Clock::time_point now = Clock::now();
    ++m_quality.numDelivered;
    m_quality.numBytes += numBytes;
    if (!m_recent.empty()) {
        const std::chrono::duration<double, std::milli> interval = now - m_recent.back().first;
        m_quality.intervals.push_back(interval.count());
        if (m_quality.intervals.size() > 2 * kMaxIntervals) {
            m_quality.intervals.erase(m_quality.intervals.begin(),
                                      m_quality.intervals.end() - kMaxIntervals);
        }
    }
    m_recent.emplace_back(now, numBytes);
    while (m_recent.size() > 2 && now - m_recent.front().first > std::chrono::seconds(1)) {
        m_recent.pop_front();
    }
    m_quality.numLost = run.stream.Info(STREAM_INFO_NUM_UNDERRUN);
    m_quality.numAwaiting = run.stream.Info(STREAM_INFO_NUM_AWAIT_DELIVERY);
}

std::shared_ptr<const CFrame> CLiveCamera::WaitForFrame(uint64_t after,
                                                        std::chrono::milliseconds time) {
    std::unique_lock lock(m_lock);
    const auto isThere = [&] { return m_newest && m_newest->Number() > after; };
    if (!isThere()) {
        m_isWanted = true;
        m_arrival.wait_for(lock, time, [&] { return isThere() || !m_quality.acquires; });
    }
    return isThere() ? m_newest : nullptr;
}

SQuality CLiveCamera::Quality() {
    const std::lock_guard lock(m_lock);
    SQuality quality = m_quality;
    if (quality.intervals.size() > kMaxIntervals) {
        quality.intervals.erase(quality.intervals.begin(), quality.intervals.end() - kMaxIntervals);
    }
    const Clock::time_point now = Clock::now();
    // A camera that has fallen silent has no rate.
    if (m_recent.size() > 1 && now - m_recent.back().first < std::chrono::seconds(2)) {
        const std::chrono::duration<double> span = m_recent.back().first - m_recent.front().first;
        uint64_t numBytes = 0;
        for (auto it = std::next(m_recent.begin()); it != m_recent.end(); ++it) {
            numBytes += it->second;
        }
        quality.framesPerSecond = static_cast<double>(m_recent.size() - 1) / span.count();
        quality.bytesPerSecond = static_cast<double>(numBytes) / span.count();
    }
    return quality;
}

void CLiveCamera::Hold(std::shared_ptr<const CFrame> frame) {
    const std::lock_guard lock(m_lock);
    m_held.push_back(std::move(frame));
    if (m_held.size() > kMaxHeld) {
        m_held.pop_front();
    }
}

std::shared_ptr<const CFrame> CLiveCamera::Held(uint64_t number) {
    const std::lock_guard lock(m_lock);
    const auto found = std::ranges::find_if(
        m_held, [number](const auto& frame) { return frame->Number() == number; });
    return found != m_held.end()                      ? *found
           : m_newest && m_newest->Number() == number ? m_newest
                                                      : nullptr;
}

std::vector<SReadValue> CLiveCamera::Settings() {
    const std::lock_guard control(m_control);
    return m_camera.Settings();
}

SRecorded CLiveCamera::AsRecorded() {
    const std::lock_guard control(m_control);
    if (!m_run) {
        throw CToolError("the camera takes no images");
    }
    return {m_origin, m_camera.Settings(), m_run->format,
            m_camera.FrameRate().value_or(kUsualFramesPerSecond)};
}

void CLiveCamera::Record(std::shared_ptr<CRecording> recording) {
    const std::lock_guard lock(m_lock);
    if (m_quality.acquires) {
        m_recording = std::move(recording);
    } else {
        recording->End("the images were stopped");
    }
}

const CFeatures& CLiveCamera::TheFeatures() const {
    if (const auto& features = m_camera.Features()) {
        return *features;
    }
    throw CToolError("the camera's features cannot be read: " + m_camera.Reason());
}

std::vector<SFeature> CLiveCamera::Features() {
    const std::lock_guard control(m_control);
    return TheFeatures().All();
}

std::vector<SFeature> CLiveCamera::Features(const std::vector<std::string>& names) {
    const std::lock_guard control(m_control);
    std::vector<SFeature> features;
    features.reserve(names.size());
    for (const std::string& name : names) {
        features.push_back(TheFeatures().Describe(name));
    }
    return features;
}

SFeature CLiveCamera::Feature(const std::string& name) {
    const std::lock_guard control(m_control);
    return TheFeatures().Describe(name);
}

void CLiveCamera::Set(const std::string& name, const std::string& value) {
    const std::lock_guard control(m_control);
    TheFeatures().Set(name, value);
}

void CLiveCamera::Execute(const std::string& name) {
    const std::lock_guard control(m_control);
    TheFeatures().Execute(name);
}

// What only an acquisition locks is among the settings.
SSettings CLiveCamera::ReadSettings() {
    const std::lock_guard control(m_control);
    const CParametersLock open(m_camera, false);
    return norveltl::ReadSettings(TheFeatures());
}

std::vector<SDifference> CLiveCamera::Apply(const std::vector<SSetting>& settings) {
    const std::lock_guard control(m_control);
    return ApplySettings(TheFeatures(), settings);
}

} // namespace norveltl
