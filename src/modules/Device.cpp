#include "modules/Device.h"

#include "core/Errors.h"
#include "core/InfoOut.h"
#include "core/ModuleIdentity.h"
#include "core/PortUrl.h"
#include "modules/DataStream.h"
#include "modules/DevicePort.h"
#include "modules/Interface.h"

#include <boost/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>

#include <algorithm>
#include <exception>
#include <stdexcept>

namespace GenICam::Client {
namespace {

constexpr std::int32_t kDeviceXmlSubMinorVersion = 4;
constexpr std::uint32_t kDeviceXmlAddress = 0x500;

void RequireErrorEvent(EVENT_TYPE type) {
    if (type != EVENT_ERROR) {
        throw std::runtime_error(Format("Event ID %ld not implemented", type));
    }
}

} // namespace

CDevice::CDevice(CInterface* owner, std::string id, boost::shared_ptr<CDeviceInfo> info,
                 CCameraObject<Optivo::ICamDevice> camera, std::uint32_t cameraIndex)
    : m_id(std::move(id)),
      m_interface(owner),
      m_port(boost::make_shared<CDevicePort>(this)),
      m_info(std::move(info)),
      m_camera(std::move(camera)),
      m_cameraIndex(cameraIndex),
      m_errorEvent(std::make_unique<CEventError>()) {
    try {
        m_errorEvent->PublishHandle();
        m_port->Publish();
        PublishHandle();
    } catch (...) {
        StopUse();
        throw;
    }
}

CDevice::~CDevice() {
    StopUse();
    m_camera.Reset();
    if (CInterface* owner = Interface()) {
        owner->ForgetDevice(this);
    }
}

// The port goes last: its events come until the camera is closed, and not even a close that fails
// may leave a callback to a port that is gone.
void CDevice::StopUse() {
    RetireHandle();
    m_port->RetireHandle();
    CloseStreams();
    m_port->StopEvents();
}

void CDevice::Close() {
    StopUse();
    std::exception_ptr failure;
    try {
        m_camera.GiveBack();
    } catch (...) {
        failure = std::current_exception();
    }
    delete this;
    if (failure) {
        std::rethrow_exception(failure);
    }
}

// Each stream removes itself from the list, also one that another thread is closing.
void CDevice::CloseStreams() {
    const boost::lock_guard<boost::mutex> opening(m_openingLock);
    boost::unique_lock<boost::mutex> lock(m_streamsLock);
    while (!m_streams.empty()) {
        CDataStream* stream = m_streams.front();
        if (stream->BeginClosing()) {
            lock.unlock();
            stream->Close();
            lock.lock();
        } else {
            m_streamLeft.wait(lock);
        }
    }
}

// The last character of the URL is lost, and two more bytes than its length are reported.
std::string CDevice::Url() const {
    std::string url = LocalUrl("TLDevRegs.xml", kDeviceXmlAddress, m_xmlLength);
    url.pop_back();
    return url;
}

COutcome CDevice::GetPortURL(char* buffer, size_t* size) {
    return CInfoOut(nullptr, buffer, size).String(Url() + '\0');
}

COutcome CDevice::GetPortInfo(PORT_INFO_CMD command, INFO_DATATYPE* type, void* buffer,
                              size_t* size) {
    const CInfoOut out(type, buffer, size);
    if (command == PORT_INFO_ID) {
        return out.String("TLDEV::" + m_info->GetID());
    }
    if (command == PORT_INFO_VERSION) {
        // The System module's answer; it may be gone before the device.
        return out.String(ModuleVersionText());
    }
    return AnswerPortInfo(command, "TLDevice", "DevicePort", out)
        .value_or(InvalidPortInfoCommand<std::invalid_argument>(command));
}

COutcome CDevice::GetPortURLInfo(std::uint32_t index, URL_INFO_CMD command, INFO_DATATYPE* type,
                                 void* buffer, size_t* size) {
    const CInfoOut out(type, buffer, size);
    return AnswerUrlInfo<std::invalid_argument>(index, command, kDeviceXmlSubMinorVersion, out,
                                                [&] { return out.String(Url()); });
}

void CDevice::RegisterEvent(EVENT_TYPE type, EVENT_HANDLE* event) {
    RequireErrorEvent(type);
    Require(event, "phEvent") = HandleOf(m_errorEvent.get());
    m_errorEvent->Register();
}

void CDevice::UnregisterEvent(EVENT_TYPE type) {
    RequireErrorEvent(type);
    m_errorEvent->Unregister();
}

boost::shared_ptr<CDeviceInfo> CDevice::GetDeviceInfo() {
    return m_info;
}

CDataStream* CDevice::GetStream(std::uint32_t index) {
    const boost::lock_guard<boost::mutex> lock(m_streamsLock);
    return index < m_streams.size() ? m_streams[index] : nullptr;
}

void CDevice::RemoveStream(std::uint32_t index) {
    const boost::lock_guard<boost::mutex> lock(m_streamsLock);
    if (index >= m_streams.size()) {
        throw std::invalid_argument("Invalid Stream Channel Index");
    }
    m_streams.erase(m_streams.begin() + static_cast<std::ptrdiff_t>(index));
}

void CDevice::ForgetStream(const CDataStream* stream) {
    const boost::lock_guard<boost::mutex> lock(m_streamsLock);
    std::erase(m_streams, stream);
    m_streamLeft.notify_all();
}

COutcome CDevice::GetInfo(DEVICE_INFO_CMD command, INFO_DATATYPE* type, void* buffer,
                          size_t* size) {
    const CInfoOut out(type, buffer, size);
    switch (command) {
    case DEVICE_INFO_ID:
        return out.String(m_info->GetID());
    case DEVICE_INFO_VENDOR:
        return out.String(m_info->m_vendor);
    case DEVICE_INFO_MODEL:
        return out.String(m_info->m_model);
    case DEVICE_INFO_TLTYPE:
        return out.String(m_info->m_tlType);
    case DEVICE_INFO_DISPLAYNAME:
        return out.String(m_info->GetDisplayName());
    case DEVICE_INFO_ACCESS_STATUS:
        return out.Int32(DEVICE_ACCESS_STATUS_READWRITE);
    case DEVICE_INFO_USER_DEFINED_NAME:
        return out.String(m_info->m_userName);
    case DEVICE_INFO_SERIAL_NUMBER:
        return out.String(m_info->m_serialNumber);
    case DEVICE_INFO_VERSION:
        return out.String(m_info->m_version);
    default:
        return Refusal<std::invalid_argument>("Invalid DeviceInfoId %d", command);
    }
}

std::uint32_t CDevice::GetNumDataStreams() {
    Optivo::UInt32 count = m_numStreams.load(std::memory_order_relaxed);
    if (m_camera) {
        m_camera.Call(&Optivo::ICamDevice::GetNumDataStreams, &count);
    }
    m_numStreams.store(count, std::memory_order_relaxed);
    return count;
}

std::string CDevice::GetDataStreamID(std::uint32_t index) const {
    if (index != 0) {
        throw std::invalid_argument(
            Format("Invalid Stream Index %d", static_cast<std::int32_t>(index)));
    }
    return Format("DS%d", static_cast<std::int32_t>(index));
}

// While the camera opens one stream the others can be closed.
CDataStream* CDevice::OpenDataStream(const char* id) {
    const char* wanted = &Require(id, "sDataStreamID");
    const boost::lock_guard<boost::mutex> opening(m_openingLock);
    std::unique_ptr<CDataStream> opened; // when it fails it leaves the list, which locks
    boost::unique_lock<boost::mutex> lock(m_streamsLock);
    for (CDataStream* stream : m_streams) {
        if (!stream->IsClosing() && stream->GetID() == wanted) {
            return stream;
        }
    }
    m_streams.reserve(m_streams.size() + 1); // nobody else adds one meanwhile
    lock.unlock();
    opened = std::make_unique<CDataStream>(wanted, this);
    lock.lock();
    opened->Publish();
    return m_streams.emplace_back(opened.release());
}

ICommonBase* CDevice::RemotePort() const {
    return m_port.get();
}

} // namespace GenICam::Client
