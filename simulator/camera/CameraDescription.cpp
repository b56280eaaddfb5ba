#include "camera/CameraDescription.h"

namespace OptivoSim {

std::string_view CameraXml() {
    return {reinterpret_cast<const char*>(kCameraXml), kCameraXmlSize};
}

} // namespace OptivoSim
