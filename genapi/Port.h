// The registers of a camera or another module, as this room knows them: two functions. Who makes
// them knows whose they are and how they are reached.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

namespace GenApi {

// Each transfers exactly so many bytes, or throws what derives from std::runtime_error; that passes
// through to whoever asked for the value.
struct SPort {
    std::function<void(uint64_t address, void* buffer, size_t size)> read;
    std::function<void(uint64_t address, const void* buffer, size_t size)> write;
};

} // namespace GenApi
