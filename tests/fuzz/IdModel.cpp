// The case of a name counts for nothing; of what SN-> and USERNAME-> announce, and of these words,
// it counts.
#include "IdModel.h"

#include <algorithm>

namespace {

// What stands between the first and the second "::", or before the first if there is no second
// part; the head is what stands before the first.
struct Parts {
    bool hasHead = false;
    std::string head;
    std::string key;
};

Parts Split(const std::string& id) {
    Parts parts;
    std::string rest = id;
    if (const std::size_t mark = rest.find("::"); mark != std::string::npos) {
        parts.hasHead = true;
        parts.head = rest.substr(0, mark);
        rest = rest.substr(mark + 2);
    }
    parts.key = rest.substr(0, rest.find("::"));
    return parts;
}

} // namespace

Answer Unspecified() {
    return {-1001, "Unspecified runtime error."};
}

Match Names(const std::string& id, const Interface& interface) {
    const Parts parts = Split(id);
    if (parts.hasHead && !parts.head.empty() && Upper(parts.head) != Upper(interface.prefix)) {
        return false;
    }
    if (parts.key.empty()) {
        return std::nullopt;
    }
    return Upper(parts.key) == Upper(interface.name);
}

Match Names(const std::string& id, const Camera& camera) {
    const std::string key = Split(id).key;
    if (key.empty()) {
        return std::nullopt;
    }
    if (key.rfind("USERNAME->", 0) == 0) {
        return key == "USERNAME->";
    }
    if (key.rfind("SN->", 0) == 0) {
        return key == "SN->" + camera.serialNumber;
    }
    return Upper(key) == Upper(camera.name);
}

Answer InfoOf(const Interface& interface, int32_t command) {
    switch (command) {
    case 0:
        return {0, interface.Id()};
    case 1:
        return {0, "Interface : " + interface.name};
    case 2:
        return {0, interface.tlType};
    default:
        return Unspecified();
    }
}

Answer InfoOf(const Camera& camera, bool isOpenRecord, int32_t command) {
    const auto unlessOpen = [&](const std::string& text) {
        return Answer{0, isOpenRecord ? "" : text};
    };
    switch (command) {
    case 0:
        return {0, camera.name};
    case 1:
        return {0, camera.vendor};
    case 2:
        return {0, camera.model};
    case 3:
        return {0, camera.tlType};
    case 4:
        return {0, camera.model + " (" + camera.serialNumber + " )"};
    case 6:
    case 1000:
        return unlessOpen(camera.userDefinedName);
    case 7:
    case 1001:
        return {0, camera.serialNumber};
    case 8:
    case 1002:
        return unlessOpen(camera.version);
    case 1003:
        return unlessOpen(camera.custom15);
    case 1004:
        return unlessOpen(camera.custom14);
    default:
        return Unspecified();
    }
}

Answer ExpectedInfo(const std::vector<Camera*>& openCameras,
                    const std::vector<Camera*>& listedCameras, const std::string& id,
                    int32_t command) {
    const Search<Camera> open = Find(id, openCameras);
    const Search<Camera> listed = Find(id, listedCameras);
    if (open.isSenseless || (open.found == nullptr && listed.isSenseless)) {
        return Unspecified();
    }
    if (open.found == nullptr && listed.found == nullptr) {
        return {-1001, "Unable to find device " + id};
    }
    if (command == 5) {
        if (listed.found == nullptr || listed.found->status == 0) {
            return {-1001, "Error retrieving device status ( wrong name ) "};
        }
        return {0, open.found != nullptr ? "3" : std::to_string(listed.found->status)};
    }
    return open.found != nullptr ? InfoOf(*open.found, true, command)
                                 : InfoOf(*listed.found, false, command);
}

Answer ExpectedOpening(const std::vector<Camera*>& openCameras, const Search<Camera>& listed,
                       const std::string& id) {
    const Search<Camera> open = Find(id, openCameras);
    if (open.isSenseless) {
        return Unspecified();
    }
    if (open.found != nullptr) {
        return {-1004, "Device already open"};
    }
    if (listed.found == nullptr) {
        return Unspecified();
    }
    if (listed.found->isOpen) {
        return {-1001, "already opened device.(" + listed.found->name + ")."};
    }
    return {};
}

std::optional<std::uint32_t> StreamIndex(const std::string& id) {
    std::string rest = id.size() > 2 ? id.substr(2) : "";
    rest = rest.substr(std::min(rest.size(), rest.find_first_not_of(" \t\n\v\f\r")));
    const bool isNegative = !rest.empty() && rest[0] == '-';
    if (isNegative || (!rest.empty() && rest[0] == '+')) {
        rest = rest.substr(1);
    }
    rest = rest.substr(0, rest.find_first_not_of("0123456789"));
    if (rest.size() > 9) {
        return std::nullopt;
    }
    const int number = rest.empty() ? 0 : std::stoi(rest);
    return static_cast<std::uint32_t>(isNegative ? -number : number);
}
