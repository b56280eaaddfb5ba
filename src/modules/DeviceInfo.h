// The description record of one camera, shared by an interface's list and, as a partial copy, by
// the opened device. This file knows neither of them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace GenICam::Client {

// A camera as a consumer names it: by "SN->" and its serial number, by "USERNAME->" and its user
// name, or by its ID in any letter case; each may follow a prefix and "::", and what follows the
// next "::" is ignored. The text outlives this object.
class CDeviceName {
public:
    enum class Kind { UserName, SerialNumber, Id };

    // Not explicit, as such a text is the name. Throws std::invalid_argument when nothing remains
    // to compare.
    CDeviceName(const char* text); // NOLINT(google-explicit-constructor)

    Kind What() const { return m_kind; }
    std::string_view Text() const { return m_text; }

private:
    Kind m_kind = Kind::Id;
    std::string_view m_text;
};

// IDs as the keys of a table that does not tell letter cases apart.
struct SIdHash {
    std::size_t operator()(std::string_view id) const noexcept;
};
struct SIdEqual {
    bool operator()(std::string_view a, std::string_view b) const noexcept;
};

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

    // Whether a consumer's name means this camera.
    bool MatchName(const CDeviceName& name) const;

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
