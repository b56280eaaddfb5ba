#include "Adapter.h"

#include "CopyOut.h"
#include "Descriptions.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace OptivoSim {

CAdapter::CAdapter(std::string name, std::string prefix, std::string tlType)
    : m_name(std::move(name)), m_prefix(std::move(prefix)), m_tlType(std::move(tlType)) {
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
}

std::string CAdapter::Id() const {
    std::string id = m_prefix;
    std::transform(id.begin(), id.end(), id.begin(), [](unsigned char character) {
        return static_cast<char>(std::toupper(character));
    });
    return id + "::" + m_name;
}

std::vector<std::string> CAdapter::CameraNames() const {
    const std::lock_guard lock(m_lock);
    std::vector<std::string> names;
    for (const auto& camera : m_cameras) {
        if (camera->IsPlugged()) {
            names.push_back(camera->Name());
        }
    }
    return names;
}

CAdapter::Cameras::const_iterator CAdapter::Find(const std::string& name) const {
    return std::find_if(m_cameras.begin(), m_cameras.end(),
                        [&](const auto& camera) { return camera->Name() == name; });
}

std::shared_ptr<CCamera> CAdapter::FindCamera(const std::string& name) const {
    const std::lock_guard lock(m_lock);
    const auto found = Find(name);
    return found != m_cameras.end() ? *found : nullptr;
}

bool CAdapter::AddCamera(std::shared_ptr<CCamera> camera, bool mayRepeat) {
    const std::lock_guard lock(m_lock);
    if (!mayRepeat && Find(camera->Name()) != m_cameras.end()) {
        return false;
    }
    m_cameras.push_back(std::move(camera));
    return true;
}

bool CAdapter::RemoveCamera(const std::string& name) {
    const std::lock_guard lock(m_lock);
    const auto found = Find(name);
    if (found == m_cameras.end()) {
        return false;
    }
    m_cameras.erase(found);
    return true;
}

void CAdapter::RemoveCameras() {
    const std::lock_guard lock(m_lock);
    m_cameras.clear();
}

std::vector<std::string> CAdapter::Discover() {
    std::vector<std::string> names = CameraNames();
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
