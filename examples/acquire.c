/* Takes ten images of a camera, from loading the producer to unloading it.
   acquire_c [MODULE.cti] [CAMERA [FOLDER]]: CAMERA is a part of the camera's ID; into FOLDER goes
   what the camera sent, as image_01.raw and so on. */
#include "producer.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define NUM_BUFFERS 4
#define NUM_IMAGES 10
#define DISCOVERY_MS 1000
#define IMAGE_MS 5000

static Producer s_gentl;

static void Check(GC_ERROR code, const char* what) {
    if (code != GC_ERR_SUCCESS) {
        fprintf(stderr, "%s: %d, %s\n", what, (int)code, Producer_LastError(&s_gentl));
        exit(EXIT_FAILURE);
    }
}

#define CALL(function, ...) Check(s_gentl.function(__VA_ARGS__), #function)

/* Opens the first camera of an interface whose ID holds that text; NULL when there is none. */
static DEV_HANDLE OpenCameraOf(IF_HANDLE iface, const char* wanted) {
    uint32_t count = 0;
    CALL(IFUpdateDeviceList, iface, NULL, DISCOVERY_MS);
    CALL(IFGetNumDevices, iface, &count);
    for (uint32_t i = 0; i < count; ++i) {
        char id[512];
        size_t size = sizeof id;
        CALL(IFGetDeviceID, iface, i, id, &size);
        if (strstr(id, wanted) != NULL) {
            DEV_HANDLE device = NULL;
            CALL(IFOpenDevice, iface, id, DEVICE_ACCESS_EXCLUSIVE, &device);
            printf("camera %s\n", id);
            return device;
        }
    }
    return NULL;
}

/* Leaves the camera's interface open in *iface. */
static DEV_HANDLE OpenCamera(TL_HANDLE system, const char* wanted, IF_HANDLE* iface) {
    uint32_t count = 0;
    CALL(TLUpdateInterfaceList, system, NULL, DISCOVERY_MS);
    CALL(TLGetNumInterfaces, system, &count);
    for (uint32_t i = 0; i < count; ++i) {
        char id[512];
        size_t size = sizeof id;
        CALL(TLGetInterfaceID, system, i, id, &size);
        CALL(TLOpenInterface, system, id, iface);
        DEV_HANDLE device = OpenCameraOf(*iface, wanted);
        if (device != NULL) {
            return device;
        }
        CALL(IFClose, *iface);
    }
    fprintf(stderr, "no camera\n");
    exit(EXIT_FAILURE);
}

static void Save(const char* folder, int number, const void* data, size_t size) {
    char path[1024];
    snprintf(path, sizeof path, "%s/image_%02d.raw", folder, number);
    FILE* file = fopen(path, "wb");
    if (file == NULL || fwrite(data, 1, size, file) != size || fclose(file) != 0) {
        fprintf(stderr, "%s cannot be written\n", path);
        exit(EXIT_FAILURE);
    }
}

/* Waits for an image, uses it, and gives its buffer back to the stream. */
static void TakeImage(DS_HANDLE stream, EVENT_HANDLE event, int number, const char* folder) {
    EVENT_NEW_BUFFER_DATA filled = {NULL, NULL};
    size_t size = sizeof filled;
    CALL(EventGetData, event, &filled, &size, IMAGE_MS);

    void* data = NULL;
    size = sizeof data;
    CALL(DSGetBufferInfo, stream, filled.BufferHandle, BUFFER_INFO_BASE, NULL, &data, &size);
    size_t length = 0;
    size = sizeof length;
    CALL(DSGetBufferInfo, stream, filled.BufferHandle, BUFFER_INFO_SIZE_FILLED, NULL, &length,
         &size);
    printf("image %d: %lu bytes\n", number, (unsigned long)length);
    if (folder != NULL) {
        Save(folder, number, data, length);
    }
    CALL(DSQueueBuffer, stream, filled.BufferHandle);
}

static void Acquire(DEV_HANDLE device, const char* folder) {
    char id[64];
    size_t size = sizeof id;
    DS_HANDLE stream = NULL;
    CALL(DevGetDataStreamID, device, 0, id, &size);
    CALL(DevOpenDataStream, device, id, &stream);

    uint64_t payload = 0;
    size = sizeof payload;
    CALL(DSGetInfo, stream, STREAM_INFO_DEFINES_PAYLOADSIZE, NULL, &payload, &size);
    BUFFER_HANDLE buffers[NUM_BUFFERS];
    for (int i = 0; i < NUM_BUFFERS; ++i) {
        CALL(DSAllocAndAnnounceBuffer, stream, (size_t)payload, NULL, &buffers[i]);
        CALL(DSQueueBuffer, stream, buffers[i]);
    }

    EVENT_HANDLE event = NULL;
    CALL(GCRegisterEvent, stream, EVENT_NEW_BUFFER, &event);
    CALL(DSStartAcquisition, stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE);
    for (int number = 1; number <= NUM_IMAGES; ++number) {
        TakeImage(stream, event, number, folder);
    }
    CALL(DSStopAcquisition, stream, ACQ_STOP_FLAGS_DEFAULT);

    /* A buffer that is queued or delivered cannot be revoked: the flush takes it back. */
    CALL(DSFlushQueue, stream, ACQ_QUEUE_ALL_DISCARD);
    CALL(GCUnregisterEvent, stream, EVENT_NEW_BUFFER);
    for (int i = 0; i < NUM_BUFFERS; ++i) {
        CALL(DSRevokeBuffer, stream, buffers[i], NULL, NULL);
    }
    CALL(DSClose, stream);
}

int main(int argc, char** argv) {
    if (!Producer_Load(&s_gentl, &argc, argv)) {
        return EXIT_FAILURE;
    }
    TL_HANDLE system = NULL;
    IF_HANDLE iface = NULL;
    Check(s_gentl.GCInitLib(), "GCInitLib");
    CALL(TLOpen, &system);
    DEV_HANDLE device = OpenCamera(system, argc > 1 ? argv[1] : "", &iface);
    Acquire(device, argc > 2 ? argv[2] : NULL);
    CALL(DevClose, device);
    CALL(IFClose, iface);
    CALL(TLClose, system);
    Check(s_gentl.GCCloseLib(), "GCCloseLib");
    Producer_Unload(&s_gentl);
    printf("done\n");
    return EXIT_SUCCESS;
}
