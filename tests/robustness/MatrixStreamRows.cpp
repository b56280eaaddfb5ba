// Acquisition and stream values; a grab is seen through what the consumer gets.
#include "MatrixRows.h"

namespace Matrix {
namespace {

// A grab below the acquisition thread: the results that mean something, and all the others.
struct Grab {
    Outcome nothingYet; // -1
    Outcome ended;      // -2
    Outcome lost;       // -3
    Outcome silent;     // -4
    Outcome fatal;
    Outcome delayed; // the end comes one grab later then
};

Row Grabbing(const std::string& action, const Grab& grab) {
    const Outcomes outcomes = {
        .named = {{-1, grab.nothingYet}, {-2, grab.ended}, {-3, grab.lost}, {-4, grab.silent}},
        .negative = grab.fatal,
        .positive = grab.fatal};
    return {.action = action,
            .operation = OPTIVO_STREAM_GRAB_IMAGE,
            .idle = outcomes,
            .worked = outcomes,
            .thrown = grab.fatal,
            .delayed = grab.delayed};
}

std::string Counts(int delivered, int lost, int queued, int waiting) {
    return "delivered " + std::to_string(delivered) + ", lost " + std::to_string(lost) +
           ", queued " + std::to_string(queued) + ", waiting " + std::to_string(waiting) +
           ", grabbing 0";
}

Outcome Ended(const std::string& seen) {
    return {-1001, "Port is not available", "unchanged", seen};
}

Outcome TimedOut(const std::string& seen) {
    return {-1011, "Timeout", "unchanged", seen};
}

// A buffer that is being filled when the acquisition ends for good is in neither queue.
std::vector<Row> GrabRows() {
    const std::string stranded = Counts(0, 0, 1, 0);
    const std::string none = Counts(0, 0, 0, 0);
    return {
        Grabbing("DSStartAcquisition", {.nothingYet = Sees(Counts(1, 0, 1, 1)),
                                        .ended = Sees(Counts(0, 0, 2, 0)),
                                        .lost = Sees(Counts(1, 1, 1, 1)),
                                        .silent = Sees(stranded),
                                        .fatal = Sees(stranded),
                                        .delayed = Sees(Counts(2, 0, 0, 2))}),
        Grabbing("EventGetData", {.nothingYet = Sees(Counts(1, 0, 1, 0), "number 0"),
                                  .ended = Ended(Counts(0, 0, 2, 0)),
                                  .lost = Sees(Counts(1, 1, 1, 0), "number 0"),
                                  .silent = Sees(stranded),
                                  .fatal = TimedOut(stranded),
                                  .delayed = Sees(Counts(2, 0, 0, 1), "number 0")}),
        Grabbing("EventGetData, without a buffer", {.nothingYet = Ended(Counts(0, 1, 0, 0)),
                                                    .ended = Ended(none),
                                                    .lost = Ended(Counts(0, 2, 0, 0)),
                                                    .silent = Sees(none),
                                                    .fatal = TimedOut(none),
                                                    .delayed = Ended(Counts(0, 2, 0, 0))}),
    };
}

std::vector<Row> AcquisitionRows() {
    const std::string start = "DSStartAcquisition";
    Row payload = Ignored(start, OPTIVO_STREAM_GET_STREAM_INFO, SOUND, 4);
    payload.thrown = SOUND;
    Row parameter = Ignored(start, OPTIVO_STREAM_SET_STREAM_PARAMETER, SOUND, 2);
    parameter.thrown = SOUND;
    Row ready = Ignored(start, OPTIVO_STREAM_GET_STREAM_INFO, SOUND, 3);
    ready.thrown = Sees("delivered 0, lost 0, queued 2, waiting 0, grabbing 0");
    return {
        Refused(start, OPTIVO_STREAM_START_ACQUISITION, {-1001, "Unable to start acquisition"}),
        payload,
        parameter,
        ready,
        Refused("DSStopAcquisition", OPTIVO_STREAM_STOP_ACQUISITION,
                {-1010, "Unable to stop acquisition"}),
    };
}

std::vector<Row> StreamInfoRows() {
    const OptivoOperation operation = OPTIVO_STREAM_GET_STREAM_INFO;
    const Outcome lost = {.outputs = "type 8, size 8, bytes 0000000000000000"};
    return {
        Refused("DSGetInfo, images lost", operation, lost, 11),
        Ignored("DSGetInfo, images started", operation,
                Outcome{.outputs = "type 7, size 8, bytes 0000000000000000"}, 1),
        Ignored("DSGetInfo, payload size", operation,
                Outcome{.outputs = "type 8, size 8, bytes 0000000000000000"}, 4),
        Refused("DSGetInfo, 1001", operation, {-1009, "Invalid stream info command 1001"}, 5),
        Refused("DSGetInfo, 1002", operation, {-1009, "Invalid stream info command 1002"}, 6),
        Refused("DSGetInfo, 1003", operation, {-1009, "Invalid stream info command 1003"}, 7),
        Refused("DSGetInfo, 1004", operation, {-1009, "Invalid stream info command 1004"}, 8),
    };
}

} // namespace

std::vector<Row> StreamRows() {
    return Joined<Row>({AcquisitionRows(), GrabRows(), StreamInfoRows()});
}

} // namespace Matrix
