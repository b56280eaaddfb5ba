// How the exported functions turn a consumer's handle into a typed module object, and what each
// kind of handle fails with.
#pragma once

#include "core/CommonBase.h"
#include "events/EventObj.h"
#include "modules/DataStream.h"
#include "modules/Device.h"
#include "modules/Interface.h"
#include "modules/StreamRegistry.h"
#include "modules/TL.h"

#include <stdexcept>

namespace GenICam::Client {

template <class Module, class Error>
Module& CheckedCast(void* handle, const char* text) {
    auto* module = HandleCast<Module>(handle);
    if (module == nullptr) {
        throw Error(text);
    }
    return *module;
}

inline constexpr char kInvalidDeviceHandle[] = "Invalid Device Handle";

// Throws invalid_handle_error.
inline CTL& SystemOf(TL_HANDLE handle) {
    return CheckedCast<CTL, invalid_handle_error>(handle, " Invalid TL handle");
}

// The interface functions check their handle in two ways, which consumers tell apart by the text:
// IFClose, IFGetInfo, IFGetNumDevices and IFGetDeviceID throw std::invalid_argument,
inline CInterface& InterfaceOf(IF_HANDLE handle) {
    return CheckedCast<CInterface, std::invalid_argument>(handle, "Invalid Interface Handle");
}

// and the others std::runtime_error with the text of a device.
inline CInterface& InterfaceWithDeviceText(IF_HANDLE handle) {
    return CheckedCast<CInterface, std::runtime_error>(handle, kInvalidDeviceHandle);
}

// Throws std::runtime_error.
inline CDevice& DeviceOf(DEV_HANDLE handle) {
    return CheckedCast<CDevice, std::runtime_error>(handle, kInvalidDeviceHandle);
}

// Throws std::runtime_error.
inline CDataStream& DataStreamOf(DS_HANDLE handle) {
    return CheckedCast<CDataStream, std::runtime_error>(handle, kInvalidDeviceHandle);
}

// The same for a stream that another thread may be closing, or its device: for one of them.
inline CDataStream& ClosingStreamOf(DS_HANDLE handle) {
    CDataStream* stream = CStreamRegistry::Instance().BeginClosing(handle);
    if (stream == nullptr) {
        throw std::runtime_error(kInvalidDeviceHandle);
    }
    return *stream;
}

inline bool IsEvent(const void* handle) noexcept {
    return CLiveObjects::Events().Contains(handle);
}

// Every module is a port and an event source; the frame has checked the handle.
inline IPort& PortOf(PORT_HANDLE handle) {
    return *static_cast<ICommonBase*>(handle);
}

inline IEventSrc& EventSourceOf(EVENTSRC_HANDLE handle) {
    return *static_cast<ICommonBase*>(handle);
}

inline CEventObj& EventOf(EVENT_HANDLE handle) {
    return *static_cast<CEventObj*>(handle);
}

} // namespace GenICam::Client
