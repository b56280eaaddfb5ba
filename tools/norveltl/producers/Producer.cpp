#include "producers/Producer.h"

#include "terminal/Console.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

namespace norveltl {

namespace {

constexpr std::array<std::pair<GC_ERROR, const char*>, 24> kCodeNames{{
    {GC_ERR_SUCCESS, "GC_ERR_SUCCESS"},
    {GC_ERR_ERROR, "GC_ERR_ERROR"},
    {GC_ERR_NOT_INITIALIZED, "GC_ERR_NOT_INITIALIZED"},
    {GC_ERR_NOT_IMPLEMENTED, "GC_ERR_NOT_IMPLEMENTED"},
    {GC_ERR_RESOURCE_IN_USE, "GC_ERR_RESOURCE_IN_USE"},
    {GC_ERR_ACCESS_DENIED, "GC_ERR_ACCESS_DENIED"},
    {GC_ERR_INVALID_HANDLE, "GC_ERR_INVALID_HANDLE"},
    {GC_ERR_INVALID_ID, "GC_ERR_INVALID_ID"},
    {GC_ERR_NO_DATA, "GC_ERR_NO_DATA"},
    {GC_ERR_INVALID_PARAMETER, "GC_ERR_INVALID_PARAMETER"},
    {GC_ERR_IO, "GC_ERR_IO"},
    {GC_ERR_TIMEOUT, "GC_ERR_TIMEOUT"},
    {GC_ERR_ABORT, "GC_ERR_ABORT"},
    {GC_ERR_INVALID_BUFFER, "GC_ERR_INVALID_BUFFER"},
    {GC_ERR_NOT_AVAILABLE, "GC_ERR_NOT_AVAILABLE"},
    {GC_ERR_INVALID_ADDRESS, "GC_ERR_INVALID_ADDRESS"},
    {GC_ERR_BUFFER_TOO_SMALL, "GC_ERR_BUFFER_TOO_SMALL"},
    {GC_ERR_INVALID_INDEX, "GC_ERR_INVALID_INDEX"},
    {GC_ERR_PARSING_CHUNK_DATA, "GC_ERR_PARSING_CHUNK_DATA"},
    {GC_ERR_INVALID_VALUE, "GC_ERR_INVALID_VALUE"},
    {GC_ERR_RESOURCE_EXHAUSTED, "GC_ERR_RESOURCE_EXHAUSTED"},
    {GC_ERR_OUT_OF_MEMORY, "GC_ERR_OUT_OF_MEMORY"},
    {GC_ERR_BUSY, "GC_ERR_BUSY"},
    {GC_ERR_AMBIGUOUS, "GC_ERR_AMBIGUOUS"},
}};

bool IsAboutRegister(std::string_view function) {
    return function.starts_with("GCReadPort") || function.starts_with("GCWritePort");
}

const char* Advice(const char* function, GC_ERROR code) {
    if (code == GC_ERR_ACCESS_DENIED && IsAboutRegister(function)) {
        return "\n  The register may be read-only or write-only, or locked at the moment.";
    }
    switch (code) {
    case GC_ERR_RESOURCE_IN_USE:
    case GC_ERR_ACCESS_DENIED:
        return "\n  Another program may hold it: close that program and try again.";
    case GC_ERR_IO:
    case GC_ERR_NOT_AVAILABLE:
        return "\n  Check the camera's cable and power, then see what \"norveltl list\" finds.";
    case GC_ERR_RESOURCE_EXHAUSTED:
    case GC_ERR_OUT_OF_MEMORY:
        return "\n  Try fewer buffers.";
    default:
        return "";
    }
}

bool IsSigned(INFO_DATATYPE type) {
    return type == INFO_DATATYPE_INT16 || type == INFO_DATATYPE_INT32 ||
           type == INFO_DATATYPE_INT64 || type == INFO_DATATYPE_PTRDIFF;
}

bool IsNumber(INFO_DATATYPE type) {
    return IsSigned(type) || type == INFO_DATATYPE_UINT16 || type == INFO_DATATYPE_UINT32 ||
           type == INFO_DATATYPE_UINT64 || type == INFO_DATATYPE_PTR ||
           type == INFO_DATATYPE_BOOL8 || type == INFO_DATATYPE_SIZET;
}

} // namespace

std::string CodeText(GC_ERROR code) {
    const auto* entry = std::find_if(kCodeNames.begin(), kCodeNames.end(),
                                     [code](const auto& known) { return known.first == code; });
    const char* name = entry != kCodeNames.end()  ? entry->second
                       : code <= GC_ERR_CUSTOM_ID ? "GC_ERR_CUSTOM"
                                                  : "unknown code";
    return std::string(name) + " (" + std::to_string(code) + ")";
}

std::optional<std::string> QueryText(const InfoQuery& query) {
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t size = 0;
    if (query(&type, nullptr, &size) != GC_ERR_SUCCESS || type != INFO_DATATYPE_STRING) {
        return std::nullopt;
    }
    std::string text(std::max<size_t>(size, 1), '\0');
    size = text.size();
    if (query(&type, text.data(), &size) != GC_ERR_SUCCESS) {
        return std::nullopt;
    }
    return text.substr(0, text.find('\0'));
}

std::optional<SNumber> QueryTypedNumber(const InfoQuery& query) {
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    uint64_t value = 0;
    size_t size = sizeof(value);
    if (query(&type, &value, &size) != GC_ERR_SUCCESS || !IsNumber(type) || size == 0 ||
        size > sizeof(value)) {
        return std::nullopt;
    }
    const unsigned unusedBits = static_cast<unsigned>(8 * (sizeof(value) - size));
    value <<= unusedBits;
    value = IsSigned(type) ? static_cast<uint64_t>(static_cast<int64_t>(value) >> unusedBits)
                           : value >> unusedBits;
    return SNumber{value, type};
}

std::optional<uint64_t> QueryNumber(const InfoQuery& query) {
    const std::optional<SNumber> number = QueryTypedNumber(query);
    return number ? std::optional(number->value) : std::nullopt;
}

CProducer::CProducer(const std::filesystem::path& module)
    : m_path(std::filesystem::absolute(module)), m_library(m_path) {
    ResolveAll();
    if (GCInitLib.IsMissing() || TLOpen.IsMissing()) {
        throw CToolError(Utf8FromPath(m_path) + " is no usable producer: it does not export " +
                         (GCInitLib.IsMissing() ? GCInitLib.name : TLOpen.name));
    }
    Call(GCInitLib);
}

CProducer::~CProducer() {
    CallOrReport(GCCloseLib);
}

void CProducer::ResolveAll() {
    const auto resolveOne = [this]<class P>(SFunction<P>& function) {
        function.address = reinterpret_cast<P>(m_library.Find(function.name));
        m_exports.push_back({function.name, function.IsMissing()});
    };
    const auto resolve = [&](auto&... functions) { (resolveOne(functions), ...); };
    resolve(GCInitLib, GCCloseLib, GCGetInfo, GCGetLastError, GCReadPort, GCWritePort, GCGetPortURL,
            GCGetNumPortURLs, GCGetPortURLInfo, GCGetPortInfo, GCReadPortStacked,
            GCWritePortStacked, GCRegisterEvent, GCUnregisterEvent, EventGetData, EventGetDataInfo,
            EventGetInfo, EventFlush, EventKill, TLOpen, TLClose, TLGetInfo, TLGetNumInterfaces,
            TLGetInterfaceID, TLGetInterfaceInfo, TLOpenInterface, TLUpdateInterfaceList, IFClose,
            IFGetInfo, IFGetNumDevices, IFGetDeviceID, IFUpdateDeviceList, IFGetDeviceInfo,
            IFOpenDevice, IFGetParentTL, DevGetInfo, DevGetPort, DevGetNumDataStreams,
            DevGetDataStreamID, DevOpenDataStream, DevClose, DevGetParentIF, DSAnnounceBuffer,
            DSAllocAndAnnounceBuffer, DSRevokeBuffer, DSQueueBuffer, DSFlushQueue,
            DSStartAcquisition, DSStopAcquisition, DSGetInfo, DSGetBufferInfo, DSGetBufferID,
            DSClose, DSGetParentDev, DSGetBufferChunkData, DSGetNumBufferParts,
            DSGetBufferPartInfo);
}

void CProducer::Check(const char* function, GC_ERROR code) const {
    if (code == GC_ERR_SUCCESS) {
        return;
    }
    throw CCallError(std::string(function) + " failed: " + CodeText(code) + LastError(code) +
                         Advice(function, code),
                     code);
}

// A producer may return one code and record another, or record nothing and keep an older error.
std::string CProducer::LastError(GC_ERROR code) const {
    if (GCGetLastError.IsMissing()) {
        return "";
    }
    std::array<char, 1024> text{};
    size_t size = text.size() - 1;
    GC_ERROR recorded = GC_ERR_SUCCESS;
    if (GCGetLastError(&recorded, text.data(), &size) != GC_ERR_SUCCESS || text[0] == '\0') {
        return "";
    }
    const std::string quoted = ": \"" + Printable(text.data()) + "\"";
    return recorded == code ? quoted
                            : "; the last recorded error is " + CodeText(recorded) + quoted;
}

void CProducer::Report(const std::exception& error) noexcept {
    try {
        ReportError(error.what());
    } catch (const std::exception&) {
        // Without memory for a line of text there is nobody left to tell.
    }
}

} // namespace norveltl
