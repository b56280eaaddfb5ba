#include "Progress.h"

#include "Console.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iostream>
#include <string>
#include <utility>

namespace norveltl {

using namespace std::chrono_literals;

CProgress::CProgress(std::function<double(const SProgress&, Clock::duration)> done,
                     std::function<SProgress()> state, bool isQuiet)
    : m_done(std::move(done)),
      m_state(std::move(state)),
      m_terminal(IsTerminal()),
      m_interval(m_terminal ? 100ms : 1000ms),
      m_begin(Clock::now()),
      m_nextDraw(isQuiet ? Clock::time_point::max() : m_begin + m_interval),
      m_rateTime(m_begin) {}

CProgress::~CProgress() {
    if (m_lineOpen) {
        std::cout << "\n";
    }
}

void CProgress::Finish() {
    if (m_lineOpen) {
        Draw(Clock::now());
    }
}

void CProgress::Draw(Clock::time_point now) {
    m_nextDraw = now + m_interval;
    const SProgress state = m_state();
    const std::chrono::duration<double> elapsed = now - m_rateTime;
    const bool isLongEnough = elapsed >= 500ms;
    if (isLongEnough || m_rateState.numImages == 0) {
        const auto perSecond = [&](uint64_t value, uint64_t before) {
            return static_cast<double>(value - before) / elapsed.count();
        };
        m_frameRate = perSecond(state.numImages, m_rateState.numImages);
        m_byteRate = perSecond(state.numBytes, m_rateState.numBytes);
    }
    if (isLongEnough) {
        m_rateTime = now;
        m_rateState = state;
    }
    std::array<char, 64> rates{};
    std::snprintf(rates.data(), rates.size(), "  %.1f frames/s  %.1f MB/s", m_frameRate,
                  m_byteRate / 1e6);
    std::string line = std::to_string(state.numImages) + rates.data();
    const auto add = [&line](const char* name, const std::optional<uint64_t>& value) {
        if (value) {
            line += std::string("  ") + name + " " + std::to_string(*value);
        }
    };
    add("lost", state.numLost);
    add("waiting", state.numAwaiting);
    add("to write", state.numToWrite);
    if (!m_terminal) {
        std::cout << line << "\n";
    } else {
        constexpr size_t kWidth = 20, kRest = 64;
        const double share = std::clamp(m_done(state, now - m_begin), 0.0, 1.0);
        const auto filled = static_cast<size_t>(share * kWidth);
        const std::string bar = std::string(filled, '#') + std::string(kWidth - filled, '.');
        // The padding wipes what a longer line before it left.
        line.resize(std::max(line.size(), kRest), ' ');
        std::cout << "\r[" << bar << "] " << line;
        m_lineOpen = true;
    }
    std::cout << std::flush;
}

} // namespace norveltl
