// One open camera that delivers images to whoever looks: its newest picture, its features, and the
// quality of its stream.
#pragma once

#include "files/Image.h"
#include "grabbing/Acquisition.h"
#include "grabbing/Stream.h"
#include "producers/Settings.h"
#include "view/EventLog.h"
#include "view/Recording.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace norveltl {

// An image as it came, and the picture that it becomes when somebody asks.
class CFrame {
public:
    CFrame(SImage image, std::chrono::system_clock::time_point arrival)
        : m_image(std::move(image)), m_arrival(arrival) {}

    // Counted from 1 by the images that the camera delivered since it was opened.
    uint64_t Number() const { return m_image.number; }
    const SImageFormat& Format() const { return m_image.format; }
    const SImage& Image() const { return m_image; }
    std::chrono::system_clock::time_point Arrival() const { return m_arrival; }
    // Converted once, by whoever asks first; nothing when the format cannot be shown. Throws
    // CToolError for an image that is too small for its format.
    const SPicture* Picture() const;

private:
    const SImage m_image;
    const std::chrono::system_clock::time_point m_arrival;
    mutable std::once_flag m_converted;
    mutable std::optional<SPicture> m_picture;
};

struct SQuality {
    bool acquires = false;
    // Why the images ended by themselves; empty when they did not.
    std::string trouble;
    uint64_t numDelivered = 0, numIncomplete = 0, numBytes = 0;
    std::optional<uint64_t> numLost, numAwaiting;
    // Over about the last second.
    double framesPerSecond = 0, bytesPerSecond = 0;
    // Milliseconds between the newest images, the oldest first.
    std::vector<double> intervals;
};

// Any thread may call. The acquisition waits for nobody: it copies an image only when somebody has
// asked for one since the last that it copied, or records it.
class CLiveCamera {
public:
    // Opens the camera and starts its images. The producer must outlive this object.
    explicit CLiveCamera(const SChoice& choice);
    ~CLiveCamera();
    CLiveCamera(const CLiveCamera&) = delete;
    CLiveCamera& operator=(const CLiveCamera&) = delete;

    const SDevice& About() const { return m_about; }
    const std::string& Id() const { return m_about.id; }

    // Both do nothing when it is so already. Start throws CToolError.
    void Start();
    void Stop();

    // The newest frame after that number, or null when none came within the time.
    std::shared_ptr<const CFrame> WaitForFrame(uint64_t after, std::chrono::milliseconds time);
    SQuality Quality();

    CEventLog& Events() { return m_events; }
    // Lets the newest of a few frames be found by its number, also when newer ones have come.
    void Hold(std::shared_ptr<const CFrame> frame);
    // Null when it is not held.
    std::shared_ptr<const CFrame> Held(uint64_t number);

    const Json& Origin() const { return m_origin; }
    std::vector<SReadValue> Settings();
    // What a recording wants to know; throws CToolError when no images come.
    SRecorded AsRecorded();
    // Hands it every image until one of them ends, or the images do.
    void Record(std::shared_ptr<CRecording> recording);

    // All throw CToolError with what the camera or its description says against it.
    std::vector<SFeature> Features();
    std::vector<SFeature> Features(const std::vector<std::string>& names);
    SFeature Feature(const std::string& name);
    void Set(const std::string& name, const std::string& value);
    void Execute(const std::string& name);
    SSettings ReadSettings();
    std::vector<SDifference> Apply(const std::vector<SSetting>& settings);

private:
    using Clock = std::chrono::steady_clock;

    // What lives from a start to the stop.
    struct SRun {
        SRun(const CProducer& producer, DEV_HANDLE device, const CCameraFacts& camera);
        CStream stream;
        SImageFormat format;
        std::optional<CAcquisition> acquisition;
        std::atomic<bool> isOver{false};
        std::thread thread;
    };

    void TakeImages(SRun& run);
    void Take(SRun& run, BUFFER_HANDLE buffer);
    void Account(SRun& run, size_t numBytes);
    // Also to be called with the lock.
    void EndRecording(const std::string& trouble);
    const CFeatures& TheFeatures() const;

    const SDevice m_about;
    const Json m_origin;
    const CProducer& m_producer;
    const CHandle m_device;
    const CCameraFacts m_camera;
    // Start, stop, and all that goes through the camera's port, one at a time.
    std::mutex m_control;
    CEventLog m_events;
    std::unique_ptr<SRun> m_run;

    std::mutex m_lock; // guards all that follows
    std::condition_variable m_arrival;
    std::shared_ptr<const CFrame> m_newest;
    std::deque<std::shared_ptr<const CFrame>> m_held;
    std::shared_ptr<CRecording> m_recording;
    bool m_isWanted = false;
    SQuality m_quality;
    std::deque<std::pair<Clock::time_point, uint64_t>> m_recent; // arrivals and their bytes
};

} // namespace norveltl
