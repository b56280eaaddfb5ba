// The functions of ports: those of the first module's ports that have registers, and our own.
#include "First.h"
#include "Info.h"
#include "LocalPort.h"

#include <charconv>
#include <optional>
#include <string>
#include <string_view>

using namespace Standard;

namespace {

// use gets the module whose port it is.
template <class Use>
GC_ERROR WithPort(PORT_HANDLE handle, Use&& use) {
    return Answer([&]() -> GC_ERROR {
        SModule* module = CModules::FindAny(handle);
        if (module == nullptr || module->kind == EKind::Event) {
            return RefuseHandle();
        }
        std::unique_lock<std::mutex> lock;
        if (module->kind == EKind::System || module->kind == EKind::Interface) {
            lock = std::unique_lock(static_cast<SLister&>(*module).oneCall);
            if (CModules::FindAny(handle) != module) {
                return RefuseHandle();
            }
        }
        return use(static_cast<const SModule&>(*module));
    });
}

// A buffer's port would be for chunks.
bool HasRegisters(const SModule& module) {
    return module.kind != EKind::Buffer;
}

GC_ERROR RefusePort() {
    return Refuse(GC_ERR_NOT_AVAILABLE, "The module has no registers");
}

// Of a system the first module answers only that it failed.
GC_ERROR RefuseAccess(const SModule& module, GC_ERROR code) {
    if (code > 0) {
        code = GC_ERR_IO;
    }
    return RefuseAsFirst(code, module.kind == EKind::System ? GC_ERR_INVALID_ADDRESS : GC_ERR_IO,
                         "The register cannot be reached");
}

GC_ERROR Read(const SModule& module, std::uint64_t address, void* buffer, size_t* size) {
    if (buffer == nullptr || size == nullptr) {
        return RefuseNull();
    }
    if (!HasRegisters(module)) {
        return RefusePort();
    }
    if (HasLocalPort(module)) {
        return ReadLocalPort(module, address, buffer, *size);
    }
    const GC_ERROR code = First().GCReadPort(module.first, address, buffer, size);
    return code == GC_ERR_SUCCESS ? code : RefuseAccess(module, code);
}

GC_ERROR Write(const SModule& module, std::uint64_t address, const void* buffer, size_t* size) {
    if (buffer == nullptr || size == nullptr) {
        return RefuseNull();
    }
    if (!HasRegisters(module)) {
        return RefusePort();
    }
    if (HasLocalPort(module)) {
        return RefuseLocalWrite(module, address, *size);
    }
    const GC_ERROR code = First().GCWritePort(module.first, address, buffer, size);
    return code == GC_ERR_SUCCESS ? code : RefuseAccess(module, code);
}

// access(entry) answers a code.
template <class Access>
GC_ERROR AccessAll(PORT_REGISTER_STACK_ENTRY* entries, size_t* numEntries, Access&& access) {
    if (entries == nullptr || numEntries == nullptr) {
        return RefuseNull();
    }
    GC_ERROR code = GC_ERR_SUCCESS;
    size_t numDone = 0;
    while (numDone < *numEntries && (code = access(entries[numDone])) == GC_ERR_SUCCESS) {
        ++numDone;
    }
    *numEntries = numDone;
    return code;
}

// None when the port names none.
std::optional<std::string> UrlOf(const SModule& module) {
    if (!HasRegisters(module)) {
        return std::nullopt;
    }
    if (HasLocalPort(module)) {
        return LocalPortUrl(module);
    }
    SValue url;
    const GC_ERROR code = url.Ask([&](auto... answer) {
        return First().GCGetPortURLInfo(module.first, 0, URL_INFO_URL, answer...);
    });
    return code == GC_ERR_SUCCESS ? std::optional(std::string(url.Text())) : std::nullopt;
}

// "Local:name;address;length", the numbers hexadecimal, or "file:name" and the like.
struct SUrl {
    std::int32_t scheme = URL_SCHEME_LOCAL;
    std::string_view fileName;
    std::optional<std::uint64_t> address;
    std::optional<std::uint64_t> length;
};

std::optional<std::uint64_t> HexadecimalOf(std::string_view text) {
    constexpr int kHexadecimal = 16;
    text = text.substr(0, text.find('?'));
    if (text.starts_with("0x") || text.starts_with("0X")) {
        text.remove_prefix(2);
    }
    std::uint64_t number = 0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), number, kHexadecimal);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number)
                                                                    : std::nullopt;
}

bool StartsWith(std::string_view text, std::string_view lowerCase) {
    return text.size() >= lowerCase.size() &&
           std::equal(lowerCase.begin(), lowerCase.end(), text.begin(),
                      [](char wanted, char found) { return wanted == (found | 0x20); });
}

SUrl Parse(std::string_view text) {
    SUrl url;
    url.scheme = StartsWith(text, "http")   ? URL_SCHEME_HTTP
                 : StartsWith(text, "file") ? URL_SCHEME_FILE
                                            : URL_SCHEME_LOCAL;
    text.remove_prefix(std::min(text.size(), text.find(':') + 1));
    const size_t name = text.find(';');
    url.fileName = text.substr(0, name);
    while (!url.fileName.empty() && url.fileName.front() == '/') {
        url.fileName.remove_prefix(1);
    }
    if (name != std::string_view::npos) {
        const std::string_view numbers = text.substr(name + 1);
        const size_t second = numbers.find(';');
        url.address = HexadecimalOf(numbers.substr(0, second));
        if (second != std::string_view::npos) {
            url.length = HexadecimalOf(numbers.substr(second + 1));
        }
    }
    return url;
}

GC_ERROR GiveIfKnown(const SOut& out, std::optional<std::uint64_t> number) {
    return number ? GiveNumber(out, INFO_DATATYPE_UINT64, *number) : RefuseUnavailable();
}

constexpr SCommand kUrlCommands[] = {{URL_INFO_SCHEMA_VER_MAJOR, INFO_DATATYPE_INT32},
                                     {URL_INFO_SCHEMA_VER_MINOR, INFO_DATATYPE_INT32},
                                     {URL_INFO_FILE_VER_MAJOR, INFO_DATATYPE_INT32},
                                     {URL_INFO_FILE_VER_MINOR, INFO_DATATYPE_INT32},
                                     {URL_INFO_FILE_VER_SUBMINOR, INFO_DATATYPE_INT32},
                                     {URL_INFO_FILE_SHA1_HASH, INFO_DATATYPE_UNKNOWN}};

constexpr SCommand kPortCommands[] = {
    {PORT_INFO_ID, INFO_DATATYPE_STRING},          {PORT_INFO_VENDOR, INFO_DATATYPE_STRING},
    {PORT_INFO_MODEL, INFO_DATATYPE_STRING},       {PORT_INFO_TLTYPE, INFO_DATATYPE_STRING},
    {PORT_INFO_MODULE, INFO_DATATYPE_STRING},      {PORT_INFO_LITTLE_ENDIAN, INFO_DATATYPE_BOOL8},
    {PORT_INFO_BIG_ENDIAN, INFO_DATATYPE_BOOL8},   {PORT_INFO_ACCESS_READ, INFO_DATATYPE_BOOL8},
    {PORT_INFO_ACCESS_WRITE, INFO_DATATYPE_BOOL8}, {PORT_INFO_ACCESS_NA, INFO_DATATYPE_BOOL8},
    {PORT_INFO_ACCESS_NI, INFO_DATATYPE_BOOL8},    {PORT_INFO_VERSION, INFO_DATATYPE_STRING},
    {PORT_INFO_PORTNAME, INFO_DATATYPE_STRING}};

} // namespace

GC_API GCReadPort(PORT_HANDLE hPort, uint64_t iAddress, void* pBuffer, size_t* piSize) {
    return WithPort(hPort,
                    [&](const SModule& module) { return Read(module, iAddress, pBuffer, piSize); });
}

GC_API GCWritePort(PORT_HANDLE hPort, uint64_t iAddress, const void* pBuffer, size_t* piSize) {
    return WithPort(
        hPort, [&](const SModule& module) { return Write(module, iAddress, pBuffer, piSize); });
}

GC_API GCReadPortStacked(PORT_HANDLE hPort, PORT_REGISTER_STACK_ENTRY* pEntries,
                         size_t* piNumEntries) {
    return WithPort(hPort, [&](const SModule& module) {
        return AccessAll(pEntries, piNumEntries, [&](PORT_REGISTER_STACK_ENTRY& entry) {
            return Read(module, entry.Address, entry.pBuffer, &entry.Size);
        });
    });
}

GC_API GCWritePortStacked(PORT_HANDLE hPort, PORT_REGISTER_STACK_ENTRY* pEntries,
                          size_t* piNumEntries) {
    return WithPort(hPort, [&](const SModule& module) {
        return AccessAll(pEntries, piNumEntries, [&](PORT_REGISTER_STACK_ENTRY& entry) {
            return Write(module, entry.Address, entry.pBuffer, &entry.Size);
        });
    });
}

GC_API GCGetPortURL(PORT_HANDLE hPort, char* sURL, size_t* piSize) {
    return WithPort(hPort, [&](const SModule& module) {
        const auto url = UrlOf(module);
        return url ? GiveText({nullptr, sURL, piSize}, *url) : RefusePort();
    });
}

GC_API GCGetNumPortURLs(PORT_HANDLE hPort, uint32_t* piNumURLs) {
    return WithPort(hPort, [&](const SModule& module) -> GC_ERROR {
        if (piNumURLs == nullptr) {
            return RefuseNull();
        }
        *piNumURLs = HasRegisters(module) ? 1 : 0;
        return GC_ERR_SUCCESS;
    });
}

GC_API GCGetPortURLInfo(PORT_HANDLE hPort, uint32_t iURLIndex, URL_INFO_CMD iInfoCmd,
                        INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
    return WithPort(hPort, [&](const SModule& module) {
        if (iURLIndex != 0 || !HasRegisters(module)) {
            return Refuse(GC_ERR_INVALID_INDEX, "There are not so many URLs");
        }
        const auto text = UrlOf(module);
        if (!text) {
            return RefusePort();
        }
        const SOut out{piType, pBuffer, piSize};
        const SUrl url = Parse(*text);
        switch (iInfoCmd) {
        case URL_INFO_URL:
            return GiveText(out, *text);
        case URL_INFO_FILE_REGISTER_ADDRESS:
            return GiveIfKnown(out, url.address);
        case URL_INFO_FILE_SIZE:
            return GiveIfKnown(out, url.length);
        case URL_INFO_SCHEME:
            return GiveNumber(out, INFO_DATATYPE_INT32, static_cast<std::uint64_t>(url.scheme));
        case URL_INFO_FILENAME:
            return GiveText(out, url.fileName);
        default:
            return GiveFirst(out, kUrlCommands, iInfoCmd, [&](auto... answer) {
                return First().GCGetPortURLInfo(module.first, 0, iInfoCmd, answer...);
            });
        }
    });
}

GC_API GCGetPortInfo(PORT_HANDLE hPort, PORT_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                     void* pBuffer, size_t* piSize) {
    return WithPort(hPort, [&](const SModule& module) {
        const SOut out{piType, pBuffer, piSize};
        if (iInfoCmd == PORT_INFO_ACCESS_WRITE && HasLocalPort(module)) {
            return GiveNumber(out, INFO_DATATYPE_BOOL8, 0);
        }
        return GiveFirst(out, kPortCommands, iInfoCmd, [&](auto... answer) {
            return First().GCGetPortInfo(module.first, iInfoCmd, answer...);
        });
    });
}
