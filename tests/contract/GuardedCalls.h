// Every function that refuses all work until the library is initialised, called with nothing but
// nulls and zeros.
#pragma once

#include "Producer.h"

#include <functional>
#include <string>
#include <vector>

struct GuardedCall {
    std::string name;
    std::function<GC_ERROR(const Producer&)> call;
};

inline std::vector<GuardedCall> GuardedCalls() {
    using P = const Producer&;
    constexpr auto N = nullptr;
    return {
        {"GCGetInfo", [](P p) { return p.GCGetInfo(0, N, N, N); }},
        {"GCReadPort", [](P p) { return p.GCReadPort(N, 0, N, N); }},
        {"GCWritePort", [](P p) { return p.GCWritePort(N, 0, N, N); }},
        {"GCReadPortStacked", [](P p) { return p.GCReadPortStacked(N, N, N); }},
        {"GCWritePortStacked", [](P p) { return p.GCWritePortStacked(N, N, N); }},
        {"GCGetPortURL", [](P p) { return p.GCGetPortURL(N, N, N); }},
        {"GCGetNumPortURLs", [](P p) { return p.GCGetNumPortURLs(N, N); }},
        {"GCGetPortURLInfo", [](P p) { return p.GCGetPortURLInfo(N, 0, 0, N, N, N); }},
        {"GCGetPortInfo", [](P p) { return p.GCGetPortInfo(N, 0, N, N, N); }},
        {"GCRegisterEvent", [](P p) { return p.GCRegisterEvent(N, 0, N); }},
        {"GCUnregisterEvent", [](P p) { return p.GCUnregisterEvent(N, 0); }},
        {"EventGetData", [](P p) { return p.EventGetData(N, N, N, 0); }},
        {"EventGetDataInfo", [](P p) { return p.EventGetDataInfo(N, N, 0, 0, N, N, N); }},
        {"EventGetInfo", [](P p) { return p.EventGetInfo(N, 0, N, N, N); }},
        {"EventFlush", [](P p) { return p.EventFlush(N); }},
        {"EventKill", [](P p) { return p.EventKill(N); }},
        {"TLOpen", [](P p) { return p.TLOpen(N); }},
        {"TLClose", [](P p) { return p.TLClose(N); }},
        {"TLGetInfo", [](P p) { return p.TLGetInfo(N, 0, N, N, N); }},
        {"TLGetNumInterfaces", [](P p) { return p.TLGetNumInterfaces(N, N); }},
        {"TLGetInterfaceID", [](P p) { return p.TLGetInterfaceID(N, 0, N, N); }},
        {"TLGetInterfaceInfo", [](P p) { return p.TLGetInterfaceInfo(N, N, 0, N, N, N); }},
        {"TLOpenInterface", [](P p) { return p.TLOpenInterface(N, N, N); }},
        {"TLUpdateInterfaceList", [](P p) { return p.TLUpdateInterfaceList(N, N, 0); }},
        {"IFClose", [](P p) { return p.IFClose(N); }},
        {"IFGetInfo", [](P p) { return p.IFGetInfo(N, 0, N, N, N); }},
        {"IFGetNumDevices", [](P p) { return p.IFGetNumDevices(N, N); }},
        {"IFGetDeviceID", [](P p) { return p.IFGetDeviceID(N, 0, N, N); }},
        {"IFUpdateDeviceList", [](P p) { return p.IFUpdateDeviceList(N, N, 0); }},
        {"IFGetDeviceInfo", [](P p) { return p.IFGetDeviceInfo(N, N, 0, N, N, N); }},
        {"IFOpenDevice", [](P p) { return p.IFOpenDevice(N, N, 0, N); }},
        {"IFGetParentTL", [](P p) { return p.IFGetParentTL(N, N); }},
        {"DevGetPort", [](P p) { return p.DevGetPort(N, N); }},
        {"DevGetNumDataStreams", [](P p) { return p.DevGetNumDataStreams(N, N); }},
        {"DevGetDataStreamID", [](P p) { return p.DevGetDataStreamID(N, 0, N, N); }},
        {"DevOpenDataStream", [](P p) { return p.DevOpenDataStream(N, N, N); }},
        {"DevGetInfo", [](P p) { return p.DevGetInfo(N, 0, N, N, N); }},
        {"DevClose", [](P p) { return p.DevClose(N); }},
        {"DevGetParentIF", [](P p) { return p.DevGetParentIF(N, N); }},
        {"DSAnnounceBuffer", [](P p) { return p.DSAnnounceBuffer(N, N, 0, N, N); }},
        {"DSAllocAndAnnounceBuffer", [](P p) { return p.DSAllocAndAnnounceBuffer(N, 0, N, N); }},
        {"DSRevokeBuffer", [](P p) { return p.DSRevokeBuffer(N, N, N, N); }},
        {"DSQueueBuffer", [](P p) { return p.DSQueueBuffer(N, N); }},
        {"DSFlushQueue", [](P p) { return p.DSFlushQueue(N, 0); }},
        {"DSStartAcquisition", [](P p) { return p.DSStartAcquisition(N, 0, 0); }},
        {"DSStopAcquisition", [](P p) { return p.DSStopAcquisition(N, 0); }},
        {"DSGetInfo", [](P p) { return p.DSGetInfo(N, 0, N, N, N); }},
        {"DSGetBufferInfo", [](P p) { return p.DSGetBufferInfo(N, N, 0, N, N, N); }},
        {"DSGetBufferID", [](P p) { return p.DSGetBufferID(N, 0, N); }},
        {"DSClose", [](P p) { return p.DSClose(N); }},
        {"DSGetParentDev", [](P p) { return p.DSGetParentDev(N, N); }},
        {"DSGetBufferChunkData", [](P p) { return p.DSGetBufferChunkData(N, N, N, N); }},
        {"DSGetNumBufferParts", [](P p) { return p.DSGetNumBufferParts(N, N, N); }},
        {"DSGetBufferPartInfo", [](P p) { return p.DSGetBufferPartInfo(N, N, 0, 0, N, N, N); }},
    };
}
