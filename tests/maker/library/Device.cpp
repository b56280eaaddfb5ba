#include "Events.h"
#include "Objects.h"

namespace Maker {
namespace {

CPool<CDevice, MAKER_DEVICES> g_devices;

} // namespace

CDevice* CDevice::HandOut(CCamera& camera) {
    CDevice* const opened = g_devices.HandOut();
    opened->m_camera = &camera;
    return opened;
}

Int32 CDevice::GetNumDataStreams(UInt32* count) {
    return Perform(*this, MAKER_DEVICE_GET_NUM_DATA_STREAMS, 0, [&](CGuard&) {
        *count = m_camera->numStreams;
        return kSuccess;
    });
}

Int32 CDevice::OpenDataStream(UInt32 index, Optivo::ICamStream** stream) {
    return Perform(*this, MAKER_DEVICE_OPEN_DATA_STREAM, index, [&](CGuard&) {
        *stream = CStream::HandOut(*m_camera);
        return kSuccess;
    });
}

Int32 CDevice::WritePort(UInt64 address, const void* source, Size* size) {
    return Perform(*this, MAKER_DEVICE_WRITE_PORT, address,
                   [&](CGuard&) { return m_camera->WritePort(address, source, size); });
}

Int32 CDevice::ReadPort(UInt64 address, void* destination, Size* size) {
    return Perform(*this, MAKER_DEVICE_READ_PORT, address,
                   [&](CGuard&) { return m_camera->ReadPort(address, destination, size); });
}

Int32 CDevice::GetInfo(UInt32 key, void* buffer, Size* size) {
    return Perform(*this, MAKER_DEVICE_GET_INFO, key,
                   [&](CGuard&) { return m_camera->GetInfo(key, buffer, size); });
}

Int32 CDevice::RegisterEventCallback(Optivo::DeviceEventCallback callback, void* context) {
    return Perform(*this, MAKER_DEVICE_REGISTER_EVENT_CALLBACK, 0, [&](CGuard& guard) {
        SetCallback(*m_camera, callback, context, guard);
        return kSuccess;
    });
}

Int32 CDevice::Close() {
    return Perform(*this, MAKER_DEVICE_CLOSE, 0, [&](CGuard& guard) {
        if (m_camera->owner == this) {
            m_camera->owner = nullptr;
            SetCallback(*m_camera, nullptr, nullptr, guard);
        }
        g_devices.TakeBack(this);
        return kSuccess;
    });
}

} // namespace Maker
