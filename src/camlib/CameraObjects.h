// Owning and reading the camera library's objects: what gives an object back, and how a text of
// the library becomes a string. This file knows nothing of the modules that hold the objects.
#pragma once

#include "camlib/CameraLibrary.h"

#include <array>
#include <cstddef>
#include <memory>
#include <string>

namespace GenICam::Client {

// Capacities, in bytes, of the buffers for the library's texts.
inline constexpr std::size_t kNameCapacity = 2048;
inline constexpr std::size_t kInfoCapacity = 512;

// Gives an object back to the library, which may fail or throw without anybody left to tell.
struct CameraObjectCloser {
    template <class CameraObject>
    void operator()(CameraObject* object) const noexcept {
        try {
            object->Close();
        } catch (...) { // NOLINT(bugprone-empty-catch): see above
        }
    }
};

// An object of the camera library, owned.
template <class CameraObject>
using CamPtr = std::unique_ptr<CameraObject, CameraObjectCloser>;

// Gives an object back, once, where there is a caller to tell: throws what its close throws.
template <class CameraObject>
void GiveBack(CamPtr<CameraObject> object) {
    if (CameraObject* released = object.release()) {
        released->Close();
    }
}

// What the library writes into a buffer of Capacity bytes, up to its first zero; query is called
// with the buffer and its size. The library may write nothing, no terminating zero, or claim any
// size: the buffer starts empty and one byte behind it stays zero.
template <std::size_t Capacity, class Query>
std::string ReadCameraText(Query&& query) {
    std::array<char, Capacity + 1> text{};
    Optivo::Size size = Capacity;
    query(text.data(), &size);
    return text.data();
}

} // namespace GenICam::Client
