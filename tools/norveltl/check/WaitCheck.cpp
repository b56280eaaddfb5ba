#include "check/Checks.h"

#include <chrono>
#include <future>
#include <memory>
#include <thread>

namespace norveltl {

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto kUntilInside = 100ms;
constexpr auto kPrompt = 1000ms;

// A wait for an image in a thread of its own, which may stay in it for ever.
class CWaiting {
public:
    CWaiting(const CProducer& p, EVENT_HANDLE event, uint64_t timeout)
        : m_shared(std::make_shared<SShared>()), m_code(m_shared->code.get_future()) {
        std::thread([shared = m_shared, get = p.EventGetData, event, timeout] {
            shared->code.set_value(get(event, &shared->data, &shared->size, timeout));
        }).detach();
        std::this_thread::sleep_for(kUntilInside);
    }

    bool EndsWithin(std::chrono::milliseconds time) const {
        return m_code.wait_for(time) == std::future_status::ready;
    }
    // Waits for the end.
    GC_ERROR Code() { return m_code.get(); }

private:
    struct SShared {
        EVENT_NEW_BUFFER_DATA data{};
        size_t size = sizeof(data);
        std::promise<GC_ERROR> code;
    };

    std::shared_ptr<SShared> m_shared;
    std::future<GC_ERROR> m_code;
};

} // namespace

void CheckWaits(const CProducer& p, CStream& stream, CJudgement& judge) {
    p.Call(p.DSFlushQueue, stream.Handle(), ACQ_QUEUE_OUTPUT_DISCARD);
    EVENT_NEW_BUFFER_DATA data{};
    size_t size = sizeof(data);
    judge.Expect("EventGetData without an image", {GC_ERR_TIMEOUT},
                 "a wait that is over has timed out", p.EventGetData, stream.Event(), &data, &size,
                 uint64_t{20});
    if (p.EventKill.IsMissing() || p.EventGetData.IsMissing()) {
        return;
    }
    CWaiting waiting(p, stream.Event(), 400);
    judge.Expect("EventKill", {GC_ERR_SUCCESS}, "a wait can be ended", p.EventKill, stream.Event());
    judge.Compare(p.EventKill.name, "EventKill ends a wait", waiting.Code(), {GC_ERR_ABORT},
                  "a wait that is killed answers so at once");
}

void CheckInfiniteWait(const CProducer& p, CStream& stream, const CCameraFacts& camera,
                       CJudgement& judge, const GiveUp& giveUp) {
    if (p.EventKill.IsMissing() || p.EventGetData.IsMissing()) {
        return;
    }
    const char* const check = "EventKill ends an infinite wait";
    p.Call(p.DSFlushQueue, stream.Handle(), ACQ_QUEUE_OUTPUT_DISCARD);
    p.Call(p.DSFlushQueue, stream.Handle(), ACQ_QUEUE_ALL_TO_INPUT);
    CWaiting waiting(p, stream.Event(), GENTL_INFINITE);
    const Clock::time_point begin = Clock::now();
    p.EventKill(stream.Event());
    if (waiting.EndsWithin(kPrompt)) {
        const auto time =
            std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin);
        judge.Compare(p.EventKill.name, check, waiting.Code(), {GC_ERR_ABORT},
                      "a wait that is killed answers so at once",
                      ", " + std::to_string(time.count()) + " us");
        return;
    }
    judge.Want(p.EventKill.name, check, false,
               CodeText(GC_ERR_ABORT) + ": a wait that is killed answers so at once",
               "still waiting after " + std::to_string(kPrompt.count()) + " ms");
    const CAcquisition acquisition(stream, camera);
    const bool isEnded = waiting.EndsWithin(kCheckPatience);
    judge.Require(p.EventGetData.name, "an image ends an infinite wait", isEnded,
                  "still waiting; nothing more can be checked");
    if (!isEnded) {
        giveUp();
    }
}

} // namespace norveltl
