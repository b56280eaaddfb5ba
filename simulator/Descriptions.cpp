#include "Descriptions.h"

#include <cstdio>

namespace OptivoSim {

namespace {

std::string Hex(UInt64 number) {
    char text[24];
    std::snprintf(text, sizeof text, "%llX", number);
    return text;
}

} // namespace

std::string_view CameraXml() {
    return {reinterpret_cast<const char*>(kCameraXml), kCameraXmlSize};
}

std::string_view InterfaceXml() {
    return {reinterpret_cast<const char*>(kInterfaceXml), kInterfaceXmlSize};
}

std::string LocalUrl(const std::string& fileName, UInt64 address, Size length) {
    return "Local:" + fileName + ";" + Hex(address) + ";" + Hex(length);
}

} // namespace OptivoSim
