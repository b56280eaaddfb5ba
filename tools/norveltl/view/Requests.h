// What a page asks and is answered, as JSON on both ways. Knows nothing of HTTP but its codes.
#pragma once

#include "terminal/Error.h"
#include "terminal/Json.h"
#include "view/Cameras.h"

#include <functional>
#include <map>
#include <memory>
#include <string>

namespace norveltl {

// What a request does wrong, and how HTTP calls that.
class CRefusal : public CToolError {
public:
    CRefusal(int status, const std::string& text) : CToolError(text), m_status(status) {}
    int Status() const { return m_status; }

private:
    int m_status;
};

// By their paths: questions have texts for parameters, orders may change something.
using CAnswering = std::function<Json(const Json& asked)>;
struct SRoutes {
    std::map<std::string, CAnswering> questions, orders;
};

// All throw CRefusal for what is not there or of another kind.
std::string TextOf(const Json& asked, const char* name);
std::shared_ptr<CLiveCamera> Required(CCameras& cameras, const std::string& key);

} // namespace norveltl
