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

bool EqualIgnoringCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return FoldCase(x) == FoldCase(y); });
}

std::string FoldCase(std::string_view text) {
    std::string folded(text);
    std::transform(folded.begin(), folded.end(), folded.begin(),
                   [](char character) { return FoldCase(character); });
    return folded;
}

} // namespace

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

bool CDeviceInfo::MatchName(const char* name) const {
    const std::string_view key = CIdParts(name).Name();
    if (key.starts_with(kUserNameTag)) {
        return key.substr(kUserNameTag.size()) == m_userName;
    }
    if (key.starts_with(kSerialNumberTag)) {
        return key.substr(kSerialNumberTag.size()) == m_serialNumber;
    }
    return EqualIgnoringCase(key, m_id);
}

std::optional<std::string> CDeviceInfo::IdKeyOf(const char* name) {
    const std::string_view key = CIdParts(name).Name();
    if (key.starts_with(kUserNameTag) || key.starts_with(kSerialNumberTag)) {
        return std::nullopt;
    }
    return FoldCase(key);
}

std::string CDeviceInfo::IdKey() const {
    return FoldCase(m_id);
}

} // namespace GenICam::Client
