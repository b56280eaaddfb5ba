// The interfaces and cameras that exist. Knows nothing of who has opened them: what is removed from
// the world lives on for those who hold it.
#pragma once

#include "base/Sync.h"
#include "camera/Camera.h"
#include "world/Adapter.h"
#include "world/WorldFile.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace OptivoSim {

using namespace OptivoBase;

// Thread-safe.
class CWorld {
public:
    // Replaces everything by what the plan says, made anew.
    void Make(const SWorldPlan& plan);
    void RemoveAll();

    // The interface names as an update finds them.
    std::vector<std::string> Discover();
    std::shared_ptr<CAdapter> FindInterface(const std::string& name) const;
    std::shared_ptr<CAdapter> FindInterfaceById(const std::string& id) const;
    // The first camera of that name on any interface, or null.
    std::shared_ptr<CCamera> FindCamera(const std::string& name) const;

    bool AddInterface(const std::string& name, const std::string& prefix,
                      const std::string& tlType);
    bool RemoveInterface(const std::string& name);
    bool AddCamera(const std::string& interfaceName, const std::string& name,
                   const std::string& serialNumber, bool mayRepeat);
    bool RemoveCamera(const std::string& name);

private:
    using Adapters = std::vector<std::shared_ptr<CAdapter>>;

    Adapters Interfaces() const;
    void Replace(Adapters interfaces);

    mutable CMutex m_lock;
    Adapters m_interfaces;
    std::uint64_t m_numUpdates = 0;
};

} // namespace OptivoSim
