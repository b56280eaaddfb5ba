#include "Camera.h"

#include "Maker.h"

namespace Maker {
namespace {

constexpr UInt64 kHeightMax = 0x30C;
constexpr UInt64 kUserMemory = 0x8AC;
constexpr UInt32 kNoLimit = 0xFFFFFFFF;
constexpr UInt32 kReadyWait = 20;
constexpr UInt32 kIdleWait = 2;
constexpr Size kPixels = sizeof(MakerStamp);

constinit CCamera g_gigE[] = {
    CCamera({"Norvel-G640M-10001", "G640M", "1.2.0", "10001", "Left", "169.254.10.1",
             "02-4E-56-00-27-11", "GEV", 10001, 640, 480}),
    CCamera({"Norvel-G1300C-10002", "G1300C", "1.4.2", "10002", "Right", "169.254.10.2",
             "02-4E-56-00-27-12", "GEV", 10002, 1280, 1024})};
constinit CCamera g_usb[] = {CCamera({"Norvel-U320C-20001", "U320C", "2.0.1", "20001", "Microscope",
                                      "SuperSpeed", "2-1", "U3V", 20001, 320, 240})};
constinit CAdapter g_adapters[kNumAdapters] = {{"eth0", "GEV", g_gigE, 2},
                                               {"usb0", "U3V", g_usb, 1}};

Int32 AccessNumber(UInt32* number, void* destination, const void* source, const Size* size) {
    if (size == nullptr || *size != sizeof *number ||
        (destination == nullptr && source == nullptr)) {
        return kInvalidParameter;
    }
    if (destination != nullptr) {
        Copy(destination, number, sizeof *number);
    } else {
        Copy(number, source, sizeof *number);
    }
    return kSuccess;
}

} // namespace

Int32 CopyText(const char* text, char* buffer, Size* size) {
    const Size needed = Length(text) + 1;
    if (buffer == nullptr || size == nullptr) {
        return kInvalidParameter;
    }
    if (*size < needed) {
        return kBufferTooSmall;
    }
    Copy(buffer, text, needed);
    *size = needed;
    return kSuccess;
}

void CCamera::Reset() {
    const auto installed = callback;
    void* const installedContext = context;
    const bool isInCall = isCalling;
    *this = CCamera(m_description);
    if (isInCall) {
        // Whoever is called must be able to end it.
        callback = installed;
        context = installedContext;
        isCalling = true;
    }
    TellChange();
}

Int32 CCamera::GetInfo(UInt32 key, void* buffer, Size* size) const {
    char* const text = static_cast<char*>(buffer);
    switch (key) {
    case Optivo::kDeviceVersion:
        return CopyText(m_description.version, text, size);
    case Optivo::kDeviceVendor:
        return CopyText("Norvel", text, size);
    case Optivo::kDeviceModel:
        return CopyText(m_description.model, text, size);
    case Optivo::kDeviceSerialNumber:
        return CopyText(m_description.serialNumber, text, size);
    case Optivo::kDeviceXmlUrl:
        return CopyText("Local:Norvel_Camera.xml;10000;743C", text, size);
    case Optivo::kDeviceStatus:
        return CopyNumber(UInt32{1}, buffer, size);
    case Optivo::kDeviceTLType:
        return CopyText(m_description.tlType, text, size);
    case Optivo::kDeviceCustom14:
        return CopyText(m_description.custom14, text, size);
    case Optivo::kDeviceCustom15:
        return CopyText(m_description.custom15, text, size);
    case Optivo::kDeviceUserDefinedName:
        return CopyText(m_description.userDefinedName, text, size);
    default:
        return kInvalidParameter;
    }
}

Int32 CCamera::ReadPort(UInt64 address, void* destination, const Size* size) const {
    UInt32 number = m_height;
    if (address == kUserMemory) {
        number = m_userMemory;
    } else if (address != kHeightMax) {
        return kInvalidAddress;
    }
    return AccessNumber(&number, destination, nullptr, size);
}

Int32 CCamera::WritePort(UInt64 address, const void* source, const Size* size) {
    if (address != kUserMemory) {
        return address == kHeightMax ? kAccessDenied : kInvalidAddress;
    }
    return AccessNumber(&m_userMemory, nullptr, source, size);
}

void CCamera::Start(UInt32 count) {
    m_isStarted = true;
    m_allowance = count == kNoLimit ? ~UInt64{0} : count;
    m_next = 0;
    m_pending = 0;
    m_due = Seconds();
    ++m_run;
    TellChange();
}

void CCamera::Stop() {
    m_isStarted = false;
    m_next += m_pending;
    m_pending = 0;
    ++m_run;
    TellChange();
}

void CCamera::SetRate(double rate) {
    m_rate = rate;
    m_due = Seconds();
    TellChange();
}

void CCamera::SetImageSize(UInt32 width, UInt32 height) {
    m_width = width;
    m_height = height;
}

void CCamera::Produce(UInt32 count) {
    if (m_isStarted) {
        const UInt64 made = count < m_allowance ? count : m_allowance;
        m_allowance -= made;
        m_pending += made;
        TellChange();
    }
}

bool CCamera::WaitForImage(CGuard& guard, UInt32 milliseconds) {
    const UInt32 run = m_run;
    const double deadline = Seconds() + milliseconds / 1000.0;
    for (;;) {
        const double now = Seconds();
        if (m_pending == 0 && m_rate >= 0 && now >= m_due) {
            m_due = m_rate > 0 ? now + 1 / m_rate : now;
            Produce(1);
        }
        if (m_pending > 0) {
            return true;
        }
        if (now >= deadline || run != m_run) {
            return false;
        }
        const double until = m_rate > 0 && m_due < deadline ? m_due : deadline;
        guard.Wait(static_cast<UInt32>((until - now) * 1000) + 1);
    }
}

void CCamera::TakeImage(void* destination) {
    --m_pending;
    const UInt64 number = m_next++;
    if (destination == nullptr) {
        return;
    }
    auto* const bytes = static_cast<unsigned char*>(destination);
    MakerStamp stamp = {MAKER_MAGIC, ImageSize(), number, m_description.number, 0x811C9DC5};
    for (Size i = kPixels; i < ImageSize(); ++i) {
        bytes[i] = static_cast<unsigned char>(i * 7 + number * 31 + stamp.camera);
        stamp.checksum = (stamp.checksum ^ bytes[i]) * 0x01000193;
    }
    Copy(bytes, &stamp, ImageSize() < sizeof stamp ? ImageSize() : sizeof stamp);
}

Int32 CCamera::GetStreamInfo(UInt32 command, void* value, Size* size, CGuard& guard) {
    switch (command) {
    case Optivo::kStreamImageReady:
        if (!m_isStarted) {
            guard.Wait(kIdleWait);
            return CopyNumber(UInt32{0}, value, size);
        }
        return CopyNumber(UInt32{WaitForImage(guard, kReadyWait)}, value, size);
    case Optivo::kStreamNumStarted:
        return CopyNumber(m_next + m_pending, value, size);
    case Optivo::kStreamPayloadSize:
        return CopyNumber(UInt64{ImageSize()}, value, size);
    case Optivo::kStreamCustom5:
    case Optivo::kStreamCustom6:
    case Optivo::kStreamNumLost:
        return CopyNumber(streamValues[command], value, size);
    case Optivo::kStreamCustom7:
    case Optivo::kStreamCustom8:
        return CopyNumber(static_cast<UInt32>(streamValues[command]), value, size);
    default:
        return kInvalidParameter;
    }
}

bool CAdapter::IsCalled(const char* name) const {
    if (AreEqual(name, m_name)) {
        return true;
    }
    const Size length = Length(m_prefix);
    for (Size i = 0; i < length; ++i) {
        if (name[i] != m_prefix[i]) {
            return false;
        }
    }
    return name[length] == ':' && name[length + 1] == ':' && AreEqual(name + length + 2, m_name);
}

void CAdapter::Reset() {
    m_updateTimeout = 0;
    for (UInt32 i = 0; i < m_numCameras; ++i) {
        m_cameras[i].Reset();
    }
}

UInt32 CAdapter::CountPlugged() const {
    UInt32 count = 0;
    while (At(count) != nullptr) {
        ++count;
    }
    return count;
}

CCamera* CAdapter::At(UInt32 index) const {
    for (UInt32 i = 0; i < m_numCameras; ++i) {
        if (m_cameras[i].isPlugged && index-- == 0) {
            return &m_cameras[i];
        }
    }
    return nullptr;
}

CCamera* CAdapter::Find(const char* name) const {
    for (UInt32 i = 0; i < m_numCameras; ++i) {
        if (AreEqual(name, m_cameras[i].Name())) {
            return &m_cameras[i];
        }
    }
    return nullptr;
}

Int32 CAdapter::ReadPort(UInt64 address, void* destination, Size* size) const {
    constexpr UInt64 kName = 0x100;
    constexpr UInt64 kUpdateTimeout = 0x204;
    char* const text = static_cast<char*>(destination);
    switch (address) {
    case Optivo::kInterfacePrefix:
    case Optivo::kInterfaceTLType:
        return CopyText(m_prefix, text, size);
    case Optivo::kInterfaceXmlUrl:
        return CopyText("Local:Norvel_Interface.xml;1000;909", text, size);
    case kName: {
        UInt32 letters = 0;
        Copy(&letters, m_name, sizeof letters);
        return AccessNumber(&letters, destination, nullptr, size);
    }
    case kUpdateTimeout: {
        UInt32 timeout = m_updateTimeout;
        return AccessNumber(&timeout, destination, nullptr, size);
    }
    default:
        return kInvalidAddress;
    }
}

Int32 CAdapter::WritePort(UInt64 address, const void* source, const Size* size) {
    constexpr UInt64 kUpdateTimeout = 0x204;
    return address == kUpdateTimeout ? AccessNumber(&m_updateTimeout, nullptr, source, size)
                                     : kInvalidAddress;
}

CAdapter& Adapter(UInt32 index) {
    return g_adapters[index];
}

CAdapter* FindAdapter(const char* name) {
    for (CAdapter& adapter : g_adapters) {
        if (adapter.IsCalled(name)) {
            return &adapter;
        }
    }
    return nullptr;
}

CCamera* FindCamera(const char* name) {
    for (const CAdapter& adapter : g_adapters) {
        if (CCamera* const camera = adapter.Find(name)) {
            return camera;
        }
    }
    return nullptr;
}

} // namespace Maker
