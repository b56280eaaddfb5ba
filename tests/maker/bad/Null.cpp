// Says that it succeeds, and gives nothing.
#include "CameraLibrary.h"

Optivo::Int32 GetSystem(Optivo::ICamSystem** system) {
    *system = nullptr;
    return 0;
}
