// The device object: an open camera, or one that is only described.
#pragma once

#include "Camera.h"
#include "Transport.h"

#include <atomic>
#include <memory>

namespace OptivoVision {

class CDevice final : public Optivo::ICamDevice {
public:
    // A null camera makes one that is only described.
    CDevice(CTransport& transport, SFound found, std::shared_ptr<CCamera> camera);

    void Unused1() override {}
    Int32 GetNumDataStreams(UInt32* count) override;
    void Unused3() override {}
    void Unused4() override {}
    Int32 OpenDataStream(UInt32 index, Optivo::ICamStream** stream) override;
    Int32 WritePort(UInt64 address, const void* source, Size* size) override;
    Int32 ReadPort(UInt64 address, void* destination, Size* size) override;
    void Unused8() override {}
    void Unused9() override {}
    Int32 GetInfo(UInt32 key, void* buffer, Size* size) override;
    // Succeeds, but Aravis tells of no events.
    Int32 RegisterEventCallback(Optivo::DeviceEventCallback callback, void* context) override;
    Int32 Close() override;

private:
    CTransport& m_transport;
    const SFound m_found;
    const std::shared_ptr<CCamera> m_camera;
    // Whether the one stream is open; outlives the device with it.
    const std::shared_ptr<std::atomic<bool>> m_isStreamOpen;
};

} // namespace OptivoVision
