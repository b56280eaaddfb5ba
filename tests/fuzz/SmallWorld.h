// Lets the simulated camera library begin with a world of small images, which costs little to make.
// To be called before the library is used.
#pragma once

#include <cstdlib>

inline void BeginWithSmallWorld() {
    setenv("OPTIVO_SIM_CONFIG", SMALL_WORLD, 1);
}
