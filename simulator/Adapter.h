// One interface of the simulated world, that is, an adapter to which cameras are attached. Knows
// nothing of the operation tables or faults.
#pragma once

#include "Camera.h"
#include "Registers.h"
#include "ResultCodes.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace OptivoSim {

// Thread-safe.
class CAdapter {
public:
    CAdapter(std::string name, std::string prefix, std::string tlType);

    const std::string& Name() const { return m_name; }
    // The prefix in upper case, "::" and the name.
    std::string Id() const;

    // Of the cameras that are plugged in.
    std::vector<std::string> CameraNames() const;
    // The first of that name, or null.
    std::shared_ptr<CCamera> FindCamera(const std::string& name) const;
    // False for a name that is there already, unless it may repeat.
    bool AddCamera(std::shared_ptr<CCamera> camera, bool mayRepeat = false);
    bool RemoveCamera(const std::string& name);
    void RemoveCameras();

    // The camera names as an update finds them; their number shows in a register.
    std::vector<std::string> Discover();

    // A text by its InterfaceTextKey; kInvalidAddress for any other.
    Int32 ReadText(UInt64 key, void* buffer, Size* size) const;
    Int32 ReadPort(UInt64 address, void* destination, Size* size) const;
    Int32 WritePort(UInt64 address, const void* source, const Size* size);

private:
    using Cameras = std::vector<std::shared_ptr<CCamera>>;

    Cameras::const_iterator Find(const std::string& name) const;

    const std::string m_name;
    const std::string m_prefix;
    const std::string m_tlType;
    std::string m_xmlUrl; // fixed from construction on
    CRegisters m_registers;

    mutable std::mutex m_lock;
    Cameras m_cameras;
};

} // namespace OptivoSim
