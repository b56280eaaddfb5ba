#include "Subjects.h"

#include "OptivoSim.h"

#include <filesystem>
#include <map>
#include <memory>
#include <stdexcept>
#include <utility>

namespace {

constexpr char kInterfaceName[] = "net";
constexpr char kInterfaceId[] = "GEV::net";
constexpr unsigned kFirstSerialNumber = 10001;
constexpr std::uint64_t kLongWait = 30000;
constexpr std::uint64_t kShortWait = 100;
constexpr Optivo::UInt32 kWithoutLimit = 0xFFFFFFFF;

} // namespace

Producer& TheStandardProducer() {
    static Producer* const s_producer =
        Producer::LoadFile((std::filesystem::path(TheProducer().Path()).parent_path() / "standard" /
                            "NorvelTL40-standard.cti")
                               .make_preferred()
                               .string())
            .release();
    return *s_producer;
}

void Require(bool holds, const char* what) {
    if (!holds) {
        throw std::runtime_error(std::string("failed: ") + what);
    }
}

void MakeWorld(const std::vector<std::string>& interfaces) {
    OptivoSim_Reset();
    std::string list;
    for (std::size_t i = 0; i < interfaces.size(); ++i) {
        list += std::string(i == 0 ? "" : ", ") + R"({"name": ")" + InterfaceName(i) +
                R"(", "cameras": [)" + interfaces[i] + "]}";
    }
    const std::string world = R"({"interfaces": [)" + list + "]}";
    char error[256] = "";
    Require(OptivoSim_LoadWorld(world.c_str(), error, sizeof error) == 1, error);
}

void MakeCameras(unsigned count, unsigned width, unsigned height, double frameRate) {
    MakeWorld({R"({"count": )" + std::to_string(count) + R"(, "width": )" + std::to_string(width) +
               R"(, "height": )" + std::to_string(height) + "}"});
    for (unsigned i = 0; i < count; ++i) {
        Require(OptivoSim_SetFrameRate(CameraName(i).c_str(), frameRate) == 1, "frame rate");
    }
}

std::string InterfaceName(std::size_t index) {
    return kInterfaceName + (index == 0 ? "" : std::to_string(index));
}

std::string CameraName(unsigned index) {
    return "Norvel-G640M-" + std::to_string(kFirstSerialNumber + index);
}

void* ImageMemory(std::size_t index, std::size_t size) {
    static std::map<std::pair<std::size_t, std::size_t>, std::unique_ptr<unsigned char[]>> s_memory;
    auto& memory = s_memory[{index, size}];
    if (memory == nullptr) {
        memory = std::make_unique<unsigned char[]>(size);
    }
    return memory.get();
}

COpenModule::COpenModule(Producer& producer) : gentl(producer) {
    Check(gentl.GCInitLib(), "GCInitLib");
    Check(gentl.TLOpen(&system), "TLOpen");
    Check(gentl.TLUpdateInterfaceList(system, nullptr, kLongWait), "TLUpdateInterfaceList");
    Check(gentl.TLOpenInterface(system, kInterfaceId, &iface), "TLOpenInterface");
    Check(gentl.IFUpdateDeviceList(iface, nullptr, kLongWait), "IFUpdateDeviceList");
}

COpenModule::~COpenModule() {
    gentl.IFClose(iface);
    gentl.TLClose(system);
    gentl.GCCloseLib();
}

CModuleStream::CModuleStream(const COpenModule& module, unsigned camera, unsigned numBuffers,
                             std::size_t size)
    : gentl(module.gentl) {
    Check(gentl.IFOpenDevice(module.iface, CameraName(camera).c_str(), DEVICE_ACCESS_CONTROL,
                             &device),
          "IFOpenDevice");
    Check(gentl.DevGetPort(device, &remote), "DevGetPort");
    Check(gentl.DevOpenDataStream(device, "DS0", &stream), "DevOpenDataStream");
    Check(gentl.GCRegisterEvent(stream, EVENT_NEW_BUFFER, &m_event), "GCRegisterEvent");
    buffers.resize(numBuffers);
    for (unsigned i = 0; i < numBuffers; ++i) {
        void* const memory = ImageMemory(camera * numBuffers + i, size);
        Check(gentl.DSAnnounceBuffer(stream, memory, size, nullptr, &buffers[i]), "announce");
    }
}

CModuleStream::~CModuleStream() {
    gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT);
    gentl.DSFlushQueue(stream, ACQ_QUEUE_ALL_DISCARD);
    gentl.DSClose(stream);
    gentl.DevClose(device);
}

void CModuleStream::Start() {
    for (auto* const buffer : buffers) {
        Queue(buffer);
    }
    Check(gentl.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE), "start");
}

GC_ERROR CModuleStream::Wait(EVENT_NEW_BUFFER_DATA& data, std::uint64_t milliseconds) {
    std::size_t size = sizeof data;
    return gentl.EventGetData(m_event, &data, &size, milliseconds);
}

BUFFER_HANDLE CModuleStream::Fetch() {
    EVENT_NEW_BUFFER_DATA data{};
    Check(Wait(data, kLongWait), "EventGetData");
    return data.BufferHandle;
}

void CModuleStream::TakeMany(std::uint64_t count) {
    for (std::uint64_t i = 0; i < count; ++i) {
        Take();
    }
}

bool CModuleStream::TryTake() {
    EVENT_NEW_BUFFER_DATA data{};
    if (Wait(data, kShortWait) != GC_ERR_SUCCESS) {
        return false;
    }
    Queue(data.BufferHandle);
    return true;
}

std::uint64_t CModuleStream::Number(STREAM_INFO_CMD command) {
    std::uint64_t value = 0;
    std::size_t size = sizeof value;
    INFO_DATATYPE type = 0;
    Check(gentl.DSGetInfo(stream, command, &type, &value, &size), "DSGetInfo");
    return value;
}

COpenLibrary::COpenLibrary() {
    Optivo::ICamSystem* system = nullptr;
    Check(GetSystem(&system), "GetSystem");
    m_system.reset(system);
    m_interface = OpenInterface(0);
}

ObjectPtr<Optivo::ICamInterface> COpenLibrary::OpenInterface(std::size_t index) {
    Optivo::ICamInterface* found = nullptr;
    Check(m_system->OpenInterface(InterfaceName(index).c_str(), &found), "OpenInterface");
    return ObjectPtr<Optivo::ICamInterface>(found);
}

CLibraryStream::CLibraryStream(COpenLibrary& library, unsigned camera) {
    Optivo::ICamDevice* device = nullptr;
    Check(library.Interface().OpenDevice(CameraName(camera).c_str(), &device), "OpenDevice");
    m_device.reset(device);
    Optivo::ICamStream* stream = nullptr;
    Check(m_device->OpenDataStream(0, &stream), "OpenDataStream");
    m_stream.reset(stream);
}

void CLibraryStream::Start() {
    Check(m_stream->StartAcquisition(0, kWithoutLimit), "StartAcquisition");
}

bool CLibraryStream::TryTake(void* destination) {
    Optivo::UInt32 ready = 0;
    Optivo::Size size = sizeof ready;
    Check(m_stream->GetStreamInfo(Optivo::kStreamImageReady, &ready, &size), "GetStreamInfo");
    return ready != 0 && m_stream->GrabImage(destination, kShortWait) == Optivo::kGrabDelivered;
}

void CLibraryStream::Take(void* destination) {
    Require(TryTake(destination), "no image");
}

void CLibraryStream::TakeMany(std::uint64_t count, void* destination) {
    for (std::uint64_t i = 0; i < count; ++i) {
        Take(destination);
    }
}
