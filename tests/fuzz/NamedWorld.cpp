// Every name goes twice where it is needed: into the text of the world that is loaded, and into the
// model, encoded as the camera library will tell it.
#include "NamedWorld.h"

#include "OptivoSim.h"

#include <algorithm>
#include <array>

namespace {

std::string Quoted(const std::string& text) {
    std::string quoted = "\"";
    for (const char c : text) {
        std::array<char, 8> escape{};
        std::snprintf(escape.data(), escape.size(), "\\u%04X", static_cast<unsigned char>(c));
        quoted += escape.data();
    }
    return quoted + '"';
}

// A byte from 0x80 on becomes a character of two bytes in a world.
std::string InWorld(const std::string& text) {
    std::string encoded;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80) {
            encoded += c;
        } else {
            encoded += static_cast<char>(0xC0 | byte >> 6);
            encoded += static_cast<char>(0x80 | (byte & 0x3F));
        }
    }
    return encoded;
}

} // namespace

std::string Upper(std::string text) {
    for (char& c : text) {
        c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
    }
    return text;
}

std::string Lower(std::string text) {
    for (char& c : text) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    }
    return text;
}

std::string Interface::Id() const {
    return Upper(prefix) + "::" + name;
}

std::string CNamedWorld::TakeName() {
    const std::string text = TakeText(m_bytes, 12);
    return text.empty() ? "n" + std::to_string(m_numNames++) : text;
}

std::string CNamedWorld::TextOf(const char* member, std::string& text, bool mayBeEmpty) {
    const std::string taken = mayBeEmpty ? TakeText(m_bytes, 8) : TakeName();
    text = InWorld(taken);
    return std::string(",\"") + member + "\":" + Quoted(taken);
}

std::string CNamedWorld::CameraText(Camera& camera) {
    camera.status = m_bytes.ConsumeIntegralInRange<std::uint32_t>(0, 4);
    std::string text = R"({"width":4,"height":4,"status":)" + std::to_string(camera.status);
    text += TextOf("name", camera.name, false);
    text += TextOf("vendor", camera.vendor, false);
    text += TextOf("model", camera.model, false);
    text += TextOf("version", camera.version, true);
    text += TextOf("serialNumber", camera.serialNumber, true);
    text += TextOf("userDefinedName", camera.userDefinedName, true);
    text += TextOf("tlType", camera.tlType, true);
    text += TextOf("custom14", camera.custom14, true);
    text += TextOf("custom15", camera.custom15, true);
    return text + "}";
}

bool CNamedWorld::Make() {
    std::string text = R"({"interfaces":[)";
    const int numInterfaces = m_bytes.ConsumeIntegralInRange(1, 3);
    for (int i = 0; i < numInterfaces; ++i) {
        auto& interface = m_interfaces.emplace_back(std::make_unique<Interface>());
        text += i == 0 ? "{" : ",{";
        text += R"("discovery":[true])";
        text += TextOf("name", interface->name, false);
        text += TextOf("prefix", interface->prefix, true);
        text += TextOf("tlType", interface->tlType, true);
        text += R"(,"cameras":[)";
        const int numCameras = m_bytes.ConsumeIntegralInRange(0, 3);
        for (int k = 0; k < numCameras; ++k) {
            auto& camera = m_cameras.emplace_back(std::make_unique<Camera>());
            text += (k == 0 ? "" : ",") + CameraText(*camera);
            interface->cameras.push_back(camera.get());
        }
        text += "]}";
    }
    std::array<char, 200> error{};
    if (OptivoSim_LoadWorld((text + "]}").c_str(), error.data(), error.size()) == 0) {
        return false;
    }
    if (m_bytes.ConsumeBool() && !AddRawInterface()) {
        return false;
    }
    return Finish();
}

// The bytes of this one need make no text.
bool CNamedWorld::AddRawInterface() {
    auto& interface = m_interfaces.emplace_back(std::make_unique<Interface>());
    interface->name = TakeName();
    interface->prefix = TakeText(m_bytes, 8);
    interface->tlType = TakeText(m_bytes, 8);
    return OptivoSim_AddInterface(interface->name.c_str(), interface->prefix.c_str(),
                                  interface->tlType.c_str()) == 1;
}

bool CNamedWorld::Finish() {
    for (auto& interface : m_interfaces) {
        m_listed.push_back(interface.get());
        std::sort(interface->cameras.begin(), interface->cameras.end(),
                  [](const Camera* a, const Camera* b) { return a->name < b->name; });
        for (const auto& other : m_interfaces) {
            if (other != interface &&
                (other->Id() == interface->Id() || other->Id() == interface->name)) {
                return false;
            }
        }
    }
    return true;
}
