#include "World.h"

#include <algorithm>
#include <utility>

namespace OptivoSim {

namespace {

CameraModel MonoModel() {
    CameraModel camera;
    camera.name = "Norvel-G640M-10001";
    camera.vendor = "Norvel";
    camera.model = "G640M";
    camera.version = "1.2.0";
    camera.serialNumber = "10001";
    camera.userDefinedName = "Left";
    camera.tlType = "GEV";
    camera.custom14 = "169.254.10.1";
    camera.custom15 = "02-4E-56-00-27-11";
    camera.format = {EPixelFormat::Mono8, 640, 480};
    camera.pattern = ETestPattern::GreyDiagonalRampMoving;
    camera.frameRate = 60;
    return camera;
}

CameraModel BayerModel() {
    CameraModel camera;
    camera.name = "Norvel-G1300C-10002";
    camera.vendor = "Norvel";
    camera.model = "G1300C";
    camera.version = "1.4.2";
    camera.serialNumber = "10002";
    camera.userDefinedName = "Right";
    camera.tlType = "GEV";
    camera.custom14 = "169.254.10.2";
    camera.custom15 = "02-4E-56-00-27-12";
    camera.format = {EPixelFormat::BayerRG8, 1280, 1024};
    camera.frameRate = 30;
    return camera;
}

CameraModel ColourModel() {
    CameraModel camera;
    camera.name = "Norvel-U320C-20001";
    camera.vendor = "Norvel";
    camera.model = "U320C";
    camera.version = "2.0.1";
    camera.serialNumber = "20001";
    camera.userDefinedName = "Microscope";
    camera.tlType = "U3V";
    camera.custom14 = "SuperSpeed";
    camera.custom15 = "2-1";
    camera.format = {EPixelFormat::RGB8, 320, 240};
    camera.frameRate = 60;
    return camera;
}

} // namespace

CWorld::CWorld() {
    MakeDefault();
}

void CWorld::MakeDefault() {
    const auto network = std::make_shared<CAdapter>("eth0", "GEV", "GEV");
    network->AddCamera(std::make_shared<CCamera>(MonoModel()));
    network->AddCamera(std::make_shared<CCamera>(BayerModel()));
    const auto usb = std::make_shared<CAdapter>("usb0", "U3V", "U3V");
    usb->AddCamera(std::make_shared<CCamera>(ColourModel()));
    RemoveAll();
    const std::lock_guard lock(m_lock);
    m_interfaces = {network, usb};
}

void CWorld::RemoveAll() {
    Adapters removed;
    {
        const std::lock_guard lock(m_lock);
        removed.swap(m_interfaces);
    }
    for (const auto& adapter : removed) {
        adapter->RemoveCameras();
    }
}

CWorld::Adapters CWorld::Interfaces() const {
    const std::lock_guard lock(m_lock);
    return m_interfaces;
}

std::vector<std::string> CWorld::InterfaceNames() const {
    std::vector<std::string> names;
    for (const auto& adapter : Interfaces()) {
        names.push_back(adapter->Name());
    }
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
    auto added = std::make_shared<CAdapter>(name, prefix, tlType);
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
    CameraModel camera = MonoModel();
    camera.name = name;
    camera.serialNumber = serialNumber;
    return adapter->AddCamera(std::make_shared<CCamera>(camera), mayRepeat);
}

bool CWorld::RemoveCamera(const std::string& name) {
    const Adapters adapters = Interfaces();
    return std::any_of(adapters.begin(), adapters.end(),
                       [&](const auto& adapter) { return adapter->RemoveCamera(name); });
}

} // namespace OptivoSim
