#include "platform/Platform.h"

#include "platform/Cancellation.h"
#include "platform/linux/EmbeddedXml.h"

#include <climits>
#include <cstdlib>

#include <dlfcn.h>
#include <pthread.h>

namespace GenICam::Client::Platform {

namespace {

// The module's path, taken while it is being loaded: it may be known by a relative path only, which
// means something else once the process has changed its folder.
class CLoadPath {
public:
    CLoadPath() noexcept {
        Dl_info info{};
        if (dladdr(this, &info) == 0 || info.dli_fname == nullptr ||
            realpath(info.dli_fname, m_text) == nullptr) {
            m_text[0] = '\0';
        }
    }

    const char* Text() const noexcept { return m_text; }

private:
    char m_text[PATH_MAX] = {};
};

const CLoadPath s_loadPath;

} // namespace

std::string ModulePath(std::size_t capacity) {
    const std::string_view path = s_loadPath.Text();
    return std::string(path.substr(0, capacity == 0 ? 0 : capacity - 1));
}

std::uint64_t FileVersion() {
    return NORVELTL_FILE_VERSION;
}

std::string_view SystemXml() {
    return {reinterpret_cast<const char*>(kEmbeddedXml), kEmbeddedXmlSize};
}

CModuleHold::CModuleHold() noexcept {
    Dl_info info{};
    if (dladdr(&s_loadPath, &info) != 0 && info.dli_fname != nullptr) {
        m_module = dlopen(info.dli_fname, RTLD_NOW | RTLD_NOLOAD);
    }
}

CModuleHold::~CModuleHold() {
    if (m_module != nullptr) {
        dlclose(m_module);
    }
}

CCancellationDelay::CCancellationDelay() noexcept {
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_before);
}

CCancellationDelay::~CCancellationDelay() {
    pthread_setcancelstate(m_before, nullptr);
}

void* AllocateMemory(std::size_t size) noexcept {
    return std::calloc(1, size);
}

void FreeMemory(void* memory) noexcept {
    std::free(memory);
}

} // namespace GenICam::Client::Platform
