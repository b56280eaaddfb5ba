/* A producer without interfaces. Its system's registers hold their own addresses, low byte first,
   and a write tells what arrived. WITHOUT_LIST, FAILING_INIT, FAILING_OPEN and FAILING_CLOSE
   make broken ones of it; ACCOMPANIED needs a library to be loaded. */
#include <GenTL/GenTL.h>

#include <stdio.h>
#include <string.h>

enum { SHORT_REGISTER = 0xBAD, NO_REGISTER = 0xDEAD };

static GC_ERROR CopyText(const char* text, INFO_DATATYPE* type, void* buffer, size_t* size) {
    const size_t length = strlen(text) + 1;
    if (type)
        *type = INFO_DATATYPE_STRING;
    if (buffer && *size < length)
        return GC_ERR_BUFFER_TOO_SMALL;
    if (buffer)
        memcpy(buffer, text, length);
    *size = length;
    return GC_ERR_SUCCESS;
}

#if defined(ACCOMPANIED)
int Companion(void);
#endif

GC_API GCInitLib(void) {
#if defined(FAILING_INIT)
    return GC_ERR_CUSTOM_ID - 1;
#elif defined(ACCOMPANIED)
    return Companion();
#else
    return GC_ERR_SUCCESS;
#endif
}

GC_API GCCloseLib(void) {
    return GC_ERR_SUCCESS;
}

GC_API GCGetInfo(TL_INFO_CMD command, INFO_DATATYPE* type, void* buffer, size_t* size) {
    (void)command;
    return CopyText("Lonely", type, buffer, size);
}

GC_API GCGetLastError(GC_ERROR* code, char* text, size_t* size) {
    *code = GC_ERR_ACCESS_DENIED;
    return CopyText("Nobody is at home.", NULL, text, size);
}

GC_API TLOpen(TL_HANDLE* system) {
#if defined(FAILING_OPEN)
    (void)system;
    return GC_ERR_ACCESS_DENIED;
#else
    static int onlySystem;
    *system = &onlySystem;
    return GC_ERR_SUCCESS;
#endif
}

GC_API TLClose(TL_HANDLE system) {
    (void)system;
#if defined(FAILING_CLOSE)
    return GC_ERR_BUSY;
#else
    return GC_ERR_SUCCESS;
#endif
}

GC_API TLGetInfo(TL_HANDLE system, TL_INFO_CMD command, INFO_DATATYPE* type, void* buffer,
                 size_t* size) {
    (void)system;
    return GCGetInfo(command, type, buffer, size);
}

GC_API TLUpdateInterfaceList(TL_HANDLE system, bool8_t* changed, uint64_t timeout) {
    (void)system;
    (void)timeout;
    *changed = 0;
    return GC_ERR_SUCCESS;
}

#if !defined(WITHOUT_LIST)
GC_API TLGetNumInterfaces(TL_HANDLE system, uint32_t* count) {
    (void)system;
    *count = 0;
    return GC_ERR_SUCCESS;
}
#endif

GC_API GCGetNumPortURLs(PORT_HANDLE port, uint32_t* count) {
    (void)port;
    *count = 0;
    return GC_ERR_SUCCESS;
}

GC_API GCReadPort(PORT_HANDLE port, uint64_t address, void* buffer, size_t* size) {
    (void)port;
    if (address == NO_REGISTER)
        return GC_ERR_IO;
    if (address == SHORT_REGISTER)
        *size = 2;
    memset(buffer, 0, *size);
    memcpy(buffer, &address, *size < sizeof(address) ? *size : sizeof(address));
    return GC_ERR_SUCCESS;
}

GC_API GCWritePort(PORT_HANDLE port, uint64_t address, const void* buffer, size_t* size) {
    const unsigned char* bytes = (const unsigned char*)buffer;
    size_t i = 0;
    (void)port;
    printf("%llx:", (unsigned long long)address);
    for (i = 0; i < *size; ++i)
        printf(" %02x", bytes[i]);
    printf("\n");
    fflush(stdout);
    return GC_ERR_SUCCESS;
}
