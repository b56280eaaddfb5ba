// Shows how far a grab has come: a bar on the standard output's terminal, else a line a second.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace norveltl {

struct SProgress {
    uint64_t numImages = 0;
    uint64_t numBytes = 0;
    std::optional<uint64_t> numLost;
    // Images that wait to be fetched, and those that wait to be written.
    std::optional<uint64_t> numAwaiting;
    std::optional<uint64_t> numToWrite;
    std::optional<uint64_t> numLeftOut;
};

class CProgress {
public:
    using Clock = std::chrono::steady_clock;

    // done: the share of the work from 0 to 1 that an amount of images and time is. state is asked
    // only when there is something to draw.
    CProgress(std::ostream& out, std::function<double(const SProgress&, Clock::duration)> done,
              std::function<SProgress()> state, bool isQuiet);
    // Ends the bar's line.
    ~CProgress();
    CProgress(const CProgress&) = delete;
    CProgress& operator=(const CProgress&) = delete;

    // Cheap; draws only when it is time to.
    void Update(Clock::time_point now) {
        if (now >= m_nextDraw) {
            Draw(now);
        }
    }
    // Draws the last state.
    void Finish();

private:
    void Draw(Clock::time_point now);
    // What to know of a state, the most important first.
    std::vector<std::string> Facts(const SProgress& state) const;
    void DrawBar(double share, const std::vector<std::string>& facts, size_t width);

    std::optional<size_t> Width() const;

    std::ostream& m_out;
    const std::function<double(const SProgress&, Clock::duration)> m_done;
    const std::function<SProgress()> m_state;
    const Clock::duration m_interval;
    const Clock::time_point m_begin;
    Clock::time_point m_nextDraw;
    // The rates are measured from here, again and again.
    Clock::time_point m_rateTime;
    SProgress m_rateState;
    double m_frameRate = 0;
    double m_byteRate = 0;
    size_t m_lineSize = 0; // of the bar's line, which is open then
};

} // namespace norveltl
