#include "Objects.h"

namespace Maker {
namespace {

CPool<CStream, MAKER_STREAMS> g_streams;

} // namespace

CStream* CStream::HandOut(CCamera& camera) {
    CStream* const opened = g_streams.HandOut();
    opened->m_camera = &camera;
    return opened;
}

Int32 CStream::StartAcquisition(UInt32, UInt32 count) {
    return Perform(*this, MAKER_STREAM_START_ACQUISITION, 0, [&](CGuard&) {
        m_camera->Start(count);
        return kSuccess;
    });
}

Int32 CStream::StopAcquisition(UInt32) {
    return Perform(*this, MAKER_STREAM_STOP_ACQUISITION, 0, [&](CGuard&) {
        m_camera->Stop();
        return kSuccess;
    });
}

Int32 CStream::GrabImage(void* destination, UInt32 timeout) {
    return Perform(*this, MAKER_STREAM_GRAB_IMAGE, 0, [&](CGuard& guard) -> Int32 {
        if (!m_camera->WaitForImage(guard, timeout)) {
            return Optivo::kGrabNothingYet;
        }
        m_camera->TakeImage(destination);
        return Optivo::kGrabDelivered;
    });
}

Int32 CStream::SetStreamParameter(UInt32 command, UInt32* value, Size* size) {
    return Perform(*this, MAKER_STREAM_SET_STREAM_PARAMETER, command, [&](CGuard&) {
        const bool isTimeout = command == 2 && value != nullptr && size != nullptr && *size == 4;
        return isTimeout ? kSuccess : kInvalidParameter;
    });
}

Int32 CStream::GetStreamInfo(UInt32 command, void* value, Size* size) {
    return Perform(*this, MAKER_STREAM_GET_STREAM_INFO, command, [&](CGuard& guard) {
        return m_camera->GetStreamInfo(command, value, size, guard);
    });
}

Int32 CStream::Close() {
    return Perform(*this, MAKER_STREAM_CLOSE, 0, [&](CGuard&) {
        m_camera->Stop();
        g_streams.TakeBack(this);
        return kSuccess;
    });
}

} // namespace Maker
