// The description record of one camera, shared by an interface's list and, as a partial copy, by
// the opened device. This file knows neither of them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace GenICam::Client {

class CDeviceInfo {
public:
    CDeviceInfo() = default;
    // The record of an opened device: takes over the numbers and the vendor, model, serial number,
    // user name, ID and transport-layer type of a list record; every other text starts empty.
    CDeviceInfo(const CDeviceInfo& other);
    CDeviceInfo& operator=(const CDeviceInfo&) = delete;
    virtual ~CDeviceInfo();

    // The ID, up to its first zero.
    virtual std::string GetID() const;
    // The model, and the serial number in parentheses.
    virtual std::string GetDisplayName() const;

    // Whether a consumer's name means this camera: "SN->" and its serial number, "USERNAME->" and
    // its user name, or its ID in any letter case; each may follow a prefix and "::", and what
    // follows the next "::" is ignored.
    // Throws std::invalid_argument when nothing remains to compare.
    bool MatchName(const char* name) const;
    // What MatchName compares with an ID: it is equal to IdKey() of the cameras that are meant.
    // Nothing for a serial number or a user name. Throws like MatchName.
    static std::optional<std::string> IdKeyOf(const char* name);
    std::string IdKey() const;

    std::uint16_t m_marker1 = 2;
    std::uint16_t m_marker2 = 1;
    std::uint32_t m_reserved = 0;
    // As the camera library reports it; 0 is no answer.
    std::uint32_t m_status = 0;
    std::string m_vendor;
    std::string m_model;
    std::string m_version;
    std::string m_unused;
    std::string m_serialNumber;
    // Never filled: the camera's own name is m_userDefinedName.
    std::string m_userName;
    std::string m_id;
    std::string m_tlType;
    std::string m_userDefinedName;
    std::string m_custom14;
    std::string m_custom15;
};

} // namespace GenICam::Client
