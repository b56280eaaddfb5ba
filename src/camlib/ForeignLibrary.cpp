// The camera library of another compiler; see LibraryAbi.h.
#include "camlib/LibraryAbi.h"

#include "platform/windows/LoadedLibrary.h"

#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace GenICam::Client {
void ThrowForeign(char* text) {
    const std::unique_ptr<char, void (*)(void*)> owned(text, std::free);
    if (text == nullptr) {
        throw std::invalid_argument("An exception of the camera library");
    }
    throw std::runtime_error(text);
}

Optivo::Int32 CallGetSystem(Optivo::ICamSystem** system) {
    static const auto s_getSystem = reinterpret_cast<decltype(&GetSystem)>(
        Platform::LibraryFunction(L"Optivo40.dll", "GetSystem"));
    return CallLibrary([system] { return s_getSystem(system); });
}

} // namespace GenICam::Client
