// Shows how far a grab has come: a bar on a terminal, else a line a second.
#pragma once

#include <chrono>
#include <cstdint>

namespace norveltl {

class CProgress {
public:
    explicit CProgress(uint64_t total);
    // Ends the bar's line.
    ~CProgress();
    CProgress(const CProgress&) = delete;
    CProgress& operator=(const CProgress&) = delete;

    // Cheap; draws only when it is time to.
    void Update(uint64_t count);
    // Draws the last state.
    void Finish(uint64_t count);

private:
    using Clock = std::chrono::steady_clock;

    void Draw(uint64_t count);

    const uint64_t m_total;
    const bool m_terminal;
    const Clock::duration m_interval;
    Clock::time_point m_lastDraw;
    // The rate is measured from here, again and again.
    Clock::time_point m_rateTime;
    uint64_t m_rateCount = 0;
    double m_rate = 0;
    bool m_lineOpen = false;
};

} // namespace norveltl
