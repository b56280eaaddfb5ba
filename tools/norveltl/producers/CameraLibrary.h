// Which camera library a producer uses: the one of NorvelTL, as far as this process has loaded it.
// The producer is not asked.
#pragma once

#include "producers/Discovery.h"
#include "terminal/Json.h"

namespace norveltl {

struct SCameraLibrary {
    std::filesystem::path path;
    std::string version; // empty where it tells none
    bool isSimulated;

    // "simulated camera library 1.2.3.4: /opt/norveltl/libOptivo40.so"
    std::string Text() const;
};

// Nothing for other vendors' producers.
std::optional<SCameraLibrary> FindCameraLibrary(const CSystem& system);

// Null for none.
Json ToJson(const std::optional<SCameraLibrary>& library);

} // namespace norveltl
