// A camera's features as a user names them: their values as texts, their limits and entries, and
// the order in which the description lists them. What lies behind a value is the node map's
// business.
#pragma once

#include "producers/Producer.h"

#include "genapi/NodeMap.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace norveltl {

// One feature, as far as it can be read; the error says why a part of it cannot.
struct SFeature {
    std::string name;
    std::string category;
    std::string kind; // Integer, Float, Boolean, Enumeration, String, Command or Register
    std::string toolTip;
    std::string visibility; // Beginner, Expert, Guru or Invisible
    std::string access;     // "RW", "RO", "WO", "NA" or "NI"
    bool isLocked = false;  // could be written, but not now
    std::optional<std::string> value;
    std::string unit;
    std::optional<std::string> min, max, increment;
    std::vector<std::string> entries; // of an enumeration, those that are available
    std::vector<std::string> selects;
    std::string error;
};

struct SListed {
    std::string name;
    std::string category;
    std::string visibility; // that of its categories where they hide more
};

// The names that it takes need not keep to the case where only one feature can be meant; those of
// nodes that no category lists do.
class CFeatures {
public:
    // Reads the description through the port, which must stay open as long as this object lives.
    CFeatures(const CProducer& producer, PORT_HANDLE port);

    bool Has(const std::string& feature) const { return m_nodes.Has(feature); }
    // The same, in any case; and the name as the description writes it.
    bool Knows(const std::string& feature) const;
    const std::string& NameOf(const std::string& feature) const { return Known(feature).name; }
    std::string KindOf(const std::string& feature) const;
    int64_t ReadInteger(const std::string& feature) const { return m_nodes.Integer(feature); }
    // The name of the current entry.
    std::string ReadEnumeration(const std::string& feature) const;
    void Execute(const std::string& command) const;
    // The value as a user reads it; throws for a command.
    std::string Get(const std::string& feature) const;
    // Takes a number, true or false, the name of an entry, or a text, by the feature's kind.
    // Throws, naming the limits or entries, for a value that the feature does not take.
    void Set(const std::string& feature, const std::string& value) const;
    // Never throws for what the camera or the description does wrong: the feature's error says it.
    SFeature Describe(const std::string& feature, const std::string& category = {}) const;
    const GenApi::CNodeMap& Nodes() const { return m_nodes; }
    // The features of all categories, in their order; and only their names.
    std::vector<SFeature> All() const;
    std::vector<SListed> Names() const;

private:
    struct SEntry {
        std::string name;
        int64_t value;
    };

    // Throws what cannot be written.
    void CheckWritable(const GenApi::SNode& node) const;
    // node: one whose access can be told.
    bool IsLocked(const GenApi::SNode& node) const;
    const GenApi::SNode& Known(const std::string& feature) const;
    std::vector<SEntry> Entries(const GenApi::SNode& node) const;
    void SetNumber(const GenApi::SNode& node, const std::string& value) const;
    void Fill(const GenApi::SNode& node, SFeature& feature) const;
    void Walk(const SListed& category, std::vector<SListed>& names, unsigned depth) const;

    GenApi::CNodeMap m_nodes;
};

// "NAME=VALUE"; throws for anything else.
std::pair<std::string, std::string> ParseAssignment(const std::string& text);

} // namespace norveltl
