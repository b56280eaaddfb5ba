// What the owner of a register map was promised, as a model beside which a map can be tried: the
// same registers, refusals and calls of callbacks. Knows nothing of how a map keeps them.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

// A callback that was called.
struct Notice {
    char kind;
    std::uint64_t address;
    std::uint32_t value;
    std::uint64_t context;
    bool operator==(const Notice&) const = default;
};

// What every callback makes of a register's value.
std::uint32_t Changed(std::uint32_t value, std::uint64_t context);

// Puts the four bytes of a word behind the others, lowest first.
void Append(std::string& bytes, std::uint32_t word);
// The word at an offset of a content, behind whose end there are zeros.
std::uint32_t WordAt(const std::string& content, std::uint64_t offset);

// What a register was defined with, apart from its address and value.
struct Definition {
    std::uint32_t access;
    std::uint8_t marker;
    bool hasOnWrite;
    bool hasOnRead;
    std::uint64_t context;
};

// Throws what a map throws.
class CRegisterModel {
public:
    struct Entry {
        Definition definition;
        std::uint32_t value;
    };

    static void CheckAddress(std::uint64_t address, std::uint64_t size);
    static void CheckBuffer(std::uint64_t address, const void* buffer, std::uint64_t size);
    static void CheckMode(std::uint32_t access);

    // length bytes, of which the content may be shorter.
    void Define(std::uint64_t address, const Definition& definition, const std::string& content,
                std::uint64_t length);
    std::uint32_t Read(std::uint64_t address);
    void Write(std::uint64_t address, std::uint32_t value);
    Entry& At(std::uint64_t address);

    bool Has(std::uint64_t address) const { return m_entries.count(address) != 0; }
    const std::map<std::uint64_t, Entry>& Entries() const { return m_entries; }
    // In the order in which the callbacks are to be called.
    const std::vector<Notice>& Notices() const { return m_notices; }

private:
    void Notify(char kind, std::uint64_t address, Entry& entry);

    std::map<std::uint64_t, Entry> m_entries;
    std::vector<Notice> m_notices;
};
