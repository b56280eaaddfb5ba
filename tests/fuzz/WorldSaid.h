// What the text of a world says, read without the camera library's reader.
#pragma once

#include "world/WorldFile.h"

#include <cstddef>
#include <string>

// How what was understood of a sound text differs from what it says, over its first cameras and the
// faults that are not of others; "[]" when it does not.
std::string Difference(const OptivoSim::SWorldPlan& understood, const std::string& text,
                       std::size_t numCameras);
