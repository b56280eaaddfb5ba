// What the camera library's port results mean: the errors that the interface port and the remote
// device port share.
#pragma once

#include "camlib/CameraLibrary.h"

#include <cstdint>

namespace GenICam::Client {

// Throws the error that belongs to a result from -1014 to -1001 of an access to the address, the
// same for reading and writing; returns for every other result, 0 included.
void ThrowPortFailure(Optivo::Int32 result, std::uint64_t address);

} // namespace GenICam::Client
