// What is written beside the images of a grab, so that they explain themselves.
#pragma once

#include "grabbing/GrabLoop.h"
#include "producers/Discovery.h"
#include "terminal/Json.h"

namespace norveltl {

// Where the images came from: the producer and the camera.
Json OriginJson(const SChoice& choice);

// Writes it into the images' folder; throws CToolError when it cannot. The images must be written.
void WriteGrabReport(const CGrabLoop& loop, const SChoice& choice, EExisting existing);

} // namespace norveltl
