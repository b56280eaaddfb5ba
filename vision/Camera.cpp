#include "Camera.h"

#include "base/Registers.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace OptivoVision {

namespace {

// Beyond what cameras have: GigE Vision's addresses have 32 bits, and USB3 Vision's begin at 0.
constexpr UInt64 kXmlAddress = 0x7FFF000000000000;
constexpr Size kMostAtOnce = 65536; // which Aravis cuts to what the wire takes
constexpr Size kWord = 4;           // all accesses of GigE Vision are in words
constexpr int kLargestSocketBuffer = 64 << 20;
constexpr int kSmallestSocketBuffer = 1 << 20;

// access(offset, size) answers a code, and is called for one piece after the other until one fails.
template <class Access>
Int32 InPieces(Size length, Access&& access) {
    Int32 result = kSuccess;
    for (Size offset = 0; offset < length && result == kSuccess; offset += kMostAtOnce) {
        result = access(offset, std::min(length - offset, kMostAtOnce));
    }
    return result;
}

} // namespace

CCamera::CCamera(ObjectPtr<ArvDevice> device, std::shared_ptr<void> place)
    : m_place(std::move(place)),
      m_device(std::move(device)),
      m_isGigE(ARV_IS_GV_DEVICE(m_device.get()) != FALSE) {
    std::size_t size = 0;
    const char* const xml = arv_device_get_genicam_xml(m_device.get(), &size);
    m_xml.assign(xml != nullptr ? xml : "", xml != nullptr ? size : 0);
    m_xmlUrl = OptivoBase::LocalUrl("Camera.xml", kXmlAddress, m_xml.size());
    // Consumers may read the text in whole words.
    m_xml.resize((m_xml.size() + kWord - 1) / kWord * kWord);
    const auto onLost =
        +[](ArvDevice*, gpointer camera) { static_cast<CCamera*>(camera)->m_isGone = true; };
    m_signal =
        g_signal_connect(m_device.get(), "control-lost", reinterpret_cast<GCallback>(onLost), this);
    if (m_isGigE) {
        arv_gv_device_set_packet_size_adjustment(ARV_GV_DEVICE(m_device.get()),
                                                 ARV_GV_PACKET_SIZE_ADJUSTMENT_ONCE);
        m_isGone = !arv_gv_device_is_controller(ARV_GV_DEVICE(m_device.get()));
    }
}

CCamera::~CCamera() {
    g_signal_handler_disconnect(m_device.get(), m_signal);
}

Int32 CCamera::Read(UInt64 address, void* destination, Size length) {
    if (IsGone()) {
        return kIo;
    }
    if (address >= kXmlAddress) {
        return ReadXml(address - kXmlAddress, destination, length);
    }
    if (!IsOnWire(address, length)) {
        return kInvalidAddress;
    }
    auto* const to = static_cast<char*>(destination);
    return InPieces(length, [&](Size offset, Size piece) {
        return ReadWire(address + offset, to + offset, piece);
    });
}

Int32 CCamera::Write(UInt64 address, const void* source, Size length) {
    if (IsGone()) {
        return kIo;
    }
    if (address >= kXmlAddress) {
        return address - kXmlAddress < m_xml.size() ? kAccessDenied : kInvalidAddress;
    }
    if (!IsOnWire(address, length)) {
        return kInvalidAddress;
    }
    const auto* const from = static_cast<const char*>(source);
    return InPieces(length, [&](Size offset, Size piece) {
        return WriteWire(address + offset, from + offset, piece);
    });
}

// Aravis would cut an address of GigE Vision to its 32 bits.
bool CCamera::IsOnWire(UInt64 address, Size length) const {
    const UInt64 end = m_isGigE ? UInt64{1} << 32 : kXmlAddress;
    return address <= end && length <= end - address;
}

Int32 CCamera::ReadXml(UInt64 offset, void* destination, Size length) const {
    if (offset > m_xml.size() || length > m_xml.size() - offset) {
        return kInvalidAddress;
    }
    std::memcpy(destination, m_xml.data() + offset, length);
    return kSuccess;
}

Int32 CCamera::ReadWire(UInt64 address, void* destination, Size length) {
    CError error;
    const Size before = m_isGigE ? address % kWord : 0;
    const Size whole = m_isGigE ? (before + length + kWord - 1) / kWord * kWord : length;
    if (whole == length) {
        return arv_device_read_memory(m_device.get(), address, static_cast<guint32>(length),
                                      destination, error.Receive())
                   ? kSuccess
                   : error.Code();
    }
    std::vector<char> words(whole);
    if (!arv_device_read_memory(m_device.get(), address - before, static_cast<guint32>(whole),
                                words.data(), error.Receive())) {
        return error.Code();
    }
    std::memcpy(destination, words.data() + before, length);
    return kSuccess;
}

// Words of which only a part is to be written are read before. A camera need not have the command
// that writes memory; then each word is a register.
Int32 CCamera::WriteWire(UInt64 address, const void* source, Size length) {
    const Size before = m_isGigE ? address % kWord : 0;
    const Size whole = m_isGigE ? (before + length + kWord - 1) / kWord * kWord : length;
    std::vector<char> words(whole);
    if (whole != length) {
        if (const Int32 result = ReadWire(address - before, words.data(), whole);
            result != kSuccess) {
            return result;
        }
    }
    std::memcpy(words.data() + before, source, length);
    CError error;
    if (arv_device_write_memory(m_device.get(), address - before, static_cast<guint32>(whole),
                                words.data(), error.Receive())) {
        return kSuccess;
    }
    if (!m_isGigE || !error.Is(ARV_DEVICE_ERROR_PROTOCOL_ERROR_NOT_IMPLEMENTED)) {
        return error.Code();
    }
    for (Size i = 0; i < whole; i += kWord) {
        guint32 word = 0;
        std::memcpy(&word, words.data() + i, kWord);
        if (!arv_device_write_register(m_device.get(), address - before + i, GUINT32_FROM_BE(word),
                                       error.Receive())) {
            return error.Code();
        }
    }
    return kSuccess;
}

Int32 CCamera::PayloadSize(UInt64& size) {
    if (IsGone()) {
        return kIo;
    }
    const std::lock_guard lock(m_features);
    CError error;
    const gint64 told =
        arv_device_get_integer_feature_value(m_device.get(), "PayloadSize", error.Receive());
    if (error) {
        return error.Code();
    }
    size = static_cast<UInt64>(std::max<gint64>(told, 0));
    return kSuccess;
}

double CCamera::FrameRate() {
    const std::lock_guard lock(m_features);
    for (const char* name : {"AcquisitionFrameRate", "AcquisitionFrameRateAbs"}) {
        CError error;
        if (ARV_IS_GC_FLOAT(arv_device_get_feature(m_device.get(), name))) {
            const double rate =
                arv_device_get_float_feature_value(m_device.get(), name, error.Receive());
            if (!error && rate > 0) {
                return rate;
            }
        }
    }
    return 0;
}

ObjectPtr<ArvStream> CCamera::CreateStream(UInt64 payloadSize, ArvStreamCallback callback,
                                           void* context, Int32& code) {
    RequireThread();
    const std::lock_guard lock(m_features);
    CError error;
    ObjectPtr<ArvStream> stream(
        arv_device_create_stream(m_device.get(), callback, context, error.Receive()));
    if (stream == nullptr || error) {
        code = error.Code();
        return nullptr;
    }
    if (ARV_IS_GV_STREAM(stream.get())) {
        // The system grants what it is set up to grant.
        const UInt64 wanted =
            std::clamp<UInt64>(payloadSize * 4, kSmallestSocketBuffer, kLargestSocketBuffer);
        g_object_set(stream.get(), "socket-buffer", ARV_GV_STREAM_SOCKET_BUFFER_FIXED,
                     "socket-buffer-size", static_cast<gint>(wanted), "packet-resend",
                     ARV_GV_STREAM_PACKET_RESEND_ALWAYS, nullptr);
    }
    code = kSuccess;
    return stream;
}

UInt32 CCamera::PacketSize() {
    if (!m_isGigE || IsGone()) {
        return 0;
    }
    const std::lock_guard lock(m_features);
    CError error;
    return arv_gv_device_get_packet_size(ARV_GV_DEVICE(m_device.get()), error.Receive());
}

} // namespace OptivoVision
