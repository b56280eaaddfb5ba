// The Interface functions.
#include "api/CallFrame.h"
#include "api/HandleChecks.h"
#include "core/Errors.h"
#include "core/InfoOut.h"

using namespace GenICam::Client;

GC_API IFClose(IF_HANDLE hIface) {
    return FramedClose([&] { InterfaceOf(hIface).Close(); });
}

GC_API IFGetInfo(IF_HANDLE hIface, INTERFACE_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                 void* pBuffer, size_t* piSize) {
    return Framed([&] {
        return InterfaceOf(hIface).GetInterfaceInfo()->GetInfo(iInfoCmd, piType, pBuffer, piSize);
    });
}

GC_API IFGetNumDevices(IF_HANDLE hIface, uint32_t* piNumDevices) {
    return Framed([&] {
        CInterface& iface = InterfaceOf(hIface);
        uint32_t& count = Require(piNumDevices, "piNumDevices");
        count = iface.GetNumDevices();
    });
}

GC_API IFGetDeviceID(IF_HANDLE hIface, uint32_t iIndex, char* sIDeviceID, size_t* piSize) {
    return Framed([&] {
        std::string id;
        InterfaceOf(hIface).GetDeviceID(iIndex, id);
        return CInfoOut(nullptr, sIDeviceID, piSize).String(id);
    });
}

// The low 32 bits of the time-out reach the camera library.
GC_API IFUpdateDeviceList(IF_HANDLE hIface, bool8_t* pbChanged, uint64_t iTimeout) {
    return Framed([&] {
        InterfaceWithDeviceText(hIface).UpdateDeviceList(pbChanged,
                                                         static_cast<uint32_t>(iTimeout));
    });
}

GC_API IFGetDeviceInfo(IF_HANDLE hIface, const char* sDeviceID, DEVICE_INFO_CMD iInfoCmd,
                       INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
    return Framed([&] {
        return InterfaceWithDeviceText(hIface).GetDeviceInfo(sDeviceID, iInfoCmd, piType, pBuffer,
                                                             piSize);
    });
}

GC_API IFOpenDevice(IF_HANDLE hIface, const char* sDeviceID, DEVICE_ACCESS_FLAGS iOpenFlag,
                    DEV_HANDLE* phDevice) {
    return Framed([&] {
        CInterface& iface = InterfaceWithDeviceText(hIface);
        DEV_HANDLE& handle = Require(phDevice, "phDevice");
        handle = HandleOf(iface.OpenDevice(sDeviceID, static_cast<uint32_t>(iOpenFlag)));
    });
}

GC_API IFGetParentTL(IF_HANDLE hIface, TL_HANDLE* phSystem) {
    return Framed([&] {
        CInterface& iface = InterfaceWithDeviceText(hIface);
        TL_HANDLE& handle = Require(phSystem, "phSystem");
        handle = HandleOf(iface.Owner());
    });
}
