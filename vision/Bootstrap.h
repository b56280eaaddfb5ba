// Texts of a GigE Vision camera that discovery leaves out, read from the registers that every such
// camera has, without taking control of it. Knows neither Aravis nor the cameras that are open.
#pragma once

#include <string>

namespace OptivoVision {

struct SBootstrap {
    std::string version;
    std::string userName;
};

// Empty texts where the camera at that address does not answer within a fraction of a second, or
// refuses.
SBootstrap ReadBootstrap(const std::string& address);

} // namespace OptivoVision
