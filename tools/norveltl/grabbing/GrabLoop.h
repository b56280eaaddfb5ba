// Takes images from a running stream, writes them if wanted, and keeps account of them.
#pragma once

#include "files/ImageFolder.h"
#include "files/ImageWriter.h"
#include "files/VideoSinks.h"
#include "grabbing/Acquisition.h"
#include "grabbing/GrabOptions.h"
#include "grabbing/Progress.h"
#include "grabbing/Statistics.h"
#include "grabbing/Stream.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace norveltl {

struct STotals {
    uint64_t numDelivered = 0;
    uint64_t numIncomplete = 0;
    uint64_t numBytes = 0;
    std::optional<uint64_t> numLost;
    std::chrono::duration<double> duration{0};
    std::chrono::system_clock::time_point begin;
};

class CGrabLoop {
public:
    CGrabLoop(CStream& stream, const CCameraFacts& camera, const SGrabOptions& options);

    // Takes images until there are enough or the time is over, the user interrupts, or none comes
    // any more, which it throws. The acquisition must run.
    void Run();
    // Waits for the files.
    void Finish();

    // How far it has come; any thread may ask for it while Run goes on.
    SProgress State() const;
    // The share of the work that is done, from 0 to 1.
    double ShareDone(std::chrono::steady_clock::duration elapsed) const;

    // What follows holds once Finish has ended.
    const STotals& Totals() const { return m_totals; }
    // Nothing unless images are written, and unless there.
    const std::optional<CImageWriter>& Writer() const { return m_writer; }
    const CImageFolder* Folder() const { return m_folder.get(); }
    const CPipeSink* Pipe() const { return m_pipe.get(); }
    const CAviSink* Video() const { return m_video.get(); }
    // Of images that are written: what the camera said of them, and its settings.
    const SImageFormat& CameraFormat() const { return m_cameraFormat; }
    const std::vector<SReadValue>& Settings() const { return m_settings; }
    // Nothing unless they were wanted.
    const std::optional<CStatistics>& Statistics() const { return m_statistics; }

private:
    using Clock = std::chrono::steady_clock;

    void OpenSinks(const CCameraFacts& camera);
    bool IsDone(Clock::duration elapsed) const;
    void Take(BUFFER_HANDLE buffer, Clock::time_point arrival);
    std::string SilenceText() const;

    CStream& m_stream;
    const SGrabOptions& m_options;
    const std::optional<uint64_t> m_count; // nothing: as long as the time lasts
    SImageFormat m_cameraFormat;
    std::vector<SReadValue> m_settings;
    std::shared_ptr<CImageFolder> m_folder;
    std::shared_ptr<CPipeSink> m_pipe;
    std::shared_ptr<CAviSink> m_video;
    std::optional<CImageWriter> m_writer;
    Clock::time_point m_begin;
    std::atomic<uint64_t> m_numImages{0}, m_numBytes{0}; // those of the totals, for other threads
    std::optional<CStatistics> m_statistics;
    STotals m_totals;
};

} // namespace norveltl
