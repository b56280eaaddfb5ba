// Finds producer modules, and through them interfaces and cameras.
#pragma once

#include "producers/Handles.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace norveltl {

// A text that the producer refuses to give is empty (no value), unlike a text of no characters.
using OptionalText = std::optional<std::string>;

struct SDevice {
    std::string id;
    OptionalText vendor, model, serialNumber, userName, version, tlType, displayName;
    std::optional<DEVICE_ACCESS_STATUS> accessStatus;

    // Whether opening it for control can succeed, as far as the producer tells.
    bool Accessible() const;
    std::string AccessText() const;
};

struct SInterface {
    std::string id;
    OptionalText displayName, tlType;
    // No handle when opening or searching it failed, which the error then says.
    std::optional<CHandle> handle;
    std::string error;
    std::vector<SDevice> devices;
};

// One opened producer with all its interfaces open and searched.
class CSystem {
public:
    explicit CSystem(const std::filesystem::path& module);

    const CProducer& Producer() const { return *m_producer; }
    TL_HANDLE Handle() const { return m_system.Get(); }
    const std::vector<SInterface>& Interfaces() const { return m_interfaces; }
    // Why the interfaces cannot be listed; empty when they can.
    const std::string& Error() const { return m_error; }
    // Closes one of its interfaces and opens it anew, without a list of its cameras; updates that.
    void Reopen(const SInterface& interface_);
    void Update(const SInterface& interface_) const;
    // Lists the cameras of all its interfaces anew.
    void SearchAgain();
    // Tells what the system module says of itself, or the library when it does not.
    OptionalText Info(TL_INFO_CMD command) const;
    // By its vendor.
    bool IsNorvelTL() const;

private:
    void SearchInterfaces();
    void Search(SInterface& interface_);
    void ListDevices(SInterface& interface_, IF_HANDLE handle);

    std::unique_ptr<CProducer> m_producer;
    CHandle m_system;
    std::vector<SInterface> m_interfaces;
    std::string m_error;
};

struct SSystems {
    std::vector<std::unique_ptr<CSystem>> open;
    // What failed on the way, of modules that are left out and of interfaces.
    std::vector<std::string> errors;
};

// Opens the module at cti or, when that is empty, the one beside the program, else every one in
// GENICAM_GENTL64_PATH. Throws when none can be used.
SSystems OpenSystems(const std::string& cti);

struct SChoice {
    const CSystem* system;
    const SInterface* interface_;
    const SDevice* device;
};

// Opens the camera for control; its first stream; and what its registers are reached through.
CHandle OpenDevice(const SChoice& choice);
CHandle OpenFirstStream(const CProducer& producer, DEV_HANDLE device);
PORT_HANDLE RemotePort(const CProducer& producer, DEV_HANDLE device);

// Every camera of every producer.
std::vector<SChoice> AllDevices(const SSystems& systems);
// How well a name means a camera: as a part of its ID or names; as its whole ID, serial number
// (which "SN->" before it says) or user name, but for the case; or in every letter.
enum class ENamed { Not, Partly, Whole, Exactly };
// How well it means the cameras that it means best.
ENamed BestNamed(const std::vector<SChoice>& choices, const std::string& name);
// The camera that a name means best. Without a name the only accessible camera, or the first of
// them if first is set. Throws CToolError, listing the choices, when there is none or more than
// one.
SChoice ChooseDevice(const SSystems& systems, const std::string& name, bool first);
// The camera that a word means, or the only one where the word means none.
SChoice ChooseDeviceBefore(const SSystems& systems, const std::string& word);

} // namespace norveltl
