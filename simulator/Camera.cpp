#include "Camera.h"

#include "CameraXml.h"
#include "CopyOut.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>

namespace OptivoSim {

namespace {

constexpr UInt32 kMaxExtent = 16384;

// The register that shows a description text, or 0.
UInt64 RegisterOf(UInt32 key) {
    switch (key) {
    case Optivo::kDeviceVendor:
        return CameraAddress::kVendorName;
    case Optivo::kDeviceModel:
        return CameraAddress::kModelName;
    case Optivo::kDeviceVersion:
        return CameraAddress::kVersion;
    case Optivo::kDeviceSerialNumber:
        return CameraAddress::kSerialNumber;
    case Optivo::kDeviceUserDefinedName:
        return CameraAddress::kUserId;
    default:
        return 0;
    }
}

bool IsStreamValue(UInt32 command) {
    return command == Optivo::kStreamCustom5 || command == Optivo::kStreamCustom6 ||
           command == Optivo::kStreamCustom7 || command == Optivo::kStreamCustom8 ||
           command == Optivo::kStreamNumLost;
}

} // namespace

CCamera::CCamera(const CameraModel& model)
    : m_name(model.name), m_format(model.format), m_frameRate(model.frameRate) {
    const std::string xml = CameraXml(model.vendor, model.model);
    DefineRegisters(xml);
    m_texts[Optivo::kDeviceXmlUrl] =
        LocalUrl(model.vendor + "_" + model.model + ".xml", CameraAddress::kXml, xml.size());
    m_texts[Optivo::kDeviceTLType] = model.tlType;
    m_texts[Optivo::kDeviceCustom14] = model.custom14;
    m_texts[Optivo::kDeviceCustom15] = model.custom15;
    for (const UInt32 key : {Optivo::kDeviceVersion, Optivo::kDeviceVendor, Optivo::kDeviceModel,
                             Optivo::kDeviceSerialNumber, Optivo::kDeviceUserDefinedName}) {
        m_texts[key]; // known from here on
    }
    SetText(Optivo::kDeviceVersion, model.version);
    SetText(Optivo::kDeviceVendor, model.vendor);
    SetText(Optivo::kDeviceModel, model.model);
    SetText(Optivo::kDeviceSerialNumber, model.serialNumber);
    SetText(Optivo::kDeviceUserDefinedName, model.userDefinedName);
    PublishFormat();
    m_registers.SetNumber(CameraAddress::kFrameRate, m_frameRate);
}

void CCamera::DefineRegisters(const std::string& xml) {
    using namespace CameraAddress;
    for (const UInt64 address : {kVendorName, kModelName, kVersion, kSerialNumber, kUserId}) {
        m_registers.Define(address, kTextLength, EAccess::ReadOnly);
    }
    m_registers.Define(kWidth, 4, EAccess::ReadOnly);
    m_registers.Define(kHeight, 4, EAccess::ReadOnly);
    m_registers.Define(kPixelFormat, 4, EAccess::ReadOnly);
    m_registers.Define(kPayloadSize, 8, EAccess::ReadOnly);
    // WritePort takes whole writes of these three to itself; there is no other way to write them.
    m_registers.Define(kAcquisitionStart, 4, EAccess::ReadOnly);
    m_registers.Define(kAcquisitionStop, 4, EAccess::ReadOnly);
    m_registers.Define(kFrameRate, 8, EAccess::ReadOnly);
    m_registers.Define(kTLParamsLocked, 4, EAccess::ReadWrite);
    // Consumers may read the text in whole words.
    m_registers.Define(kXml, (xml.size() + 3) / 4 * 4, EAccess::ReadOnly);
    m_registers.SetBytes(kXml, xml.data(), xml.size());
}

Int32 CCamera::GetInfo(UInt32 key, void* buffer, Size* size) const {
    if (key == Optivo::kDeviceStatus) {
        return CopyNumber(m_status.load(), buffer, size);
    }
    const std::lock_guard lock(m_textLock);
    const auto text = m_texts.find(key);
    return text != m_texts.end() ? CopyText(text->second, buffer, size) : kInvalidParameter;
}

bool CCamera::SetText(UInt32 key, const std::string& text) {
    const std::lock_guard lock(m_textLock);
    const auto place = m_texts.find(key);
    if (place == m_texts.end()) {
        return false;
    }
    place->second = text;
    if (const UInt64 address = RegisterOf(key); address != 0) {
        m_registers.SetText(address, text);
    }
    return true;
}

Int32 CCamera::ReadPort(UInt64 address, void* destination, Size* size) const {
    return m_registers.Read(address, destination, size);
}

Int32 CCamera::WritePort(UInt64 address, const void* source, const Size* size) {
    if (source == nullptr || size == nullptr) {
        return kInvalidParameter;
    }
    switch (address) {
    case CameraAddress::kAcquisitionStart:
    case CameraAddress::kAcquisitionStop:
        if (*size != sizeof(UInt32)) {
            return kInvalidParameter;
        }
        // A command register stays 0: the command is done when the write returns.
        SetHalted(address == CameraAddress::kAcquisitionStop);
        return kSuccess;
    case CameraAddress::kFrameRate: {
        double rate = 0;
        if (*size != sizeof rate) {
            return kInvalidParameter;
        }
        std::memcpy(&rate, source, sizeof rate);
        return rate >= 0 && rate <= kMaxFrameRate && SetFrameRate(rate) ? kSuccess
                                                                        : kInvalidParameter;
    }
    default:
        return m_registers.Write(address, source, size);
    }
}

void CCamera::Attach(CImageQueue& queue) {
    const std::lock_guard lock(m_imageLock);
    m_queues.push_back(&queue);
}

void CCamera::Detach(CImageQueue& queue) {
    const std::lock_guard lock(m_imageLock);
    m_queues.erase(std::find(m_queues.begin(), m_queues.end(), &queue));
}

Int32 CCamera::Start(CImageQueue& queue, UInt32 count) {
    const std::lock_guard lock(m_imageLock);
    try {
        if (m_pattern == nullptr) {
            m_pattern = std::make_shared<const CTestPattern>(m_format);
        }
    } catch (const std::bad_alloc&) {
        return kError;
    }
    queue.Start(count, m_frameRate, m_pattern);
    return kSuccess;
}

bool CCamera::SetFrameRate(double rate) {
    if (!std::isfinite(rate)) {
        return false;
    }
    const std::lock_guard lock(m_imageLock);
    m_frameRate = rate;
    m_registers.SetNumber(CameraAddress::kFrameRate, rate);
    for (CImageQueue* queue : m_queues) {
        queue->SetRate(rate);
    }
    return true;
}

void CCamera::Produce(std::uint64_t count) {
    const std::lock_guard lock(m_imageLock);
    for (CImageQueue* queue : m_queues) {
        queue->Produce(count);
    }
}

void CCamera::SetHalted(bool isHalted) {
    const std::lock_guard lock(m_imageLock);
    for (CImageQueue* queue : m_queues) {
        queue->SetHalted(isHalted);
    }
}

bool CCamera::SetImageSize(UInt32 width, UInt32 height) {
    const std::lock_guard lock(m_imageLock);
    const bool isStarted = std::any_of(m_queues.begin(), m_queues.end(),
                                       [](auto* queue) { return queue->IsStarted(); });
    if (isStarted || width == 0 || height == 0 || width > kMaxExtent || height > kMaxExtent) {
        return false;
    }
    m_format.width = width;
    m_format.height = height;
    m_pattern = nullptr;
    PublishFormat();
    return true;
}

std::uint64_t CCamera::PayloadSize() const {
    const std::lock_guard lock(m_imageLock);
    return m_format.PayloadSize();
}

void CCamera::PublishFormat() {
    m_registers.SetNumber(CameraAddress::kWidth, m_format.width);
    m_registers.SetNumber(CameraAddress::kHeight, m_format.height);
    m_registers.SetNumber(CameraAddress::kPixelFormat, m_format.pixelFormat);
    m_registers.SetNumber(CameraAddress::kPayloadSize, std::uint64_t{m_format.PayloadSize()});
}

bool CCamera::SetStreamValue(UInt32 command, std::uint64_t value) {
    if (!IsStreamValue(command)) {
        return false;
    }
    m_streamValues[command] = value;
    return true;
}

std::uint64_t CCamera::StreamValue(UInt32 command) const {
    return m_streamValues[command];
}

} // namespace OptivoSim
