// The world that is there when nobody names another. Knows nothing of the objects made of it.
#pragma once

#include "world/WorldFile.h"

namespace OptivoSim {

// Two interfaces with three cameras; made by the first call, and never destroyed.
const SWorldPlan& DefaultWorld();

} // namespace OptivoSim
