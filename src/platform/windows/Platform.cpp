#include "platform/Platform.h"

#include "platform/Cancellation.h"

#include <boost/format.hpp>

#include <locale>
#include <stdexcept>
#include <vector>

#include <windows.h>
#include <winver.h>

namespace {

constexpr DWORD kVersionPathCapacity = 1024;
constexpr const char* kXmlResourceName = "TLREGS";
constexpr WORD kXmlResourceType = 103;

HMODULE s_instance = nullptr;

} // namespace

// The C++ run-time libraries that are linked in take thread-local slots, handles and memory for the
// module and for every thread that uses it, and give none of them back when it is unloaded: after
// some 500 loads a process would have no slot left and end. So the module stays until the process
// ends, and another load finds it as it was.
extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) {
        s_instance = instance;
        HMODULE pinned = nullptr;
        GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                           reinterpret_cast<LPCSTR>(&s_instance), &pinned);
    }
    return TRUE;
}

namespace GenICam::Client::Platform {

namespace {

// The system's error is read before anything that may change it.
[[noreturn]] void ThrowLastError(const char* text) {
    const auto error = static_cast<std::int32_t>(GetLastError());
    throw std::invalid_argument(boost::str(boost::format(text, std::locale::classic()) % error));
}

} // namespace

std::string ModulePath(std::size_t capacity) {
    if (capacity == 0) {
        return {};
    }
    std::string path(capacity, '\0');
    const DWORD length = GetModuleFileNameA(s_instance, path.data(), static_cast<DWORD>(capacity));
    // A path that was cut is reported as long as the whole buffer; its last byte is the zero.
    path.resize(length < capacity ? length : capacity - 1);
    return path;
}

namespace {

std::uint64_t ReadFileVersion() {
    const std::string path = ModulePath(kVersionPathCapacity);
    DWORD ignored = 0;
    const DWORD size = GetFileVersionInfoSizeA(path.c_str(), &ignored);
    if (size == 0) {
        return 0;
    }
    std::vector<std::byte> block(size);
    void* value = nullptr;
    UINT valueSize = 0;
    if (GetFileVersionInfoA(path.c_str(), 0, size, block.data()) == FALSE ||
        VerQueryValueA(block.data(), "\\", &value, &valueSize) == FALSE || value == nullptr ||
        valueSize < sizeof(VS_FIXEDFILEINFO)) {
        return 0;
    }
    const auto* info = static_cast<const VS_FIXEDFILEINFO*>(value);
    return (static_cast<std::uint64_t>(info->dwFileVersionMS) << 32) | info->dwFileVersionLS;
}

} // namespace

// Consumers ask for it in passing, and reading it takes microseconds.
std::uint64_t FileVersion() {
    static const std::uint64_t s_version = ReadFileVersion();
    return s_version;
}

std::string_view SystemXml() {
    auto* const resource =
        FindResourceA(s_instance, kXmlResourceName, MAKEINTRESOURCEA(kXmlResourceType));
    if (resource == nullptr) {
        ThrowLastError("Unable to find Resource, Error %d");
    }
    const HGLOBAL loaded = LoadResource(s_instance, resource);
    if (loaded == nullptr) {
        ThrowLastError("Unable to load Resource, Error %d");
    }
    const void* text = LockResource(loaded);
    if (text == nullptr) {
        throw std::invalid_argument("Unable Lock Resource");
    }
    return {static_cast<const char*>(text), SizeofResource(s_instance, resource)};
}

// The module stays without it.
CModuleHold::CModuleHold() noexcept = default;
CModuleHold::~CModuleHold() = default;

// Threads are not cancelled here.
CCancellationDelay::CCancellationDelay() noexcept = default;
CCancellationDelay::~CCancellationDelay() = default;

void* AllocateMemory(std::size_t size) noexcept {
    return HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, size);
}

void FreeMemory(void* memory) noexcept {
    if (memory != nullptr) {
        HeapFree(GetProcessHeap(), 0, memory);
    }
}

} // namespace GenICam::Client::Platform
