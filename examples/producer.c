#include "producer.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#if defined(_WIN32)
#include <windows.h>
#define SEPARATOR ";"
#else
#include <dlfcn.h>
#define SEPARATOR ":"
#endif

static void* OpenLibrary(const char* path) {
#if defined(_WIN32)
    /* The camera library lies beside the module, where only this flag and a whole path look. */
    char whole[MAX_PATH];
    const DWORD length = GetFullPathNameA(path, sizeof whole, whole, NULL);
    return length == 0 || length >= sizeof whole
               ? NULL
               : (void*)LoadLibraryExA(whole, NULL, LOAD_WITH_ALTERED_SEARCH_PATH);
#else
    /* Without a separator in it, a name would be looked for in the system's folders. */
    char here[4096];
    if (strchr(path, '/') == NULL) {
        const int length = snprintf(here, sizeof here, "./%s", path);
        return length < 0 || (size_t)length >= sizeof here ? NULL : dlopen(here, RTLD_NOW);
    }
    return dlopen(path, RTLD_NOW);
#endif
}

static int Find(void* library, const char* name, void* function, size_t size) {
#if defined(_WIN32)
    const FARPROC found = GetProcAddress((HMODULE)library, name);
#else
    void* const found = dlsym(library, name);
#endif
    memcpy(function, &found, size);
    if (found == NULL) {
        fprintf(stderr, "the module has no function %s\n", name);
    }
    return found != NULL;
}

static void* OpenFromEnvironment(void) {
    const char* folder = getenv("GENICAM_GENTL64_PATH");
    while (folder != NULL && *folder != '\0') {
        const size_t length = strcspn(folder, SEPARATOR);
        char path[4096];
        const int used = snprintf(path, sizeof path, "%.*s/NorvelTL40.cti", (int)length, folder);
        if (used > 0 && (size_t)used < sizeof path) {
            void* const library = OpenLibrary(path);
            if (library != NULL) {
                return library;
            }
        }
        folder += length + (folder[length] == '\0' ? 0 : 1);
    }
    return NULL;
}

static int EndsInCti(const char* text) {
    const size_t length = strlen(text);
    return length >= 4 && strcmp(text + length - 4, ".cti") == 0;
}

int Producer_Load(Producer* producer, int* argc, char** argv) {
    memset(producer, 0, sizeof *producer);
    if (*argc > 1 && EndsInCti(argv[1])) {
        producer->library = OpenLibrary(argv[1]);
        --*argc;
        memmove(argv + 1, argv + 2, (size_t)*argc * sizeof *argv);
    } else {
        producer->library = OpenFromEnvironment();
    }
    if (producer->library == NULL) {
        fprintf(stderr, "no producer: name a .cti file, or set GENICAM_GENTL64_PATH\n");
        return 0;
    }
#define PRODUCER_FIND(name)                                                                        \
    if (!Find(producer->library, #name, &producer->name, sizeof producer->name)) {                 \
        return 0;                                                                                  \
    }
    PRODUCER_FUNCTIONS(PRODUCER_FIND)
    return 1;
}

void Producer_Unload(Producer* producer) {
#if defined(_WIN32)
    FreeLibrary((HMODULE)producer->library);
#else
    dlclose(producer->library);
#endif
}

const char* Producer_LastError(const Producer* producer) {
    static char text[1024];
    size_t size = sizeof text;
    if (producer->GCGetLastError(NULL, text, &size) != GC_ERR_SUCCESS) {
        return "";
    }
    return text;
}
