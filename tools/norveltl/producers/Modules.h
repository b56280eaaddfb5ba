// The modules that a command line names, such as "system", "interface:ID" or "port:ID", opened with
// all their parents for as long as the command works on them.
#pragma once

#include "producers/Discovery.h"

#include <string>
#include <vector>

namespace norveltl {

enum class EModule { System, Interface, Device, Port, Stream };

struct SModuleName {
    EModule module;
    std::string id;        // empty: the only one
    bool isCamera = false; // a camera's name alone, which means its port
};

// "system", another module's name and perhaps ":ID", or a camera's name. The device, where it is
// not empty, names the camera of a module without an ID, or without the rest.
SModuleName ParseModuleName(const std::string& text, const std::string& device);
// Whether it is one of the modules' names, without an ID.
bool IsModuleName(const std::string& word);

// An open module: its info answers, and its port.
struct SModule {
    EModule module;
    std::string id;
    void* handle; // its own, or the remote port's; either way a PORT_HANDLE too

    const char* Name() const;
};

// The way from a system down to the named module.
class CModulePath {
public:
    // The systems must outlive this object.
    CModulePath(const SSystems& systems, const SModuleName& name);
    // Closes a stream before its camera.
    ~CModulePath();
    CModulePath(const CModulePath&) = delete;
    CModulePath& operator=(const CModulePath&) = delete;

    const CSystem& System() const { return *m_system; }
    const CProducer& Producer() const { return m_system->Producer(); }
    // From the system down to the target.
    const std::vector<SModule>& Modules() const { return m_modules; }
    const SModule& Target() const { return m_modules.back(); }

private:
    void OpenBelow(const SChoice& choice, EModule target);

    const CSystem* m_system = nullptr;
    std::vector<CHandle> m_handles;
    std::vector<SModule> m_modules;
};

} // namespace norveltl
