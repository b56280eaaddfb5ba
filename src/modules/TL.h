// The System module: the root of the module tree, with its register map, its XML, and the list of
// interfaces. It knows the interfaces that it opens, and nothing below them.
#pragma once

#include "camlib/CameraObjects.h"
#include "core/CommonBase.h"
#include "core/RegisterMap.h"
#include "modules/InterfaceInfo.h"

#include <boost/shared_ptr.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace GenICam::Client {

class CInterface;

// Has no lock of its own: a consumer calls the operations of one System module from one thread at a
// time. Only the table of operations demands GetFileVersion: nobody calls it.
class CTL final : public ICommonBase {
public:
    // Reaches the camera library and fills the register map.
    // Throws std::runtime_error when the camera library gives no system object or the producer's
    // own path is unusable, std::invalid_argument when its XML resource is.
    CTL();
    // Destroys the interfaces that are still open, then gives the system object back.
    ~CTL() override;
    CTL(const CTL&) = delete;
    CTL& operator=(const CTL&) = delete;

    void Read(std::uint64_t address, void* buffer, size_t* size) override;
    void Write(std::uint64_t address, const void* buffer, size_t* size) override;
    void ReadRegister(std::uint64_t address, std::uint32_t* value) override;
    void WriteRegister(std::uint64_t address, std::uint32_t value) override;
    COutcome GetPortURL(char* buffer, size_t* size) override;
    COutcome GetPortInfo(PORT_INFO_CMD command, INFO_DATATYPE* type, void* buffer,
                         size_t* size) override;
    COutcome GetPortURLInfo(std::uint32_t index, URL_INFO_CMD command, INFO_DATATYPE* type,
                            void* buffer, size_t* size) override;

    // The number of interfaces of the last update; updates first when there was none.
    virtual std::uint32_t GetNumInterfaces();
    // Throws std::invalid_argument for an index that is not below the number of interfaces.
    virtual void GetInterfaceID(std::string& id, std::uint32_t index);
    // Rediscovers the interfaces. Known ones keep their records and come first. changed may be
    // null; it is set when an interface came or went and otherwise left alone. The time-out is in
    // milliseconds.
    virtual void UpdateInterfaceList(bool8_t* changed, std::uint32_t timeout);
    // Refuses a command that the System module does not have as std::invalid_argument.
    virtual COutcome GetInfo(TL_INFO_CMD command, INFO_DATATYPE* type, void* buffer, size_t* size);
    // Forgets an interface that is being destroyed.
    virtual void RemoveInterface(CInterface* opened);
    // The interface that the ID means, opened unless it is open already; this module owns it.
    // Throws std::runtime_error when there is none.
    virtual CInterface* OpenInterface(const char* id);
    // Refuses an ID that is neither open nor listed as std::invalid_argument.
    virtual COutcome GetInterfaceInfo(const char* id, INTERFACE_INFO_CMD command,
                                      INFO_DATATYPE* type, void* buffer, size_t* size);
    // Destroys this module; throws what the camera library throws when it takes its system back.
    void Close();
    // Four 16-bit fields, most significant first; 0 without a version resource.
    virtual std::uint64_t GetFileVersion();
    // The file version as text, with a zero that is a character of its own.
    virtual std::string GetVersionText();

private:
    using Infos = std::vector<boost::shared_ptr<CInterfaceInfo>>;

    void DefineRegisters();
    void DefineXml();
    void SelectInterface(std::uint32_t index);
    void UpdateOnce();
    Infos DiscoverInterfaces(std::uint32_t timeout);
    std::string Url() const;

    std::vector<CInterface*> m_openInterfaces; // owned
    Infos m_infos;
    bool m_listUpdated = false;
    CRegisterMap m_registers;
    std::size_t m_xmlSize = 0;
    CCameraObject<Optivo::ICamSystem> m_system;
};

} // namespace GenICam::Client
