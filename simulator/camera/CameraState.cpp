#include "camera/CameraState.h"

#include "camera/CameraDescription.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <vector>

namespace OptivoSim {

namespace {

constexpr UInt32 kMinWidth = 4;
constexpr UInt32 kWidthStep = 4;
constexpr UInt32 kMinHeight = 2;
constexpr UInt32 kHeightStep = 2;
constexpr UInt32 kMaxBinning = 4;
constexpr UInt32 kMaxFrameCount = 65535;
constexpr UInt32 kMaxGain = 240;
constexpr double kMinFrameRate = 0.01;
constexpr double kMinExposureTime = 10;
constexpr double kMaxExposureTime = 1000000;
constexpr double kNominalExposureTime = 10000;
constexpr std::int32_t kTemperature = 425;

UInt32 WidthMax(const SCameraState& state) {
    return state.sensorWidth / state.settings.binningX;
}

UInt32 HeightMax(const SCameraState& state) {
    return state.sensorHeight / state.settings.binningY;
}

// What a sensor of this extent can be divided by.
UInt32 MaxBinning(UInt32 sensorExtent, UInt32 minExtent) {
    return std::clamp(sensorExtent / minExtent, UInt32{1}, kMaxBinning);
}

// After a change of the binning: the image still fits, in whole increments.
void FitExtent(UInt32& extent, UInt32& offset, UInt32 most, UInt32 step) {
    extent = std::min(extent, most);
    if (extent > step) {
        extent -= extent % step;
    }
    offset = std::min(offset, (most - extent) / step * step);
}

using Bits = std::uint64_t;

// A register: what it shows, and how a new value is taken. A null write is read-only.
struct SFeature {
    UInt64 address;
    Size size;
    Bits (*read)(const SCameraState& state);
    bool (*write)(SCameraState& state, Bits bits) = nullptr; // false: outside the limits
    bool affectsPayload = false;
};

bool Take(UInt32& target, Bits value, UInt32 least, UInt32 most, UInt32 step = 1) {
    if (value < least || value > most || (value - least) % step != 0) {
        return false;
    }
    target = static_cast<UInt32>(value);
    return true;
}

bool TakeFlag(UInt32& target, Bits value) {
    return Take(target, value, 0, 1);
}

bool Take(double& target, Bits bits, double least, double most) {
    const auto value = std::bit_cast<double>(bits);
    if (!(value >= least && value <= most)) {
        return false;
    }
    target = value;
    return true;
}

using State = SCameraState;

const SFeature kFeatures[] = {
    {CameraAddress::kTemperature, 4,
     [](const State&) { return Bits{static_cast<std::uint32_t>(kTemperature)}; }},
    {CameraAddress::kSensorWidth, 4, [](const State& s) { return Bits{s.sensorWidth}; }},
    {CameraAddress::kSensorHeight, 4, [](const State& s) { return Bits{s.sensorHeight}; }},
    {CameraAddress::kWidthMax, 4, [](const State& s) { return Bits{WidthMax(s)}; }},
    {CameraAddress::kHeightMax, 4, [](const State& s) { return Bits{HeightMax(s)}; }},
    {CameraAddress::kWidth, 4, [](const State& s) { return Bits{s.settings.format.width}; },
     [](State& s, Bits bits) {
         return Take(s.settings.format.width, bits, kMinWidth, WidthMax(s) - s.settings.offsetX,
                     kWidthStep);
     },
     true},
    {CameraAddress::kHeight, 4, [](const State& s) { return Bits{s.settings.format.height}; },
     [](State& s, Bits bits) {
         return Take(s.settings.format.height, bits, kMinHeight, HeightMax(s) - s.settings.offsetY,
                     kHeightStep);
     },
     true},
    {CameraAddress::kPixelFormat, 4,
     [](const State& s) { return Bits{static_cast<UInt32>(s.settings.format.pixelFormat)}; },
     [](State& s, Bits bits) {
         for (const EPixelFormat format : {EPixelFormat::Mono8, EPixelFormat::Mono16,
                                           EPixelFormat::BayerRG8, EPixelFormat::RGB8}) {
             if (bits == static_cast<UInt32>(format)) {
                 s.settings.format.pixelFormat = format;
                 return true;
             }
         }
         return false;
     },
     true},
    {CameraAddress::kPayloadSize, 8,
     [](const State& s) { return Bits{s.settings.format.PayloadSize()}; }},
    {CameraAddress::kOffsetX, 4, [](const State& s) { return Bits{s.settings.offsetX}; },
     [](State& s, Bits bits) {
         return Take(s.settings.offsetX, bits, 0, WidthMax(s) - s.settings.format.width,
                     kWidthStep);
     },
     true},
    {CameraAddress::kOffsetY, 4, [](const State& s) { return Bits{s.settings.offsetY}; },
     [](State& s, Bits bits) {
         return Take(s.settings.offsetY, bits, 0, HeightMax(s) - s.settings.format.height,
                     kHeightStep);
     },
     true},
    {CameraAddress::kBinningHorizontal, 4, [](const State& s) { return Bits{s.settings.binningX}; },
     [](State& s, Bits bits) {
         if (!Take(s.settings.binningX, bits, 1, MaxBinning(s.sensorWidth, kMinWidth))) {
             return false;
         }
         FitExtent(s.settings.format.width, s.settings.offsetX, WidthMax(s), kWidthStep);
         return true;
     },
     true},
    {CameraAddress::kBinningVertical, 4, [](const State& s) { return Bits{s.settings.binningY}; },
     [](State& s, Bits bits) {
         if (!Take(s.settings.binningY, bits, 1, MaxBinning(s.sensorHeight, kMinHeight))) {
             return false;
         }
         FitExtent(s.settings.format.height, s.settings.offsetY, HeightMax(s), kHeightStep);
         return true;
     },
     true},
    {CameraAddress::kTestPattern, 4,
     [](const State& s) { return Bits{static_cast<UInt32>(s.settings.pattern)}; },
     [](State& s, Bits bits) {
         if (bits > static_cast<UInt32>(ETestPattern::ColorBar)) {
             return false;
         }
         s.settings.pattern = static_cast<ETestPattern>(bits);
         return true;
     }},
    {CameraAddress::kFrameRate, 8,
     [](const State& s) { return std::bit_cast<Bits>(s.settings.frameRate); },
     [](State& s, Bits bits) {
         return Take(s.settings.frameRate, bits, kMinFrameRate, kMaxFrameRate);
     }},
    {CameraAddress::kFrameRateEnable, 4,
     [](const State& s) { return Bits{s.settings.isRateEnabled}; },
     [](State& s, Bits bits) { return TakeFlag(s.settings.isRateEnabled, bits); }},
    {CameraAddress::kAcquisitionMode, 4,
     [](const State& s) { return Bits{s.settings.acquisitionMode}; },
     [](State& s, Bits bits) {
         return Take(s.settings.acquisitionMode, bits, 0,
                     static_cast<UInt32>(EAcquisitionMode::MultiFrame));
     }},
    {CameraAddress::kAcquisitionFrameCount, 4,
     [](const State& s) { return Bits{s.settings.acquisitionFrameCount}; },
     [](State& s, Bits bits) {
         return Take(s.settings.acquisitionFrameCount, bits, 1, kMaxFrameCount);
     }},
    {CameraAddress::kExposureTime, 8,
     [](const State& s) { return std::bit_cast<Bits>(s.settings.exposureTime); },
     [](State& s, Bits bits) {
         return Take(s.settings.exposureTime, bits, kMinExposureTime, kMaxExposureTime);
     }},
    {CameraAddress::kGain, 4, [](const State& s) { return Bits{s.settings.gain}; },
     [](State& s, Bits bits) { return Take(s.settings.gain, bits, 0, kMaxGain); }},
    {CameraAddress::kTriggerSelector, 4, [](const State& s) { return Bits{s.triggerSelector}; },
     [](State& s, Bits bits) { return Take(s.triggerSelector, bits, 0, kNumTriggers - 1); }},
    {CameraAddress::kEventSelector, 4, [](const State& s) { return Bits{s.eventSelector}; },
     [](State& s, Bits bits) { return Take(s.eventSelector, bits, 0, kNumEvents - 1); }},
    {CameraAddress::kTimestampLatchValue, 8,
     [](const State& s) { return Bits{s.latchedNanoseconds}; }},
    {CameraAddress::kUserSetSelector, 4, [](const State& s) { return Bits{s.userSetSelector}; },
     [](State& s, Bits bits) { return Take(s.userSetSelector, bits, 0, kNumUserSets - 1); }},
    {CameraAddress::kTLParamsLocked, 4, [](const State& s) { return Bits{s.isLocked}; },
     [](State& s, Bits bits) { return TakeFlag(s.isLocked, bits); }},
};

// The registers that exist once for each trigger or event.
template <UInt32 trigger>
void AddTrigger(std::vector<SFeature>& features) {
    constexpr UInt64 kOffset = trigger * CameraAddress::kTriggerStride;
    features.push_back(
        {CameraAddress::kTriggerMode + kOffset, 4,
         [](const State& s) { return Bits{s.settings.triggers[trigger].isOn}; },
         [](State& s, Bits bits) { return TakeFlag(s.settings.triggers[trigger].isOn, bits); }});
    features.push_back({CameraAddress::kTriggerSource + kOffset, 4,
                        [](const State& s) { return Bits{s.settings.triggers[trigger].source}; },
                        [](State& s, Bits bits) {
                            return Take(s.settings.triggers[trigger].source, bits, 0,
                                        static_cast<UInt32>(ETriggerSource::Line0));
                        }});
    features.push_back(
        {CameraAddress::kTriggerActivation + kOffset, 4,
         [](const State& s) { return Bits{s.settings.triggers[trigger].activation}; },
         [](State& s, Bits bits) {
             return Take(s.settings.triggers[trigger].activation, bits, 0,
                         static_cast<UInt32>(ETriggerActivation::AnyEdge));
         }});
}

template <UInt32 event>
void AddEvent(std::vector<SFeature>& features) {
    using namespace CameraAddress;
    features.push_back(
        {kEventNotification + event * kEventNotificationStride, 4,
         [](const State& s) { return Bits{s.settings.isEventOn[event]}; },
         [](State& s, Bits bits) { return TakeFlag(s.settings.isEventOn[event], bits); }});
    features.push_back({kEventFrameId + event * kEventDataStride, 8,
                        [](const State& s) { return Bits{s.events[event].number}; }});
    features.push_back({kEventTimestamp + event * kEventDataStride, 8,
                        [](const State& s) { return Bits{s.events[event].nanoseconds}; }});
}

std::vector<SFeature> AllFeatures() {
    std::vector<SFeature> features(std::begin(kFeatures), std::end(kFeatures));
    AddTrigger<kTriggerAcquisitionStart>(features);
    AddTrigger<kTriggerFrameStart>(features);
    AddEvent<kEventFrameStart>(features);
    AddEvent<kEventExposureEnd>(features);
    std::sort(features.begin(), features.end(),
              [](const SFeature& a, const SFeature& b) { return a.address < b.address; });
    return features;
}

// The register that holds this address, or null.
const SFeature* Find(UInt64 address) {
    // Never destroyed, as a consumer's threads may still ask when the process ends.
    static const auto& features = *new std::vector<SFeature>(AllFeatures());
    const auto next =
        std::upper_bound(features.begin(), features.end(), address,
                         [](UInt64 a, const SFeature& feature) { return a < feature.address; });
    if (next == features.begin()) {
        return nullptr;
    }
    const SFeature& feature = *std::prev(next);
    return address - feature.address < feature.size ? &feature : nullptr;
}

} // namespace

SPicture SCameraSettings::ToPicture() const {
    const double amplification = std::pow(10.0, gain / 10.0 / 20.0);
    return {format,
            offsetX,
            offsetY,
            binningX,
            binningY,
            pattern,
            amplification * exposureTime / kNominalExposureTime};
}

void SCameraState::SetSensor(UInt32 width, UInt32 height) {
    sensorWidth = width;
    sensorHeight = height;
    const auto fill = [&](SCameraSettings& set) {
        set.format.width = width;
        set.format.height = height;
        set.offsetX = set.offsetY = 0;
        set.binningX = set.binningY = 1;
    };
    fill(settings);
    for (SCameraSettings& set : userSets) {
        fill(set);
    }
}

Int32 SCameraState::SaveUserSet() {
    if (userSetSelector == kUserSetDefault) {
        return kAccessDenied;
    }
    userSets[userSetSelector] = settings;
    return kSuccess;
}

Int32 ReadFeature(const SCameraState& state, UInt64 address, void* destination, Size size) {
    const SFeature* const feature = Find(address);
    if (feature == nullptr) {
        return kInvalidAddress;
    }
    const UInt64 offset = address - feature->address;
    if (size > feature->size - offset) {
        return kInvalidAddress;
    }
    const Bits bits = feature->read(state) >> (8 * offset);
    std::memcpy(destination, &bits, size);
    return kSuccess;
}

Int32 WriteFeature(SCameraState& state, UInt64 address, const void* source, Size size,
                   bool isFixed) {
    const SFeature* const feature = Find(address);
    if (feature == nullptr) {
        return kInvalidAddress;
    }
    if (size > feature->size - (address - feature->address)) {
        return kInvalidAddress;
    }
    if (feature->write == nullptr || (feature->affectsPayload && isFixed)) {
        return kAccessDenied;
    }
    if (address != feature->address || size != feature->size) {
        return kInvalidParameter;
    }
    Bits bits = 0;
    std::memcpy(&bits, source, size);
    return feature->write(state, bits) ? kSuccess : kInvalidParameter;
}

} // namespace OptivoSim
