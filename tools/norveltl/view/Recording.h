// The images of an open camera on their way into files, until somebody or something ends them.
#pragma once

#include "files/ImageFolder.h"
#include "files/ImageWriter.h"
#include "files/VideoSinks.h"
#include "grabbing/GrabReport.h"
#include "grabbing/Stream.h"
#include "terminal/Json.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace norveltl {

// A folder of images, as grab writes it; or a video.
struct SRecordingPlan {
    std::filesystem::path path;
    bool isVideo = false;
    EFileFormat format = EFileFormat::Png;
    ECodec codec = ECodec::Jpeg;
};

// The camera that is recorded, as it is at the beginning.
struct SRecorded {
    Json origin;
    std::vector<SReadValue> settings;
    SImageFormat format;
    double framesPerSecond = 0;
};

struct SRecordingState {
    // It goes on; or the last of what it took are being written. Neither: it has ended.
    bool takes = false, writes = false;
    std::string trouble; // why it has ended by itself
    uint64_t numImages = 0, numBytes = 0, numLeftOut = 0;
    size_t numToWrite = 0;
    double seconds = 0;
};

// Any thread may call.
class CRecording {
public:
    CRecording(const SRecordingPlan& plan, SRecorded camera);
    // Ends it, and waits until all is written.
    ~CRecording();
    CRecording(const CRecording&) = delete;
    CRecording& operator=(const CRecording&) = delete;

    // The acquisition hands on each image. Both wait for nothing, and do nothing once it has ended;
    // an image that finds no room is left out and counted. numLost: by the stream so far.
    void Take(CStream& stream, BUFFER_HANDLE buffer, std::optional<uint64_t> numLost);
    void CountIncomplete();

    // Does not wait for what is still to be written. trouble: empty when it was wanted.
    void End(const std::string& trouble);

    const std::filesystem::path& Path() const { return m_path; }
    SRecordingState State() const;

private:
    using Clock = std::chrono::steady_clock;

    void WatchAndFinish();
    void Finish();
    // To be called with the lock.
    void EndLocked(const std::string& trouble);
    bool HasSpace() const;

    const SRecorded m_camera;
    const std::shared_ptr<CImageFolder> m_folder; // null for a video
    const std::filesystem::path m_path;
    CImageWriter m_writer;
    const Clock::time_point m_begin = Clock::now();

    mutable std::mutex m_lock; // guards what follows
    std::condition_variable m_changed;
    bool m_isOver = false, m_isWritten = false, m_hasFailed = false;
    std::string m_trouble;
    STotals m_totals;
    std::optional<uint64_t> m_numLostBefore;
    std::thread m_thread;
};

} // namespace norveltl
