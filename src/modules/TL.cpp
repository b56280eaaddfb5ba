#include "modules/TL.h"

#include "core/Errors.h"
#include "core/ModuleIdentity.h"
#include "core/PortUrl.h"
#include "modules/Interface.h"
#include "platform/Platform.h"

#include <boost/make_shared.hpp>

#include <algorithm>
#include <map>
#include <stdexcept>

namespace GenICam::Client {
namespace {

constexpr std::size_t kNumReservedRegisters = 100;
constexpr std::uint32_t kLazyUpdateTimeout = 200;
constexpr std::int32_t kSystemXmlSubMinorVersion = 2;

// Addresses of the register map.
namespace Register {
constexpr std::uint64_t kInterfaceCount = 0x4;
constexpr std::uint64_t kInterfaceSelector = 0x8;
constexpr std::uint64_t kInterfaceUpdateList = 0x44;
constexpr std::uint64_t kVendorName = 0x48;
constexpr std::uint64_t kModelName = 0x88;
constexpr std::uint64_t kVersion = 0xC8;
constexpr std::uint64_t kGenTLVersionMinor = 0xD8;
constexpr std::uint64_t kGenTLVersionMajor = 0xDC;
constexpr std::uint64_t kId = 0x100;
constexpr std::uint64_t kPath = 0x200;
constexpr std::uint64_t kDisplayName = 0x600;
constexpr std::uint64_t kTLType = 0x700;
constexpr std::uint64_t kInterfaceId = 0x740;
constexpr std::uint64_t kUnusedText = 0x840;
constexpr std::uint64_t kXml = 0x940;
} // namespace Register

constexpr std::size_t kInterfaceIdLength = 256;

} // namespace

CTL::CTL() : m_registers(kNumReservedRegisters) {
    CallGetSystem(m_system.Receive());
    if (!m_system) {
        throw std::runtime_error("Unable to reach the camera library");
    }
    DefineRegisters();
    m_registers.WriteRegister(Register::kInterfaceSelector, 0);
    DefineXml();
    PublishHandle();
}

CTL::~CTL() {
    RetireHandle();
    m_infos.clear();
    // Each interface removes itself from the list.
    while (!m_openInterfaces.empty()) {
        delete m_openInterfaces.front();
    }
}

void CTL::Close() {
    RetireHandle();
    CCameraObject<Optivo::ICamSystem> system = std::move(m_system);
    delete this;
    system.GiveBack();
}

void CTL::DefineRegisters() {
    const auto defineText = [this](std::uint64_t address, const char* text, std::size_t length) {
        m_registers.DefineString(address, CRegisterMap::kReadOnly, text, length, 0, nullptr, 0,
                                 nullptr);
    };
    const auto defineNumber = [this](std::uint64_t address, std::uint32_t value) {
        m_registers.Define(address, CRegisterMap::kReadOnly, value, 0, nullptr, 0, nullptr);
    };
    const auto onSelect = [](std::uint64_t address, std::uint32_t* value, std::uint64_t context) {
        if (address == Register::kInterfaceSelector) {
            reinterpret_cast<CTL*>(context)->SelectInterface(*value);
        }
    };
    const auto onReadSelector = [](std::uint64_t, std::uint32_t*, std::uint64_t) {};
    const std::string path = ModulePath();

    defineNumber(Register::kInterfaceCount, static_cast<std::uint32_t>(m_infos.size()));
    m_registers.Define(Register::kInterfaceSelector, CRegisterMap::kReadWrite, 0, 0, onSelect,
                       reinterpret_cast<std::uintptr_t>(this), onReadSelector);
    defineNumber(Register::kInterfaceUpdateList, 0);
    defineText(Register::kVendorName, kVendorName.data(), 64);
    defineText(Register::kModelName, kModelName.data(), 64);
    defineText(Register::kVersion, ModuleVersionText().c_str(), 16);
    defineText(Register::kTLType, kTLType.data(), 64);
    defineText(Register::kDisplayName, "Norvel GenTL", 256);
    defineNumber(Register::kGenTLVersionMinor, 3);
    defineNumber(Register::kGenTLVersionMajor, 0);
    defineText(Register::kId, RequireFileName(path).c_str(), 256);
    defineText(Register::kPath, path.c_str(), 1024);
    // The shorter text replaces the first registers of the block and leaves the others.
    defineText(Register::kDisplayName, "ZT TL Simulator ", 64);
    defineText(Register::kTLType, kTLType.data(), 64);
    defineText(Register::kInterfaceId, "", kInterfaceIdLength);
    defineText(Register::kUnusedText, "", 256);
}

// The block is larger than the text, so that at least one zero byte follows it.
void CTL::DefineXml() {
    const std::string_view xml = Platform::SystemXml();
    std::string block(xml);
    block.resize(TextBlockSize(xml.size()));
    m_registers.DefineBlock(Register::kXml, CRegisterMap::kReadOnly, block.data(), block.size(), 0,
                            nullptr, 0, nullptr);
    m_xmlSize = block.size();
}

// An index behind the list leaves the ID of the last selection.
void CTL::SelectInterface(std::uint32_t index) {
    if (m_infos.empty()) {
        m_registers.WriteString(Register::kInterfaceId, "");
    } else if (index < m_infos.size()) {
        const std::string id = m_infos[index]->GetID().substr(0, kInterfaceIdLength - 1);
        m_registers.WriteString(Register::kInterfaceId, id.c_str());
    }
}

void CTL::Read(std::uint64_t address, void* buffer, size_t* size) {
    m_registers.ReadBlock(address, buffer, Require(size, "piSize"));
}

void CTL::Write(std::uint64_t address, const void* buffer, size_t* size) {
    m_registers.WriteBlock(address, buffer, Require(size, "piSize"));
}

void CTL::ReadRegister(std::uint64_t address, std::uint32_t* value) {
    *value = m_registers.ReadRegister(address);
}

void CTL::WriteRegister(std::uint64_t address, std::uint32_t value) {
    m_registers.WriteRegister(address, value);
}

std::string CTL::Url() const {
    return LocalUrl("TLRegs.xml", Register::kXml, m_xmlSize);
}

// Two zeros end it, as the device's.
COutcome CTL::GetPortURL(char* buffer, size_t* size) {
    return CopyOutUrl<std::invalid_argument>(Url() + '\0', buffer, size);
}

COutcome CTL::GetPortInfo(PORT_INFO_CMD command, INFO_DATATYPE* type, void* buffer, size_t* size) {
    const CInfoOut out(type, buffer, size);
    if (command == PORT_INFO_ID) {
        return out.String("TL0");
    }
    if (command == PORT_INFO_VERSION) {
        return out.String(GetVersionText());
    }
    return AnswerPortInfo(command, "TLSystem", "TLPort", out)
        .value_or(InvalidPortInfoCommand<std::invalid_argument>(command));
}

COutcome CTL::GetPortURLInfo(std::uint32_t index, URL_INFO_CMD command, INFO_DATATYPE* type,
                             void* buffer, size_t* size) {
    const CInfoOut out(type, buffer, size);
    return AnswerUrlInfo<std::invalid_argument>(index, command, kSystemXmlSubMinorVersion, out,
                                                [&] { return out.String(Url()); });
}

void CTL::UpdateOnce() {
    if (!m_listUpdated) {
        UpdateInterfaceList(nullptr, kLazyUpdateTimeout);
    }
}

std::uint32_t CTL::GetNumInterfaces() {
    UpdateOnce();
    const auto count = static_cast<std::uint32_t>(m_infos.size());
    m_registers.SetValue(Register::kInterfaceCount, count);
    return count;
}

void CTL::GetInterfaceID(std::string& id, std::uint32_t index) {
    UpdateOnce();
    if (index >= m_infos.size()) {
        throw std::invalid_argument("Interface Index not available");
    }
    id = m_infos[index]->GetID();
}

CTL::Infos CTL::DiscoverInterfaces(std::uint32_t timeout) {
    Optivo::UInt32 count = 0;
    m_system.Call(&Optivo::ICamSystem::UpdateInterfaceList, &count, timeout);
    Infos found;
    for (Optivo::UInt32 index = 0; index < count; ++index) {
        const std::string name =
            ReadCameraText<kNameCapacity>([&](char* buffer, Optivo::Size* size) {
                m_system.Call(&Optivo::ICamSystem::GetInterfaceName, index, buffer, size);
            });
        if (EndsList(count, index, name)) {
            break;
        }
        CCameraObject<Optivo::ICamInterface> description;
        m_system.Call(&Optivo::ICamSystem::GetInterface, name.c_str(), description.Receive());
        const auto readText = [&](Optivo::UInt64 key) {
            return ReadCameraText<kInfoCapacity>([&](char* buffer, Optivo::Size* size) {
                if (description) {
                    description.Call(&Optivo::ICamInterface::ReadPort, key, buffer, size);
                }
            });
        };
        const std::string prefix = readText(Optivo::kInterfacePrefix);
        const std::string tlType = readText(Optivo::kInterfaceTLType);
        found.push_back(
            boost::make_shared<CInterfaceInfo>(prefix.c_str(), name.c_str(), tlType.c_str()));
        description.GiveBack();
    }
    return found;
}

// Of several with one ID, each is known again once, the first of them first.
void CTL::UpdateInterfaceList(bool8_t* changed, std::uint32_t timeout) {
    std::multimap<std::string, boost::shared_ptr<CInterfaceInfo>> previous;
    for (const boost::shared_ptr<CInterfaceInfo>& info : m_infos) {
        previous.emplace(info->GetID(), info);
    }
    Infos current;
    Infos appeared;
    for (boost::shared_ptr<CInterfaceInfo>& found : DiscoverInterfaces(timeout)) {
        const std::string id = found->GetID();
        const auto known = previous.lower_bound(id);
        if (known != previous.end() && known->first == id) {
            current.push_back(std::move(known->second));
            previous.erase(known);
        } else {
            appeared.push_back(std::move(found));
        }
    }
    if (changed != nullptr && !(appeared.empty() && previous.empty())) {
        *changed = 1;
    }
    current.insert(current.end(), appeared.begin(), appeared.end());
    m_infos.swap(current);
    m_registers.SetValue(Register::kInterfaceCount, static_cast<std::uint32_t>(m_infos.size()));
    m_registers.WriteRegister(Register::kInterfaceSelector, 0);
    m_listUpdated = true;
}

COutcome CTL::GetInfo(TL_INFO_CMD command, INFO_DATATYPE* type, void* buffer, size_t* size) {
    const CInfoOut out(type, buffer, size);
    switch (command) {
    case TL_INFO_VENDOR:
        return out.String(kVendorName);
    case TL_INFO_MODEL:
        return out.String(kModelName);
    case TL_INFO_VERSION:
        return out.String(GetVersionText());
    case TL_INFO_TLTYPE:
        return out.String(kTLType);
    case TL_INFO_NAME:
        return out.String(RequireFileName(ModulePath()));
    case TL_INFO_PATHNAME:
        return out.String(ModulePath());
    case TL_INFO_DISPLAYNAME:
        return out.String("Norvel GenTL");
    default:
        return Refusal<std::invalid_argument>("Invalid TL info command %d", command);
    }
}

void CTL::RemoveInterface(CInterface* opened) {
    const auto found = std::find(m_openInterfaces.begin(), m_openInterfaces.end(), opened);
    if (found != m_openInterfaces.end()) {
        m_openInterfaces.erase(found);
    }
}

CInterface* CTL::OpenInterface(const char* id) {
    const char* wanted = &Require(id, "sIfaceID");
    UpdateOnce();
    for (CInterface* opened : m_openInterfaces) {
        if (opened->GetInterfaceInfo()->GetID() == wanted) {
            return opened;
        }
    }
    const auto found = std::find_if(m_infos.begin(), m_infos.end(),
                                    [&](const auto& info) { return info->Matches(wanted); });
    if (found == m_infos.end()) {
        throw std::runtime_error(Format("Invalid interface name %s", wanted));
    }
    CCameraObject<Optivo::ICamInterface> camera;
    m_system.Call(&Optivo::ICamSystem::OpenInterface, (*found)->GetID().c_str(), camera.Receive());
    if (!camera) {
        throw std::runtime_error(Format("Unable to open interface %s", wanted));
    }
    m_openInterfaces.reserve(m_openInterfaces.size() + 1);
    auto info = boost::make_shared<CInterfaceInfo>(**found);
    return m_openInterfaces.emplace_back(new CInterface(std::move(info), this, std::move(camera)));
}

COutcome CTL::GetInterfaceInfo(const char* id, INTERFACE_INFO_CMD command, INFO_DATATYPE* type,
                               void* buffer, size_t* size) {
    const char* wanted = &Require(id, "sIfaceID");
    for (CInterface* opened : m_openInterfaces) {
        const boost::shared_ptr<CInterfaceInfo> info = opened->GetInterfaceInfo();
        if (info->GetID() == wanted) {
            return info->GetInfo(command, type, buffer, size);
        }
    }
    const auto found = std::find_if(m_infos.begin(), m_infos.end(),
                                    [&](const auto& info) { return info->GetID() == wanted; });
    if (found == m_infos.end()) {
        return Refusal<std::invalid_argument>("Invalid Interface name");
    }
    return (*found)->GetInfo(command, type, buffer, size);
}

std::uint64_t CTL::GetFileVersion() {
    return Platform::FileVersion();
}

std::string CTL::GetVersionText() {
    return ModuleVersionText();
}

} // namespace GenICam::Client
