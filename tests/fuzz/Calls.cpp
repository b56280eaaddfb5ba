// Calls the module's functions in any order with any arguments, while its camera library fails in
// every way, and checks what holds for every answer.
#include "Demand.h"
#include "Faults.h"
#include "Handles.h"
#include "Output.h"
#include "SmallWorld.h"

#include "OptivoSim.h"
#include "Producer.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

using enum EHandle;

// The functions whose failure with one code is not recorded.
constexpr int32_t ALWAYS_RECORDED = 0;

class CCalls {
public:
    explicit CCalls(Bytes& bytes)
        : m_bytes(bytes), gentl(TheProducer()), m_handles(bytes, TheProducer()) {}

    void Go() {
        gentl.GCInitLib();
        gentl.GCGetInfo(99, nullptr, nullptr, nullptr); // there is an error to read
        for (int left = 120; left > 0 && m_bytes.remaining_bytes() > 0; --left) {
            static constexpr void (CCalls::*OPERATIONS[])() = {
                &CCalls::Steer,          &CCalls::Steer,         &CCalls::OpenSystem,
                &CCalls::OpenInterface,  &CCalls::OpenDevice,    &CCalls::OpenDevice,
                &CCalls::OpenStream,     &CCalls::OpenStream,    &CCalls::OpenThrough,
                &CCalls::OpenThrough,    &CCalls::OpenThrough,   &CCalls::Close,
                &CCalls::Lists,          &CCalls::UpdateList,    &CCalls::Names,
                &CCalls::DescribeModule, &CCalls::DescribePart,  &CCalls::DescribePort,
                &CCalls::AccessPort,     &CCalls::AccessPort,    &CCalls::AccessStacked,
                &CCalls::RegisterEvent,  &CCalls::RegisterEvent, &CCalls::UseEvent,
                &CCalls::UseEvent,       &CCalls::WaitEvent,     &CCalls::WaitEvent,
                &CCalls::Announce,       &CCalls::Announce,      &CCalls::AnnounceAbsurd,
                &CCalls::Queue,          &CCalls::Queue,         &CCalls::Revoke,
                &CCalls::Flush,          &CCalls::Start,         &CCalls::Start,
                &CCalls::Stop,           &CCalls::AskBuffer,     &CCalls::FindBuffer,
                &CCalls::Parents,        &CCalls::NotThere,      &CCalls::LastError,
                &CCalls::Library};
            (this->*m_bytes.PickValueInArray(OPERATIONS))();
        }
        m_handles.CloseAll();
        for (int kind = 0; kind < OPTIVO_NUM_OBJECT_KINDS; ++kind) {
            Demand(OptivoSim_NumAlive(static_cast<OptivoObjectKind>(kind)) == 0,
                   "every object of the camera library is closed");
        }
        Demand(OptivoSim_NumDoubleCloses() == 0, "nothing is closed twice");
        Demand(OptivoSim_NumUsesAfterClose() == 0, "nothing is used after its close");
    }

private:
    struct Recorded {
        int32_t code = 0;
        std::string text;
        bool operator==(const Recorded&) const = default;
    };

    Recorded ReadLastError() {
        Recorded recorded;
        std::array<char, 4096> text{};
        std::size_t size = text.size();
        Demand(gentl.GCGetLastError(&recorded.code, text.data(), &size) == 0,
               "the last error can be read");
        recorded.text = text.data();
        DemandEqual(size, recorded.text.size() + 1, "the last error has its size");
        return recorded;
    }

    // Makes a call, and checks that its answer is a known one and that its failure is recorded.
    template <typename Call>
    int32_t Try(Call&& call, int32_t unrecorded = ALWAYS_RECORDED) {
        gentl.GCGetInfo(99, nullptr, nullptr, nullptr);
        const Recorded before = ReadLastError();
        const int32_t code = call();
        const Recorded after = ReadLastError();
        Demand(code == 0 || (code <= -1001 && code >= -1021), "an answer is a known code");
        if (code == 0 || (code == unrecorded && after == before)) {
            Demand(after == before, "a success records nothing");
        } else if (code == -1006 && after.code == -1009) {
            DemandEqual(after.text, "Function call on wrong handle or NULL pointer.",
                        "a null handle is recorded as such");
        } else {
            DemandEqual(after.code, code, "the recorded code is the answer");
            Demand(!after.text.empty(), "an error has a text");
        }
        return code;
    }

    void* Take(EHandle kind) { return m_handles.Take(kind); }

    int32_t TakeCommand() {
        if (m_bytes.ConsumeIntegralInRange(0, 7) != 0) {
            return m_bytes.ConsumeIntegralInRange(0, 15);
        }
        static constexpr int32_t ODD[] = {16,   17,   18,   19,   25, 99,        1000,     1001,
                                          1002, 1003, 1004, 1005, -1, INT32_MAX, INT32_MIN};
        return m_bytes.PickValueInArray(ODD);
    }

    // Tells a text or null.
    const char* TakeId(const std::vector<const char*>& usual) {
        const auto choice = m_bytes.ConsumeIntegral<std::uint8_t>();
        if (choice == 0) {
            return nullptr;
        }
        if (choice < 32) {
            m_text = TakeText(m_bytes, choice == 1 ? 3000 : 40);
            return m_text.c_str();
        }
        return usual[choice % usual.size()];
    }

    const char* TakeInterfaceId() {
        return TakeId({"GEV::eth0", "eth0", "U3V::usb0", "u3v::USB0", "::", ""});
    }

    const char* TakeDeviceId() {
        return TakeId({"Norvel-G640M-10001", "Norvel-G640M-10002", "Norvel-G640M-20001",
                       "SN->10002", "USERNAME->", "x::norvel-g640m-10001::", "::", ""});
    }

    // --- steering and modules

    void Steer() { SteerCameraLibrary(m_bytes); }

    template <typename Call>
    void Open(EHandle kind, void* parent, Call&& call) {
        COutput<void*> handle(m_bytes);
        if (Try([&] { return call(handle.Pointer()); }) == 0) {
            m_handles.Add(kind, handle.Get(), parent);
        }
    }

    void OpenSystem() {
        Open(System, nullptr, [&](auto* handle) { return gentl.TLOpen(handle); });
    }

    void OpenInterface() {
        void* const system = Take(System);
        const char* const id = TakeInterfaceId();
        Open(Interface, system,
             [&](auto* handle) { return gentl.TLOpenInterface(system, id, handle); });
    }

    void OpenDevice() {
        void* const interface = Take(Interface);
        const char* const id = TakeDeviceId();
        const int32_t flags = TakeCommand();
        if (m_bytes.ConsumeBool()) {
            Try([&] { return gentl.IFUpdateDeviceList(interface, nullptr, 1); });
        }
        Open(Device, interface,
             [&](auto* handle) { return gentl.IFOpenDevice(interface, id, flags, handle); });
    }

    void OpenStream() {
        void* const device = Take(Device);
        const char* const id = TakeId({"DS0", "DS1", "DS4294967295", "x", ""});
        Open(Stream, device,
             [&](auto* handle) { return gentl.DevOpenDataStream(device, id, handle); });
        Open(Remote, device, [&](auto* handle) { return gentl.DevGetPort(device, handle); });
    }

    // An open module of this kind, made with the call if there is none; null when that fails.
    template <typename Call>
    void* Have(EHandle kind, void* parent, Call&& call) {
        if (void* const known = m_handles.First(kind, parent)) {
            return known;
        }
        void* handle = nullptr;
        if (Try([&] { return call(&handle); }) != 0) {
            return nullptr;
        }
        m_handles.Add(kind, handle, parent);
        return handle;
    }

    // From the system to a running stream, as a sound consumer goes, so that inputs get there.
    void OpenThrough() {
        const bool isFirst = m_bytes.ConsumeBool();
        void* const system = Have(System, nullptr, [&](auto* h) { return gentl.TLOpen(h); });
        void* const interface = Have(Interface, system, [&](auto* h) {
            return gentl.TLOpenInterface(system, isFirst ? "eth0" : "usb0", h);
        });
        Try([&] { return gentl.IFUpdateDeviceList(interface, nullptr, 1); });
        void* const device = Have(Device, interface, [&](auto* h) {
            return gentl.IFOpenDevice(interface, isFirst ? "SN->10001" : "SN->20001", 4, h);
        });
        void* const remote =
            Have(Remote, device, [&](auto* h) { return gentl.DevGetPort(device, h); });
        void* const stream = Have(
            Stream, device, [&](auto* h) { return gentl.DevOpenDataStream(device, "DS0", h); });
        if (stream == nullptr || m_bytes.ConsumeBool()) {
            return;
        }
        Have(Event, remote, [&](auto* h) { return gentl.GCRegisterEvent(remote, 4, h); });
        Have(Event, stream, [&](auto* h) { return gentl.GCRegisterEvent(stream, 1, h); });
        if (m_handles.First(Buffer, stream) == nullptr) {
            AnnounceAt(stream, 512);
            AnnounceAt(stream, 64);
        }
        Try([&] { return gentl.DSFlushQueue(stream, 2); });
        Try([&] { return gentl.DSStartAcquisition(stream, 0, UINT64_MAX); });
        OptivoSim_ProduceImages(isFirst ? "Norvel-G640M-10001" : "Norvel-G640M-20001", 2);
    }

    template <typename Call>
    bool TryClosing(EHandle kind, Call&& call, int32_t unrecorded = ALWAYS_RECORDED) {
        void* const handle = Take(kind);
        if (m_handles.IsAlive(kind, handle)) {
            m_handles.PrepareClosing(handle);
        }
        if (Try([&] { return call(handle); }, unrecorded) != 0) {
            return false;
        }
        Demand(m_handles.IsAlive(kind, handle), "only what is alive is closed");
        if (kind == Interface) {
            m_handles.RemoveInterface(handle);
        } else {
            m_handles.Remove(handle);
        }
        return true;
    }

    void Close() {
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

    void Lists() {
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

    void UpdateList() {
        COutput<bool8_t> changed(m_bytes);
        const auto timeout = m_bytes.ConsumeIntegral<std::uint64_t>();
        if (m_bytes.ConsumeBool()) {
            Try([&] {
                return gentl.TLUpdateInterfaceList(Take(System), changed.Pointer(), timeout);
            });
        } else {
            Try([&] {
                return gentl.IFUpdateDeviceList(Take(Interface), changed.Pointer(), timeout);
            });
        }
    }

    void Names() {
        CBufferOutput out(m_bytes);
        const auto index = static_cast<std::uint32_t>(TakeCommand());
        switch (m_bytes.ConsumeIntegralInRange(0, 3)) {
        case 0:
            Try([&] {
                return gentl.TLGetInterfaceID(Take(System), index, out.Buffer(), out.Size());
            });
            break;
        case 1:
            Try([&] {
                return gentl.IFGetDeviceID(Take(Interface), index, out.Buffer(), out.Size());
            });
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

    // The call gets a command and the three outputs.
    template <typename Call>
    void Describe(Call&& call, int32_t unrecorded = ALWAYS_RECORDED) {
        const int32_t command = TakeCommand();
        COutput<INFO_DATATYPE> type(m_bytes);
        CBufferOutput out(m_bytes);
        Try([&] { return call(command, type.Pointer(), out.Buffer(), out.Size()); }, unrecorded);
    }

    void DescribeModule() {
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

    void DescribePart() {
        if (m_bytes.ConsumeBool()) {
            const char* const id = TakeInterfaceId();
            Describe(
                [&](auto... out) { return gentl.TLGetInterfaceInfo(Take(System), id, out...); });
        } else {
            const char* const id = TakeDeviceId();
            Describe(
                [&](auto... out) { return gentl.IFGetDeviceInfo(Take(Interface), id, out...); });
        }
    }

    // --- ports

    void* TakePort() {
        static constexpr EHandle PORTS[] = {System, Interface, Device, Remote,
                                            Remote, Stream,    Buffer};
        return Take(m_bytes.PickValueInArray(PORTS));
    }

    void DescribePort() {
        if (m_bytes.ConsumeBool()) {
            Describe([&](auto... out) { return gentl.GCGetPortInfo(TakePort(), out...); });
            return;
        }
        const std::uint32_t index = m_bytes.ConsumeIntegralInRange(0, 7) == 0 ? 1 : 0;
        Describe([&](auto... out) { return gentl.GCGetPortURLInfo(TakePort(), index, out...); });
    }

    std::uint64_t TakeAddress() {
        switch (m_bytes.ConsumeIntegralInRange(0, 3)) {
        case 0:
            return m_bytes.ConsumeIntegral<std::uint64_t>();
        case 1:
            return m_bytes.ConsumeIntegralInRange<std::uint64_t>(0, 0x500) * 4;
        default:
            return m_bytes.ConsumeIntegral<std::uint16_t>();
        }
    }

    void FillFromBytes(char* buffer) {
        if (buffer != nullptr) {
            const std::string content = m_bytes.ConsumeBytesAsString(8);
            std::memcpy(buffer, content.data(), content.size());
        }
    }

    void AccessPort() {
        CBufferOutput out(m_bytes, ESizes::Honest, 8);
        const std::uint64_t address = TakeAddress();
        if (m_bytes.ConsumeBool()) {
            Try([&] { return gentl.GCReadPort(TakePort(), address, out.Buffer(), out.Size()); });
        } else {
            FillFromBytes(out.Buffer());
            Try([&] { return gentl.GCWritePort(TakePort(), address, out.Buffer(), out.Size()); });
        }
    }

    void AccessStacked() {
        std::array<PORT_REGISTER_STACK_ENTRY, 3> entries{};
        std::array<std::array<char, 40>, 3> buffers{};
        for (std::size_t i = 0; i < entries.size(); ++i) {
            const auto size = m_bytes.ConsumeIntegralInRange<std::size_t>(0, 40);
            entries[i] = {TakeAddress(), size == 39 ? nullptr : buffers[i].data(), size};
        }
        const bool isNull = m_bytes.ConsumeIntegralInRange(0, 15) == 0;
        COutput<std::size_t> count(m_bytes, m_bytes.ConsumeIntegralInRange<std::size_t>(0, 3));
        auto* const given = isNull ? nullptr : entries.data();
        const bool isRead = m_bytes.ConsumeBool();
        Try(
            [&] {
                return isRead ? gentl.GCReadPortStacked(TakePort(), given, count.Pointer())
                              : gentl.GCWritePortStacked(TakePort(), given, count.Pointer());
            },
            -1009);
        Demand(count.Get() <= entries.size(), "no more accesses are counted than there are");
    }

    // --- events

    void RegisterEvent() {
        static constexpr EHandle SOURCES[] = {System, Interface, Device, Remote,
                                              Stream, Stream,    Buffer};
        void* const source = Take(m_bytes.PickValueInArray(SOURCES));
        const int32_t type = m_bytes.ConsumeIntegralInRange(-1, 6);
        if (m_bytes.ConsumeIntegralInRange(0, 3) == 0) {
            Try([&] { return gentl.GCUnregisterEvent(source, type); });
        } else {
            Open(Event, source,
                 [&](auto* handle) { return gentl.GCRegisterEvent(source, type, handle); });
        }
    }

    void UseEvent() {
        std::array<char, 32> data{};
        switch (m_bytes.ConsumeIntegralInRange(0, 3)) {
        case 0:
            Try([&] { return gentl.EventFlush(Take(Event)); });
            break;
        case 1:
            Try([&] { return gentl.EventKill(Take(Event)); });
            break;
        case 2:
            Describe([&](auto... out) { return gentl.EventGetInfo(Take(Event), out...); });
            break;
        default: {
            const auto size = m_bytes.ConsumeIntegralInRange<std::size_t>(0, data.size());
            const char* const given = m_bytes.ConsumeBool() ? data.data() : nullptr;
            Describe([&](auto... out) {
                return gentl.EventGetDataInfo(Take(Event), given, size, out...);
            });
            break;
        }
        }
    }

    // The record of a device event has 24 bytes, however few are offered.
    void WaitEvent() {
        CBufferOutput out(m_bytes, ESizes::Any, 24);
        const std::uint64_t timeout = m_bytes.ConsumeIntegralInRange(0, 15) == 0 ? 1 : 0;
        Try([&] { return gentl.EventGetData(Take(Event), out.Buffer(), out.Size(), timeout); });
    }

    // --- buffers

    void Announce() {
        static constexpr std::size_t SIZES[] = {0, 1, 95, 96, 97, 128, 256, 1024, 4096};
        const std::size_t size = m_bytes.PickValueInArray(SIZES);
        AnnounceAt(Take(Stream), size);
    }

    void AnnounceAt(void* stream, std::size_t size) {
        std::unique_ptr<char[]> memory;
        if (m_bytes.ConsumeBool()) {
            memory = std::make_unique<char[]>(size);
        }
        COutput<BUFFER_HANDLE> handle(m_bytes);
        const bool isAllocated = m_bytes.ConsumeBool();
        const int32_t code = Try([&] {
            return isAllocated
                       ? gentl.DSAllocAndAnnounceBuffer(stream, size, this, handle.Pointer())
                       : gentl.DSAnnounceBuffer(stream, memory.get(), size, this, handle.Pointer());
        });
        if (code == 0) {
            m_handles.Add(Buffer, handle.Get(), stream, std::move(memory));
        }
    }

    // A buffer for which there is no memory is announced all the same. No queue must get it.
    void AnnounceAbsurd() {
        void* const stream = Take(Stream);
        if (!m_handles.IsAlive(Stream, stream)) {
            return;
        }
        Try([&] { return gentl.DSStopAcquisition(stream, 0); });
        const std::size_t size = SIZE_MAX >> m_bytes.ConsumeIntegralInRange(0, 16);
        BUFFER_HANDLE handle = nullptr;
        if (Try([&] { return gentl.DSAllocAndAnnounceBuffer(stream, size, this, &handle); }) != 0) {
            return;
        }
        Describe([&](auto... out) { return gentl.DSGetBufferInfo(stream, handle, out...); });
        void* base = this;
        Demand(Try([&] { return gentl.DSRevokeBuffer(stream, handle, &base, nullptr); }) == 0,
               "a buffer without memory is revoked");
        Demand(base == nullptr, "a buffer without memory has none");
    }

    void Queue() {
        void* const stream = Take(Stream);
        void* const buffer = Take(Buffer);
        Try([&] { return gentl.DSQueueBuffer(stream, buffer); });
    }

    void Revoke() {
        void* const stream = Take(Stream);
        void* const buffer = Take(Buffer);
        COutput<void*> memory(m_bytes);
        COutput<void*> user(m_bytes);
        const int32_t code = Try(
            [&] { return gentl.DSRevokeBuffer(stream, buffer, memory.Pointer(), user.Pointer()); });
        if (code == 0) {
            Demand(m_handles.IsAlive(Buffer, buffer), "only what is announced is revoked");
            m_handles.Remove(buffer);
        }
    }

    void Flush() {
        void* const stream = Take(Stream);
        const int32_t operation = m_bytes.ConsumeIntegralInRange(-1, 5);
        Try([&] { return gentl.DSFlushQueue(stream, operation); });
    }

    void Start() {
        static constexpr std::uint64_t COUNTS[] = {UINT64_MAX, 0, 1, 2, 5, 0xFFFFFFFE, 0xFFFFFFFF};
        void* const stream = Take(Stream);
        const std::uint64_t count = m_bytes.PickValueInArray(COUNTS);
        Try([&] { return gentl.DSStartAcquisition(stream, TakeCommand(), count); });
    }

    void Stop() {
        void* const stream = Take(Stream);
        Try([&] { return gentl.DSStopAcquisition(stream, TakeCommand()); });
    }

    void AskBuffer() {
        void* const stream = Take(Stream);
        void* const buffer = Take(Buffer);
        Describe([&](auto... out) { return gentl.DSGetBufferInfo(stream, buffer, out...); });
    }

    void FindBuffer() {
        void* const stream = Take(Stream);
        COutput<BUFFER_HANDLE> handle(m_bytes);
        const auto index = static_cast<std::uint32_t>(TakeCommand());
        if (Try([&] { return gentl.DSGetBufferID(stream, index, handle.Pointer()); }) == 0) {
            Demand(m_handles.IsAlive(Buffer, handle.Get()), "a buffer that is found is announced");
        }
    }

    // --- the rest

    void Parents() {
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

    void NotThere() {
        void* const stream = Take(Stream);
        void* const buffer = Take(Buffer);
        COutput<std::uint32_t> count(m_bytes);
        std::size_t numChunks = 0;
        switch (m_bytes.ConsumeIntegralInRange(0, 2)) {
        case 0:
            Try([&] { return gentl.DSGetBufferChunkData(stream, buffer, nullptr, &numChunks); });
            break;
        case 1:
            Try([&] { return gentl.DSGetNumBufferParts(stream, buffer, count.Pointer()); });
            break;
        default:
            Describe(
                [&](auto... out) { return gentl.DSGetBufferPartInfo(stream, buffer, 0, out...); });
            break;
        }
    }

    void LastError() {
        COutput<int32_t> code(m_bytes);
        CBufferOutput out(m_bytes);
        const int32_t answer = gentl.GCGetLastError(code.Pointer(), out.Buffer(), out.Size());
        Demand(answer == 0 || answer == -1009 || answer == -1016, "the last error can be read");
    }

    void Library() {
        if (m_bytes.ConsumeBool()) {
            Demand(gentl.GCInitLib() == 0, "the library can always be initialised");
        } else if (m_bytes.ConsumeIntegralInRange(0, 3) == 0) {
            Demand(gentl.GCCloseLib() == 0, "the library can always be closed");
        }
    }

    Bytes& m_bytes;
    const Producer& gentl;
    CHandles m_handles;
    std::string m_text;
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    BeginWithSmallWorld();
    TheProducer(); // so that its code counts from the first input on
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    OptivoSim_Reset();
    MakeImagesOnRequest();
    Bytes bytes(data, size);
    CCalls(bytes).Go();
    return 0;
}
