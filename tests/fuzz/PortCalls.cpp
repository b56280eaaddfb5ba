// The operations on ports, their descriptions and registers, and on the events of modules, which
// are registered through the same handles.
#include "Calls.h"

#include <array>
#include <cstring>

namespace {

std::uint64_t TakeAddress(Bytes& bytes) {
    switch (bytes.ConsumeIntegralInRange(0, 3)) {
    case 0:
        return bytes.ConsumeIntegral<std::uint64_t>();
    case 1:
        return bytes.ConsumeIntegralInRange<std::uint64_t>(0, 0x500) * 4;
    default:
        return bytes.ConsumeIntegral<std::uint16_t>();
    }
}

void FillFromBytes(char* buffer, Bytes& bytes) {
    if (buffer != nullptr) {
        const std::string content = bytes.ConsumeBytesAsString(8);
        std::memcpy(buffer, content.data(), content.size());
    }
}

} // namespace

void CCalls::DescribePort() {
    if (m_bytes.ConsumeBool()) {
        Describe([&](auto... out) { return gentl.GCGetPortInfo(TakePort(), out...); });
        return;
    }
    const std::uint32_t index = m_bytes.ConsumeIntegralInRange(0, 7) == 0 ? 1 : 0;
    Describe([&](auto... out) { return gentl.GCGetPortURLInfo(TakePort(), index, out...); });
}

void CCalls::AccessPort() {
    CBufferOutput out(m_bytes, ESizes::Honest, 8);
    const std::uint64_t address = TakeAddress(m_bytes);
    if (m_bytes.ConsumeBool()) {
        Try([&] { return gentl.GCReadPort(TakePort(), address, out.Buffer(), out.Size()); });
    } else {
        FillFromBytes(out.Buffer(), m_bytes);
        Try([&] { return gentl.GCWritePort(TakePort(), address, out.Buffer(), out.Size()); });
    }
}

void CCalls::AccessStacked() {
    std::array<PORT_REGISTER_STACK_ENTRY, 3> entries{};
    std::array<std::array<char, 40>, 3> buffers{};
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const auto size = m_bytes.ConsumeIntegralInRange<std::size_t>(0, 40);
        entries[i] = {TakeAddress(m_bytes), size == 39 ? nullptr : buffers[i].data(), size};
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

void CCalls::RegisterEvent() {
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

void CCalls::UseEvent() {
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
        Describe(
            [&](auto... out) { return gentl.EventGetDataInfo(Take(Event), given, size, out...); });
        break;
    }
    }
}

// The record of a device event has 24 bytes, however few are offered.
void CCalls::WaitEvent() {
    CBufferOutput out(m_bytes, ESizes::Any, 24);
    const std::uint64_t timeout = m_bytes.ConsumeIntegralInRange(0, 15) == 0 ? 1 : 0;
    Try([&] { return gentl.EventGetData(Take(Event), out.Buffer(), out.Size(), timeout); });
}
