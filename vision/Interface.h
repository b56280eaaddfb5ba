// The interface object: lists and opens the cameras of one transport, and answers the interface's
// registers.
#pragma once

#include "Transport.h"
#include "base/Registers.h"

#include <memory>
#include <mutex>

namespace OptivoVision {

class CInterface final : public Optivo::ICamInterface {
public:
    explicit CInterface(CTransport& transport);

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
    std::shared_ptr<const FoundList> List();

    CTransport& m_transport;
    OptivoBase::CRegisters m_registers;
    std::mutex m_lock;
    std::shared_ptr<const FoundList> m_list; // that the last update found
};

} // namespace OptivoVision
