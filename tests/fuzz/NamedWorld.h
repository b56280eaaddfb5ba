// A world of interfaces and cameras with any names, and the same names as a model of IDs needs
// them: as the module is to tell them.
#pragma once

#include "Demand.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct Camera {
    std::string name;
    std::string vendor;
    std::string model;
    std::string version;
    std::string serialNumber;
    std::string userDefinedName;
    std::string tlType;
    std::string custom14;
    std::string custom15;
    std::uint32_t status = 1;
    bool isOpen = false;
};

struct Interface {
    std::string name;
    std::string prefix;
    std::string tlType;
    std::vector<Camera*> cameras; // by ascending name

    std::string Id() const;
};

// Of the letters from A to Z alone.
std::string Upper(std::string text);
std::string Lower(std::string text);

class CNamedWorld {
public:
    explicit CNamedWorld(Bytes& bytes) : m_bytes(bytes) {}

    // Makes the camera library's world; false for one that names two things alike.
    bool Make();

    // In the order in which they are listed.
    const std::vector<Interface*>& Interfaces() const { return m_listed; }
    const std::vector<std::unique_ptr<Camera>>& Cameras() const { return m_cameras; }

private:
    std::string TakeName();
    std::string TextOf(const char* member, std::string& text, bool mayBeEmpty);
    std::string CameraText(Camera& camera);
    bool AddRawInterface();
    bool Finish();

    Bytes& m_bytes;
    int m_numNames = 0;
    std::vector<std::unique_ptr<Interface>> m_interfaces;
    std::vector<std::unique_ptr<Camera>> m_cameras;
    std::vector<Interface*> m_listed;
};
