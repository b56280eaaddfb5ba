#include "Stream.h"

#include "base/CopyOut.h"

#include <utility>

namespace OptivoVision {

using OptivoBase::CopyNumber;

CStream::CStream(std::shared_ptr<CCamera> camera, std::shared_ptr<void> place)
    : m_camera(std::move(camera)), m_place(std::move(place)) {}

std::shared_ptr<CAcquisition> CStream::Current() {
    const std::lock_guard lock(m_lock);
    return m_current;
}

// The one before ends first: its end tells the camera not to send any more.
Int32 CStream::StartAcquisition(UInt32 reserved, UInt32 count) {
    return Fenced([&] {
        if (reserved != 0) {
            return kInvalidParameter;
        }
        const std::lock_guard control(m_control);
        if (const auto before = Current()) {
            before->Stop();
            const std::lock_guard lock(m_lock);
            m_current = nullptr;
        }
        Int32 code = kSuccess;
        auto started = CAcquisition::Start(m_camera, count, code);
        const std::lock_guard lock(m_lock);
        m_current = std::move(started);
        return code;
    });
}

Int32 CStream::StopAcquisition(UInt32 /*reserved*/) {
    return Fenced([&] {
        const std::lock_guard control(m_control);
        if (const auto current = Current()) {
            current->Stop();
        }
        return kSuccess;
    });
}

Int32 CStream::GrabImage(void* destination, UInt32 timeout) {
    return Fenced([&]() -> Int32 {
        const auto current = Current();
        return current != nullptr ? current->Grab(destination, std::chrono::milliseconds(timeout))
                                  : Optivo::kGrabEnded;
    });
}

Int32 CStream::SetStreamParameter(UInt32 command, UInt32* value, Size* size) {
    if (command != Optivo::kStreamTimeout || value == nullptr || size == nullptr ||
        *size < sizeof *value) {
        return kInvalidParameter;
    }
    m_waitTime = *value;
    return kSuccess;
}

Int32 CStream::PayloadSize(void* value, Size* size) {
    UInt64 payloadSize = 0;
    if (const Int32 result = m_camera->PayloadSize(payloadSize); result != kSuccess) {
        return result;
    }
    return CopyNumber(payloadSize, value, size);
}

Int32 CStream::GetStreamInfo(UInt32 command, void* value, Size* size) {
    return Fenced([&] {
        const auto current = Current();
        if (command == Optivo::kStreamImageReady) {
            const bool isReady = current != nullptr &&
                                 current->WaitReady(std::chrono::milliseconds(m_waitTime.load()));
            return CopyNumber(UInt32{isReady}, value, size);
        }
        if (command == Optivo::kStreamPayloadSize) {
            return current != nullptr && !current->IsStopped()
                       ? CopyNumber(current->PayloadSize(), value, size)
                       : PayloadSize(value, size);
        }
        const SFigures figures = current != nullptr ? current->Figures() : SFigures{};
        switch (command) {
        case Optivo::kStreamNumStarted:
            return CopyNumber(figures.numStarted, value, size);
        case Optivo::kStreamNumLost:
            return CopyNumber(figures.numLost, value, size);
        case Optivo::kStreamCustom5:
            return CopyNumber(figures.numResentPackets, value, size);
        case Optivo::kStreamCustom6:
            return CopyNumber(figures.numMissingPackets, value, size);
        case Optivo::kStreamCustom7:
            return CopyNumber(figures.numAborted, value, size);
        case Optivo::kStreamCustom8:
            return CopyNumber(figures.packetSize, value, size);
        default:
            return kInvalidParameter;
        }
    });
}

Int32 CStream::Close() {
    delete this;
    return kSuccess;
}

} // namespace OptivoVision
