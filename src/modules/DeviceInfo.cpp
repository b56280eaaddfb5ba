#include "modules/DeviceInfo.h"

#include "modules/IdParts.h"

#include <algorithm>
#include <string_view>

namespace GenICam::Client {
namespace {

constexpr std::string_view kUserNameTag = "USERNAME->";
constexpr std::string_view kSerialNumberTag = "SN->";

char FoldCase(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                                : character;
}

} // namespace

CDeviceName::CDeviceName(const char* text) : m_text(CIdParts(text).Name()) {
    if (m_text.starts_with(kUserNameTag)) {
        m_kind = Kind::UserName;
        m_text.remove_prefix(kUserNameTag.size());
    } else if (m_text.starts_with(kSerialNumberTag)) {
        m_kind = Kind::SerialNumber;
        m_text.remove_prefix(kSerialNumberTag.size());
    }
}

// FNV-1a, 64 bits.
std::size_t SIdHash::operator()(std::string_view id) const noexcept {
    std::uint64_t hash = 0xCBF29CE484222325U;
    for (const char character : id) {
        hash = (hash ^ static_cast<unsigned char>(FoldCase(character))) * 0x100000001B3U;
    }
    return hash;
}

// From the end, where the IDs of one maker's cameras differ.
bool SIdEqual::operator()(std::string_view a, std::string_view b) const noexcept {
    return std::equal(a.rbegin(), a.rend(), b.rbegin(), b.rend(),
                      [](char x, char y) { return FoldCase(x) == FoldCase(y); });
}

CDeviceInfo::CDeviceInfo(const CDeviceInfo& other)
    : m_marker1(other.m_marker1),
      m_marker2(other.m_marker2),
      m_reserved(other.m_reserved),
      m_status(other.m_status),
      m_vendor(other.m_vendor),
      m_model(other.m_model),
      m_serialNumber(other.m_serialNumber),
      m_userName(other.m_userName),
      m_id(other.m_id),
      m_tlType(other.m_tlType) {}

CDeviceInfo::~CDeviceInfo() = default;

std::string CDeviceInfo::GetID() const {
    return m_id.substr(0, m_id.find('\0'));
}

std::string CDeviceInfo::GetDisplayName() const {
    return m_model + " (" + m_serialNumber + " )";
}

bool CDeviceInfo::MatchName(const CDeviceName& name) const {
    switch (name.What()) {
    case CDeviceName::Kind::UserName:
        return name.Text() == m_userName;
    case CDeviceName::Kind::SerialNumber:
        return name.Text() == m_serialNumber;
    default:
        return SIdEqual()(name.Text(), m_id);
    }
}

} // namespace GenICam::Client
