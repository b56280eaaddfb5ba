#include "camera/Camera.h"

#include "base/CopyOut.h"
#include "camera/CameraDescription.h"
#include "camera/EventThread.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>

namespace OptivoSim {

using namespace OptivoBase;

namespace {

constexpr UInt32 kMaxExtent = 16384;
constexpr std::uint64_t kUnbounded = std::numeric_limits<std::uint64_t>::max();
constexpr std::array<UInt32, kNumEvents> kEventIds = {0x9001, 0x9002};

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

bool IsCommand(UInt64 address) {
    using namespace CameraAddress;
    return address == kAcquisitionStart || address == kAcquisitionStop ||
           address == kTriggerSoftware || address == kTriggerSoftware + kTriggerStride ||
           address == kTimestampLatch || address == kUserSetLoad || address == kUserSetSave;
}

SCameraState StateOf(const SCameraModel& model) {
    SCameraState state;
    state.settings.format = model.format;
    state.settings.pattern = model.pattern;
    state.settings.isRateEnabled = model.frameRate > 0 ? 1 : 0;
    if (model.frameRate > 0) {
        state.settings.frameRate = model.frameRate;
    }
    state.userSets.fill(state.settings);
    state.SetSensor(model.format.width, model.format.height);
    return state;
}

} // namespace

CCamera::CCamera(const SCameraModel& model)
    : m_name(model.name),
      m_epoch(CImageQueue::Clock::now()),
      m_status(model.status),
      m_numStreams(model.numStreams),
      m_bursts(model.eventBursts),
      m_unplugAfter(model.unplugAfterImages),
      m_plugAfter(model.plugAfterUpdates),
      m_state(StateOf(model)) {
    DefineRegisters(model);
    for (const OptivoImageFault& fault : model.imageFaults) {
        m_imageFaults.Add(fault);
    }
    Apply(m_state.settings.ToPicture());
}

void CCamera::DefineRegisters(const SCameraModel& model) {
    using namespace CameraAddress;
    for (const UInt64 address : {kVendorName, kModelName, kVersion, kSerialNumber}) {
        m_registers.Define(address, kTextLength, EAccess::ReadOnly);
    }
    m_registers.Define(kUserId, kTextLength, EAccess::ReadWrite);
    m_registers.Define(kDeviceId, kTextLength, EAccess::ReadOnly);
    m_registers.Define(kUserMemory, kUserMemoryLength, EAccess::ReadWrite);
    const std::string_view xml = CameraXml();
    // Consumers may read the text in whole words.
    m_registers.DefineShared(kXml, xml.data(), (xml.size() + 3) / 4 * 4);
    m_registers.SetText(kDeviceId, m_name);

    m_texts = {{Optivo::kDeviceXmlUrl, LocalUrl("Norvel_Camera.xml", kXml, xml.size())},
               {Optivo::kDeviceTLType, model.tlType},
               {Optivo::kDeviceCustom14, model.custom14},
               {Optivo::kDeviceCustom15, model.custom15}};
    const std::pair<UInt32, const std::string&> shown[] = {
        {Optivo::kDeviceVersion, model.version},
        {Optivo::kDeviceVendor, model.vendor},
        {Optivo::kDeviceModel, model.model},
        {Optivo::kDeviceSerialNumber, model.serialNumber},
        {Optivo::kDeviceUserDefinedName, model.userDefinedName}};
    for (const auto& [key, text] : shown) {
        m_texts[key]; // known from here on
        SetText(key, text);
    }
}

void CCamera::Release(unsigned connection) {
    const std::lock_guard lock(m_lock);
    if (connection == m_connection) {
        GiveUp();
    }
}

void CCamera::GiveUp() {
    m_state.isLocked = 0;
    m_isOwned = false;
}

void CCamera::Unplug() {
    const std::lock_guard lock(m_lock);
    m_isPlugged = false;
    m_numMissed = 0;
    ++m_connection;
    for (CImageQueue* queue : m_queues) {
        queue->End();
    }
    GiveUp();
}

bool CCamera::IsPluggedAtUpdate() {
    if (!m_isPlugged && m_plugAfter != 0 && m_numMissed++ == m_plugAfter) {
        Plug();
    }
    return m_isPlugged;
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

Int32 CCamera::ReadPort(UInt64 address, void* destination, const Size* size) const {
    if (destination == nullptr || size == nullptr) {
        return kInvalidParameter;
    }
    if (IsCommand(address) && *size <= sizeof(UInt32)) {
        // A command is done when its write returns.
        std::memset(destination, 0, *size);
        return kSuccess;
    }
    {
        const std::lock_guard lock(m_lock);
        const Int32 result = ReadFeature(m_state, address, destination, *size);
        if (result != kInvalidAddress) {
            return result;
        }
    }
    return m_registers.Read(address, destination, size);
}

Int32 CCamera::WritePort(UInt64 address, const void* source, const Size* size) {
    if (source == nullptr || size == nullptr) {
        return kInvalidParameter;
    }
    if (IsCommand(address) && *size <= sizeof(UInt32)) {
        return *size == sizeof(UInt32) ? Execute(address) : kInvalidParameter;
    }
    if (const UInt64 offset = address - CameraAddress::kUserId; offset < kTextLength) {
        return WriteUserId(offset, source, *size);
    }
    const Int32 result = Change(address, source, *size);
    return result == kInvalidAddress ? m_registers.Write(address, source, size) : result;
}

// Takes a text that begins the register, as far as it leaves room for the terminating zero.
Int32 CCamera::WriteUserId(UInt64 offset, const void* source, Size size) {
    if (size > kTextLength - offset) {
        return kInvalidAddress;
    }
    if (offset != 0) {
        return kInvalidParameter;
    }
    const auto* const text = static_cast<const char*>(source);
    const auto* const end = text + std::min(size, kTextLength - 1);
    SetText(Optivo::kDeviceUserDefinedName, std::string(text, std::find(text, end, '\0')));
    return kSuccess;
}

Int32 CCamera::Change(UInt64 address, const void* source, Size size) {
    const std::lock_guard lock(m_lock);
    const SPicture before = m_state.settings.ToPicture();
    const bool isFixed = m_state.isLocked != 0 || IsStarted();
    const Int32 result = WriteFeature(m_state, address, source, size, isFixed);
    if (result == kSuccess) {
        Apply(before);
    }
    return result;
}

Int32 CCamera::Execute(UInt64 command) {
    const std::lock_guard lock(m_lock);
    switch (command) {
    case CameraAddress::kAcquisitionStart:
        if (!WaitsForTrigger(kTriggerAcquisitionStart)) {
            SetBudgets(Budget());
        }
        return kSuccess;
    case CameraAddress::kAcquisitionStop:
        SetBudgets(0);
        return kSuccess;
    case CameraAddress::kTimestampLatch:
        m_state.latchedNanoseconds = Now();
        return kSuccess;
    case CameraAddress::kUserSetSave:
        return m_state.SaveUserSet();
    case CameraAddress::kUserSetLoad: {
        if (m_state.isLocked != 0 || IsStarted()) {
            return kAccessDenied;
        }
        const SPicture before = m_state.settings.ToPicture();
        m_state.LoadUserSet();
        Apply(before);
        return kSuccess;
    }
    default: {
        const auto trigger = static_cast<ETrigger>((command - CameraAddress::kTriggerSoftware) /
                                                   CameraAddress::kTriggerStride);
        if (m_state.settings.triggers[trigger].source ==
            static_cast<UInt32>(ETriggerSource::Software)) {
            Fire(trigger);
        }
        return kSuccess;
    }
    }
}

// Takes the settings over into what works by them.
void CCamera::Apply(const SPicture& before) {
    const SCameraSettings& settings = m_state.settings;
    for (UInt32 event = 0; event < kNumEvents; ++event) {
        m_isEventOn[event] = settings.isEventOn[event] != 0;
    }
    m_exposure = std::chrono::round<SImageBatch::Duration>(
        std::chrono::duration<double, std::micro>(settings.exposureTime));
    const SPicture picture = settings.ToPicture();
    if (picture != before) {
        m_pattern = IsStarted() ? std::make_shared<const CTestPattern>(picture) : nullptr;
    }
    for (CImageQueue* queue : m_queues) {
        queue->SetRate(Rate());
        if (m_pattern != nullptr) {
            queue->SetPattern(m_pattern);
        }
    }
}

std::uint64_t CCamera::Now() const {
    const std::chrono::nanoseconds now = CImageQueue::Clock::now() - m_epoch;
    return static_cast<std::uint64_t>(now.count());
}

bool CCamera::IsStarted() const {
    return std::any_of(m_queues.begin(), m_queues.end(),
                       [](const CImageQueue* queue) { return queue->IsStarted(); });
}

bool CCamera::WaitsForTrigger(ETrigger trigger) const {
    return m_state.settings.triggers[trigger].isOn != 0;
}

double CCamera::Rate() const {
    if (m_isManual || WaitsForTrigger(kTriggerFrameStart)) {
        return -1;
    }
    return m_state.settings.isRateEnabled != 0 ? m_state.settings.frameRate : 0;
}

// The images that a start of the acquisition lets the camera make.
std::uint64_t CCamera::Budget() const {
    switch (static_cast<EAcquisitionMode>(m_state.settings.acquisitionMode)) {
    case EAcquisitionMode::SingleFrame:
        return 1;
    case EAcquisitionMode::MultiFrame:
        return m_state.settings.acquisitionFrameCount;
    default:
        return kUnbounded;
    }
}

void CCamera::SetBudgets(std::uint64_t budget) {
    for (CImageQueue* queue : m_queues) {
        queue->SetBudget(budget);
    }
}

void CCamera::Fire(ETrigger trigger) {
    if (!WaitsForTrigger(trigger)) {
        return;
    }
    if (trigger == kTriggerAcquisitionStart) {
        SetBudgets(Budget());
        return;
    }
    for (CImageQueue* queue : m_queues) {
        queue->Trigger();
    }
}

void CCamera::PulseLine(ETriggerActivation edge) {
    const std::lock_guard lock(m_lock);
    for (UInt32 i = 0; i < kNumTriggers; ++i) {
        const STrigger& trigger = m_state.settings.triggers[i];
        const auto activation = static_cast<ETriggerActivation>(trigger.activation);
        if (trigger.source == static_cast<UInt32>(ETriggerSource::Line0) &&
            (activation == edge || activation == ETriggerActivation::AnyEdge)) {
            Fire(static_cast<ETrigger>(i));
        }
    }
}

std::unique_ptr<CImageQueue> CCamera::Attach() {
    auto queue = std::make_unique<CImageQueue>(*this, m_imageFaults, m_epoch);
    const std::lock_guard lock(m_lock);
    m_queues.push_back(queue.get());
    return queue;
}

void CCamera::Detach(CImageQueue& queue) {
    const std::lock_guard lock(m_lock);
    m_queues.erase(std::find(m_queues.begin(), m_queues.end(), &queue));
}

// A stream that starts takes a continuous acquisition with it; any other one waits for its command.
Int32 CCamera::Start(CImageQueue& queue, UInt32 count) {
    const std::lock_guard lock(m_lock);
    try {
        if (m_pattern == nullptr) {
            m_pattern = std::make_shared<const CTestPattern>(m_state.settings.ToPicture());
        }
    } catch (const std::bad_alloc&) {
        return kError;
    }
    const bool isFree = Budget() == kUnbounded && !WaitsForTrigger(kTriggerAcquisitionStart);
    queue.Start(count, {Rate(), isFree ? kUnbounded : 0}, m_pattern);
    return kSuccess;
}

bool CCamera::SetFrameRate(double rate) {
    if (!std::isfinite(rate)) {
        return false;
    }
    const std::lock_guard lock(m_lock);
    m_isManual = rate < 0;
    if (!m_isManual) {
        m_state.settings.isRateEnabled = rate > 0 ? 1 : 0;
    }
    if (rate > 0) {
        m_state.settings.frameRate = rate;
    }
    Apply(m_state.settings.ToPicture());
    return true;
}

void CCamera::Produce(std::uint64_t count) {
    const std::lock_guard lock(m_lock);
    for (CImageQueue* queue : m_queues) {
        queue->Produce(count);
    }
}

std::uint64_t CCamera::NumUntaken() const {
    const std::lock_guard lock(m_lock);
    std::uint64_t count = 0;
    for (const CImageQueue* queue : m_queues) {
        count += queue->NumUntaken();
    }
    return count;
}

bool CCamera::SetImageSize(UInt32 width, UInt32 height) {
    const std::lock_guard lock(m_lock);
    if (IsStarted() || width == 0 || height == 0 || width > kMaxExtent || height > kMaxExtent) {
        return false;
    }
    m_state.SetSensor(width, height);
    m_pattern = nullptr;
    return true;
}

std::uint64_t CCamera::PayloadSize() const {
    const std::lock_guard lock(m_lock);
    return m_state.settings.format.PayloadSize();
}

void CCamera::OnImages(const SImageBatch& images) {
    if (m_isEventOn[kEventFrameStart]) {
        Report(kEventFrameStart, images);
    }
    if (m_isEventOn[kEventExposureEnd]) {
        SImageBatch exposed = images;
        exposed.time += m_exposure.load();
        Report(kEventExposureEnd, exposed);
    }
    if (!m_bursts.empty() || m_unplugAfter != 0) {
        const std::uint64_t before = m_numMade.fetch_add(images.count);
        DoOnceMade(before, before + images.count);
    }
}

void CCamera::Report(EEvent event, const SImageBatch& images) {
    CEventThread::Get().Post([camera = shared_from_this(), event, images] {
        for (std::uint64_t i = images.first; i < images.first + images.count; ++i) {
            const std::chrono::nanoseconds time = images.TimeOf(i) - camera->m_epoch;
            {
                const std::lock_guard lock(camera->m_lock);
                camera->m_state.events[event] = {i, static_cast<std::uint64_t>(time.count())};
            }
            camera->Events().Report(kEventIds[event], i);
        }
    });
}

// What happens to the camera between two numbers of images that it has made.
void CCamera::DoOnceMade(std::uint64_t before, std::uint64_t after) {
    const auto isReached = [&](std::uint64_t count) { return before < count && count <= after; };
    for (const SEventBurst& burst : m_bursts) {
        if (isReached(std::max<std::uint64_t>(burst.afterImages, 1))) {
            CEventThread::Get().Post([camera = shared_from_this(), burst] {
                for (UInt32 i = 0; i < burst.count; ++i) {
                    camera->Events().Report(burst.eventId, burst.value);
                }
            });
        }
    }
    if (m_unplugAfter != 0 && isReached(m_unplugAfter)) {
        CEventThread::Get().Post([camera = shared_from_this()] { camera->Unplug(); });
    }
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
