#include "view/Cameras.h"

#include "terminal/Console.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace norveltl {

// The interfaces of two producers may list cameras of one ID, but those of one do not.
std::string CCameras::KeyOf(const SChoice& choice) const {
    const auto found = std::find_if(m_systems.open.begin(), m_systems.open.end(),
                                    [&](const auto& its) { return its.get() == choice.system; });
    return std::to_string(found - m_systems.open.begin()) + ":" + choice.device->id;
}

SChoice CCameras::ChoiceOf(const std::string& key) const {
    for (const SChoice& choice : AllDevices(m_systems)) {
        if (KeyOf(choice) == key) {
            return choice;
        }
    }
    throw CToolError("the camera is not there", kNothingFound);
}

void CCameras::OpenNamed(const std::vector<std::string>& names) {
    const std::lock_guard search(m_search);
    for (const std::string& name : names) {
        Open(ChooseDevice(m_systems, name, false));
    }
}

void CCameras::Open(const std::string& key) {
    const std::lock_guard search(m_search);
    Open(ChoiceOf(key));
}

void CCameras::Open(const SChoice& choice) {
    const std::string key = KeyOf(choice);
    CloseIfOpen(key);
    auto camera = std::make_shared<CLiveCamera>(choice);
    const std::lock_guard lock(m_lock);
    m_open[key] = std::move(camera);
}

void CCameras::Close(const std::string& key) {
    const std::lock_guard search(m_search);
    CloseIfOpen(key);
}

// Pages may have it in hand for a moment; whoever lets go last closes it.
void CCameras::CloseIfOpen(const std::string& key) {
    std::shared_ptr<CLiveCamera> camera;
    {
        const std::lock_guard lock(m_lock);
        const auto found = m_open.find(key);
        if (found == m_open.end()) {
            return;
        }
        camera = std::move(found->second);
        m_open.erase(found);
    }
    camera->Stop();
    for (int i = 0; i < 500 && camera.use_count() > 1; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

std::shared_ptr<CLiveCamera> CCameras::Find(const std::string& key) {
    const std::lock_guard lock(m_lock);
    const auto found = m_open.find(key);
    return found == m_open.end() ? nullptr : found->second;
}

void CCameras::SearchAgain() {
    const std::lock_guard search(m_search);
    for (const auto& system : m_systems.open) {
        system->SearchAgain();
    }
}

Json CCameras::Describe(const CSystem& system, const SInterface& interface_,
                        const SDevice& device) {
    const std::string key = KeyOf({&system, &interface_, &device});
    const bool isOpen = Find(key) != nullptr;
    return {{"key", key},
            {"id", device.id},
            {"name", device.userName.value_or("")},
            {"model", device.model.value_or("")},
            {"serialNumber", device.serialNumber.value_or("")},
            {"isOpen", isOpen},
            {"canBeOpened", isOpen || device.Accessible()},
            {"access", isOpen ? "open here" : device.AccessText()}};
}

Json CCameras::ListGone(const Json& listed) {
    Json gone = Json::array();
    const std::lock_guard lock(m_lock);
    for (const auto& [key, camera] : m_open) {
        if (std::find(listed.begin(), listed.end(), Json(key)) == listed.end()) {
            gone.push_back({{"key", key},
                            {"id", camera->Id()},
                            {"name", ""},
                            {"model", ""},
                            {"serialNumber", ""},
                            {"isOpen", true},
                            {"canBeOpened", true},
                            {"access", "gone"}});
        }
    }
    return gone;
}

Json CCameras::List() {
    const std::lock_guard search(m_search);
    Json producers = Json::array(), listed = Json::array();
    for (const auto& system : m_systems.open) {
        Json interfaces = Json::array();
        for (const SInterface& interface_ : system->Interfaces()) {
            Json devices = Json::array();
            for (const SDevice& device : interface_.devices) {
                devices.push_back(Describe(*system, interface_, device));
                listed.push_back(devices.back()["key"]);
            }
            interfaces.push_back({{"name", interface_.displayName.value_or(interface_.id)},
                                  {"error", interface_.error},
                                  {"cameras", devices}});
        }
        producers.push_back(
            {{"path", Utf8FromPath(system->Producer().Path())}, {"interfaces", interfaces}});
    }
    return {{"producers", producers}, {"gone", ListGone(listed)}};
}

} // namespace norveltl
