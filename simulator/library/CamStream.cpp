#include "library/CamStream.h"

#include "base/CopyOut.h"
#include "library/Pool.h"

#include <cstdint>
#include <utility>

namespace OptivoSim {

using namespace OptivoBase;

namespace {

constexpr UInt32 kSetTimeout = 2; // the only stream parameter

} // namespace

CStreamContents::CStreamContents(std::shared_ptr<CCamera> camera)
    : m_camera(std::move(camera)), m_images(m_camera->Attach()) {}

CStreamContents::~CStreamContents() {
    m_camera->Detach(*m_images);
}

Int32 CStreamContents::GetInfo(UInt32 command, void* value, Size* size) {
    switch (command) {
    case Optivo::kStreamImageReady:
        return CopyNumber(UInt32{m_images->WaitReady()}, value, size);
    case Optivo::kStreamNumStarted:
        return CopyNumber(m_images->NumStarted(), value, size);
    case Optivo::kStreamPayloadSize:
        return CopyNumber(m_camera->PayloadSize(), value, size);
    case Optivo::kStreamNumLost:
        return CopyNumber(m_images->NumLost() + m_camera->StreamValue(command), value, size);
    case Optivo::kStreamCustom5:
    case Optivo::kStreamCustom6:
        return CopyNumber(m_camera->StreamValue(command), value, size);
    case Optivo::kStreamCustom7:
    case Optivo::kStreamCustom8:
        return CopyNumber(static_cast<UInt32>(m_camera->StreamValue(command)), value, size);
    default:
        return kInvalidParameter;
    }
}

Int32 CCamStream::StartAcquisition(UInt32 reserved, UInt32 count) {
    return m_handle.Perform({.operation = OPTIVO_STREAM_START_ACQUISITION, .argument = count},
                            [&](CStreamContents& stream) {
                                return reserved == 0 ? stream.Start(count) : kInvalidParameter;
                            });
}

Int32 CCamStream::StopAcquisition(UInt32 reserved) {
    return m_handle.Perform({.operation = OPTIVO_STREAM_STOP_ACQUISITION, .argument = reserved},
                            [](CStreamContents& stream) {
                                stream.Images().Stop();
                                return kSuccess;
                            });
}

Int32 CCamStream::GrabImage(void* destination, UInt32 timeout) {
    return m_handle.Perform({.operation = OPTIVO_STREAM_GRAB_IMAGE,
                             .selector = reinterpret_cast<std::uintptr_t>(destination),
                             .argument = timeout},
                            [&](CStreamContents& stream) {
                                const Int32 result = stream.Images().Grab(destination, timeout);
                                if (result == Optivo::kGrabDelivered) {
                                    CLibrary::Get().TellGrabObserver();
                                }
                                return result;
                            });
}

Int32 CCamStream::SetStreamParameter(UInt32 command, UInt32* value, Size* size) {
    return m_handle.Perform({.operation = OPTIVO_STREAM_SET_STREAM_PARAMETER,
                             .selector = command,
                             .argument = value != nullptr ? *value : 0,
                             .size = size},
                            [&](CStreamContents&) {
                                // Taken note of alone: a grab names its own time-out.
                                const bool isValid = command == kSetTimeout && value != nullptr &&
                                                     size != nullptr && *size == sizeof *value;
                                return isValid ? kSuccess : kInvalidParameter;
                            });
}

Int32 CCamStream::GetStreamInfo(UInt32 command, void* value, Size* size) {
    return m_handle.Perform(
        {.operation = OPTIVO_STREAM_GET_STREAM_INFO,
         .selector = command,
         .argument = size != nullptr ? *size : 0,
         .buffer = value,
         .size = size},
        [&](CStreamContents& stream) { return stream.GetInfo(command, value, size); });
}

Int32 CCamStream::Close() {
    return m_handle.Close(OPTIVO_STREAM_CLOSE, CPool<CCamStream>::Get());
}

} // namespace OptivoSim
