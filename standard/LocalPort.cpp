#include "LocalPort.h"

#include "Descriptions.h"
#include "First.h"
#include "Info.h"

#include <algorithm>
#include <cstring>
#include <span>

namespace Standard {
namespace {

constexpr std::uint64_t kXmlAddress = 0x10000;
constexpr std::size_t kTextLength = 256;
constexpr std::size_t kNumberLength = 8;

// A register that holds an answer of DevGetInfo or DSGetInfo: a text, or a number as
// little-endian bytes.
struct SRegister {
    std::uint64_t address;
    std::size_t length;
    std::int32_t command;
};

constexpr SRegister kDeviceRegisters[] = {{0x000, kTextLength, DEVICE_INFO_ID},
                                          {0x100, kTextLength, DEVICE_INFO_VENDOR},
                                          {0x200, kTextLength, DEVICE_INFO_MODEL},
                                          {0x300, kTextLength, DEVICE_INFO_SERIAL_NUMBER},
                                          {0x400, kTextLength, DEVICE_INFO_DISPLAYNAME},
                                          {0x500, kNumberLength, DEVICE_INFO_ACCESS_STATUS},
                                          {0x508, kNumberLength, DEVICE_INFO_TIMESTAMP_FREQUENCY}};

constexpr SRegister kStreamRegisters[] = {{0x000, kTextLength, STREAM_INFO_ID},
                                          {0x100, kNumberLength, STREAM_INFO_NUM_ANNOUNCED},
                                          {0x108, kNumberLength, STREAM_INFO_NUM_QUEUED},
                                          {0x110, kNumberLength, STREAM_INFO_NUM_AWAIT_DELIVERY},
                                          {0x118, kNumberLength, STREAM_INFO_NUM_STARTED},
                                          {0x120, kNumberLength, STREAM_INFO_NUM_DELIVERED},
                                          {0x128, kNumberLength, STREAM_INFO_NUM_UNDERRUN},
                                          {0x130, kNumberLength, STREAM_INFO_IS_GRABBING},
                                          {0x138, kNumberLength, STREAM_INFO_PAYLOAD_SIZE}};

std::span<const SRegister> RegistersOf(const SModule& module) {
    return module.kind == EKind::Device ? std::span<const SRegister>(kDeviceRegisters)
                                        : std::span<const SRegister>(kStreamRegisters);
}

std::span<const unsigned char> XmlOf(const SModule& module) {
    return module.kind == EKind::Device ? std::span(kDeviceXml, kDeviceXmlSize)
                                        : std::span(kStreamXml, kStreamXmlSize);
}

bool IsWithin(std::uint64_t address, std::size_t size, std::uint64_t start, std::size_t length) {
    return address >= start && address - start <= length && size <= length - (address - start);
}

const SRegister* Find(const SModule& module, std::uint64_t address, std::size_t size) {
    const auto registers = RegistersOf(module);
    const auto found = std::find_if(registers.begin(), registers.end(), [&](const auto& entry) {
        return IsWithin(address, size, entry.address, entry.length);
    });
    return found == registers.end() ? nullptr : &*found;
}

GC_ERROR RefuseAddress() {
    return Refuse(GC_ERR_INVALID_ADDRESS, "There is no such register");
}

// What the module itself answers to the consumer; nothing when that is refused.
void Fill(const SModule& module, const SRegister& entry, char* content) {
    size_t size = entry.length;
    auto* handle = const_cast<SModule*>(&module);
    if (module.kind == EKind::Device) {
        DevGetInfo(handle, entry.command, nullptr, content, &size);
    } else {
        DSGetInfo(handle, entry.command, nullptr, content, &size);
    }
}

} // namespace

bool HasLocalPort(const SModule& module) noexcept {
    return module.kind == EKind::Device || module.kind == EKind::Stream;
}

GC_ERROR ReadLocalPort(const SModule& module, std::uint64_t address, void* buffer,
                       std::size_t size) {
    const auto xml = XmlOf(module);
    if (IsWithin(address, size, kXmlAddress, xml.size())) {
        std::memcpy(buffer, xml.data() + (address - kXmlAddress), size);
        return GC_ERR_SUCCESS;
    }
    const SRegister* const found = Find(module, address, size);
    if (found == nullptr) {
        return RefuseAddress();
    }
    char content[kTextLength] = {};
    Fill(module, *found, content);
    std::memcpy(buffer, content + (address - found->address), size);
    return GC_ERR_SUCCESS;
}

GC_ERROR RefuseLocalWrite(const SModule& module, std::uint64_t address, std::size_t size) {
    return Find(module, address, size) != nullptr ||
                   IsWithin(address, size, kXmlAddress, XmlOf(module).size())
               ? Refuse(GC_ERR_ACCESS_DENIED, "The register can only be read")
               : RefuseAddress();
}

std::string LocalPortUrl(const SModule& module) {
    char url[64];
    std::snprintf(url, sizeof url, "Local:%s;%llx;%zx",
                  module.kind == EKind::Device ? "NorvelTLDevice.xml" : "NorvelTLStream.xml",
                  static_cast<unsigned long long>(kXmlAddress), XmlOf(module).size());
    return url;
}

} // namespace Standard
