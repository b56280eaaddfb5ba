// The Device functions.
#include "api/CallFrame.h"
#include "api/HandleChecks.h"
#include "core/Errors.h"
#include "core/InfoOut.h"

using namespace GenICam::Client;

GC_API DevGetPort(DEV_HANDLE hDevice, PORT_HANDLE* phRemoteDevice) {
    return Framed([&] {
        CDevice& device = DeviceOf(hDevice);
        PORT_HANDLE& handle = Require(phRemoteDevice, "phRemoteDevice");
        handle = HandleOf(device.RemotePort());
    });
}

GC_API DevGetNumDataStreams(DEV_HANDLE hDevice, uint32_t* piNumDataStreams) {
    return Framed([&] {
        CDevice& device = DeviceOf(hDevice);
        uint32_t& count = Require(piNumDataStreams, "piNumDataStreams");
        count = device.GetNumDataStreams();
    });
}

GC_API DevGetDataStreamID(DEV_HANDLE hDevice, uint32_t iIndex, char* sDataStreamID,
                          size_t* piSize) {
    return Framed([&] {
        return CInfoOut(nullptr, sDataStreamID, piSize)
            .String(DeviceOf(hDevice).GetDataStreamID(iIndex));
    });
}

GC_API DevOpenDataStream(DEV_HANDLE hDevice, const char* sDataStreamID, DS_HANDLE* phDataStream) {
    return Framed([&] {
        CDevice& device = DeviceOf(hDevice);
        DS_HANDLE& handle = Require(phDataStream, "phDataStream");
        handle = HandleOf(device.OpenDataStream(sDataStreamID));
    });
}

GC_API DevGetInfo(DEV_HANDLE hDevice, DEVICE_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                  void* pBuffer, size_t* piSize) {
    return Framed([&] { return DeviceOf(hDevice).GetInfo(iInfoCmd, piType, pBuffer, piSize); });
}

// What is not a device is answered without recording an error.
GC_API DevClose(DEV_HANDLE hDevice) {
    return FramedClose([&]() -> GC_ERROR {
        auto* device = HandleCast<CDevice>(hDevice);
        if (device == nullptr) {
            return GC_ERR_INVALID_HANDLE;
        }
        device->Close();
        return GC_ERR_SUCCESS;
    });
}

GC_API DevGetParentIF(DEV_HANDLE hDevice, IF_HANDLE* phIface) {
    return Framed([&] {
        CDevice& device = DeviceOf(hDevice);
        IF_HANDLE& handle = Require(phIface, "phIface");
        CInterface* parent = device.Interface();
        if (parent == nullptr) {
            throw not_available_error("The interface of this device is closed.");
        }
        handle = HandleOf(parent);
    });
}
