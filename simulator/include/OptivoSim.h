/* Steers the simulated camera library from a test: what its world holds, what its operations
   answer, and what was asked of them. Plain C, exported by Optivo40 beside GetSystem.
   All functions may be called from any thread, at any time. Names of interfaces and cameras are
   the names that the library enumerates. A function that finds nothing under a name answers 0. */
#ifndef OPTIVO_SIM_H
#define OPTIVO_SIM_H

#include <stddef.h>
#include <stdint.h>

#if !defined(_WIN32)
#define OPTIVO_SIM_API __attribute__((visibility("default")))
#elif defined(OPTIVO_BUILD)
#define OPTIVO_SIM_API __declspec(dllexport)
#else
/* Callers need no attribute, so that a program may steer another library by these functions. */
#define OPTIVO_SIM_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Every operation of the library, in the order of its tables. */
typedef enum {
    OPTIVO_GET_SYSTEM,
    OPTIVO_SYSTEM_UPDATE_INTERFACE_LIST,
    OPTIVO_SYSTEM_GET_INTERFACE_NAME,
    OPTIVO_SYSTEM_GET_INTERFACE,
    OPTIVO_SYSTEM_OPEN_INTERFACE,
    OPTIVO_SYSTEM_CLOSE,
    OPTIVO_INTERFACE_UPDATE_DEVICE_LIST,
    OPTIVO_INTERFACE_GET_DEVICE_NAME,
    OPTIVO_INTERFACE_GET_DEVICE,
    OPTIVO_INTERFACE_OPEN_DEVICE,
    OPTIVO_INTERFACE_WRITE_PORT,
    OPTIVO_INTERFACE_READ_PORT,
    OPTIVO_INTERFACE_CLOSE,
    OPTIVO_DEVICE_GET_NUM_DATA_STREAMS,
    OPTIVO_DEVICE_OPEN_DATA_STREAM,
    OPTIVO_DEVICE_WRITE_PORT,
    OPTIVO_DEVICE_READ_PORT,
    OPTIVO_DEVICE_GET_INFO,
    OPTIVO_DEVICE_REGISTER_EVENT_CALLBACK,
    OPTIVO_DEVICE_CLOSE,
    OPTIVO_STREAM_START_ACQUISITION,
    OPTIVO_STREAM_STOP_ACQUISITION,
    OPTIVO_STREAM_GRAB_IMAGE,
    OPTIVO_STREAM_SET_STREAM_PARAMETER,
    OPTIVO_STREAM_GET_STREAM_INFO,
    OPTIVO_STREAM_CLOSE,
    OPTIVO_NUM_OPERATIONS
} OptivoOperation;

/* How a faulty operation goes wrong. */
typedef enum {
    /* Does nothing but answer the result. */
    OPTIVO_FAULT_RESULT,
    /* Does its work, outputs included, and then answers the result. */
    OPTIVO_FAULT_RESULT_AFTER,
    /* Answers the result (usually 0) with a null object, where it hands out one. */
    OPTIVO_FAULT_NULL_OBJECT,
    /* Throws a GenICam::GenericException, or something that is no standard exception. */
    OPTIVO_FAULT_GENERIC_EXCEPTION,
    OPTIVO_FAULT_FOREIGN_EXCEPTION,
    /* Fills the text's buffer to its last byte with 'X', without a terminating zero. */
    OPTIVO_FAULT_UNTERMINATED_TEXT,
    /* Answers a size ten times as large as the buffer. */
    OPTIVO_FAULT_OVERLONG_SIZE,
    /* Waits result milliseconds, then works as ever. */
    OPTIVO_FAULT_DELAY,
    /* Waits until OptivoSim_Release, then works as ever. */
    OPTIVO_FAULT_HANG,
    /* The text is empty, its size 1; answers the result. */
    OPTIVO_FAULT_EMPTY_TEXT,
    /* Fills the text's buffer with bytes from 0x80 on and control characters, up to a terminating
       zero in its last byte; answers the result. */
    OPTIVO_FAULT_NOT_TEXT,
    /* Does its work, outputs included, and then throws a GenICam::GenericException. */
    OPTIVO_FAULT_EXCEPTION_AFTER,
    /* An update of a list does its work, and then tells so many entries as the result says, without
       sign; answers 0. */
    OPTIVO_FAULT_WRONG_COUNT
} OptivoFaultKind;

/* Any selector of an operation, for a fault that does not look at it. */
#define OPTIVO_ANY_SELECTOR UINT64_MAX
/* A fault without end. */
#define OPTIVO_FOREVER UINT32_MAX

typedef struct {
    OptivoOperation operation;
    OptivoFaultKind kind;
    int32_t result;
    /* The key, command, address or index that the faulty call has, or OPTIVO_ANY_SELECTOR. */
    uint64_t selector;
    /* How many matching calls stay sound first, and how many go wrong then. */
    uint32_t skip;
    uint32_t count;
} OptivoFault;

/* What else decides whether a matching call goes wrong. */
typedef struct {
    /* The name of an interface or a camera: only calls of its objects, and calls that open or
       describe it, go wrong. Null or empty is any. */
    const char* object;
    /* The share of the calls that really go wrong, drawn from a generator with this seed; 0 and 1
       are all of them. */
    double probability;
    uint64_t seed;
} OptivoFaultCondition;

/* Ends every fault and hang, and makes the world anew with which the library began: that of the
   file that the environment variable OPTIVO_SIM_CONFIG named, faults included, or the default
   world. Objects that a consumer still holds stay valid. Counters start from 0 again, except that
   objects alive stay counted. */
OPTIVO_SIM_API void OptivoSim_Reset(void);

/* Adds a fault; faults of one operation apply in the order in which they were added. */
OPTIVO_SIM_API void OptivoSim_AddFault(const OptivoFault* fault);
/* The same under a condition; null is none. */
OPTIVO_SIM_API void OptivoSim_AddFaultWhere(const OptivoFault* fault,
                                            const OptivoFaultCondition* condition);
OPTIVO_SIM_API void OptivoSim_ClearFaults(void);
/* How many calls of an operation have got this result from faults whose condition names the object
   (null or empty: none), since faults were last cleared or replaced. */
OPTIVO_SIM_API uint64_t OptivoSim_NumSpoilt(OptivoOperation operation, int32_t result,
                                            const char* object);
/* Ends every hang that is under way. */
OPTIVO_SIM_API void OptivoSim_Release(void);

/* The world, as the next update of a list finds it. Adding answers 1 when the name is new to its
   parent, and appends; an interface name may hold any bytes but a zero. An added camera is a copy
   of the first default camera under another name, with that serial number. */
OPTIVO_SIM_API int OptivoSim_AddInterface(const char* name, const char* prefix, const char* tlType);
OPTIVO_SIM_API int OptivoSim_RemoveInterface(const char* name);
OPTIVO_SIM_API int OptivoSim_AddCamera(const char* interfaceName, const char* name,
                                       const char* serialNumber);
/* As OptivoSim_AddCamera, without the check that the name is new. */
OPTIVO_SIM_API int OptivoSim_AddCameraTwin(const char* interfaceName, const char* name,
                                           const char* serialNumber);
OPTIVO_SIM_API int OptivoSim_RemoveCamera(const char* name);
/* Ends every fault and hang, and replaces the world and the faults by those that a text describes.
   It is JSON, and docs/simulator-world.md tells what it may hold. Answers 1; or 0 with
   "LINE:COLUMN: reason" in error, up to capacity - 1 characters and a terminating zero, and changes
   nothing. */
OPTIVO_SIM_API int OptivoSim_LoadWorld(const char* json, char* error, size_t capacity);
/* Empties the world: no interface, no camera. */
OPTIVO_SIM_API void OptivoSim_RemoveAll(void);

/* A description text of a camera by its info key, and its status number (key 9; 1 at first). */
OPTIVO_SIM_API int OptivoSim_SetCameraText(const char* camera, uint32_t key, const char* text);
OPTIVO_SIM_API int OptivoSim_SetCameraStatus(const char* camera, uint32_t status);
/* The number of streams that a camera reports (1 at first). */
OPTIVO_SIM_API int OptivoSim_SetNumStreams(const char* camera, uint32_t count);

/* Images. A camera delivers frameRate images a second while it is started; 0 is as fast as they
   are taken, and a negative rate none but those that OptivoSim_ProduceImages asks for. Every image
   carries the stamp that OptivoImage.h reads. */
OPTIVO_SIM_API int OptivoSim_SetFrameRate(const char* camera, double framesPerSecond);
OPTIVO_SIM_API int OptivoSim_ProduceImages(const char* camera, uint64_t count);
/* Of the images since the start of its streams, those that nobody had taken when they stopped or
   the plug was pulled: they are made, and neither delivered nor lost. Closed streams count none. */
OPTIVO_SIM_API uint64_t OptivoSim_NumUntaken(const char* camera);
/* Width and height of the sensor in pixels, all of it in the image; the payload size follows.
   Refused (0) while the camera is started. */
OPTIVO_SIM_API int OptivoSim_SetImageSize(const char* camera, uint32_t width, uint32_t height);
/* What can go wrong with an image of a camera before a stream takes it. */
typedef enum {
    /* It is counted as lost and never delivered. */
    OPTIVO_IMAGE_LOST,
    /* It is delivered delayMs milliseconds after it was due. */
    OPTIVO_IMAGE_LATE,
    /* The image before it is delivered once more in its place. */
    OPTIVO_IMAGE_REPEATED
} OptivoImageFaultKind;

typedef struct {
    OptivoImageFaultKind kind;
    uint32_t delayMs;
    /* How many images stay sound first, and how many go wrong then (OPTIVO_FOREVER: all). */
    uint32_t skip;
    uint32_t count;
    /* The share of those images that really go wrong, drawn from a generator with this seed; 0 and
       1 are all of them. */
    double probability;
    uint64_t seed;
} OptivoImageFault;

/* Adds a fault to the images that the camera makes from now on; the first that applies decides. */
OPTIVO_SIM_API int OptivoSim_AddImageFault(const char* camera, const OptivoImageFault* fault);

/* Is called on the grabbing thread at the end of every grab that brought an image, just before the
   grab returns; null is none. */
typedef void (*OptivoGrabObserver)(void);
OPTIVO_SIM_API void OptivoSim_ObserveGrabs(OptivoGrabObserver observer);

/* Pulls a camera's plug: it is not discovered any more, its ports and descriptions answer
   GC_ERR_IO (-1010), and its streams end (-2). Plugging it in again lets it be discovered and
   opened anew; objects that were open stay dead. */
OPTIVO_SIM_API int OptivoSim_Unplug(const char* camera);
OPTIVO_SIM_API int OptivoSim_Plug(const char* camera);
/* An edge on the camera's trigger line: up (not 0) or down. */
OPTIVO_SIM_API int OptivoSim_PulseLine(const char* camera, int isRising);

/* A 64-bit value of ICamStream::GetStreamInfo that is otherwise 0: commands 5, 6, 7, 8, 11. */
OPTIVO_SIM_API int OptivoSim_SetStreamValue(const char* camera, uint32_t command, uint64_t value);

/* Reports an event through the camera's callback, on a thread of the library. Returns when the
   callback has returned; answers 1 when one was installed. */
OPTIVO_SIM_API int OptivoSim_FireEvent(const char* camera, uint32_t eventId, uint64_t value);
/* Reports count events one after the other, without waiting for their delivery. */
OPTIVO_SIM_API int OptivoSim_FireEvents(const char* camera, uint32_t eventId, uint64_t value,
                                        uint32_t count);
/* 1 while a callback is installed in an open device of the camera. */
OPTIVO_SIM_API int OptivoSim_HasCallback(const char* camera);

/* What was asked of an operation since the last reset: the number of calls (those that went wrong
   included), the selector of its last call (key, command, address, index; of a grab where the image
   goes), its last numeric argument (time-out, count, value), the size that its last call offered,
   and its last text argument. */
OPTIVO_SIM_API uint64_t OptivoSim_NumCalls(OptivoOperation operation);
OPTIVO_SIM_API uint64_t OptivoSim_LastSelector(OptivoOperation operation);
OPTIVO_SIM_API uint64_t OptivoSim_LastArgument(OptivoOperation operation);
OPTIVO_SIM_API uint64_t OptivoSim_LastSize(OptivoOperation operation);
/* Copies up to capacity - 1 characters and a terminating zero. */
OPTIVO_SIM_API void OptivoSim_LastText(OptivoOperation operation, char* buffer, size_t capacity);
/* The selectors of the last calls of an operation, oldest first: writes up to capacity of them and
   answers how many there are, 64 at most. */
OPTIVO_SIM_API size_t OptivoSim_Selectors(OptivoOperation operation, uint64_t* selectors,
                                          size_t capacity);

/* Objects that were handed out and not yet closed, and calls of Close on an object that was closed
   already (which is answered with GC_ERR_INVALID_HANDLE, never with a crash). */
typedef enum {
    OPTIVO_OBJECT_SYSTEM,
    OPTIVO_OBJECT_INTERFACE,
    OPTIVO_OBJECT_DEVICE,
    OPTIVO_OBJECT_STREAM,
    OPTIVO_NUM_OBJECT_KINDS
} OptivoObjectKind;
OPTIVO_SIM_API uint64_t OptivoSim_NumAlive(OptivoObjectKind kind);
OPTIVO_SIM_API uint64_t OptivoSim_NumDoubleCloses(void);
/* Calls of any other operation on an object that was closed already. */
OPTIVO_SIM_API uint64_t OptivoSim_NumUsesAfterClose(void);

#ifdef __cplusplus
}
#endif

#endif /* OPTIVO_SIM_H */
