// Acquisition and stream values; a grab is seen through what the consumer gets.
#include "MatrixRows.h"

namespace Matrix {
namespace {

// A grab below the acquisition thread: the results that mean something, and all the others.
Row Grabbing(const std::string& action, const Outcome& nothingYet, const Outcome& lost,
             const Outcome& ended, const Outcome& quiet, const Outcome& fatal,
             const Outcome& delayed) {
    const Outcomes outcomes = {.named = {{-1, nothingYet}, {-2, ended}, {-3, lost}, {-4, quiet}},
                               .negative = fatal,
                               .positive = fatal};
    return {.action = action,
            .operation = OPTIVO_STREAM_GRAB_IMAGE,
            .idle = outcomes,
            .worked = outcomes,
            .thrown = fatal,
            .delayed = delayed};
}

std::vector<Row> GrabRows() {
    const auto counts = [](const char* delivered, const char* lost, const char* queued,
                           const char* waiting) {
        return std::string("delivered ") + delivered + ", lost " + lost + ", queued " + queued +
               ", waiting " + waiting + ", grabbing 0";
    };
    const std::string fetched = "null handle, number 0";
    const std::string stranded = counts("0", "0", "1", "0");
    const Outcome kept = Sees(counts("0", "0", "2", "0"));
    const Outcome closed = {-1001, "Port is not available", "unchanged",
                            counts("0", "0", "2", "0")};
    const std::string none = counts("0", "0", "0", "0");
    const Outcome dropped = {-1001, "Port is not available", "unchanged",
                             counts("0", "1", "0", "0")};
    Outcome droppedTwo = dropped;
    droppedTwo.seen = counts("0", "2", "0", "0");
    Outcome droppedNone = dropped;
    droppedNone.seen = none;
    return {
        Grabbing("DSStartAcquisition", Sees(counts("1", "0", "1", "1")),
                 Sees(counts("1", "1", "1", "1")), kept, Sees(stranded), Sees(stranded),
                 Sees(counts("2", "0", "0", "2"))),
        Grabbing("EventGetData", Sees(counts("1", "0", "1", "0"), fetched),
                 Sees(counts("1", "1", "1", "0"), fetched), closed, Sees(stranded),
                 {-1011, "Timeout", "unchanged", stranded},
                 Sees(counts("2", "0", "0", "1"), fetched)),
        Grabbing("EventGetData, without a buffer", dropped, droppedTwo, droppedNone, Sees(none),
                 {-1011, "Timeout", "unchanged", none}, droppedTwo),
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
