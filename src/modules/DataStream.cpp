#include "modules/DataStream.h"

#include "core/Errors.h"
#include "core/InfoOut.h"
#include "core/ModuleIdentity.h"
#include "core/PortUrl.h"
#include "modules/BufferInfo.h"
#include "modules/Device.h"
#include "modules/StreamRegistry.h"

#include <boost/make_shared.hpp>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <stdexcept>
#include <utility>

namespace GenICam::Client {
namespace {

constexpr std::int32_t kStreamXmlSubMinorVersion = 8;
constexpr std::uint32_t kStreamXmlAddress = 0x200;

// Commands of this producer beside the standard ones.
enum CustomStreamInfo : STREAM_INFO_CMD {
    kCustomValue5 = 1001,
    kCustomValue6 = 1002,
    kCustomValue7 = 1003,
    kCustomValue8 = 1004
};

// The decimal number in an ID from its third character on; 0 when there is none.
std::uint32_t StreamIndexOf(const std::string& id) {
    const long long number = id.size() < 3 ? 0 : std::strtoll(id.c_str() + 2, nullptr, 10);
    return static_cast<std::uint32_t>(
        std::clamp<long long>(number, std::numeric_limits<std::int32_t>::min(),
                              std::numeric_limits<std::int32_t>::max()));
}

std::string StreamUrl(std::uint32_t xmlLength) {
    return LocalUrl("TLDataStreamRegs.xml", kStreamXmlAddress, xmlLength);
}

} // namespace

CDataStream::CDataStream(const char* id, CDevice* device)
    : m_index(StreamIndexOf(id)),
      m_device(device),
      m_id(id),
      m_newBufferEvent(boost::make_shared<CDataStreamEventNewBuffer>(this)),
      m_errorEvent(boost::make_shared<CEventError>()),
      m_remaining(kWithoutLimit) {
    const auto& camera = device->Camera();
    const Optivo::Int32 result =
        camera ? camera.Call(&Optivo::ICamDevice::OpenDataStream, m_index, m_camera.Receive())
               : GC_ERR_NOT_AVAILABLE;
    if (result < 0 || !m_camera) {
        throw std::runtime_error("Unable to open Stream");
    }
}

// The first call may come before the last handle is published.
void CDataStream::Publish() {
    try {
        m_newBufferEvent->PublishHandle();
        m_errorEvent->PublishHandle();
        PublishHandle();
        CStreamRegistry::Instance().Add(this);
    } catch (...) {
        EndUse();
        throw;
    }
}

// No call comes any more, and none is inside.
void CDataStream::EndUse() noexcept {
    RetireHandle();
    m_newBufferEvent->RetireHandle();
    m_errorEvent->RetireHandle();
    {
        const auto output = LockedSoon(m_outputLock);
        m_outputFilled.Close();
    }
    m_calls.Drain();
}

// Not before the acquisition has ended, which may keep the lock as long as the camera likes.
void CDataStream::AwaitInputCalls() {
    m_inputWaiters.Drain();
    const CInputLock last(*this);
}

CDataStream::~CDataStream() {
    const boost::this_thread::disable_interruption uninterrupted;
    EndUse();
    try {
        ReleaseAll();
    } catch (...) { // NOLINT(bugprone-empty-catch): closing reports no error
    }
    m_acquiring = false;
    JoinThread();
    LeaveDevice();
    CStreamRegistry::Instance().Remove(this);
    m_calls.Drain();
    AwaitInputCalls();
    CStreamRegistry::Instance().Keep(m_camera.Release(), m_announced);
}

// The first failure ends the release.
void CDataStream::ReleaseAll() {
    if (m_thread) {
        StopAcquisition(ACQ_STOP_FLAGS_DEFAULT);
    }
    AwaitInputCalls();
    m_camera.GiveBack();
    LeaveDevice();
    while (!m_announced.empty()) {
        RevokeBuffer(HandleOf(m_announced.front()), nullptr, nullptr);
    }
}

// The device may be gone as soon as it has forgotten the stream.
void CDataStream::LeaveDevice() {
    if (CDevice* device = std::exchange(m_device, nullptr)) {
        device->ForgetStream(this);
    }
}

void CDataStream::Close() {
    delete this;
}

COutcome CDataStream::GetPortURL(char* buffer, size_t* size) {
    return CopyOutUrl<std::invalid_argument>(StreamUrl(m_xmlLength), buffer, size);
}

COutcome CDataStream::GetPortInfo(PORT_INFO_CMD command, INFO_DATATYPE* type, void* buffer,
                                  size_t* size) {
    const CInfoOut out(type, buffer, size);
    if (command == PORT_INFO_ID) {
        return out.String(Format("DS%d", m_index) + '\0');
    }
    if (command == PORT_INFO_VERSION) {
        return out.String(ModuleVersionText());
    }
    return AnswerPortInfo(command, "TLDataStream", "StreamPort", out).value_or(COutcome());
}

COutcome CDataStream::GetPortURLInfo(std::uint32_t index, URL_INFO_CMD command, INFO_DATATYPE* type,
                                     void* buffer, size_t* size) {
    const CInfoOut out(type, buffer, size);
    return AnswerUrlInfo<std::invalid_argument>(index, command, kStreamXmlSubMinorVersion, out,
                                                [&] { return out.String(StreamUrl(m_xmlLength)); });
}

void CDataStream::RegisterEvent(EVENT_TYPE type, EVENT_HANDLE* event) {
    if (type == EVENT_ERROR) {
        Require(event, "phEvent") = HandleOf(m_errorEvent.get());
        m_errorEvent->Register();
    } else if (type == EVENT_NEW_BUFFER) {
        Require(event, "phEvent") = HandleOf(m_newBufferEvent.get());
    } else {
        IEventSrc::RegisterEvent(type, event);
    }
}

void CDataStream::UnregisterEvent(EVENT_TYPE type) {
    if (type == EVENT_ERROR) {
        m_errorEvent->Unregister();
    } else if (type != EVENT_NEW_BUFFER) {
        IEventSrc::UnregisterEvent(type);
    }
}

// The library gets a size of its own, which is the consumer's as far as that fits the value: it
// can then neither write behind the value nor change what the copy-out checks.
template <class Value>
Optivo::Int32 CDataStream::CameraValue(std::uint32_t command, const size_t* given, Value& value) {
    value = 0;
    Optivo::Size size = sizeof value;
    if (given != nullptr && *given != 0) {
        size = std::min<Optivo::Size>(size, *given);
    }
    return m_camera.Call(&Optivo::ICamStream::GetStreamInfo, command, &value, &size);
}

COutcome CDataStream::GetInfo(STREAM_INFO_CMD command, INFO_DATATYPE* type, void* buffer,
                              size_t* size) {
    const CInfoOut out(type, buffer, size);
    const auto unknown =
        Refusal<invalid_parameter_error>("Invalid stream info command %d", command);
    std::uint64_t wide = 0;
    std::uint32_t narrow = 0;
    switch (command) {
    case STREAM_INFO_ID:
        return out.String(m_id);
    case STREAM_INFO_NUM_DELIVERED:
        return out.UInt64(m_numDelivered.load(std::memory_order_relaxed));
    case STREAM_INFO_NUM_UNDERRUN:
        if (CameraValue(Optivo::kStreamNumLost, size, wide) != 0) {
            wide = 0;
        }
        return out.UInt64(wide + m_numLost.load(std::memory_order_relaxed));
    case STREAM_INFO_NUM_ANNOUNCED:
        return out.UInt32(static_cast<std::uint32_t>(NumAnnounced()));
    case STREAM_INFO_NUM_QUEUED:
        return out.UInt32(static_cast<std::uint32_t>(m_input.Size()));
    case STREAM_INFO_NUM_AWAIT_DELIVERY:
        return out.UInt32(static_cast<std::uint32_t>(m_output.Size()));
    case STREAM_INFO_NUM_STARTED:
        CameraValue(Optivo::kStreamNumStarted, size, wide);
        return out.Int64(static_cast<std::int64_t>(wide));
    case STREAM_INFO_IS_GRABBING:
        return out.Bool8(m_grabbing.load(std::memory_order_relaxed));
    case STREAM_INFO_DEFINES_PAYLOADSIZE:
        CameraValue(Optivo::kStreamPayloadSize, size, wide);
        return out.UInt64(wide);
    case STREAM_INFO_TLTYPE:
        return out.String(kTLType);
    case kCustomValue5:
        return CameraValue(Optivo::kStreamCustom5, size, wide) == 0 ? out.UInt64(wide) : unknown;
    case kCustomValue6:
        return CameraValue(Optivo::kStreamCustom6, size, wide) == 0 ? out.UInt64(wide) : unknown;
    case kCustomValue7:
        return CameraValue(Optivo::kStreamCustom7, size, narrow) == 0 ? out.UInt32(narrow)
                                                                      : unknown;
    case kCustomValue8:
        return CameraValue(Optivo::kStreamCustom8, size, narrow) == 0 ? out.UInt32(narrow)
                                                                      : unknown;
    default:
        return unknown;
    }
}

std::string CDataStream::GetID() {
    return m_id;
}

std::string CDataStream::GetDisplayName() {
    return "Stream " + m_id;
}

} // namespace GenICam::Client
