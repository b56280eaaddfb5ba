// What all objects share: the two ways to cameras. Made by the first use and never destroyed: a
// consumer's threads may run until the process is gone.
#pragma once

#include "Transport.h"

#include <array>
#include <string_view>

namespace OptivoVision {

// In the order of the list of interfaces.
const std::array<CTransport*, 2>& Transports();
// By name or ID; null when there is none.
CTransport* FindTransport(std::string_view name);

} // namespace OptivoVision
