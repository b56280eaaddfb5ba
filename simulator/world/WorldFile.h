// Reads the text that describes a world: which interfaces, cameras and faults there are. Knows
// nothing of the objects that are made of them, nor of where the text comes from.
#pragma once

#include "calls/Faults.h"
#include "camera/CameraModel.h"
#include "world/JsonTree.h"

#include <string>
#include <string_view>
#include <vector>

namespace OptivoSim {

// Whether the 1st, 2nd, ... update of a list finds something; repeats itself. Empty is always.
using Discovery = std::vector<bool>;

struct SCameraPlan {
    SCameraModel model;
    Discovery discovery;
};

struct SInterfacePlan {
    std::string name;
    std::string prefix;
    std::string tlType;
    Discovery discovery;
    std::vector<SCameraPlan> cameras;
};

struct SWorldPlan {
    std::vector<SInterfacePlan> interfaces;
    std::vector<SFaultPlan> faults;
};

// False, with the error, for a text that describes no world. Takes any bytes, and never throws.
bool ParseWorld(std::string_view text, SWorldPlan& plan, STextError& error) noexcept;

} // namespace OptivoSim
