// What the interface port and the remote device port share: how their accesses reach the camera
// library, what its results mean, and how the URL that it gives is answered.
#pragma once

#include "GenTL/GenTL.h"
#include "camlib/CameraObjects.h"
#include "core/InfoOut.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace GenICam::Client {

// The result of an access by an operation of the library's object, if there is one. The library is
// never given a null pointer: whether it knows what to do with one is not known.
template <class CameraObject, class Operation, class Memory>
Optivo::Int32 AccessPort(const CCameraObject<CameraObject>& camera, Operation operation,
                         std::uint64_t address, Memory* buffer, std::size_t* size) {
    if (!camera) {
        return GC_ERR_NOT_AVAILABLE;
    }
    if (buffer == nullptr || size == nullptr) {
        return GC_ERR_INVALID_PARAMETER;
    }
    return camera.Call(operation, address, buffer, size);
}

// Throws the error that belongs to a result from -1014 to -1001 of an access to the address, the
// same for reading and writing; returns for every other result, 0 included.
void ThrowPortFailure(Optivo::Int32 result, std::uint64_t address);

// Copies the URL out that readUrl gets from the camera library, or answers what it refuses.
template <class ReadUrl>
COutcome AnswerCameraUrl(const CInfoOut& out, ReadUrl&& readUrl) {
    COutcome outcome;
    const std::string url = ReadCameraText<kInfoCapacity>(
        [&](char* buffer, Optivo::Size* size) { outcome = readUrl(buffer, size); });
    return outcome.IsRefusal() ? outcome : out.String(url);
}

// Has readUrl write the URL to a consumer's memory, as a text that ends there.
template <class ReadUrl>
COutcome GiveCameraUrl(char* buffer, std::size_t* size, ReadUrl&& readUrl) {
    if (size == nullptr) {
        return readUrl(buffer, size); // which refuses it
    }
    const std::size_t capacity = *size;
    const COutcome outcome = readUrl(buffer, size);
    if (!outcome.IsRefusal()) {
        EndCameraText(buffer, capacity, *size);
    }
    return outcome;
}

} // namespace GenICam::Client
