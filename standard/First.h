// The first module: NorvelTL40.cti in the folder above, which does the work. This file knows where
// it lies and what its functions are called, and nothing of what they do.
#pragma once

#include "GenTL/GenTL.h"

#include <string>

namespace Standard {

void InitialiseFirst();

// A function of the first module. Whoever else in the process uses that module may close it at any
// time, which closes nothing but its door: then it is initialised again.
template <class Function>
class CForward;

template <class... Arguments>
class CForward<GC_ERROR(GC_CALLTYPE*)(Arguments...)> {
public:
    using Function = GC_ERROR(GC_CALLTYPE*)(Arguments...);

    void Set(Function function) noexcept { m_function = function; }

    GC_ERROR operator()(Arguments... arguments) const {
        const GC_ERROR code = m_function(arguments...);
        if (code != GC_ERR_NOT_INITIALIZED) {
            return code;
        }
        InitialiseFirst();
        return m_function(arguments...);
    }

private:
    Function m_function;
};

struct SFirst {
    CForward<PGCInitLib> GCInitLib;
    CForward<PGCGetInfo> GCGetInfo;
    CForward<PGCGetLastError> GCGetLastError;
    CForward<PGCReadPort> GCReadPort;
    CForward<PGCWritePort> GCWritePort;
    CForward<PGCGetPortURLInfo> GCGetPortURLInfo;
    CForward<PGCGetPortInfo> GCGetPortInfo;
    CForward<PGCRegisterEvent> GCRegisterEvent;
    CForward<PGCUnregisterEvent> GCUnregisterEvent;
    CForward<PEventGetData> EventGetData;
    CForward<PEventGetInfo> EventGetInfo;
    CForward<PEventFlush> EventFlush;
    CForward<PTLOpen> TLOpen;
    CForward<PTLClose> TLClose;
    CForward<PTLGetInfo> TLGetInfo;
    CForward<PTLGetNumInterfaces> TLGetNumInterfaces;
    CForward<PTLGetInterfaceID> TLGetInterfaceID;
    CForward<PTLGetInterfaceInfo> TLGetInterfaceInfo;
    CForward<PTLOpenInterface> TLOpenInterface;
    CForward<PTLUpdateInterfaceList> TLUpdateInterfaceList;
    CForward<PIFClose> IFClose;
    CForward<PIFGetInfo> IFGetInfo;
    CForward<PIFGetNumDevices> IFGetNumDevices;
    CForward<PIFGetDeviceID> IFGetDeviceID;
    CForward<PIFUpdateDeviceList> IFUpdateDeviceList;
    CForward<PIFGetDeviceInfo> IFGetDeviceInfo;
    CForward<PIFOpenDevice> IFOpenDevice;
    CForward<PDevGetPort> DevGetPort;
    CForward<PDevGetNumDataStreams> DevGetNumDataStreams;
    CForward<PDevGetDataStreamID> DevGetDataStreamID;
    CForward<PDevOpenDataStream> DevOpenDataStream;
    CForward<PDevGetInfo> DevGetInfo;
    CForward<PDevClose> DevClose;
    CForward<PDSAnnounceBuffer> DSAnnounceBuffer;
    CForward<PDSRevokeBuffer> DSRevokeBuffer;
    CForward<PDSQueueBuffer> DSQueueBuffer;
    CForward<PDSFlushQueue> DSFlushQueue;
    CForward<PDSStartAcquisition> DSStartAcquisition;
    CForward<PDSStopAcquisition> DSStopAcquisition;
    CForward<PDSGetInfo> DSGetInfo;
    CForward<PDSGetBufferInfo> DSGetBufferInfo;
    CForward<PDSGetBufferID> DSGetBufferID;
    CForward<PDSClose> DSClose;
};

// Loads the first module and initialises it, unless that was done before. It is not closed again,
// as another part of the process may use it, and neither it nor this module is ever unloaded.
// Throws std::runtime_error, naming the file.
void LoadFirst();

// The functions of the first module. To be called after LoadFirst.
const SFirst& First() noexcept;

// The full path of this module.
std::string OwnPath();

} // namespace Standard
