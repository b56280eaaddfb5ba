#include "System.h"

#include "Interface.h"
#include "Library.h"
#include "base/CopyOut.h"

#include <memory>

namespace OptivoVision {

Int32 CSystem::UpdateInterfaceList(UInt32* count, UInt32 /*timeout*/) {
    if (count == nullptr) {
        return kInvalidParameter;
    }
    *count = static_cast<UInt32>(Transports().size());
    return kSuccess;
}

Int32 CSystem::GetInterfaceName(UInt32 index, char* buffer, Size* size) {
    return Fenced([&] {
        return index < Transports().size()
                   ? OptivoBase::CopyText(Transports()[index]->Name(), buffer, size)
                   : kInvalidParameter;
    });
}

Int32 CSystem::GetInterface(const char* name, Optivo::ICamInterface** interface_) {
    return OpenInterface(name, interface_);
}

Int32 CSystem::OpenInterface(const char* name, Optivo::ICamInterface** interface_) {
    return Fenced([&] {
        if (name == nullptr || interface_ == nullptr) {
            return kInvalidParameter;
        }
        *interface_ = nullptr;
        CTransport* const transport = FindTransport(name);
        if (transport == nullptr) {
            return kInvalidId;
        }
        *interface_ = new CInterface(*transport);
        return kSuccess;
    });
}

Int32 CSystem::Close() {
    return Fenced([this] {
        const std::unique_ptr<CSystem> self(this);
        for (CTransport* transport : Transports()) {
            transport->Rest();
        }
        return kSuccess;
    });
}

} // namespace OptivoVision
