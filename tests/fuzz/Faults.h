// Steers the simulated camera library at random: faults, plugs, images, events, texts.
#pragma once

#include "Demand.h"

// Cameras that run by themselves leave no time for anything else.
void MakeImagesOnRequest();

void SteerCameraLibrary(Bytes& bytes);
