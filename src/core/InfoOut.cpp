#include "core/InfoOut.h"

#include "core/ModuleIdentity.h"

#include <cstring>
#include <stdexcept>

namespace GenICam::Client {

COutcome CInfoOut::Copy(INFO_DATATYPE type, const void* value, size_t width,
                        size_t numZeros) const {
    if (m_type != nullptr) {
        *m_type = type;
    }
    if (m_size == nullptr) {
        return Refusal<std::invalid_argument>("Invalid Size");
    }
    const size_t needed = width + numZeros;
    if (m_buffer != nullptr && *m_size != 0 && *m_size < needed) {
        return Refusal<std::invalid_argument>("Invalid Buffer Size");
    }
    *m_size = needed;
    if (m_buffer != nullptr) {
        std::memcpy(m_buffer, value, width);
        std::memset(static_cast<char*>(m_buffer) + width, 0, numZeros);
    }
    return {};
}

COutcome CInfoOut::String(std::string_view text) const {
    return Copy(INFO_DATATYPE_STRING, text.data(), text.size(), 1);
}

COutcome CInfoOut::Bytes(INFO_DATATYPE type, const void* value, size_t width) const {
    return Copy(type, value, width, 0);
}

COutcome CInfoOut::Bool8(bool value) const {
    const bool8_t byte = value ? 1 : 0;
    return Bytes(INFO_DATATYPE_BOOL8, &byte, sizeof byte);
}

COutcome CInfoOut::Int32(std::int32_t value) const {
    return Bytes(INFO_DATATYPE_INT32, &value, sizeof value);
}

COutcome CInfoOut::UInt32(std::uint32_t value) const {
    return Bytes(INFO_DATATYPE_UINT32, &value, sizeof value);
}

COutcome CInfoOut::Int64(std::int64_t value) const {
    return Bytes(INFO_DATATYPE_INT64, &value, sizeof value);
}

COutcome CInfoOut::UInt64(std::uint64_t value) const {
    return Bytes(INFO_DATATYPE_UINT64, &value, sizeof value);
}

COutcome CInfoOut::Pointer(const void* value) const {
    return Bytes(INFO_DATATYPE_PTR, &value, sizeof value);
}

COutcome CInfoOut::Size(size_t value) const {
    return Bytes(INFO_DATATYPE_SIZET, &value, sizeof value);
}

std::optional<COutcome> AnswerPortInfo(PORT_INFO_CMD command, std::string_view module,
                                       std::string_view portName, const CInfoOut& out) {
    switch (command) {
    case PORT_INFO_VENDOR:
        return out.String(kVendorName);
    case PORT_INFO_MODEL:
        return out.String(kModelName);
    case PORT_INFO_TLTYPE:
        return out.String(kTLType);
    case PORT_INFO_MODULE:
        return out.String(module);
    case PORT_INFO_LITTLE_ENDIAN:
    case PORT_INFO_ACCESS_READ:
    case PORT_INFO_ACCESS_WRITE:
        return out.Bool8(true);
    case PORT_INFO_BIG_ENDIAN:
    case PORT_INFO_ACCESS_NA:
    case PORT_INFO_ACCESS_NI:
        return out.Bool8(false);
    case PORT_INFO_PORTNAME:
        return out.String(portName);
    default:
        return std::nullopt;
    }
}

COutcome AnswerUrlVersion(URL_INFO_CMD command, std::int32_t fileSubMinor, const CInfoOut& out) {
    switch (command) {
    case URL_INFO_SCHEMA_VER_MAJOR:
    case URL_INFO_FILE_VER_MAJOR:
        return out.Int32(1);
    case URL_INFO_SCHEMA_VER_MINOR:
    case URL_INFO_FILE_VER_MINOR:
        return out.Int32(0);
    case URL_INFO_FILE_VER_SUBMINOR:
        return out.Int32(fileSubMinor);
    default:
        return {};
    }
}

} // namespace GenICam::Client
