// Closing a module with everything that was opened through it, and so that nothing is kept: the
// first module keeps the buffers that are queued when their stream closes, and leaves devices open
// when their interface closes.
#pragma once

#include "Modules.h"

namespace Standard {

// Each answers the first module's code; -1006 when another thread has closed the module. A parent
// is named by whoever found the module as its child.
GC_ERROR CloseStream(SStream& stream, const SModule* parent);
GC_ERROR CloseDevice(SDevice& device, const SModule* parent);
GC_ERROR CloseInterface(SInterface& interface_, const SModule* parent);
GC_ERROR CloseSystem(SSystem& system);

} // namespace Standard
