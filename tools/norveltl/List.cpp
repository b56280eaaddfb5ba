#include "List.h"

#include "Console.h"
#include "Discovery.h"

#include <iomanip>
#include <iostream>

namespace norveltl {

namespace {

std::string Shown(const OptionalText& text) {
    return !text ? "not reported" : text->empty() ? "-" : Printable(*text);
}

void PrintDevice(const SDevice& device, bool last, const std::string& indent) {
    std::cout << indent << (last ? "└─ " : "├─ ") << Printable(device.id) << "\n";
    const auto print = [&](const char* label, const std::string& value) {
        std::cout << indent << (last ? "   " : "│  ") << "  " << std::left << std::setw(14) << label
                  << "  " << value << "\n";
    };
    print("vendor", Shown(device.vendor));
    print("model", Shown(device.model));
    print("serial number", Shown(device.serialNumber));
    print("user name", Shown(device.userName));
    print("version", Shown(device.version));
    print("TL type", Shown(device.tlType));
    print("access status", device.AccessText());
}

void PrintInterface(const SInterface& interface_, bool last) {
    std::cout << (last ? "└─ " : "├─ ") << Printable(interface_.id) << "  "
              << Shown(interface_.displayName) << ", TL type " << Shown(interface_.tlType) << "\n";
    const std::string indent = last ? "   " : "│  ";
    if (!interface_.error.empty())
        std::cout << indent << "could not be searched\n";
    else if (interface_.devices.empty())
        std::cout << indent << "no camera\n";
    for (const SDevice& device : interface_.devices)
        PrintDevice(device, &device == &interface_.devices.back(), indent);
}

void PrintSystem(const CSystem& system) {
    std::cout << Utf8FromPath(system.Producer().Path()) << "\n"
              << "  ID " << Shown(system.Info(TL_INFO_ID)) << ", vendor "
              << Shown(system.Info(TL_INFO_VENDOR)) << ", model "
              << Shown(system.Info(TL_INFO_MODEL)) << ", version "
              << Shown(system.Info(TL_INFO_VERSION)) << ", TL type "
              << Shown(system.Info(TL_INFO_TLTYPE)) << "\n";
    if (system.Interfaces().empty())
        std::cout << "no interface\n";
    for (const SInterface& interface_ : system.Interfaces())
        PrintInterface(interface_, &interface_ == &system.Interfaces().back());
    std::cout << std::flush;
}

} // namespace

EExitCode List(const std::string& cti) {
    const SSystems systems = OpenSystems(cti);
    for (const auto& system : systems.open)
        PrintSystem(*system);
    for (const std::string& error : systems.errors)
        ReportError(error);
    if (!systems.errors.empty())
        return kFailed;
    if (!AllDevices(systems).empty())
        return kDone;
    ReportError("found no camera");
    return kNothingFound;
}

} // namespace norveltl
