#include "producers/ModuleFile.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string_view>

namespace norveltl {

namespace {

// More than any module has, and than a name is long.
constexpr uint32_t kMaxImports = 4096;
constexpr size_t kMaxName = 260;

// Numbers of a file, low byte first. Throws std::runtime_error behind its end.
class CFileReader {
public:
    explicit CFileReader(const std::filesystem::path& path) : m_file(path, std::ios::binary) {}

    template <class T>
    T At(uint64_t offset) {
        std::array<char, sizeof(T)> bytes{};
        Read(offset, bytes.data(), bytes.size());
        T value{};
        std::memcpy(&value, bytes.data(), sizeof(value));
        return value;
    }

    // Names are ASCII.
    std::string TextAt(uint64_t offset) {
        std::string text;
        for (char c = At<char>(offset); c != '\0' && text.size() < kMaxName; c = At<char>(offset)) {
            text += static_cast<unsigned char>(c) < 0x80 ? c : '?';
            ++offset;
        }
        return text;
    }

    bool HasAt(uint64_t offset, std::string_view expected) {
        std::string found(expected.size(), '\0');
        Read(offset, found.data(), found.size());
        return found == expected;
    }

private:
    void Read(uint64_t offset, char* bytes, size_t size) {
        m_file.clear();
        m_file.seekg(static_cast<std::streamoff>(offset));
        m_file.read(bytes, static_cast<std::streamsize>(size));
        if (!m_file) {
            throw std::runtime_error("the file ends before");
        }
    }

    std::ifstream m_file;
};

// The headers of a Windows module, by the names that their fields usually have.
class CWindowsModule {
public:
    CWindowsModule(CFileReader& file, uint64_t header) : m_file(file), m_header(header) {}

    std::string System() {
        switch (m_file.At<uint16_t>(m_header + 4)) { // Machine
        case 0x14C:
            return "32-bit Windows";
        case 0x8664:
            return "64-bit Windows";
        case 0xAA64:
            return "Windows on ARM";
        default:
            return "Windows on another processor";
        }
    }

    void ReadImports(std::vector<std::string>& imports) {
        constexpr uint64_t kOptional = 24;
        constexpr uint16_t kPlus = 0x20B;
        const uint64_t directories =
            m_header + kOptional +
            (m_file.At<uint16_t>(m_header + kOptional) == kPlus ? 112u : 96u);
        const auto table = m_file.At<uint32_t>(directories + 8); // DataDirectory[1].VirtualAddress
        if (table == 0) {
            return;
        }
        for (uint32_t i = 0; i < kMaxImports; ++i) {
            const auto name = m_file.At<uint32_t>(OffsetOf(table) + 20 * uint64_t{i} + 12);
            if (name == 0) {
                return;
            }
            imports.push_back(m_file.TextAt(OffsetOf(name)));
        }
    }

private:
    // Where the file holds what will lie at that address of the loaded module.
    uint64_t OffsetOf(uint32_t address) {
        const auto numSections = m_file.At<uint16_t>(m_header + 6);
        uint64_t section = m_header + 24 + m_file.At<uint16_t>(m_header + 20);
        for (uint16_t i = 0; i < numSections; ++i, section += 40) {
            const auto begin = m_file.At<uint32_t>(section + 12); // VirtualAddress
            const auto size = m_file.At<uint32_t>(section + 16);  // SizeOfRawData
            if (address >= begin && address - begin < size) {
                return uint64_t{m_file.At<uint32_t>(section + 20)} + (address - begin);
            }
        }
        throw std::runtime_error("no section holds the address");
    }

    CFileReader& m_file;
    uint64_t m_header;
};

} // namespace

SModuleFile ReadModuleFile(const std::filesystem::path& path) {
    SModuleFile found;
    try {
        CFileReader file(path);
        if (file.HasAt(0, "\x7f"
                          "ELF")) {
            found.system = file.At<char>(4) == 1 ? "32-bit Linux" : "64-bit Linux";
            return found;
        }
        if (!file.HasAt(0, "MZ")) {
            return found;
        }
        const uint64_t header = file.At<uint32_t>(0x3C);
        if (file.HasAt(header, std::string_view("PE\0\0", 4))) {
            CWindowsModule module(file, header);
            found.system = module.System();
            module.ReadImports(found.imports);
        }
    } catch (const std::runtime_error&) {
        // What was found before the file broke off counts.
        return found;
    }
    return found;
}

} // namespace norveltl
