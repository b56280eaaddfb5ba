#include "modules/Interface.h"

#include "core/Errors.h"
#include "core/ModuleIdentity.h"
#include "core/PortUrl.h"
#include "modules/Device.h"
#include "modules/PortResult.h"
#include "modules/TL.h"

#include <boost/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>

#include <algorithm>
#include <memory>
#include <new>
#include <stdexcept>

namespace GenICam::Client {
namespace {

constexpr std::int32_t kInterfaceXmlSubMinorVersion = 9;
// A result of ICamInterface::OpenDevice beside the codes of GenTL.
constexpr Optivo::Int32 kLinkSpeedNotSupported = -10003;

// Commands of this producer beside the standard ones.
enum CustomDeviceInfo : DEVICE_INFO_CMD {
    kUserDefinedName = 1000,
    kSerialNumber = 1001,
    kVersion = 1002,
    kCustomText15 = 1003,
    kCustomText14 = 1004
};

// Throws for a result of ICamInterface::OpenDevice that is a failure.
void CheckOpened(Optivo::Int32 result, const std::string& id) {
    switch (result) {
    case kLinkSpeedNotSupported:
        throw std::runtime_error(Format("Not supported this link speed.(%s)", id));
    case GC_ERR_INVALID_PARAMETER:
        throw invalid_parameter_error(Format("Invalid Parameter error.(%s)", id));
    case GC_ERR_ACCESS_DENIED:
        throw std::runtime_error(Format("already opened device.(%s).", id));
    case GC_ERR_NOT_INITIALIZED:
        throw std::runtime_error(Format("XML schema error.(%s)", id));
    case GC_ERR_ERROR:
        throw std::runtime_error(Format("Unable to open device %s", id));
    default:
        break;
    }
}

COutcome AnswerDeviceInfo(const CDeviceInfo& info, DEVICE_INFO_CMD command, const CInfoOut& out) {
    switch (command) {
    case DEVICE_INFO_ID:
        return out.String(info.GetID());
    case DEVICE_INFO_VENDOR:
        return out.String(info.m_vendor);
    case DEVICE_INFO_MODEL:
        return out.String(info.m_model);
    case DEVICE_INFO_TLTYPE:
        return out.String(info.m_tlType);
    case DEVICE_INFO_DISPLAYNAME:
        return out.String(info.GetDisplayName());
    case DEVICE_INFO_USER_DEFINED_NAME:
    case kUserDefinedName:
        return out.String(info.m_userDefinedName);
    case DEVICE_INFO_SERIAL_NUMBER:
    case kSerialNumber:
        return out.String(info.m_serialNumber);
    case DEVICE_INFO_VERSION:
    case kVersion:
        return out.String(info.m_version);
    case kCustomText15:
        return out.String(info.m_custom15);
    case kCustomText14:
        return out.String(info.m_custom14);
    default:
        return Refusal<std::invalid_argument>("Invalid Device info Id %d", command);
    }
}

} // namespace

CInterface::CInterface(boost::shared_ptr<CInterfaceInfo> info, CTL* owner,
                       CCameraObject<Optivo::ICamInterface> camera)
    : m_info(std::move(info)), m_owner(owner), m_camera(std::move(camera)) {
    PublishHandle();
}

CInterface::~CInterface() {
    RetireHandle();
    m_devices.clear();
    m_placesById.clear();
    // Each device removes itself from the list.
    while (CDevice* device = FirstOpen()) {
        delete device;
    }
    m_owner->RemoveInterface(this);
}

void CInterface::Read(std::uint64_t address, void* buffer, size_t* size) {
    ThrowPortFailure(AccessPort(m_camera, &Optivo::ICamInterface::ReadPort, address, buffer, size),
                     address);
}

void CInterface::Write(std::uint64_t address, const void* buffer, size_t* size) {
    ThrowPortFailure(AccessPort(m_camera, &Optivo::ICamInterface::WritePort, address, buffer, size),
                     address);
}

COutcome CInterface::GetPortURL(char* buffer, size_t* size) {
    return GiveCameraUrl(buffer, size,
                         [this](char* url, size_t* urlSize) { return ReadUrl(url, urlSize); });
}

COutcome CInterface::ReadUrl(char* buffer, size_t* size) {
    if (buffer == nullptr) {
        return Refusal<std::invalid_argument>("Invalid buffer");
    }
    if (AccessPort(m_camera, &Optivo::ICamInterface::ReadPort, Optivo::kInterfaceXmlUrl, buffer,
                   size) != 0) {
        return Refusal<std::invalid_argument>("Buffer too small");
    }
    return {};
}

COutcome CInterface::GetPortInfo(PORT_INFO_CMD command, INFO_DATATYPE* type, void* buffer,
                                 size_t* size) {
    const CInfoOut out(type, buffer, size);
    if (command == PORT_INFO_ID) {
        return out.String(m_info->GetID());
    }
    if (command == PORT_INFO_VERSION) {
        return out.String(m_owner->GetVersionText());
    }
    return AnswerPortInfo(command, "TLInterface", "InterfacePort", out)
        .value_or(InvalidPortInfoCommand<std::invalid_argument>(command));
}

COutcome CInterface::GetPortURLInfo(std::uint32_t index, URL_INFO_CMD command, INFO_DATATYPE* type,
                                    void* buffer, size_t* size) {
    const CInfoOut out(type, buffer, size);
    return AnswerUrlInfo<std::invalid_argument>(
        index, command, kInterfaceXmlSubMinorVersion, out, [&] {
            return AnswerCameraUrl(
                out, [this](char* url, size_t* urlSize) { return ReadUrl(url, urlSize); });
        });
}

boost::shared_ptr<CDeviceInfo> CInterface::FindOpen(const char* id) const {
    const boost::lock_guard<boost::mutex> lock(m_openDevicesLock);
    if (m_openDevices.empty()) {
        return nullptr;
    }
    const CDeviceName name(id);
    const auto found =
        std::find_if(m_openDevices.begin(), m_openDevices.end(),
                     [&](CDevice* device) { return device->Info().MatchName(name); });
    return found == m_openDevices.end() ? nullptr : (*found)->GetDeviceInfo();
}

CDevice* CInterface::FirstOpen() const {
    const boost::lock_guard<boost::mutex> lock(m_openDevicesLock);
    return m_openDevices.empty() ? nullptr : m_openDevices.front();
}

boost::shared_ptr<CDeviceInfo> CInterface::FindListed(const char* id) const {
    if (m_devices.empty()) {
        return nullptr;
    }
    const CDeviceName name(id);
    if (name.What() == CDeviceName::Kind::Id) {
        const auto place = m_placesById.find(name.Text());
        return place == m_placesById.end() ? nullptr : m_devices[place->second];
    }
    const auto found = std::find_if(m_devices.begin(), m_devices.end(),
                                    [&](const auto& info) { return info->MatchName(name); });
    return found == m_devices.end() ? nullptr : *found;
}

CDevice* CInterface::OpenDevice(const char* id, std::uint32_t flags) {
    const char* wanted = &Require(id, "sDeviceID");
    if (FindOpen(wanted)) {
        throw resource_in_use_error("Device already open");
    }
    const boost::shared_ptr<CDeviceInfo> listed = FindListed(wanted);
    if (!listed) {
        throw std::invalid_argument("Device not available");
    }
    std::string deviceId = listed->GetID();
    auto info = boost::make_shared<CDeviceInfo>(*listed);

    CCameraObject<Optivo::ICamDevice> camera;
    const Optivo::Int32 result =
        m_camera.Call(&Optivo::ICamInterface::OpenDevice, deviceId.c_str(), camera.Receive());
    CheckOpened(result, deviceId);

    const boost::lock_guard<boost::mutex> lock(m_openDevicesLock);
    m_openDevices.reserve(m_openDevices.size() + 1);
    auto* device = new (std::nothrow)
        CDevice(this, std::move(deviceId), std::move(info), std::move(camera), flags);
    if (device == nullptr) {
        throw std::runtime_error("Unable to create Device");
    }
    return m_openDevices.emplace_back(device);
}

std::uint32_t CInterface::GetNumDevices() {
    return static_cast<std::uint32_t>(m_devices.size());
}

void CInterface::GetDeviceID(std::uint32_t index, std::string& id) {
    if (index >= m_devices.size()) {
        throw std::invalid_argument(
            Format(" Invalid Device Index %d", static_cast<std::int32_t>(index)));
    }
    id = m_devices[index]->GetID();
}

boost::shared_ptr<CDeviceInfo> CInterface::Describe(std::string name) {
    CCameraObject<Optivo::ICamDevice> description;
    m_camera.Call(&Optivo::ICamInterface::GetDevice, name.c_str(), description.Receive());
    const auto readText = [&](Optivo::DeviceInfoKey key) {
        return ReadCameraText<kInfoCapacity>([&](char* buffer, Optivo::Size* size) {
            if (description) {
                description.Call(&Optivo::ICamDevice::GetInfo, key, buffer, size);
            }
        });
    };
    auto info = boost::make_shared<CDeviceInfo>();
    info->m_id = std::move(name);
    info->m_vendor = readText(Optivo::kDeviceVendor);
    info->m_model = readText(Optivo::kDeviceModel);
    info->m_serialNumber = readText(Optivo::kDeviceSerialNumber);
    info->m_tlType = readText(Optivo::kDeviceTLType);
    if (description) {
        Optivo::Size size = sizeof info->m_status;
        description.Call(&Optivo::ICamDevice::GetInfo, Optivo::kDeviceStatus, &info->m_status,
                         &size);
    }
    info->m_version = readText(Optivo::kDeviceVersion);
    info->m_userDefinedName = readText(Optivo::kDeviceUserDefinedName);
    info->m_custom14 = readText(Optivo::kDeviceCustom14);
    info->m_custom15 = readText(Optivo::kDeviceCustom15);
    description.GiveBack();
    return info;
}

CInterface::Infos CInterface::DiscoverDevices(std::uint32_t timeout) {
    Optivo::UInt32 count = 0;
    m_camera.Call(&Optivo::ICamInterface::UpdateDeviceList, &count, timeout);
    Infos found;
    for (Optivo::UInt32 index = 0; index < count; ++index) {
        std::string name = ReadCameraText<kNameCapacity>([&](char* buffer, Optivo::Size* size) {
            m_camera.Call(&Optivo::ICamInterface::GetDeviceName, index, buffer, size);
        });
        if (EndsList(count, index, name)) {
            break;
        }
        found.push_back(Describe(std::move(name)));
    }
    return found;
}

// The list holds what was found, in ascending order of the IDs, and so does the list before: what
// appeared, vanished or changed its status shows where they differ.
void CInterface::UpdateDeviceList(bool8_t* changed, std::uint32_t timeout) {
    Infos found = DiscoverDevices(timeout);
    const auto isBefore = [](const auto& a, const auto& b) { return a->m_id < b->m_id; };
    const auto isSame = [](const auto& a, const auto& b) {
        return a->m_id == b->m_id && a->m_status == b->m_status;
    };
    if (!std::is_sorted(found.begin(), found.end(), isBefore)) {
        std::stable_sort(found.begin(), found.end(), isBefore);
    }
    const bool isUnchanged =
        std::equal(m_devices.begin(), m_devices.end(), found.begin(), found.end(), isSame);
    decltype(m_placesById) placesById(found.size());
    for (std::size_t place = 0; place < found.size(); ++place) {
        placesById.try_emplace(found[place]->m_id, place);
    }
    m_devices.swap(found);
    m_placesById.swap(placesById);
    if (changed != nullptr) {
        *changed = isUnchanged ? 0 : 1;
    }
}

void CInterface::RemoveDevice(const std::string& id) {
    const boost::lock_guard<boost::mutex> lock(m_openDevicesLock);
    const auto found = std::find_if(m_openDevices.begin(), m_openDevices.end(),
                                    [&](const CDevice* device) { return device->Id() == id; });
    if (found != m_openDevices.end()) {
        m_openDevices.erase(found);
    }
}

void CInterface::ForgetDevice(const CDevice* device) {
    const boost::lock_guard<boost::mutex> lock(m_openDevicesLock);
    std::erase(m_openDevices, device);
}

void CInterface::Close() {
    RetireHandle();
    m_devices.clear();
    m_placesById.clear();
    {
        const boost::lock_guard<boost::mutex> lock(m_openDevicesLock);
        for (CDevice* device : m_openDevices) {
            device->LeaveInterface();
        }
        m_openDevices.clear();
    }
    CCameraObject<Optivo::ICamInterface> camera = std::move(m_camera);
    delete this;
    camera.GiveBack();
}

boost::shared_ptr<CInterfaceInfo> CInterface::GetInterfaceInfo() {
    return m_info;
}

COutcome CInterface::GetDeviceInfo(const char* id, DEVICE_INFO_CMD command, INFO_DATATYPE* type,
                                   void* buffer, size_t* size) {
    if (size == nullptr) {
        return Refusal<std::invalid_argument>(" Invalid Pointer");
    }
    const char* wanted = &Require(id, "sDeviceID");
    const bool isStatus = command == DEVICE_INFO_ACCESS_STATUS;
    const boost::shared_ptr<CDeviceInfo> open = FindOpen(wanted);
    const boost::shared_ptr<CDeviceInfo> listed = open && !isStatus ? nullptr : FindListed(wanted);
    if (!open && !listed) {
        throw std::runtime_error(Format("Unable to find device %S", wanted));
    }
    const CInfoOut out(type, buffer, size);
    if (!isStatus) {
        return AnswerDeviceInfo(open ? *open : *listed, command, out);
    }
    if (!listed || listed->m_status == 0) {
        return Refusal<std::runtime_error>("Error retrieving device status ( wrong name ) ");
    }
    return out.Int32(open ? std::int32_t{DEVICE_ACCESS_STATUS_NOACCESS}
                          : static_cast<std::int32_t>(listed->m_status));
}

} // namespace GenICam::Client
