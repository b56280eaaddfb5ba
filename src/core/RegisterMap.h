// The register space behind a module's own port: 32-bit registers at addresses that are multiples
// of four, with access modes and callbacks. Bytes of longer content stand in consecutive registers,
// least significant byte first.
// This file knows no module. The map takes no lock; its owner serialises.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace GenICam::Client {

// The size of the register block that holds a text of so many bytes and at least one zero behind
// it.
constexpr std::size_t TextBlockSize(std::size_t textSize) {
    return textSize / sizeof(std::uint32_t) * sizeof(std::uint32_t) + sizeof(std::uint32_t);
}

// Addresses and sizes are in bytes.
//
// Errors of all operations: std::invalid_argument for an address that is all ones, for an address
// or size that is not a multiple of four, for an address that is too large, for an unknown access
// mode and for a block access without a buffer; std::out_of_range for a register that is not
// available; access_error for a checked access that the register's mode forbids. A failing
// operation changes nothing but the registers that a block operation has already passed.
//
// Only the table of operations demands Define64, AccessOf, RawRead, ValueOf64, MarkerOf, SetAccess,
// SetCallbacks, SetValue64 and SetMarker: nobody calls them.
class CRegisterMap {
public:
    enum Access : std::uint32_t { kReadOnly = 1, kWriteOnly = 2, kReadWrite = 3 };

    // Called with the register's address, its value and the context given at definition.
    using Callback = void (*)(std::uint64_t address, std::uint32_t* value, std::uint64_t context);

    // Room for that many registers is reserved.
    explicit CRegisterMap(std::size_t numReserved = 0);
    virtual ~CRegisterMap();
    CRegisterMap(const CRegisterMap&) = delete;
    CRegisterMap& operator=(const CRegisterMap&) = delete;

    // Checked access, as a port gives it: the mode is enforced and the callbacks are called, the
    // one on read before the value is returned, the one on write after it is stored.
    virtual void ReadBlock(std::uint64_t address, void* buffer, std::size_t size);
    virtual std::uint32_t ReadRegister(std::uint64_t address);
    virtual void WriteBlock(std::uint64_t address, const void* buffer, std::size_t size);
    virtual void WriteRegister(std::uint64_t address, std::uint32_t value);

    // Definition replaces registers that exist already. access is 1, 2 or 3; marker is stored and
    // not interpreted; callbacks may be null.
    virtual void Define(std::uint64_t address, std::uint32_t access, std::uint32_t value,
                        std::uint8_t marker, Callback onWrite, std::uint64_t context,
                        Callback onRead);
    // Two registers; the lower address gets the low word if lowWordFirst, else the high word.
    virtual void Define64(std::uint64_t address, std::uint32_t access, std::uint64_t value,
                          std::uint8_t marker, bool lowWordFirst, Callback onWrite,
                          std::uint64_t context, Callback onRead);
    // A block that holds a zero-terminated text, cut to length - 1 characters.
    virtual void DefineString(std::uint64_t address, std::uint32_t access, const char* text,
                              std::size_t length, std::uint8_t marker, Callback onWrite,
                              std::uint64_t context, Callback onRead);
    // A block with length bytes of initial values, or zeros when values is null.
    virtual void DefineBlock(std::uint64_t address, std::uint32_t access, const void* values,
                             std::size_t length, std::uint8_t marker, Callback onWrite,
                             std::uint64_t context, Callback onRead);

    // Unchecked access by the owner: neither modes nor callbacks take part.
    // The access mode, or 0 for a register that is not available.
    virtual std::uint32_t AccessOf(std::uint64_t address) const;
    virtual void RawRead(std::uint64_t address, void* buffer, std::size_t size) const;
    virtual std::uint32_t ValueOf(std::uint64_t address) const;
    virtual std::uint64_t ValueOf64(std::uint64_t address, bool lowWordFirst) const;
    // The marker, or 0 for a register that is not available.
    virtual std::uint8_t MarkerOf(std::uint64_t address) const;
    virtual void SetAccess(std::uint64_t address, std::uint32_t access);
    virtual void SetCallbacks(std::uint64_t address, Callback onWrite, std::uint64_t context,
                              Callback onRead);
    // Stores a text and its terminating zero, filled up with zeros to a multiple of four.
    virtual void WriteString(std::uint64_t address, const char* text);
    virtual void RawWrite(std::uint64_t address, const void* buffer, std::size_t size);
    virtual void SetValue(std::uint64_t address, std::uint32_t value);
    virtual void SetValue64(std::uint64_t address, std::uint64_t value, bool lowWordFirst);
    virtual void SetMarker(std::uint64_t address, std::uint8_t marker);

private:
    struct SRegister {
        std::uint32_t m_access;
        std::uint32_t m_value;
        Callback m_onWrite;
        Callback m_onRead;
        std::uint64_t m_context;
        std::uint8_t m_marker;
    };

    SRegister* Find(std::uint64_t address) const;
    SRegister& Available(std::uint64_t address) const;
    // Reads registers that any port may read and nobody has to be told of; answers the size up to
    // the first other one.
    std::size_t CopyPlain(std::uint64_t address, std::uint8_t* bytes, std::size_t size) const;

    // Indexed by address / 4; empty where no register is defined. Never shrinks.
    std::vector<std::unique_ptr<SRegister>> m_registers;
};

} // namespace GenICam::Client
