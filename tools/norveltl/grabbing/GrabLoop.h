// Takes images from a running stream, writes them if wanted, and keeps account of them.
#pragma once

#include "files/ImageWriter.h"
#include "grabbing/Acquisition.h"
#include "grabbing/GrabOptions.h"
#include "grabbing/Progress.h"
#include "grabbing/Statistics.h"
#include "grabbing/Stream.h"

#include <chrono>
#include <cstdint>
#include <optional>

namespace norveltl {

struct STotals {
    uint64_t numDelivered = 0;
    uint64_t numIncomplete = 0;
    uint64_t numBytes = 0;
    std::optional<uint64_t> numLost;
    std::chrono::duration<double> duration{0};
};

class CGrabLoop {
public:
    CGrabLoop(CStream& stream, const CCameraFacts& camera, const SGrabOptions& options);

    // Takes images until there are enough or the time is over, the user interrupts, or none comes
    // any more, which it throws. The acquisition must run.
    void Run();
    // Waits for the files; all totals hold after that.
    void Finish();

    const STotals& Totals() const { return m_totals; }
    const std::optional<CImageWriter>& Writer() const { return m_writer; }
    // Nothing unless they were wanted.
    const std::optional<CStatistics>& Statistics() const { return m_statistics; }

private:
    using Clock = std::chrono::steady_clock;

    bool IsDone(Clock::duration elapsed) const;
    double ShareDone(const SProgress& state, Clock::duration elapsed) const;
    SProgress State();
    void Take(BUFFER_HANDLE buffer, Clock::time_point arrival);
    std::optional<SImage> Copy(BUFFER_HANDLE buffer);
    SImageFormat FormatOf(BUFFER_HANDLE buffer) const;
    std::string SilenceText() const;

    CStream& m_stream;
    const SGrabOptions& m_options;
    const std::optional<uint64_t> m_count; // nothing: as long as the time lasts
    SImageFormat m_cameraFormat;
    std::optional<CImageWriter> m_writer;
    std::optional<CStatistics> m_statistics;
    STotals m_totals;
};

} // namespace norveltl
