// The calls that reach the camera library by way of a stream.
#include "Matrix.h"

namespace Matrix {
namespace {

constexpr char ACQUIRED[] = "delivered 1, lost 0, queued 1, waiting 1, grabbing 0";

std::vector<Action> ClosingActions() {
    const auto deviceIsGone = [](Bench& b) {
        return GoneOrThere(b.gentl.DevGetInfo(b.device, 0, nullptr, nullptr, &b.out.size));
    };
    const auto streamIsGone = [](Bench& b) {
        return GoneOrThere(b.gentl.DSGetInfo(b.stream, 0, nullptr, nullptr, &b.out.size));
    };
    return {
        {.name = "DevClose",
         .state = State::Stream,
         .call = [](Bench& b) { return b.gentl.DevClose(b.device); },
         .sound = {.seen = "gone"},
         .seenAfterFailure = "gone",
         .prepare = [](Bench& b) { b.StartStreaming(); },
         .see = deviceIsGone,
         .left = State::Interface,
         .closes = true,
         .streams = true},
        {.name = "DevClose, after IFClose",
         .state = State::Stream,
         .call = [](Bench& b) { return b.gentl.DevClose(b.device); },
         .sound = {.seen = "gone"},
         .seenAfterFailure = "gone",
         .prepare =
             [](Bench& b) {
                 b.StartStreaming();
                 EXPECT_OK(b.gentl.IFClose(b.iface));
             },
         .see = deviceIsGone,
         .left = State::System,
         .closes = true,
         .streams = true},
        {.name = "DSClose",
         .state = State::Stream,
         .call = [](Bench& b) { return b.gentl.DSClose(b.stream); },
         .sound = {.seen = "gone"},
         .prepare = [](Bench& b) { b.StartStreaming(); },
         .see = streamIsGone,
         .left = State::Listening,
         .closes = true,
         .streams = true},
        {.name = "DSClose, stopped",
         .state = State::Stream,
         .call = [](Bench& b) { return b.gentl.DSClose(b.stream); },
         .sound = {.seen = "gone"},
         .see = streamIsGone,
         .left = State::Listening,
         .closes = true},
    };
}

// Writes the place of the buffer to out.number, and one that there is not for a pointer that was
// not announced with it.
int32_t WaitBuffer(Bench& b) {
    EVENT_NEW_BUFFER_DATA data = {&b, &b};
    size_t size = sizeof data;
    const int32_t code = b.gentl.EventGetData(b.newBuffer, &data, &size, 1);
    if (data.BufferHandle != &b || data.pUserPointer != &b) {
        const uint32_t place = data.BufferHandle == b.buffers[0] ? 0 : 1;
        b.out.number = data.pUserPointer == &b.buffers[place] ? place : 99;
    }
    return code;
}

std::vector<Action> AcquisitionActions() {
    const auto counters = [](Bench& b) { return b.Counters(); };
    return {
        {.name = "DSStartAcquisition",
         .state = State::Stream,
         .call =
             [](Bench& b) {
                 const int32_t code = b.gentl.DSStartAcquisition(b.stream, 0, GENTL_INFINITE);
                 if (code == 0) {
                     b.GrabToTheEnd();
                 }
                 return code;
             },
         .sound = {.seen = ACQUIRED},
         // The counters are those of the acquisition before.
         .seenAfterFailure = "delivered 1, lost 0, queued 2, waiting 0, grabbing 0",
         .prepare =
             [](Bench& b) {
                 b.Requeue();
                 if (b.Number(1) != 1) {
                     b.Start();
                     b.GrabToTheEnd();
                     b.Requeue();
                 }
             },
         .see = counters},
        {.name = "DSStopAcquisition",
         .state = State::Stream,
         .call = [](Bench& b) { return b.gentl.DSStopAcquisition(b.stream, 0); },
         .sound = {.seen = "ended"},
         .seenAfterFailure = "ended",
         .prepare = [](Bench& b) { b.StartStreaming(); },
         .see =
             [](Bench& b) {
                 return std::string(Eventually([&] { return !b.IsGrabbing(); }) ? "ended"
                                                                                : "running");
             },
         .streams = true},
        {.name = "EventGetData",
         .state = State::Stream,
         .call =
             [](Bench& b) {
                 b.GrabToTheEnd();
                 return WaitBuffer(b);
             },
         .sound = {.outputs = "number 0",
                   .seen = "delivered 1, lost 0, queued 1, waiting 0, grabbing 0"},
         .seenAfterFailure = "delivered 0, lost 0, queued 1, waiting 0, grabbing 0",
         .prepare =
             [](Bench& b) {
                 b.Requeue();
                 b.Start();
             },
         .see = counters,
         .streams = true},
        {.name = "EventGetData, without a buffer",
         .state = State::Stream,
         .call =
             [](Bench& b) {
                 b.GrabToTheEnd();
                 return WaitBuffer(b);
             },
         .sound = {.code = -1001,
                   .text = "Port is not available",
                   .seen = "delivered 0, lost 1, queued 0, waiting 0, grabbing 0"},
         .seenAfterFailure = "delivered 0, lost 0, queued 0, waiting 0, grabbing 0",
         .prepare =
             [](Bench& b) {
                 b.Requeue(false);
                 b.Start();
             },
         .see = counters,
         .streams = true},
    };
}

Action StreamInfo(const char* name, STREAM_INFO_CMD command, const char* outputs) {
    return {.name = name,
            .state = State::Stream,
            .call =
                [command](Bench& b) {
                    return b.gentl.DSGetInfo(b.stream, command, &b.out.type, b.out.bytes.data(),
                                             &b.out.size);
                },
            .sound = {.outputs = outputs}};
}

std::vector<Action> StreamInfoActions() {
    Action started =
        StreamInfo("DSGetInfo, images started", 6, "type 7, size 8, bytes 0200000000000000");
    started.prepare = [](Bench& b) {
        if (b.Number(6) != 2) {
            b.Requeue();
            b.Start();
            OptivoSim_ProduceImages(CAMERA, 2);
            EXPECT_TRUE(Eventually([&] { return b.Number(1) == 2; }));
        }
    };
    started.streams = true;
    return {
        StreamInfo("DSGetInfo, images lost", 2, "type 8, size 8, bytes 2800000000000000"),
        started,
        StreamInfo("DSGetInfo, payload size", 9, "type 8, size 8, bytes 0003000000000000"),
        StreamInfo("DSGetInfo, 1001", 1001, "type 8, size 8, bytes 0501000000000000"),
        StreamInfo("DSGetInfo, 1002", 1002, "type 8, size 8, bytes 0601000000000000"),
        StreamInfo("DSGetInfo, 1003", 1003, "type 6, size 4, bytes 07010000"),
        StreamInfo("DSGetInfo, 1004", 1004, "type 6, size 4, bytes 08010000"),
    };
}

} // namespace

std::vector<Action> StreamActions() {
    return Joined<Action>({ClosingActions(), AcquisitionActions(), StreamInfoActions()});
}

} // namespace Matrix
