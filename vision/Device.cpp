#include "Device.h"

#include "Stream.h"
#include "base/CopyOut.h"

#include <utility>

namespace OptivoVision {

namespace {

// Of GenTL's states of access: free, and not to be opened.
constexpr UInt32 kReadWrite = 1;
constexpr UInt32 kNoAccess = 3;

} // namespace

CDevice::CDevice(CTransport& transport, SFound found, std::shared_ptr<CCamera> camera)
    : m_transport(transport),
      m_found(std::move(found)),
      m_camera(std::move(camera)),
      m_isStreamOpen(std::make_shared<std::atomic<bool>>(false)) {}

Int32 CDevice::GetNumDataStreams(UInt32* count) {
    if (count == nullptr) {
        return kInvalidParameter;
    }
    *count = 1;
    return kSuccess;
}

Int32 CDevice::OpenDataStream(UInt32 index, Optivo::ICamStream** stream) {
    return Fenced([&] {
        if (stream == nullptr || index != 0) {
            return kInvalidParameter;
        }
        *stream = nullptr;
        if (m_camera == nullptr) {
            return kNotAvailable;
        }
        if (m_camera->IsGone()) {
            return kIo;
        }
        if (m_isStreamOpen->exchange(true)) {
            return kResourceInUse;
        }
        const std::shared_ptr<void> place(nullptr,
                                          [open = m_isStreamOpen](void*) { *open = false; });
        *stream = new CStream(m_camera, place);
        return kSuccess;
    });
}

Int32 CDevice::WritePort(UInt64 address, const void* source, Size* size) {
    return Fenced([&] {
        if (m_camera == nullptr) {
            return kNotAvailable;
        }
        return source != nullptr && size != nullptr ? m_camera->Write(address, source, *size)
                                                    : kInvalidParameter;
    });
}

Int32 CDevice::ReadPort(UInt64 address, void* destination, Size* size) {
    return Fenced([&] {
        if (m_camera == nullptr) {
            return kNotAvailable;
        }
        return destination != nullptr && size != nullptr
                   ? m_camera->Read(address, destination, *size)
                   : kInvalidParameter;
    });
}

Int32 CDevice::GetInfo(UInt32 key, void* buffer, Size* size) {
    return Fenced([&] {
        const auto text = [&](const std::string& value) {
            return OptivoBase::CopyText(value, buffer, size);
        };
        switch (key) {
        case Optivo::kDeviceVendor:
            return text(m_found.vendor);
        case Optivo::kDeviceModel:
            return text(m_found.model);
        case Optivo::kDeviceSerialNumber:
            return text(m_found.serialNumber);
        case Optivo::kDeviceTLType:
            return text(m_transport.Type());
        case Optivo::kDeviceCustom14:
            return text(m_found.address);
        case Optivo::kDeviceCustom15:
            return text(m_found.physicalId);
        case Optivo::kDeviceVersion:
            return text(m_found.version);
        case Optivo::kDeviceUserDefinedName:
            return text(m_found.userName);
        case Optivo::kDeviceStatus:
            return OptivoBase::CopyNumber(m_transport.IsOpen(m_found.name) ? kNoAccess : kReadWrite,
                                          buffer, size);
        case Optivo::kDeviceXmlUrl:
            return m_camera != nullptr ? text(m_camera->XmlUrl()) : kNotAvailable;
        default:
            return kInvalidParameter;
        }
    });
}

Int32 CDevice::RegisterEventCallback(Optivo::DeviceEventCallback /*callback*/, void* /*context*/) {
    return m_camera != nullptr ? kSuccess : kNotAvailable;
}

Int32 CDevice::Close() {
    delete this;
    return kSuccess;
}

} // namespace OptivoVision
