#include "Lists.h"

#include <chrono>

namespace {

constexpr uint64_t TIMEOUT = 1000;

} // namespace

Lists::Lists(Producer& gentl, TL_HANDLE system, Interfaces& interfaces, Tally& tally, unsigned seed)
    : m_gentl(gentl), m_system(system), m_interfaces(interfaces), m_tally(tally), m_chance(seed) {
    for (size_t i = 0; i < INTERFACES; ++i) {
        m_cameras[i] = ReadCameras(m_interfaces[i].handle);
    }
    m_thread = std::thread([this] { Run(); });
}

Lists::~Lists() {
    m_stop = true;
    m_thread.join();
}

void Lists::Run() {
    while (!m_stop) {
        ListInterfaces();
        for (size_t i = 0; i < INTERFACES; ++i) {
            ListCameras(i);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5 + m_chance.Below(40)));
    }
}

void Lists::Expect(bool holds, const char* what) {
    if (!holds) {
        m_tally.Complain(what);
    }
}

void Lists::ListInterfaces() {
    bool8_t changed = 0;
    uint32_t count = 0;
    Expect(m_gentl.TLUpdateInterfaceList(m_system, &changed, TIMEOUT) == 0 && changed == 0,
           "the list of interfaces changes or is not updated");
    Expect(m_gentl.TLGetNumInterfaces(m_system, &count) == 0 && count == INTERFACES,
           "an interface is missing");
    for (uint32_t i = 0; i < count; ++i) {
        char id[64] = "";
        size_t size = sizeof id;
        Expect(m_gentl.TLGetInterfaceID(m_system, i, id, &size) == 0 &&
                   (m_interfaces[0].id == id || m_interfaces[1].id == id),
               "an interface has no known ID");
    }
    ++m_tally.numListings;
}

// A change must be told. That one is told which does not show is right now and then: a camera that
// is unplugged while it is described has another status.
void Lists::ListCameras(size_t index) {
    SoakInterface& iface = m_interfaces[index];
    const auto lock = iface.Lock();
    bool8_t changed = 0;
    Expect(m_gentl.IFUpdateDeviceList(iface.handle, &changed, TIMEOUT) == 0,
           "the list of cameras is not updated");
    Ids found = ReadCameras(iface.handle);
    const bool isOther = found != m_cameras[index];
    Expect(!isOther || changed != 0, "the list of cameras changes without telling");
    m_tally.numListChanges += isOther ? 1 : 0;
    m_cameras[index] = std::move(found);
    ++m_tally.numListings;
}

Lists::Ids Lists::ReadCameras(IF_HANDLE iface) {
    uint32_t count = 0;
    Expect(m_gentl.IFGetNumDevices(iface, &count) == 0, "the cameras are not counted");
    Ids ids;
    for (uint32_t i = 0; i < count; ++i) {
        char id[64] = "";
        char told[64] = "";
        size_t size = sizeof id;
        INFO_DATATYPE type = 0;
        Expect(m_gentl.IFGetDeviceID(iface, i, id, &size) == 0, "a listed camera has no ID");
        size = sizeof told;
        Expect(m_gentl.IFGetDeviceInfo(iface, id, DEVICE_INFO_ID, &type, told, &size) == 0 &&
                   std::string(id) == told,
               "a listed camera is not described");
        ids.emplace_back(id);
    }
    return ids;
}
