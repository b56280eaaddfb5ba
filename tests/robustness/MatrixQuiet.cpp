// The calls that never reach the camera library.
#include "Matrix.h"

#include <utility>

namespace Matrix {
namespace {

Action Quiet(const std::string& name, std::function<int32_t(Bench&)> call, int32_t code = 0) {
    return {.name = name, .state = State::Stream, .call = std::move(call), .sound = {.code = code}};
}

template <typename Function, typename... Arguments>
int32_t AskInfo(Bench& b, Function function, Arguments... arguments) {
    b.out.size = 512;
    return function(arguments..., &b.out.type, b.out.bytes.data(), &b.out.size);
}

std::vector<Action> LibraryCalls() {
    return {
        Quiet("GCInitLib", [](Bench& b) { return b.gentl.GCInitLib(); }),
        Quiet("GCCloseLib",
              [](Bench& b) {
                  const int32_t code = b.gentl.GCCloseLib();
                  return code != 0 ? code : b.gentl.GCInitLib();
              }),
        Quiet("GCGetInfo", [](Bench& b) { return AskInfo(b, b.gentl.GCGetInfo, 1); }),
        Quiet("GCGetLastError",
              [](Bench& b) {
                  return b.gentl.GCGetLastError(nullptr, b.out.bytes.data(), &b.out.size);
              }),
        Quiet("TLGetInfo", [](Bench& b) { return AskInfo(b, b.gentl.TLGetInfo, b.tl, 1); }),
        Quiet("TLGetNumInterfaces, listed",
              [](Bench& b) { return b.gentl.TLGetNumInterfaces(b.tl, &b.out.number); }),
        Quiet("TLGetInterfaceID, listed",
              [](Bench& b) {
                  return b.gentl.TLGetInterfaceID(b.tl, 0, b.out.bytes.data(), &b.out.size);
              }),
        Quiet(
            "TLGetInterfaceInfo",
            [](Bench& b) { return AskInfo(b, b.gentl.TLGetInterfaceInfo, b.tl, INTERFACE_ID, 1); }),
        Quiet("TLOpenInterface, open already",
              [](Bench& b) { return b.gentl.TLOpenInterface(b.tl, INTERFACE_ID, &b.out.handle); }),
        Quiet("IFGetInfo", [](Bench& b) { return AskInfo(b, b.gentl.IFGetInfo, b.iface, 0); }),
        Quiet("IFGetNumDevices",
              [](Bench& b) { return b.gentl.IFGetNumDevices(b.iface, &b.out.number); }),
        Quiet("IFGetDeviceID",
              [](Bench& b) {
                  return b.gentl.IFGetDeviceID(b.iface, 0, b.out.bytes.data(), &b.out.size);
              }),
        Quiet("IFGetDeviceInfo",
              [](Bench& b) { return AskInfo(b, b.gentl.IFGetDeviceInfo, b.iface, CAMERA, 1); }),
        Quiet(
            "IFOpenDevice, open already",
            [](Bench& b) { return b.gentl.IFOpenDevice(b.iface, CAMERA, 4, &b.out.handle); },
            -1004),
        Quiet("IFGetParentTL",
              [](Bench& b) { return b.gentl.IFGetParentTL(b.iface, &b.out.handle); }),
    };
}

std::vector<Action> DeviceCalls() {
    return {
        Quiet("DevGetPort", [](Bench& b) { return b.gentl.DevGetPort(b.device, &b.out.handle); }),
        Quiet("DevGetDataStreamID",
              [](Bench& b) {
                  return b.gentl.DevGetDataStreamID(b.device, 0, b.out.bytes.data(), &b.out.size);
              }),
        Quiet("DevOpenDataStream, open already",
              [](Bench& b) { return b.gentl.DevOpenDataStream(b.device, "DS0", &b.out.handle); }),
        Quiet("DevGetInfo", [](Bench& b) { return AskInfo(b, b.gentl.DevGetInfo, b.device, 0); }),
        Quiet("DevGetParentIF",
              [](Bench& b) { return b.gentl.DevGetParentIF(b.device, &b.out.handle); }),
        Quiet("GCRegisterEvent, errors of the device",
              [](Bench& b) { return b.gentl.GCRegisterEvent(b.device, 0, &b.out.handle); }),
        Quiet("GCUnregisterEvent, errors of the device",
              [](Bench& b) { return b.gentl.GCUnregisterEvent(b.device, 0); }),
        Quiet("GCRegisterEvent, new buffers",
              [](Bench& b) { return b.gentl.GCRegisterEvent(b.stream, 1, &b.out.handle); }),
        Quiet("GCUnregisterEvent, errors of the stream",
              [](Bench& b) { return b.gentl.GCUnregisterEvent(b.stream, 0); }),
        Quiet("EventGetData, device event",
              [](Bench& b) {
                  return b.gentl.EventGetData(b.deviceEvent, b.out.bytes.data(), &b.out.size, 0);
              }),
        Quiet(
            "EventGetDataInfo",
            [](Bench& b) { return AskInfo(b, b.gentl.EventGetDataInfo, b.newBuffer, &b, 16U, 0); }),
        Quiet("EventGetInfo, device event",
              [](Bench& b) { return AskInfo(b, b.gentl.EventGetInfo, b.deviceEvent, 1); }),
        Quiet("EventGetInfo, new buffers",
              [](Bench& b) { return AskInfo(b, b.gentl.EventGetInfo, b.newBuffer, 1); }),
        Quiet("EventFlush", [](Bench& b) { return b.gentl.EventFlush(b.newBuffer); }),
        Quiet("EventKill", [](Bench& b) { return b.gentl.EventKill(b.newBuffer); }),
    };
}

std::vector<Action> StreamCalls() {
    std::vector<Action> calls = {
        Quiet("DSAnnounceBuffer",
              [](Bench& b) {
                  return b.gentl.DSAnnounceBuffer(b.stream, b.out.bytes.data(), 8, nullptr,
                                                  &b.out.handle);
              }),
        Quiet("DSAllocAndAnnounceBuffer",
              [](Bench& b) {
                  return b.gentl.DSAllocAndAnnounceBuffer(b.stream, 8, nullptr, &b.out.handle);
              }),
        Quiet("DSGetBufferID",
              [](Bench& b) { return b.gentl.DSGetBufferID(b.stream, 2, &b.out.handle); }),
        Quiet("DSRevokeBuffer",
              [](Bench& b) {
                  BUFFER_HANDLE third = nullptr;
                  const int32_t code = b.gentl.DSGetBufferID(b.stream, 2, &third);
                  return code != 0 ? code
                                   : b.gentl.DSRevokeBuffer(b.stream, third, nullptr, nullptr);
              }),
        Quiet("DSQueueBuffer",
              [](Bench& b) { return b.gentl.DSQueueBuffer(b.stream, b.buffers[0]); }),
        Quiet("DSFlushQueue", [](Bench& b) { return b.gentl.DSFlushQueue(b.stream, 2); }),
        Quiet("DSGetBufferInfo",
              [](Bench& b) {
                  return AskInfo(b, b.gentl.DSGetBufferInfo, b.stream, b.buffers[0], 0);
              }),
        Quiet("DSGetParentDev",
              [](Bench& b) { return b.gentl.DSGetParentDev(b.stream, &b.out.handle); }),
        Quiet(
            "DSGetBufferChunkData",
            [](Bench& b) {
                return b.gentl.DSGetBufferChunkData(b.stream, b.buffers[0], nullptr, &b.out.size);
            },
            -1003),
        Quiet(
            "DSGetNumBufferParts",
            [](Bench& b) {
                return b.gentl.DSGetNumBufferParts(b.stream, b.buffers[0], &b.out.number);
            },
            -1003),
        Quiet(
            "DSGetBufferPartInfo",
            [](Bench& b) {
                return AskInfo(b, b.gentl.DSGetBufferPartInfo, b.stream, b.buffers[0], 0U, 0);
            },
            -1003),
    };
    for (const STREAM_INFO_CMD command : {0, 1, 3, 4, 5, 8, 10}) {
        calls.push_back(Quiet("DSGetInfo, " + std::to_string(command), [command](Bench& b) {
            return AskInfo(b, b.gentl.DSGetInfo, b.stream, command);
        }));
    }
    return calls;
}

// Every port function, of a port that the library does not serve and, where it is the producer
// that answers, of those that it serves.
std::vector<Action> PortCalls(const std::string& name, bool isServed,
                              const std::function<PORT_HANDLE(Bench&)>& port) {
    std::vector<Action> calls = {
        Quiet("GCGetNumPortURLs, " + name,
              [port](Bench& b) { return b.gentl.GCGetNumPortURLs(port(b), &b.out.number); }),
        Quiet("GCGetPortInfo, " + name,
              [port](Bench& b) { return AskInfo(b, b.gentl.GCGetPortInfo, port(b), 1); }),
        Quiet("GCGetPortURLInfo, number, " + name,
              [port](Bench& b) { return AskInfo(b, b.gentl.GCGetPortURLInfo, port(b), 0U, 1); }),
    };
    if (isServed) {
        return calls;
    }
    const auto entry = [](Bench& b) { return PORT_REGISTER_STACK_ENTRY{8, b.out.bytes.data(), 4}; };
    calls.push_back(Quiet("GCGetPortURL, " + name, [port](Bench& b) {
        return b.gentl.GCGetPortURL(port(b), b.out.bytes.data(), &b.out.size);
    }));
    calls.push_back(Quiet("GCGetPortURLInfo, " + name, [port](Bench& b) {
        return AskInfo(b, b.gentl.GCGetPortURLInfo, port(b), 0U, 0);
    }));
    calls.push_back(Quiet("GCReadPort, " + name, [port](Bench& b) {
        b.out.size = 4;
        return b.gentl.GCReadPort(port(b), 8, b.out.bytes.data(), &b.out.size);
    }));
    calls.push_back(Quiet("GCWritePort, " + name, [port](Bench& b) {
        const uint32_t first = 0;
        b.out.size = 4;
        return b.gentl.GCWritePort(port(b), 8, &first, &b.out.size);
    }));
    calls.push_back(Quiet("GCReadPortStacked, " + name, [port, entry](Bench& b) {
        PORT_REGISTER_STACK_ENTRY one = entry(b);
        size_t count = 1;
        return b.gentl.GCReadPortStacked(port(b), &one, &count);
    }));
    calls.push_back(Quiet("GCWritePortStacked, " + name, [port, entry](Bench& b) {
        PORT_REGISTER_STACK_ENTRY one = entry(b);
        size_t count = 1;
        return b.gentl.GCWritePortStacked(port(b), &one, &count);
    }));
    return calls;
}

} // namespace

std::vector<Action> QuietActions() {
    return Joined<Action>({
        LibraryCalls(),
        DeviceCalls(),
        StreamCalls(),
        PortCalls("system", false, [](Bench& b) { return b.tl; }),
        PortCalls("interface", true, [](Bench& b) { return b.iface; }),
        PortCalls("device", false, [](Bench& b) { return b.device; }),
        PortCalls("remote port", true, [](Bench& b) { return b.remote; }),
        PortCalls("stream", false, [](Bench& b) { return b.stream; }),
        PortCalls("buffer", false, [](Bench& b) { return b.buffers[0]; }),
    });
}

} // namespace Matrix
