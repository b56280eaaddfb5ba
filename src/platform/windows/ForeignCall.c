#include "ForeignCall.h"

#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include <windows.h>

/* What Visual C++ raises with an exception: its own code, and as arguments a magic number, the
   object, the description of its type, and the address that offsets in the description count from.
   This and the descriptions are the compiler's documented binary interface. */
static const DWORD kVisualCppException = 0xE06D7363;
enum { kObject = 1, kThrowInfo = 2, kImageBase = 3, kNumArguments = 4 };

typedef struct {
    uint32_t attributes;
    int32_t destructor; /* 0 when there is nothing to destroy */
    int32_t forwardCompatibility;
    int32_t catchableTypes;
} ThrowInfo;

typedef struct {
    int32_t count;
    int32_t types[];
} CatchableTypes;

typedef struct {
    uint32_t properties;
    int32_t descriptor;
    int32_t displacement;        /* of the base class in the object */
    int32_t virtualDisplacement; /* of the virtual base table in the object, or -1 */
    int32_t virtualBase;
    int32_t size;
    int32_t copy;
} CatchableType;

typedef struct {
    const void* table;
    void* undecorated;
    char name[];
} TypeDescriptor;

/* A std::exception: its table begins with the deleting destructor and what(). */
typedef struct Exception Exception;
typedef struct {
    void (*destroy)(Exception*, unsigned int);
    const char* (*what)(const Exception*);
} ExceptionTable;
struct Exception {
    const ExceptionTable* table;
};

/* The text of an exception that is a std::runtime_error, owned by the caller; otherwise null. */
static char* MessageOf(char* object, const ThrowInfo* info, const char* base) {
    const CatchableTypes* types = (const CatchableTypes*)(base + info->catchableTypes);
    for (int32_t i = 0; i < types->count; ++i) {
        const CatchableType* type = (const CatchableType*)(base + types->types[i]);
        const TypeDescriptor* descriptor = (const TypeDescriptor*)(base + type->descriptor);
        if (strcmp(descriptor->name, ".?AVruntime_error@std@@") == 0 &&
            type->virtualDisplacement == -1) {
            const Exception* error = (const Exception*)(object + type->displacement);
            const char* text = error->table->what(error);
            return _strdup(text == NULL ? "" : text);
        }
    }
    return NULL;
}

/* Runs while the exception's object still exists; nobody after us asks for it, so that it is
   destroyed here, as it would be at the end of a catch clause. */
static int Examine(const EXCEPTION_POINTERS* raised, char** message) {
    const EXCEPTION_RECORD* record = raised->ExceptionRecord;
    if (record->ExceptionCode != kVisualCppException) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    if (record->NumberParameters >= kNumArguments && record->ExceptionInformation[kObject] != 0 &&
        record->ExceptionInformation[kThrowInfo] != 0) {
        char* object = (char*)record->ExceptionInformation[kObject];
        const ThrowInfo* info = (const ThrowInfo*)record->ExceptionInformation[kThrowInfo];
        const char* base = (const char*)record->ExceptionInformation[kImageBase];
        *message = MessageOf(object, info, base);
        if (info->destructor != 0) {
            ((void (*)(void*))(base + info->destructor))(object);
        }
    }
    return EXCEPTION_EXECUTE_HANDLER;
}

int NorvelCallForeign(void (*call)(void* context), void* context, char** message) {
    *message = NULL;
    __try {
        call(context);
        return 0;
    } __except (Examine(GetExceptionInformation(), message)) {
        return 1;
    }
}
