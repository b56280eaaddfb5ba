#include "world/Adapter.h"

#include "base/CopyOut.h"
#include "world/InterfaceDescription.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace OptivoSim {

using namespace OptivoBase;

CAdapter::CAdapter(const SInterfacePlan& plan)
    : m_name(plan.name), m_prefix(plan.prefix), m_tlType(plan.tlType), m_discovery(plan.discovery) {
    using namespace InterfaceAddress;
    const std::string_view xml = InterfaceXml();
    m_xmlUrl = LocalUrl("Norvel_Interface.xml", kXml, xml.size());
    m_registers.Define(kInterfaceId, kInterfaceIdLength, EAccess::ReadOnly);
    m_registers.Define(kDeviceCount, 4, EAccess::ReadOnly);
    m_registers.Define(kDeviceUpdateTimeout, 4, EAccess::ReadWrite);
    // Consumers may read the text in whole words.
    m_registers.DefineShared(kXml, xml.data(), (xml.size() + 3) / 4 * 4);
    m_registers.SetText(kInterfaceId, m_name);
    m_registers.SetNumber(kDeviceUpdateTimeout, UInt32{1000});
    for (const SCameraPlan& camera : plan.cameras) {
        AddCamera(camera);
    }
}

std::string CAdapter::Id() const {
    std::string id = m_prefix;
    std::transform(id.begin(), id.end(), id.begin(), [](unsigned char character) {
        return static_cast<char>(std::toupper(character));
    });
    return id + "::" + m_name;
}

std::shared_ptr<CCamera> CAdapter::FindCamera(const std::string& name) const {
    const std::lock_guard lock(m_lock);
    const auto found = m_firstByName.find(name);
    return found != m_firstByName.end() ? found->second : nullptr;
}

bool CAdapter::AddCamera(const SCameraPlan& plan, bool mayRepeat) {
    auto camera = std::make_shared<CCamera>(plan.model);
    const std::lock_guard lock(m_lock);
    const bool isNew = m_firstByName.try_emplace(camera->Name(), camera).second;
    if (!isNew && !mayRepeat) {
        return false;
    }
    m_cameras.push_back({std::move(camera), plan.discovery});
    return true;
}

bool CAdapter::RemoveCamera(const std::string& name) {
    const auto isNamed = [&](const SAttached& attached) { return attached.camera->Name() == name; };
    const std::lock_guard lock(m_lock);
    if (m_firstByName.erase(name) == 0) {
        return false;
    }
    const auto next = m_cameras.erase(std::find_if(m_cameras.begin(), m_cameras.end(), isNamed));
    const auto twin = std::find_if(next, m_cameras.end(), isNamed);
    if (twin != m_cameras.end()) {
        m_firstByName.emplace(name, twin->camera);
    }
    return true;
}

void CAdapter::RemoveCameras() {
    const std::lock_guard lock(m_lock);
    m_cameras.clear();
    m_firstByName.clear();
}

bool CAdapter::IsFound(const Discovery& discovery, std::uint64_t update) {
    return discovery.empty() || discovery[update % discovery.size()];
}

std::vector<std::string> CAdapter::NextNames() {
    std::vector<std::string> names;
    const std::lock_guard lock(m_lock);
    for (const SAttached& attached : m_cameras) {
        if (attached.camera->IsPluggedAtUpdate() && IsFound(attached.discovery, m_numUpdates)) {
            names.push_back(attached.camera->Name());
        }
    }
    ++m_numUpdates;
    return names;
}

std::vector<std::string> CAdapter::Discover() {
    std::vector<std::string> names = NextNames();
    m_registers.SetNumber(InterfaceAddress::kDeviceCount, static_cast<UInt32>(names.size()));
    return names;
}

Int32 CAdapter::ReadText(UInt64 key, void* buffer, Size* size) const {
    switch (key) {
    case Optivo::kInterfacePrefix:
        return CopyText(m_prefix, buffer, size);
    case Optivo::kInterfaceXmlUrl:
        return CopyText(m_xmlUrl, buffer, size);
    case Optivo::kInterfaceTLType:
        return CopyText(m_tlType, buffer, size);
    default:
        return kInvalidAddress;
    }
}

Int32 CAdapter::ReadPort(UInt64 address, void* destination, Size* size) const {
    const Int32 result = ReadText(address, destination, size);
    return result == kInvalidAddress ? m_registers.Read(address, destination, size) : result;
}

Int32 CAdapter::WritePort(UInt64 address, const void* source, const Size* size) {
    return m_registers.Write(address, source, size);
}

} // namespace OptivoSim
