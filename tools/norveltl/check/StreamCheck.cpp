#include "check/Checks.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <set>

namespace norveltl {

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr size_t kImages = 10;
constexpr uint8_t kUntouched = 0xA5;

// Consumers offer the one byte that a flag has.
void CheckFlag(const CProducer& p, const CStream& stream, CJudgement& judge) {
    std::array<uint8_t, 8> bytes{};
    bytes.fill(kUntouched);
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t size = 1;
    const GC_ERROR code =
        p.DSGetInfo(stream.Handle(), STREAM_INFO_DEFINES_PAYLOADSIZE, &type, bytes.data(), &size);
    const bool isOverrun = std::any_of(bytes.begin() + 1, bytes.end(),
                                       [](uint8_t byte) { return byte != kUntouched; });
    judge.Want(p.DSGetInfo.name, "STREAM_INFO_DEFINES_PAYLOADSIZE into one byte",
               code == GC_ERR_SUCCESS && size == 1 && !isOverrun,
               CodeText(GC_ERR_SUCCESS) + ": a flag is one byte",
               CodeText(code) + (isOverrun ? ", and wrote behind it" : ""));
}

void CheckPayload(const CProducer& p, const CStream& stream, CJudgement& judge) {
    const auto defines = QueryTypedNumber(
        CProducer::Query(p.DSGetInfo, stream.Handle(), STREAM_INFO_DEFINES_PAYLOADSIZE));
    judge.Require(p.DSGetInfo.name, "STREAM_INFO_DEFINES_PAYLOADSIZE is answered",
                  defines.has_value());
    judge.Want(p.DSGetInfo.name, "STREAM_INFO_DEFINES_PAYLOADSIZE is a flag",
               defines && defines->type == INFO_DATATYPE_BOOL8, "BOOL8",
               defines ? "a number" : "refused");
    CheckFlag(p, stream, judge);
    judge.Want(p.DSGetInfo.name, "STREAM_INFO_PAYLOAD_SIZE",
               !defines || defines->value == 0 || stream.Info(STREAM_INFO_PAYLOAD_SIZE),
               "answered if the stream defines it", "refused");
}

// One acquisition of a few images; look gets the first.
void Acquire(const CProducer& p, CStream& stream, const CCameraFacts& camera,
             const std::string& which, CJudgement& judge,
             const std::function<void(BUFFER_HANDLE)>& look = {}) {
    judge.Attempt(p.EventGetData.name, which + " delivers images", [&] {
        const CAcquisition acquisition(stream, camera);
        if (!p.DSGetInfo.IsMissing()) {
            judge.Require(p.DSGetInfo.name, which + " is grabbing",
                          stream.Info(STREAM_INFO_IS_GRABBING) == uint64_t{1});
        }
        const Clock::time_point end = Clock::now() + kCheckPatience;
        std::set<BUFFER_HANDLE> buffers;
        std::optional<uint64_t> frame;
        bool isAscending = true;
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
            const auto next = stream.Info(buffer, BUFFER_INFO_FRAMEID);
            isAscending = isAscending && (!frame || !next || *next > *frame);
            frame = next;
            if (look && count == 1) {
                look(buffer);
            }
            stream.Queue(buffer);
        }
        judge.Require(p.DSQueueBuffer.name, which + " uses every buffer",
                      buffers.size() == kCheckBuffers,
                      std::to_string(buffers.size()) + " of " + std::to_string(kCheckBuffers));
        if (frame) {
            judge.Want(p.DSGetBufferInfo.name, "BUFFER_INFO_FRAMEID ascends", isAscending,
                       "from image to image", "a later image has the same or a lower one");
        }
    });
    if (!p.DSGetInfo.IsMissing()) {
        judge.Require(p.DSGetInfo.name, which + " has stopped",
                      stream.Info(STREAM_INFO_IS_GRABBING) == uint64_t{0});
    }
}

void CheckBuffers(const CProducer& p, CStream& stream, CJudgement& judge) {
    BUFFER_HANDLE first = nullptr;
    p.Call(p.DSGetBufferID, stream.Handle(), 0u, &first);
    judge.Require(p.DSGetBufferID.name, "DSGetBufferID gives the first buffer", first != nullptr);
    p.Call(p.DSFlushQueue, stream.Handle(), ACQ_QUEUE_ALL_TO_INPUT);
    judge.Expect("DSRevokeBuffer of a queued buffer", {GC_ERR_RESOURCE_IN_USE, GC_ERR_BUSY},
                 "a queued buffer is in use", p.DSRevokeBuffer, stream.Handle(), first, nullptr,
                 nullptr);
    if (!p.DSGetInfo.IsMissing()) {
        judge.Require(p.DSGetInfo.name, "STREAM_INFO_NUM_ANNOUNCED counts the buffers",
                      stream.Info(STREAM_INFO_NUM_ANNOUNCED) == uint64_t{kCheckBuffers});
        judge.Require(p.DSGetInfo.name, "STREAM_INFO_NUM_QUEUED counts the queued ones",
                      stream.Info(STREAM_INFO_NUM_QUEUED) == uint64_t{kCheckBuffers});
    }
}

} // namespace

void CheckStream(const CProducer& p, DEV_HANDLE device, EDepth depth, CJudgement& judge,
                 const GiveUp& giveUp) {
    judge.Attempt(p.DevOpenDataStream.name, "the stream can be opened, used and closed", [&] {
        const CCameraFacts camera(p, device);
        CStream stream(p, device);
        if (!p.DSGetInfo.IsMissing()) {
            CheckPayload(p, stream, judge);
        }
        const auto payload = stream.PayloadSize();
        stream.Announce(static_cast<size_t>(payload ? *payload : camera.PayloadSize()),
                        kCheckBuffers);
        std::function<void(BUFFER_HANDLE)> look;
        if (depth == EDepth::Everything) {
            CheckDescription(p, stream.Handle(), "the stream", judge);
            look = [&, format = camera.Format()](BUFFER_HANDLE buffer) {
                CheckImageInfos(p, stream.Handle(), buffer, format, judge);
            };
        }
        Acquire(p, stream, camera, "the acquisition", judge, look);
        CheckWaits(p, stream, judge);
        CheckBuffers(p, stream, judge);
        Acquire(p, stream, camera, "the restarted acquisition", judge);
        if (depth == EDepth::Everything) {
            CheckInfiniteWait(p, stream, camera, judge, giveUp);
            CheckRestarts(p, stream, camera, judge);
        }
    });
}

} // namespace norveltl
