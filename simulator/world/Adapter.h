// One interface of the simulated world, that is, an adapter to which cameras are attached. Knows
// nothing of the operation tables or faults.
#pragma once

#include "base/Registers.h"
#include "base/ResultCodes.h"
#include "base/Sync.h"
#include "camera/Camera.h"
#include "world/WorldFile.h"

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace OptivoSim {

using namespace OptivoBase;

// Thread-safe.
class CAdapter {
public:
    // With the interface's cameras.
    explicit CAdapter(const SInterfacePlan& plan);

    const std::string& Name() const { return m_name; }
    // The prefix in upper case, "::" and the name.
    std::string Id() const;

    // Whether an update of the list of interfaces finds it, as that update's number from 0 says.
    bool IsFoundBy(std::uint64_t update) const { return IsFound(m_discovery, update); }

    // The first of that name, or null.
    std::shared_ptr<CCamera> FindCamera(const std::string& name) const;
    // False for a name that is there already, unless it may repeat.
    bool AddCamera(const SCameraPlan& plan, bool mayRepeat = false);
    bool RemoveCamera(const std::string& name);
    void RemoveCameras();

    // The camera names as an update finds them; their number shows in a register.
    std::vector<std::string> Discover();

    // A text by its InterfaceTextKey; kInvalidAddress for any other.
    Int32 ReadText(UInt64 key, void* buffer, Size* size) const;
    Int32 ReadPort(UInt64 address, void* destination, Size* size) const;
    Int32 WritePort(UInt64 address, const void* source, const Size* size);

private:
    struct SAttached {
        std::shared_ptr<CCamera> camera;
        Discovery discovery;
    };

    static bool IsFound(const Discovery& discovery, std::uint64_t update);
    std::vector<std::string> NextNames();

    const std::string m_name;
    const std::string m_prefix;
    const std::string m_tlType;
    const Discovery m_discovery;
    std::string m_xmlUrl; // fixed from construction on
    CRegisters m_registers;

    mutable CMutex m_lock;
    std::vector<SAttached> m_cameras;
    std::unordered_map<std::string, std::shared_ptr<CCamera>> m_firstByName;
    std::uint64_t m_numUpdates = 0;
};

} // namespace OptivoSim
