#include "library/CamSystem.h"

#include "base/CopyOut.h"
#include "library/CamInterface.h"
#include "library/Pool.h"

#include "camlib/GenICamBase.h"

namespace OptivoSim {

using namespace OptivoBase;

UInt32 CSystemContents::Update() {
    std::vector<std::string> names = CLibrary::Get().World().Discover();
    const std::lock_guard lock(m_lock);
    m_names = std::move(names);
    return static_cast<UInt32>(m_names.size());
}

Int32 CSystemContents::GetName(UInt32 index, char* buffer, Size* size) const {
    const std::lock_guard lock(m_lock);
    return index < m_names.size() ? CopyText(m_names[index], buffer, size) : kInvalidParameter;
}

Int32 CCamSystem::UpdateInterfaceList(UInt32* count, UInt32 timeout) {
    return m_handle.Perform(
        {.operation = OPTIVO_SYSTEM_UPDATE_INTERFACE_LIST, .argument = timeout, .count = count},
        [&](CSystemContents& contents) {
            if (count == nullptr) {
                return kInvalidParameter;
            }
            *count = contents.Update();
            return kSuccess;
        });
}

Int32 CCamSystem::GetInterfaceName(UInt32 index, char* buffer, Size* size) {
    return m_handle.Perform(
        {.operation = OPTIVO_SYSTEM_GET_INTERFACE_NAME,
         .selector = index,
         .argument = size != nullptr ? *size : 0,
         .buffer = buffer,
         .size = size},
        [&](CSystemContents& contents) { return contents.GetName(index, buffer, size); });
}

Int32 CCamSystem::GetInterface(const char* name, Optivo::ICamInterface** interface_) {
    return HandOutInterface(OPTIVO_SYSTEM_GET_INTERFACE, name, interface_, true);
}

Int32 CCamSystem::OpenInterface(const char* name, Optivo::ICamInterface** interface_) {
    return HandOutInterface(OPTIVO_SYSTEM_OPEN_INTERFACE, name, interface_, false);
}

Int32 CCamSystem::HandOutInterface(OptivoOperation operation, const char* name,
                                   Optivo::ICamInterface** interface_, bool describesOnly) {
    return m_handle.Perform(
        {.operation = operation, .text = name},
        [&](CSystemContents&) {
            if (name == nullptr || interface_ == nullptr) {
                return kInvalidParameter;
            }
            *interface_ = nullptr;
            const CWorld& world = CLibrary::Get().World();
            auto adapter = world.FindInterface(name);
            if (adapter == nullptr) {
                adapter = world.FindInterfaceById(name);
            }
            if (adapter == nullptr) {
                return kInvalidId;
            }
            *interface_ = CPool<CCamInterface>::Get().HandOut(
                std::make_shared<CInterfaceContents>(std::move(adapter), describesOnly));
            return kSuccess;
        },
        [&] {
            if (interface_ != nullptr) {
                *interface_ = nullptr;
            }
        });
}

Int32 CCamSystem::Close() {
    return m_handle.Close(OPTIVO_SYSTEM_CLOSE, CPool<CCamSystem>::Get());
}

} // namespace OptivoSim

extern "C" OPTIVO_API Optivo::Int32 GetSystem(Optivo::ICamSystem** system) {
    using namespace OptivoSim;
    return PerformCall(
        {.operation = OPTIVO_GET_SYSTEM},
        [&] {
            if (system == nullptr) {
                return kInvalidParameter;
            }
            if (!CLibrary::Get().HasWorld()) {
                *system = nullptr;
                return kInvalidParameter;
            }
            *system = CPool<CCamSystem>::Get().HandOut(std::make_shared<CSystemContents>());
            return kSuccess;
        },
        [&] {
            if (system != nullptr) {
                *system = nullptr;
            }
        });
}
