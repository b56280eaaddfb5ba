#include "producers/CameraLibrary.h"

#include "terminal/Console.h"

#include <LibraryIdentity.h>

namespace norveltl {

namespace {

#if defined(_WIN32)
constexpr const char* kName = "Optivo40.dll";
#else
constexpr const char* kName = "libOptivo40.so";
#endif

} // namespace

std::string SCameraLibrary::Text() const {
    return std::string(isSimulated ? "simulated " : "") + "camera library" +
           (version.empty() ? "" : " " + Printable(version)) + ": " + Utf8FromPath(path);
}

// Every other producer might find it in the process too, where several are open.
std::optional<SCameraLibrary> FindCameraLibrary(const CSystem& system) {
    if (!system.IsNorvelTL()) {
        return std::nullopt;
    }
    const std::filesystem::path path = FindLoaded(kName, system.Producer().LoadedFolder());
    if (path.empty()) {
        return std::nullopt;
    }
    const library::SIdentity identity = library::Identify(path);
    return SCameraLibrary{path, identity.version, identity.isSimulated};
}

Json ToJson(const std::optional<SCameraLibrary>& library) {
    if (!library) {
        return nullptr;
    }
    return {{"path", Utf8FromPath(library->path)},
            {"version", library->version.empty() ? Json() : Json(library->version)},
            {"simulated", library->isSimulated}};
}

} // namespace norveltl
