/* The functions that nobody calls where there is no interface. A consumer wants to find them all
   the same, so they need not even have their parameters. */
#if defined(_WIN32)
#define EXPORT
#else
#define EXPORT __attribute__((visibility("default")))
#endif

#define UNUSED(name)                                                                               \
    EXPORT int name(void) {                                                                        \
        return -1003;                                                                              \
    }

UNUSED(GCGetPortURL)
UNUSED(GCGetPortInfo)
UNUSED(GCGetPortURLInfo)
UNUSED(GCReadPortStacked)
UNUSED(GCWritePortStacked)
UNUSED(GCRegisterEvent)
UNUSED(GCUnregisterEvent)
UNUSED(EventGetData)
UNUSED(EventGetDataInfo)
UNUSED(EventGetInfo)
UNUSED(EventKill)
UNUSED(TLGetInterfaceID)
UNUSED(TLGetInterfaceInfo)
UNUSED(TLOpenInterface)
UNUSED(IFClose)
UNUSED(IFGetInfo)
UNUSED(IFGetNumDevices)
UNUSED(IFGetDeviceID)
UNUSED(IFUpdateDeviceList)
UNUSED(IFGetDeviceInfo)
UNUSED(IFOpenDevice)
UNUSED(DevGetInfo)
UNUSED(DevGetPort)
UNUSED(DevGetNumDataStreams)
UNUSED(DevGetDataStreamID)
UNUSED(DevOpenDataStream)
UNUSED(DevClose)
UNUSED(DSAllocAndAnnounceBuffer)
UNUSED(DSRevokeBuffer)
UNUSED(DSQueueBuffer)
UNUSED(DSFlushQueue)
UNUSED(DSStartAcquisition)
UNUSED(DSStopAcquisition)
UNUSED(DSGetInfo)
UNUSED(DSGetBufferInfo)
UNUSED(DSGetBufferID)
UNUSED(DSClose)
