// Needs a library that nobody has.
#include "CameraLibrary.h"

extern "C" Optivo::Int32 Absent();

Optivo::Int32 GetSystem(Optivo::ICamSystem**) {
    return Absent();
}
