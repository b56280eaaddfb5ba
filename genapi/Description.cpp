#include "genapi/Description.h"

#include "genapi/Error.h"
#include "genapi/Text.h"
#include "genapi/UrlFile.h"
#include "genapi/Zip.h"

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

// Of "name;address;length". Both numbers are hexadecimal; a name may hold semicolons.
SLocation ParseLocation(const std::string& rest) {
    const size_t last = rest.rfind(';');
    const size_t first =
        last == std::string::npos || last == 0 ? std::string::npos : rest.rfind(';', last - 1);
    if (first == std::string::npos) {
        throw CError("it does not have the form Local:name;address;length");
    }
    const auto number = [](const std::string& text) {
        const std::string trimmed = Trim(text);
        return ParseUnsigned(WithoutHexPrefix(trimmed), 16);
    };
    const auto address = number(rest.substr(first + 1, last - first - 1));
    const auto length = number(rest.substr(last + 1));
    if (!address || !length) {
        throw CError("its address or length is no hexadecimal number");
    }
    if (*length == 0 || *length > kMaxDescription) {
        throw CError("a length of " + std::to_string(*length) + " bytes is not plausible");
    }
    return {*address, static_cast<size_t>(*length)};
}

// Some modules give their description only as a whole, some ports only in pieces.
std::string ReadRegisters(const SLocation& location, const SPort& port) {
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

std::string ReadUrl(const std::string& url, const SPort& port,
                    const std::filesystem::path& folder) {
    const size_t colon = url.find(':');
    const std::string scheme = LowerCase(url.substr(0, colon));
    const size_t begin = colon == std::string::npos ? url.size() : colon + 1;
    const std::string rest = url.substr(begin, url.find('?', begin) - begin);
    if (scheme == "local") {
        return ReadRegisters(ParseLocation(rest), port);
    }
    if (scheme == "file") {
        return ReadFile(PathOfUrl(rest, folder), kMaxDescription);
    }
    if (IsOnNetwork(url)) {
        throw CError("it is on the network, from which nothing is read");
    }
    throw CError("only descriptions in the camera (\"Local:\") or in a file (\"File:\") are read");
}

// What the file says; ports fill it up with zeros.
std::string XmlIn(const std::string& file) {
    return IsZip(file) ? Unzip(file, kMaxDescription) : file.substr(0, file.find('\0'));
}

} // namespace

bool IsOnNetwork(const std::string& url) {
    const std::string scheme = LowerCase(url.substr(0, url.find(':')));
    return scheme == "http" || scheme == "https" || scheme == "ftp";
}

std::string ReadDescription(const std::string& url, const SPort& port,
                            const std::filesystem::path& folder) {
    try {
        return XmlIn(ReadUrl(url, port, folder));
    } catch (const CError& error) {
        throw CError("the XML at \"" + Printable(url) + "\" cannot be read: " + error.what());
    }
}

} // namespace GenApi
