#include "Progress.h"

#include "Console.h"

#include <array>
#include <cinttypes>
#include <cstdio>
#include <string>

namespace norveltl {

using namespace std::chrono_literals;

CProgress::CProgress(uint64_t total)
    : m_total(total),
      m_terminal(IsTerminal()),
      m_interval(m_terminal ? 100ms : 1000ms),
      m_lastDraw(Clock::now()),
      m_rateTime(m_lastDraw) {}

CProgress::~CProgress() {
    if (m_lineOpen)
        std::fputs("\n", stdout);
}

void CProgress::Update(uint64_t count) {
    const Clock::time_point now = Clock::now();
    if (now - m_lastDraw < m_interval)
        return;
    m_lastDraw = now;
    const std::chrono::duration<double> elapsed = now - m_rateTime;
    const bool isLongEnough = elapsed >= 500ms;
    if (isLongEnough || m_rateCount == 0)
        m_rate = static_cast<double>(count - m_rateCount) / elapsed.count();
    if (isLongEnough) {
        m_rateTime = now;
        m_rateCount = count;
    }
    Draw(count);
}

void CProgress::Finish(uint64_t count) {
    if (m_lineOpen)
        Draw(count);
}

void CProgress::Draw(uint64_t count) {
    std::array<char, 64> numbers{};
    std::snprintf(numbers.data(), numbers.size(), "%" PRIu64 "/%" PRIu64 "  %.1f frames/s", count,
                  m_total, m_rate);
    if (!m_terminal) {
        std::printf("%s\n", numbers.data());
    } else {
        constexpr size_t kWidth = 30;
        const double done = static_cast<double>(count) / static_cast<double>(m_total);
        const auto filled = static_cast<size_t>(done * kWidth);
        const std::string bar = std::string(filled, '#') + std::string(kWidth - filled, '.');
        // The padding wipes what a longer line before it left.
        std::printf("\r[%s] %-44s", bar.c_str(), numbers.data());
        m_lineOpen = true;
    }
    std::fflush(stdout);
}

} // namespace norveltl
