#include "First.h"

#include "core/NeverDestroyed.h"

#define BOOST_DLL_USE_STD_FS
#include <boost/dll/runtime_symbol_info.hpp>
#include <boost/dll/shared_library.hpp>

#include <filesystem>
#include <mutex>
#include <stdexcept>

namespace Standard {
namespace {

SFirst s_first{};
std::mutex s_loading;
bool s_isLoaded = false;

// Each stays loaded for the life of the process.
struct SLibraries {
    boost::dll::shared_library first;
    boost::dll::shared_library own;
};

void Load(boost::dll::shared_library& library, const std::filesystem::path& path) {
    using Mode = boost::dll::load_mode::type;
    library.load(path, Mode::load_with_altered_search_path | Mode::rtld_now | Mode::rtld_local);
}

SFirst FunctionsOf(const boost::dll::shared_library& library) {
    SFirst first{};
    const auto find = [&library]<class Function>(CForward<Function>& forward, const char* name) {
        forward.Set(&library.get<std::remove_pointer_t<Function>>(name));
    };
    find(first.GCInitLib, "GCInitLib");
    find(first.GCGetInfo, "GCGetInfo");
    find(first.GCGetLastError, "GCGetLastError");
    find(first.GCReadPort, "GCReadPort");
    find(first.GCWritePort, "GCWritePort");
    find(first.GCGetPortURLInfo, "GCGetPortURLInfo");
    find(first.GCGetPortInfo, "GCGetPortInfo");
    find(first.GCRegisterEvent, "GCRegisterEvent");
    find(first.GCUnregisterEvent, "GCUnregisterEvent");
    find(first.EventGetData, "EventGetData");
    find(first.EventGetInfo, "EventGetInfo");
    find(first.EventFlush, "EventFlush");
    find(first.TLOpen, "TLOpen");
    find(first.TLClose, "TLClose");
    find(first.TLGetInfo, "TLGetInfo");
    find(first.TLGetNumInterfaces, "TLGetNumInterfaces");
    find(first.TLGetInterfaceID, "TLGetInterfaceID");
    find(first.TLGetInterfaceInfo, "TLGetInterfaceInfo");
    find(first.TLOpenInterface, "TLOpenInterface");
    find(first.TLUpdateInterfaceList, "TLUpdateInterfaceList");
    find(first.IFClose, "IFClose");
    find(first.IFGetInfo, "IFGetInfo");
    find(first.IFGetNumDevices, "IFGetNumDevices");
    find(first.IFGetDeviceID, "IFGetDeviceID");
    find(first.IFUpdateDeviceList, "IFUpdateDeviceList");
    find(first.IFGetDeviceInfo, "IFGetDeviceInfo");
    find(first.IFOpenDevice, "IFOpenDevice");
    find(first.DevGetPort, "DevGetPort");
    find(first.DevGetNumDataStreams, "DevGetNumDataStreams");
    find(first.DevGetDataStreamID, "DevGetDataStreamID");
    find(first.DevOpenDataStream, "DevOpenDataStream");
    find(first.DevGetInfo, "DevGetInfo");
    find(first.DevClose, "DevClose");
    find(first.DSAnnounceBuffer, "DSAnnounceBuffer");
    find(first.DSRevokeBuffer, "DSRevokeBuffer");
    find(first.DSQueueBuffer, "DSQueueBuffer");
    find(first.DSFlushQueue, "DSFlushQueue");
    find(first.DSStartAcquisition, "DSStartAcquisition");
    find(first.DSStopAcquisition, "DSStopAcquisition");
    find(first.DSGetInfo, "DSGetInfo");
    find(first.DSGetBufferInfo, "DSGetBufferInfo");
    find(first.DSGetBufferID, "DSGetBufferID");
    find(first.DSClose, "DSClose");
    return first;
}

} // namespace

void LoadFirst() {
    const std::lock_guard<std::mutex> lock(s_loading);
    if (!s_isLoaded) {
        const std::filesystem::path path =
            std::filesystem::path(OwnPath()).parent_path().parent_path() / "NorvelTL40.cti";
        static GenICam::Client::CNeverDestroyed<SLibraries> s_libraries;
        try {
            Load(s_libraries.m_value.first, path);
            s_first = FunctionsOf(s_libraries.m_value.first);
            // Records of modules are never freed, so that nobody may forget them either.
            Load(s_libraries.m_value.own, OwnPath());
        } catch (const std::exception& error) {
            throw std::runtime_error("Unable to load " + path.string() + ": " + error.what());
        }
        s_isLoaded = true;
    }
    InitialiseFirst();
}

void InitialiseFirst() {
    s_first.GCInitLib();
}

const SFirst& First() noexcept {
    return s_first;
}

std::string OwnPath() {
    return boost::dll::this_line_location().string();
}

} // namespace Standard
