#include "library/CamDevice.h"

#include "library/CamStream.h"
#include "library/Pool.h"

namespace OptivoSim {

Int32 CDeviceContents::OpenStream(Optivo::ICamStream** stream) {
    *stream = CPool<CCamStream>::Get().HandOut(std::make_shared<CStreamContents>(m_camera));
    return kSuccess;
}

void CDeviceContents::Close() {
    if (!m_describesOnly) {
        m_camera->Events().Remove(this);
        m_camera->Release(m_connection);
    }
}

template <typename TWork, typename TClear>
Int32 CCamDevice::PerformOpened(const SCallShape& call, TWork&& work, TClear&& clear) {
    return m_handle.Perform(
        call,
        [&](CDeviceContents& device) {
            if (device.DescribesOnly()) {
                return kNotAvailable;
            }
            return device.IsConnected() ? work(device) : kIo;
        },
        std::forward<TClear>(clear));
}

template <typename TWork>
Int32 CCamDevice::PerformOpened(const SCallShape& call, TWork&& work) {
    return PerformOpened(call, std::forward<TWork>(work), [] {});
}

Int32 CCamDevice::GetNumDataStreams(UInt32* count) {
    return PerformOpened({.operation = OPTIVO_DEVICE_GET_NUM_DATA_STREAMS},
                         [&](CDeviceContents& device) {
                             if (count == nullptr) {
                                 return kInvalidParameter;
                             }
                             *count = device.Camera().NumStreams();
                             return kSuccess;
                         });
}

// Every index is served, as all streams of a camera carry the same images.
Int32 CCamDevice::OpenDataStream(UInt32 index, Optivo::ICamStream** stream) {
    return PerformOpened(
        {.operation = OPTIVO_DEVICE_OPEN_DATA_STREAM, .selector = index},
        [&](CDeviceContents& device) {
            return stream != nullptr ? device.OpenStream(stream) : kInvalidParameter;
        },
        [&] {
            if (stream != nullptr) {
                *stream = nullptr;
            }
        });
}

Int32 CCamDevice::WritePort(UInt64 address, const void* source, Size* size) {
    return PerformOpened(
        {.operation = OPTIVO_DEVICE_WRITE_PORT,
         .selector = address,
         .argument = size != nullptr ? *size : 0,
         .size = size},
        [&](CDeviceContents& device) { return device.Camera().WritePort(address, source, size); });
}

Int32 CCamDevice::ReadPort(UInt64 address, void* destination, Size* size) {
    return PerformOpened({.operation = OPTIVO_DEVICE_READ_PORT,
                          .selector = address,
                          .argument = size != nullptr ? *size : 0,
                          .buffer = destination,
                          .size = size},
                         [&](CDeviceContents& device) {
                             return device.Camera().ReadPort(address, destination, size);
                         });
}

Int32 CCamDevice::GetInfo(UInt32 key, void* buffer, Size* size) {
    return m_handle.Perform({.operation = OPTIVO_DEVICE_GET_INFO,
                             .selector = key,
                             .argument = size != nullptr ? *size : 0,
                             .buffer = buffer,
                             .size = size},
                            [&](CDeviceContents& device) {
                                return device.IsConnected()
                                           ? device.Camera().GetInfo(key, buffer, size)
                                           : kIo;
                            });
}

Int32 CCamDevice::RegisterEventCallback(Optivo::DeviceEventCallback callback, void* context) {
    return PerformOpened({.operation = OPTIVO_DEVICE_REGISTER_EVENT_CALLBACK,
                          .argument = callback != nullptr ? 1U : 0U},
                         [&](CDeviceContents& device) {
                             device.Camera().Events().Install(&device, callback, context);
                             return kSuccess;
                         });
}

Int32 CCamDevice::Close() {
    return m_handle.Close(OPTIVO_DEVICE_CLOSE, CPool<CCamDevice>::Get());
}

} // namespace OptivoSim
