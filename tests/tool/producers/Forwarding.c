/* A producer that hands every call on to the one that NORVELTL_TEST_PRODUCER names, and answers
   wrongly in the one way that NORVELTL_TEST_MUTATION names, if any. Where NORVELTL_TEST_URL is set,
   it is what every port names as its description, and behind it NORVELTL_TEST_NEXT_URL; the bytes
   of the file NORVELTL_TEST_FILE lie behind every port. LACKING leaves out functions. */
#define _POSIX_C_SOURCE 200809L

#include <GenTL/GenTL.h>

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#include <time.h>
#endif

static void Sleep1(unsigned milliseconds) {
#if defined(_WIN32)
    Sleep(milliseconds);
#else
    struct timespec time = {milliseconds / 1000, (long)(milliseconds % 1000) * 1000000L};
    nanosleep(&time, NULL);
#endif
}

static void (*Find(const char* name))(void) {
    static void* library;
    const char* path = getenv("NORVELTL_TEST_PRODUCER");
    void (*function)(void) = NULL;
#if defined(_WIN32)
    if (!library)
        library = LoadLibraryExA(path, NULL, LOAD_WITH_ALTERED_SEARCH_PATH);
    function = (void (*)(void))GetProcAddress((HMODULE)library, name);
#else
    void* found = NULL;
    if (!library)
        library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    found = dlsym(library, name);
    memcpy(&function, &found, sizeof function);
#endif
    if (!function)
        abort();
    return function;
}

static int Is(const char* mutation) {
    const char* named = getenv("NORVELTL_TEST_MUTATION");
    return named && strcmp(named, mutation) == 0;
}

static const char* TestUrl(uint32_t index) {
    return index == 0   ? getenv("NORVELTL_TEST_URL")
           : index == 1 ? getenv("NORVELTL_TEST_NEXT_URL")
                        : NULL;
}

/* Where the file lies. */
static const uint64_t kFile = 0x70000000;

static GC_ERROR ReadFileAt(uint64_t offset, void* buffer, size_t* size) {
    const char* name = getenv("NORVELTL_TEST_FILE");
    FILE* file = name ? fopen(name, "rb") : NULL;
    const size_t wanted = *size;
    if (!file)
        return GC_ERR_INVALID_ADDRESS;
    memset(buffer, 0, wanted);
    *size = fseek(file, (long)offset, SEEK_SET) == 0 ? fread(buffer, 1, wanted, file) : 0;
    fclose(file);
    return *size == wanted ? GC_ERR_SUCCESS : GC_ERR_INVALID_ADDRESS;
}

static GC_ERROR AnswerText(const char* text, void* buffer, size_t* size) {
    const size_t wanted = strlen(text) + 1;
    const size_t offered = *size;
    *size = wanted;
    if (buffer && offered < wanted)
        return GC_ERR_BUFFER_TOO_SMALL;
    if (buffer)
        memcpy(buffer, text, wanted);
    return GC_ERR_SUCCESS;
}

#define CALL(name, arguments) (((P##name)Find(#name))arguments)
#define FORWARD(name, parameters, arguments)                                                       \
    GC_API name parameters {                                                                       \
        return CALL(name, arguments);                                                              \
    }

#define INFO_PARAMETERS int32_t command, INFO_DATATYPE *type, void *answer, size_t *size
#define INFO_ARGUMENTS command, type, answer, size

/* --- what is never wrong --- */

FORWARD(GCInitLib, (void), ())
FORWARD(GCCloseLib, (void), ())
FORWARD(GCGetInfo, (INFO_PARAMETERS), (INFO_ARGUMENTS))
FORWARD(GCWritePort, (PORT_HANDLE port, uint64_t address, const void* buffer, size_t* size),
        (port, address, buffer, size))
FORWARD(GCWritePortStacked, (PORT_HANDLE port, PORT_REGISTER_STACK_ENTRY* entries, size_t* count),
        (port, entries, count))
FORWARD(GCRegisterEvent, (EVENTSRC_HANDLE source, EVENT_TYPE type, EVENT_HANDLE* event),
        (source, type, event))
FORWARD(GCUnregisterEvent, (EVENTSRC_HANDLE source, EVENT_TYPE type), (source, type))
FORWARD(EventGetDataInfo, (EVENT_HANDLE event, const void* data, size_t length, INFO_PARAMETERS),
        (event, data, length, INFO_ARGUMENTS))
FORWARD(EventGetInfo, (EVENT_HANDLE event, INFO_PARAMETERS), (event, INFO_ARGUMENTS))
FORWARD(EventFlush, (EVENT_HANDLE event), (event))
FORWARD(TLOpen, (TL_HANDLE * system), (system))
FORWARD(TLClose, (TL_HANDLE system), (system))
FORWARD(TLGetNumInterfaces, (TL_HANDLE system, uint32_t* count), (system, count))
FORWARD(TLGetInterfaceID, (TL_HANDLE system, uint32_t index, char* id, size_t* size),
        (system, index, id, size))
FORWARD(TLGetInterfaceInfo, (TL_HANDLE system, const char* id, INFO_PARAMETERS),
        (system, id, INFO_ARGUMENTS))
FORWARD(TLUpdateInterfaceList, (TL_HANDLE system, bool8_t* changed, uint64_t timeout),
        (system, changed, timeout))
FORWARD(IFClose, (IF_HANDLE interface_), (interface_))
FORWARD(IFGetInfo, (IF_HANDLE interface_, INFO_PARAMETERS), (interface_, INFO_ARGUMENTS))
FORWARD(IFGetNumDevices, (IF_HANDLE interface_, uint32_t* count), (interface_, count))
FORWARD(IFGetDeviceID, (IF_HANDLE interface_, uint32_t index, char* id, size_t* size),
        (interface_, index, id, size))
FORWARD(IFGetDeviceInfo, (IF_HANDLE interface_, const char* id, INFO_PARAMETERS),
        (interface_, id, INFO_ARGUMENTS))
FORWARD(IFGetParentTL, (IF_HANDLE interface_, TL_HANDLE* system), (interface_, system))
FORWARD(DevGetPort, (DEV_HANDLE device, PORT_HANDLE* port), (device, port))
FORWARD(DevGetNumDataStreams, (DEV_HANDLE device, uint32_t* count), (device, count))
FORWARD(DevGetDataStreamID, (DEV_HANDLE device, uint32_t index, char* id, size_t* size),
        (device, index, id, size))
FORWARD(DevOpenDataStream, (DEV_HANDLE device, const char* id, DS_HANDLE* stream),
        (device, id, stream))
FORWARD(DevGetInfo, (DEV_HANDLE device, INFO_PARAMETERS), (device, INFO_ARGUMENTS))
FORWARD(DevClose, (DEV_HANDLE device), (device))
FORWARD(DevGetParentIF, (DEV_HANDLE device, IF_HANDLE* interface_), (device, interface_))
FORWARD(DSAnnounceBuffer,
        (DS_HANDLE stream, void* memory, size_t size, void* user, BUFFER_HANDLE* buffer),
        (stream, memory, size, user, buffer))
FORWARD(DSAllocAndAnnounceBuffer,
        (DS_HANDLE stream, size_t size, void* user, BUFFER_HANDLE* buffer),
        (stream, size, user, buffer))
FORWARD(DSRevokeBuffer, (DS_HANDLE stream, BUFFER_HANDLE buffer, void** memory, void** user),
        (stream, buffer, memory, user))
FORWARD(DSStopAcquisition, (DS_HANDLE stream, ACQ_STOP_FLAGS flags), (stream, flags))
FORWARD(DSGetBufferID, (DS_HANDLE stream, uint32_t index, BUFFER_HANDLE* buffer),
        (stream, index, buffer))
FORWARD(DSGetParentDev, (DS_HANDLE stream, DEV_HANDLE* device), (stream, device))
FORWARD(DSGetBufferChunkData,
        (DS_HANDLE stream, BUFFER_HANDLE buffer, SINGLE_CHUNK_DATA* chunks, size_t* count),
        (stream, buffer, chunks, count))
FORWARD(DSGetNumBufferParts, (DS_HANDLE stream, BUFFER_HANDLE buffer, uint32_t* count),
        (stream, buffer, count))
#if !defined(LACKING)
FORWARD(GCReadPortStacked, (PORT_HANDLE port, PORT_REGISTER_STACK_ENTRY* entries, size_t* count),
        (port, entries, count))
FORWARD(DSGetBufferPartInfo,
        (DS_HANDLE stream, BUFFER_HANDLE buffer, uint32_t index, INFO_PARAMETERS),
        (stream, buffer, index, INFO_ARGUMENTS))
FORWARD(DSClose, (DS_HANDLE stream), (stream))
FORWARD(GCGetPortInfo, (PORT_HANDLE port, INFO_PARAMETERS), (port, INFO_ARGUMENTS))
#endif

/* --- what may be wrong --- */

#if !defined(LACKING)
GC_API EventKill(EVENT_HANDLE event) {
    return Is("wakes nobody") || Is("waits for ever") ? GC_ERR_SUCCESS : CALL(EventKill, (event));
}

GC_API GCGetNumPortURLs(PORT_HANDLE port, uint32_t* count) {
    const GC_ERROR code = CALL(GCGetNumPortURLs, (port, count));
    if (Is("no URL") && code == GC_ERR_SUCCESS)
        *count = 0;
    if (TestUrl(0) && code == GC_ERR_SUCCESS)
        *count = TestUrl(1) ? 2 : 1;
    return code;
}
#endif

/* The buffer that a start delivers as it is, and the one that a flush has lost. */
static BUFFER_HANDLE old;
static BUFFER_HANDLE lost;

GC_API DSStartAcquisition(DS_HANDLE stream, ACQ_START_FLAGS flags, uint64_t count) {
    const GC_ERROR code = CALL(DSStartAcquisition, (stream, flags, count));
    if (Is("old images"))
        CALL(DSGetBufferID, (stream, 3, &old));
    return code;
}

GC_API EventGetData(EVENT_HANDLE event, void* data, size_t* size, uint64_t timeout) {
    if (old) {
        ((EVENT_NEW_BUFFER_DATA*)data)->BufferHandle = old;
        lost = old;
        old = NULL;
        return GC_ERR_SUCCESS;
    }
    lost = Is("old images") ? NULL : lost;
    while (Is("waits for ever") && timeout == GENTL_INFINITE)
        Sleep1(1000);
    return CALL(EventGetData, (event, data, size, timeout));
}

GC_API GCGetLastError(GC_ERROR* code, char* text, size_t* size) {
    const GC_ERROR answer = CALL(GCGetLastError, (code, text, size));
    if (Is("another last error") && answer == GC_ERR_SUCCESS && *code != GC_ERR_SUCCESS)
        *code = GC_ERR_ERROR;
    return answer;
}

GC_API GCGetPortURL(PORT_HANDLE port, char* url, size_t* size) {
    const GC_ERROR code =
        TestUrl(0) ? AnswerText(TestUrl(0), url, size) : CALL(GCGetPortURL, (port, url, size));
    if (Is("another URL") && code == GC_ERR_SUCCESS && url)
        url[0] = 'X';
    return code;
}

GC_API GCGetPortURLInfo(PORT_HANDLE port, uint32_t index, INFO_PARAMETERS) {
    if (command == URL_INFO_URL && TestUrl(index)) {
        *type = INFO_DATATYPE_STRING;
        return AnswerText(TestUrl(index), answer, size);
    }
    return Is("no URL info") ? GC_ERR_NOT_IMPLEMENTED
                             : CALL(GCGetPortURLInfo, (port, index, INFO_ARGUMENTS));
}

/* Takes the first bracket of an XML away. */
GC_API GCReadPort(PORT_HANDLE port, uint64_t address, void* buffer, size_t* size) {
    const GC_ERROR code = address >= kFile && address < 2 * kFile
                              ? ReadFileAt(address - kFile, buffer, size)
                              : CALL(GCReadPort, (port, address, buffer, size));
    if (Is("broken XML") && code == GC_ERR_SUCCESS && *size > 5 && memcmp(buffer, "<?xml", 5) == 0)
        memset(buffer, 'X', 1);
    return code;
}

GC_API TLGetInfo(TL_HANDLE system, INFO_PARAMETERS) {
    const GC_ERROR code = CALL(TLGetInfo, (system, INFO_ARGUMENTS));
    if (Is("slow refusals") && code != GC_ERR_SUCCESS)
        Sleep1(5);
    return code;
}

/* Whether the list of the interface that was opened last was updated. */
static int isUpdated;

GC_API TLOpenInterface(TL_HANDLE system, const char* id, IF_HANDLE* interface_) {
    isUpdated = 0;
    return CALL(TLOpenInterface, (system, id, interface_));
}

GC_API IFUpdateDeviceList(IF_HANDLE interface_, bool8_t* changed, uint64_t timeout) {
    isUpdated = 1;
    return CALL(IFUpdateDeviceList, (interface_, changed, timeout));
}

GC_API IFOpenDevice(IF_HANDLE interface_, const char* id, DEVICE_ACCESS_FLAGS flags,
                    DEV_HANDLE* device) {
    return Is("opens listed cameras only") && !isUpdated
               ? GC_ERR_INVALID_ID
               : CALL(IFOpenDevice, (interface_, id, flags, device));
}

GC_API DSFlushQueue(DS_HANDLE stream, ACQ_QUEUE_TYPE operation) {
    if (Is("loses a buffer") && operation == ACQ_QUEUE_ALL_DISCARD)
        CALL(DSGetBufferID, (stream, 1, &lost));
    return CALL(DSFlushQueue, (stream, operation));
}

GC_API DSQueueBuffer(DS_HANDLE stream, BUFFER_HANDLE buffer) {
    return lost && buffer == lost ? GC_ERR_SUCCESS : CALL(DSQueueBuffer, (stream, buffer));
}

GC_API DSGetInfo(DS_HANDLE stream, INFO_PARAMETERS) {
    const GC_ERROR code = CALL(DSGetInfo, (stream, INFO_ARGUMENTS));
    if (Is("wide flag") && command == STREAM_INFO_DEFINES_PAYLOADSIZE && answer)
        memset(answer, 1, 4);
    return code;
}

GC_API DSGetBufferInfo(DS_HANDLE stream, BUFFER_HANDLE buffer, INFO_PARAMETERS) {
    static uint64_t frame = 1000000;
    const GC_ERROR code = CALL(DSGetBufferInfo, (stream, buffer, INFO_ARGUMENTS));
    if (code != GC_ERR_SUCCESS || !answer)
        return code;
    if (Is("no payload type") && command == BUFFER_INFO_PAYLOADTYPE)
        return GC_ERR_NOT_AVAILABLE;
    if (Is("no width") && command == BUFFER_INFO_WIDTH)
        return GC_ERR_NOT_AVAILABLE;
    if (Is("another type") && command == BUFFER_INFO_WIDTH)
        *type = INFO_DATATYPE_UINT32;
    if (Is("another width") && command == BUFFER_INFO_WIDTH)
        *(size_t*)answer += 1;
    if (Is("another height") && command == BUFFER_INFO_HEIGHT)
        *(size_t*)answer += 1;
    if (Is("no image present") && command == BUFFER_INFO_IMAGEPRESENT)
        *(bool8_t*)answer = 0;
    if (Is("no new data") && command == BUFFER_INFO_NEW_DATA)
        *(bool8_t*)answer = 0;
    if (Is("more than the buffer") && command == BUFFER_INFO_SIZE_FILLED)
        *(size_t*)answer += 1;
    if (Is("frames descend") && command == BUFFER_INFO_FRAMEID)
        *(uint64_t*)answer = --frame;
    return code;
}
