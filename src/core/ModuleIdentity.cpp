#include "core/ModuleIdentity.h"

#include "platform/Platform.h"

#include <stdexcept>

namespace GenICam::Client {
namespace {

constexpr std::size_t kPathCapacity = 2048;

} // namespace

std::string ModulePath() {
    return Platform::ModulePath(kPathCapacity);
}

bool FileNameOf(const std::string& path, std::string& name) {
    const std::size_t separator = path.rfind(Platform::kPathSeparator);
    if (separator == std::string::npos) {
        return false;
    }
    name = path.substr(separator + 1);
    return true;
}

std::string RequireFileName(const std::string& path) {
    std::string name;
    if (!FileNameOf(path, name)) {
        throw std::runtime_error("Invalid Module Name");
    }
    return name;
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
