#include "core/InfoOut.h"

#include "core/ModuleIdentity.h"

#include <cstring>
#include <stdexcept>

namespace GenICam::Client {

bool InfoOut::Prepare(INFO_DATATYPE type, size_t needed) const {
    if (m_type != nullptr) {
        *m_type = type;
    }
    if (m_size == nullptr) {
        throw std::invalid_argument("Invalid Size");
    }
    if (m_buffer != nullptr && *m_size != 0 && *m_size < needed) {
        throw std::invalid_argument("Invalid Buffer Size");
    }
    *m_size = needed;
    return m_buffer != nullptr;
}

void InfoOut::String(std::string_view text) const {
    if (Prepare(INFO_DATATYPE_STRING, text.size() + 1)) {
        auto* destination = static_cast<char*>(m_buffer);
        text.copy(destination, text.size());
        destination[text.size()] = '\0';
    }
}

void InfoOut::Bytes(INFO_DATATYPE type, const void* value, size_t width) const {
    if (Prepare(type, width)) {
        std::memcpy(m_buffer, value, width);
    }
}

void InfoOut::Bool8(bool value) const {
    const bool8_t byte = value ? 1 : 0;
    Bytes(INFO_DATATYPE_BOOL8, &byte, sizeof byte);
}

void InfoOut::Int32(std::int32_t value) const {
    Bytes(INFO_DATATYPE_INT32, &value, sizeof value);
}

void InfoOut::UInt32(std::uint32_t value) const {
    Bytes(INFO_DATATYPE_UINT32, &value, sizeof value);
}

void InfoOut::Int64(std::int64_t value) const {
    Bytes(INFO_DATATYPE_INT64, &value, sizeof value);
}

void InfoOut::UInt64(std::uint64_t value) const {
    Bytes(INFO_DATATYPE_UINT64, &value, sizeof value);
}

void InfoOut::Pointer(const void* value) const {
    Bytes(INFO_DATATYPE_PTR, &value, sizeof value);
}

void InfoOut::Size(size_t value) const {
    Bytes(INFO_DATATYPE_SIZET, &value, sizeof value);
}

bool AnswerPortInfo(PORT_INFO_CMD command, std::string_view module, std::string_view portName,
                    const InfoOut& out) {
    switch (command) {
    case PORT_INFO_VENDOR:
        out.String(kVendorName);
        return true;
    case PORT_INFO_MODEL:
        out.String(kModelName);
        return true;
    case PORT_INFO_TLTYPE:
        out.String(kTLType);
        return true;
    case PORT_INFO_MODULE:
        out.String(module);
        return true;
    case PORT_INFO_LITTLE_ENDIAN:
    case PORT_INFO_ACCESS_READ:
    case PORT_INFO_ACCESS_WRITE:
        out.Bool8(true);
        return true;
    case PORT_INFO_BIG_ENDIAN:
    case PORT_INFO_ACCESS_NA:
    case PORT_INFO_ACCESS_NI:
        out.Bool8(false);
        return true;
    case PORT_INFO_PORTNAME:
        out.String(portName);
        return true;
    default:
        return false;
    }
}

void AnswerUrlVersion(URL_INFO_CMD command, std::int32_t fileSubMinor, const InfoOut& out) {
    switch (command) {
    case URL_INFO_SCHEMA_VER_MAJOR:
    case URL_INFO_FILE_VER_MAJOR:
        out.Int32(1);
        break;
    case URL_INFO_SCHEMA_VER_MINOR:
    case URL_INFO_FILE_VER_MINOR:
        out.Int32(0);
        break;
    case URL_INFO_FILE_VER_SUBMINOR:
        out.Int32(fileSubMinor);
        break;
    default:
        break;
    }
}

} // namespace GenICam::Client
