#include "core/RegisterMap.h"

#include "core/Errors.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <span>
#include <stdexcept>
#include <string>

namespace GenICam::Client {
namespace {

constexpr std::size_t kWidth = sizeof(std::uint32_t);
constexpr std::uint64_t kAddressLimit = 0x1999999999999999;
constexpr std::uint64_t kLargestIndex = 0x666666666666666;

void CheckAddress(std::uint64_t address, std::size_t size) {
    if (address == std::numeric_limits<std::uint64_t>::max()) {
        throw std::invalid_argument("Address is invalid.");
    }
    if (address % kWidth != 0 || size % kWidth != 0) {
        throw std::invalid_argument("Address and/or uiSize have to be multiples of four.");
    }
    if (address >= kAddressLimit) {
        throw std::invalid_argument(
            Format("Address too large: 0 <= %I64u <= %I64u", address, kLargestIndex));
    }
}

[[noreturn]] void ThrowUnavailable(std::uint64_t address) {
    CheckAddress(address, kWidth);
    throw std::out_of_range(Format("Register %I64X is not available.", address));
}

[[noreturn]] void ThrowUnreadable(std::uint64_t address) {
    throw access_error(Format("Register %I64X is not readable.", address));
}

void CheckBlock(std::uint64_t address, const void* buffer, std::size_t size) {
    CheckAddress(address, size);
    if (buffer == nullptr || size == 0) {
        throw std::invalid_argument("pBuffer is not valid.");
    }
}

void CheckAccess(std::uint32_t access) {
    if (access < CRegisterMap::kReadOnly || access > CRegisterMap::kReadWrite) {
        throw std::invalid_argument("iAccess is an unknown ACCESS value.");
    }
}

std::uint32_t LowWord(std::uint64_t value) {
    return static_cast<std::uint32_t>(value);
}

std::uint32_t HighWord(std::uint64_t value) {
    return static_cast<std::uint32_t>(value >> 32);
}

// A register's bytes, least significant first, whatever the machine's own order. Written out,
// compilers make one access of it.
void StoreWord(std::uint8_t* bytes, std::uint32_t word) {
    bytes[0] = static_cast<std::uint8_t>(word);
    bytes[1] = static_cast<std::uint8_t>(word >> 8);
    bytes[2] = static_cast<std::uint8_t>(word >> 16);
    bytes[3] = static_cast<std::uint8_t>(word >> 24);
}

std::uint32_t LoadWord(const std::uint8_t* bytes) {
    return std::uint32_t{bytes[0]} | std::uint32_t{bytes[1]} << 8 | std::uint32_t{bytes[2]} << 16 |
           std::uint32_t{bytes[3]} << 24;
}

} // namespace

CRegisterMap::CRegisterMap(std::size_t numReserved) {
    m_registers.reserve(numReserved);
}

CRegisterMap::~CRegisterMap() = default;

inline CRegisterMap::SRegister* CRegisterMap::Find(std::uint64_t address) const {
    const std::uint64_t index = address / kWidth;
    SRegister* found =
        index < m_registers.size() ? m_registers[static_cast<std::size_t>(index)].get() : nullptr;
    return found != nullptr && found->m_access != 0 ? found : nullptr;
}

// What is found at an aligned address needs no other check.
inline CRegisterMap::SRegister& CRegisterMap::Available(std::uint64_t address) const {
    SRegister* found = address % kWidth == 0 ? Find(address) : nullptr;
    if (found == nullptr) {
        ThrowUnavailable(address);
    }
    return *found;
}

void CRegisterMap::ReadBlock(std::uint64_t address, void* buffer, std::size_t size) {
    CheckBlock(address, buffer, size);
    auto* bytes = static_cast<std::uint8_t*>(buffer);
    for (std::size_t offset = 0; offset < size; offset += kWidth) {
        offset += CopyPlain(address + offset, bytes + offset, size - offset);
        if (offset == size) {
            break;
        }
        StoreWord(bytes + offset, ReadRegister(address + offset));
    }
}

std::size_t CRegisterMap::CopyPlain(std::uint64_t address, std::uint8_t* bytes,
                                    std::size_t size) const {
    const std::size_t first =
        static_cast<std::size_t>(std::min<std::uint64_t>(address / kWidth, m_registers.size()));
    const std::span registers(m_registers);
    std::size_t numCopied = 0;
    for (const auto& found :
         registers.subspan(first, std::min(size / kWidth, m_registers.size() - first))) {
        if (found == nullptr || (found->m_access & kReadOnly) == 0 || found->m_onRead != nullptr) {
            break;
        }
        StoreWord(bytes + numCopied, found->m_value);
        numCopied += kWidth;
    }
    return numCopied;
}

std::uint32_t CRegisterMap::ReadRegister(std::uint64_t address) {
    SRegister& found = Available(address);
    if ((found.m_access & kReadOnly) == 0) {
        ThrowUnreadable(address);
    }
    if (found.m_onRead != nullptr) {
        found.m_onRead(address, &found.m_value, found.m_context);
    }
    return found.m_value;
}

void CRegisterMap::WriteBlock(std::uint64_t address, const void* buffer, std::size_t size) {
    CheckBlock(address, buffer, size);
    const auto* bytes = static_cast<const std::uint8_t*>(buffer);
    for (std::size_t offset = 0; offset < size; offset += kWidth) {
        WriteRegister(address + offset, LoadWord(bytes + offset));
    }
}

void CRegisterMap::WriteRegister(std::uint64_t address, std::uint32_t value) {
    SRegister& found = Available(address);
    if ((found.m_access & kWriteOnly) == 0) {
        throw access_error(Format("Register %I64X is not writable.", address));
    }
    found.m_value = value;
    if (found.m_onWrite != nullptr) {
        found.m_onWrite(address, &found.m_value, found.m_context);
    }
}

void CRegisterMap::Define(std::uint64_t address, std::uint32_t access, std::uint32_t value,
                          std::uint8_t marker, Callback onWrite, std::uint64_t context,
                          Callback onRead) {
    CheckAddress(address, kWidth);
    CheckAccess(access);
    auto record =
        std::make_unique<SRegister>(SRegister{access, value, onWrite, onRead, context, marker});
    const auto index = static_cast<std::size_t>(address / kWidth);
    if (index >= m_registers.size()) {
        m_registers.resize(index + 1);
    }
    m_registers[index] = std::move(record);
}

void CRegisterMap::Define64(std::uint64_t address, std::uint32_t access, std::uint64_t value,
                            std::uint8_t marker, bool lowWordFirst, Callback onWrite,
                            std::uint64_t context, Callback onRead) {
    CheckAddress(address, 2 * kWidth);
    CheckAccess(access);
    const std::uint32_t first = lowWordFirst ? LowWord(value) : HighWord(value);
    const std::uint32_t second = lowWordFirst ? HighWord(value) : LowWord(value);
    Define(address, access, first, marker, onWrite, context, onRead);
    Define(address + kWidth, access, second, marker, onWrite, context, onRead);
}

void CRegisterMap::DefineString(std::uint64_t address, std::uint32_t access, const char* text,
                                std::size_t length, std::uint8_t marker, Callback onWrite,
                                std::uint64_t context, Callback onRead) {
    DefineBlock(address, access, nullptr, length, marker, onWrite, context, onRead);
    if (length != 0) {
        WriteString(address, std::string(text).substr(0, length - 1).c_str());
    }
}

void CRegisterMap::DefineBlock(std::uint64_t address, std::uint32_t access, const void* values,
                               std::size_t length, std::uint8_t marker, Callback onWrite,
                               std::uint64_t context, Callback onRead) {
    CheckAddress(address, length);
    CheckAccess(access);
    const auto* bytes = static_cast<const std::uint8_t*>(values);
    // From the top down, so that the array grows once.
    for (std::size_t offset = length; offset != 0; offset -= kWidth) {
        const std::size_t start = offset - kWidth;
        Define(address + start, access, bytes == nullptr ? 0 : LoadWord(bytes + start), marker,
               onWrite, context, onRead);
    }
}

std::uint32_t CRegisterMap::AccessOf(std::uint64_t address) const {
    CheckAddress(address, kWidth);
    const SRegister* found = Find(address);
    return found == nullptr ? 0 : found->m_access;
}

void CRegisterMap::RawRead(std::uint64_t address, void* buffer, std::size_t size) const {
    CheckBlock(address, buffer, size);
    auto* bytes = static_cast<std::uint8_t*>(buffer);
    for (std::size_t offset = 0; offset < size; offset += kWidth) {
        StoreWord(bytes + offset, ValueOf(address + offset));
    }
}

std::uint32_t CRegisterMap::ValueOf(std::uint64_t address) const {
    return Available(address).m_value;
}

std::uint64_t CRegisterMap::ValueOf64(std::uint64_t address, bool lowWordFirst) const {
    const std::uint64_t first = ValueOf(address);
    const std::uint64_t second = ValueOf(address + kWidth);
    return lowWordFirst ? second << 32 | first : first << 32 | second;
}

std::uint8_t CRegisterMap::MarkerOf(std::uint64_t address) const {
    CheckAddress(address, kWidth);
    const SRegister* found = Find(address);
    return found == nullptr ? std::uint8_t{0} : found->m_marker;
}

void CRegisterMap::SetAccess(std::uint64_t address, std::uint32_t access) {
    CheckAccess(access);
    Available(address).m_access = access;
}

void CRegisterMap::SetCallbacks(std::uint64_t address, Callback onWrite, std::uint64_t context,
                                Callback onRead) {
    SRegister& found = Available(address);
    found.m_onWrite = onWrite;
    found.m_onRead = onRead;
    found.m_context = context;
}

void CRegisterMap::WriteString(std::uint64_t address, const char* text) {
    std::string block(text);
    block.resize(TextBlockSize(block.size()));
    RawWrite(address, block.data(), block.size());
}

void CRegisterMap::RawWrite(std::uint64_t address, const void* buffer, std::size_t size) {
    CheckBlock(address, buffer, size);
    const auto* bytes = static_cast<const std::uint8_t*>(buffer);
    for (std::size_t offset = 0; offset < size; offset += kWidth) {
        SetValue(address + offset, LoadWord(bytes + offset));
    }
}

void CRegisterMap::SetValue(std::uint64_t address, std::uint32_t value) {
    Available(address).m_value = value;
}

void CRegisterMap::SetValue64(std::uint64_t address, std::uint64_t value, bool lowWordFirst) {
    SRegister& first = Available(address);
    SRegister& second = Available(address + kWidth);
    (lowWordFirst ? first : second).m_value = LowWord(value);
    (lowWordFirst ? second : first).m_value = HighWord(value);
}

void CRegisterMap::SetMarker(std::uint64_t address, std::uint8_t marker) {
    Available(address).m_marker = marker;
}

} // namespace GenICam::Client
