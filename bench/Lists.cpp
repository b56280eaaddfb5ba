// Updates of the device list. The limit is a loop of the calls of the camera library that an update
// cannot do without.
#include "Figures.h"
#include "Subjects.h"
#include "camlib/CameraObjects.h"

#include <array>

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
            ::MakeWorld(row(numDevices, "100000", "[true]"));
            return;
        }
        const unsigned half = numDevices / 2;
        ::MakeWorld(row(half, "200000", "[true, false]") + ", " + row(half, "100000", "[true]") +
                    ", " + row(half, "300000", "[false, true]"));
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

} // namespace

void RegisterLists(const SEffort& /*effort*/) {
    for (const bool isChanging : {false, true}) {
        for (const unsigned numDevices : {100U, 1000U, 10000U}) {
            const std::string name = std::string(isChanging ? "changed_list_" : "same_list_") +
                                     std::to_string(numDevices);
            const SList list{numDevices, isChanging};
            benchmark::RegisterBenchmark((name + "/module").c_str(), OfModule, list)
                ->UseRealTime()
                ->Unit(benchmark::kMicrosecond);
            benchmark::RegisterBenchmark((name + "/limit").c_str(), OfLibrary, list)
                ->UseRealTime()
                ->Unit(benchmark::kMicrosecond);
        }
    }
}
