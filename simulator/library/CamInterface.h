// The interface object of the library: finds and opens the cameras of one interface, or only
// describes the interface. Knows nothing of what a camera does.
#pragma once

#include "base/Sync.h"
#include "library/Handle.h"
#include "world/Adapter.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace OptivoSim {

using namespace OptivoBase;

// The hold on an interface, with the cameras that its last update found.
class CInterfaceContents {
public:
    CInterfaceContents(std::shared_ptr<CAdapter> adapter, bool describesOnly)
        : m_adapter(std::move(adapter)), m_describesOnly(describesOnly) {}

    bool DescribesOnly() const { return m_describesOnly; }
    CAdapter& Adapter() { return *m_adapter; }
    UInt32 Update();
    Int32 GetName(UInt32 index, char* buffer, Size* size) const;
    Int32 GetDevice(const char* name, Optivo::ICamDevice** device);
    Int32 OpenDevice(const char* name, Optivo::ICamDevice** device);
    void Close() {}
    const char* ObjectName() const { return m_adapter->Name().c_str(); }

private:
    std::shared_ptr<CAdapter> m_adapter;
    bool m_describesOnly;
    mutable CMutex m_lock;
    std::vector<std::string> m_names;
};

class CCamInterface final : public Optivo::ICamInterface {
public:
    void Open(std::shared_ptr<CInterfaceContents> contents) { m_handle.Open(std::move(contents)); }
    bool IsOpen() const { return m_handle.IsOpen(); }

    void Unused1() override {}
    Int32 UpdateDeviceList(UInt32* count, UInt32 timeout) override;
    Int32 GetDeviceName(UInt32 index, char* buffer, Size* size) override;
    Int32 GetDevice(const char* name, Optivo::ICamDevice** device) override;
    Int32 OpenDevice(const char* deviceId, Optivo::ICamDevice** device) override;
    Int32 WritePort(UInt64 address, const void* source, Size* size) override;
    Int32 ReadPort(UInt64 address, void* destination, Size* size) override;
    void Unused8() override {}
    void Unused9() override {}
    Int32 Close() override;

private:
    // As the handle's Perform, but refused by an interface that is only described.
    template <typename TWork, typename TClear>
    Int32 PerformOpened(const SCallShape& call, TWork&& work, TClear&& clear);
    template <typename TWork>
    Int32 PerformOpened(const SCallShape& call, TWork&& work);

    CHandle<CInterfaceContents> m_handle;
};

} // namespace OptivoSim
