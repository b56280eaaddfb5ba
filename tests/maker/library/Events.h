// The library's own thread, which reports the events of the cameras. It runs while a system object
// is open.
#pragma once

#include "Camera.h"

namespace Maker {

// Each opening is followed by a closing. Called without the guard.
void OpenEvents();
void CloseEvents();

// Called with the guard held. The last of the events is told by a number.
UInt64 Report(CCamera& camera, UInt32 id, UInt64 value, UInt32 count, CGuard& guard);
void AwaitReport(UInt64 number, CGuard& guard);
// Waits for the end of a call that is under way, unless it is the caller.
void SetCallback(CCamera& camera, Optivo::DeviceEventCallback callback, void* context,
                 CGuard& guard);

} // namespace Maker
