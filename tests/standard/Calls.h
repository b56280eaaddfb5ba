// A call of every function that takes a handle, with arguments that are right but for the handle.
#pragma once

#include "Producer.h"

#include <span>

enum class Takes { System, Interface, Device, Stream, Buffer, Port, Source, Event };

struct Call {
    const char* name;
    Takes takes;
    // stream is the one that a buffer would belong to.
    GC_ERROR (*make)(const Producer& gentl, void* handle, DS_HANDLE stream);
};

std::span<const Call> AllCalls();
