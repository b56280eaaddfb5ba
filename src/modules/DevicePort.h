// The remote device port: the camera's own registers and XML, and its events, all served by the
// camera library. It knows its device.
#pragma once

#include "core/CallCounter.h"
#include "core/CommonBase.h"
#include "events/EventDevice.h"
#include "platform/Platform.h"

#include <boost/shared_ptr.hpp>
#include <boost/thread/mutex.hpp>

#include <optional>

namespace GenICam::Client {

class CDevice;

// Has no lock of its own: the camera library serialises its registers, the event queue its entries.
class CDevicePort final : public ICommonBase {
public:
    // The device owns the port and lives longer.
    explicit CDevicePort(CDevice* device);
    // Ends the construction of the device: calls may come. Throws std::bad_alloc.
    void Publish();
    ~CDevicePort() override;
    CDevicePort(const CDevicePort&) = delete;
    CDevicePort& operator=(const CDevicePort&) = delete;

    // Accesses throw the error class of the library's result; size and alignment are the library's
    // to judge.
    void Read(std::uint64_t address, void* buffer, size_t* size) override;
    void Write(std::uint64_t address, const void* buffer, size_t* size) override;
    // The camera's XML URL, with an end. Refuses as invalid_buffer_error without a buffer and when
    // the library does.
    COutcome GetPortURL(char* buffer, size_t* size) override;
    COutcome GetPortInfo(PORT_INFO_CMD command, INFO_DATATYPE* type, void* buffer,
                         size_t* size) override;
    COutcome GetPortURLInfo(std::uint32_t index, URL_INFO_CMD command, INFO_DATATYPE* type,
                            void* buffer, size_t* size) override;

    // Only EVENT_REMOTE_DEVICE; throws invalid_parameter_error for every other type.
    void RegisterEvent(EVENT_TYPE type, EVENT_HANDLE* event) override;
    void UnregisterEvent(EVENT_TYPE type) override;

    // Removes the callback from the camera, if it is installed. The device is about to close.
    void StopEvents() noexcept;

private:
    bool MayHaveCallback();
    COutcome ReadUrl(char* buffer, size_t* size);
    void OnEvent(std::uint32_t eventId, std::uint32_t low, std::uint32_t high);

    CDevice* m_device;
    CCallCounter m_callbacks;
    boost::shared_ptr<CEventDevice> m_event;
    boost::mutex m_callbackLock; // keeps the hold true to what the camera was told
    // Taken while the camera may have the callback: a consumer may unload the module and forget it.
    std::optional<Platform::CModuleHold> m_callbackHold;
};

} // namespace GenICam::Client
