#include "Handles.h"

#include "LoadedModule.h"

#include "OptivoSim.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace {

constexpr std::size_t MOST_SEEN = 64;

} // namespace

void* CHandles::Take(EHandle kind) {
    const auto choice = m_bytes.ConsumeIntegral<std::uint8_t>();
    if (choice < 16) {
        return Foreign();
    }
    std::vector<void*> fitting;
    for (const Live& live : m_live) {
        if (live.kind == kind || choice < 24) {
            fitting.push_back(live.handle);
        }
    }
    return fitting.empty() ? nullptr : fitting[choice % fitting.size()];
}

void* CHandles::Foreign() {
    static std::array<std::uint64_t, 32> s_noObject{};
    static constexpr std::uintptr_t VALUES[] = {
        0, 1, 8, 0xFFFFFFFFFFFFFFFF, 0xFFFFFFFFFFFFFFF8, 0x8000000000000000, 0x00007FFFFFFFFFF8};
    const auto choice = m_bytes.ConsumeIntegral<std::uint8_t>();
    if (choice < 16) {
        return s_noObject.data();
    }
    if (choice < 128 || m_seen.empty()) {
        return reinterpret_cast<void*>(VALUES[choice % std::size(VALUES)]);
    }
    char* const seen = static_cast<char*>(m_seen[choice % m_seen.size()]);
    return choice < 144 ? seen + 8 : seen;
}

void CHandles::Add(EHandle kind, void* handle, void* parent, std::unique_ptr<char[]> memory) {
    Demand(handle != nullptr, "what succeeds gives a handle");
    if (IsAlive(kind, handle)) {
        return;
    }
    m_live.push_back({kind, handle, parent, std::move(memory)});
    if (m_seen.size() < MOST_SEEN) {
        m_seen.push_back(handle);
    }
}

bool CHandles::IsAlive(EHandle kind, const void* handle) const {
    return std::any_of(m_live.begin(), m_live.end(), [&](const Live& live) {
        return live.kind == kind && live.handle == handle;
    });
}

// Whether it is the handle or something inside it.
bool CHandles::EndsWith(const Live& live, const void* handle) const {
    if (live.handle == handle) {
        return true;
    }
    const auto parent = std::find_if(m_live.begin(), m_live.end(), [&](const Live& other) {
        return live.parent != nullptr && other.handle == live.parent;
    });
    return parent != m_live.end() && EndsWith(*parent, handle);
}

void CHandles::PrepareClosing(const void* handle) {
    Quieten([&](const Live& live) { return EndsWith(live, handle); });
}

void CHandles::PrepareClosing() {
    Quieten([](const Live&) { return true; });
}

template <typename Which>
void CHandles::Quieten(Which&& which) {
    OptivoSim_ClearFaults();
    for (const Live& live : m_live) {
        if (live.kind == EHandle::Stream && which(live)) {
            gentl.DSStopAcquisition(live.handle, 0);
            gentl.DSFlushQueue(live.handle, 4);
        }
    }
}

void CHandles::Remove(const void* handle) {
    std::vector<bool> ends;
    for (const Live& live : m_live) {
        ends.push_back(EndsWith(live, handle));
    }
    std::size_t index = 0;
    std::erase_if(m_live, [&](const Live&) { return ends[index++]; });
}

void CHandles::RemoveInterface(const void* handle) {
    for (Live& live : m_live) {
        if (live.kind == EHandle::Device && live.parent == handle && !Producer::IsStandard()) {
            live.parent = nullptr;
        }
    }
    Remove(handle);
}

void* CHandles::First(EHandle kind, const void* parent) const {
    const auto found = std::find_if(m_live.begin(), m_live.end(), [&](const Live& live) {
        return live.kind == kind && live.parent == parent;
    });
    return found == m_live.end() ? nullptr : found->handle;
}

void* CHandles::First(EHandle kind) const {
    const auto found = std::find_if(m_live.begin(), m_live.end(),
                                    [&](const Live& live) { return live.kind == kind; });
    return found == m_live.end() ? nullptr : found->handle;
}

void CHandles::CloseAll() {
    DemandInitialisation(gentl);
    while (void* const stream = First(EHandle::Stream)) {
        PrepareClosing(stream);
        Demand(gentl.DSClose(stream) == 0, "a stream closes");
        Remove(stream);
    }
    while (void* const device = First(EHandle::Device)) {
        PrepareClosing(device);
        Demand(gentl.DevClose(device) == 0, "a device closes");
        Remove(device);
    }
    while (void* const interface = First(EHandle::Interface)) {
        PrepareClosing(interface);
        Demand(gentl.IFClose(interface) == 0, "an interface closes");
        RemoveInterface(interface);
    }
    while (void* const system = First(EHandle::System)) {
        PrepareClosing(system);
        Demand(gentl.TLClose(system) == 0, "a system closes");
        Remove(system);
    }
    Demand(gentl.GCCloseLib() == 0, "the library can always be closed");
}
