// A register space: blocks of bytes at addresses, each read-only or writable from outside.
// Knows nothing of what the registers mean.
#pragma once

#include "base/ResultCodes.h"
#include "base/Sync.h"

#include <cstdint>
#include <string>
#include <vector>

namespace OptivoBase {

enum class EAccess { ReadOnly, ReadWrite };

class CRegisters {
public:
    // Blocks are defined in ascending order of address, before the first access, and start as 0.
    void Define(UInt64 address, Size length, EAccess access);
    // A read-only block that stands elsewhere, which must outlive this object.
    void DefineShared(UInt64 address, const void* bytes, Size length);

    // The access from outside. It may touch a piece of a block, but not reach beyond it.
    // \retval kInvalidParameter a pointer is null
    // \retval kInvalidAddress   the bytes lie in no block
    // \retval kAccessDenied     a write to a block that is read-only
    Int32 Read(UInt64 address, void* destination, const Size* size) const;
    Int32 Write(UInt64 address, const void* source, const Size* size);

    // The access from inside, to the start of a block that is defined; what is too long is cut.
    void SetBytes(UInt64 address, const void* bytes, Size length);
    // Cut so that the block keeps a terminating zero.
    void SetText(UInt64 address, const std::string& text);

    template <typename TNumber>
    void SetNumber(UInt64 address, TNumber number) {
        SetBytes(address, &number, sizeof number);
    }

private:
    struct SBlock {
        UInt64 address;
        Size length;
        Size offset; // into m_bytes
        EAccess access;
        const std::uint8_t* shared = nullptr; // in place of the bytes at the offset; not owned
    };

    const SBlock* Find(UInt64 address, Size length) const;

    std::vector<SBlock> m_blocks; // sorted by address
    mutable CMutex m_lock;        // guards m_bytes
    std::vector<std::uint8_t> m_bytes;
};

// The URL of a description that stands in the register space of its module.
std::string LocalUrl(const std::string& fileName, UInt64 address, Size length);

} // namespace OptivoBase
