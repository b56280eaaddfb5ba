#include "Description.h"

#include "Console.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace norveltl {

namespace {

// Every camera interface can carry a read of this size in one packet.
constexpr size_t kReadBlock = 512;
constexpr uint64_t kMaxDescription = 64u << 20;

std::string_view WithoutHexPrefix(std::string_view text) {
    const bool prefixed = text.starts_with("0x") || text.starts_with("0X");
    return prefixed ? text.substr(2) : text;
}

struct SLocation {
    uint64_t address;
    size_t length;
};

// "Local:name;address;length", both hexadecimal, perhaps with a query behind them.
SLocation ParseUrl(const std::string& url) {
    const auto fail = [&](const std::string& reason) {
        return CToolError("the XML at \"" + Printable(url) + "\" cannot be read: " + reason);
    };
    std::string scheme = url.substr(0, url.find(':'));
    std::transform(scheme.begin(), scheme.end(), scheme.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    if (scheme != "local") {
        throw fail("only descriptions in the module itself (\"Local:\") are supported");
    }

    const std::string rest = url.substr(0, url.find('?'));
    const size_t last = rest.rfind(';');
    const size_t first =
        last == std::string::npos || last == 0 ? std::string::npos : rest.rfind(';', last - 1);
    if (first == std::string::npos) {
        throw fail("it does not have the form Local:name;address;length");
    }
    const std::string name = rest.substr(0, first);
    if (name.ends_with(".zip") || name.ends_with(".ZIP")) {
        throw fail("zipped descriptions are not supported");
    }
    const auto number = [](const std::string& text) {
        const std::string trimmed = Trim(text);
        return ParseUnsigned(WithoutHexPrefix(trimmed), 16);
    };
    const auto address = number(rest.substr(first + 1, last - first - 1));
    const auto length = number(rest.substr(last + 1));
    if (!address || !length) {
        throw fail("its address or length is no hexadecimal number");
    }
    if (*length == 0 || *length > kMaxDescription) {
        throw fail("a length of " + std::to_string(*length) + " bytes is not plausible");
    }
    return {*address, static_cast<size_t>(*length)};
}

} // namespace

std::string Trim(std::string_view text) {
    constexpr const char* kBlanks = " \t\r\n";
    const size_t begin = text.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos) {
        return "";
    }
    return std::string(text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1));
}

std::optional<uint64_t> ParseUnsigned(std::string_view text, int base) {
    uint64_t value = 0;
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value, base);
    if (result.ec != std::errc() || result.ptr != end) {
        return std::nullopt;
    }
    return value;
}

int64_t ParseInteger(const std::string& text, const std::string& where) {
    const bool negative = text.starts_with("-");
    const std::string_view all = std::string_view(text).substr(negative ? 1 : 0);
    const std::string_view digits = WithoutHexPrefix(all);
    const auto value = ParseUnsigned(digits, digits.size() < all.size() ? 16 : 10);
    if (!value) {
        throw CToolError(where + ": \"" + Printable(text) + "\" is no whole number");
    }
    return static_cast<int64_t>(negative ? 0 - *value : *value);
}

std::string DescriptionUrl(const CProducer& producer, PORT_HANDLE port) {
    uint32_t count = 0;
    producer.Call(producer.GCGetNumPortURLs, port, &count);
    if (count == 0) {
        throw CToolError("the module names no XML description");
    }
    const auto query = CProducer::Query(producer.GCGetPortURLInfo, port, 0u, URL_INFO_URL);
    if (const auto url = QueryText(query)) {
        return *url;
    }
    std::array<char, 4096> url{};
    size_t size = url.size() - 1;
    producer.Call(producer.GCGetPortURL, port, url.data(), &size);
    return url.data();
}

void ReadPort(const CProducer& producer, PORT_HANDLE port, uint64_t address, void* buffer,
              size_t size) {
    size_t transferred = size;
    producer.Call(producer.GCReadPort, port, address, buffer, &transferred);
    if (transferred != size) {
        throw CToolError("GCReadPort gave " + std::to_string(transferred) + " instead of " +
                         std::to_string(size) + " bytes");
    }
}

std::string ReadDescription(const CProducer& producer, PORT_HANDLE port) {
    const SLocation location = ParseUrl(DescriptionUrl(producer, port));
    std::string text(location.length, '\0');
    // Some modules give their description only as a whole, some ports only in pieces.
    size_t size = text.size();
    if (producer.GCReadPort.call(port, location.address, text.data(), &size) != GC_ERR_SUCCESS ||
        size != text.size()) {
        for (size_t done = 0; done < text.size(); done += kReadBlock) {
            ReadPort(producer, port, location.address + done, text.data() + done,
                     std::min(kReadBlock, text.size() - done));
        }
    }
    if (text.starts_with("PK\x03\x04")) {
        throw CToolError("the XML is zipped, which is not supported");
    }
    return text.substr(0, text.find('\0'));
}

} // namespace norveltl
