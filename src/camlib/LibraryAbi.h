// Whether the camera library and this module come from one compiler, and what follows from it: how
// the library's factory is reached, how its operations are called, and which exceptions come back.
// The only place that knows; everybody else calls through it.
#pragma once

#include "camlib/CameraLibrary.h"

#include <stdexcept>
#include <utility>

#if !defined(__MINGW32__)

#include "camlib/GenICamBase.h"

namespace GenICam::Client {

using CLibraryInvalidArgument = InvalidArgumentException;

// Answers what the operation answers; its exceptions are C++ exceptions like our own.
template <class Operation>
Optivo::Int32 CallLibrary(Operation&& operation) {
    return std::forward<Operation>(operation)();
}

inline Optivo::Int32 CallGetSystem(Optivo::ICamSystem** system) {
    return GetSystem(system);
}

} // namespace GenICam::Client

#else

#include "platform/windows/ForeignCall.h"

namespace GenICam::Client {

// Stands in for the library's class of that purpose, which another compiler cannot throw: no clause
// names either, so that a consumer gets the same answer.
class CLibraryInvalidArgument final : public std::invalid_argument {
public:
    CLibraryInvalidArgument(const char* description, const char* /*sourceFileName*/,
                            unsigned int /*sourceLine*/, const char* /*exceptionType*/)
        : std::invalid_argument(description) {}
};

// Throws what stands for an exception of Visual C++: std::runtime_error with its text, which is
// given back here, or with a null text an exception that no clause names.
[[noreturn]] void ThrowForeign(char* text);

// Answers what the operation answers. Exceptions of the library's compiler arrive as ours, when
// everything that the library had on the stack is destroyed.
template <class Operation>
Optivo::Int32 CallLibrary(Operation&& operation) {
    struct SCall {
        Operation& operation;
        Optivo::Int32 result;
    } call{operation, 0};
    char* message = nullptr;
    const auto run = [](void* context) {
        auto& made = *static_cast<SCall*>(context);
        made.result = made.operation();
    };
    if (NorvelCallForeign(run, &call, &message) != 0) {
        ThrowForeign(message);
    }
    return call.result;
}

// Loads the library when it is first called. Throws std::runtime_error, naming the file and what to
// do, when there is none that can be used.
Optivo::Int32 CallGetSystem(Optivo::ICamSystem** system);

} // namespace GenICam::Client

#endif
