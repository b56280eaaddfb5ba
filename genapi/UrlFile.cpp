#include "genapi/UrlFile.h"

#include "genapi/Error.h"
#include "genapi/Text.h"

#include <fstream>
#include <ios>
#include <system_error>

namespace GenApi {

namespace {

std::string WithoutPercents(std::string_view text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            plain += text[i];
            continue;
        }
        const std::string_view digits = text.substr(i + 1, 2);
        const auto code = ParseUnsigned(digits, 16);
        if (digits.size() != 2 || !code || *code == 0) {
            throw CError("\"" + Printable("%" + std::string(digits)) +
                         "\" stands for no character");
        }
        plain += static_cast<char>(*code);
        i += 2;
    }
    return plain;
}

// Only Windows has them.
constexpr bool kHasDrives = std::filesystem::path::preferred_separator == '\\';

bool IsSlash(char c) {
    return c == '/' || c == '\\';
}

bool BeginsWithDrive(std::string_view path) {
    const std::string letter = LowerCase(path.substr(0, 1));
    return kHasDrives && path.size() >= 2 && letter >= "a" && letter <= "z" &&
           (path[1] == ':' || path[1] == '|');
}

std::string Shown(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return Printable(std::string(text.begin(), text.end()));
}

} // namespace

std::filesystem::path PathOfUrl(std::string_view rest, const std::filesystem::path& folder) {
    if (rest.starts_with("//")) {
        rest.remove_prefix(2);
        const std::string_view host = rest.substr(0, rest.find('/'));
        if (!BeginsWithDrive(rest)) {
            if (!host.empty() && LowerCase(host) != "localhost") {
                throw CError("it is on another machine, from which nothing is read");
            }
            rest.remove_prefix(host.size());
        }
    }
    std::string path = WithoutPercents(rest);
    if (path.empty()) {
        throw CError("it names no file");
    }
    if (path.size() >= 2 && IsSlash(path[0]) && IsSlash(path[1])) {
        throw CError("it is on another machine, from which nothing is read");
    }
    if (IsSlash(path[0]) && BeginsWithDrive(std::string_view(path).substr(1))) {
        path.erase(0, 1);
    }
    if (BeginsWithDrive(path)) {
        path[1] = ':';
    } else if (!IsSlash(path[0]) && folder.empty()) {
        throw CError("it names no folder");
    }
    try {
        return folder / std::filesystem::path(std::u8string(path.begin(), path.end()));
    } catch (const std::system_error&) {
        throw CError("its name is no UTF-8");
    }
}

std::string ReadFile(const std::filesystem::path& path, std::size_t most) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) {
        throw CError("there is no file " + Shown(path));
    }
    const std::uintmax_t length = std::filesystem::file_size(path, error);
    if (error || length == 0 || length > most) {
        throw CError("a length of " + std::to_string(error ? 0 : length) +
                     " bytes is not plausible");
    }
    std::string file(static_cast<std::size_t>(length), '\0');
    std::ifstream stream(path, std::ios::binary);
    if (!stream.read(file.data(), static_cast<std::streamsize>(file.size()))) {
        throw CError(Shown(path) + " cannot be opened");
    }
    return file;
}

} // namespace GenApi
