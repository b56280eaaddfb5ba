// The settings of a camera, the rules between them, and what its numeric registers show of them.
// Knows nothing of streams, images or threads.
#pragma once

#include "base/ResultCodes.h"
#include "camera/TestPattern.h"

#include <array>
#include <cstdint>

namespace OptivoSim {

using namespace OptivoBase;

enum class EAcquisitionMode : UInt32 { Continuous = 0, SingleFrame = 1, MultiFrame = 2 };
enum class ETriggerSource : UInt32 { Software = 0, Line0 = 1 };
enum class ETriggerActivation : UInt32 { RisingEdge = 0, FallingEdge = 1, AnyEdge = 2 };
enum ETrigger : UInt32 { kTriggerAcquisitionStart, kTriggerFrameStart, kNumTriggers };
enum EEvent : UInt32 { kEventFrameStart, kEventExposureEnd, kNumEvents };
enum EUserSet : UInt32 { kUserSetDefault, kUserSet1, kNumUserSets };

struct STrigger {
    UInt32 isOn = 0;
    UInt32 source = 0;     // an ETriggerSource
    UInt32 activation = 0; // an ETriggerActivation
};

// What a user set keeps.
struct SCameraSettings {
    SImageFormat format;
    UInt32 offsetX = 0;
    UInt32 offsetY = 0;
    UInt32 binningX = 1;
    UInt32 binningY = 1;
    ETestPattern pattern = ETestPattern::GreyDiagonalRampMoving;
    double exposureTime = 10000; // microseconds
    UInt32 gain = 0;             // tenths of a decibel
    UInt32 isRateEnabled = 1;
    double frameRate = 1;
    UInt32 acquisitionMode = 0; // an EAcquisitionMode
    UInt32 acquisitionFrameCount = 1;
    std::array<STrigger, kNumTriggers> triggers;
    std::array<UInt32, kNumEvents> isEventOn{};

    SPicture ToPicture() const;
};

struct SReportedEvent {
    std::uint64_t number = 0; // of the image
    std::uint64_t nanoseconds = 0;
};

struct SCameraState {
    UInt32 sensorWidth = 0;
    UInt32 sensorHeight = 0;
    SCameraSettings settings;
    std::array<SCameraSettings, kNumUserSets> userSets;
    UInt32 triggerSelector = kTriggerAcquisitionStart;
    UInt32 eventSelector = kEventFrameStart;
    UInt32 userSetSelector = kUserSetDefault;
    UInt32 isLocked = 0; // what the consumer wrote to TLParamsLocked
    std::uint64_t latchedNanoseconds = 0;
    std::array<SReportedEvent, kNumEvents> events;

    // A sensor of this size, all of it in the image; the user sets take it too.
    void SetSensor(UInt32 width, UInt32 height);
    // From and to the selected set.
    void LoadUserSet() { settings = userSets[userSetSelector]; }
    // \retval kAccessDenied the default set cannot be changed
    Int32 SaveUserSet();
};

// The access to the numeric registers. Both answer kInvalidAddress where there is none.
// A read may touch a piece of a register, but not reach beyond it.
Int32 ReadFeature(const SCameraState& state, UInt64 address, void* destination, Size size);
// A write takes a whole register. isFixed: what the payload depends on must stay.
// \retval kAccessDenied     the register is read-only, or locked
// \retval kInvalidParameter a piece of a register, or a value outside the limits
// \retval kInvalidAddress   the bytes reach beyond the register
Int32 WriteFeature(SCameraState& state, UInt64 address, const void* source, Size size,
                   bool isFixed);

} // namespace OptivoSim
