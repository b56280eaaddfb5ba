#include "view/Requests.h"

namespace norveltl {

std::string TextOf(const Json& asked, const char* name) {
    const auto found = asked.find(name);
    if (found == asked.end() || !found->is_string()) {
        throw CRefusal(400, std::string("the request has no text \"") + name + "\"");
    }
    return found->get<std::string>();
}

std::shared_ptr<CLiveCamera> Required(CCameras& cameras, const std::string& key) {
    auto camera = cameras.Find(key);
    if (!camera) {
        throw CRefusal(410, "the camera is not open");
    }
    return camera;
}

} // namespace norveltl
