#include "world/World.h"

#include "world/DefaultWorld.h"

#include <algorithm>
#include <utility>

namespace OptivoSim {

void CWorld::Make(const SWorldPlan& plan) {
    Adapters interfaces;
    for (const SInterfacePlan& interfacePlan : plan.interfaces) {
        interfaces.push_back(std::make_shared<CAdapter>(interfacePlan));
    }
    Replace(std::move(interfaces));
}

void CWorld::RemoveAll() {
    Replace({});
}

// Who still holds a removed interface finds no camera on it any more.
void CWorld::Replace(Adapters interfaces) {
    {
        const std::lock_guard lock(m_lock);
        m_interfaces.swap(interfaces);
        m_numUpdates = 0;
    }
    for (const auto& removed : interfaces) {
        removed->RemoveCameras();
    }
}

CWorld::Adapters CWorld::Interfaces() const {
    const std::lock_guard lock(m_lock);
    return m_interfaces;
}

std::vector<std::string> CWorld::Discover() {
    std::vector<std::string> names;
    const std::lock_guard lock(m_lock);
    for (const auto& adapter : m_interfaces) {
        if (adapter->IsFoundBy(m_numUpdates)) {
            names.push_back(adapter->Name());
        }
    }
    ++m_numUpdates;
    return names;
}

std::shared_ptr<CAdapter> CWorld::FindInterface(const std::string& name) const {
    const std::lock_guard lock(m_lock);
    const auto found = std::find_if(m_interfaces.begin(), m_interfaces.end(),
                                    [&](const auto& adapter) { return adapter->Name() == name; });
    return found != m_interfaces.end() ? *found : nullptr;
}

std::shared_ptr<CAdapter> CWorld::FindInterfaceById(const std::string& id) const {
    const std::lock_guard lock(m_lock);
    const auto found = std::find_if(m_interfaces.begin(), m_interfaces.end(),
                                    [&](const auto& adapter) { return adapter->Id() == id; });
    return found != m_interfaces.end() ? *found : nullptr;
}

std::shared_ptr<CCamera> CWorld::FindCamera(const std::string& name) const {
    for (const auto& adapter : Interfaces()) {
        if (auto camera = adapter->FindCamera(name)) {
            return camera;
        }
    }
    return nullptr;
}

bool CWorld::AddInterface(const std::string& name, const std::string& prefix,
                          const std::string& tlType) {
    auto added = std::make_shared<CAdapter>(SInterfacePlan{name, prefix, tlType, {}, {}});
    const std::lock_guard lock(m_lock);
    for (const auto& adapter : m_interfaces) {
        if (adapter->Name() == name) {
            return false;
        }
    }
    m_interfaces.push_back(std::move(added));
    return true;
}

bool CWorld::RemoveInterface(const std::string& name) {
    const auto adapter = FindInterface(name);
    if (adapter == nullptr) {
        return false;
    }
    {
        const std::lock_guard lock(m_lock);
        std::erase(m_interfaces, adapter);
    }
    adapter->RemoveCameras();
    return true;
}

bool CWorld::AddCamera(const std::string& interfaceName, const std::string& name,
                       const std::string& serialNumber, bool mayRepeat) {
    const auto adapter = FindInterface(interfaceName);
    if (adapter == nullptr) {
        return false;
    }
    SCameraPlan camera = DefaultWorld().interfaces.front().cameras.front();
    camera.model.name = name;
    camera.model.serialNumber = serialNumber;
    return adapter->AddCamera(camera, mayRepeat);
}

bool CWorld::RemoveCamera(const std::string& name) {
    const Adapters adapters = Interfaces();
    return std::any_of(adapters.begin(), adapters.end(),
                       [&](const auto& adapter) { return adapter->RemoveCamera(name); });
}

} // namespace OptivoSim
