#include "Producer.h"

#include <atomic>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#include <unistd.h>
#endif

namespace {

constinit const char* s_file = "NorvelTL40.cti";
constexpr std::string_view STANDARD = "NorvelTL40-standard.cti";

// A leak checker would miss the references of an unloaded module to what lives as long as the
// process, such as its last error.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool MAY_UNLOAD = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool MAY_UNLOAD = false;
#else
constexpr bool MAY_UNLOAD = true;
#endif
#else
constexpr bool MAY_UNLOAD = true;
#endif

#if defined(_WIN32)

std::filesystem::path ProgramPath() {
    char path[2048] = {};
    GetModuleFileNameA(nullptr, path, sizeof(path) - 1);
    return path;
}

unsigned long ProcessId() {
    return GetCurrentProcessId();
}

void* Open(const std::string& path) {
    void* library = LoadLibraryA(path.c_str());
    if (library == nullptr) {
        throw std::runtime_error(path + " does not load: error " + std::to_string(GetLastError()));
    }
    return library;
}

void Unload(void* library) {
    FreeLibrary(static_cast<HMODULE>(library));
}

void* Find(void* library, const char* name) {
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}

#else

std::filesystem::path ProgramPath() {
    return std::filesystem::read_symlink("/proc/self/exe");
}

unsigned long ProcessId() {
    return static_cast<unsigned long>(getpid());
}

void* Open(const std::string& path) {
    void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        throw std::runtime_error(path + " does not load: " + dlerror());
    }
    return library;
}

void Unload(void* library) {
    dlclose(library);
}

void* Find(void* library, const char* name) {
    return dlsym(library, name);
}

#endif

std::filesystem::path ModulePath() {
    return (ProgramPath().parent_path() / s_file).make_preferred();
}

// A copy of the module under a name that nothing has. Copies of earlier processes go first, where
// the process that loaded one cannot remove it; those in use refuse.
std::filesystem::path CopyModule() {
    static std::atomic<int> s_count = 0;
    const auto folder = ModulePath().parent_path();
    std::error_code failure;
#if defined(_WIN32)
    if (s_count == 0) {
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            if (entry.path().filename().string().starts_with("Copy")) {
                std::filesystem::remove(entry.path(), failure);
            }
        }
    }
#endif
    for (;;) {
        const auto copy = folder / ("Copy" + std::to_string(ProcessId()) + "_" +
                                    std::to_string(++s_count) + ".cti");
        if (std::filesystem::copy_file(ModulePath(), copy, failure)) {
            return copy;
        }
        if (failure != std::errc::file_exists) {
            throw std::filesystem::filesystem_error("no copy of the module", copy, failure);
        }
    }
}

} // namespace

void Producer::Choose(const char* file) {
    s_file = file;
}

bool Producer::IsStandard() {
    return std::string_view(s_file).ends_with(STANDARD);
}

std::unique_ptr<Producer> Producer::Load() {
    return LoadFile(ModulePath().string());
}

std::unique_ptr<Producer> Producer::LoadFile(const std::string& path) {
    return std::unique_ptr<Producer>(new Producer(path, false));
}

std::unique_ptr<Producer>
Producer::LoadCopy(const std::function<void(const std::string&)>& change) {
    const auto copy = CopyModule();
    if (change) {
        change(copy.string());
    }
    return std::unique_ptr<Producer>(new Producer(copy.string(), true));
}

Producer::Producer(std::string path, bool isCopy) : m_path(std::move(path)), m_isCopy(isCopy) {
    try {
        m_library = Open(m_path);
        ResolveAll();
    } catch (...) {
        if (m_library != nullptr) {
            Unload(m_library);
        }
        if (m_isCopy) {
            std::filesystem::remove(m_path);
        }
        throw;
    }
}

Producer::~Producer() {
    if (MAY_UNLOAD) {
        Unload(m_library);
    }
    if (m_isCopy) {
        std::error_code ignored;
        std::filesystem::remove(m_path, ignored);
    }
}

template <typename Function>
void Producer::Resolve(Function& function, const char* name) {
    function = reinterpret_cast<Function>(Find(m_library, name));
    if (function == nullptr) {
        throw std::runtime_error(m_path + " has no function " + name);
    }
}

void Producer::ResolveAll() {
    Resolve(GCInitLib, "GCInitLib");
    Resolve(GCCloseLib, "GCCloseLib");
    Resolve(GCGetInfo, "GCGetInfo");
    Resolve(GCGetLastError, "GCGetLastError");
    Resolve(GCReadPort, "GCReadPort");
    Resolve(GCWritePort, "GCWritePort");
    Resolve(GCReadPortStacked, "GCReadPortStacked");
    Resolve(GCWritePortStacked, "GCWritePortStacked");
    Resolve(GCGetPortURL, "GCGetPortURL");
    Resolve(GCGetNumPortURLs, "GCGetNumPortURLs");
    Resolve(GCGetPortURLInfo, "GCGetPortURLInfo");
    Resolve(GCGetPortInfo, "GCGetPortInfo");

    Resolve(GCRegisterEvent, "GCRegisterEvent");
    Resolve(GCUnregisterEvent, "GCUnregisterEvent");
    Resolve(EventGetData, "EventGetData");
    Resolve(EventGetDataInfo, "EventGetDataInfo");
    Resolve(EventGetInfo, "EventGetInfo");
    Resolve(EventFlush, "EventFlush");
    Resolve(EventKill, "EventKill");

    Resolve(TLOpen, "TLOpen");
    Resolve(TLClose, "TLClose");
    Resolve(TLGetInfo, "TLGetInfo");
    Resolve(TLGetNumInterfaces, "TLGetNumInterfaces");
    Resolve(TLGetInterfaceID, "TLGetInterfaceID");
    Resolve(TLGetInterfaceInfo, "TLGetInterfaceInfo");
    Resolve(TLOpenInterface, "TLOpenInterface");
    Resolve(TLUpdateInterfaceList, "TLUpdateInterfaceList");

    Resolve(IFClose, "IFClose");
    Resolve(IFGetInfo, "IFGetInfo");
    Resolve(IFGetNumDevices, "IFGetNumDevices");
    Resolve(IFGetDeviceID, "IFGetDeviceID");
    Resolve(IFUpdateDeviceList, "IFUpdateDeviceList");
    Resolve(IFGetDeviceInfo, "IFGetDeviceInfo");
    Resolve(IFOpenDevice, "IFOpenDevice");
    Resolve(IFGetParentTL, "IFGetParentTL");

    Resolve(DevGetPort, "DevGetPort");
    Resolve(DevGetNumDataStreams, "DevGetNumDataStreams");
    Resolve(DevGetDataStreamID, "DevGetDataStreamID");
    Resolve(DevOpenDataStream, "DevOpenDataStream");
    Resolve(DevGetInfo, "DevGetInfo");
    Resolve(DevClose, "DevClose");
    Resolve(DevGetParentIF, "DevGetParentIF");

    Resolve(DSAnnounceBuffer, "DSAnnounceBuffer");
    Resolve(DSAllocAndAnnounceBuffer, "DSAllocAndAnnounceBuffer");
    Resolve(DSRevokeBuffer, "DSRevokeBuffer");
    Resolve(DSQueueBuffer, "DSQueueBuffer");
    Resolve(DSFlushQueue, "DSFlushQueue");
    Resolve(DSStartAcquisition, "DSStartAcquisition");
    Resolve(DSStopAcquisition, "DSStopAcquisition");
    Resolve(DSGetInfo, "DSGetInfo");
    Resolve(DSGetBufferInfo, "DSGetBufferInfo");
    Resolve(DSGetBufferID, "DSGetBufferID");
    Resolve(DSClose, "DSClose");
    Resolve(DSGetParentDev, "DSGetParentDev");
    Resolve(DSGetBufferChunkData, "DSGetBufferChunkData");
    Resolve(DSGetNumBufferParts, "DSGetNumBufferParts");
    Resolve(DSGetBufferPartInfo, "DSGetBufferPartInfo");
}

Producer& TheProducer() {
    // Never destroyed, so that leak checkers still see what the module keeps.
    static Producer* const s_producer = Producer::Load().release();
    return *s_producer;
}
