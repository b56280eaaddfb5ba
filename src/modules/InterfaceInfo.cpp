#include "modules/InterfaceInfo.h"

#include "core/Errors.h"
#include "modules/IdParts.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

namespace GenICam::Client {
namespace {

constexpr char kSeparator[] = "::";
constexpr std::size_t kSeparatorLength = 2;

std::string UpperCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char character) {
        return static_cast<char>(std::toupper(character));
    });
    return text;
}

// The characters of text from first up to last, which may be npos or lie before first.
std::string Between(const std::string& text, std::size_t first, std::size_t last) {
    const std::size_t end = std::min(last, text.size());
    return first < end ? text.substr(first, end - first) : std::string();
}

} // namespace

CInterfaceInfo::CInterfaceInfo(const char* prefix, const char* name, const char* tlType)
    : m_prefix(UpperCase(prefix)),
      m_name(name),
      m_displayName("Interface : " + m_name),
      m_tlType(tlType) {}

CInterfaceInfo::~CInterfaceInfo() = default;

COutcome CInterfaceInfo::GetInfo(INTERFACE_INFO_CMD command, INFO_DATATYPE* type, void* buffer,
                                 size_t* size) const {
    const CInfoOut out(type, buffer, size);
    switch (command) {
    case INTERFACE_INFO_ID:
        return out.String(GetID());
    case INTERFACE_INFO_DISPLAYNAME:
        return out.String(m_displayName);
    case INTERFACE_INFO_TLTYPE:
        return out.String(m_tlType);
    default:
        return Refusal<std::invalid_argument>("Invalid InterfaceInfoID %d", command);
    }
}

std::string CInterfaceInfo::GetID() const {
    return m_prefix + kSeparator + m_name;
}

void CInterfaceInfo::ParseID(const char* id) {
    constexpr std::size_t kPrefixLength = 2;
    constexpr std::size_t kMacStart = kPrefixLength + kSeparatorLength;
    constexpr std::size_t kNameStart = kMacStart + 5;

    const std::string text(id);
    if (text.find(kSeparator) != kPrefixLength) {
        throw std::invalid_argument("NI ID is missing Prefix entry");
    }
    m_prefix = text.substr(0, kPrefixLength);
    const std::size_t nameEnd = text.find(kSeparator, kMacStart);
    if (nameEnd == kMacStart) {
        throw std::invalid_argument("NI ID is missing MAC entry");
    }
    m_name = Between(text, kNameStart, nameEnd);
    if (nameEnd == std::string::npos) {
        return;
    }
    const std::size_t start = nameEnd + kSeparatorLength;
    const std::size_t end = text.find(kSeparator, start);
    if (end == start) {
        throw std::invalid_argument("NI ID is missing Description entry");
    }
    m_displayName = Between(text, start, end);
}

bool CInterfaceInfo::Matches(const char* id) const {
    const CIdParts parts(id);
    const std::string prefix = UpperCase(std::string(parts.Prefix()));
    return (prefix.empty() || prefix == m_prefix) &&
           UpperCase(std::string(parts.Name())) == UpperCase(m_name);
}

std::string CInterfaceInfo::GetDisplayName() const {
    return m_displayName;
}

std::string CInterfaceInfo::GetName() const {
    return m_name;
}

std::string CInterfaceInfo::GetPrefix() const {
    return m_prefix;
}

std::string CInterfaceInfo::GetTLType() const {
    return m_tlType;
}

} // namespace GenICam::Client
