// Writes a plan of a world as a text that describes it, every member named.
#pragma once

#include "world/WorldFile.h"

#include <string>

// No name, once it is put together, may be longer than a text of a world can be.
std::string TextOf(const OptivoSim::SWorldPlan& plan);

std::size_t NumCameras(const OptivoSim::SWorldPlan& plan);
// The plan with its first cameras alone, without the faults of the others.
OptivoSim::SWorldPlan FirstOf(const OptivoSim::SWorldPlan& plan, std::size_t numCameras);
