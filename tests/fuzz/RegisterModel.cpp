// Refusals carry their texts literally, as the owner of a map reads them; a value goes through
// Changed wherever the map has to call back.
#include "RegisterModel.h"

#include "core/Errors.h"

#include <cstdio>
#include <stdexcept>

using GenICam::Client::access_error;

namespace {

std::string Complaint(std::uint64_t address, const char* why) {
    char text[64];
    std::snprintf(text, sizeof text, "Register %llX is not %s.",
                  static_cast<unsigned long long>(address), why);
    return text;
}

} // namespace

std::uint32_t Changed(std::uint32_t value, std::uint64_t context) {
    return value * 3 + static_cast<std::uint32_t>(context);
}

void Append(std::string& bytes, std::uint32_t word) {
    for (int i = 0; i < 4; ++i) {
        bytes.push_back(static_cast<char>(word >> (8 * i)));
    }
}

std::uint32_t WordAt(const std::string& content, std::uint64_t offset) {
    std::uint32_t word = 0;
    for (unsigned i = 4; i-- > 0;) {
        const std::uint64_t place = offset + i;
        word = word * 256 + (place < content.size() ? static_cast<unsigned char>(content[place])
                                                    : std::uint32_t{0});
    }
    return word;
}

void CRegisterModel::CheckAddress(std::uint64_t address, std::uint64_t size) {
    if (address == 0xFFFFFFFFFFFFFFFF) {
        throw std::invalid_argument("Address is invalid.");
    }
    if ((address & 3) != 0 || (size & 3) != 0) {
        throw std::invalid_argument("Address and/or uiSize have to be multiples of four.");
    }
    if (address >= 0x1999999999999999) {
        throw std::invalid_argument("Address too large: 0 <= " + std::to_string(address) +
                                    " <= 461168601842738790");
    }
}

void CRegisterModel::CheckBuffer(std::uint64_t address, const void* buffer, std::uint64_t size) {
    CheckAddress(address, size);
    if (buffer == nullptr || size == 0) {
        throw std::invalid_argument("pBuffer is not valid.");
    }
}

void CRegisterModel::CheckMode(std::uint32_t access) {
    if (access != 1 && access != 2 && access != 3) {
        throw std::invalid_argument("iAccess is an unknown ACCESS value.");
    }
}

CRegisterModel::Entry& CRegisterModel::At(std::uint64_t address) {
    CheckAddress(address, 4);
    if (m_entries.count(address) == 0) {
        throw std::out_of_range(Complaint(address, "available"));
    }
    return m_entries.at(address);
}

std::uint32_t CRegisterModel::Read(std::uint64_t address) {
    Entry& entry = At(address);
    if (entry.definition.access == 2) {
        throw access_error(Complaint(address, "readable"));
    }
    if (entry.definition.hasOnRead) {
        Notify('r', address, entry);
    }
    return entry.value;
}

void CRegisterModel::Write(std::uint64_t address, std::uint32_t value) {
    Entry& entry = At(address);
    if (entry.definition.access == 1) {
        throw access_error(Complaint(address, "writable"));
    }
    entry.value = value;
    if (entry.definition.hasOnWrite) {
        Notify('w', address, entry);
    }
}

void CRegisterModel::Define(std::uint64_t address, const Definition& definition,
                            const std::string& content, std::uint64_t length) {
    CheckAddress(address, length);
    CheckMode(definition.access);
    for (std::uint64_t offset = 0; offset < length; offset += 4) {
        m_entries[address + offset] = {definition, WordAt(content, offset)};
    }
}

void CRegisterModel::Notify(char kind, std::uint64_t address, Entry& entry) {
    m_notices.push_back({kind, address, entry.value, entry.definition.context});
    entry.value = Changed(entry.value, entry.definition.context);
}
