#include "Events.h"
#include "Objects.h"

namespace Maker {
namespace {

CPool<CSystem, MAKER_SYSTEMS> g_systems;

Int32 FindInterface(const char* name, Optivo::ICamInterface** found) {
    if (name == nullptr || found == nullptr) {
        return kInvalidParameter;
    }
    *found = nullptr;
    CAdapter* const adapter = FindAdapter(name);
    if (adapter == nullptr) {
        return kInvalidId;
    }
    *found = CInterface::HandOut(*adapter);
    return kSuccess;
}

} // namespace

Int32 CSystem::UpdateInterfaceList(UInt32* count, UInt32) {
    return Perform(*this, MAKER_SYSTEM_UPDATE_INTERFACE_LIST, 0, [&](CGuard&) {
        *count = kNumAdapters;
        return kSuccess;
    });
}

Int32 CSystem::GetInterfaceName(UInt32 index, char* buffer, Size* size) {
    return Perform(*this, MAKER_SYSTEM_GET_INTERFACE_NAME, index, [&](CGuard&) {
        return index < kNumAdapters ? CopyText(Adapter(index).Name(), buffer, size)
                                    : kInvalidParameter;
    });
}

Int32 CSystem::GetInterface(const char* name, Optivo::ICamInterface** interface_) {
    return Perform(*this, MAKER_SYSTEM_GET_INTERFACE, 0,
                   [&](CGuard&) { return FindInterface(name, interface_); });
}

Int32 CSystem::OpenInterface(const char* name, Optivo::ICamInterface** interface_) {
    return Perform(*this, MAKER_SYSTEM_OPEN_INTERFACE, 0,
                   [&](CGuard&) { return FindInterface(name, interface_); });
}

Int32 CSystem::Close() {
    const Int32 result = Perform(*this, MAKER_SYSTEM_CLOSE, 0, [&](CGuard&) {
        g_systems.TakeBack(this);
        return kSuccess;
    });
    if (result == kSuccess) {
        CloseEvents();
    }
    return result;
}

} // namespace Maker

using namespace Maker;

Int32 GetSystem(Optivo::ICamSystem** system) {
    const CLocal local;
    Int32 result = kSuccess;
    if (IsSpoilt(MAKER_GET_SYSTEM, 0, &result)) {
        return result;
    }
    if (system == nullptr) {
        return kInvalidParameter;
    }
    OpenEvents();
    const CGuard guard;
    *system = g_systems.HandOut();
    return kSuccess;
}
