#include "Objects.h"

namespace Maker {
namespace {

CPool<CInterface, MAKER_INTERFACES> g_interfaces;

} // namespace

CInterface* CInterface::HandOut(CAdapter& adapter) {
    CInterface* const opened = g_interfaces.HandOut();
    opened->m_adapter = &adapter;
    return opened;
}

Int32 CInterface::UpdateDeviceList(UInt32* count, UInt32) {
    return Perform(*this, MAKER_INTERFACE_UPDATE_DEVICE_LIST, 0, [&](CGuard&) {
        *count = m_adapter->CountPlugged();
        return kSuccess;
    });
}

Int32 CInterface::GetDeviceName(UInt32 index, char* buffer, Size* size) {
    return Perform(*this, MAKER_INTERFACE_GET_DEVICE_NAME, index, [&](CGuard&) {
        const CCamera* const camera = m_adapter->At(index);
        return camera != nullptr ? CopyText(camera->Name(), buffer, size) : kInvalidParameter;
    });
}

Int32 CInterface::GetDevice(const char* name, Optivo::ICamDevice** device) {
    return Perform(*this, MAKER_INTERFACE_GET_DEVICE, 0, [&](CGuard&) {
        if (name == nullptr || device == nullptr) {
            return kInvalidParameter;
        }
        CCamera* const camera = m_adapter->Find(name);
        *device = camera != nullptr ? CDevice::HandOut(*camera) : nullptr;
        return camera != nullptr ? kSuccess : kInvalidId;
    });
}

Int32 CInterface::OpenDevice(const char* deviceId, Optivo::ICamDevice** device) {
    return Perform(*this, MAKER_INTERFACE_OPEN_DEVICE, 0, [&](CGuard&) {
        if (deviceId == nullptr || device == nullptr) {
            return kInvalidParameter;
        }
        *device = nullptr;
        CCamera* const camera = m_adapter->Find(deviceId);
        if (camera == nullptr || !camera->isPlugged) {
            return kError;
        }
        if (camera->owner != nullptr) {
            return kAccessDenied;
        }
        *device = CDevice::HandOut(*camera);
        camera->owner = *device;
        return kSuccess;
    });
}

Int32 CInterface::WritePort(UInt64 address, const void* source, Size* size) {
    return Perform(*this, MAKER_INTERFACE_WRITE_PORT, address,
                   [&](CGuard&) { return m_adapter->WritePort(address, source, size); });
}

Int32 CInterface::ReadPort(UInt64 address, void* destination, Size* size) {
    return Perform(*this, MAKER_INTERFACE_READ_PORT, address,
                   [&](CGuard&) { return m_adapter->ReadPort(address, destination, size); });
}

Int32 CInterface::Close() {
    return Perform(*this, MAKER_INTERFACE_CLOSE, 0, [&](CGuard&) {
        g_interfaces.TakeBack(this);
        return kSuccess;
    });
}

} // namespace Maker
