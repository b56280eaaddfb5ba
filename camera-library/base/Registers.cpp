#include "base/Registers.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace OptivoBase {

namespace {

std::string Hex(UInt64 number) {
    char text[24];
    std::snprintf(text, sizeof text, "%llX", number);
    return text;
}

} // namespace

void CRegisters::Define(UInt64 address, Size length, EAccess access) {
    m_blocks.push_back({address, length, m_bytes.size(), access});
    m_bytes.resize(m_bytes.size() + length);
}

void CRegisters::DefineShared(UInt64 address, const void* bytes, Size length) {
    m_blocks.push_back(
        {address, length, 0, EAccess::ReadOnly, static_cast<const std::uint8_t*>(bytes)});
}

const CRegisters::SBlock* CRegisters::Find(UInt64 address, Size length) const {
    auto next = std::upper_bound(m_blocks.begin(), m_blocks.end(), address,
                                 [](UInt64 a, const SBlock& block) { return a < block.address; });
    if (next == m_blocks.begin()) {
        return nullptr;
    }
    const SBlock& block = *std::prev(next);
    const UInt64 offset = address - block.address;
    return offset < block.length && length <= block.length - offset ? &block : nullptr;
}

Int32 CRegisters::Read(UInt64 address, void* destination, const Size* size) const {
    if (destination == nullptr || size == nullptr) {
        return kInvalidParameter;
    }
    const SBlock* const block = Find(address, *size);
    if (block == nullptr) {
        return kInvalidAddress;
    }
    const UInt64 offset = address - block->address;
    if (block->shared != nullptr) {
        std::memcpy(destination, block->shared + offset, *size);
        return kSuccess;
    }
    const std::lock_guard lock(m_lock);
    std::memcpy(destination, m_bytes.data() + block->offset + offset, *size);
    return kSuccess;
}

Int32 CRegisters::Write(UInt64 address, const void* source, const Size* size) {
    if (source == nullptr || size == nullptr) {
        return kInvalidParameter;
    }
    const SBlock* const block = Find(address, *size);
    if (block == nullptr) {
        return kInvalidAddress;
    }
    if (block->access == EAccess::ReadOnly) {
        return kAccessDenied;
    }
    const std::lock_guard lock(m_lock);
    std::memcpy(m_bytes.data() + block->offset + (address - block->address), source, *size);
    return kSuccess;
}

void CRegisters::SetBytes(UInt64 address, const void* bytes, Size length) {
    const SBlock* const block = Find(address, 1);
    if (block == nullptr) {
        return;
    }
    const std::lock_guard lock(m_lock);
    std::memcpy(m_bytes.data() + block->offset, bytes, std::min(length, block->length));
}

void CRegisters::SetText(UInt64 address, const std::string& text) {
    const SBlock* const block = Find(address, 1);
    if (block == nullptr) {
        return;
    }
    const Size length = std::min(text.size(), block->length - 1);
    const std::lock_guard lock(m_lock);
    std::uint8_t* const bytes = m_bytes.data() + block->offset;
    std::fill_n(bytes, block->length, std::uint8_t{0});
    std::copy_n(text.begin(), length, bytes);
}

std::string LocalUrl(const std::string& fileName, UInt64 address, Size length) {
    return "Local:" + fileName + ";" + Hex(address) + ";" + Hex(length);
}

} // namespace OptivoBase
