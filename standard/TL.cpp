// The System module and its interfaces.
#include "Closing.h"
#include "Commands.h"
#include "First.h"
#include "Info.h"

#include <string>

using namespace Standard;

namespace {

// use gets the System module.
template <class Use>
GC_ERROR WithSystem(TL_HANDLE handle, Use&& use) {
    return Answer([&]() -> GC_ERROR {
        auto* system = CModules::Find<SSystem>(handle);
        return system == nullptr ? RefuseHandle() : use(*system);
    });
}

// The same, while no other call is in it.
template <class Use>
GC_ERROR WithSystemAlone(TL_HANDLE handle, Use&& use) {
    return Answer([&]() -> GC_ERROR {
        const auto [system, lock] = CModules::FindAlone<SSystem>(handle);
        return system == nullptr ? RefuseHandle() : use(*system);
    });
}

// The ID by which the first module lists the interface; empty when it lists none.
std::string ListedId(const SSystem& system, const char* id) {
    SValue listed;
    const GC_ERROR code = listed.Ask([&](auto... answer) {
        return First().TLGetInterfaceInfo(system.first, id, INTERFACE_INFO_ID, answer...);
    });
    return code == GC_ERR_SUCCESS ? std::string(listed.Text()) : std::string();
}

} // namespace

GC_API TLOpen(TL_HANDLE* phSystem) {
    return Answer([&]() -> GC_ERROR {
        if (phSystem == nullptr) {
            return RefuseNull();
        }
        TL_HANDLE first = nullptr;
        const GC_ERROR code = First().TLOpen(&first);
        if (code != GC_ERR_SUCCESS) {
            return RefuseAsFirst(code, GC_ERR_ERROR, "The System module does not open");
        }
        SSystem* const system = CModules::Instance().AdoptOnce<SSystem>(
            first, nullptr, [](SSystem&) {}, [](const SSystem&) { return true; }, First().TLClose);
        if (system == nullptr) {
            First().TLClose(first);
            return Refuse(GC_ERR_RESOURCE_IN_USE, "The System module is open already");
        }
        *phSystem = system;
        return code;
    });
}

GC_API TLClose(TL_HANDLE hSystem) {
    return WithSystem(hSystem, [](SSystem& system) { return CloseSystem(system); });
}

GC_API TLGetInfo(TL_HANDLE hSystem, TL_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                 size_t* piSize) {
    return WithSystem(hSystem, [&](SSystem&) {
        return GiveLibraryInfo({piType, pBuffer, piSize}, iInfoCmd);
    });
}

GC_API TLGetNumInterfaces(TL_HANDLE hSystem, uint32_t* piNumIfaces) {
    return WithSystemAlone(hSystem, [&](SSystem& system) {
        if (piNumIfaces == nullptr) {
            return RefuseNull();
        }
        const GC_ERROR code = First().TLGetNumInterfaces(system.first, piNumIfaces);
        return code == GC_ERR_SUCCESS
                   ? code
                   : RefuseAsFirst(code, GC_ERR_ERROR, "The interfaces cannot be counted");
    });
}

GC_API TLGetInterfaceID(TL_HANDLE hSystem, uint32_t iIndex, char* sIfaceID, size_t* piSize) {
    return WithSystemAlone(hSystem, [&](SSystem& system) {
        if (piSize == nullptr) {
            return RefuseNull();
        }
        SValue id;
        const GC_ERROR code = id.Ask([&](INFO_DATATYPE*, void* buffer, size_t* size) {
            return First().TLGetInterfaceID(system.first, iIndex, static_cast<char*>(buffer), size);
        });
        return code == GC_ERR_SUCCESS
                   ? GiveText({nullptr, sIfaceID, piSize}, id.Text())
                   : Refuse(GC_ERR_INVALID_INDEX, "There are not so many interfaces");
    });
}

GC_API TLGetInterfaceInfo(TL_HANDLE hSystem, const char* sIfaceID, INTERFACE_INFO_CMD iInfoCmd,
                          INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
    return WithSystemAlone(hSystem, [&](SSystem& system) {
        if (sIfaceID == nullptr) {
            return RefuseNull();
        }
        if (ListedId(system, sIfaceID).empty()) {
            return Refuse(GC_ERR_INVALID_ID, "No interface has this ID");
        }
        return GiveFirst(
            {piType, pBuffer, piSize}, kInterfaceCommands, iInfoCmd, [&](auto... answer) {
                return First().TLGetInterfaceInfo(system.first, sIfaceID, iInfoCmd, answer...);
            });
    });
}

GC_API TLOpenInterface(TL_HANDLE hSystem, const char* sIfaceID, IF_HANDLE* phIface) {
    return WithSystemAlone(hSystem, [&](SSystem& system) -> GC_ERROR {
        if (sIfaceID == nullptr || phIface == nullptr) {
            return RefuseNull();
        }
        IF_HANDLE first = nullptr;
        const GC_ERROR code = First().TLOpenInterface(system.first, sIfaceID, &first);
        if (code != GC_ERR_SUCCESS) {
            const bool isListed = !ListedId(system, sIfaceID).empty();
            return RefuseAsFirst(code, isListed ? GC_ERR_ERROR : GC_ERR_INVALID_ID,
                                 "The interface does not open");
        }
        SInterface* const opened = CModules::Instance().AdoptOnce<SInterface>(
            first, &system, [](SInterface& it) { it.hasUntoldChange = false; },
            [first](const SInterface& open) { return open.first == first; }, First().IFClose);
        if (opened == nullptr) {
            return Refuse(GC_ERR_RESOURCE_IN_USE, "The interface is open already");
        }
        *phIface = opened;
        return code;
    });
}

GC_API TLUpdateInterfaceList(TL_HANDLE hSystem, bool8_t* pbChanged, uint64_t iTimeout) {
    return WithSystemAlone(hSystem, [&](SSystem& system) {
        bool8_t hasChanged = 0; // the first module tells only of changes
        const GC_ERROR code = First().TLUpdateInterfaceList(system.first, &hasChanged, iTimeout);
        if (code != GC_ERR_SUCCESS) {
            return RefuseAsFirst(code, GC_ERR_ERROR, "The list of interfaces cannot be updated");
        }
        if (pbChanged != nullptr) {
            *pbChanged = hasChanged;
        }
        return code;
    });
}
