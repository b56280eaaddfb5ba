// Finds the world that the library begins with: the file that the environment names, or the default
// world. Knows nothing of the objects made of it.
#pragma once

#include "world/WorldFile.h"

namespace OptivoSim {

// False when the file that the environment variable OPTIVO_SIM_CONFIG names cannot be read or
// describes no world; standard error then tells why, and the plan is empty.
bool ReadFirstWorld(SWorldPlan& plan);

} // namespace OptivoSim
