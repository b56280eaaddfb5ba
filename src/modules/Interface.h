// The Interface module: discovery and opening of the cameras on one interface, and the interface's
// own port, which the camera library serves. It knows the devices that it opens, and of the System
// module that it must be told when the interface goes, and the version that it tells.
#pragma once

#include "camlib/CameraObjects.h"
#include "core/CommonBase.h"
#include "modules/DeviceInfo.h"
#include "modules/InterfaceInfo.h"

#include <boost/shared_ptr.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/unordered/unordered_flat_map.hpp>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace GenICam::Client {

class CDevice;
class CTL;

// Only the list of open devices is locked, as their consumers may close them on threads of their
// own: otherwise a consumer calls the operations of one interface from one thread at a time.
// Only the table of operations demands RemoveDevice: nobody calls it.
class CInterface final : public ICommonBase {
public:
    // camera is not null.
    CInterface(boost::shared_ptr<CInterfaceInfo> info, CTL* owner,
               CCameraObject<Optivo::ICamInterface> camera);
    // Destroys the devices that are still open.
    ~CInterface() override;
    CInterface(const CInterface&) = delete;
    CInterface& operator=(const CInterface&) = delete;

    // Port accesses throw the error class of the library's result.
    void Read(std::uint64_t address, void* buffer, size_t* size) override;
    void Write(std::uint64_t address, const void* buffer, size_t* size) override;
    // The camera library's URL of the interface's XML, with an end. Refuses as
    // std::invalid_argument without a buffer and when the library does.
    COutcome GetPortURL(char* buffer, size_t* size) override;
    COutcome GetPortInfo(PORT_INFO_CMD command, INFO_DATATYPE* type, void* buffer,
                         size_t* size) override;
    COutcome GetPortURLInfo(std::uint32_t index, URL_INFO_CMD command, INFO_DATATYPE* type,
                            void* buffer, size_t* size) override;

    // Opens the camera that the ID means; this interface owns the device. The flags are handed on.
    // Throws resource_in_use_error when it is open already, std::invalid_argument when no listed
    // camera matches, and otherwise by the library's result.
    virtual CDevice* OpenDevice(const char* id, std::uint32_t flags);
    // The number of cameras that the last update found; 0 before the first.
    virtual std::uint32_t GetNumDevices();
    // Throws std::invalid_argument for an index that is not below the number of devices.
    virtual void GetDeviceID(std::uint32_t index, std::string& id);
    // Rediscovers the cameras; the list is in ascending order of their IDs, with fresh records.
    // changed may be null; it tells whether a camera came, went or changed its status. The
    // time-out is in milliseconds.
    virtual void UpdateDeviceList(bool8_t* changed, std::uint32_t timeout);
    // Forgets the open device with this ID; the first, if several have it.
    virtual void RemoveDevice(const std::string& id);
    // Destroys this object and leaves its open devices alone: they go on without an interface.
    // Throws what the camera library throws when it takes its interface back.
    virtual void Close();
    virtual boost::shared_ptr<CInterfaceInfo> GetInterfaceInfo();
    // Answers DEVICE_INFO commands for an open or listed camera.
    // Throws std::runtime_error when none matches the ID; refuses a null size and a command that
    // does not exist as std::invalid_argument.
    virtual COutcome GetDeviceInfo(const char* id, DEVICE_INFO_CMD command, INFO_DATATYPE* type,
                                   void* buffer, size_t* size);

    // Forgets a device that is being destroyed; the device's last use of its interface.
    void ForgetDevice(const CDevice* device);

    // The System module that opened this interface; it lives longer.
    CTL* Owner() const { return m_owner; }

private:
    using Infos = std::vector<boost::shared_ptr<CDeviceInfo>>;

    COutcome ReadUrl(char* buffer, size_t* size);
    Infos DiscoverDevices(std::uint32_t timeout);
    boost::shared_ptr<CDeviceInfo> Describe(std::string name);
    boost::shared_ptr<CDeviceInfo> FindListed(const char* id) const;
    boost::shared_ptr<CDeviceInfo> FindOpen(const char* id) const;
    CDevice* FirstOpen() const;

    boost::shared_ptr<CInterfaceInfo> m_info;
    CTL* m_owner;
    mutable boost::mutex m_openDevicesLock;
    std::vector<CDevice*> m_openDevices; // owned
    Infos m_devices;
    // Where the first of m_devices with an ID stands: consumers ask for each of thousands by its
    // ID.
    boost::unordered_flat_map<std::string_view, std::size_t, SIdHash, SIdEqual> m_placesById;
    CCameraObject<Optivo::ICamInterface> m_camera;
};

} // namespace GenICam::Client
