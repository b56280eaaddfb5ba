// The operations that open and close modules, list those there are, and ask them about themselves
// and their parents.
#include "Calls.h"

#include "OptivoSim.h"

void CCalls::OpenSystem() {
    Open(System, nullptr, [&](auto* handle) { return gentl.TLOpen(handle); });
}

void CCalls::OpenInterface() {
    void* const system = Take(System);
    const char* const id = TakeInterfaceId();
    Open(Interface, system,
         [&](auto* handle) { return gentl.TLOpenInterface(system, id, handle); });
}

void CCalls::OpenDevice() {
    void* const interface = Take(Interface);
    const char* const id = TakeDeviceId();
    const int32_t flags = TakeCommand();
    if (m_bytes.ConsumeBool()) {
        Try([&] { return gentl.IFUpdateDeviceList(interface, nullptr, 1); });
    }
    Open(Device, interface,
         [&](auto* handle) { return gentl.IFOpenDevice(interface, id, flags, handle); });
}

void CCalls::OpenStream() {
    void* const device = Take(Device);
    const char* const id = TakeId({"DS0", "DS1", "DS4294967295", "x", ""});
    Open(Stream, device, [&](auto* handle) { return gentl.DevOpenDataStream(device, id, handle); });
    Open(Remote, device, [&](auto* handle) { return gentl.DevGetPort(device, handle); });
}

// From the system to a running stream, as a sound consumer goes, so that inputs get there.
void CCalls::OpenThrough() {
    const bool isFirst = m_bytes.ConsumeBool();
    void* const system = Have(System, nullptr, [&](auto* h) { return gentl.TLOpen(h); });
    void* const interface = Have(Interface, system, [&](auto* h) {
        return gentl.TLOpenInterface(system, isFirst ? "eth0" : "usb0", h);
    });
    Try([&] { return gentl.IFUpdateDeviceList(interface, nullptr, 1); });
    void* const device = Have(Device, interface, [&](auto* h) {
        return gentl.IFOpenDevice(interface, isFirst ? "SN->10001" : "SN->20001", 4, h);
    });
    void* const remote = Have(Remote, device, [&](auto* h) { return gentl.DevGetPort(device, h); });
    void* const stream =
        Have(Stream, device, [&](auto* h) { return gentl.DevOpenDataStream(device, "DS0", h); });
    if (stream == nullptr || m_bytes.ConsumeBool()) {
        return;
    }
    Have(Event, remote, [&](auto* h) { return gentl.GCRegisterEvent(remote, 4, h); });
    void* const newBuffer =
        Have(Event, stream, [&](auto* h) { return gentl.GCRegisterEvent(stream, 1, h); });
    if (m_handles.First(Buffer, stream) == nullptr) {
        AnnounceAt(stream, 512);
        AnnounceAt(stream, 64);
    }
    Try([&] { return gentl.DSFlushQueue(stream, 2); });
    Try([&] { return gentl.DSStartAcquisition(stream, 0, UINT64_MAX); });
    OptivoSim_ProduceImages(isFirst ? "Norvel-G640M-10001" : "Norvel-G640M-20001", 2);
    if (Producer::IsStandard()) {
        AskDelivered(stream, newBuffer);
    }
}

void CCalls::Close() {
    switch (m_bytes.ConsumeIntegralInRange(0, 3)) {
    case 0:
        TryClosing(System, [&](void* handle) { return gentl.TLClose(handle); });
        break;
    case 1:
        TryClosing(Interface, [&](void* handle) { return gentl.IFClose(handle); });
        break;
    case 2:
        TryClosing(
            Device, [&](void* handle) { return gentl.DevClose(handle); }, -1006);
        break;
    default:
        TryClosing(Stream, [&](void* handle) { return gentl.DSClose(handle); });
        break;
    }
}

// --- lists and descriptions

void CCalls::Lists() {
    COutput<std::uint32_t> count(m_bytes);
    switch (m_bytes.ConsumeIntegralInRange(0, 3)) {
    case 0:
        Try([&] { return gentl.TLGetNumInterfaces(Take(System), count.Pointer()); });
        break;
    case 1:
        Try([&] { return gentl.IFGetNumDevices(Take(Interface), count.Pointer()); });
        break;
    case 2:
        Try([&] { return gentl.DevGetNumDataStreams(Take(Device), count.Pointer()); });
        break;
    default:
        Try([&] { return gentl.GCGetNumPortURLs(TakePort(), count.Pointer()); });
        break;
    }
}

void CCalls::UpdateList() {
    COutput<bool8_t> changed(m_bytes);
    const auto timeout = m_bytes.ConsumeIntegral<std::uint64_t>();
    if (m_bytes.ConsumeBool()) {
        Try([&] { return gentl.TLUpdateInterfaceList(Take(System), changed.Pointer(), timeout); });
    } else {
        Try([&] { return gentl.IFUpdateDeviceList(Take(Interface), changed.Pointer(), timeout); });
    }
}

void CCalls::Names() {
    CBufferOutput out(m_bytes);
    const auto index = static_cast<std::uint32_t>(TakeCommand());
    switch (m_bytes.ConsumeIntegralInRange(0, 3)) {
    case 0:
        Try([&] { return gentl.TLGetInterfaceID(Take(System), index, out.Buffer(), out.Size()); });
        break;
    case 1:
        Try([&] { return gentl.IFGetDeviceID(Take(Interface), index, out.Buffer(), out.Size()); });
        break;
    case 2:
        Try([&] {
            return gentl.DevGetDataStreamID(Take(Device), index, out.Buffer(), out.Size());
        });
        break;
    default:
        Try([&] { return gentl.GCGetPortURL(TakePort(), out.Buffer(), out.Size()); });
        break;
    }
}

void CCalls::DescribeModule() {
    switch (m_bytes.ConsumeIntegralInRange(0, 4)) {
    case 0:
        Describe([&](auto... out) { return gentl.GCGetInfo(out...); });
        break;
    case 1:
        Describe([&](auto... out) { return gentl.TLGetInfo(Take(System), out...); });
        break;
    case 2:
        Describe([&](auto... out) { return gentl.IFGetInfo(Take(Interface), out...); });
        break;
    case 3:
        Describe([&](auto... out) { return gentl.DevGetInfo(Take(Device), out...); });
        break;
    default:
        Describe([&](auto... out) { return gentl.DSGetInfo(Take(Stream), out...); });
        break;
    }
}

void CCalls::DescribePart() {
    if (m_bytes.ConsumeBool()) {
        const char* const id = TakeInterfaceId();
        Describe([&](auto... out) { return gentl.TLGetInterfaceInfo(Take(System), id, out...); });
    } else {
        const char* const id = TakeDeviceId();
        Describe([&](auto... out) { return gentl.IFGetDeviceInfo(Take(Interface), id, out...); });
    }
}

void CCalls::Parents() {
    COutput<void*> parent(m_bytes);
    switch (m_bytes.ConsumeIntegralInRange(0, 2)) {
    case 0:
        Try([&] { return gentl.IFGetParentTL(Take(Interface), parent.Pointer()); });
        break;
    case 1:
        Try([&] { return gentl.DevGetParentIF(Take(Device), parent.Pointer()); });
        break;
    default:
        Try([&] { return gentl.DSGetParentDev(Take(Stream), parent.Pointer()); });
        break;
    }
}
