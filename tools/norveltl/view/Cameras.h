// The cameras that a page can choose from, and those of them that are open.
#pragma once

#include "producers/Discovery.h"
#include "terminal/Json.h"
#include "view/LiveCamera.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace norveltl {

// Any thread may call. A camera is known by a key, which stays the same when cameras come and go.
class CCameras {
public:
    explicit CCameras(const std::string& cti) : m_systems(OpenSystems(cti)) {}

    // Opens the cameras of these names. Throws CToolError.
    void OpenNamed(const std::vector<std::string>& names);

    // Producers with their interfaces with their cameras, each with its key; and the open cameras
    // that are not found any more.
    Json List();
    void SearchAgain();
    // Opens a camera, or opens it anew. Throws CToolError.
    void Open(const std::string& key);
    void Close(const std::string& key);
    // Null when it is not open.
    std::shared_ptr<CLiveCamera> Find(const std::string& key);

private:
    SChoice ChoiceOf(const std::string& key) const;
    std::string KeyOf(const SChoice& choice) const;
    void Open(const SChoice& choice);
    Json Describe(const CSystem& system, const SInterface& interface_, const SDevice& device);
    Json ListGone(const Json& listed);
    void CloseIfOpen(const std::string& key);

    std::mutex m_search; // one search, opening or closing at a time
    SSystems m_systems;
    std::mutex m_lock;
    std::map<std::string, std::shared_ptr<CLiveCamera>> m_open;
};

} // namespace norveltl
