#include "Cameras.h"

namespace Cameras {

const char* const GREY_CAMERA = "Norvel-G640M-10001";
const uint32_t GREY_INDEX = 1;
const bool STARTS_AT_ONCE = true;
const char* const FIRST_INTERFACE = "GEV::eth0";

void Prepare() {
    OptivoSim_Reset();
}

void Release() {
    OptivoSim_ClearFaults();
    OptivoSim_Release();
}

bool SetFrameRate(const std::string& camera, double framesPerSecond) {
    return OptivoSim_SetFrameRate(camera.c_str(), framesPerSecond) == 1;
}

bool ProduceImages(const std::string& camera, uint64_t count) {
    return OptivoSim_ProduceImages(camera.c_str(), count) == 1;
}

bool SetImageSize(const std::string& camera, uint32_t width, uint32_t height) {
    return OptivoSim_SetImageSize(camera.c_str(), width, height) == 1;
}

uint64_t NumOpen(OptivoObjectKind kind) {
    return OptivoSim_NumAlive(kind);
}

uint64_t NumMisuses() {
    return OptivoSim_NumDoubleCloses() + OptivoSim_NumUsesAfterClose();
}

} // namespace Cameras
