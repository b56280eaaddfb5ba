// Owning and calling the camera library's objects: the one way in which its operations are called,
// what gives an object back, and how a text of the library becomes a string. This file knows
// nothing of the modules that hold the objects.
#pragma once

#include "camlib/CameraLibrary.h"
#include "camlib/LibraryAbi.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <string>
#include <type_traits>
#include <utility>

namespace GenICam::Client {

// Capacities, in bytes, of the buffers for the library's texts.
inline constexpr std::size_t kNameCapacity = 2048;
inline constexpr std::size_t kInfoCapacity = 512;

// Whether a list of the library ends before the entry at an index, although it tells count entries.
// A count that is too large to be true tells nothing: then the list is what has a name.
inline bool EndsList(Optivo::UInt32 count, Optivo::UInt32 index, const std::string& name) {
    constexpr Optivo::UInt32 kLongestList = 65536;
    return count > kLongestList && (name.empty() || index >= kLongestList);
}

// An object of the camera library, owned; or none. Operations are called through it only, so that
// no exception of another compiler reaches a frame that has something to destroy.
// Calling is as safe on several threads as the library's operation; the rest is the owner's to
// serialise.
template <class CameraObject>
class CCameraObject {
public:
    CCameraObject() = default;
    ~CCameraObject() { Reset(); }
    CCameraObject(CCameraObject&& other) noexcept
        : m_object(std::exchange(other.m_object, nullptr)) {}
    CCameraObject& operator=(CCameraObject&& other) noexcept {
        std::swap(m_object, other.m_object);
        return *this;
    }

    explicit operator bool() const { return m_object != nullptr; }

    // Calls an operation of the object, which there is. Answers its result; throws what it throws.
    template <class... Parameters>
    Optivo::Int32 Call(Optivo::Int32 (CameraObject::*operation)(Parameters...),
                       std::type_identity_t<Parameters>... arguments) const {
        return CallLibrary([&] { return (m_object->*operation)(arguments...); });
    }

    // Where the library writes an object that is to be owned here. Nothing is owned yet.
    CameraObject** Receive() { return &m_object; }

    // The object, which nobody gives back any more.
    CameraObject* Release() { return std::exchange(m_object, nullptr); }

    // Gives the object back, once, where there is a caller to tell: throws what its close throws.
    void GiveBack() {
        if (CameraObject* object = Release()) {
            CallLibrary([object] { return object->Close(); });
        }
    }

    // Gives the object back where nobody is left to tell that it failed.
    void Reset() noexcept {
        try {
            GiveBack();
        } catch (...) { // NOLINT(bugprone-empty-catch): see above
        }
    }

private:
    CameraObject* m_object = nullptr;
};

// Fills a buffer with zeros. Not inline: where the size is known, compilers write instructions that
// take several times as long as the C library's function.
void ClearText(char* text, std::size_t size) noexcept;

// What the library writes into a buffer of Capacity bytes, up to its first zero; query is called
// with the buffer and its size. The library may write nothing, no terminating zero, or claim any
// size: the buffer starts empty and one byte behind it stays zero.
template <std::size_t Capacity, class Query>
std::string ReadCameraText(Query&& query) {
    std::array<char, Capacity + 1> text;
    ClearText(text.data(), text.size());
    Optivo::Size size = Capacity;
    query(text.data(), &size);
    return text.data();
}

// Gives a text in a caller's buffer of capacity bytes its terminating zero, where the library says
// that it stopped or else in the last byte, and bounds the size that the library tells. Of a buffer
// of 0 bytes nothing is known, and what the library did with it is left.
inline void EndCameraText(char* buffer, std::size_t capacity, Optivo::Size& told) {
    if (capacity == 0) {
        return;
    }
    const std::size_t last = told != 0 && told < capacity ? told : capacity - 1;
    const void* end = std::memchr(buffer, 0, last + 1);
    if (end == nullptr) {
        buffer[last] = '\0';
        told = last + 1;
    } else if (told > capacity) {
        told = static_cast<std::size_t>(static_cast<const char*>(end) - buffer) + 1;
    }
}

} // namespace GenICam::Client
