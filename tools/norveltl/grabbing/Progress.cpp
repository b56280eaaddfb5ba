#include "grabbing/Progress.h"

#include "terminal/Console.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iostream>
#include <string>
#include <string_view>
#include <utility>

namespace norveltl {

using namespace std::chrono_literals;

namespace {

std::string Joined(const std::vector<std::string>& facts) {
    std::string line;
    for (const std::string& fact : facts) {
        line += (line.empty() ? "" : "  ") + fact;
    }
    return line;
}

} // namespace

CProgress::CProgress(std::ostream& out,
                     std::function<double(const SProgress&, Clock::duration)> done,
                     std::function<SProgress()> state, bool isQuiet)
    : m_out(out),
      m_done(std::move(done)),
      m_state(std::move(state)),
      m_interval(Width() ? 100ms : 1000ms),
      m_begin(Clock::now()),
      m_nextDraw(isQuiet ? Clock::time_point::max() : m_begin + m_interval),
      m_rateTime(m_begin) {}

CProgress::~CProgress() {
    EndLine();
}

std::optional<size_t> CProgress::Width() const {
    return &m_out == &std::cout ? TerminalWidth() : std::nullopt;
}

void CProgress::Finish() {
    if (m_lineSize > 0) {
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
    const std::vector<std::string> facts = Facts(state);
    if (const std::optional<size_t> width = Width()) {
        DrawBar(std::clamp(m_done(state, now - m_begin), 0.0, 1.0), facts, *width);
    } else {
        m_out << Joined(facts) << "\n";
    }
    m_out << std::flush;
}

std::vector<std::string> CProgress::Facts(const SProgress& state) const {
    const auto rate = [](double value, const char* unit) {
        std::array<char, 48> text{};
        std::snprintf(text.data(), text.size(), "%.1f %s", value, unit);
        return std::string(text.data());
    };
    std::vector<std::string> facts{std::to_string(state.numImages), rate(m_frameRate, "frames/s"),
                                   rate(m_byteRate / 1e6, "MB/s")};
    const auto add = [&facts](const char* name, const std::optional<uint64_t>& value) {
        if (value) {
            facts.push_back(std::string(name) + " " + std::to_string(*value));
        }
    };
    add("lost", state.numLost);
    add("waiting", state.numAwaiting);
    add("to write", state.numToWrite);
    add("left out", state.numLeftOut);
    return facts;
}

// A line that fills the terminal's last column would wrap. What has no room is left out from the
// end, and the bar takes what remains.
void CProgress::DrawBar(double share, const std::vector<std::string>& facts, size_t width) {
    constexpr size_t kMinBar = 5, kMaxBar = 20, kFrame = std::string_view("[] ").size();
    const size_t room = std::max<size_t>(width, 2) - 1;
    std::string line = Joined(facts);
    for (size_t count = facts.size(); count > 0 && line.size() > room; --count) {
        line = Joined({facts.begin(), facts.begin() + static_cast<std::ptrdiff_t>(count) - 1});
    }
    if (line.size() + kFrame + kMinBar <= room) {
        const size_t size = std::min(room - line.size() - kFrame, kMaxBar);
        const auto filled = static_cast<size_t>(share * static_cast<double>(size));
        line.insert(0, "[" + std::string(filled, '#') + std::string(size - filled, '.') + "] ");
    }
    // The padding wipes what a longer line before it left.
    const size_t padded = std::min(m_lineSize, room);
    m_lineSize = std::max<size_t>(line.size(), 1);
    line.resize(std::max(line.size(), padded), ' ');
    m_out << "\r" << line;
    LeaveLineOpen();
}

} // namespace norveltl
