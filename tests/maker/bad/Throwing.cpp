#include "CameraLibrary.h"

Optivo::Int32 GetSystem(Optivo::ICamSystem**) {
    throw 7;
}
