// What the library has of Windows, declared by hand: it is built without anybody's headers.
#pragma once

#include "CameraLibrary.h"

namespace Maker {

using Optivo::Int32;
using Optivo::Size;
using Optivo::UInt32;
using Optivo::UInt64;

// Holds the lock that guards everything in the library.
class CGuard {
public:
    CGuard();
    ~CGuard();
    CGuard(const CGuard&) = delete;
    CGuard& operator=(const CGuard&) = delete;

    // Lets others in until TellChange, or until the milliseconds are over.
    void Wait(UInt32 milliseconds);

    static constexpr UInt32 kForever = 0xFFFFFFFF;
};
void TellChange();

// Leaves the guard open for as long as it lives.
class COpening {
public:
    COpening();
    ~COpening();
    COpening(const COpening&) = delete;
    COpening& operator=(const COpening&) = delete;
};

// Never null.
void* StartThread(UInt32 (*body)(void*), void* context);
// Waits for the end of the thread.
void JoinThread(void* thread);
UInt32 ThisThread();

// Of a clock that never goes back.
double Seconds();

bool AreEqual(const char* left, const char* right);
Size Length(const char* text);
void Copy(void* destination, const void* source, Size size);

} // namespace Maker
