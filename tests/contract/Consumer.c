/* A consumer in plain C99: lists the cameras of every interface and grabs three images from the
   first one, through nothing but the functions of the module. */
#include "GenTL/GenTL.h"

#include <stdio.h>
#include <string.h>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

#define MODULE_NAME "NorvelTL40.cti"
#define NUM_BUFFERS 4
#define NUM_IMAGES 3
#define WAIT_MS 30000

static void* s_module;

/* The functions that this consumer uses. */
static struct {
    PDevGetDataStreamID DevGetDataStreamID;
    PDevOpenDataStream DevOpenDataStream;
    PDSGetInfo DSGetInfo;
    PDSAllocAndAnnounceBuffer DSAllocAndAnnounceBuffer;
    PDSQueueBuffer DSQueueBuffer;
    PDSStartAcquisition DSStartAcquisition;
    PDSStopAcquisition DSStopAcquisition;
    PDSFlushQueue DSFlushQueue;
    PDSRevokeBuffer DSRevokeBuffer;
    PDSClose DSClose;
    PGCRegisterEvent GCRegisterEvent;
    PGCUnregisterEvent GCUnregisterEvent;
    PEventGetData EventGetData;
    PIFOpenDevice IFOpenDevice;
    PDevClose DevClose;
    PIFUpdateDeviceList IFUpdateDeviceList;
    PIFGetNumDevices IFGetNumDevices;
    PIFGetDeviceID IFGetDeviceID;
    PIFGetDeviceInfo IFGetDeviceInfo;
    PTLUpdateInterfaceList TLUpdateInterfaceList;
    PTLGetNumInterfaces TLGetNumInterfaces;
    PTLGetInterfaceID TLGetInterfaceID;
    PTLOpenInterface TLOpenInterface;
    PIFClose IFClose;
    PGCInitLib GCInitLib;
    PGCCloseLib GCCloseLib;
    PGCGetLastError GCGetLastError;
    PTLOpen TLOpen;
    PTLClose TLClose;
} s_gentl;

static int OpenModule(const char* program) {
    char path[4096];
    int length = (int)strlen(program);
    while (length > 0 && strchr("/\\", program[length - 1]) == NULL) {
        --length;
    }
    snprintf(path, sizeof path, "%s%.*s%s", length == 0 ? "./" : "", length, program, MODULE_NAME);
#if defined(_WIN32)
    s_module = (void*)LoadLibraryA(path);
#else
    s_module = dlopen(path, RTLD_NOW | RTLD_LOCAL);
#endif
    if (s_module == NULL) {
        printf("failed: %s does not load\n", path);
    }
    return s_module != NULL;
}

static int Find(const char* name, void* function, size_t size) {
#if defined(_WIN32)
    const FARPROC found = GetProcAddress((HMODULE)s_module, name);
#else
    void* const found = dlsym(s_module, name);
#endif
    memcpy(function, &found, size);
    if (found == NULL) {
        printf("failed: no function %s\n", name);
    }
    return found != NULL;
}

#define FIND(name) Find(#name, &s_gentl.name, sizeof s_gentl.name)

static int FindAll(void) {
    return FIND(DevGetDataStreamID) && FIND(DevOpenDataStream) && FIND(DSGetInfo) &&
           FIND(DSAllocAndAnnounceBuffer) && FIND(DSQueueBuffer) && FIND(DSStartAcquisition) &&
           FIND(DSStopAcquisition) && FIND(DSFlushQueue) && FIND(DSRevokeBuffer) && FIND(DSClose) &&
           FIND(GCRegisterEvent) && FIND(GCUnregisterEvent) && FIND(EventGetData) &&
           FIND(IFOpenDevice) && FIND(DevClose) && FIND(IFUpdateDeviceList) &&
           FIND(IFGetNumDevices) && FIND(IFGetDeviceID) && FIND(IFGetDeviceInfo) &&
           FIND(TLUpdateInterfaceList) && FIND(TLGetNumInterfaces) && FIND(TLGetInterfaceID) &&
           FIND(TLOpenInterface) && FIND(IFClose) && FIND(GCInitLib) && FIND(GCCloseLib) &&
           FIND(GCGetLastError) && FIND(TLOpen) && FIND(TLClose);
}

static int Failed(const char* what, GC_ERROR code) {
    char text[512] = "";
    size_t size = sizeof text;
    if (code == GC_ERR_SUCCESS) {
        return 0;
    }
    s_gentl.GCGetLastError(NULL, text, &size);
    printf("failed: %s answers %d, %s\n", what, (int)code, text);
    return 1;
}

#define CHECK(call)                                                                                \
    if (Failed(#call, s_gentl.call)) {                                                             \
        return 1;                                                                                  \
    }

static int Grab(DEV_HANDLE device) {

    char id[64] = "";
    size_t size = sizeof id;
    CHECK(DevGetDataStreamID(device, 0, id, &size))
    DS_HANDLE stream = NULL;
    CHECK(DevOpenDataStream(device, id, &stream))

    uint64_t payload = 0;
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size = sizeof payload;
    CHECK(DSGetInfo(stream, STREAM_INFO_DEFINES_PAYLOADSIZE, &type, &payload, &size))

    BUFFER_HANDLE buffers[NUM_BUFFERS] = {NULL};
    for (int i = 0; i < NUM_BUFFERS; ++i) {
        CHECK(DSAllocAndAnnounceBuffer(stream, (size_t)payload, NULL, &buffers[i]))
        CHECK(DSQueueBuffer(stream, buffers[i]))
    }
    EVENT_HANDLE event = NULL;
    CHECK(GCRegisterEvent(stream, EVENT_NEW_BUFFER, &event))
    CHECK(DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, NUM_IMAGES))
    int numImages = 0;
    while (numImages < NUM_IMAGES) {
        EVENT_NEW_BUFFER_DATA data = {NULL, NULL};
        size = sizeof data;
        CHECK(EventGetData(event, &data, &size, WAIT_MS))
        if (data.BufferHandle == NULL) {
            printf("failed: no buffer came\n");
            return 1;
        }
        ++numImages;
        CHECK(DSQueueBuffer(stream, data.BufferHandle))
    }
    printf("%d images of %lu bytes\n", numImages, (unsigned long)payload);

    CHECK(DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT))
    CHECK(GCUnregisterEvent(stream, EVENT_NEW_BUFFER))
    CHECK(DSFlushQueue(stream, ACQ_QUEUE_ALL_DISCARD))
    for (int i = 0; i < NUM_BUFFERS; ++i) {
        CHECK(DSRevokeBuffer(stream, buffers[i], NULL, NULL))
    }
    CHECK(DSClose(stream))
    return 0;
}

static int GrabFrom(IF_HANDLE iface, const char* id) {
    DEV_HANDLE device = NULL;
    CHECK(IFOpenDevice(iface, id, DEVICE_ACCESS_EXCLUSIVE, &device))
    if (Grab(device)) {
        return 1;
    }
    CHECK(DevClose(device))
    return 0;
}

static int VisitInterface(IF_HANDLE iface, int* grabbed) {
    uint32_t numDevices = 0;
    CHECK(IFUpdateDeviceList(iface, NULL, WAIT_MS))
    CHECK(IFGetNumDevices(iface, &numDevices))
    for (uint32_t i = 0; i < numDevices; ++i) {
        char id[512] = "";
        char name[512] = "";
        INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
        size_t size = sizeof id;
        CHECK(IFGetDeviceID(iface, i, id, &size))
        size = sizeof name;
        CHECK(IFGetDeviceInfo(iface, id, DEVICE_INFO_DISPLAYNAME, &type, name, &size))
        printf("camera %s: %s\n", id, name);
        if (!*grabbed) {
            if (GrabFrom(iface, id)) {
                return 1;
            }
            *grabbed = 1;
        }
    }
    return 0;
}

static int VisitSystem(TL_HANDLE tl) {
    int grabbed = 0;
    uint32_t numInterfaces = 0;
    CHECK(TLUpdateInterfaceList(tl, NULL, WAIT_MS))
    CHECK(TLGetNumInterfaces(tl, &numInterfaces))
    for (uint32_t i = 0; i < numInterfaces; ++i) {
        char id[512] = "";
        size_t size = sizeof id;
        IF_HANDLE iface = NULL;
        CHECK(TLGetInterfaceID(tl, i, id, &size))
        CHECK(TLOpenInterface(tl, id, &iface))
        printf("interface %s\n", id);
        if (VisitInterface(iface, &grabbed)) {
            return 1;
        }
        CHECK(IFClose(iface))
    }
    return !grabbed;
}

int main(int argc, char** argv) {
    if (argc < 1 || !OpenModule(argv[0]) || !FindAll()) {
        return 1;
    }
    TL_HANDLE tl = NULL;
    CHECK(GCInitLib())
    CHECK(TLOpen(&tl))
    if (VisitSystem(tl)) {
        return 1;
    }
    CHECK(TLClose(tl))
    CHECK(GCCloseLib())
    return 0;
}
