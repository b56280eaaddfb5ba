// The stream object: the acquisitions of one camera, one after the other.
#pragma once

#include "Acquisition.h"

#include <atomic>
#include <memory>
#include <mutex>

namespace OptivoVision {

class CStream final : public Optivo::ICamStream {
public:
    // place is let go of when the stream is closed.
    CStream(std::shared_ptr<CCamera> camera, std::shared_ptr<void> place);

    void Unused1() override {}
    Int32 StartAcquisition(UInt32 reserved, UInt32 count) override;
    Int32 StopAcquisition(UInt32 reserved) override;
    Int32 GrabImage(void* destination, UInt32 timeout) override;
    Int32 SetStreamParameter(UInt32 command, UInt32* value, Size* size) override;
    Int32 GetStreamInfo(UInt32 command, void* value, Size* size) override;
    Int32 Close() override;

private:
    std::shared_ptr<CAcquisition> Current();
    Int32 PayloadSize(void* value, Size* size);

    const std::shared_ptr<CCamera> m_camera;
    const std::shared_ptr<void> m_place;
    std::atomic<UInt32> m_waitTime{1000}; // in milliseconds
    std::mutex m_control;                 // of start and stop
    std::mutex m_lock;
    std::shared_ptr<CAcquisition> m_current; // stopped or not; null before the first start
};

} // namespace OptivoVision
