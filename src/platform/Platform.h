// What the module needs of the operating system: its own file, its resources and memory. Each
// target has a folder with the only files that include headers of the system. This room knows
// nothing of the rest of the producer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace GenICam::Client::Platform {

// What separates the folders of a path.
#if defined(_WIN32)
constexpr char kPathSeparator = '\\';
#else
constexpr char kPathSeparator = '/';
#endif

// The full path of this module's own file, as a buffer of capacity bytes (its terminating zero
// included) can hold it: a longer path is cut. Empty on failure. Safe on any thread.
std::string ModulePath(std::size_t capacity);

// The file version of this module: four 16-bit fields, the most significant first. 0 when the
// module carries none. Safe on any thread.
std::uint64_t FileVersion();

// The System module's XML description, without a terminating zero. The text belongs to the module
// and stays valid while that is loaded. Throws std::invalid_argument when it cannot be reached.
// Safe on any thread.
std::string_view SystemXml();

// Keeps this module loaded while it exists, for a thread that runs in the module's code. Taking it
// can fail; the module is then not kept. On Windows, where a module that was loaded stays, it has
// nothing to do.
class CModuleHold {
public:
    CModuleHold() noexcept;
    ~CModuleHold();
    CModuleHold(const CModuleHold&) = delete;
    CModuleHold& operator=(const CModuleHold&) = delete;

private:
    void* m_module = nullptr;
};

// size zeroed bytes of the process heap, owned by the caller until FreeMemory; null on failure.
void* AllocateMemory(std::size_t size) noexcept;

// Gives back what AllocateMemory returned. Null is harmless.
void FreeMemory(void* memory) noexcept;

} // namespace GenICam::Client::Platform
