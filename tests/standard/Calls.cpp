#include "Calls.h"

namespace {

using Gentl = const Producer&;

// Where the calls write.
struct Out {
    INFO_DATATYPE type = 0;
    char bytes[256]{};
    size_t size = sizeof bytes;
    uint32_t number = 0;
    void* handle = nullptr;
    SINGLE_CHUNK_DATA chunk{};
    PORT_REGISTER_STACK_ENTRY entry{4, bytes, 4};
    size_t one = 1;
    size_t four = 4;
};

constexpr Call CALLS[] = {
    {"TLClose", Takes::System, [](Gentl g, void* h, void*) { return g.TLClose(h); }},
    {"TLGetInfo", Takes::System,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.TLGetInfo(h, 1, &o.type, o.bytes, &o.size);
     }},
    {"TLGetNumInterfaces", Takes::System,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.TLGetNumInterfaces(h, &o.number);
     }},
    {"TLGetInterfaceID", Takes::System,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.TLGetInterfaceID(h, 0, o.bytes, &o.size);
     }},
    {"TLGetInterfaceInfo", Takes::System,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.TLGetInterfaceInfo(h, "GEV::eth0", 0, &o.type, o.bytes, &o.size);
     }},
    {"TLOpenInterface", Takes::System,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.TLOpenInterface(h, "GEV::eth0", &o.handle);
     }},
    {"TLUpdateInterfaceList", Takes::System,
     [](Gentl g, void* h, void*) { return g.TLUpdateInterfaceList(h, nullptr, 10); }},

    {"IFClose", Takes::Interface, [](Gentl g, void* h, void*) { return g.IFClose(h); }},
    {"IFGetInfo", Takes::Interface,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.IFGetInfo(h, 0, &o.type, o.bytes, &o.size);
     }},
    {"IFGetNumDevices", Takes::Interface,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.IFGetNumDevices(h, &o.number);
     }},
    {"IFGetDeviceID", Takes::Interface,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.IFGetDeviceID(h, 0, o.bytes, &o.size);
     }},
    {"IFUpdateDeviceList", Takes::Interface,
     [](Gentl g, void* h, void*) { return g.IFUpdateDeviceList(h, nullptr, 10); }},
    {"IFGetDeviceInfo", Takes::Interface,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.IFGetDeviceInfo(h, "Norvel-G640M-10001", 0, &o.type, o.bytes, &o.size);
     }},
    {"IFOpenDevice", Takes::Interface,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.IFOpenDevice(h, "Norvel-G640M-10001", 4, &o.handle);
     }},
    {"IFGetParentTL", Takes::Interface,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.IFGetParentTL(h, &o.handle);
     }},

    {"DevGetPort", Takes::Device,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.DevGetPort(h, &o.handle);
     }},
    {"DevGetNumDataStreams", Takes::Device,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.DevGetNumDataStreams(h, &o.number);
     }},
    {"DevGetDataStreamID", Takes::Device,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.DevGetDataStreamID(h, 0, o.bytes, &o.size);
     }},
    {"DevOpenDataStream", Takes::Device,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.DevOpenDataStream(h, "DS0", &o.handle);
     }},
    {"DevGetInfo", Takes::Device,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.DevGetInfo(h, 0, &o.type, o.bytes, &o.size);
     }},
    {"DevClose", Takes::Device, [](Gentl g, void* h, void*) { return g.DevClose(h); }},
    {"DevGetParentIF", Takes::Device,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.DevGetParentIF(h, &o.handle);
     }},

    {"DSAnnounceBuffer", Takes::Stream,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.DSAnnounceBuffer(h, o.bytes, sizeof o.bytes, nullptr, &o.handle);
     }},
    {"DSAllocAndAnnounceBuffer", Takes::Stream,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.DSAllocAndAnnounceBuffer(h, 64, nullptr, &o.handle);
     }},
    {"DSFlushQueue", Takes::Stream, [](Gentl g, void* h, void*) { return g.DSFlushQueue(h, 4); }},
    {"DSStartAcquisition", Takes::Stream,
     [](Gentl g, void* h, void*) { return g.DSStartAcquisition(h, 0, 1); }},
    {"DSStopAcquisition", Takes::Stream,
     [](Gentl g, void* h, void*) { return g.DSStopAcquisition(h, 0); }},
    {"DSGetInfo", Takes::Stream,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.DSGetInfo(h, 0, &o.type, o.bytes, &o.size);
     }},
    {"DSGetBufferID", Takes::Stream,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.DSGetBufferID(h, 0, &o.handle);
     }},
    {"DSClose", Takes::Stream, [](Gentl g, void* h, void*) { return g.DSClose(h); }},
    {"DSGetParentDev", Takes::Stream,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.DSGetParentDev(h, &o.handle);
     }},

    {"DSRevokeBuffer", Takes::Buffer,
     [](Gentl g, void* h, void* s) { return g.DSRevokeBuffer(s, h, nullptr, nullptr); }},
    {"DSQueueBuffer", Takes::Buffer,
     [](Gentl g, void* h, void* s) { return g.DSQueueBuffer(s, h); }},
    {"DSGetBufferInfo", Takes::Buffer,
     [](Gentl g, void* h, void* s) {
         Out o;
         return g.DSGetBufferInfo(s, h, 1, &o.type, o.bytes, &o.size);
     }},
    {"DSGetBufferChunkData", Takes::Buffer,
     [](Gentl g, void* h, void* s) {
         Out o;
         return g.DSGetBufferChunkData(s, h, &o.chunk, &o.one);
     }},
    {"DSGetNumBufferParts", Takes::Buffer,
     [](Gentl g, void* h, void* s) {
         Out o;
         return g.DSGetNumBufferParts(s, h, &o.number);
     }},
    {"DSGetBufferPartInfo", Takes::Buffer,
     [](Gentl g, void* h, void* s) {
         Out o;
         return g.DSGetBufferPartInfo(s, h, 0, 0, &o.type, o.bytes, &o.size);
     }},

    {"GCReadPort", Takes::Port,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.GCReadPort(h, 0, o.bytes, &o.four);
     }},
    {"GCWritePort", Takes::Port,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.GCWritePort(h, 0, o.bytes, &o.four);
     }},
    {"GCReadPortStacked", Takes::Port,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.GCReadPortStacked(h, &o.entry, &o.one);
     }},
    {"GCWritePortStacked", Takes::Port,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.GCWritePortStacked(h, &o.entry, &o.one);
     }},
    {"GCGetPortURL", Takes::Port,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.GCGetPortURL(h, o.bytes, &o.size);
     }},
    {"GCGetNumPortURLs", Takes::Port,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.GCGetNumPortURLs(h, &o.number);
     }},
    {"GCGetPortURLInfo", Takes::Port,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.GCGetPortURLInfo(h, 0, 0, &o.type, o.bytes, &o.size);
     }},
    {"GCGetPortInfo", Takes::Port,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.GCGetPortInfo(h, 0, &o.type, o.bytes, &o.size);
     }},

    {"GCRegisterEvent", Takes::Source,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.GCRegisterEvent(h, 0, &o.handle);
     }},
    {"GCUnregisterEvent", Takes::Source,
     [](Gentl g, void* h, void*) { return g.GCUnregisterEvent(h, 0); }},

    {"EventGetData", Takes::Event,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.EventGetData(h, o.bytes, &o.size, 0);
     }},
    {"EventGetDataInfo", Takes::Event,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.EventGetDataInfo(h, o.bytes, 24, 0, &o.type, o.bytes, &o.size);
     }},
    {"EventGetInfo", Takes::Event,
     [](Gentl g, void* h, void*) {
         Out o;
         return g.EventGetInfo(h, 0, &o.type, o.bytes, &o.size);
     }},
    {"EventFlush", Takes::Event, [](Gentl g, void* h, void*) { return g.EventFlush(h); }},
    {"EventKill", Takes::Event, [](Gentl g, void* h, void*) { return g.EventKill(h); }},
};

} // namespace

std::span<const Call> AllCalls() {
    return CALLS;
}
