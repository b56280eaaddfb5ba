#include "library/CamInterface.h"

#include "base/CopyOut.h"
#include "library/CamDevice.h"
#include "library/Pool.h"

namespace OptivoSim {

using namespace OptivoBase;

namespace {

Optivo::ICamDevice* HandOutDevice(const std::shared_ptr<CCamera>& camera, bool describesOnly) {
    return CPool<CCamDevice>::Get().HandOut(
        std::make_shared<CDeviceContents>(camera, describesOnly));
}

} // namespace

UInt32 CInterfaceContents::Update() {
    std::vector<std::string> names = m_adapter->Discover();
    const std::lock_guard lock(m_lock);
    m_names = std::move(names);
    return static_cast<UInt32>(m_names.size());
}

Int32 CInterfaceContents::GetName(UInt32 index, char* buffer, Size* size) const {
    const std::lock_guard lock(m_lock);
    return index < m_names.size() ? CopyText(m_names[index], buffer, size) : kInvalidParameter;
}

Int32 CInterfaceContents::GetDevice(const char* name, Optivo::ICamDevice** device) {
    if (name == nullptr || device == nullptr) {
        return kInvalidParameter;
    }
    *device = nullptr;
    const auto camera = m_adapter->FindCamera(name);
    if (camera == nullptr) {
        return kInvalidId;
    }
    *device = HandOutDevice(camera, true);
    return kSuccess;
}

Int32 CInterfaceContents::OpenDevice(const char* name, Optivo::ICamDevice** device) {
    if (name == nullptr || device == nullptr) {
        return kInvalidParameter;
    }
    *device = nullptr;
    const auto camera = m_adapter->FindCamera(name);
    if (camera == nullptr || !camera->IsPlugged()) {
        return kError;
    }
    if (!camera->Acquire()) {
        return kAccessDenied;
    }
    *device = HandOutDevice(camera, false);
    return kSuccess;
}

template <typename TWork, typename TClear>
Int32 CCamInterface::PerformOpened(const SCallShape& call, TWork&& work, TClear&& clear) {
    return m_handle.Perform(
        call,
        [&](CInterfaceContents& contents) {
            return contents.DescribesOnly() ? kNotAvailable : work(contents);
        },
        std::forward<TClear>(clear));
}

template <typename TWork>
Int32 CCamInterface::PerformOpened(const SCallShape& call, TWork&& work) {
    return PerformOpened(call, std::forward<TWork>(work), [] {});
}

Int32 CCamInterface::UpdateDeviceList(UInt32* count, UInt32 timeout) {
    return PerformOpened(
        {.operation = OPTIVO_INTERFACE_UPDATE_DEVICE_LIST, .argument = timeout, .count = count},
        [&](CInterfaceContents& contents) {
            if (count == nullptr) {
                return kInvalidParameter;
            }
            *count = contents.Update();
            return kSuccess;
        });
}

Int32 CCamInterface::GetDeviceName(UInt32 index, char* buffer, Size* size) {
    return PerformOpened(
        {.operation = OPTIVO_INTERFACE_GET_DEVICE_NAME,
         .selector = index,
         .argument = size != nullptr ? *size : 0,
         .buffer = buffer,
         .size = size},
        [&](CInterfaceContents& contents) { return contents.GetName(index, buffer, size); });
}

Int32 CCamInterface::GetDevice(const char* name, Optivo::ICamDevice** device) {
    return PerformOpened(
        {.operation = OPTIVO_INTERFACE_GET_DEVICE, .text = name},
        [&](CInterfaceContents& contents) { return contents.GetDevice(name, device); },
        [&] {
            if (device != nullptr) {
                *device = nullptr;
            }
        });
}

Int32 CCamInterface::OpenDevice(const char* deviceId, Optivo::ICamDevice** device) {
    return PerformOpened(
        {.operation = OPTIVO_INTERFACE_OPEN_DEVICE, .text = deviceId},
        [&](CInterfaceContents& contents) { return contents.OpenDevice(deviceId, device); },
        [&] {
            if (device != nullptr) {
                *device = nullptr;
            }
        });
}

Int32 CCamInterface::WritePort(UInt64 address, const void* source, Size* size) {
    return PerformOpened({.operation = OPTIVO_INTERFACE_WRITE_PORT,
                          .selector = address,
                          .argument = size != nullptr ? *size : 0,
                          .size = size},
                         [&](CInterfaceContents& contents) {
                             return contents.Adapter().WritePort(address, source, size);
                         });
}

Int32 CCamInterface::ReadPort(UInt64 address, void* destination, Size* size) {
    return m_handle.Perform({.operation = OPTIVO_INTERFACE_READ_PORT,
                             .selector = address,
                             .argument = size != nullptr ? *size : 0,
                             .buffer = destination,
                             .size = size},
                            [&](CInterfaceContents& contents) {
                                return contents.DescribesOnly()
                                           ? contents.Adapter().ReadText(address, destination, size)
                                           : contents.Adapter().ReadPort(address, destination,
                                                                         size);
                            });
}

Int32 CCamInterface::Close() {
    return m_handle.Close(OPTIVO_INTERFACE_CLOSE, CPool<CCamInterface>::Get());
}

} // namespace OptivoSim
