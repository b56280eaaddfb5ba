// The camera library of another compiler; see LibraryAbi.h.
#include "camlib/LibraryAbi.h"

#include "platform/windows/LoadedLibrary.h"

#include <cstdlib>
#include <memory>

namespace GenICam::Client {
namespace {

class CForeignException final : public std::exception {
public:
    const char* what() const noexcept override { return "An exception of the camera library"; }
};

} // namespace

void ThrowForeign(char* message) {
    const std::unique_ptr<char, void (*)(void*)> owned(message, std::free);
    if (message == nullptr) {
        throw CForeignException();
    }
    throw std::runtime_error(message);
}

Optivo::Int32 CallGetSystem(Optivo::ICamSystem** system) {
    static const auto s_getSystem = reinterpret_cast<decltype(&GetSystem)>(
        Platform::LibraryFunction(L"Optivo40.dll", "GetSystem"));
    return CallLibrary([system] { return s_getSystem(system); });
}

} // namespace GenICam::Client
