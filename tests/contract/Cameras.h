// What the fixtures do to the cameras behind the module. Each program brings its own: simulated
// ones, or cameras on the wire.
#pragma once

#include "OptivoSim.h"

#include <cstdint>
#include <string>

namespace Cameras {

// They are as they were at the beginning.
void Prepare();
// Ends whatever the test had planned for them, so that its handles can be closed.
void Release();
// Each answers false when there is no such camera, or it cannot do so. A rate of 0 is as fast as it
// goes; with a negative one images come only when a test asks for them.
bool SetFrameRate(const std::string& camera, double framesPerSecond);
bool ProduceImages(const std::string& camera, uint64_t count);

// A camera of the first interface whose images are grey, of one byte a pixel, and as large as a
// test wants them; and its place in the list.
extern const char* const GREY_CAMERA;
extern const uint32_t GREY_INDEX;
extern const char* const FIRST_INTERFACE;
bool SetImageSize(const std::string& camera, uint32_t width, uint32_t height);

// Whether an acquisition starts so soon after the one before that no wait tells of its end.
extern const bool STARTS_AT_ONCE;

// What the camera library holds open, as far as it shows.
uint64_t NumOpen(OptivoObjectKind kind);
// How often one of the library's objects was used that was closed already.
uint64_t NumMisuses();

} // namespace Cameras
