// The System functions.
#include "api/CallFrame.h"
#include "api/HandleChecks.h"
#include "core/Errors.h"
#include "core/InfoOut.h"

#include <new>

using namespace GenICam::Client;

// Without memory for the module it answers GC_ERR_INVALID_HANDLE, unrecorded, and a null handle.
GC_API TLOpen(TL_HANDLE* phSystem) {
    return Framed([&]() -> GC_ERROR {
        TL_HANDLE& handle = Require(phSystem, "phSystem");
        handle = HandleOf(new (std::nothrow) CTL);
        return handle != nullptr ? GC_ERR_SUCCESS : GC_ERR_INVALID_HANDLE;
    });
}

GC_API TLClose(TL_HANDLE hSystem) {
    return FramedClose([&] { SystemOf(hSystem).Close(); });
}

GC_API TLGetInfo(TL_HANDLE hSystem, TL_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                 size_t* piSize) {
    return Framed([&] { return SystemOf(hSystem).GetInfo(iInfoCmd, piType, pBuffer, piSize); });
}

GC_API TLGetNumInterfaces(TL_HANDLE hSystem, uint32_t* piNumIfaces) {
    return Framed([&] {
        CTL& system = SystemOf(hSystem);
        uint32_t& count = Require(piNumIfaces, "piNumIfaces");
        count = system.GetNumInterfaces();
    });
}

GC_API TLGetInterfaceID(TL_HANDLE hSystem, uint32_t iIndex, char* sIfaceID, size_t* piSize) {
    return Framed([&] {
        std::string id;
        SystemOf(hSystem).GetInterfaceID(id, iIndex);
        return CInfoOut(nullptr, sIfaceID, piSize).String(id);
    });
}

GC_API TLGetInterfaceInfo(TL_HANDLE hSystem, const char* sIfaceID, INTERFACE_INFO_CMD iInfoCmd,
                          INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
    return Framed([&] {
        return SystemOf(hSystem).GetInterfaceInfo(sIfaceID, iInfoCmd, piType, pBuffer, piSize);
    });
}

GC_API TLOpenInterface(TL_HANDLE hSystem, const char* sIfaceID, IF_HANDLE* phIface) {
    return Framed([&] {
        CTL& system = SystemOf(hSystem);
        IF_HANDLE& handle = Require(phIface, "phIface");
        handle = HandleOf(system.OpenInterface(sIfaceID));
    });
}

// The low 32 bits of the time-out reach the camera library.
GC_API TLUpdateInterfaceList(TL_HANDLE hSystem, bool8_t* pbChanged, uint64_t iTimeout) {
    return Framed(
        [&] { SystemOf(hSystem).UpdateInterfaceList(pbChanged, static_cast<uint32_t>(iTimeout)); });
}
