#include "world/InterfaceDescription.h"

namespace OptivoSim {

std::string_view InterfaceXml() {
    return {reinterpret_cast<const char*>(kInterfaceXml), kInterfaceXmlSize};
}

} // namespace OptivoSim
