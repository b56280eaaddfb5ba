#include "Interface.h"

#include "Description.h"
#include "Device.h"
#include "base/CopyOut.h"

#include <algorithm>

namespace OptivoVision {

using OptivoBase::CopyText;

CInterface::CInterface(CTransport& transport)
    : m_transport(transport), m_list(std::make_shared<const FoundList>()) {
    using namespace InterfaceAddress;
    m_registers.Define(kInterfaceId, kInterfaceIdLength, OptivoBase::EAccess::ReadOnly);
    m_registers.Define(kDeviceCount, sizeof(UInt32), OptivoBase::EAccess::ReadOnly);
    // Consumers may read the text in whole words.
    m_registers.DefineShared(kXml, kInterfaceXml, (kInterfaceXmlSize + 3) / 4 * 4);
    m_registers.SetText(kInterfaceId, transport.Name());
}

std::shared_ptr<const FoundList> CInterface::List() {
    const std::lock_guard lock(m_lock);
    return m_list;
}

Int32 CInterface::UpdateDeviceList(UInt32* count, UInt32 timeout) {
    return Fenced([&] {
        if (count == nullptr) {
            return kInvalidParameter;
        }
        *count = 0;
        const auto list = m_transport.Update(std::chrono::milliseconds(timeout));
        *count = static_cast<UInt32>(list->size());
        const std::lock_guard lock(m_lock);
        m_list = list;
        m_registers.SetNumber(InterfaceAddress::kDeviceCount, *count);
        return kSuccess;
    });
}

Int32 CInterface::GetDeviceName(UInt32 index, char* buffer, Size* size) {
    return Fenced([&] {
        const auto list = List();
        return index < list->size() ? CopyText((*list)[index].name, buffer, size)
                                    : kInvalidParameter;
    });
}

Int32 CInterface::GetDevice(const char* name, Optivo::ICamDevice** device) {
    return Fenced([&] {
        if (name == nullptr || device == nullptr) {
            return kInvalidParameter;
        }
        *device = nullptr;
        const auto list = List();
        const auto found = std::find_if(list->begin(), list->end(),
                                        [&](const SFound& known) { return known.name == name; });
        if (found == list->end()) {
            return kInvalidId;
        }
        *device = new CDevice(m_transport, *found, nullptr);
        return kSuccess;
    });
}

Int32 CInterface::OpenDevice(const char* deviceId, Optivo::ICamDevice** device) {
    return Fenced([&] {
        if (deviceId == nullptr || device == nullptr) {
            return kInvalidParameter;
        }
        *device = nullptr;
        SFound found;
        found.name = deviceId;
        for (const SFound& known : *m_transport.Newest()) {
            if (known.name == deviceId) {
                found = known;
            }
        }
        std::shared_ptr<CCamera> camera;
        const Int32 result = m_transport.Open(found.name, camera);
        if (result == kSuccess) {
            *device = new CDevice(m_transport, found, camera);
        }
        return result;
    });
}

Int32 CInterface::WritePort(UInt64 address, const void* source, Size* size) {
    return Fenced([&] { return m_registers.Write(address, source, size); });
}

Int32 CInterface::ReadPort(UInt64 address, void* destination, Size* size) {
    return Fenced([&] {
        switch (address) {
        case Optivo::kInterfacePrefix:
        case Optivo::kInterfaceTLType:
            return CopyText(m_transport.Type(), destination, size);
        case Optivo::kInterfaceXmlUrl:
            return CopyText(
                OptivoBase::LocalUrl("Interface.xml", InterfaceAddress::kXml, kInterfaceXmlSize),
                destination, size);
        default:
            return m_registers.Read(address, destination, size);
        }
    });
}

Int32 CInterface::Close() {
    delete this;
    return kSuccess;
}

} // namespace OptivoVision
