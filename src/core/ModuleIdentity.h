// What the producer says of itself: names, file and version.
// This file knows nothing of module objects.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace GenICam::Client {

inline constexpr std::string_view kVendorName = "NORVEL";
inline constexpr std::string_view kModelName = "NorvelTL";
inline constexpr std::string_view kTLType = "Mixed";

// The full path of the producer's own file; empty when it is not known.
std::string ModulePath();

// The file name in a path: what follows the last separator. Nothing when there is no separator.
std::optional<std::string> FileNameOf(const std::string& path);
// The same. Throws std::runtime_error "Invalid Module Name" instead.
std::string RequireFileName(const std::string& path);

// Four 16-bit fields, most significant first, as decimal numbers joined by points.
std::string VersionText(std::uint64_t version);

// The version of the producer's file as module objects report it: the text and a zero that is a
// character of its own, so that its size is one larger than that of VersionText.
std::string ModuleVersionText();

} // namespace GenICam::Client
