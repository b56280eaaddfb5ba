// Updates of the device list. The floor is a loop of the calls of the camera library that an update
// cannot do without.
#include "Figures.h"
#include "Subjects.h"
#include "camlib/CameraObjects.h"

#include <array>
#include <string>
#include <vector>

namespace {

using GenICam::Client::kInfoCapacity;
using GenICam::Client::kNameCapacity;

constexpr std::array kTextKeys = {Optivo::kDeviceVendor,       Optivo::kDeviceModel,
                                  Optivo::kDeviceSerialNumber, Optivo::kDeviceTLType,
                                  Optivo::kDeviceVersion,      Optivo::kDeviceUserDefinedName,
                                  Optivo::kDeviceCustom14,     Optivo::kDeviceCustom15};

// Every update finds so many devices. Either they are always the same, or half of them are found by
// every other update only, and as many others in between.
struct SList {
    unsigned numDevices;
    bool isChanging;

    void MakeWorld() const {
        const auto row = [](unsigned count, const char* first, const char* discovery) {
            return R"({"count": )" + std::to_string(count) + R"(, "serialNumber": ")" + first +
                   R"(", "discovery": )" + discovery + "}";
        };
        if (!isChanging) {
            ::MakeWorld({row(numDevices, "100000", "[true]")});
            return;
        }
        const unsigned half = numDevices / 2;
        ::MakeWorld({row(half, "200000", "[true, false]") + ", " + row(half, "100000", "[true]") +
                     ", " + row(half, "300000", "[false, true]")});
    }
};

void Report(benchmark::State& state, const SList& list) {
    state.SetItemsProcessed(static_cast<std::int64_t>(list.numDevices) *
                            static_cast<std::int64_t>(state.iterations()));
}

void OfModule(benchmark::State& state, SList list) {
    list.MakeWorld();
    const COpenModule module;
    Producer& gentl = module.gentl;
    for (auto _ : state) {
        bool8_t changed = 0;
        Check(gentl.IFUpdateDeviceList(module.iface, &changed, 1000), "IFUpdateDeviceList");
        Require((changed != 0) == list.isChanging, "what an update tells");
    }
    std::uint32_t count = 0;
    Check(gentl.IFGetNumDevices(module.iface, &count), "IFGetNumDevices");
    Require(count == list.numDevices, "the number of devices");
    Report(state, list);
}

void Describe(Optivo::ICamInterface& camera, Optivo::UInt32 index) {
    std::array<char, kNameCapacity> name;
    Optivo::Size size = name.size();
    Check(camera.GetDeviceName(index, name.data(), &size), "GetDeviceName");
    Optivo::ICamDevice* device = nullptr;
    Check(camera.GetDevice(name.data(), &device), "GetDevice");
    for (const Optivo::DeviceInfoKey key : kTextKeys) {
        std::array<char, kInfoCapacity> text;
        size = text.size();
        Check(device->GetInfo(key, text.data(), &size), "GetInfo");
    }
    Optivo::UInt32 status = 0;
    size = sizeof status;
    Check(device->GetInfo(Optivo::kDeviceStatus, &status, &size), "GetInfo");
    Check(device->Close(), "Close");
}

void OfLibrary(benchmark::State& state, SList list) {
    list.MakeWorld();
    COpenLibrary library;
    for (auto _ : state) {
        Optivo::UInt32 count = 0;
        Check(library.Interface().UpdateDeviceList(&count, 1000), "UpdateDeviceList");
        Require(count == list.numDevices, "the number of devices");
        for (Optivo::UInt32 index = 0; index < count; ++index) {
            Describe(library.Interface(), index);
        }
    }
    Report(state, list);
}

constexpr std::size_t kNumInterfaces = 4;
constexpr Optivo::UInt32 kNumDevicesEach = 25;

void MakeInterfaces() {
    std::vector<std::string> interfaces;
    for (std::size_t i = 1; i <= kNumInterfaces; ++i) {
        interfaces.push_back(R"({"count": )" + std::to_string(kNumDevicesEach) +
                             R"(, "serialNumber": ")" + std::to_string(100'000 * i) + R"("})");
    }
    MakeWorld(interfaces);
}

void OpenInterface(Producer& gentl, TL_HANDLE system, std::uint32_t index) {
    std::array<char, kNameCapacity> name{};
    std::size_t size = name.size();
    Check(gentl.TLGetInterfaceID(system, index, name.data(), &size), "TLGetInterfaceID");
    IF_HANDLE iface = nullptr;
    Check(gentl.TLOpenInterface(system, name.data(), &iface), "TLOpenInterface");
    Check(gentl.IFUpdateDeviceList(iface, nullptr, 1000), "IFUpdateDeviceList");
    std::vector<DEV_HANDLE> devices(kNumDevicesEach);
    for (std::uint32_t i = 0; i < kNumDevicesEach; ++i) {
        size = name.size();
        Check(gentl.IFGetDeviceID(iface, i, name.data(), &size), "IFGetDeviceID");
        Check(gentl.IFOpenDevice(iface, name.data(), DEVICE_ACCESS_CONTROL, &devices[i]),
              "IFOpenDevice");
    }
    for (DEV_HANDLE device : devices) {
        Check(gentl.DevClose(device), "DevClose");
    }
    Check(gentl.IFClose(iface), "IFClose");
}

void OpenAllOfModule(benchmark::State& state) {
    MakeInterfaces();
    const COpenModule module;
    Check(module.gentl.IFClose(module.iface), "IFClose");
    for (auto _ : state) {
        for (std::uint32_t i = 0; i < kNumInterfaces; ++i) {
            OpenInterface(module.gentl, module.system, i);
        }
    }
}

void OpenAllOfLibrary(benchmark::State& state) {
    MakeInterfaces();
    COpenLibrary library;
    for (auto _ : state) {
        for (std::size_t i = 0; i < kNumInterfaces; ++i) {
            const auto camera = library.OpenInterface(i);
            Optivo::UInt32 count = 0;
            Check(camera->UpdateDeviceList(&count, 1000), "UpdateDeviceList");
            Require(count == kNumDevicesEach, "the number of devices");
            std::vector<ObjectPtr<Optivo::ICamDevice>> devices;
            for (Optivo::UInt32 index = 0; index < count; ++index) {
                Describe(*camera, index);
                std::array<char, kNameCapacity> name{};
                Optivo::Size size = name.size();
                Check(camera->GetDeviceName(index, name.data(), &size), "GetDeviceName");
                Optivo::ICamDevice* device = nullptr;
                Check(camera->OpenDevice(name.data(), &device), "OpenDevice");
                devices.emplace_back(device);
            }
        }
    }
}

} // namespace

void RegisterLists(const SEffort& /*effort*/) {
    benchmark::RegisterBenchmark("open_all/module", OpenAllOfModule)->UseRealTime();
    benchmark::RegisterBenchmark("open_all/floor", OpenAllOfLibrary)->UseRealTime();
    for (const bool isChanging : {false, true}) {
        for (const unsigned numDevices : {100U, 1000U, 10000U}) {
            const std::string name = std::string(isChanging ? "changed_list_" : "same_list_") +
                                     std::to_string(numDevices);
            const SList list{numDevices, isChanging};
            benchmark::RegisterBenchmark((name + "/module").c_str(), OfModule, list)
                ->UseRealTime()
                ->Unit(benchmark::kMicrosecond);
            benchmark::RegisterBenchmark((name + "/floor").c_str(), OfLibrary, list)
                ->UseRealTime()
                ->Unit(benchmark::kMicrosecond);
        }
    }
}
