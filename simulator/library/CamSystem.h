// The system object of the library: finds and opens interfaces. Knows nothing of cameras.
#pragma once

#include "base/Sync.h"
#include "library/Handle.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace OptivoSim {

using namespace OptivoBase;

// The interfaces that a system object's last update found.
class CSystemContents {
public:
    UInt32 Update();
    Int32 GetName(UInt32 index, char* buffer, Size* size) const;
    void Close() {}
    // None that a fault could name.
    const char* ObjectName() const { return nullptr; }

private:
    mutable CMutex m_lock;
    std::vector<std::string> m_names;
};

class CCamSystem final : public Optivo::ICamSystem {
public:
    void Open(std::shared_ptr<CSystemContents> contents) { m_handle.Open(std::move(contents)); }
    bool IsOpen() const { return m_handle.IsOpen(); }

    void Unused1() override {}
    Int32 UpdateInterfaceList(UInt32* count, UInt32 timeout) override;
    Int32 GetInterfaceName(UInt32 index, char* buffer, Size* size) override;
    Int32 GetInterface(const char* name, Optivo::ICamInterface** interface_) override;
    Int32 OpenInterface(const char* name, Optivo::ICamInterface** interface_) override;
    void Unused6() override {}
    void Unused7() override {}
    Int32 Close() override;

private:
    Int32 HandOutInterface(OptivoOperation operation, const char* name,
                           Optivo::ICamInterface** interface_, bool describesOnly);

    CHandle<CSystemContents> m_handle;
};

} // namespace OptivoSim
