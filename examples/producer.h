/* Loads a GenTL producer and its functions, for the examples in C and C++.
   It knows nothing but the header GenTL/GenTL.h and the module's file. */
#ifndef EXAMPLES_PRODUCER_H
#define EXAMPLES_PRODUCER_H

#include "GenTL/GenTL.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The functions that the examples call. */
#define PRODUCER_FUNCTIONS(F)                                                                      \
    F(GCInitLib)                                                                                   \
    F(GCCloseLib)                                                                                  \
    F(GCGetLastError)                                                                              \
    F(GCWritePort)                                                                                 \
    F(GCRegisterEvent)                                                                             \
    F(GCUnregisterEvent)                                                                           \
    F(EventGetData)                                                                                \
    F(EventGetInfo)                                                                                \
    F(TLOpen)                                                                                      \
    F(TLClose)                                                                                     \
    F(TLUpdateInterfaceList)                                                                       \
    F(TLGetNumInterfaces)                                                                          \
    F(TLGetInterfaceID)                                                                            \
    F(TLOpenInterface)                                                                             \
    F(IFClose)                                                                                     \
    F(IFUpdateDeviceList)                                                                          \
    F(IFGetNumDevices)                                                                             \
    F(IFGetDeviceID)                                                                               \
    F(IFOpenDevice)                                                                                \
    F(DevGetPort)                                                                                  \
    F(DevGetDataStreamID)                                                                          \
    F(DevOpenDataStream)                                                                           \
    F(DevClose)                                                                                    \
    F(DSAnnounceBuffer)                                                                            \
    F(DSAllocAndAnnounceBuffer)                                                                    \
    F(DSRevokeBuffer)                                                                              \
    F(DSQueueBuffer)                                                                               \
    F(DSFlushQueue)                                                                                \
    F(DSStartAcquisition)                                                                          \
    F(DSStopAcquisition)                                                                           \
    F(DSGetInfo)                                                                                   \
    F(DSGetBufferInfo)                                                                             \
    F(DSClose)

typedef struct {
    void* library;
#define PRODUCER_MEMBER(name) P##name name;
    PRODUCER_FUNCTIONS(PRODUCER_MEMBER)
#undef PRODUCER_MEMBER
} Producer;

/* Loads the module argv[1] if that ends in ".cti", and takes it out of the arguments; else the
   first NorvelTL40.cti in a folder of GENICAM_GENTL64_PATH. Answers 1, or 0 after saying what is
   wrong. */
int Producer_Load(Producer* producer, int* argc, char** argv);
void Producer_Unload(Producer* producer);

/* The text of the last failure; valid until the next call. */
const char* Producer_LastError(const Producer* producer);

#ifdef __cplusplus
}
#endif

#endif /* EXAMPLES_PRODUCER_H */
