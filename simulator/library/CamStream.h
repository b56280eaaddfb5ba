// The stream object of the library: delivers the images of one camera. Knows nothing of buffers or
// queues of a consumer.
#pragma once

#include "camera/Camera.h"
#include "camera/ImageQueue.h"
#include "library/Handle.h"

#include <memory>

namespace OptivoSim {

// An open stream.
class CStreamContents {
public:
    explicit CStreamContents(std::shared_ptr<CCamera> camera);
    ~CStreamContents();
    CStreamContents(const CStreamContents&) = delete;
    CStreamContents& operator=(const CStreamContents&) = delete;

    Int32 Start(UInt32 count) { return m_camera->Start(*m_images, count); }
    CImageQueue& Images() { return *m_images; }
    Int32 GetInfo(UInt32 command, void* value, Size* size);
    void Close() { m_images->Stop(); }
    const char* ObjectName() const { return m_camera->Name().c_str(); }

private:
    std::shared_ptr<CCamera> m_camera;
    std::unique_ptr<CImageQueue> m_images;
};

class CCamStream final : public Optivo::ICamStream {
public:
    void Open(std::shared_ptr<CStreamContents> contents) { m_handle.Open(std::move(contents)); }
    bool IsOpen() const { return m_handle.IsOpen(); }

    void Unused1() override {}
    Int32 StartAcquisition(UInt32 reserved, UInt32 count) override;
    Int32 StopAcquisition(UInt32 reserved) override;
    Int32 GrabImage(void* destination, UInt32 timeout) override;
    Int32 SetStreamParameter(UInt32 command, UInt32* value, Size* size) override;
    Int32 GetStreamInfo(UInt32 command, void* value, Size* size) override;
    Int32 Close() override;

private:
    CHandle<CStreamContents> m_handle;
};

} // namespace OptivoSim
