#include "modules/DevicePort.h"

#include "camlib/CameraObjects.h"
#include "core/Errors.h"
#include "core/InfoOut.h"
#include "core/PortUrl.h"
#include "modules/Device.h"
#include "modules/PortResult.h"

#include <boost/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>

#include <stdexcept>

namespace GenICam::Client {
namespace {

constexpr std::int32_t kPortXmlSubMinorVersion = 2;

void CheckAccess(Optivo::Int32 result, std::uint64_t address) {
    switch (result) {
    case GC_ERR_SUCCESS:
        return;
    case GC_ERR_NOT_INITIALIZED:
        throw invalid_handle_error("Not invalid.");
    case GC_ERR_INVALID_ADDRESS:
        throw invalid_address_error("Invalid Address");
    default:
        ThrowPortFailure(result, address);
        throw std::runtime_error("Unspecified error.");
    }
}

void RequireRemoteDeviceEvent(EVENT_TYPE type) {
    if (type != EVENT_REMOTE_DEVICE) {
        throw invalid_parameter_error(Format("Event ID %ld not implemented", type));
    }
}

} // namespace

CDevicePort::CDevicePort(CDevice* device)
    : m_device(device), m_event(boost::make_shared<CEventDevice>()) {}

void CDevicePort::Publish() {
    m_event->PublishHandle();
    PublishHandle();
}

// The camera is closed by now: no further event begins, but one may still be under way.
CDevicePort::~CDevicePort() {
    m_callbacks.Drain();
}

void CDevicePort::Read(std::uint64_t address, void* buffer, size_t* size) {
    CheckAccess(
        AccessPort(m_device->Camera(), &Optivo::ICamDevice::ReadPort, address, buffer, size),
        address);
}

void CDevicePort::Write(std::uint64_t address, const void* buffer, size_t* size) {
    CheckAccess(
        AccessPort(m_device->Camera(), &Optivo::ICamDevice::WritePort, address, buffer, size),
        address);
}

COutcome CDevicePort::GetPortURL(char* buffer, size_t* size) {
    return GiveCameraUrl(buffer, size,
                         [this](char* url, size_t* urlSize) { return ReadUrl(url, urlSize); });
}

COutcome CDevicePort::ReadUrl(char* buffer, size_t* size) {
    if (buffer == nullptr) {
        return Refusal<invalid_buffer_error>("Invalid buffer");
    }
    const auto& camera = m_device->Camera();
    if (!camera || size == nullptr ||
        camera.Call(&Optivo::ICamDevice::GetInfo, Optivo::kDeviceXmlUrl, buffer, size) != 0) {
        return Refusal<invalid_buffer_error>("Buffer too small");
    }
    return {};
}

COutcome CDevicePort::GetPortInfo(PORT_INFO_CMD command, INFO_DATATYPE* type, void* buffer,
                                  size_t* size) {
    const CInfoOut out(type, buffer, size);
    if (command == PORT_INFO_ID) {
        return out.String(m_device->GetDeviceInfo()->GetID());
    }
    if (command == PORT_INFO_VERSION) {
        return out.String("1.2");
    }
    return AnswerPortInfo(command, "Device", "Device", out)
        .value_or(InvalidPortInfoCommand<invalid_parameter_error>(command));
}

COutcome CDevicePort::GetPortURLInfo(std::uint32_t index, URL_INFO_CMD command, INFO_DATATYPE* type,
                                     void* buffer, size_t* size) {
    const CInfoOut out(type, buffer, size);
    return AnswerUrlInfo<invalid_parameter_error>(
        index, command, kPortXmlSubMinorVersion, out, [&] {
            return AnswerCameraUrl(
                out, [this](char* url, size_t* urlSize) { return ReadUrl(url, urlSize); });
        });
}

void CDevicePort::RegisterEvent(EVENT_TYPE type, EVENT_HANDLE* event) {
    RequireRemoteDeviceEvent(type);
    EVENT_HANDLE& handle = Require(event, "phEvent");
    const auto callback = [](Optivo::UInt32 eventId, const void*, const void*, Optivo::UInt32 low,
                             Optivo::UInt32 high, void* context) {
        static_cast<CDevicePort*>(context)->OnEvent(eventId, low, high);
    };
    if (const auto& camera = m_device->Camera()) {
        const boost::lock_guard<boost::mutex> lock(m_callbackLock);
        if (!m_callbackHold) {
            m_callbackHold.emplace();
        }
        camera.Call(&Optivo::ICamDevice::RegisterEventCallback, callback, this);
    }
    m_event->Register();
    handle = HandleOf(m_event.get());
}

void CDevicePort::UnregisterEvent(EVENT_TYPE type) {
    RequireRemoteDeviceEvent(type);
    if (const auto& camera = m_device->Camera()) {
        const boost::lock_guard<boost::mutex> lock(m_callbackLock);
        if (camera.Call(&Optivo::ICamDevice::RegisterEventCallback, nullptr, this) == 0) {
            m_callbackHold.reset();
        }
    }
    m_event->Unregister();
}

bool CDevicePort::MayHaveCallback() {
    const boost::lock_guard<boost::mutex> lock(m_callbackLock);
    return m_callbackHold.has_value();
}

void CDevicePort::StopEvents() noexcept {
    try {
        if (MayHaveCallback()) {
            UnregisterEvent(EVENT_REMOTE_DEVICE);
        }
    } catch (...) { // NOLINT(bugprone-empty-catch): the camera is closed next in any case
    }
}

// Runs on the camera library's threads, which must not see an exception: without memory for it, an
// event is lost.
void CDevicePort::OnEvent(std::uint32_t eventId, std::uint32_t low, std::uint32_t high) {
    const CCallCounter::CScope inside(m_callbacks);
    try {
        const std::uint64_t value = (static_cast<std::uint64_t>(high) << 32) + low;
        m_event->Post(boost::make_shared<DevEventEntry>(eventId, value));
    } catch (...) { // NOLINT(bugprone-empty-catch): see above
    }
}

} // namespace GenICam::Client
