#include "grabbing/GrabSession.h"

#include "terminal/Console.h"

#include <algorithm>
#include <thread>

namespace norveltl {

using namespace std::chrono_literals;

namespace {

void Add(std::optional<uint64_t>& sum, const std::optional<uint64_t>& value) {
    if (value) {
        sum = sum.value_or(0) + *value;
    }
}

} // namespace

void CGrabSession::Run(std::ostream& out, bool isQuiet) {
    CProgress progress(
        out, [this](const SProgress&, Clock::duration elapsed) { return ShareDone(elapsed); },
        [this] { return State(); }, isQuiet);
    std::vector<std::jthread> threads;
    for (const auto& camera : m_cameras) {
        threads.emplace_back([&camera] { camera->Run(); });
    }
    if (m_cameras.front()->Options().triggers) {
        threads.emplace_back([this] { Trigger(); });
    }
    while (!HasEnded()) {
        std::this_thread::sleep_for(5ms);
        progress.Update(Clock::now());
    }
    if (!ErrorReported()) {
        progress.Finish();
    }
}

SProgress CGrabSession::State() const {
    SProgress sum;
    for (const auto& camera : m_cameras) {
        const SProgress state = camera->Loop().State();
        sum.numImages += state.numImages;
        sum.numBytes += state.numBytes;
        Add(sum.numLost, state.numLost);
        Add(sum.numAwaiting, state.numAwaiting);
        Add(sum.numToWrite, state.numToWrite);
        Add(sum.numLeftOut, state.numLeftOut);
    }
    return sum;
}

double CGrabSession::ShareDone(Clock::duration elapsed) const {
    double sum = 0;
    for (const auto& camera : m_cameras) {
        sum += camera->HasEnded() ? 1 : camera->Loop().ShareDone(elapsed);
    }
    return sum / static_cast<double>(m_cameras.size());
}

bool CGrabSession::HasEnded() const {
    return std::ranges::all_of(m_cameras, [](const auto& camera) { return camera->HasEnded(); });
}

// All in turn, so that they are exposed at nearly the same time. Who fails is not triggered again.
void CGrabSession::Trigger() const {
    const auto hasStarted = [](const auto& camera) { return camera->HasStarted(); };
    while (!std::ranges::all_of(m_cameras, hasStarted)) {
        std::this_thread::sleep_for(1ms);
    }
    std::vector<CCameraGrab*> cameras;
    std::ranges::transform(m_cameras, std::back_inserter(cameras), &Cameras::value_type::get);
    const std::chrono::duration<double> period(m_cameras.front()->Options().everySeconds);
    const Clock::time_point begin = Clock::now();
    for (uint64_t count = 0; !HasEnded();) {
        const auto due = begin + std::chrono::duration_cast<Clock::duration>(
                                     static_cast<double>(count) * period);
        // In pieces, so that the end is not waited for.
        if (const auto now = Clock::now(); now < due) {
            std::this_thread::sleep_for(std::min<Clock::duration>(due - now, 50ms));
            continue;
        }
        ++count;
        std::erase_if(cameras, [](CCameraGrab* camera) {
            const CSubject subject(camera->Name());
            try {
                camera->Trigger();
                return false;
            } catch (const std::exception& error) {
                ReportError(error.what());
                return true;
            }
        });
    }
}

} // namespace norveltl
