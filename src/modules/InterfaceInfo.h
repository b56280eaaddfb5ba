// The description record of one interface, shared by the System module's list and, as a copy, by
// the opened interface. This file knows neither of them.
#pragma once

#include "core/InfoOut.h"

#include <string>

namespace GenICam::Client {

// An interface's ID is its prefix in upper case, "::" and its name. Texts are zero-terminated.
// Only the table of operations demands ParseID and the operations behind Matches: nobody calls
// them.
class CInterfaceInfo {
public:
    CInterfaceInfo(const char* prefix, const char* name, const char* tlType);
    virtual ~CInterfaceInfo();
    CInterfaceInfo(const CInterfaceInfo&) = default;
    CInterfaceInfo& operator=(const CInterfaceInfo&) = default;

    // Answers INTERFACE_INFO_ID, _DISPLAYNAME and _TLTYPE.
    // Refuses every other command as std::invalid_argument.
    virtual COutcome GetInfo(INTERFACE_INFO_CMD command, INFO_DATATYPE* type, void* buffer,
                             size_t* size) const;
    virtual std::string GetID() const;
    // Takes prefix, name and display name from an ID of the long form: two characters, "::", five
    // characters that are skipped, the name, "::", a description.
    // Throws std::invalid_argument naming the missing entry.
    virtual void ParseID(const char* id);
    // Whether a consumer's ID, with or without prefix and in any letter case, means this interface;
    // what follows a second "::" is ignored.
    // Throws std::invalid_argument when the ID has no name.
    virtual bool Matches(const char* id) const;
    virtual std::string GetDisplayName() const;
    virtual std::string GetName() const;
    virtual std::string GetPrefix() const;
    virtual std::string GetTLType() const;

private:
    std::string m_prefix;
    std::string m_name;
    std::string m_displayName;
    std::string m_tlType;
};

} // namespace GenICam::Client
