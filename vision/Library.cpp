#include "Library.h"

#include "System.h"

namespace OptivoVision {

const std::array<CTransport*, 2>& Transports() {
    static const std::array<CTransport*, 2> s_transports = {
        new CTransport("GigEVision", "GEV", arv_gv_interface_get_instance),
        new CTransport("USB3Vision", "U3V", arv_uv_interface_get_instance)};
    return s_transports;
}

CTransport* FindTransport(std::string_view name) {
    for (CTransport* transport : Transports()) {
        if (name == transport->Name() || name == transport->Id()) {
            return transport;
        }
    }
    return nullptr;
}

} // namespace OptivoVision

#define OPTIVO_EXPORT __attribute__((visibility("default")))

extern "C" {

// For whoever finds the library in a process.
extern OPTIVO_EXPORT const char OptivoLibraryKind[];
extern OPTIVO_EXPORT const char OptivoLibraryVersion[];

const char OptivoLibraryKind[] = "vision";
const char OptivoLibraryVersion[] = OPTIVO_LIBRARY_VERSION;

OPTIVO_EXPORT Optivo::Int32 GetSystem(Optivo::ICamSystem** system) {
    return OptivoVision::Fenced([&]() -> Optivo::Int32 {
        if (system == nullptr) {
            return OptivoVision::kInvalidParameter;
        }
        *system = nullptr;
        *system = new OptivoVision::CSystem;
        return OptivoVision::kSuccess;
    });
}

} // extern "C"
