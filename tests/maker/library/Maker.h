/* Steers a camera library that is built as its maker builds it, with Visual C++'s object layout and
   exceptions, from a test that another compiler builds. Plain C, exported by Optivo40.dll beside
   GetSystem. The library has two interfaces with three cameras; cameras are told by their names.
   All functions may be called from any thread. */
#ifndef MAKER_H
#define MAKER_H

#if defined(MAKER_BUILD)
#define MAKER_API __declspec(dllexport)
#else
#define MAKER_API __declspec(dllimport)
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Every operation of the library, in the order of its tables. */
typedef enum {
    MAKER_GET_SYSTEM,
    MAKER_SYSTEM_UPDATE_INTERFACE_LIST,
    MAKER_SYSTEM_GET_INTERFACE_NAME,
    MAKER_SYSTEM_GET_INTERFACE,
    MAKER_SYSTEM_OPEN_INTERFACE,
    MAKER_SYSTEM_CLOSE,
    MAKER_INTERFACE_UPDATE_DEVICE_LIST,
    MAKER_INTERFACE_GET_DEVICE_NAME,
    MAKER_INTERFACE_GET_DEVICE,
    MAKER_INTERFACE_OPEN_DEVICE,
    MAKER_INTERFACE_WRITE_PORT,
    MAKER_INTERFACE_READ_PORT,
    MAKER_INTERFACE_CLOSE,
    MAKER_DEVICE_GET_NUM_DATA_STREAMS,
    MAKER_DEVICE_OPEN_DATA_STREAM,
    MAKER_DEVICE_WRITE_PORT,
    MAKER_DEVICE_READ_PORT,
    MAKER_DEVICE_GET_INFO,
    MAKER_DEVICE_REGISTER_EVENT_CALLBACK,
    MAKER_DEVICE_CLOSE,
    MAKER_STREAM_START_ACQUISITION,
    MAKER_STREAM_STOP_ACQUISITION,
    MAKER_STREAM_GRAB_IMAGE,
    MAKER_STREAM_SET_STREAM_PARAMETER,
    MAKER_STREAM_GET_STREAM_INFO,
    MAKER_STREAM_CLOSE,
    MAKER_NUM_OPERATIONS
} MakerOperation;

/* What a call does that goes wrong, in place of its work. */
typedef enum {
    /* Answers the result. */
    MAKER_ANSWERS,
    /* Throws an object of a class with a copy constructor and a destructor, or the int 7. */
    MAKER_THROWS_CLASS,
    MAKER_THROWS_INT,
    /* Throws a std::runtime_error whose text is MAKER_TEXT; or an object of a class that derives
       from it, behind another base class; or one that derives from std::exception alone. */
    MAKER_THROWS_RUNTIME_ERROR,
    MAKER_THROWS_DERIVED_ERROR,
    MAKER_THROWS_EXCEPTION,
    /* Throws the class, catches it and throws it on. */
    MAKER_RETHROWS,
    /* Writes to an address where no memory is. */
    MAKER_CRASHES
} MakerMishap;

#define MAKER_TEXT "The cable of camera 7 is loose"
#define MAKER_ANY_SELECTOR (~0ULL)
#define MAKER_FOREVER (~0U)

typedef struct {
    MakerOperation operation;
    MakerMishap mishap;
    int result;
    /* How many matching calls stay sound first, and how many go wrong then. */
    unsigned skip;
    unsigned count;
    /* The key, command, address or index that the call has, or MAKER_ANY_SELECTOR. */
    unsigned long long selector;
} MakerFault;

/* Ends every fault, forgets the calls, and makes the cameras as they were at first. Objects that
   are open stay counted. */
MAKER_API void Maker_Reset(void);
/* Faults of one operation apply in the order in which they were added. Answers 0 when there are too
   many that wait for their call. */
MAKER_API int Maker_AddFault(const MakerFault* fault);
MAKER_API void Maker_ClearFaults(void);

/* The calls of an operation since the last reset, those that went wrong included; and the selectors
   of the last of them, oldest first, 64 at most. */
MAKER_API unsigned long long Maker_NumCalls(MakerOperation operation);
MAKER_API unsigned Maker_Selectors(MakerOperation operation, unsigned long long* selectors,
                                   unsigned capacity);

/* What comes and must go again: what the library handed out, the objects that it threw, and those
   of its own functions while they run. */
typedef enum {
    MAKER_SYSTEMS,
    MAKER_INTERFACES,
    MAKER_DEVICES,
    MAKER_STREAMS,
    MAKER_EXCEPTIONS,
    MAKER_LOCALS,
    MAKER_NUM_KINDS
} MakerKind;
MAKER_API unsigned long long Maker_NumMade(MakerKind kind);
MAKER_API unsigned long long Maker_NumGone(MakerKind kind);
/* Calls of objects that were closed already. */
MAKER_API unsigned long long Maker_NumMisuses(void);

/* These answer 0 for a name that no camera has. A camera that is not plugged in is not discovered
   and cannot be opened. */
MAKER_API int Maker_Plug(const char* camera, int isPlugged);
MAKER_API int Maker_SetNumStreams(const char* camera, unsigned count);
MAKER_API int Maker_SetStreamValue(const char* camera, unsigned command, unsigned long long value);

/* Images. A camera that is started makes so many a second; 0 is as fast as they are taken, and a
   negative rate none but those that Maker_Produce asks for. */
MAKER_API int Maker_SetImageSize(const char* camera, unsigned width, unsigned height);
MAKER_API int Maker_SetRate(const char* camera, double rate);
MAKER_API int Maker_Produce(const char* camera, unsigned count);

/* What an image begins with. The byte at offset i behind it is i * 7 + number * 31 + camera. */
typedef struct {
    unsigned magic;
    unsigned size; /* of the whole image */
    unsigned long long number;
    unsigned camera;   /* its serial number */
    unsigned checksum; /* FNV-1a, of the bytes behind the stamp */
} MakerStamp;
#define MAKER_MAGIC 0x4D414B45U

/* Reports count events with the values value, value + 1 and so on, on the library's own thread.
   Answers 1 when a callback was installed; Maker_Fire does when it has returned. */
MAKER_API int Maker_Fire(const char* camera, unsigned eventId, unsigned long long value);
MAKER_API int Maker_FireMany(const char* camera, unsigned eventId, unsigned long long value,
                             unsigned count);
MAKER_API int Maker_HasCallback(const char* camera);

#ifdef __cplusplus
}
#endif

#endif /* MAKER_H */
