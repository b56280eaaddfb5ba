// The Interface modules and their cameras.
#include "Closing.h"
#include "Commands.h"
#include "First.h"
#include "Info.h"

#include <optional>
#include <string>
#include <utility>

using namespace Standard;

namespace {

constexpr uint64_t kUpdateMilliseconds = 1000;

// use gets the Interface module.
template <class Use>
GC_ERROR WithInterface(IF_HANDLE handle, Use&& use) {
    return Answer([&]() -> GC_ERROR {
        auto* interface_ = CModules::Find<SInterface>(handle);
        return interface_ == nullptr ? RefuseHandle() : use(*interface_);
    });
}

// The same, while no other call is in it.
template <class Use>
GC_ERROR WithInterfaceAlone(IF_HANDLE handle, Use&& use) {
    return Answer([&]() -> GC_ERROR {
        const auto [interface_, lock] = CModules::FindAlone<SInterface>(handle);
        return interface_ == nullptr ? RefuseHandle() : use(*interface_);
    });
}

// A text of a camera by any form of its ID; none when it is not listed.
std::optional<std::string> TextOf(const SInterface& interface_, const char* id,
                                  DEVICE_INFO_CMD command) {
    SValue text;
    const GC_ERROR code = text.Ask([&](auto... answer) {
        return First().IFGetDeviceInfo(interface_.first, id, command, answer...);
    });
    return code == GC_ERR_SUCCESS ? std::optional(std::string(text.Text())) : std::nullopt;
}

// The texts that are empty while the camera is open.
CDescription::Texts Describe(const SInterface& interface_, const char* id) {
    CDescription::Texts texts;
    for (const DEVICE_INFO_CMD command :
         {DEVICE_INFO_CMD{DEVICE_INFO_USER_DEFINED_NAME}, DEVICE_INFO_CMD{DEVICE_INFO_VERSION},
          1000, 1002, 1003, 1004}) {
        if (auto text = TextOf(interface_, id, command)) {
            texts.emplace(command, std::move(*text));
        }
    }
    return texts;
}

// The camera as it was opened through this interface; null when it is not open.
const SDevice* OpenDevice(const SInterface& interface_, const std::string& id) {
    return CModules::Instance().FindChild<SDevice>(
        &interface_, [&id](const SDevice& device) { return device.id == id; });
}

GC_ERROR GiveAccessStatus(const SOut& out, const SInterface& interface_, const char* id) {
    SValue status;
    const GC_ERROR code = status.Ask([&](auto... answer) {
        return First().IFGetDeviceInfo(interface_.first, id, DEVICE_INFO_ACCESS_STATUS, answer...);
    });
    return code == GC_ERR_SUCCESS
               ? GiveNumber(out, INFO_DATATYPE_INT32, status.Number())
               : GiveNumber(out, INFO_DATATYPE_INT32, DEVICE_ACCESS_STATUS_UNKNOWN);
}

GC_ERROR Update(const SInterface& interface_, bool8_t* hasChanged, uint64_t timeout) {
    const GC_ERROR code = First().IFUpdateDeviceList(interface_.first, hasChanged, timeout);
    return code == GC_ERR_SUCCESS
               ? code
               : RefuseAsFirst(code, GC_ERR_ERROR, "The list of cameras cannot be updated");
}

} // namespace

GC_API IFClose(IF_HANDLE hIface) {
    return WithInterface(hIface, [](SInterface& interface_) {
        auto& system = static_cast<SSystem&>(*interface_.parent);
        const std::lock_guard<std::mutex> lock(system.oneCall); // its list of interfaces changes
        return CloseInterface(interface_, &system);
    });
}

GC_API IFGetInfo(IF_HANDLE hIface, INTERFACE_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                 void* pBuffer, size_t* piSize) {
    return WithInterfaceAlone(hIface, [&](const SInterface& interface_) {
        return GiveFirst({piType, pBuffer, piSize}, kInterfaceCommands, iInfoCmd,
                         [&](auto... answer) {
                             return First().IFGetInfo(interface_.first, iInfoCmd, answer...);
                         });
    });
}

GC_API IFGetNumDevices(IF_HANDLE hIface, uint32_t* piNumDevices) {
    return WithInterfaceAlone(hIface, [&](const SInterface& interface_) {
        if (piNumDevices == nullptr) {
            return RefuseNull();
        }
        const GC_ERROR code = First().IFGetNumDevices(interface_.first, piNumDevices);
        return code == GC_ERR_SUCCESS
                   ? code
                   : RefuseAsFirst(code, GC_ERR_ERROR, "The cameras cannot be counted");
    });
}

GC_API IFGetDeviceID(IF_HANDLE hIface, uint32_t iIndex, char* sIDeviceID, size_t* piSize) {
    return WithInterfaceAlone(hIface, [&](const SInterface& interface_) {
        if (piSize == nullptr) {
            return RefuseNull();
        }
        SValue id;
        const GC_ERROR code = id.Ask([&](INFO_DATATYPE*, void* buffer, size_t* size) {
            return First().IFGetDeviceID(interface_.first, iIndex, static_cast<char*>(buffer),
                                         size);
        });
        return code == GC_ERR_SUCCESS
                   ? GiveText({nullptr, sIDeviceID, piSize}, id.Text())
                   : Refuse(GC_ERR_INVALID_INDEX, "There are not so many cameras");
    });
}

GC_API IFUpdateDeviceList(IF_HANDLE hIface, bool8_t* pbChanged, uint64_t iTimeout) {
    return WithInterfaceAlone(hIface, [&](SInterface& interface_) {
        bool8_t hasChanged = 0;
        const GC_ERROR code = Update(interface_, &hasChanged, iTimeout);
        if (code == GC_ERR_SUCCESS) {
            const bool hadChanged = std::exchange(interface_.hasUntoldChange, false);
            if (pbChanged != nullptr) {
                *pbChanged = hadChanged ? 1 : hasChanged;
            }
        }
        return code;
    });
}

GC_API IFGetDeviceInfo(IF_HANDLE hIface, const char* sDeviceID, DEVICE_INFO_CMD iInfoCmd,
                       INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
    return WithInterfaceAlone(hIface, [&](const SInterface& interface_) {
        const SOut out{piType, pBuffer, piSize};
        if (sDeviceID == nullptr) {
            return RefuseNull();
        }
        const auto id = TextOf(interface_, sDeviceID, DEVICE_INFO_ID);
        if (!id) {
            return Refuse(GC_ERR_INVALID_ID, "No camera of this interface has this ID");
        }
        if (const SDevice* open = OpenDevice(interface_, *id)) {
            if (const auto text = open->description.Find(iInfoCmd)) {
                return GiveText(out, *text);
            }
            if (iInfoCmd == DEVICE_INFO_ACCESS_STATUS) {
                return GiveNumber(out, INFO_DATATYPE_INT32, DEVICE_ACCESS_STATUS_OPEN_READWRITE);
            }
        }
        if (iInfoCmd == DEVICE_INFO_ACCESS_STATUS) {
            return GiveAccessStatus(out, interface_, sDeviceID);
        }
        if (iInfoCmd == DEVICE_INFO_TIMESTAMP_FREQUENCY) {
            return GiveTimestampFrequency(out);
        }
        return GiveFirst(out, kDeviceCommands, iInfoCmd, [&](auto... answer) {
            return First().IFGetDeviceInfo(interface_.first, sDeviceID, iInfoCmd, answer...);
        });
    });
}

GC_API IFOpenDevice(IF_HANDLE hIface, const char* sDeviceID, DEVICE_ACCESS_FLAGS iOpenFlag,
                    DEV_HANDLE* phDevice) {
    return WithInterfaceAlone(hIface, [&](SInterface& interface_) -> GC_ERROR {
        if (sDeviceID == nullptr || phDevice == nullptr) {
            return RefuseNull();
        }
        if (iOpenFlag < DEVICE_ACCESS_READONLY || iOpenFlag > DEVICE_ACCESS_EXCLUSIVE) {
            return Refuse(GC_ERR_INVALID_PARAMETER, "There is no such access");
        }
        auto id = TextOf(interface_, sDeviceID, DEVICE_INFO_ID);
        if (!id) {
            bool8_t hasChanged = 0;
            Update(interface_, &hasChanged, kUpdateMilliseconds);
            interface_.hasUntoldChange = interface_.hasUntoldChange || hasChanged != 0;
            id = TextOf(interface_, sDeviceID, DEVICE_INFO_ID);
        }
        auto texts = Describe(interface_, sDeviceID);
        DEV_HANDLE first = nullptr;
        const GC_ERROR code = First().IFOpenDevice(interface_.first, sDeviceID, iOpenFlag, &first);
        if (code != GC_ERR_SUCCESS) {
            return RefuseAsFirst(code, id ? GC_ERR_ACCESS_DENIED : GC_ERR_INVALID_ID,
                                 "The camera does not open");
        }
        auto& modules = CModules::Instance();
        const auto prepare = [&](SDevice& it) {
            it.id = id.value_or("");
            it.description.Set(std::move(texts));
        };
        SDevice& device = *modules.AdoptOnce<SDevice>(
            first, &interface_, prepare, [](const SDevice&) { return false; }, First().DevClose);
        try {
            PORT_HANDLE port = nullptr;
            First().DevGetPort(first, &port);
            device.port = &modules.Open<SRemotePort>(port, &device, [](SRemotePort&) {});
        } catch (...) {
            CloseDevice(device, &interface_);
            throw;
        }
        *phDevice = &device;
        return code;
    });
}

GC_API IFGetParentTL(IF_HANDLE hIface, TL_HANDLE* phSystem) {
    return WithInterface(hIface, [&](const SInterface& interface_) -> GC_ERROR {
        if (phSystem == nullptr) {
            return RefuseNull();
        }
        *phSystem = interface_.parent.load();
        return GC_ERR_SUCCESS;
    });
}
