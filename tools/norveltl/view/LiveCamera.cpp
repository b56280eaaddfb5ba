#include "view/LiveCamera.h"

#include <algorithm>

namespace norveltl {

namespace {

// Enough that a browser which takes the processor for a moment costs no image.
constexpr size_t kNumBuffers = 16;
constexpr std::chrono::milliseconds kWaitSlice{100};
constexpr size_t kMaxIntervals = 300;

SImageFormat FormatOf(const CStream& stream, BUFFER_HANDLE buffer, SImageFormat format) {
    const auto width = stream.Info(buffer, BUFFER_INFO_WIDTH);
    const auto height = stream.Info(buffer, BUFFER_INFO_HEIGHT);
    if (width && height) {
        format.width = static_cast<uint32_t>(*width);
        format.height = static_cast<uint32_t>(*height);
    }
    format.linePadding = static_cast<size_t>(stream.Info(buffer, BUFFER_INFO_XPADDING).value_or(0));
    return format;
}

} // namespace

const SPicture* CFrame::Picture() const {
    std::call_once(m_converted, [this] { m_picture = Convert(m_bytes, m_format); });
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
    : m_id(choice.device->id),
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
        m_arrival.notify_all();
    }
}

void CLiveCamera::Take(SRun& run, BUFFER_HANDLE buffer) {
    if (run.stream.IsIncomplete(buffer)) {
        run.stream.Queue(buffer);
        const std::lock_guard lock(m_lock);
        ++m_quality.numIncomplete;
        return;
    }
    const std::span<const uint8_t> bytes = run.stream.Bytes(buffer);
    bool isWanted = false;
    uint64_t number = 0;
    {
        const std::lock_guard lock(m_lock);
        Account(run, bytes.size());
        number = m_quality.numDelivered;
        isWanted = std::exchange(m_isWanted, false);
    }
    if (isWanted) {
        auto frame =
            std::make_shared<const CFrame>(number, FormatOf(run.stream, buffer, run.format), bytes);
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

} // namespace norveltl
