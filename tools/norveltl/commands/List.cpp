#include "commands/List.h"

#include "producers/CameraLibrary.h"
#include "terminal/Console.h"

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
    if (!interface_.error.empty()) {
        std::cout << indent << "could not be searched\n";
    } else if (interface_.devices.empty()) {
        std::cout << indent << "no camera\n";
    }
    for (const SDevice& device : interface_.devices) {
        PrintDevice(device, &device == &interface_.devices.back(), indent);
    }
}

void PrintSystem(const CSystem& system) {
    std::cout << Utf8FromPath(system.Producer().Path()) << "\n"
              << "  ID " << Shown(system.Info(TL_INFO_ID)) << ", vendor "
              << Shown(system.Info(TL_INFO_VENDOR)) << ", model "
              << Shown(system.Info(TL_INFO_MODEL)) << ", version "
              << Shown(system.Info(TL_INFO_VERSION)) << ", TL type "
              << Shown(system.Info(TL_INFO_TLTYPE)) << "\n";
    if (const auto library = FindCameraLibrary(system)) {
        std::cout << "  " << library->Text() << "\n";
    }
    if (system.Interfaces().empty()) {
        std::cout << "no interface\n";
    }
    for (const SInterface& interface_ : system.Interfaces()) {
        PrintInterface(interface_, &interface_ == &system.Interfaces().back());
    }
    std::cout << std::flush;
}

Json ToJson(const OptionalText& text) {
    return text ? Json(*text) : Json();
}

Json ToJson(const SDevice& device) {
    Json json{{"id", device.id}};
    json["vendor"] = ToJson(device.vendor);
    json["model"] = ToJson(device.model);
    json["serialNumber"] = ToJson(device.serialNumber);
    json["userName"] = ToJson(device.userName);
    json["version"] = ToJson(device.version);
    json["tlType"] = ToJson(device.tlType);
    json["displayName"] = ToJson(device.displayName);
    json["accessStatus"] = device.accessStatus ? Json(*device.accessStatus) : Json();
    json["access"] = device.AccessText();
    return json;
}

Json ToJson(const SInterface& interface_) {
    Json json{{"id", interface_.id}};
    json["displayName"] = ToJson(interface_.displayName);
    json["tlType"] = ToJson(interface_.tlType);
    if (!interface_.error.empty()) {
        json["error"] = interface_.error;
    }
    json["devices"] = Json::array();
    for (const SDevice& device : interface_.devices) {
        json["devices"].push_back(ToJson(device));
    }
    return json;
}

Json ToJson(const CSystem& system) {
    Json json{{"path", Utf8FromPath(system.Producer().Path())}};
    json["id"] = ToJson(system.Info(TL_INFO_ID));
    json["vendor"] = ToJson(system.Info(TL_INFO_VENDOR));
    json["model"] = ToJson(system.Info(TL_INFO_MODEL));
    json["version"] = ToJson(system.Info(TL_INFO_VERSION));
    json["tlType"] = ToJson(system.Info(TL_INFO_TLTYPE));
    json["cameraLibrary"] = ToJson(FindCameraLibrary(system));
    json["interfaces"] = Json::array();
    for (const SInterface& interface_ : system.Interfaces()) {
        json["interfaces"].push_back(ToJson(interface_));
    }
    return json;
}

void PrintJson(const SSystems& systems) {
    Json json{{"producers", Json::array()}, {"errors", systems.errors}};
    for (const auto& system : systems.open) {
        json["producers"].push_back(ToJson(*system));
    }
    std::cout << ToText(json) << std::endl;
}

} // namespace

EExitCode List(const std::string& cti, bool json) {
    const SSystems systems = OpenSystems(cti);
    if (json) {
        PrintJson(systems);
    } else {
        for (const auto& system : systems.open) {
            PrintSystem(*system);
        }
    }
    for (const std::string& error : systems.errors) {
        ReportError(error);
    }
    if (!systems.errors.empty()) {
        return kFailed;
    }
    if (!AllDevices(systems).empty()) {
        return kDone;
    }
    ReportError("found no camera");
    return kNothingFound;
}

} // namespace norveltl
