// Ends as an exception does that is thrown on in a catch clause, where the runtime keeps its object
// and type to itself: nobody else can tell what it is.
#include "CameraLibrary.h"

extern "C" void RaiseException(unsigned long code, unsigned long flags, unsigned long numArguments,
                               const Optivo::Size* arguments);

Optivo::Int32 GetSystem(Optivo::ICamSystem**) {
    constexpr unsigned long kVisualCpp = 0xE06D7363;
    constexpr unsigned long kNoncontinuable = 1;
    constexpr Optivo::Size kArguments[] = {0x19930520, 0, 0, 0}; // magic, object, type, image
    RaiseException(kVisualCpp, kNoncontinuable, 4, kArguments);
    return 0;
}
