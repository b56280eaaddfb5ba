// The names that a world file has for operations, faults, pixel formats and pictures. Knows nothing
// of files.
#pragma once

#include "OptivoSim.h"
#include "camera/TestPattern.h"

#include <string>
#include <utility>
#include <vector>

namespace OptivoSim {

template <typename TValue>
using NamedValues = std::vector<std::pair<std::string, TValue>>;

// Named as their enumerators: OPTIVO_GET_SYSTEM is "GetSystem", OPTIVO_FAULT_NULL_OBJECT is
// "nullObject", OPTIVO_IMAGE_LOST is "lost".
const NamedValues<OptivoOperation>& OperationNames();
const NamedValues<OptivoFaultKind>& FaultKindNames();
const NamedValues<OptivoImageFaultKind>& ImageFaultKindNames();
// Named as the features of a camera have them.
const NamedValues<EPixelFormat>& PixelFormatNames();
const NamedValues<ETestPattern>& TestPatternNames();

} // namespace OptivoSim
