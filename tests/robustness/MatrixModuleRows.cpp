// Openings, the ports that the camera library serves, and what else is asked of a camera.
#include "MatrixRows.h"

namespace Matrix {
namespace {

std::vector<Row> SystemRows() {
    const Outcome unreachable = {-1001, "Unable to reach the camera library"};
    const Outcome unopened = {-1001, "Unable to open interface GEV::eth0"};
    Row factory = Ignored("TLOpen", OPTIVO_GET_SYSTEM, unreachable);
    factory.handsOut = true;
    factory.null = unreachable;
    Row opening = Ignored("TLOpenInterface", OPTIVO_SYSTEM_OPEN_INTERFACE, unopened);
    opening.handsOut = true;
    opening.null = unopened;
    Row unlisted = opening;
    unlisted.action = "TLOpenInterface, without a list";
    for (Outcome* failure : {&*unlisted.idle.negative, &*unlisted.idle.positive, &*unlisted.null}) {
        failure->seen = "GEV::eth0=GEV U3V::usb0=U3V";
    }
    unlisted.thrown->seen = "GEV::eth0=GEV U3V::usb0=U3V";
    return {factory, opening, unlisted};
}

std::vector<Row> OpenDeviceRows() {
    const std::map<int32_t, Outcome> failures = {
        {-10003, {-1001, "Not supported this link speed.(Norvel-G640M-10001)"}},
        {-1009, {-1009, "Invalid Parameter error.(Norvel-G640M-10001)"}},
        {-1005, {-1001, "already opened device.(Norvel-G640M-10001)."}},
        {-1002, {-1001, "XML schema error.(Norvel-G640M-10001)"}},
        {-1001, {-1001, "Unable to open device Norvel-G640M-10001"}},
    };
    // A success without an object is a device that has no camera.
    return {{.action = "IFOpenDevice",
             .operation = OPTIVO_INTERFACE_OPEN_DEVICE,
             .idle = {.named = failures},
             .worked = {.named = failures},
             .handsOut = true}};
}

// Results of a port access at an address with the failures that they come to.
std::map<int32_t, Outcome> PortFailures(const std::string& address) {
    return {
        {-1001, {-1001, "Unspecified runtime error."}},
        {-1002, {-1002, "Not invalid."}},
        {-1003, {-1003, "Register " + address + " is not implemented"}},
        {-1004, {-1004, "Resource in use."}},
        {-1005, {-1005, "Register " + address + " is not readable."}},
        {-1006, {-1006, "Not invalid handle."}},
        {-1007, {-1007, "Invalid id."}},
        {-1008, {-1008, "No data."}},
        {-1009, {-1009, "Invalid parameter"}},
        {-1010, {-1010, "Read register " + address + " is failed."}},
        {-1011, {-1011, "Timeout"}},
        {-1012, {-1012, "Wait terminated."}},
        {-1013, {-1013, "Invalid Buffer"}},
        {-1014, {-1014, "Port is not available"}},
    };
}

// What an access shows that does nothing, or does its work, and then succeeds or fails.
struct Access {
    const char* function;
    OptivoOperation operation;
    const char* address;
    Outcome idle;        // a success without work
    Outcome failed;      // the outputs of a failure
    Outcome workedFirst; // of one that did its work
    uint32_t skip = 0;
};

Row InterfaceAccess(const Access& access) {
    Row row = Ignored(std::string(access.function) + ", interface", access.operation, access.idle);
    row.idle.named = row.worked.named = PortFailures(access.address);
    row.skip = access.skip;
    for (auto& [result, outcome] : row.idle.named) {
        outcome.outputs = access.failed.outputs;
        outcome.seen = access.failed.seen;
    }
    for (auto& [result, outcome] : row.worked.named) {
        outcome.outputs = access.workedFirst.outputs;
        outcome.seen = access.workedFirst.seen;
    }
    row.thrown->outputs = access.failed.outputs;
    return row;
}

// The camera knows more failures; no result but 0 is a success.
Row RemoteAccess(const Access& access) {
    Row row = InterfaceAccess(access);
    row.action = std::string(access.function) + ", remote port";
    for (Outcomes* results : {&row.idle, &row.worked}) {
        Outcome failure = results->named.at(-1001);
        results->named.at(-1002).code = -1006;
        results->named[-1015] = failure;
        results->named[-1015].code = -1015;
        results->named[-1015].text = "Invalid Address";
        failure.text = "Unspecified error.";
        results->negative = results->positive = failure;
    }
    return row;
}

std::vector<Row> PortRows() {
    return {
        InterfaceAccess({"GCReadPort",
                         OPTIVO_INTERFACE_READ_PORT,
                         "0x100",
                         {},
                         {},
                         {.outputs = "bytes 65746830"}}),
        InterfaceAccess({"GCReadPortStacked",
                         OPTIVO_INTERFACE_READ_PORT,
                         "0x100",
                         {.outputs = "number 3, size 12, bytes 65746830........65746830"},
                         {.outputs = "number 1, size 12, bytes 65746830"},
                         {.outputs = "number 1, size 12, bytes 6574683065746830"},
                         1}),
        InterfaceAccess({"GCWritePort",
                         OPTIVO_INTERFACE_WRITE_PORT,
                         "0x204",
                         Sees("holds 5"),
                         {},
                         Sees("holds 17")}),
        InterfaceAccess({"GCWritePortStacked",
                         OPTIVO_INTERFACE_WRITE_PORT,
                         "0x204",
                         Sees("holds 19", "number 3, size 12"),
                         {.outputs = "number 1, size 12"},
                         Sees("holds 18", "number 1, size 12"),
                         1}),
        RemoteAccess({"GCReadPort",
                      OPTIVO_DEVICE_READ_PORT,
                      "0x30C",
                      {},
                      {},
                      {.outputs = "bytes 18000000"}}),
        RemoteAccess({"GCReadPortStacked",
                      OPTIVO_DEVICE_READ_PORT,
                      "0x30C",
                      {},
                      {.outputs = "number 1, size 12, bytes 18000000"},
                      {.outputs = "number 1, size 12, bytes 1800000018000000"},
                      1}),
        RemoteAccess({"GCWritePort", OPTIVO_DEVICE_WRITE_PORT, "0x8AC", {}, {}, Sees("holds 17")}),
        RemoteAccess({"GCWritePortStacked",
                      OPTIVO_DEVICE_WRITE_PORT,
                      "0x8AC",
                      {},
                      {.outputs = "number 1, size 12"},
                      Sees("holds 18", "number 1, size 12"),
                      1}),
    };
}

// The library writes into the consumer's buffer, unless the producer copies from one of its own.
std::vector<Row> UrlRows() {
    const Outcome tooSmall = {-1013, "Buffer too small"};
    Row interfaceUrl =
        Refused("GCGetPortURL, interface", OPTIVO_INTERFACE_READ_PORT, UNSPECIFIED, 4);
    interfaceUrl.worked.negative->outputs = interfaceUrl.worked.positive->outputs =
        "size 36, bytes \"Local:Norvel_Interface.xml;1000;909\"";
    Row remoteUrl = Refused("GCGetPortURL, remote port", OPTIVO_DEVICE_GET_INFO, tooSmall, 8);
    remoteUrl.worked.negative->outputs = remoteUrl.worked.positive->outputs =
        "size 35, bytes \"Local:Norvel_Camera.xml;10000;743C\"";
    return {
        interfaceUrl,
        Refused("GCGetPortURLInfo, interface", OPTIVO_INTERFACE_READ_PORT, UNSPECIFIED, 4),
        remoteUrl,
        Refused("GCGetPortURLInfo, remote port", OPTIVO_DEVICE_GET_INFO, tooSmall, 8),
    };
}

std::vector<Row> DeviceRows() {
    const Outcome unopened = {-1001, "Unable to open Stream"};
    return {
        Ignored("DevGetNumDataStreams", OPTIVO_DEVICE_GET_NUM_DATA_STREAMS,
                Outcome{.outputs = "number 4"}),
        {.action = "DevOpenDataStream",
         .operation = OPTIVO_DEVICE_OPEN_DATA_STREAM,
         .idle = Always(unopened),
         .worked = {.negative = unopened},
         .handsOut = true,
         .null = unopened},
        Ignored("GCRegisterEvent, remote port", OPTIVO_DEVICE_REGISTER_EVENT_CALLBACK,
                Sees("callback no, event no", "handle")),
        Ignored("GCUnregisterEvent, remote port", OPTIVO_DEVICE_REGISTER_EVENT_CALLBACK,
                Sees("callback yes, event no")),
    };
}

} // namespace

std::vector<Row> ModuleRows() {
    return Joined<Row>({SystemRows(), OpenDeviceRows(), PortRows(), UrlRows(), DeviceRows()});
}

} // namespace Matrix
