#include "genapi/Description.h"

#include "genapi/Error.h"
#include "genapi/Text.h"

#include <algorithm>
#include <exception>

namespace GenApi {

namespace {

// Every camera interface can carry a read of this size in one packet.
constexpr size_t kReadBlock = 512;
constexpr uint64_t kMaxDescription = 64u << 20;

struct SLocation {
    uint64_t address;
    size_t length;
};

// Both numbers are hexadecimal; perhaps there is a query behind them.
SLocation ParseUrl(const std::string& url) {
    const auto fail = [&](const std::string& reason) {
        return CError("the XML at \"" + Printable(url) + "\" cannot be read: " + reason);
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

// Some modules give their description only as a whole, some ports only in pieces.
std::string ReadFile(const SLocation& location, const SPort& port) {
    std::string file(location.length, '\0');
    try {
        port.read(location.address, file.data(), file.size());
    } catch (const std::exception&) {
        for (size_t done = 0; done < file.size(); done += kReadBlock) {
            port.read(location.address + done, file.data() + done,
                      std::min(kReadBlock, file.size() - done));
        }
    }
    return file;
}

// What the file says; ports fill it up with zeros.
std::string XmlIn(const std::string& file) {
    if (file.starts_with("PK\x03\x04")) {
        throw CError("the XML is zipped, which is not supported");
    }
    return file.substr(0, file.find('\0'));
}

} // namespace

std::string ReadDescription(const std::string& url, const SPort& port) {
    return XmlIn(ReadFile(ParseUrl(url), port));
}

} // namespace GenApi
