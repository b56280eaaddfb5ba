// The Device modules.
#include "Closing.h"
#include "Commands.h"
#include "First.h"
#include "Info.h"

#include <string_view>

using namespace Standard;

namespace {

// use gets the Device module.
template <class Use>
GC_ERROR WithDevice(DEV_HANDLE handle, Use&& use) {
    return Answer([&]() -> GC_ERROR {
        auto* device = CModules::Find<SDevice>(handle);
        return device == nullptr ? RefuseHandle() : use(*device);
    });
}

GC_ERROR CountStreams(const SDevice& device, uint32_t& count) {
    const GC_ERROR code = First().DevGetNumDataStreams(device.first, &count);
    return code == GC_ERR_SUCCESS
               ? code
               : RefuseAsFirst(code, GC_ERR_ERROR, "The streams cannot be counted");
}

std::string IdOfStream(uint32_t index) {
    return "DS" + std::to_string(index);
}

} // namespace

GC_API DevGetPort(DEV_HANDLE hDevice, PORT_HANDLE* phRemoteDevice) {
    return WithDevice(hDevice, [&](const SDevice& device) -> GC_ERROR {
        if (phRemoteDevice == nullptr) {
            return RefuseNull();
        }
        *phRemoteDevice = device.port.load();
        return GC_ERR_SUCCESS;
    });
}

GC_API DevGetNumDataStreams(DEV_HANDLE hDevice, uint32_t* piNumDataStreams) {
    return WithDevice(hDevice, [&](const SDevice& device) {
        return piNumDataStreams == nullptr ? RefuseNull() : CountStreams(device, *piNumDataStreams);
    });
}

GC_API DevGetDataStreamID(DEV_HANDLE hDevice, uint32_t iIndex, char* sDataStreamID,
                          size_t* piSize) {
    return WithDevice(hDevice, [&](const SDevice& device) {
        if (piSize == nullptr) {
            return RefuseNull();
        }
        uint32_t count = 0;
        const GC_ERROR code = CountStreams(device, count);
        if (code != GC_ERR_SUCCESS) {
            return code;
        }
        return iIndex < count ? GiveText({nullptr, sDataStreamID, piSize}, IdOfStream(iIndex))
                              : Refuse(GC_ERR_INVALID_INDEX, "There are not so many streams");
    });
}

GC_API DevOpenDataStream(DEV_HANDLE hDevice, const char* sDataStreamID, DS_HANDLE* phDataStream) {
    return WithDevice(hDevice, [&](SDevice& device) -> GC_ERROR {
        if (sDataStreamID == nullptr || phDataStream == nullptr) {
            return RefuseNull();
        }
        uint32_t count = 0;
        GC_ERROR code = CountStreams(device, count);
        if (code != GC_ERR_SUCCESS) {
            return code;
        }
        uint32_t index = 0;
        while (index < count && IdOfStream(index) != sDataStreamID) {
            ++index;
        }
        if (index == count) {
            return Refuse(GC_ERR_INVALID_ID, "No stream of this camera has this ID");
        }
        DS_HANDLE first = nullptr;
        code = First().DevOpenDataStream(device.first, sDataStreamID, &first);
        if (code != GC_ERR_SUCCESS) {
            return RefuseAsFirst(code, GC_ERR_ERROR, "The stream does not open");
        }
        SStream* const stream = CModules::Instance().AdoptOnce<SStream>(
            first, &device, [](SStream& it) { it.Reset(); },
            [first](const SStream& open) { return open.first == first; }, First().DSClose);
        if (stream == nullptr) {
            return Refuse(GC_ERR_RESOURCE_IN_USE, "The stream is open already");
        }
        *phDataStream = stream;
        return code;
    });
}

GC_API DevGetInfo(DEV_HANDLE hDevice, DEVICE_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                  void* pBuffer, size_t* piSize) {
    return WithDevice(hDevice, [&](const SDevice& device) {
        const SOut out{piType, pBuffer, piSize};
        if (iInfoCmd == DEVICE_INFO_ACCESS_STATUS) {
            return GiveNumber(out, INFO_DATATYPE_INT32, DEVICE_ACCESS_STATUS_OPEN_READWRITE);
        }
        if (iInfoCmd == DEVICE_INFO_TIMESTAMP_FREQUENCY) {
            return GiveTimestampFrequency(out);
        }
        if (const auto text = device.description.Find(iInfoCmd)) {
            return GiveText(out, *text);
        }
        return GiveFirst(out, kDeviceCommands, iInfoCmd, [&](auto... answer) {
            return First().DevGetInfo(device.first, iInfoCmd, answer...);
        });
    });
}

GC_API DevClose(DEV_HANDLE hDevice) {
    return WithDevice(hDevice, [](SDevice& device) { return CloseDevice(device, device.parent); });
}

GC_API DevGetParentIF(DEV_HANDLE hDevice, IF_HANDLE* phIface) {
    return WithDevice(hDevice, [&](const SDevice& device) -> GC_ERROR {
        if (phIface == nullptr) {
            return RefuseNull();
        }
        *phIface = device.parent.load();
        return GC_ERR_SUCCESS;
    });
}
