// The device object of the library: an opened camera, or one that is only described. Knows nothing
// of how it was found.
#pragma once

#include "camera/Camera.h"
#include "library/Handle.h"

#include <memory>
#include <utility>

namespace OptivoSim {

// The hold on a camera. One that does not describe only must have acquired the camera, and releases
// it when it is closed.
class CDeviceContents {
public:
    CDeviceContents(std::shared_ptr<CCamera> camera, bool describesOnly)
        : m_camera(std::move(camera)),
          m_connection(m_camera->Connection()),
          m_describesOnly(describesOnly) {}

    bool DescribesOnly() const { return m_describesOnly; }
    // False for good once the camera has been unplugged.
    bool IsConnected() const { return m_camera->IsConnected(m_connection); }
    CCamera& Camera() { return *m_camera; }
    Int32 OpenStream(Optivo::ICamStream** stream);
    void Close();
    const char* ObjectName() const { return m_camera->Name().c_str(); }

private:
    std::shared_ptr<CCamera> m_camera;
    unsigned m_connection;
    bool m_describesOnly;
};

class CCamDevice final : public Optivo::ICamDevice {
public:
    void Open(std::shared_ptr<CDeviceContents> contents) { m_handle.Open(std::move(contents)); }
    bool IsOpen() const { return m_handle.IsOpen(); }

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
    Int32 RegisterEventCallback(Optivo::DeviceEventCallback callback, void* context) override;
    Int32 Close() override;

private:
    // As the handle's Perform, but refused by a device that is only described.
    template <typename TWork, typename TClear>
    Int32 PerformOpened(const SCallShape& call, TWork&& work, TClear&& clear);
    template <typename TWork>
    Int32 PerformOpened(const SCallShape& call, TWork&& work);

    CHandle<CDeviceContents> m_handle;
};

} // namespace OptivoSim
