#include "core/ModuleIdentity.h"

#include "platform/Platform.h"

#include <stdexcept>
#include <utility>

namespace GenICam::Client {
namespace {

constexpr std::size_t kPathCapacity = 2048;

} // namespace

std::string ModulePath() {
    return Platform::ModulePath(kPathCapacity);
}

std::optional<std::string> FileNameOf(const std::string& path) {
    const std::size_t separator = path.rfind(Platform::kPathSeparator);
    if (separator == std::string::npos) {
        return std::nullopt;
    }
    return path.substr(separator + 1);
}

std::string RequireFileName(const std::string& path) {
    std::optional<std::string> name = FileNameOf(path);
    if (!name) {
        throw std::runtime_error("Invalid Module Name");
    }
    return *std::move(name);
}

std::string VersionText(std::uint64_t version) {
    std::string text;
    for (const int shift : {48, 32, 16, 0}) {
        text += (text.empty() ? "" : ".") + std::to_string((version >> shift) & 0xFFFF);
    }
    return text;
}

std::string ModuleVersionText() {
    return VersionText(Platform::FileVersion()) + '\0';
}

} // namespace GenICam::Client
