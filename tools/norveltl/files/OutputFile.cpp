#include "files/OutputFile.h"

#include "terminal/Console.h"
#include "terminal/Error.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <random>
#include <string>
#include <string_view>
#include <system_error>

namespace norveltl {

namespace fs = std::filesystem;

namespace {

CToolError CannotWrite(const fs::path& path, const std::error_code& reason) {
    return CToolError("cannot write " + Utf8FromPath(path) +
                      (reason ? ": " + Printable(reason.message()) : ""));
}

// Two processes that write into one folder do not meet.
const std::string& PartSuffix() {
    static const std::string suffix = [] {
        std::array<char, 16> text{};
        std::snprintf(text.data(), text.size(), ".%08x.part", std::random_device()());
        return std::string(text.data());
    }();
    return suffix;
}

// The streams of the standard library leave the system's reason in errno.
std::error_code Write(const fs::path& path, std::span<const uint8_t> bytes) {
    errno = 0;
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (file) {
        return {};
    }
    return {errno != 0 ? errno : EIO, std::generic_category()};
}

// A link stays, and what it leads to is written, whether or not that exists.
fs::path BehindLinks(fs::path path) {
    constexpr int kMaxLinks = 40;
    std::error_code error;
    for (int i = 0; i < kMaxLinks && fs::is_symlink(path, error); ++i) {
        path = path.parent_path() / fs::read_symlink(path, error);
    }
    return path;
}

} // namespace

void WriteFile(const fs::path& path, std::span<const uint8_t> bytes, EExisting existing) {
    CheckPlace(path, existing);
    std::error_code error;
    if (fs::is_other(path, error)) {
        if (const std::error_code reason = Write(path, bytes)) {
            throw CannotWrite(path, reason);
        }
        return;
    }
    const fs::path place = BehindLinks(path);
    fs::path part = place;
    part += PartSuffix();
    std::error_code reason = Write(part, bytes);
    if (!reason) {
        fs::rename(part, place, reason);
    }
    if (reason) {
        fs::remove(part, error);
        throw CannotWrite(path, reason);
    }
}

void CheckPlace(const fs::path& path, EExisting existing) {
    std::error_code error;
    if (existing == EExisting::Keep && fs::is_regular_file(path, error)) {
        throw CToolError(Utf8FromPath(path) + " exists already; --force replaces it");
    }
}

std::string FileNameFrom(std::string text) {
    std::ranges::replace_if(
        text,
        [](char c) {
            return std::string_view("<>:\"/\\|?*").find(c) != std::string_view::npos ||
                   static_cast<unsigned char>(c) < 0x20;
        },
        '_');
    return text == "." || text == ".." ? "_" : text;
}

} // namespace norveltl
