// A loaded world as a consumer of the camera library meets it: what must be told of it, and what
// is. Either is a line for each answer, in the same order.
#pragma once

#include "world/WorldFile.h"

#include <string>
#include <vector>

using Lines = std::vector<std::string>;

// How many updates of every list are looked at.
inline constexpr std::size_t NUM_UPDATES = 3;

inline std::string Told(const std::string& who, const std::string& what, const std::string& value) {
    return who + ": " + what + ": " + value;
}

inline std::string Told(const std::string& who, const std::string& what, std::uint64_t value) {
    return Told(who, what, std::to_string(value));
}

std::string Exactly(double value);

Lines Expected(const OptivoSim::SWorldPlan& plan);
// Takes the names alone from the plan, as what is not listed can be opened too.
Lines Found(const OptivoSim::SWorldPlan& plan);
