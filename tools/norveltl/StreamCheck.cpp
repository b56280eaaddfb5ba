#include "StreamCheck.h"

#include "Acquisition.h"
#include "Stream.h"

#include <chrono>
#include <set>
#include <thread>

namespace norveltl {

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr size_t kBuffers = 4;
constexpr size_t kImages = 10;
constexpr std::chrono::milliseconds kPatience{5000};

size_t CheckPayload(const CProducer& p, const CStream& stream, const CCameraFacts& camera,
                    CJudgement& judge) {
    const auto defines = QueryTypedNumber(
        CProducer::Query(p.DSGetInfo, stream.Handle(), STREAM_INFO_DEFINES_PAYLOADSIZE));
    judge.Require("STREAM_INFO_DEFINES_PAYLOADSIZE is answered", defines.has_value());
    if (defines && defines->type != INFO_DATATYPE_BOOL8) {
        judge.Deviate("STREAM_INFO_DEFINES_PAYLOADSIZE is a flag", "BOOL8", "a number");
    }
    const auto size = stream.Info(STREAM_INFO_PAYLOAD_SIZE);
    if (defines && defines->value != 0 && !size) {
        judge.Deviate("STREAM_INFO_PAYLOAD_SIZE", "answered if the stream defines it", "refused");
    }
    const auto known = stream.PayloadSize();
    return static_cast<size_t>(known ? *known : camera.PayloadSize());
}

// One acquisition of a few images.
void Acquire(CStream& stream, const CCameraFacts& camera, const std::string& which,
             CJudgement& judge) {
    judge.Attempt(which + " delivers images", [&] {
        const CAcquisition acquisition(stream, camera);
        judge.Require(which + " is grabbing", stream.Info(STREAM_INFO_IS_GRABBING) == uint64_t{1});
        const Clock::time_point end = Clock::now() + kPatience;
        std::set<BUFFER_HANDLE> buffers;
        size_t count = 0;
        while (count < kImages) {
            if (Clock::now() > end) {
                throw CToolError("only " + std::to_string(count) + " images came");
            }
            auto* const buffer = stream.Wait(100ms);
            if (!buffer) {
                continue;
            }
            ++count;
            buffers.insert(buffer);
            if (stream.Bytes(buffer).empty()) {
                throw CToolError("a delivered buffer is empty");
            }
            stream.Queue(buffer);
        }
        judge.Require(which + " uses every buffer", buffers.size() == kBuffers,
                      std::to_string(buffers.size()) + " of " + std::to_string(kBuffers));
    });
    judge.Require(which + " has stopped", stream.Info(STREAM_INFO_IS_GRABBING) == uint64_t{0});
}

void CheckWaits(const CProducer& p, CStream& stream, CJudgement& judge) {
    p.Call(p.DSFlushQueue, stream.Handle(), ACQ_QUEUE_OUTPUT_DISCARD);
    EVENT_NEW_BUFFER_DATA data{};
    size_t size = sizeof(data);
    judge.Expect("EventGetData without an image",
                 p.EventGetData.call(stream.Event(), &data, &size, 20), {GC_ERR_TIMEOUT},
                 "a wait that is over has timed out");
    GC_ERROR code = GC_ERR_SUCCESS;
    std::thread waiter([&] {
        EVENT_NEW_BUFFER_DATA nothing{};
        size_t room = sizeof(nothing);
        code = p.EventGetData.call(stream.Event(), &nothing, &room, 400);
    });
    std::this_thread::sleep_for(100ms);
    const GC_ERROR killed = p.EventKill.call(stream.Event());
    waiter.join();
    judge.Expect("EventKill", killed, {GC_ERR_SUCCESS}, "a wait can be ended");
    judge.Expect("EventKill ends a wait", code, {GC_ERR_ABORT},
                 "a wait that is killed answers so at once");
}

void CheckBuffers(const CProducer& p, CStream& stream, CJudgement& judge) {
    BUFFER_HANDLE first = nullptr;
    p.Call(p.DSGetBufferID, stream.Handle(), 0u, &first);
    judge.Require("DSGetBufferID gives the first buffer", first != nullptr);
    p.Call(p.DSFlushQueue, stream.Handle(), ACQ_QUEUE_ALL_TO_INPUT);
    judge.Expect("DSRevokeBuffer of a queued buffer",
                 p.DSRevokeBuffer.call(stream.Handle(), first, nullptr, nullptr),
                 {GC_ERR_RESOURCE_IN_USE, GC_ERR_BUSY}, "a queued buffer is in use");
    judge.Require("STREAM_INFO_NUM_ANNOUNCED counts the buffers",
                  stream.Info(STREAM_INFO_NUM_ANNOUNCED) == uint64_t{kBuffers});
    judge.Require("STREAM_INFO_NUM_QUEUED counts the queued ones",
                  stream.Info(STREAM_INFO_NUM_QUEUED) == uint64_t{kBuffers});
}

} // namespace

void CheckStream(const CProducer& producer, DEV_HANDLE device, CJudgement& judge) {
    judge.Attempt("the stream can be opened, used and closed", [&] {
        const CCameraFacts camera(producer, device);
        CStream stream(producer, device);
        stream.Announce(CheckPayload(producer, stream, camera, judge), kBuffers);
        Acquire(stream, camera, "the acquisition", judge);
        CheckWaits(producer, stream, judge);
        CheckBuffers(producer, stream, judge);
        Acquire(stream, camera, "the restarted acquisition", judge);
    });
}

} // namespace norveltl
